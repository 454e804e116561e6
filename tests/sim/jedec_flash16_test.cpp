// The external 16-bit flash's command set: every sequence, wrong ones included, status
// polling in virtual time, programming a 0 to 1, sector and chip erase, autoselect, reset.
#include "sim/devices/jedec_flash16.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using namespace jedec;

constexpr int32_t kBase = 0x080000;
constexpr int32_t kSectorSize = 0x10000;
constexpr uint32_t kHz = 20'000'000;

struct Cycle {
  int32_t word;  // word offset from the chip base
  uint16_t value;
};
using Sequence = std::vector<Cycle>;

Sequence unlocked(std::vector<Cycle> tail) {
  Sequence cycles = {{kUnlockWord1, kUnlock1}, {kUnlockWord2, kUnlock2}};
  cycles.insert(cycles.end(), tail.begin(), tail.end());
  return cycles;
}

class JedecFlash16Test : public ::testing::Test {
 protected:
  JedecFlash16Test() : flash(memory, clock, kBase, sectors()) {
    clock.cpuHz = kHz;
    for (int32_t at = kBase; at < kBase + 5 * kSectorSize; ++at) memory.SetByte(at, 0xFF);
  }

  static std::vector<FlashSector> sectors() {
    std::vector<FlashSector> all;
    for (int i = 0; i < 8; ++i) all.push_back({kBase + i * kSectorSize, kSectorSize});
    return all;
  }
  void run(const Sequence& cycles) {
    for (const auto& cycle : cycles) flash.WriteWord(kBase + 2 * cycle.word, cycle.value);
  }
  void elapse(uint64_t micros) { clock.cycles += clock.CyclesFromMicros(micros); }
  void put(int32_t at, uint16_t value) {
    memory.SetByte(at, static_cast<uint8_t>(value));
    memory.SetByte(at + 1, static_cast<uint8_t>(value >> 8));
  }
  uint16_t cell(int32_t at) const {
    return static_cast<uint16_t>(memory.GetByte(at) | (memory.GetByte(at + 1) << 8));
  }

  MemoryImage memory;
  VirtualClock clock;
  JedecFlash16 flash;
};

TEST_F(JedecFlash16Test, ProgramsAWordOnlyAfterTheWholeSequence) {
  constexpr int32_t kWord = 0x1234;  // word offset of the target in sector 0
  const struct {
    std::string what;
    Sequence cycles;
    bool programs;
  } cases[] = {
      {"unlock, A0h, data", unlocked({{kUnlockWord1, kProgram}, {kWord, 0x5AA5}}), true},
      {"first unlock at the wrong word",
       {{0x556, kUnlock1}, {kUnlockWord2, kUnlock2}, {kUnlockWord1, kProgram}, {kWord, 0x5AA5}},
       false},
      {"wrong first unlock value",
       {{kUnlockWord1, 0xAB}, {kUnlockWord2, kUnlock2}, {kUnlockWord1, kProgram}, {kWord, 0x5AA5}},
       false},
      {"second unlock missing",
       {{kUnlockWord1, kUnlock1}, {kUnlockWord1, kProgram}, {kWord, 0x5AA5}},
       false},
      {"second unlock at the wrong word",
       {{kUnlockWord1, kUnlock1}, {0x2AB, kUnlock2}, {kUnlockWord1, kProgram}, {kWord, 0x5AA5}},
       false},
      {"command at the wrong word", unlocked({{kUnlockWord2, kProgram}, {kWord, 0x5AA5}}), false},
      {"reset before the data", unlocked({{kUnlockWord1, kProgram}}), true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const int32_t at = kBase + 2 * kWord;
    put(at, 0xFFFF);
    run(c.cycles);
    if (c.what == "reset before the data") {
      // A0h makes the very next write the datum, whatever it is: F0h is programmed too.
      run({{kWord, kReset}});
      elapse(JedecTiming{}.wordProgramMicros);
      EXPECT_EQ(flash.ReadWord(at), kReset);
      continue;
    }
    elapse(JedecTiming{}.wordProgramMicros);
    EXPECT_FALSE(flash.Busy());
    EXPECT_EQ(flash.ReadWord(at), c.programs ? 0x5AA5 : 0xFFFF);
  }
}

TEST_F(JedecFlash16Test, PollingShowsTheComplementOfBit7AndAToggleUntilTheWordIsDone) {
  const int32_t at = kBase + 0x2000;
  const uint64_t programCycles = clock.CyclesFromMicros(JedecTiming{}.wordProgramMicros);
  for (const uint16_t datum : {uint16_t{0x0012}, uint16_t{0x3480}}) {
    SCOPED_TRACE(datum);
    put(at, 0xFFFF);
    run(unlocked({{kUnlockWord1, kProgram}, {(at - kBase) / 2, datum}}));
    const uint64_t started = clock.cycles;
    const uint16_t first = flash.ReadWord(at);
    const uint16_t second = flash.ReadWord(kBase + 0x40000);  // any address gives status
    EXPECT_EQ(first & kDataPolling, (~datum) & kDataPolling);
    EXPECT_EQ(second & kDataPolling, (~datum) & kDataPolling);
    EXPECT_NE(first & kToggle, second & kToggle);
    EXPECT_EQ(first & kTimeLimit, 0);
    EXPECT_EQ(cell(at), 0xFFFF) << "the datum lands when the time is over";
    clock.cycles = started + programCycles - 1;
    EXPECT_TRUE(flash.Busy());
    EXPECT_NE(flash.ReadWord(at), datum);
    clock.cycles = started + programCycles;
    EXPECT_EQ(flash.ReadWord(at), datum);
    EXPECT_EQ(flash.ReadWord(at), datum) << "array reads do not toggle";
  }
}

TEST_F(JedecFlash16Test, AOneOverAZeroFailsWithTheTimeLimitBitUntilReset) {
  const int32_t at = kBase + 0x100;
  put(at, 0x00FF);
  run(unlocked({{kUnlockWord1, kProgram}, {(at - kBase) / 2, 0xFF0F}}));
  elapse(1000);
  const uint16_t first = flash.ReadWord(at);
  const uint16_t second = flash.ReadWord(at);
  EXPECT_NE(first & kTimeLimit, 0);
  EXPECT_EQ(first & kDataPolling, kDataPolling) << "bit 7 of FF0Fh is 0, so DQ7 reads 1";
  EXPECT_NE(first & kToggle, second & kToggle);
  // A new command is not taken; only a reset brings the array back.
  run(unlocked({{kUnlockWord1, kProgram}, {0, 0x0000}}));
  EXPECT_NE(flash.ReadWord(at) & kTimeLimit, 0);
  run({{0, kReset}});
  EXPECT_EQ(flash.ReadWord(at), 0x000F) << "the bits that could be cleared are cleared";
  EXPECT_EQ(flash.ReadWord(kBase), 0xFFFF);
}

TEST_F(JedecFlash16Test, SectorEraseClearsItsSectorAloneAndReportsWhileBusy) {
  for (int sector = 2; sector <= 4; ++sector) {
    put(kBase + sector * kSectorSize, 0x1111);
    put(kBase + sector * kSectorSize + kSectorSize - 2, 0x2222);
  }
  const int32_t third = kBase + 3 * kSectorSize;
  run(unlocked({{kUnlockWord1, kEraseSetup},
                {kUnlockWord1, kUnlock1},
                {kUnlockWord2, kUnlock2},
                {(third + 0x7000 - kBase) / 2, kSectorErase}}));
  const uint16_t inside1 = flash.ReadWord(third);
  const uint16_t inside2 = flash.ReadWord(third + 0x10);
  const uint16_t outside1 = flash.ReadWord(kBase + 4 * kSectorSize);
  const uint16_t outside2 = flash.ReadWord(kBase + 4 * kSectorSize);
  for (const uint16_t status : {inside1, inside2, outside1, outside2}) {
    EXPECT_EQ(status & kDataPolling, 0);
    EXPECT_NE(status & kEraseTimer, 0);
  }
  EXPECT_NE(inside1 & kToggle2, inside2 & kToggle2) << "DQ2 toggles in the erasing sector";
  EXPECT_EQ(outside1 & kToggle2, outside2 & kToggle2) << "and stands still elsewhere";
  EXPECT_NE(inside2 & kToggle, outside1 & kToggle);

  elapse(JedecTiming{}.sectorEraseMicros - 1);
  EXPECT_TRUE(flash.Busy());
  elapse(1);
  EXPECT_FALSE(flash.Busy());
  EXPECT_EQ(flash.ReadWord(third), 0xFFFF);
  EXPECT_EQ(flash.ReadWord(third + kSectorSize - 2), 0xFFFF);
  for (const int sector : {2, 4}) {
    EXPECT_EQ(flash.ReadWord(kBase + sector * kSectorSize), 0x1111) << sector;
    EXPECT_EQ(flash.ReadWord(kBase + sector * kSectorSize + kSectorSize - 2), 0x2222) << sector;
  }
}

TEST_F(JedecFlash16Test, EraseNeedsBothUnlocksAroundTheSetup) {
  const int32_t target = kBase + kSectorSize;
  const struct {
    std::string what;
    Sequence cycles;
    bool erases;
  } cases[] = {
      {"sector erase",
       unlocked({{kUnlockWord1, kEraseSetup},
                 {kUnlockWord1, kUnlock1},
                 {kUnlockWord2, kUnlock2},
                 {(target - kBase) / 2, kSectorErase}}),
       true},
      {"no unlock after the setup",
       unlocked({{kUnlockWord1, kEraseSetup}, {(target - kBase) / 2, kSectorErase}}), false},
      {"30h without the setup", unlocked({{(target - kBase) / 2, kSectorErase}}), false},
      {"second unlock wrong after the setup",
       unlocked({{kUnlockWord1, kEraseSetup},
                 {kUnlockWord1, kUnlock1},
                 {kUnlockWord2, 0x56},
                 {(target - kBase) / 2, kSectorErase}}),
       false},
      {"second unlock at the wrong word after the setup",
       unlocked({{kUnlockWord1, kEraseSetup},
                 {kUnlockWord1, kUnlock1},
                 {0x2AB, kUnlock2},
                 {(target - kBase) / 2, kSectorErase}}),
       false},
      {"first unlock at the wrong word after the setup",
       unlocked({{kUnlockWord1, kEraseSetup},
                 {kUnlockWord2, kUnlock1},
                 {kUnlockWord2, kUnlock2},
                 {(target - kBase) / 2, kSectorErase}}),
       false},
      {"chip erase at the wrong word",
       unlocked({{kUnlockWord1, kEraseSetup},
                 {kUnlockWord1, kUnlock1},
                 {kUnlockWord2, kUnlock2},
                 {kUnlockWord2, kChipErase}}),
       false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    put(target, 0x0000);
    run(c.cycles);
    EXPECT_EQ(flash.Busy(), c.erases);
    elapse(JedecTiming{}.sectorEraseMicros);
    EXPECT_EQ(flash.ReadWord(target), c.erases ? 0xFFFF : 0x0000);
  }
}

TEST_F(JedecFlash16Test, ChipEraseBlanksEverySectorAfterItsTime) {
  for (int sector = 0; sector < 8; ++sector) put(kBase + sector * kSectorSize + 0x40, 0x0000);
  run(unlocked({{kUnlockWord1, kEraseSetup},
                {kUnlockWord1, kUnlock1},
                {kUnlockWord2, kUnlock2},
                {kUnlockWord1, kChipErase}}));
  elapse(JedecTiming{}.chipEraseMicrosPerSector * 8 - 1);
  EXPECT_TRUE(flash.Busy());
  EXPECT_EQ(flash.ReadWord(kBase + 0x40) & kDataPolling, 0);
  elapse(1);
  for (int sector = 0; sector < 8; ++sector) {
    EXPECT_EQ(flash.ReadWord(kBase + sector * kSectorSize + 0x40), 0xFFFF) << sector;
  }
}

TEST_F(JedecFlash16Test, AutoselectGivesTheCodesUntilReset) {
  put(kBase, 0x1234);
  put(kBase + 2, 0x5678);
  run(unlocked({{kUnlockWord1, kAutoselect}}));
  const JedecIdentity identity;
  EXPECT_EQ(flash.ReadWord(kBase + 2 * kMakerWord), identity.maker);
  EXPECT_EQ(flash.ReadWord(kBase + 2 * kDeviceWord), identity.device);
  EXPECT_EQ(flash.ReadWord(kBase + 2 * kProtectWord), 0);
  EXPECT_EQ(flash.PeekWord(kBase + 2 * kDeviceWord), identity.device);
  flash.WriteWord(kBase + 0x300, 0x0012);  // anything but a reset keeps autoselect
  EXPECT_EQ(flash.ReadWord(kBase), identity.maker);
  run({{0x40, kReset}});
  EXPECT_EQ(flash.ReadWord(kBase), 0x1234);
  EXPECT_EQ(flash.ReadWord(kBase + 2), 0x5678);
}

TEST_F(JedecFlash16Test, TheBusIsIgnoredWhileAnOperationRuns) {
  const int32_t at = kBase + 0x800;
  run(unlocked({{kUnlockWord1, kProgram}, {(at - kBase) / 2, 0x00F0}}));
  run({{0, kReset}});
  run(unlocked({{kUnlockWord1, kProgram}, {(at - kBase) / 2 + 1, 0x0000}}));
  EXPECT_TRUE(flash.Busy()) << "a reset does not stop the embedded algorithm";
  elapse(JedecTiming{}.wordProgramMicros);
  EXPECT_EQ(flash.ReadWord(at), 0x00F0);
  EXPECT_EQ(flash.ReadWord(at + 2), 0xFFFF) << "the second program was not taken";
}

TEST_F(JedecFlash16Test, PeekingAtStatusDoesNotToggle) {
  run(unlocked({{kUnlockWord1, kProgram}, {0, 0x0000}}));
  const uint16_t peeked = flash.PeekWord(kBase);
  EXPECT_EQ(flash.PeekWord(kBase), peeked);
  EXPECT_EQ(flash.ReadWord(kBase), peeked);
  EXPECT_NE(flash.ReadWord(kBase) & kToggle, peeked & kToggle);
}

}  // namespace
}  // namespace velmora
