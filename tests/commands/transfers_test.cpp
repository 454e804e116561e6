// Download, upload and compare of the selections against the virtual board, checked on
// the wire and in the message lines, and the checksums over the image.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "commands/block_walk.h"
#include "commands/transfers.h"
#include "core/frontend.h"
#include "link_fixture.h"
#include "temp_folder.h"

namespace velmora {
namespace {

using test::LinkFixture;
using Bytes = std::vector<uint8_t>;

// One monitor command as the host put it on the line.
struct WireCommand {
  uint8_t code = 0;
  int32_t address = -1;
  int32_t count = 0;  // the count of a block command
  Bytes data;         // the data of a block write
};

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
    if (command.code == 0x84 || command.code == 0x85) {
      command.address = take(3);
      command.count = take(2);
      if (command.code == 0x84) {
        const size_t n = std::min(static_cast<size_t>(command.count), sent.size() - i);
        command.data.assign(sent.begin() + static_cast<long>(i),
                            sent.begin() + static_cast<long>(i + n));
        i += n;
      }
    } else if (command.code == 0x82) {
      command.address = take(3);
      command.count = take(2);
    } else if (command.code == 0x9F) {
      command.address = take(3);
      i = std::min(i + 16, sent.size());
    } else if (command.code == 0x41) {
      command.address = take(3);
    }
    commands.push_back(std::move(command));
  }
  return commands;
}

// (address, count) of every block command of one kind.
std::vector<std::pair<int32_t, int32_t>> Blocks(const Bytes& sent, uint8_t code) {
  std::vector<std::pair<int32_t, int32_t>> blocks;
  for (const auto& command : ParseCommands(sent)) {
    if (command.code == code) blocks.emplace_back(command.address, command.count);
  }
  return blocks;
}

Bytes Pattern(size_t n, uint8_t seed) {
  Bytes bytes(n);
  for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8_t>(seed + i * 7 + (i >> 8));
  return bytes;
}

enum class Operation { Download, Upload, Compare };

struct OperationInfo {
  Operation operation;
  const char* name;
  uint8_t blockCommand;  // what carries its blocks
  const char* progress;  // its progress lines begin so
};

const OperationInfo kOperations[] = {
    {Operation::Download, "download", 0x84, "*Download: "},
    {Operation::Upload, "upload", 0x85, "*Upload: "},
    {Operation::Compare, "compare", 0x85, "*Compare: "},
};

class Transfers : public LinkFixture {
 protected:
  int32_t Run(Operation operation, const std::string& report = {}) {
    switch (operation) {
      case Operation::Download:
        return DownloadSelections(*link);
      case Operation::Upload:
        return UploadSelections(*link);
      case Operation::Compare:
        return CompareSelections(*link, report);
    }
    return 0;
  }

  void ConnectAndMark() {
    Connect();
    Mark();
  }
  void Mark() { seen_ = Lines().size(); }
  // The lines written since the last mark.
  std::vector<std::string> NewLines() const {
    const auto all = Lines();
    return {all.begin() + static_cast<long>(std::min(seen_, all.size())), all.end()};
  }

  // Puts bytes into the host image and selects them.
  void Select(int32_t start, const Bytes& bytes) {
    image.StoreLoaded(start, bytes);
    ASSERT_TRUE(selections.AddSelection(start, start + static_cast<int32_t>(bytes.size()) - 1));
  }

 private:
  size_t seen_ = 0;
};

// ---------------------------------------------------------------------------------------
// The block walk

struct WalkCase {
  const char* name;
  std::vector<Selection> selected;
  std::vector<std::pair<int32_t, int32_t>> blocks;  // (address, count) on the wire
};

const WalkCase kWalkCases[] = {
    {"exactly 1024 bytes go as one block", {{0x000, 0x3FF}}, {{0x000, 1024}}},
    {"1025 bytes go as one block", {{0x000, 0x400}}, {{0x000, 1025}}},
    {"1026 bytes go as 1024 and 2", {{0x000, 0x401}}, {{0x000, 1024}, {0x400, 2}}},
    {"a single byte", {{0x010, 0x010}}, {{0x010, 1}}},
    {"2049 bytes go as 1024 and 1025", {{0x000, 0x800}}, {{0x000, 1024}, {0x400, 1025}}},
    {"3072 bytes go as three blocks of 1024",
     {{0x000, 0xBFF}},
     {{0x000, 1024}, {0x400, 1024}, {0x800, 1024}}},
    {"the next range starts again with 1024",
     {{0x000, 0x401}, {0x1000, 0x17FF}},
     {{0x000, 1024}, {0x400, 2}, {0x1000, 1024}, {0x1400, 1024}}},
};

TEST_F(Transfers, BlockWalkOnTheWireForEveryOperation) {
  ConnectAndMark();
  for (const auto& op : kOperations) {
    for (const auto& row : kWalkCases) {
      SCOPED_TRACE(std::string(op.name) + ": " + row.name);
      selections.ClearSelections();
      for (const auto& s : row.selected) ASSERT_TRUE(selections.AddSelection(s.start, s.end));
      TakeSent();
      EXPECT_EQ(Run(op.operation), 0);
      EXPECT_EQ(Blocks(TakeSent(), op.blockCommand), row.blocks);
    }
  }
}

TEST(BlockWalk, CallsBackWithTheRunningTotal) {
  SelectionList list;
  ASSERT_TRUE(list.AddSelection(0x100, 0x501));
  ASSERT_TRUE(list.AddSelection(0x2000, 0x2000));
  std::vector<std::tuple<int32_t, int32_t, int64_t>> calls;
  EXPECT_TRUE(WalkBlocks(list, [&](int32_t address, int32_t length, int64_t total) {
    calls.emplace_back(address, length, total);
    return true;
  }));
  EXPECT_EQ(calls, (std::vector<std::tuple<int32_t, int32_t, int64_t>>{
                       {0x100, 1024, 1024}, {0x500, 2, 1026}, {0x2000, 1, 1027}}));
}

TEST(BlockWalk, StopsWhenATransferFails) {
  SelectionList list;
  ASSERT_TRUE(list.AddSelection(0x000, 0xBFF));
  ASSERT_TRUE(list.AddSelection(0x4000, 0x4001));
  int calls = 0;
  EXPECT_FALSE(WalkBlocks(list, [&](int32_t, int32_t, int64_t) { return ++calls < 2; }));
  EXPECT_EQ(calls, 2);
}

TEST(BlockWalk, CountsWithALeadingBlankForTheSign) {
  EXPECT_EQ(SignedDecimal(0), " 0");
  EXPECT_EQ(SignedDecimal(2048), " 2048");
  EXPECT_EQ(SignedDecimal(-1), "-1");
}

// ---------------------------------------------------------------------------------------
// Progress, nothing to do, not connected

TEST_F(Transfers, ProgressLineAfterEveryBlockWithTheRunningTotal) {
  ConnectAndMark();
  Select(0x000, Pattern(0x802, 1));  // blocks of 1024, 1024 and 2
  for (const auto& op : kOperations) {
    SCOPED_TRACE(op.name);
    Mark();
    EXPECT_EQ(Run(op.operation), 0);
    std::vector<std::string> expected = {std::string(op.progress) + " 1024 bytes ",
                                         std::string(op.progress) + " 2048 bytes ",
                                         std::string(op.progress) + " 2050 bytes "};
    if (op.operation == Operation::Compare) {
      expected.push_back("*Comparison:  0 of  2050 bytes not corresponding");
    }
    EXPECT_EQ(NewLines(), expected);
  }
}

TEST_F(Transfers, DownloadPutsTheImageIntoTheTargetAndMarksItValid) {
  ConnectAndMark();
  const Bytes data = Pattern(0x500, 9);
  Select(0xE00400, data);
  EXPECT_FALSE(image.IsValid(0xE00400));
  ASSERT_EQ(DownloadSelections(*link), 0);
  Bytes onBoard(data.size());
  board->memory().ReadBytes(0xE00400, onBoard);
  EXPECT_EQ(onBoard, data);
  EXPECT_TRUE(image.IsValid(0xE00400));
  EXPECT_TRUE(image.IsValid(0xE008FF));
}

TEST_F(Transfers, UploadBringsTheTargetsBytesIntoTheImage) {
  ConnectAndMark();
  const Bytes data = Pattern(0x20, 3);
  board->memory().StoreLoaded(0x00C100, data);
  ASSERT_TRUE(selections.AddSelection(0x00C100, 0x00C11F));
  ASSERT_EQ(UploadSelections(*link), 0);
  Bytes inImage(data.size());
  image.ReadBytes(0x00C100, inImage);
  EXPECT_EQ(inImage, data);
  EXPECT_TRUE(image.IsDefined(0x00C11F));
  EXPECT_TRUE(image.IsValid(0x00C11F));
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Upload:  32 bytes "});
}

TEST_F(Transfers, WithoutSelectionsNothingIsSentAndNoProgressIsShown) {
  ConnectAndMark();
  for (const auto& op : kOperations) {
    SCOPED_TRACE(op.name);
    Mark();
    EXPECT_EQ(Run(op.operation), 0);
    EXPECT_TRUE(TakeSent().empty());
    const std::vector<std::string> expected =
        op.operation == Operation::Compare
            ? std::vector<std::string>{"*Comparison:  0 of  0 bytes not corresponding"}
            : std::vector<std::string>{};
    EXPECT_EQ(NewLines(), expected);
  }
}

TEST_F(Transfers, NotConnectedSendsNothingAndSaysSo) {
  Select(0xE00400, Pattern(16, 5));
  for (const auto& op : kOperations) {
    SCOPED_TRACE(op.name);
    Mark();
    frontend.refreshes.clear();
    EXPECT_EQ(Run(op.operation), -100);
    EXPECT_EQ(NewLines(), std::vector<std::string>{"*ERROR: Not Connected to Target"});
    EXPECT_TRUE(TakeSent().empty());
    EXPECT_NE(
        std::find(frontend.refreshes.begin(), frontend.refreshes.end(), RefreshTarget::StatusText),
        frontend.refreshes.end());
    EXPECT_EQ(link->state(), TargetState::NotConnected);
  }
}

TEST_F(Transfers, BusyPointerWhileRunningAndMemoryViewRedrawnAfter) {
  ConnectAndMark();
  Select(0xE00400, Pattern(16, 5));
  for (const auto& op : kOperations) {
    SCOPED_TRACE(op.name);
    frontend.busyChanges.clear();
    frontend.refreshes.clear();
    Run(op.operation);
    EXPECT_EQ(frontend.busyChanges, (std::vector<bool>{true, false}));
    EXPECT_NE(
        std::find(frontend.refreshes.begin(), frontend.refreshes.end(), RefreshTarget::MemoryView),
        frontend.refreshes.end());
  }
}

// ---------------------------------------------------------------------------------------
// Compare

TEST_F(Transfers, CompareWithOneDifferenceKeepsTheHostsByteAndMarksItNotValid) {
  ConnectAndMark();
  Bytes data = Pattern(16, 0x50);
  data[5] = 0x5A;
  Select(0xE00400, data);
  Bytes target = data;
  target[5] = 0xA5;
  board->memory().StoreLoaded(0xE00400, target);

  EXPECT_EQ(CompareSelections(*link, ""), 1);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{
                            "*Comparison at address E00405 expected: 5A found: A5",
                            "*Compare:  16 bytes ",
                            "*Comparison:  1 of  16 bytes not corresponding",
                        }));
  EXPECT_EQ(image.GetByte(0xE00405), 0x5A);
  EXPECT_FALSE(image.IsValid(0xE00405));
  EXPECT_TRUE(image.IsDefined(0xE00405));
  for (int32_t at : {0xE00400, 0xE00404, 0xE00406, 0xE0040F}) {
    EXPECT_TRUE(image.IsValid(at)) << std::hex << at;
  }
}

TEST_F(Transfers, CompareCountsEveryDifferenceOverBlocksAndRanges) {
  ConnectAndMark();
  const Bytes first = Pattern(0x500, 1);  // two blocks
  const Bytes second = Pattern(0x10, 2);
  Select(0x00C000, first);
  Select(0xE00400, second);
  board->memory().StoreLoaded(0x00C000, first);
  board->memory().StoreLoaded(0xE00400, second);
  board->memory().SetByte(0x00C001, static_cast<uint8_t>(first[1] ^ 0x01));
  board->memory().SetByte(0x00C4FF, static_cast<uint8_t>(first[0x4FF] ^ 0x80));
  board->memory().SetByte(0xE0040F, static_cast<uint8_t>(second[0xF] ^ 0xFF));

  EXPECT_EQ(CompareSelections(*link, ""), 3);
  const auto lines = NewLines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "*Comparison:  3 of  1296 bytes not corresponding");
  for (int32_t at : {0x00C001, 0x00C4FF, 0xE0040F})
    EXPECT_FALSE(image.IsValid(at)) << std::hex << at;
  EXPECT_EQ(image.GetByte(0x00C4FF), first[0x4FF]);
  EXPECT_EQ(image.GetByte(0xE0040F), second[0xF]);
}

TEST_F(Transfers, CompareWithAReportFileWritesTheDifferencesThere) {
  ConnectAndMark();
  Bytes data = Pattern(16, 0x50);
  data[5] = 0x5A;
  Select(0xE00400, data);
  Bytes target = data;
  target[5] = 0xA5;
  board->memory().StoreLoaded(0xE00400, target);
  test::TempFolder folder;
  const std::string report = folder.File("report.txt");

  EXPECT_EQ(CompareSelections(*link, report), 1);
  EXPECT_EQ(test::ReadFile(report),
            "Comparison at address E00405 expected: 5A found: A5\r\n"
            "Comparison: 1 of  16 bytes not corresponding\r\n");
  EXPECT_EQ(NewLines(), std::vector<std::string>{"*Compare:  16 bytes "});
  EXPECT_EQ(image.GetByte(0xE00405), 0x5A);
  EXPECT_FALSE(image.IsValid(0xE00405));
}

TEST_F(Transfers, CompareOverwritesAnExistingReport) {
  ConnectAndMark();
  const Bytes data = Pattern(8, 1);
  Select(0xE00400, data);
  board->memory().StoreLoaded(0xE00400, data);
  test::TempFolder folder;
  const std::string report = folder.Write("report.txt", "old contents that must go\r\n");
  EXPECT_EQ(CompareSelections(*link, report), 0);
  EXPECT_EQ(test::ReadFile(report), "Comparison: 0 of  8 bytes not corresponding\r\n");
}

// ---------------------------------------------------------------------------------------
// Failures on the line

// What the board answers to one block write: A_ACK1, A_ACK2, then A_ACK1, checksum,
// A_ACK2 for the checksum request.
constexpr size_t kWriteAnswer = 5;
// And to a block read of n bytes: A_ACK1, the data, A_ACK2, A_ACK1, checksum, A_ACK2.
constexpr size_t ReadAnswer(size_t n) {
  return n + 5;
}

TEST_F(Transfers, FailedDownloadStopsAndSendsNoMoreBlocks) {
  ConnectAndMark();
  Select(0x000, Pattern(0xC00, 4));                       // three blocks of 1024
  board->faults().ReplaceOutput(kWriteAnswer + 1, 0x00);  // A_ACK2 after the second block
  EXPECT_EQ(DownloadSelections(*link), -1);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*Download:  1024 bytes ",
                                                  "*ERROR: download not successful"}));
  EXPECT_EQ(Blocks(TakeSent(), 0x84),
            (std::vector<std::pair<int32_t, int32_t>>{{0x000, 1024}, {0x400, 1024}}));
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_TRUE(image.IsValid(0x3FF));
  EXPECT_FALSE(image.IsValid(0x400));
}

TEST_F(Transfers, FailedUploadLeavesTheTargetNotConnected) {
  ConnectAndMark();
  ASSERT_TRUE(selections.AddSelection(0x000, 0xBFF));
  board->faults().ReplaceOutput(ReadAnswer(1024), 0x00);  // A_ACK1 of the second read
  EXPECT_EQ(UploadSelections(*link), -1);
  EXPECT_EQ(NewLines(),
            (std::vector<std::string>{"*Upload:  1024 bytes ", "*ERROR: no data received"}));
  EXPECT_EQ(Blocks(TakeSent(), 0x85),
            (std::vector<std::pair<int32_t, int32_t>>{{0x000, 1024}, {0x400, 1024}}));
  EXPECT_EQ(link->state(), TargetState::NotConnected);
}

TEST_F(Transfers, FailedCompareReadKeepsTheConnection) {
  ConnectAndMark();
  ASSERT_TRUE(selections.AddSelection(0x000, 0xBFF));
  board->faults().ReplaceOutput(ReadAnswer(1024), 0x00);
  EXPECT_EQ(CompareSelections(*link, ""), -1);
  EXPECT_EQ(NewLines(), (std::vector<std::string>{"*Compare:  1024 bytes ",
                                                  "*ERROR: no data received while comparing"}));
  EXPECT_EQ(Blocks(TakeSent(), 0x85).size(), 2U);
  EXPECT_EQ(link->state(), TargetState::Ready);
}

// ---------------------------------------------------------------------------------------
// Checksums

enum class Sum { Xor, Addc };

struct ChecksumCase {
  const char* name;
  std::vector<std::pair<int32_t, Bytes>> stored;  // bytes put into the image
  std::vector<Selection> selected;
  Sum sum;
  int width;
  bool endCarry;
  const char* line;
};

const ChecksumCase kChecksumCases[] = {
    {"xor 8 over 01 02 03",
     {{0x1000, {0x01, 0x02, 0x03}}},
     {{0x1000, 0x1002}},
     Sum::Xor,
     1,
     false,
     "*Checksum: 00  "},
    {"xor 16 over one word",
     {{0x1000, {0x34, 0x12}}},
     {{0x1000, 0x1001}},
     Sum::Xor,
     2,
     false,
     "*Checksum: 1234  "},
    {"xor 16 pads to four digits",
     {{0x1000, {0x01, 0x00}}},
     {{0x1000, 0x1001}},
     Sum::Xor,
     2,
     false,
     "*Checksum: 0001  "},
    {"xor 16 from an odd start uses the even word below",
     {{0x1000, {0x34, 0x12, 0x78, 0x56}}},
     {{0x1001, 0x1003}},
     Sum::Xor,
     2,
     false,
     "*Checksum: 444C  "},
    {"xor 8 over several ranges",
     {{0x1000, {0x0F, 0xF0}}, {0x2000, {0x11}}},
     {{0x1000, 0x1001}, {0x2000, 0x2000}},
     Sum::Xor,
     1,
     false,
     "*Checksum: EE  "},
    {"a byte without a value counts as 0",
     {{0x1000, {0x01}}, {0x1002, {0x03}}},
     {{0x1000, 0x1002}},
     Sum::Xor,
     1,
     false,
     "*Checksum: 02  "},
    {"addc 8 over FF FF",
     {{0x1000, {0xFF, 0xFF}}},
     {{0x1000, 0x1001}},
     Sum::Addc,
     1,
     false,
     "*Checksum: FE  "},
    {"addc 8 over FF FF with the end carry",
     {{0x1000, {0xFF, 0xFF}}},
     {{0x1000, 0x1001}},
     Sum::Addc,
     1,
     true,
     "*Checksum: FF  "},
    {"addc 8: the carry runs on into the next range",
     {{0x1000, {0xFF, 0xFF}}, {0x2000, {0x01}}},
     {{0x1000, 0x1001}, {0x2000, 0x2000}},
     Sum::Addc,
     1,
     false,
     "*Checksum: 00  "},
    {"addc 8: the carry of the last range with the end carry",
     {{0x1000, {0xFF, 0xFF}}, {0x2000, {0x01}}},
     {{0x1000, 0x1001}, {0x2000, 0x2000}},
     Sum::Addc,
     1,
     true,
     "*Checksum: 01  "},
    {"addc 16 over 1234 FFFF",
     {{0x1000, {0x34, 0x12, 0xFF, 0xFF}}},
     {{0x1000, 0x1003}},
     Sum::Addc,
     2,
     false,
     "*Checksum: 1233  "},
    {"addc 16 over 1234 FFFF with the end carry",
     {{0x1000, {0x34, 0x12, 0xFF, 0xFF}}},
     {{0x1000, 0x1003}},
     Sum::Addc,
     2,
     true,
     "*Checksum: 1234  "},
    {"addc 16 from an odd start uses the even word below",
     {{0x1000, {0x34, 0x12, 0x78, 0x56}}},
     {{0x1001, 0x1003}},
     Sum::Addc,
     2,
     false,
     "*Checksum: 68AC  "},
};

TEST(Checksums, DocumentedExamples) {
  for (const auto& row : kChecksumCases) {
    SCOPED_TRACE(row.name);
    MemoryImage image;
    image.InitImage();
    SelectionList list;
    MessageLog log;
    for (const auto& [at, bytes] : row.stored) image.StoreLoaded(at, bytes);
    for (const auto& s : row.selected) ASSERT_TRUE(list.AddSelection(s.start, s.end));
    const int16_t result = row.sum == Sum::Xor
                               ? XorChecksum(image, list, log, row.width)
                               : AddcChecksum(image, list, log, row.width, row.endCarry);
    EXPECT_EQ(result, 0);
    ASSERT_EQ(log.List().Count(), 2);  // the line and the empty open line
    EXPECT_EQ(log.List().Entry(0), row.line);
  }
}

TEST(Checksums, WithoutSelectionsTheSumIsZero) {
  MemoryImage image;
  image.InitImage();
  SelectionList list;
  MessageLog log;
  XorChecksum(image, list, log, 2);
  AddcChecksum(image, list, log, 1, true);
  ASSERT_EQ(log.List().Count(), 3);
  EXPECT_EQ(log.List().Entry(0), "*Checksum: 0000  ");
  EXPECT_EQ(log.List().Entry(1), "*Checksum: 00  ");
}

}  // namespace
}  // namespace velmora
