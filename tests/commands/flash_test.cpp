// Flash operations end to end against the virtual TOLVANE board: drivers loaded into
// target RAM when needed, bursts staged in the driver buffer, the driver called with its
// registers, and the board's flash model (blank cells, AND programming, sector erase,
// locks and protection with the password) showing what happened.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "commands/flash_operations.h"
#include "commands/transfers.h"
#include "formats/hex_reader.h"
#include "formats/hex_writer.h"
#include "formats/memory_file.h"
#include "link_fixture.h"

namespace velmora {
namespace {

using test::LinkFixture;
using Bytes = std::vector<uint8_t>;

// ---------------------------------------------------------------------------------------
// The wire

struct WireCommand {
  uint8_t code = 0;
  int32_t address = -1;
  int32_t count = 0;          // the count of a block command
  Bytes data;                 // the data of a block write
  CallRegisters registers{};  // R8..R15 of a call
};

constexpr uint8_t kWriteBlock = 0x84;
constexpr uint8_t kReadBlock = 0x85;
constexpr uint8_t kCall = 0x9F;

// Splits what the host sent into commands, using the default command bytes.
std::vector<WireCommand> ParseCommands(const Bytes& sent) {
  std::vector<WireCommand> commands;
  size_t i = 0;
  const auto take = [&](size_t n) {
    int32_t value = 0;
    for (size_t k = 0; k < n && i < sent.size(); ++k, ++i) value |= sent[i] << (8 * k);
    return value;
  };
  while (i < sent.size()) {
    WireCommand command;
    command.code = sent[i++];
    if (command.code == kWriteBlock || command.code == kReadBlock || command.code == 0x82) {
      command.address = take(3);
      command.count = take(2);
      if (command.code == kWriteBlock) {
        const size_t n = std::min(static_cast<size_t>(command.count), sent.size() - i);
        command.data.assign(sent.begin() + static_cast<long>(i),
                            sent.begin() + static_cast<long>(i + n));
        i += n;
      }
    } else if (command.code == kCall) {
      command.address = take(3);
      for (auto& value : command.registers) value = take(2);
    } else if (command.code == 0x41) {
      command.address = take(3);
    }
    commands.push_back(std::move(command));
  }
  return commands;
}

// The commands without the checksum requests that follow every block command.
std::vector<WireCommand> WithoutChecksumRequests(const std::vector<WireCommand>& commands) {
  std::vector<WireCommand> kept;
  std::copy_if(commands.begin(), commands.end(), std::back_inserter(kept),
               [](const WireCommand& c) { return c.code != 0x33; });
  return kept;
}

std::vector<WireCommand> Only(const std::vector<WireCommand>& commands, uint8_t code) {
  std::vector<WireCommand> kept;
  std::copy_if(commands.begin(), commands.end(), std::back_inserter(kept),
               [code](const WireCommand& c) { return c.code == code; });
  return kept;
}

Bytes Pattern(size_t n, uint8_t seed) {
  Bytes bytes(n);
  for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8_t>(seed + i * 13 + (i >> 7));
  return bytes;
}

Bytes Password(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

constexpr int32_t kDriverEntry = 0xE00300;  // where the shipped driver test images sit
constexpr int32_t kDriverLength = 0x60;
constexpr int32_t kBuffer = 0x00F600;  // the driver buffer of both flash units
constexpr int32_t kIflash = 0xC00000;

// ---------------------------------------------------------------------------------------
// The fixture: a TOLVANE board with the memory units of its definition file

class Flash : public LinkFixture {
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

  void ConnectAndMark() {
    Connect();
    Mark();
  }
  void Mark() {
    seen_ = Lines().size();
    TakeSent();
  }
  std::vector<std::string> NewLines() const {
    const auto all = Lines();
    return {all.begin() + static_cast<long>(std::min(seen_, all.size())), all.end()};
  }
  long CountNewLines(std::string_view line) const {
    const auto lines = NewLines();
    return std::count(lines.begin(), lines.end(), line);
  }

  MemoryUnit& unit(int index) { return settings.target.units[static_cast<size_t>(index)]; }

  // Writes bytes at start as an Intel HEX file in the program folder copy.
  std::string WriteHexFile(std::string_view name, int32_t start, const Bytes& bytes) {
    MemoryImage scratch;
    MessageLog scratchLog;
    scratch.StoreLoaded(start, bytes);
    const std::string path = (home.path() / name).string();
    EXPECT_EQ(HexWrite(path, start, start + static_cast<int32_t>(bytes.size()) - 1, 32, 4, scratch,
                       scratchLog),
              HexWriteStatus::Ok);
    return path;
  }
  // Loads a HEX file as the user does: into the image, its ranges the selections.
  void Load(const std::string& path) {
    ASSERT_EQ(HexRead(path, image, selections, log).status, HexReadStatus::Ok);
  }
  void SelectBytes(int32_t start, const Bytes& bytes) {
    image.StoreLoaded(start, bytes);
    ASSERT_TRUE(selections.AddSelection(start, start + static_cast<int32_t>(bytes.size()) - 1));
  }

  Bytes OnBoard(int32_t start, size_t n) {
    Bytes bytes(n);
    board->memory().ReadBytes(start, bytes);
    return bytes;
  }
  bool BoardIsBlank(int32_t start, size_t n) { return OnBoard(start, n) == Bytes(n, 0xFF); }

  // The driver's registers of a status word, or nullopt when the read failed.
  std::optional<CallRegisters> Status(int unitIndex, int word) {
    CallRegisters values{};
    if (ReadStatusWord(*link, unitIndex, word, values) != 0) return std::nullopt;
    return values;
  }
  std::vector<Selection> CurrentSelections() const {
    std::vector<Selection> list;
    for (int i = 0; i < selections.Count(); ++i) list.push_back(selections.At(i));
    return list;
  }

  int iflash = -1;
  int xflash = -1;

 private:
  size_t seen_ = 0;
};

// ---------------------------------------------------------------------------------------
// Round trips

TEST_F(Flash, RamDownloadUploadAndCompare) {
  ConnectAndMark();
  const Bytes psram = Pattern(0x300, 0x11);
  const Bytes dsram = Pattern(0x500, 0x22);
  const std::string psramFile = WriteHexFile("psram.hex", 0xE00400, psram);
  const std::string dsramFile = WriteHexFile("dsram.hex", 0x00C100, dsram);
  Load(psramFile);
  ASSERT_EQ(DownloadSelections(*link), 0);
  Load(dsramFile);
  ASSERT_EQ(DownloadSelections(*link), 0);
  EXPECT_EQ(OnBoard(0xE00400, psram.size()), psram);
  EXPECT_EQ(OnBoard(0x00C100, dsram.size()), dsram);

  // A fresh image takes the target's bytes.
  image.InitImage();
  selections.ClearSelections();
  ASSERT_TRUE(selections.AddSelection(0xE00400, 0xE006FF));
  ASSERT_TRUE(selections.AddSelection(0x00C100, 0x00C5FF));
  ASSERT_EQ(UploadSelections(*link), 0);
  Bytes read(psram.size());
  image.ReadBytes(0xE00400, read);
  EXPECT_EQ(read, psram);
  read.resize(dsram.size());
  image.ReadBytes(0x00C100, read);
  EXPECT_EQ(read, dsram);

  // And the files compare equal with the target.
  Load(psramFile);
  EXPECT_EQ(CompareSelections(*link, ""), 0);
  Load(dsramFile);
  EXPECT_EQ(CompareSelections(*link, ""), 0);
}

TEST_F(Flash, IntelligentProgramErasesThenProgramsAndReadsBackEqual) {
  ConnectAndMark();
  // Old contents in sector 0 that an AND-only program would leave traces of.
  board->memory().StoreLoaded(kIflash, Bytes(0x2000, 0x00));
  const Bytes data = Pattern(0x600, 0x5A);
  const std::string file = WriteHexFile("code.hex", kIflash, data);
  Load(file);
  const auto before = CurrentSelections();

  EXPECT_EQ(ProgramSelections(*link, true), 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{
                            "*Program: loading driver ",
                            "*Program: loading driver DRIVER\\IFLASH_TOLVANE.HEX",
                            "*Download:  96 bytes ",
                            "*Program: Erasing sector 0",
                            "*Program:  1024 bytes programmed ",
                            "*Program: 1536 bytes successfully programmed",
                        }));
  EXPECT_EQ(CurrentSelections(), before);
  EXPECT_EQ(OnBoard(kIflash, data.size()), data);
  EXPECT_TRUE(BoardIsBlank(kIflash + 0x600, 0x2000 - 0x600));  // the rest of the sector erased

  // On the wire: the erase call comes before the first program call.
  const auto calls = Only(ParseCommands(TakeSent()), kCall);
  ASSERT_EQ(calls.size(), 1U + 12U);
  EXPECT_EQ(calls[0].registers, (CallRegisters{0x01, 0, 0, 0, 0, 0, 0, 0}));
  for (size_t k = 1; k < calls.size(); ++k) {
    EXPECT_EQ(calls[k].registers[0], 0x00);
    EXPECT_EQ(calls[k].registers[5], static_cast<int32_t>(0x80 * (k - 1)));
  }

  // Read back into a fresh image, then compare with the file.
  image.InitImage();
  ASSERT_EQ(UploadSelections(*link), 0);
  Bytes read(data.size());
  image.ReadBytes(kIflash, read);
  EXPECT_EQ(read, data);
  Load(file);
  EXPECT_EQ(CompareSelections(*link, ""), 0);
}

TEST_F(Flash, ProgrammingOverUnerasedFlashIsCaughtByTheCompare) {
  ConnectAndMark();
  const Bytes first = Pattern(0x200, 0x0F);
  const Bytes second = Pattern(0x200, 0xC3);
  Load(WriteHexFile("first.hex", kIflash + 0x1000, first));
  ASSERT_EQ(ProgramSelections(*link, true), 0);
  Load(WriteHexFile("second.hex", kIflash + 0x1000, second));
  ASSERT_EQ(ProgramSelections(*link, false), 0);

  // The cells can only lose bits: the board holds the AND of both.
  Bytes anded(first.size());
  int32_t differing = 0;
  for (size_t k = 0; k < first.size(); ++k) {
    anded[k] = static_cast<uint8_t>(first[k] & second[k]);
    if (anded[k] != second[k]) ++differing;
  }
  ASSERT_GT(differing, 0);
  EXPECT_EQ(OnBoard(kIflash + 0x1000, anded.size()), anded);
  EXPECT_EQ(CompareSelections(*link, ""), differing);
}

// ---------------------------------------------------------------------------------------
// Driver registers on the wire

TEST_F(Flash, EachOperationCallsTheDriverWithItsRegisters) {
  struct RegisterCase {
    const char* name;
    std::function<int16_t()> run;
    CallRegisters values;
  };
  const RegisterCase kCases[] = {
      {"erase sector 3",
       [this] { return EraseSector(*link, iflash, 3); },
       {0x01, 0, 0, 0, 0, 0, 3, 0}},
      {"status word 1",
       [this] {
         CallRegisters r{};
         return ReadStatusWord(*link, iflash, 1, r);
       },
       {0x06, 0, 0, 0, 0, 0, 1, 0}},
      {"lock sector 2",
       [this] { return LockSector(*link, iflash, 2); },
       {0x10, 0, 0, 0, 0, 0, 2, 0}},
      // unlock and unprotect pass the buffer's upper part as the address / 1000
      {"unlock sector 2",
       [this] { return UnlockSector(*link, iflash, 2, Password("KORDA")); },
       {0x11, 5, 0xF600, 0x000F, 0, 0, 2, 0}},
      {"protect", [this] { return ProtectUnit(*link, iflash); }, {0x20, 0, 0, 0, 0, 0, 0, 0}},
      {"unprotect",
       [this] { return UnprotectUnit(*link, iflash, Password("KORDA")); },
       {0x21, 5, 0xF600, 0x000F, 0, 0, 0, 0}},
  };
  ConnectAndMark();
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.name);
    Mark();
    EXPECT_EQ(row.run(), 0);
    const auto calls = Only(ParseCommands(TakeSent()), kCall);
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.back().address, kDriverEntry);
    EXPECT_EQ(calls.back().registers, row.values);
  }
}

TEST_F(Flash, ThePasswordIsStagedInTheDriverBufferBeforeTheCall) {
  ConnectAndMark();
  ASSERT_EQ(LockSector(*link, iflash, 4), 0);
  Mark();
  ASSERT_EQ(UnlockSector(*link, iflash, 4, Password("KORDA")), 0);
  const auto commands = WithoutChecksumRequests(ParseCommands(TakeSent()));
  ASSERT_EQ(commands.size(), 2U);  // the driver is resident: the password, then the call
  EXPECT_EQ(commands[0].code, kWriteBlock);
  EXPECT_EQ(commands[0].address, kBuffer);
  EXPECT_EQ(commands[0].data, Password("KORDA"));
  EXPECT_EQ(commands[1].code, kCall);
  EXPECT_EQ(image.GetByte(kBuffer), 'K');
  EXPECT_TRUE(image.IsDefined(kBuffer + 4));
}

TEST_F(Flash, EveryBurstIsStagedWrittenCalledAndCheckedThroughR15) {
  ConnectAndMark();
  ASSERT_EQ(EraseSector(*link, iflash, 0), 0);  // the driver is resident from here on
  const Bytes data = Pattern(0x100, 0x31);
  SelectBytes(kIflash + 0x1000, data);
  Mark();
  ASSERT_EQ(ProgramSelections(*link, false), 0);

  const int32_t cp = registers.At(registers.FindRegister("CP")).address;
  const int32_t bank = board->ReadWord(cp);
  const auto commands = WithoutChecksumRequests(ParseCommands(TakeSent()));
  // Per burst: the buffer, the call, then R15 read as CP and the word at CP + 30.
  ASSERT_EQ(commands.size(), 2U * 4U);
  for (size_t burst = 0; burst < 2; ++burst) {
    SCOPED_TRACE(burst);
    const auto* c = &commands[burst * 4];
    EXPECT_EQ(c[0].code, kWriteBlock);
    EXPECT_EQ(c[0].address, kBuffer);
    EXPECT_EQ(c[0].count, 0x80);
    EXPECT_EQ(c[0].data, Bytes(data.begin() + static_cast<long>(burst * 0x80),
                               data.begin() + static_cast<long>((burst + 1) * 0x80)));
    EXPECT_EQ(c[1].code, kCall);
    EXPECT_EQ(c[1].registers,
              (CallRegisters{0x00, 0x80, 0xF600, 0x0000, 0,
                             static_cast<int32_t>(0x1000 + burst * 0x80), 0x00C0, 0}));
    EXPECT_EQ(c[2].code, kReadBlock);
    EXPECT_EQ(c[2].address, cp);
    EXPECT_EQ(c[2].count, 2);
    EXPECT_EQ(c[3].code, kReadBlock);
    EXPECT_EQ(c[3].address, bank + 30);
    EXPECT_EQ(c[3].count, 2);
  }
  EXPECT_EQ(OnBoard(kIflash + 0x1000, data.size()), data);
}

// ---------------------------------------------------------------------------------------
// Erase, lock, unlock, protect, unprotect, status

TEST_F(Flash, EraseBlanksTheSector) {
  ConnectAndMark();
  SelectBytes(kIflash + 0x2000, Pattern(0x100, 1));
  SelectBytes(kIflash + 0x4000, Pattern(0x80, 2));
  ASSERT_EQ(ProgramSelections(*link, false), 0);
  Mark();
  EXPECT_EQ(EraseSector(*link, iflash, 1), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Erase: Sector 1 in IFLASH successfully erased"});
  EXPECT_TRUE(BoardIsBlank(kIflash + 0x2000, 0x2000));
  EXPECT_EQ(OnBoard(kIflash + 0x4000, 0x80), Pattern(0x80, 2));  // sector 2 untouched
}

TEST_F(Flash, EraseOfASectorTheUnitDoesNotHaveFails) {
  ConnectAndMark();
  EXPECT_EQ(EraseSector(*link, iflash, 6), -1);
  const auto lines = NewLines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "*ERROR: Erase not successful");
}

TEST_F(Flash, ALockedSectorRefusesEraseUntilUnlockedWithThePassword) {
  ConnectAndMark();
  const Bytes data = Pattern(0x80, 0x44);
  SelectBytes(kIflash + 0x2000, data);
  ASSERT_EQ(ProgramSelections(*link, false), 0);

  Mark();
  EXPECT_EQ(LockSector(*link, iflash, 1), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Lock: Sector 1 in IFLASH successfully locked"});
  ASSERT_TRUE(Status(iflash, 1));
  EXPECT_EQ(Status(iflash, 1)->at(0), 1 << 1);

  Mark();
  EXPECT_EQ(EraseSector(*link, iflash, 1), -1);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: Erase not successful"});
  EXPECT_EQ(OnBoard(kIflash + 0x2000, data.size()), data);
  EXPECT_EQ(EraseSector(*link, iflash, 2), 0);  // the lock is the sector's only

  Mark();
  EXPECT_EQ(UnlockSector(*link, iflash, 1, Password("KORDX")), -1);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: Unlock not successful"});
  EXPECT_EQ(Status(iflash, 1)->at(0), 1 << 1);
  EXPECT_EQ(EraseSector(*link, iflash, 1), -1);
  EXPECT_EQ(UnlockSector(*link, iflash, 1, Password("KORD")), -1);  // too short
  EXPECT_EQ(Status(iflash, 1)->at(0), 1 << 1);

  Mark();
  EXPECT_EQ(UnlockSector(*link, iflash, 1, Password("KORDA")), 0);
  EXPECT_EQ(NewLines(),
            std::vector<std::string>{"*Unlock: Sector 1 in IFLASH successfully unlocked"});
  EXPECT_EQ(Status(iflash, 1)->at(0), 0);
  EXPECT_EQ(EraseSector(*link, iflash, 1), 0);
  EXPECT_TRUE(BoardIsBlank(kIflash + 0x2000, data.size()));
}

TEST_F(Flash, ALockedSectorRefusesProgramming) {
  ConnectAndMark();
  ASSERT_EQ(LockSector(*link, iflash, 1), 0);
  // Two bursts in sector 0, then the locked sector 1.
  const Bytes data = Pattern(0x200, 7);
  SelectBytes(kIflash + 0x1F00, data);
  const auto before = CurrentSelections();
  Mark();
  EXPECT_NE(ProgramSelections(*link, false), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: Program not successful"});
  EXPECT_EQ(Only(ParseCommands(TakeSent()), kCall).size(), 3U);  // stops at the failing burst
  EXPECT_EQ(OnBoard(kIflash + 0x1F00, 0x100), Bytes(data.begin(), data.begin() + 0x100));
  EXPECT_TRUE(BoardIsBlank(kIflash + 0x2000, 0x100));
  EXPECT_EQ(CurrentSelections(), before);
}

TEST_F(Flash, IntelligentProgramStopsWhenTheEraseIsRefused) {
  ConnectAndMark();
  ASSERT_EQ(LockSector(*link, iflash, 0), 0);
  SelectBytes(kIflash, Pattern(0x100, 3));
  const auto before = CurrentSelections();
  Mark();
  EXPECT_NE(ProgramSelections(*link, true), 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*Program: Erasing sector 0",
                                                  "*ERROR: Erase not successful"}));
  const auto calls = Only(ParseCommands(TakeSent()), kCall);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].registers[0], 0x01);
  EXPECT_EQ(CurrentSelections(), before);
}

TEST_F(Flash, ProtectionRefusesEraseAndProgrammingUntilLiftedWithThePassword) {
  ConnectAndMark();
  Mark();
  EXPECT_EQ(ProtectUnit(*link, iflash), 0);
  auto lines = NewLines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "*Protect: IFLASH successfully protected");
  constexpr int32_t kProtectionInstalled = 1 << 8;
  constexpr int32_t kWriteProtectionActive = 1 << 10;
  ASSERT_TRUE(Status(iflash, 0));
  EXPECT_EQ(Status(iflash, 0)->at(0) & (kProtectionInstalled | kWriteProtectionActive),
            kProtectionInstalled | kWriteProtectionActive);

  EXPECT_EQ(EraseSector(*link, iflash, 0), -1);
  SelectBytes(kIflash, Pattern(0x80, 9));
  Mark();
  EXPECT_NE(ProgramSelections(*link, false), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: Program not successful"});
  EXPECT_TRUE(BoardIsBlank(kIflash, 0x80));

  Mark();
  EXPECT_EQ(UnprotectUnit(*link, iflash, Password("korda")), -1);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: Unprotect not successful"});
  EXPECT_EQ(Status(iflash, 0)->at(0) & kProtectionInstalled, kProtectionInstalled);

  Mark();
  EXPECT_EQ(UnprotectUnit(*link, iflash, Password("KORDA")), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Unprotect: IFLASH successfully unprotected"});
  EXPECT_EQ(Status(iflash, 0)->at(0) & kProtectionInstalled, 0);
  EXPECT_EQ(ProgramSelections(*link, false), 0);
  EXPECT_EQ(OnBoard(kIflash, 0x80), Pattern(0x80, 9));
}

TEST_F(Flash, StatusWordComesBackInR8) {
  ConnectAndMark();
  CallRegisters values{};
  EXPECT_EQ(ReadStatusWord(*link, iflash, 2, values), 0);
  EXPECT_EQ(values[0], 0x0102);  // driver version 1, revision 2
  EXPECT_EQ(values[7], 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{
                            "*Status: loading driver ",
                            "*Status: loading driver DRIVER\\IFLASH_TOLVANE.HEX",
                            "*Download:  96 bytes ",
                            "*Status: Statusword 2 in IFLASH read",
                        }));
  ASSERT_EQ(LockSector(*link, iflash, 0), 0);
  ASSERT_EQ(LockSector(*link, iflash, 3), 0);
  EXPECT_EQ(Status(iflash, 1)->at(0), (1 << 0) | (1 << 3));
}

TEST_F(Flash, StatusWordFailsOnAWrongAcknowledge) {
  ConnectAndMark();
  ASSERT_EQ(EraseSector(*link, iflash, 0), 0);
  Mark();
  board->faults().ReplaceOutput(17, 0x00);  // the call's A_ACK2 after A_ACK1 and 16 bytes
  CallRegisters values{};
  EXPECT_EQ(ReadStatusWord(*link, iflash, 0, values), -1);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: Read Status not successful"});
}

TEST_F(Flash, AFailingLockSaysSo) {
  ConnectAndMark();
  EXPECT_EQ(LockSector(*link, iflash, 6), -1);
  const auto lines = NewLines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back().rfind("*ERROR: ", 0), 0U) << lines.back();
}

// ---------------------------------------------------------------------------------------
// Driver residency

TEST_F(Flash, TheDriverIsLoadedOnceForOneUnitAndAgainAfterAnother) {
  ConnectAndMark();
  const auto driverLoads = [&](const Bytes& sent) {
    size_t loads = 0;
    for (const auto& c : Only(ParseCommands(sent), kWriteBlock)) {
      if (c.address == kDriverEntry && c.count == kDriverLength) ++loads;
    }
    return loads;
  };

  EXPECT_EQ(EraseSector(*link, iflash, 0), 0);
  EXPECT_EQ(EraseSector(*link, iflash, 1), 0);
  EXPECT_EQ(CountNewLines("*Erase: loading driver "), 1);
  EXPECT_EQ(CountNewLines("*Erase: loading driver DRIVER\\IFLASH_TOLVANE.HEX"), 1);
  EXPECT_EQ(driverLoads(TakeSent()), 1U);
  EXPECT_TRUE(unit(iflash).driverLoaded);
  EXPECT_FALSE(unit(xflash).driverLoaded);
  EXPECT_EQ(unit(iflash).driverEntry, kDriverEntry);

  Mark();
  EXPECT_EQ(EraseSector(*link, xflash, 0), 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{
                            "*Erase: loading driver ",
                            "*Erase: loading driver DRIVER\\XFLASH16.HEX",
                            "*Download:  96 bytes ",
                            "*Erase: Sector 0 in XFLASH successfully erased",
                        }));
  EXPECT_EQ(driverLoads(TakeSent()), 1U);
  EXPECT_FALSE(unit(iflash).driverLoaded);
  EXPECT_TRUE(unit(xflash).driverLoaded);

  Mark();
  EXPECT_EQ(EraseSector(*link, iflash, 2), 0);
  EXPECT_EQ(CountNewLines("*Erase: loading driver "), 1);
  EXPECT_EQ(driverLoads(TakeSent()), 1U);
  EXPECT_TRUE(unit(iflash).driverLoaded);
  EXPECT_FALSE(unit(xflash).driverLoaded);

  // Programming the same unit finds its driver resident.
  SelectBytes(kIflash, Pattern(0x80, 1));
  Mark();
  EXPECT_EQ(ProgramSelections(*link, false), 0);
  EXPECT_EQ(CountNewLines("*Program: loading driver "), 0);
  EXPECT_EQ(driverLoads(TakeSent()), 0U);
}

TEST_F(Flash, ProgrammingTwoUnitsSwitchesTheDriverBetweenThem) {
  ConnectAndMark();
  SelectBytes(0x080000, Pattern(0x100, 1));  // XFLASH, one burst of 100
  SelectBytes(kIflash, Pattern(0x80, 2));    // IFLASH, one burst of 80
  EXPECT_EQ(ProgramSelections(*link, false), 0);
  EXPECT_EQ(CountNewLines("*Program: loading driver DRIVER\\XFLASH16.HEX"), 1);
  EXPECT_EQ(CountNewLines("*Program: loading driver DRIVER\\IFLASH_TOLVANE.HEX"), 1);
  EXPECT_EQ(OnBoard(0x080000, 0x100), Pattern(0x100, 1));
  EXPECT_EQ(OnBoard(kIflash, 0x80), Pattern(0x80, 2));
  EXPECT_TRUE(unit(iflash).driverLoaded);
  EXPECT_FALSE(unit(xflash).driverLoaded);
}

TEST_F(Flash, ADriverThatCannotBeLoadedEndsTheOperation) {
  ConnectAndMark();
  unit(iflash).driverPath = "DRIVER\\MISSING.HEX";
  SelectBytes(0xE00400, Pattern(4, 1));
  const auto before = CurrentSelections();
  EXPECT_EQ(EraseSector(*link, iflash, 0), -2);
  EXPECT_FALSE(unit(iflash).driverLoaded);
  EXPECT_TRUE(Only(ParseCommands(TakeSent()), kCall).empty());
  EXPECT_EQ(CurrentSelections(), before);
}

TEST_F(Flash, ADriverDownloadThatFailsEndsTheOperation) {
  ConnectAndMark();
  board->faults().ReplaceOutput(1, 0x00);  // A_ACK2 after the driver's block
  EXPECT_EQ(EraseSector(*link, iflash, 0), -2);
  const auto lines = NewLines();
  EXPECT_NE(std::find(lines.begin(), lines.end(), "*ERROR: download not successful"), lines.end());
  EXPECT_FALSE(unit(iflash).driverLoaded);
  EXPECT_TRUE(Only(ParseCommands(TakeSent()), kCall).empty());
}

// ---------------------------------------------------------------------------------------
// Bursts and the walk over the selections

TEST_F(Flash, AShortSelectionIsOneBurstFilledWithTheBlankValue) {
  ConnectAndMark();
  ASSERT_EQ(unit(iflash).burstSize, 0x80);
  ASSERT_EQ(EraseSector(*link, iflash, 0), 0);
  const Bytes data = Pattern(0x40, 0x77);
  SelectBytes(kIflash + 0x1000, data);  // C01000 .. C0103F
  Mark();
  EXPECT_EQ(ProgramSelections(*link, false), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Program: 128 bytes successfully programmed"});
  const auto commands = ParseCommands(TakeSent());
  const auto writes = Only(commands, kWriteBlock);
  const auto calls = Only(commands, kCall);
  ASSERT_EQ(writes.size(), 1U);
  ASSERT_EQ(calls.size(), 1U);
  Bytes staged = data;
  staged.resize(0x80, 0xFF);
  EXPECT_EQ(writes[0].address, kBuffer);
  EXPECT_EQ(writes[0].data, staged);
  EXPECT_EQ(calls[0].registers[5], 0x1000);
  EXPECT_EQ(calls[0].registers[6], 0x00C0);
  EXPECT_EQ(OnBoard(kIflash + 0x1000, 0x80), staged);
}

TEST_F(Flash, AnUnalignedSelectionStartsAtTheAlignedAddressBelow) {
  ConnectAndMark();
  unit(iflash).burstSize = 0x20;
  const Bytes data = Pattern(0x20, 0x10);
  SelectBytes(kIflash + 0x1010, data);  // C01010 .. C0102F
  Mark();
  EXPECT_EQ(ProgramSelections(*link, false), 0);
  const auto commands = ParseCommands(TakeSent());
  const auto writes = Only(commands, kWriteBlock);
  const auto calls = Only(commands, kCall);
  // The driver's load is one block write; the bursts follow.
  ASSERT_EQ(calls.size(), 2U);
  ASSERT_EQ(writes.size(), 3U);
  EXPECT_EQ(calls[0].registers[1], 0x20);
  EXPECT_EQ(calls[0].registers[5], 0x1000);
  EXPECT_EQ(calls[1].registers[5], 0x1020);
  Bytes first(0x10, 0xFF);
  first.insert(first.end(), data.begin(), data.begin() + 0x10);
  Bytes second(data.begin() + 0x10, data.end());
  second.resize(0x20, 0xFF);
  EXPECT_EQ(writes[1].data, first);
  EXPECT_EQ(writes[2].data, second);
  EXPECT_EQ(NewLines().back(), "*Program: 64 bytes successfully programmed");
}

// A selection whose first burst was already programmed with the previous selection's last
// one moves on by a burst; when that takes it past its own end, nothing is left to do.
TEST_F(Flash, ASelectionInsideThePreviousSelectionsLastBurstAddsNoBurst) {
  ConnectAndMark();
  ASSERT_EQ(EraseSector(*link, iflash, 0), 0);
  const Bytes first = Pattern(0x11, 1);   // C01000 .. C01010
  const Bytes second = Pattern(0x40, 2);  // C01040 .. C0107F, in the same burst
  SelectBytes(kIflash + 0x1000, first);
  SelectBytes(kIflash + 0x1040, second);
  Mark();
  EXPECT_EQ(ProgramSelections(*link, false), 0);
  const auto calls = Only(ParseCommands(TakeSent()), kCall);
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls[0].registers[5], 0x1000);
  Bytes expected = first;
  expected.resize(0x40, 0xFF);
  expected.insert(expected.end(), second.begin(), second.end());
  EXPECT_EQ(OnBoard(kIflash + 0x1000, 0x80), expected);
  // Both selections went with the burst at C01000; a burst at C01080 holds no selected byte.
  EXPECT_EQ(calls.size(), 1U);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Program: 128 bytes successfully programmed"});
}

// The same at the end of a sector: the burst after it lies in the next sector, which no
// selection reaches. Here that sector is locked, so a burst sent there fails the whole
// program although every selected byte went into sector 0.
TEST_F(Flash, ProgrammingLeavesASectorNoSelectionReachesAlone) {
  ConnectAndMark();
  const Bytes kept = Pattern(0x80, 0x3C);
  SelectBytes(kIflash + 0x2000, kept);  // sector 1 holds data that must stay
  ASSERT_EQ(ProgramSelections(*link, false), 0);
  ASSERT_EQ(LockSector(*link, iflash, 1), 0);
  selections.ClearSelections();
  SelectBytes(kIflash + 0x1F80, Pattern(0x11, 1));  // C01F80 .. C01F90, sector 0
  SelectBytes(kIflash + 0x1FC0, Pattern(0x40, 2));  // C01FC0 .. C01FFF, same last burst
  Mark();
  EXPECT_EQ(ProgramSelections(*link, true), 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*Program: Erasing sector 0",
                                                  "*Program: 128 bytes successfully programmed"}));
  EXPECT_EQ(OnBoard(kIflash + 0x2000, kept.size()), kept);
  std::vector<int32_t> functions;
  for (const auto& c : Only(ParseCommands(TakeSent()), kCall)) functions.push_back(c.registers[0]);
  EXPECT_EQ(functions, (std::vector<int32_t>{1, 0}));  // erase sector 0, one burst
}

TEST_F(Flash, ASelectionInNoMemoryIsSkippedWithoutDriverCalls) {
  ConnectAndMark();
  SelectBytes(0x300000, Pattern(0x10, 1));
  const auto before = CurrentSelections();
  EXPECT_EQ(ProgramSelections(*link, true), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Program: 0 bytes successfully programmed"});
  EXPECT_TRUE(TakeSent().empty());
  EXPECT_FALSE(unit(iflash).driverLoaded);
  EXPECT_EQ(CurrentSelections(), before);
}

TEST_F(Flash, TheWalkGoesOnWhereASelectionRunsIntoAMemory) {
  ConnectAndMark();
  const Bytes data = Pattern(0x20, 5);  // BFFFF0 .. C0000F: half outside the flash
  SelectBytes(kIflash - 0x10, data);
  EXPECT_EQ(ProgramSelections(*link, false), 0);
  const auto calls = Only(ParseCommands(TakeSent()), kCall);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].registers[5], 0x0000);
  EXPECT_EQ(calls[0].registers[6], 0x00C0);
  Bytes expected(data.begin() + 0x10, data.end());
  expected.resize(0x80, 0xFF);
  EXPECT_EQ(OnBoard(kIflash, 0x80), expected);
}

TEST_F(Flash, IntelligentProgramErasesEachSectionOnceBeforeItsFirstBurst) {
  ConnectAndMark();
  SelectBytes(kIflash + 0x1F00, Pattern(0x200, 1));  // two bursts in sector 0, two in 1
  SelectBytes(kIflash + 0x2400, Pattern(0x80, 2));   // sector 1 again
  Mark();
  EXPECT_EQ(ProgramSelections(*link, true), 0);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{
                            "*Program: loading driver ",
                            "*Program: loading driver DRIVER\\IFLASH_TOLVANE.HEX",
                            "*Download:  96 bytes ",
                            "*Program: Erasing sector 0",
                            "*Program: Erasing sector 1",
                            "*Program: 640 bytes successfully programmed",
                        }));
  std::vector<int32_t> functions;
  for (const auto& c : Only(ParseCommands(TakeSent()), kCall)) functions.push_back(c.registers[0]);
  EXPECT_EQ(functions, (std::vector<int32_t>{1, 0, 0, 1, 0, 0, 0}));
}

TEST_F(Flash, AUnitWithoutTheEraseFeatureIsNotErasedByTheIntelligentProgram) {
  ConnectAndMark();
  auto& features = unit(iflash).features;
  features.erase(std::remove(features.begin(), features.end(), "ERASE"), features.end());
  SelectBytes(kIflash, Pattern(0x80, 2));
  Mark();
  EXPECT_EQ(ProgramSelections(*link, true), 0);
  EXPECT_EQ(CountNewLines("*Program: Erasing sector 0"), 0);
  std::vector<int32_t> functions;
  for (const auto& c : Only(ParseCommands(TakeSent()), kCall)) functions.push_back(c.registers[0]);
  EXPECT_EQ(functions, std::vector<int32_t>{0});
}

TEST_F(Flash, AfterAFailedEraseTheSelectionsAreAsBefore) {
  ConnectAndMark();
  SelectBytes(0xE00400, Pattern(0x10, 1));
  SelectBytes(kIflash + 0x100, Pattern(0x10, 2));
  const auto before = CurrentSelections();
  // The first operation loads the driver, which replaces the selections on the way.
  EXPECT_EQ(EraseSector(*link, iflash, 6), -1);
  EXPECT_EQ(CurrentSelections(), before);
  ASSERT_EQ(LockSector(*link, iflash, 0), 0);
  EXPECT_EQ(EraseSector(*link, iflash, 0), -1);
  EXPECT_EQ(CurrentSelections(), before);
}

// ---------------------------------------------------------------------------------------
// Not connected

TEST_F(Flash, WithoutAConnectionEveryOperationReturnsZeroSilently) {
  SelectBytes(kIflash, Pattern(0x80, 1));
  Mark();
  const std::pair<const char*, std::function<int16_t()>> kOperations[] = {
      {"program", [&] { return ProgramSelections(*link, false); }},
      {"intelligent program", [&] { return ProgramSelections(*link, true); }},
      {"erase", [&] { return EraseSector(*link, iflash, 0); }},
      {"lock", [&] { return LockSector(*link, iflash, 0); }},
      {"unlock", [&] { return UnlockSector(*link, iflash, 0, Password("KORDA")); }},
      {"protect", [&] { return ProtectUnit(*link, iflash); }},
      {"unprotect", [&] { return UnprotectUnit(*link, iflash, Password("KORDA")); }},
      {"status",
       [&] {
         CallRegisters r{};
         return ReadStatusWord(*link, iflash, 0, r);
       }},
  };
  for (const auto& [name, run] : kOperations) {
    SCOPED_TRACE(name);
    EXPECT_EQ(run(), 0);
    EXPECT_TRUE(NewLines().empty());
    EXPECT_TRUE(TakeSent().empty());
    EXPECT_FALSE(unit(iflash).driverLoaded);
  }
}

// ---------------------------------------------------------------------------------------
// Calling a routine by hand

TEST_F(Flash, CallRoutineShowsTheReturnedRegisters) {
  ConnectAndMark();
  TargetState during = TargetState::Ready;
  board->SetRoutine(0xE00600, {[&](const BoardRegisters& r, Board&) {
                      during = link->state();
                      BoardRegisters out;
                      for (size_t k = 0; k < out.size(); ++k) {
                        out[k] = static_cast<uint16_t>(r[k] + 0x1111);
                      }
                      return out;
                    }});
  CallRegisters values = {0x1234, 1, 2, 3, 4, 5, 6, 0xEEEE};
  EXPECT_EQ(CallRoutine(*link, 0xE00600, values), 0);
  EXPECT_EQ(during, TargetState::DriverRunning);
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(values,
            (CallRegisters{0x2345, 0x1112, 0x1113, 0x1114, 0x1115, 0x1116, 0x1117, 0xFFFF}));
  EXPECT_EQ(NewLines(), (std::vector<std::string>{
                            "*Driver successfully executed",
                            "*Return Parameters:",
                            "  R8=2345",
                            "  R9=1112",
                            "  R10=1113",
                            "  R11=1114",
                            "  R12=1115",
                            "  R13=1116",
                            "  R14=1117",
                            "  R15=FFFF",
                        }));
  const auto calls = Only(ParseCommands(TakeSent()), kCall);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].address, 0xE00600);
  EXPECT_EQ(calls[0].registers, (CallRegisters{0x1234, 1, 2, 3, 4, 5, 6, 0xEEEE}));
}

TEST_F(Flash, CallRoutineWithAWrongAcknowledgeLeavesTheTargetNotConnected) {
  ConnectAndMark();
  board->SetRoutine(0xE00600, {[](const BoardRegisters& r, Board&) { return r; }});
  board->faults().ReplaceOutput(17, 0x00);  // A_ACK2 after A_ACK1 and the 16 register bytes
  CallRegisters values = {0x1234, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_NE(CallRoutine(*link, 0xE00600, values), 0);
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: Wrong acknowledge received"});
  EXPECT_EQ(link->state(), TargetState::NotConnected);
  EXPECT_EQ(values[0], 0x1234);
}

TEST_F(Flash, CallRoutineWithoutAMonitorFails) {
  ASSERT_TRUE(link->EnsurePortOpen());
  // No zero byte on the line: the board's bootstrap loader would take it as its start.
  CallRegisters values = {0x0101, 0x0101, 0x0101, 0x0101, 0x0101, 0x0101, 0x0101, 0x0101};
  EXPECT_NE(CallRoutine(*link, 0xE10601, values), 0);
  EXPECT_EQ(Lines(), std::vector<std::string>{"*ERROR: Wrong acknowledge received"});
  EXPECT_EQ(link->state(), TargetState::NotConnected);
}

}  // namespace
}  // namespace velmora
