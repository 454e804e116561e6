// The on-chip flash controller: the variant each type gets, page and word programming,
// sector erase beside untouched neighbours, wrong sequences, locks, protection and the
// password, and the status register polled in virtual time.
#include "sim/devices/on_chip_flash.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "device_test_support.h"

namespace velmora {
namespace {

using namespace onchip;

struct VariantCase {
  const char* type;
  int32_t pageBytes;
  bool locks;
  size_t sectors;
  FlashSector last;
};

TEST(OnChipFlashVariant, EachTypeGetsTheControllerItsMemoryFileDescribes) {
  const VariantCase cases[] = {
      {"MORVIK", 2, false, 4, {0x028000, 0x8000}},
      {"TOLVANE", 128, true, 6, {0xC10000, 0x10000}},
      {"BRASK", 128, true, 8, {0xC30000, 0x10000}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    const auto type = test::ShippedType(c.type);
    const MemoryUnit* unit = test::UnitNamed(type, "IFLASH");
    ASSERT_NE(unit, nullptr);
    const OnChipFlashVariant variant = OnChipFlashVariantFor(*unit);
    EXPECT_EQ(variant.pageBytes, c.pageBytes);
    EXPECT_EQ(variant.hasLocks, c.locks);
    EXPECT_EQ(variant.hasProtection, c.locks);
    const auto sectors = SectorsOf(*unit);
    ASSERT_EQ(sectors.size(), c.sectors);
    EXPECT_EQ(sectors.back().start, c.last.start);
    EXPECT_EQ(sectors.back().length, c.last.length);
  }
}

// A flash of a shipped type's IFLASH unit, erased, on a 20 MHz clock.
class OnChipFlashTest : public ::testing::Test {
 protected:
  void make(const char* typeName) {
    const auto type = test::ShippedType(typeName);
    const MemoryUnit* unit = test::UnitNamed(type, "IFLASH");
    ASSERT_NE(unit, nullptr);
    variant = OnChipFlashVariantFor(*unit);
    sectors = SectorsOf(*unit);
    for (const auto& sector : {sectors[0], sectors[1], sectors[2]}) {
      for (int32_t at = sector.start; at < sector.start + sector.length; ++at) {
        memory.SetByte(at, 0xFF);
      }
    }
    flash = std::make_unique<OnChipFlash>(memory, clock, sectors, variant);
  }
  void keyed(uint16_t command, int32_t at) {
    flash->WriteWord(at, kKey1);
    flash->WriteWord(at, kKey2);
    flash->WriteWord(at, command);
  }
  void programPage(int32_t page, uint16_t value) {
    keyed(kProgram, page);
    for (int32_t i = 0; i < variant.pageBytes; i += 2) flash->WriteWord(page + i, value);
  }
  void elapse(uint64_t micros) { clock.cycles += clock.CyclesFromMicros(micros); }
  uint16_t status() { return flash->Status(); }
  uint16_t arrayWord(int32_t at) {
    flash->WriteWord(sectors[0].start, kReadArray);
    return flash->ReadWord(at);
  }
  uint64_t eraseMicros(int sector) const {
    return variant.eraseMicrosBase +
           variant.eraseMicrosPerKb * static_cast<uint64_t>(sectors[sector].length / 1024);
  }

  MemoryImage memory;
  VirtualClock clock;
  OnChipFlashVariant variant{};
  std::vector<FlashSector> sectors;
  std::unique_ptr<OnChipFlash> flash;
};

TEST_F(OnChipFlashTest, APageIsProgrammedWhenItsLastWordArrives) {
  make("TOLVANE");
  const int32_t page = sectors[1].start + 3 * variant.pageBytes;
  keyed(kProgram, page + 6);  // any address in the page names it
  EXPECT_NE(status() & variant.pageMode, 0);
  for (int32_t i = variant.pageBytes - 2; i >= 0; i -= 2) {
    EXPECT_EQ(status() & variant.busy, 0);
    flash->WriteWord(page + i, static_cast<uint16_t>(0x1000 + i));
  }
  EXPECT_EQ(status() & variant.pageMode, 0);
  EXPECT_NE(status() & variant.busy, 0);
  EXPECT_EQ(flash->ReadWord(page), status()) << "reads give the status while busy";
  elapse(variant.programMicros - 1);
  EXPECT_TRUE(flash->Busy());
  elapse(1);
  EXPECT_FALSE(flash->Busy());
  EXPECT_EQ(status() & 0x00FF, 0) << "no error";
  for (int32_t i = 0; i < variant.pageBytes; i += 2) {
    ASSERT_EQ(arrayWord(page + i), 0x1000 + i) << i;
  }
  EXPECT_EQ(arrayWord(page - 2), 0xFFFF);
  EXPECT_EQ(arrayWord(page + variant.pageBytes), 0xFFFF);
}

TEST_F(OnChipFlashTest, TheWordControllerProgramsOneWordAndNamesItsBlock) {
  make("MORVIK");
  const int32_t at = sectors[2].start + 0x124;
  programPage(at, 0xA55A);
  EXPECT_TRUE(flash->Busy());
  EXPECT_EQ((status() >> variant.blockNumberShift) & 3, 2);
  elapse(variant.programMicros);
  EXPECT_EQ(arrayWord(at), 0xA55A);
  EXPECT_EQ(arrayWord(at + 2), 0xFFFF);
}

TEST_F(OnChipFlashTest, WrongSequencesSetTheSequenceErrorAndChangeNothing) {
  make("TOLVANE");
  const int32_t page = sectors[0].start;
  const struct {
    std::string what;
    std::vector<std::pair<int32_t, uint16_t>> writes;
  } cases[] = {
      {"data without keys", {{page, 0x0000}}},
      {"second key missing", {{page, kKey1}, {page, kProgram}, {page, 0x0000}}},
      {"keys swapped", {{page, kKey2}, {page, kKey1}, {page, kEraseSector}}},
      {"unknown command", {{page, kKey1}, {page, kKey2}, {page, 0x0077}}},
      {"page data outside the page",
       {{page, kKey1}, {page, kKey2}, {page, kProgram}, {page + variant.pageBytes, 0x0000}}},
      {"command outside the flash", {{page, kKey1}, {page, kKey2}, {0x000100, kEraseSector}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    keyed(kClearStatus, page);
    for (const auto& [at, value] : c.writes) flash->WriteWord(at, value);
    EXPECT_NE(status() & variant.sequenceError, 0);
    EXPECT_EQ(status() & (variant.busy | variant.pageMode), 0);
    elapse(eraseMicros(0));
    EXPECT_EQ(arrayWord(page), 0xFFFF);
    EXPECT_EQ(arrayWord(page + variant.pageBytes), 0xFFFF);
  }
}

TEST_F(OnChipFlashTest, TheWordControllerHasNoLocksOrProtection) {
  make("MORVIK");
  for (const uint16_t command : {kLockSector, kUnlockSector, kProtect, kUnprotect}) {
    keyed(kClearStatus, sectors[1].start);
    keyed(command, sectors[1].start);
    EXPECT_NE(status() & variant.sequenceError, 0) << command;
    EXPECT_EQ(flash->LockBits(), 0);
  }
}

TEST_F(OnChipFlashTest, WritesWhileBusyAreRefused) {
  make("TOLVANE");
  keyed(kEraseSector, sectors[1].start);
  programPage(sectors[0].start, 0x0000);
  EXPECT_NE(status() & variant.sequenceError, 0);
  elapse(eraseMicros(1));
  EXPECT_EQ(arrayWord(sectors[0].start), 0xFFFF);
}

TEST_F(OnChipFlashTest, ProgrammingAOneOverAZeroFails) {
  make("BRASK");
  const int32_t page = sectors[2].start;
  programPage(page, 0x00FF);
  elapse(variant.programMicros);
  EXPECT_EQ(status() & variant.programError, 0);
  programPage(page, 0x0FF0);
  elapse(variant.programMicros);
  EXPECT_NE(status() & variant.programError, 0);
  EXPECT_NE(status() & variant.operationError, 0);
  EXPECT_EQ(arrayWord(page), 0x00F0) << "the bits that could be cleared are";
  keyed(kClearStatus, page);
  EXPECT_EQ(status() & (variant.programError | variant.operationError), 0);
}

TEST_F(OnChipFlashTest, EraseBlanksOneSectorAfterItsTimeAndLeavesItsNeighbours) {
  make("TOLVANE");
  for (int sector = 0; sector < 3; ++sector) {
    programPage(sectors[sector].start, 0x1234);
    elapse(variant.programMicros);
  }
  programPage(sectors[1].start + sectors[1].length - variant.pageBytes, 0x5678);
  elapse(variant.programMicros);

  keyed(kEraseSector, sectors[1].start + 0x100);
  elapse(eraseMicros(1) - 1);
  EXPECT_TRUE(flash->Busy());
  elapse(1);
  EXPECT_FALSE(flash->Busy());
  EXPECT_EQ(status() & 0x00FF, 0);
  EXPECT_EQ(arrayWord(sectors[1].start), 0xFFFF);
  EXPECT_EQ(arrayWord(sectors[1].start + sectors[1].length - 2), 0xFFFF);
  EXPECT_EQ(arrayWord(sectors[0].start), 0x1234);
  EXPECT_EQ(arrayWord(sectors[2].start), 0x1234);
}

TEST_F(OnChipFlashTest, ALockedSectorRefusesUntilUnlockedWithThePassword) {
  make("TOLVANE");
  keyed(kLockSector, sectors[1].start + 0x40);
  EXPECT_EQ(flash->LockBits(), 0b10);
  EXPECT_EQ(flash->ReadWord(sectors[0].start + 2), 0b10) << "lock bits at offset 2 in status";

  const struct {
    std::string what;
    std::vector<uint16_t> password;
    bool unlocks;
  } attempts[] = {
      {"wrong second word", {kDefaultPassword[0], 0x0000, kDefaultPassword[2]}, false},
      {"the password", {kDefaultPassword.begin(), kDefaultPassword.end()}, true},
  };
  for (const auto& attempt : attempts) {
    SCOPED_TRACE(attempt.what);
    keyed(kClearStatus, sectors[0].start);
    programPage(sectors[1].start, 0x0000);
    EXPECT_NE(status() & variant.protectionError, 0);
    EXPECT_FALSE(flash->Busy());
    keyed(kClearStatus, sectors[0].start);
    keyed(kEraseSector, sectors[1].start);
    EXPECT_NE(status() & variant.protectionError, 0);

    keyed(kUnlockSector, sectors[1].start);
    for (const uint16_t word : attempt.password) flash->WriteWord(sectors[1].start, word);
    EXPECT_EQ(flash->LockBits(), attempt.unlocks ? 0 : 0b10);
  }
  keyed(kClearStatus, sectors[0].start);
  programPage(sectors[1].start, 0x4321);
  elapse(variant.programMicros);
  EXPECT_EQ(arrayWord(sectors[1].start), 0x4321);
  programPage(sectors[0].start, 0x1111);  // other sectors were never locked
  elapse(variant.programMicros);
  EXPECT_EQ(arrayWord(sectors[0].start), 0x1111);
}

TEST_F(OnChipFlashTest, ProtectionCoversEverySectorAndShowsInTheStatus) {
  make("BRASK");
  keyed(kProtect, sectors[0].start);
  const uint16_t shown = variant.protectionInstalled | variant.writeProtectionActive;
  EXPECT_EQ(status() & shown, shown);
  for (int sector = 0; sector < 3; ++sector) {
    programPage(sectors[sector].start, 0x0000);
    EXPECT_NE(status() & variant.protectionError, 0) << sector;
    keyed(kClearStatus, sectors[0].start);
  }
  keyed(kUnprotect, sectors[2].start);
  for (const uint16_t word : kDefaultPassword) flash->WriteWord(sectors[2].start, word);
  EXPECT_EQ(status() & shown, 0);
  programPage(sectors[2].start, 0x0000);
  elapse(variant.programMicros);
  EXPECT_EQ(arrayWord(sectors[2].start), 0x0000);
}

TEST_F(OnChipFlashTest, ALowSupplyFailsProgramAndErase) {
  make("MORVIK");
  flash->SetSupplyLow(true);
  programPage(sectors[1].start, 0x0000);
  EXPECT_FALSE(flash->Busy());
  EXPECT_EQ(status() & (variant.supplyLow | variant.programError),
            variant.supplyLow | variant.programError);
  keyed(kClearStatus, sectors[0].start);
  keyed(kEraseSector, sectors[1].start);
  EXPECT_EQ(status() & (variant.supplyLow | variant.eraseError),
            variant.supplyLow | variant.eraseError);
  EXPECT_EQ(arrayWord(sectors[1].start), 0xFFFF);
}

}  // namespace
}  // namespace velmora
