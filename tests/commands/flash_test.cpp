// Flash operations end to end against the virtual TOLVANE board: drivers loaded into
// target RAM when needed, bursts staged in the driver buffer, the driver called with its
// registers, and the board's flash model (blank cells, AND programming, sector erase,
// locks and protection with the password) showing what happened.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "commands/flash_operations.h"
#include "commands/transfers.h"
#include "formats/hex_reader.h"
#include "formats/hex_writer.h"
#include "formats/memory_file.h"
#include "wire_reader.h"

namespace velmora {
namespace {

using namespace test;

constexpr int32_t kDriverEntry = 0xE00300;  // where the shipped driver images sit
constexpr int32_t kBuffer = 0x00F600;       // the driver buffer of both flash units
constexpr int32_t kIflash = 0xC00000;

class Flash : public WireFixture {
 protected:
  Flash() {
    LoadMemoryFile((home.path() / "MEMDEF" / "TOLVANE.MEM").string(), settings.target.units, log);
    iflash = FindMemoryUnit(settings.target.units, "IFLASH");
    xflash = FindMemoryUnit(settings.target.units, "XFLASH");
  }
  void SetUp() override {
    ASSERT_GE(iflash, 0);
    ASSERT_GE(xflash, 0);
  }

  static Bytes Password(std::string_view text) { return {text.begin(), text.end()}; }
  MemoryUnit& unit(int index) { return settings.target.units[static_cast<size_t>(index)]; }
  // Writes bytes as an Intel HEX file and loads it as the user does: its ranges become
  // the selections.
  std::string Load(std::string_view name, int32_t start, const Bytes& bytes) {
    MemoryImage scratch;
    scratch.StoreLoaded(start, bytes);
    const std::string path = (home.path() / name).string();
    EXPECT_EQ(
        HexWrite(path, start, start + static_cast<int32_t>(bytes.size()) - 1, 32, 4, scratch, log),
        HexWriteStatus::Ok);
    Load(path);
    return path;
  }
  void Load(const std::string& path) {
    EXPECT_EQ(HexRead(path, image, selections, log).status, HexReadStatus::Ok);
  }
  // R8 after reading a status word of IFLASH.
  int32_t StatusWord(int word) {
    CallRegisters values{};
    EXPECT_EQ(ReadStatusWord(*link, iflash, word, values), 0);
    return values[0];
  }

  int iflash = -1;
  int xflash = -1;
};

// A RAM file downloaded and a flash file programmed, read back into a fresh image and
// compared with the files.
TEST_F(Flash, DownloadAndIntelligentProgramThenUploadAndCompare) {
  ConnectAndMark();
  const Bytes ram = Pattern(0x500, 0x22);  // two blocks
  const std::string ramFile = Load("dsram.hex", 0x00C100, ram);
  ASSERT_EQ(DownloadSelections(*link), 0);
  selections.ClearSelections();
  board->memory().StoreLoaded(kIflash, Bytes(0x2000, 0x00));  // old contents to erase
  const Bytes code = Pattern(0x600, 0x5A);
  const std::string codeFile = Load("code.hex", kIflash, code);
  Mark();
  EXPECT_EQ(ProgramSelections(*link, true), 0);
  EXPECT_EQ(
      NewLines(),
      (Texts{"*Program: loading driver ", "*Program: loading driver DRIVER\\IFLASH_TOLVANE.HEX",
             "*Download:  96 bytes ", "*Program: Erasing sector 0",
             "*Program:  1024 bytes programmed ", "*Program: 1536 bytes successfully programmed"}));
  EXPECT_EQ(selections.At(0), (Selection{kIflash, kIflash + 0x5FF}));  // the user's again
  EXPECT_EQ(OnBoard(kIflash + 0x600, 0x2000 - 0x600), Bytes(0x2000 - 0x600, 0xFF));

  image.InitImage();
  ASSERT_TRUE(selections.AddSelection(0x00C100, 0x00C5FF));
  ASSERT_EQ(UploadSelections(*link), 0);
  Bytes read(code.size());
  image.ReadBytes(kIflash, read);
  EXPECT_EQ(read, code);
  read.resize(ram.size());
  image.ReadBytes(0x00C100, read);
  EXPECT_EQ(read, ram);
  Load(ramFile);
  Load(codeFile);
  EXPECT_EQ(CompareSelections(*link, ""), 0);
}

TEST_F(Flash, ProgrammingOverUnerasedFlashIsCaughtByTheCompare) {
  ConnectAndMark();
  const Bytes first = Pattern(0x200, 0x0F);
  const Bytes second = Pattern(0x200, 0xC3);
  Load("first.hex", kIflash + 0x1000, first);
  ASSERT_EQ(ProgramSelections(*link, true), 0);
  Load("second.hex", kIflash + 0x1000, second);
  ASSERT_EQ(ProgramSelections(*link, false), 0);

  // The cells can only lose bits: the board holds the AND of both.
  Bytes anded(first.size());
  int32_t differing = 0;
  for (size_t k = 0; k < first.size(); ++k) {
    anded[k] = static_cast<uint8_t>(first[k] & second[k]);
    differing += anded[k] != second[k] ? 1 : 0;
  }
  ASSERT_GT(differing, 0);
  EXPECT_EQ(OnBoard(kIflash + 0x1000, anded.size()), anded);
  EXPECT_EQ(CompareSelections(*link, ""), differing);
}

// Which bursts go to the driver, with what staged in the buffer: the selected bytes, and
// the unit's blank value (FF) for the rest of a burst.
TEST_F(Flash, BurstsAlignedStagedAndCalled) {
  struct Case {
    int32_t burst;
    bool intelligent;
    std::vector<std::pair<int32_t, size_t>> selected;  // (start, length)
    std::vector<std::pair<int32_t, int32_t>> calls;    // (R8, burst address or erased sector)
    const char* line;                                  // the last
  };
  const Case kCases[] = {
      {0x80, false, {{0xC01000, 0x40}}, {{0, 0xC01000}}, "128"},                // a short selection
      {0x20, false, {{0xC01010, 0x20}}, {{0, 0xC01000}, {0, 0xC01020}}, "64"},  // unaligned
      // The second selection is inside the burst the first one ends in.
      {0x80, false, {{0xC01000, 0x11}, {0xC01040, 0x40}}, {{0, 0xC01000}}, "128"},
      {0x80, false, {{0x300000, 0x10}}, {}, "0"},                 // in no memory
      {0x80, false, {{0xBFFFF0, 0x20}}, {{0, 0xC00000}}, "128"},  // running into a memory
      // Each section is erased once, before its first burst.
      {0x80,
       true,
       {{0xC01F00, 0x200}, {0xC02400, 0x80}},
       {{1, 0}, {0, 0xC01F00}, {0, 0xC01F80}, {1, 1}, {0, 0xC02000}, {0, 0xC02080}, {0, 0xC02400}},
       "640"},
  };
  ConnectAndMark();
  ASSERT_EQ(EraseSector(*link, iflash, 6), -1);  // loads the driver: only bursts follow
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.selected[0].first);
    selections.ClearSelections();
    for (const auto& [start, length] : c.selected)
      Select(start, Pattern(length, start >> 4 & 0xFF));
    unit(iflash).burstSize = c.burst;
    Mark();
    EXPECT_EQ(ProgramSelections(*link, c.intelligent), 0);
    EXPECT_EQ(NewLines().back(),
              std::string("*Program: ") + c.line + " bytes successfully programmed");

    const auto sent = TakeSent();
    const auto calls = Only(sent, kCall);
    auto staged = Only(sent, kWriteBlock);
    ASSERT_EQ(calls.size(), c.calls.size());
    for (size_t k = 0; k < calls.size(); ++k) {
      const auto [function, at] = c.calls[k];
      if (function == 1) {
        EXPECT_EQ(calls[k].registers, (CallRegisters{1, 0, 0, 0, 0, 0, at, 0}));
        continue;
      }
      EXPECT_EQ(calls[k].registers,
                (CallRegisters{0, c.burst, kBuffer, 0, 0, at & 0xFFFF, at >> 16, 0}));
      Bytes expected(static_cast<size_t>(c.burst));
      for (int32_t i = 0; i < c.burst; ++i) {
        expected[i] = selections.InSelection(at + i) ? image.GetByte(at + i) : 0xFF;
      }
      ASSERT_FALSE(staged.empty());
      EXPECT_EQ(staged.front().address, kBuffer);
      EXPECT_EQ(staged.front().data, expected);
      staged.erase(staged.begin());
    }
    EXPECT_TRUE(staged.empty());
  }
}

// Locks and protection hold until lifted with the password, which goes through the
// driver buffer (R11 holds its address / 1000); the status words show them.
TEST_F(Flash, LocksAndProtectionHoldUntilLiftedWithThePassword) {
  ConnectAndMark();
  EXPECT_EQ(StatusWord(2), 0x0102);  // driver version 1, revision 2
  EXPECT_EQ(NewLines(),
            (Texts{"*Status: loading driver ", "*Status: loading driver DRIVER\\IFLASH_TOLVANE.HEX",
                   "*Download:  96 bytes ", "*Status: Statusword 2 in IFLASH read"}));
  const Bytes data = Pattern(0x80, 0x44);
  Select(kIflash + 0x2000, data);
  ASSERT_EQ(ProgramSelections(*link, false), 0);

  EXPECT_EQ(LockSector(*link, iflash, 1), 0);
  EXPECT_EQ(Lines().back(), "*Lock: Sector 1 in IFLASH successfully locked");
  EXPECT_EQ(StatusWord(1), 1 << 1);
  EXPECT_EQ(EraseSector(*link, iflash, 1), -1);
  EXPECT_EQ(Lines().back(), "*ERROR: Erase not successful");
  EXPECT_EQ(selections.At(0), (Selection{kIflash + 0x2000, kIflash + 0x207F}));  // the user's
  EXPECT_EQ(UnlockSector(*link, iflash, 1, Password("KORDX")), -1);
  EXPECT_EQ(UnlockSector(*link, iflash, 1, Password("KORD")), -1);
  EXPECT_EQ(Lines().back(), "*ERROR: Unlock not successful");
  EXPECT_EQ(StatusWord(1), 1 << 1);
  EXPECT_EQ(OnBoard(kIflash + 0x2000, data.size()), data);
  TakeSent();
  EXPECT_EQ(UnlockSector(*link, iflash, 1, Password("KORDA")), 0);
  EXPECT_EQ(Lines().back(), "*Unlock: Sector 1 in IFLASH successfully unlocked");
  EXPECT_EQ(Only(TakeSent(), kCall)[0].registers,
            (CallRegisters{0x11, 5, 0xF600, 0xF, 0, 0, 1, 0}));
  EXPECT_EQ(StatusWord(1), 0);
  EXPECT_EQ(EraseSector(*link, iflash, 1), 0);
  EXPECT_EQ(OnBoard(kIflash + 0x2000, data.size()), Bytes(data.size(), 0xFF));

  EXPECT_EQ(ProtectUnit(*link, iflash), 0);
  EXPECT_EQ(Lines().back(), "*Protect: IFLASH successfully protected");
  EXPECT_EQ(StatusWord(0) & 0x0500, 0x0500);  // protection installed, write protection active
  selections.ClearSelections();
  Select(kIflash, Pattern(0x80, 9));
  EXPECT_NE(ProgramSelections(*link, false), 0);
  EXPECT_EQ(Lines().back(), "*ERROR: Program not successful");
  EXPECT_EQ(UnprotectUnit(*link, iflash, Password("korda")), -1);
  EXPECT_EQ(Lines().back(), "*ERROR: Unprotect not successful");
  TakeSent();
  EXPECT_EQ(UnprotectUnit(*link, iflash, Password("KORDA")), 0);
  EXPECT_EQ(Lines().back(), "*Unprotect: IFLASH successfully unprotected");
  EXPECT_EQ(Only(TakeSent(), kCall)[0].registers,
            (CallRegisters{0x21, 5, 0xF600, 0xF, 0, 0, 0, 0}));
  EXPECT_EQ(StatusWord(0) & 0x0100, 0);
  EXPECT_EQ(ProgramSelections(*link, false), 0);
  EXPECT_EQ(OnBoard(kIflash, 0x80), Pattern(0x80, 9));
}

TEST_F(Flash, TheDriverIsLoadedOnceForOneUnitAndAgainAfterAnother) {
  const auto driverLoads = [&] {
    const auto writes = Only(TakeSent(), kWriteBlock);
    return std::count_if(writes.begin(), writes.end(),
                         [](const WireCommand& c) { return c.address == kDriverEntry; });
  };
  ConnectAndMark();
  EXPECT_EQ(EraseSector(*link, iflash, 0), 0);
  EXPECT_EQ(EraseSector(*link, iflash, 1), 0);
  EXPECT_EQ(driverLoads(), 1);

  Mark();
  EXPECT_EQ(EraseSector(*link, xflash, 0), 0);
  EXPECT_EQ(NewLines(),
            (Texts{"*Erase: loading driver ", "*Erase: loading driver DRIVER\\XFLASH16.HEX",
                   "*Download:  96 bytes ", "*Erase: Sector 0 in XFLASH successfully erased"}));
  EXPECT_EQ(driverLoads(), 1);
  EXPECT_FALSE(unit(iflash).driverLoaded);

  EXPECT_EQ(EraseSector(*link, iflash, 2), 0);
  Select(kIflash, Pattern(0x80, 1));
  EXPECT_EQ(ProgramSelections(*link, false), 0);  // finds the driver resident
  EXPECT_EQ(driverLoads(), 1);
  EXPECT_FALSE(unit(xflash).driverLoaded);
}

}  // namespace
}  // namespace velmora
