// The external flash driver (target/drivers/xflash16.asm) on every type whose memory file
// names it, against the JEDEC chip of the board, with the chip's data sheet
// (data/MEMDEF/XFLASH16.TXT) for what must come out.
#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <vector>

#include "driver_load_area.h"
#include "driver_rig.h"
#include "sim/devices/flash_sectors.h"

namespace velmora::test {
namespace {

constexpr const char* kSource = "xflash16.asm";
constexpr const char* kTypes[] = {"KESSEL", "MORVIK", "TOLVANE", "BRASK"};

// Result codes of the driver interface.
constexpr uint16_t kOk = 0, kBadSector = 2, kUnknown = 4, kTimeout = 5, kVerify = 6;

constexpr uint64_t kHz = 20'000'000;
constexpr uint64_t kWordProgramCycles = 10 * kHz / 1'000'000;  // 10 us
constexpr uint64_t kSectorEraseCycles = kHz / 2;               // 0.5 s

std::vector<uint8_t> pattern(size_t length, uint8_t seed) {
  std::vector<uint8_t> bytes(length);
  for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<uint8_t>(seed + i * 37);
  return bytes;
}

TEST(XflashDriver, LiesInRamOfEveryTypeThatNamesIt) {
  for (const char* type : kTypes) {
    DriverRig rig(type, kSource);
    ASSERT_TRUE(rig.ready()) << type;
    ExpectSafeLoadArea(rig);
  }
}

TEST(XflashDriver, ProgramsABurstAndLeavesTheRestBlank) {
  for (const char* type : kTypes) {
    DriverRig rig(type, kSource);
    ASSERT_TRUE(rig.ready());
    const auto sectors = SectorsOf(rig.unit());
    // The last burst of sector 1 (with its sector's bytes before it) and the first burst of
    // the last sector (with the bytes after it).
    const int32_t end1 = sectors[1].start + sectors[1].length - 0x100;
    const int32_t last = sectors.back().start;
    for (const auto& [at, neighbour] :
         {std::pair{end1, end1 - 0x10}, std::pair{last, last + 0x100}}) {
      const auto data = pattern(0x100, static_cast<uint8_t>(at >> 8));
      const DriverCall done = rig.program(at, data);
      EXPECT_EQ(done.end, RunEnd::kReturned);
      EXPECT_EQ(done.out[7], kOk) << type << " at " << std::hex << at;
      EXPECT_EQ(rig.cells(at, 0x100), data) << type;
      EXPECT_EQ(rig.cells(neighbour, 0x10), std::vector<uint8_t>(0x10, 0xFF)) << type;
    }
  }
}

TEST(XflashDriver, ErasesOneSectorOnly) {
  for (const char* type : kTypes) {
    DriverRig rig(type, kSource);
    ASSERT_TRUE(rig.ready());
    const auto sectors = SectorsOf(rig.unit());
    for (const auto& sector : sectors) rig.fill(sector.start, sector.length, 0x5A);
    const DriverCall done = rig.erase(1);
    EXPECT_EQ(done.out[7], kOk) << type;
    EXPECT_EQ(rig.cells(sectors[1].start, sectors[1].length),
              std::vector<uint8_t>(static_cast<size_t>(sectors[1].length), 0xFF));
    for (const size_t other : {size_t{0}, size_t{2}}) {
      EXPECT_EQ(rig.cells(sectors[other].start, sectors[other].length),
                std::vector<uint8_t>(static_cast<size_t>(sectors[other].length), 0x5A))
          << type << " sector " << other;
    }
  }
}

TEST(XflashDriver, ProgrammingOverDataIsAVerifyErrorAndTheChipRecovers) {
  for (const char* type : {"KESSEL", "BRASK"}) {
    DriverRig rig(type, kSource);
    ASSERT_TRUE(rig.ready());
    const int32_t at = SectorsOf(rig.unit())[2].start;
    rig.fill(at, 0x200, 0x0F);
    const DriverCall failed = rig.program(at, std::vector<uint8_t>(0x100, 0xF0));
    EXPECT_EQ(failed.out[7], kVerify) << type;
    EXPECT_EQ(rig.status(0).out[0] & 0x20, 0x20) << "TIME_LIMIT_EXCEEDED is reported";
    // The chip cleared what it could of the first word and gave up there.
    EXPECT_EQ(rig.cells(at, 4), (std::vector<uint8_t>{0x00, 0x00, 0x0F, 0x0F}));
    // It was reset: bits that only go from 1 to 0 program over the next data.
    EXPECT_EQ(rig.program(at + 0x100, std::vector<uint8_t>(0x100, 0x05)).out[7], kOk);
    EXPECT_EQ(rig.cells(at + 0x100, 0x100), std::vector<uint8_t>(0x100, 0x05));
    EXPECT_EQ(rig.status(0).out[0], 0) << "a good operation clears the old failure";
  }
}

TEST(XflashDriver, ReadsBackWhatTheChipSaysIsDone) {
  // Bit 15 of the word at 0A0010 is worn: the chip programs and erases without complaint.
  DriverRig rig("TOLVANE", kSource, {.weakWord = 0x0A0010});
  ASSERT_TRUE(rig.ready());
  EXPECT_EQ(rig.program(0x0A0000, std::vector<uint8_t>(0x100, 0x7F)).out[7], kOk)
      << "the worn bit is asked to be 0";
  EXPECT_EQ(rig.program(0x0A0100, std::vector<uint8_t>(0x100, 0x7F)).out[7], kOk);
  EXPECT_EQ(rig.erase(2).out[7], kVerify) << "the blank check sees the worn bit";
  EXPECT_EQ(rig.program(0x0A0000, std::vector<uint8_t>(0x100, 0xFF)).out[7], kVerify);
  EXPECT_EQ(rig.erase(3).out[7], kOk) << "the other sectors are fine";
}

TEST(XflashDriver, RefusesWhatIsNotOneSectorOfTheChip) {
  struct Case {
    const char* type;
    int32_t address;
    size_t length;
  };
  const Case bursts[] = {
      {"KESSEL", 0x00FA00, 0x100},   // the gap after sector 1: internal RAM, not the chip
      {"KESSEL", 0x020000, 0x100},   // after the last sector
      {"KESSEL", 0x007F00, 0x200},   // half in sector 0, half in sector 1
      {"TOLVANE", 0x07FF00, 0x100},  // below the chip
      {"TOLVANE", 0x100000, 0x100},  // above it
      {"TOLVANE", 0x080001, 0x100},  // odd address
      {"TOLVANE", 0x080000, 0x0FF},  // odd count
  };
  for (const auto& c : bursts) {
    DriverRig rig(c.type, kSource);
    ASSERT_TRUE(rig.ready());
    EXPECT_EQ(rig.program(c.address, pattern(c.length, 1)).out[7], kBadSector)
        << c.type << " " << std::hex << c.address;
    const auto sectors = SectorsOf(rig.unit());
    EXPECT_EQ(rig.erase(static_cast<int>(sectors.size())).out[7], kBadSector);
    EXPECT_EQ(rig.cells(sectors.front().start, 4), std::vector<uint8_t>(4, 0xFF));
  }
}

TEST(XflashDriver, StatusWordsAndUnknownFunctions) {
  DriverRig rig("MORVIK", kSource);
  ASSERT_TRUE(rig.ready());
  const struct {
    int word;
    uint16_t value;
  } words[] = {{0, 0x0000}, {1, 0xC63C}, {2, 0x0200}};  // maker 3Ch, device C6h; version 2.0
  for (const auto& w : words) {
    const DriverCall read = rig.status(w.word);
    EXPECT_EQ(read.out[7], kOk);
    EXPECT_EQ(read.out[0], w.value) << "word " << w.word;
  }
  EXPECT_EQ(rig.status(3).out[7], kBadSector);
  // The chip has no protection and the memory files list none of these for it.
  for (const uint16_t function : {0x02, 0x07, 0x10, 0x11, 0x20, 0x21, 0xFF}) {
    EXPECT_EQ(rig.call({function, 6, 0xF600, 0x000F, 0, 0, 0, 0}).out[7], kUnknown)
        << std::hex << function;
  }
  EXPECT_EQ(rig.cells(0x080000, 4), std::vector<uint8_t>(4, 0xFF));
}

TEST(XflashDriver, NoChipAnswersIsADeviceError) {
  // A chip busy with an erase that never ends answers its identification with status bits.
  DriverRig hung("TOLVANE", kSource, {.frozenFlash = true});
  ASSERT_TRUE(hung.ready());
  EXPECT_EQ(hung.erase(0).out[7], kTimeout);
  EXPECT_EQ(hung.status(1).out[7], 7);
}

TEST(XflashDriver, GivesUpOnAChipThatNeverFinishes) {
  DriverRig rig("KESSEL", kSource, {.frozenFlash = true});
  ASSERT_TRUE(rig.ready());
  const DriverCall word = rig.program(0x000100, pattern(0x100, 3));
  EXPECT_EQ(word.end, RunEnd::kReturned);
  EXPECT_EQ(word.out[7], kTimeout);
  // 1000 polls of 30 cycles: 1.5 ms, far beyond the 10 us a word takes.
  EXPECT_GT(word.cycles, 100 * kWordProgramCycles);
  EXPECT_LT(word.cycles, 2 * kHz / 1000);

  DriverRig erasing("BRASK", kSource, {.frozenFlash = true});
  const DriverCall erase = erasing.erase(3);
  EXPECT_EQ(erase.out[7], kTimeout);
  EXPECT_GT(erase.cycles, 3 * kSectorEraseCycles);  // 2 s: four times the data sheet's erase
  EXPECT_LT(erase.cycles, 5 * kSectorEraseCycles);
}

TEST(XflashDriver, TakesTheDataSheetsTimes) {
  DriverRig rig("TOLVANE", kSource);
  ASSERT_TRUE(rig.ready());
  const DriverCall burst = rig.program(0x090000, pattern(0x100, 9));
  ASSERT_EQ(burst.out[7], kOk);
  // 128 words of 10 us each, and the driver's own instructions on top.
  EXPECT_GE(burst.cycles, 128 * kWordProgramCycles);
  EXPECT_LT(burst.cycles, 2 * 128 * kWordProgramCycles);
  const DriverCall erase = rig.erase(1);
  ASSERT_EQ(erase.out[7], kOk);
  // 0.5 s, then the blank check of 64 KB.
  EXPECT_GE(erase.cycles, kSectorEraseCycles);
  EXPECT_LT(erase.cycles, kSectorEraseCycles + kHz / 20);
  std::cout << "[ timing  ] XFLASH16: 256-byte burst " << burst.cycles * 1'000'000 / kHz
            << " us, 64 KB sector erase " << erase.cycles * 1000 / kHz << " ms at 20 MHz\n";
}

}  // namespace
}  // namespace velmora::test
