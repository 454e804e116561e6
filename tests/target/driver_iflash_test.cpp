// The on-chip flash drivers (target/drivers/iflash_*.asm) against the board's flash
// controller, with the controller's data sheet (data/MEMDEF/ONCHIP.TXT) and the status bits
// of the memory files for what must come out.
#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

#include "driver_load_area.h"
#include "driver_rig.h"
#include "sim/devices/flash_sectors.h"
#include "sim/devices/on_chip_flash.h"

namespace velmora::test {
namespace {

struct Type {
  const char* name;
  const char* source;
  bool locks;                // LOCK, UNLOCK, PROTECT, UNPROTECT in its memory file
  uint64_t programMicros;    // per program unit
  int32_t unitBytes;         // bytes a program command takes
  uint64_t eraseMicrosBase;  // sector erase: base + per KB
  uint64_t eraseMicrosPerKb;
};
const Type kTypes[] = {
    {"MORVIK", "iflash_morvik.asm", false, 20, 2, 100'000, 3'000},
    {"TOLVANE", "iflash_tolvane.asm", true, 1'000, 128, 80'000, 4'000},
    {"BRASK", "iflash_brask.asm", true, 1'000, 128, 80'000, 4'000},
};
const Type& kTolvane = kTypes[1];

constexpr uint16_t kOk = 0, kRefused = 1, kBadSector = 2, kPassword = 3, kUnknown = 4, kTimeout = 5,
                   kVerify = 6;
constexpr uint16_t kLock = 0x10, kUnlock = 0x11, kProtect = 0x20, kUnprotect = 0x21;
// Status word 0 bits, as the memory files name them.
constexpr uint16_t kProgramErrorPage = 1 << 2, kProtectionInstalled = 1 << 8;
constexpr uint16_t kProgramErrorWord = 1 << 1, kVppLow = 1 << 3;
constexpr uint64_t kHz = 20'000'000;

std::vector<uint8_t> pattern(size_t length, uint8_t seed) {
  std::vector<uint8_t> bytes(length);
  for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<uint8_t>(seed ^ (i * 13));
  return bytes;
}
std::vector<uint8_t> blank(int32_t length) {
  return std::vector<uint8_t>(static_cast<size_t>(length), 0xFF);
}

TEST(IflashDriver, LiesInRamOfItsType) {
  for (const auto& t : kTypes) {
    DriverRig rig(t.name, t.source);
    ASSERT_TRUE(rig.ready()) << t.name;
    ExpectSafeLoadArea(rig);
  }
}

TEST(IflashDriver, ProgramsABurstInEverySector) {
  for (const auto& t : kTypes) {
    DriverRig rig(t.name, t.source);
    ASSERT_TRUE(rig.ready());
    const int32_t burst = rig.unit().burstSize;
    for (const auto& sector : SectorsOf(rig.unit())) {
      const int32_t at = sector.start + sector.length - burst;  // its last burst
      const auto data = pattern(static_cast<size_t>(burst), static_cast<uint8_t>(at >> 12));
      const DriverCall done = rig.program(at, data);
      EXPECT_EQ(done.end, RunEnd::kReturned);
      ASSERT_EQ(done.out[7], kOk) << t.name << " at " << std::hex << at;
      EXPECT_EQ(rig.cells(at, burst), data);
      EXPECT_EQ(rig.cells(at - 16, 16), blank(16)) << "before the burst";
      EXPECT_EQ(rig.status(0).out[0] & 0xFF, 0) << "no error bit after a good burst";
    }
  }
}

TEST(IflashDriver, ErasesOneSectorOnly) {
  for (const auto& t : kTypes) {
    DriverRig rig(t.name, t.source);
    ASSERT_TRUE(rig.ready());
    const auto sectors = SectorsOf(rig.unit());
    for (const auto& sector : sectors) rig.fill(sector.start, sector.length, 0x3C);
    EXPECT_EQ(rig.erase(2).out[7], kOk) << t.name;
    EXPECT_EQ(rig.cells(sectors[2].start, sectors[2].length), blank(sectors[2].length));
    for (const size_t other : {size_t{1}, size_t{3}}) {
      EXPECT_EQ(rig.cells(sectors[other].start, sectors[other].length),
                std::vector<uint8_t>(static_cast<size_t>(sectors[other].length), 0x3C))
          << t.name << " sector " << other;
    }
  }
}

TEST(IflashDriver, ProgrammingOverDataIsAVerifyError) {
  const struct {
    const Type& type;
    uint16_t programError;
  } cases[] = {{kTypes[0], kProgramErrorWord}, {kTypes[1], kProgramErrorPage}};
  for (const auto& c : cases) {
    DriverRig rig(c.type.name, c.type.source);
    ASSERT_TRUE(rig.ready());
    const int32_t at = SectorsOf(rig.unit())[1].start;
    rig.fill(at, rig.unit().burstSize, 0x00);
    EXPECT_EQ(rig.program(at, pattern(static_cast<size_t>(rig.unit().burstSize), 1)).out[7],
              kVerify)
        << c.type.name;
    EXPECT_NE(rig.status(0).out[0] & c.programError, 0) << "PROGRAM_ERROR is reported";
    // The next operation starts from cleared error bits.
    EXPECT_EQ(rig.erase(1).out[7], kOk);
    EXPECT_EQ(rig.status(0).out[0] & c.programError, 0);
  }
}

TEST(IflashDriver, ReadsBackWhatTheControllerSaysIsDone) {
  for (const auto& t : kTypes) {
    const int32_t weak = t.locks ? 0xC04010 : 0x020010;  // in sector 2, bit 15 worn
    DriverRig rig(t.name, t.source, {.weakWord = weak});
    ASSERT_TRUE(rig.ready());
    const int32_t burst = rig.unit().burstSize;
    const int32_t at = weak & ~(burst - 1);
    EXPECT_EQ(rig.program(at, pattern(static_cast<size_t>(burst), 0x00)).out[7], kVerify)
        << t.name << ": the pattern asks for bit 15 there";
    EXPECT_EQ(rig.erase(2).out[7], kVerify) << "the blank check sees the worn bit";
    EXPECT_EQ(rig.erase(1).out[7], kOk);
  }
}

TEST(IflashDriver, RefusesBadSectorsAddressesAndStatusWords) {
  for (const auto& t : kTypes) {
    DriverRig rig(t.name, t.source);
    ASSERT_TRUE(rig.ready());
    const auto sectors = SectorsOf(rig.unit());
    const int32_t burst = rig.unit().burstSize;
    const int count = static_cast<int>(sectors.size());
    EXPECT_EQ(rig.erase(count).out[7], kBadSector) << t.name;
    EXPECT_EQ(rig.status(3).out[7], kBadSector);
    const int32_t end = sectors.back().start + sectors.back().length;
    EXPECT_EQ(rig.program(end, pattern(static_cast<size_t>(burst), 2)).out[7], kBadSector);
    EXPECT_EQ(rig.program(sectors[1].start - 2, pattern(4, 2)).out[7], kBadSector)
        << "a burst over two sectors";
    EXPECT_EQ(rig.program(sectors[1].start + 1, pattern(4, 2)).out[7], kBadSector);
    EXPECT_EQ(rig.cells(sectors[1].start, 4), blank(4));
    EXPECT_EQ(rig.status(2).out[0], 0x0200) << "version 2, revision 0";
    EXPECT_EQ(rig.call({0x07, 0, 0, 0, 0, 0, 0, 0}).out[7], kUnknown);
  }
}

TEST(IflashDriver, LocksNeedThePasswordToOpen) {
  for (const auto& t : kTypes) {
    if (!t.locks) continue;
    DriverRig rig(t.name, t.source);
    ASSERT_TRUE(rig.ready());
    const auto sectors = SectorsOf(rig.unit());
    const int32_t at = sectors[3].start;
    const auto data = pattern(128, 7);
    EXPECT_EQ(rig.lockFunction(kLock, 3, {}).out[7], kOk);
    EXPECT_EQ(rig.status(1).out[0], 1 << 3) << "SECTOR3_LOCKED";
    EXPECT_EQ(rig.program(at, data).out[7], kRefused);
    EXPECT_EQ(rig.erase(3).out[7], kRefused);
    EXPECT_EQ(rig.program(sectors[2].start, data).out[7], kOk) << "other sectors stay open";

    const struct {
      std::vector<uint8_t> password;
      uint16_t result;
      uint16_t locks;
    } tries[] = {
        {{'K', 'O', 'R', 'D', 'X', 0}, kPassword, 1 << 3},
        {{'K', 'O', 'R', 'D'}, kPassword, 1 << 3},  // too short to be tried
        {kBoardPassword, kOk, 0},
    };
    for (const auto& attempt : tries) {
      EXPECT_EQ(rig.lockFunction(kUnlock, 3, attempt.password).out[7], attempt.result);
      EXPECT_EQ(rig.status(1).out[0], attempt.locks);
    }
    EXPECT_EQ(rig.program(at, data).out[7], kOk);
    EXPECT_EQ(rig.cells(at, 128), data);
    const int count = static_cast<int>(sectors.size());
    EXPECT_EQ(rig.lockFunction(kLock, count, {}).out[7], kBadSector);
    EXPECT_EQ(rig.lockFunction(kUnlock, count, kBoardPassword).out[7], kBadSector);
  }
}

TEST(IflashDriver, ProtectionCoversTheWholeUnit) {
  for (const auto& t : kTypes) {
    if (!t.locks) continue;
    DriverRig rig(t.name, t.source);
    ASSERT_TRUE(rig.ready());
    const auto sectors = SectorsOf(rig.unit());
    EXPECT_EQ(rig.lockFunction(kProtect, 0, {}).out[7], kOk);
    EXPECT_NE(rig.status(0).out[0] & kProtectionInstalled, 0);
    EXPECT_EQ(rig.program(sectors.back().start, pattern(128, 3)).out[7], kRefused);
    EXPECT_EQ(rig.erase(0).out[7], kRefused);
    EXPECT_EQ(rig.lockFunction(kUnprotect, 0, {'k', 'o', 'r', 'd', 'a', 0}).out[7], kPassword);
    EXPECT_NE(rig.status(0).out[0] & kProtectionInstalled, 0);
    EXPECT_EQ(rig.lockFunction(kUnprotect, 0, kBoardPassword).out[7], kOk);
    EXPECT_EQ(rig.status(0).out[0] & kProtectionInstalled, 0);
    EXPECT_EQ(rig.program(sectors.back().start, pattern(128, 3)).out[7], kOk);
  }
}

TEST(IflashDriver, WordControllerHasNoLocksAndReportsALowSupply) {
  DriverRig rig("MORVIK", "iflash_morvik.asm");
  ASSERT_TRUE(rig.ready());
  for (const uint16_t function : {kLock, kUnlock, kProtect, kUnprotect}) {
    EXPECT_EQ(rig.lockFunction(function, 0, kBoardPassword).out[7], kUnknown) << function;
  }
  EXPECT_EQ(rig.status(0).out[0], 0) << "no command reached the controller";
  auto* flash = dynamic_cast<OnChipFlash*>(rig.device());
  ASSERT_NE(flash, nullptr);
  flash->SetSupplyLow(true);
  EXPECT_EQ(rig.program(0x020000, pattern(256, 4)).out[7], kVerify);
  const uint16_t status = rig.status(0).out[0];
  EXPECT_EQ(status & (kVppLow | kProgramErrorWord), kVppLow | kProgramErrorWord);
  EXPECT_EQ(status >> 8 & 3, 2) << "BLOCK_NUMBER: sector 2";
  EXPECT_EQ(rig.cells(0x020000, 256), blank(256));
}

TEST(IflashDriver, FollowsSectorZeroToItsMapAddress) {
  DriverRig rig("MORVIK", "iflash_morvik.asm", {.sector0Mapped = true});
  ASSERT_TRUE(rig.ready());
  const auto data = pattern(256, 5);
  EXPECT_EQ(rig.program(0x010000, data).out[7], kOk);
  EXPECT_EQ(rig.cells(0x010000, 256), data);
  EXPECT_EQ(rig.program(0x000000, data).out[7], kBadSector) << "nothing is seen there now";
  EXPECT_EQ(rig.erase(0).out[7], kOk);
  EXPECT_EQ(rig.cells(0x010000, 256), blank(256));
}

TEST(IflashDriver, GivesUpOnAControllerThatNeverFinishes) {
  for (const auto& t : kTypes) {
    DriverRig rig(t.name, t.source, {.frozenFlash = true});
    ASSERT_TRUE(rig.ready());
    const auto sectors = SectorsOf(rig.unit());
    const DriverCall program =
        rig.program(sectors[1].start, pattern(static_cast<size_t>(rig.unit().burstSize), 6));
    EXPECT_EQ(program.end, RunEnd::kReturned);
    EXPECT_EQ(program.out[7], kTimeout) << t.name;
    // 10000 polls of a microsecond: ten times a page's time.
    EXPECT_GT(program.cycles, 9 * kHz / 1000);
    EXPECT_LT(program.cycles, 12 * kHz / 1000);
    const DriverCall erase = rig.erase(0);
    EXPECT_EQ(erase.out[7], kTimeout);
    EXPECT_GT(erase.cycles, 19 * kHz / 10);  // 2 s
    EXPECT_LT(erase.cycles, 22 * kHz / 10);
    EXPECT_EQ(rig.status(0).out[0] & 1, 1) << "still BUSY";
  }
}

TEST(IflashDriver, TakesTheDataSheetsTimes) {
  for (const auto& t : kTypes) {
    DriverRig rig(t.name, t.source);
    ASSERT_TRUE(rig.ready());
    const auto sectors = SectorsOf(rig.unit());
    const int32_t burst = rig.unit().burstSize;
    const DriverCall program =
        rig.program(sectors[0].start, pattern(static_cast<size_t>(burst), 8));
    ASSERT_EQ(program.out[7], kOk);
    const uint64_t programCycles =
        static_cast<uint64_t>(burst / t.unitBytes) * t.programMicros * kHz / 1'000'000;
    EXPECT_GE(program.cycles, programCycles) << t.name;
    EXPECT_LT(program.cycles, programCycles * 3 / 2) << t.name;
    const auto& largest = sectors.back();
    const DriverCall erase = rig.erase(static_cast<int>(sectors.size()) - 1);
    ASSERT_EQ(erase.out[7], kOk);
    const uint64_t eraseCycles =
        (t.eraseMicrosBase + t.eraseMicrosPerKb * static_cast<uint64_t>(largest.length / 1024)) *
        kHz / 1'000'000;
    EXPECT_GE(erase.cycles, eraseCycles) << t.name;
    EXPECT_LT(erase.cycles, eraseCycles + kHz / 20) << "the blank check stays small";
    std::cout << "[ timing  ] " << t.name << ": " << burst << "-byte burst "
              << program.cycles * 1'000'000 / kHz << " us, " << largest.length / 1024
              << " KB sector erase " << erase.cycles * 1000 / kHz << " ms at 20 MHz\n";
  }
}

}  // namespace
}  // namespace velmora::test
