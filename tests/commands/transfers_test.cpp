// Download, upload and compare of the selections against the virtual board, checked on
// the wire and in the message lines, and the checksums over the image.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "commands/transfers.h"
#include "temp_folder.h"
#include "wire_reader.h"

namespace velmora {
namespace {

using namespace test;

struct Operation {
  const char* name;
  uint8_t blockCommand;  // what carries its blocks
  int32_t (*run)(Link&);
};

const Operation kOperations[] = {
    {"Download", kWriteBlock, [](Link& link) -> int32_t { return DownloadSelections(link); }},
    {"Upload", kReadBlock, [](Link& link) -> int32_t { return UploadSelections(link); }},
    {"Compare", kReadBlock, [](Link& link) { return CompareSelections(link, ""); }},
};

using Transfers = WireFixture;

// The blocks on the wire, a progress line after each with the running total, and the
// summary of a compare.
TEST_F(Transfers, BlockWalkAndProgressForEveryOperation) {
  struct Walk {
    std::vector<Selection> selected;
    std::vector<std::pair<int32_t, int32_t>> blocks;  // (address, count)
  };
  const Walk kWalks[] = {
      {{}, {}},
      {{{0x000, 0x3FF}}, {{0x000, 1024}}},
      {{{0x000, 0x400}}, {{0x000, 1025}}},
      {{{0x000, 0x401}}, {{0x000, 1024}, {0x400, 2}}},
      {{{0x000, 0x800}, {0x1000, 0x17FF}},
       {{0, 1024}, {0x400, 1025}, {0x1000, 1024}, {0x1400, 1024}}},
  };
  ConnectAndMark();
  for (const auto& op : kOperations) {
    for (const auto& walk : kWalks) {
      SCOPED_TRACE(std::string(op.name) + " of walk " + std::to_string(&walk - kWalks));
      selections.ClearSelections();
      for (const auto& s : walk.selected) ASSERT_TRUE(selections.AddSelection(s.start, s.end));
      Mark();
      frontend.busyChanges.clear();
      frontend.changes.clear();
      frontend.progress.clear();
      EXPECT_EQ(op.run(*link), 0);
      EXPECT_EQ(Blocks(TakeSent(), op.blockCommand), walk.blocks);
      Texts expected;
      int32_t total = 0;
      int64_t covered = 0;
      for (const auto& s : walk.selected) covered += s.end - s.start + 1;
      // Each block is announced as the range it touched, and the bar moves after it.
      std::vector<Change> changes;
      std::vector<RecordedProgress> progress = {{op.name, 0, covered}};
      for (const auto& [address, count] : walk.blocks) {
        expected.push_back(std::string("*") + op.name + ":  " + std::to_string(total += count) +
                           " bytes ");
        changes.push_back(Change::Memory(address, address + count - 1));
        progress.push_back({op.name, total, covered});
      }
      progress.push_back({op.name, covered, covered});
      EXPECT_EQ(frontend.ChangesOf(RefreshTarget::MemoryView), changes);
      EXPECT_EQ(frontend.progress, progress);
      if (std::string(op.name) == "Compare") {
        expected.push_back("*Comparison:  0 of  " + std::to_string(total) +
                           " bytes not corresponding");
      }
      EXPECT_EQ(NewLines(), expected);
      EXPECT_EQ(frontend.busyChanges, (std::vector<bool>{true, false}));
    }
  }
}

TEST_F(Transfers, CompareWithOneDifferenceKeepsTheHostsByteAndMarksItNotValid) {
  ConnectAndMark();
  Bytes data = Pattern(16, 0x50);
  data[5] = 0x5A;
  Select(0xE00400, data);
  data[5] = 0xA5;
  board->memory().StoreLoaded(0xE00400, data);
  TempFolder folder;
  const std::string report = folder.Write("report.txt", "old contents that must go\r\n");

  for (const std::string& file : {std::string(), report}) {
    SCOPED_TRACE(file);
    EXPECT_EQ(CompareSelections(*link, file), 1);
    EXPECT_EQ(image.GetByte(0xE00405), 0x5A);
    EXPECT_FALSE(image.IsValid(0xE00405));
    EXPECT_TRUE(image.IsValid(0xE00404));
    EXPECT_TRUE(image.IsValid(0xE00406));
  }
  EXPECT_EQ(ReadFile(report),
            "Comparison at address E00405 expected: 5A found: A5\r\n"
            "Comparison: 1 of  16 bytes not corresponding\r\n");
  EXPECT_EQ(NewLines(),
            (Texts{"*Comparison at address E00405 expected: 5A found: A5", "*Compare:  16 bytes ",
                   "*Comparison:  1 of  16 bytes not corresponding", "*Compare:  16 bytes "}));
}

// A garbled acknowledge of the second block stops the walk; only a failed upload leaves the
// target not connected. The board answers a block write with A_ACK1, A_ACK2 and the
// checksum exchange (A_ACK1, checksum, A_ACK2); a read with the data in between.
TEST_F(Transfers, AFailedBlockStopsTheWalk) {
  struct Failure {
    const Operation& op;
    size_t garbled;
    const char* error;
    TargetState after;
  };
  const Failure kFailures[] = {
      {kOperations[0], 5 + 1, "*ERROR: download not successful", TargetState::Ready},
      {kOperations[2], 1024 + 5, "*ERROR: no data received while comparing", TargetState::Ready},
      {kOperations[1], 1024 + 5, "*ERROR: no data received", TargetState::NotConnected},
  };
  ConnectAndMark();
  ASSERT_TRUE(selections.AddSelection(0x000, 0xBFF));  // three blocks of 1024
  for (const auto& f : kFailures) {
    SCOPED_TRACE(f.op.name);
    Mark();
    frontend.changes.clear();
    frontend.progress.clear();
    board->faults().ReplaceOutput(f.garbled, 0x00);
    EXPECT_EQ(f.op.run(*link), -1);
    // Only the block that made it is announced; the bar stops where the walk stopped.
    EXPECT_EQ(frontend.ChangesOf(RefreshTarget::MemoryView),
              std::vector<Change>{Change::Memory(0x000, 0x3FF)});
    EXPECT_EQ(frontend.progress.back(), (RecordedProgress{f.op.name, 1024, 3072}));
    EXPECT_EQ(NewLines(), (Texts{std::string("*") + f.op.name + ":  1024 bytes ", f.error}));
    EXPECT_EQ(Blocks(TakeSent(), f.op.blockCommand),
              (std::vector<std::pair<int32_t, int32_t>>{{0x000, 1024}, {0x400, 1024}}));
    EXPECT_EQ(link->state(), f.after);
  }
}

// The board goes away in the middle of an upload: the exchange ends at once with the
// cause, not after the time-outs of every answer still missing.
TEST_F(Transfers, ABoardThatHangsUpEndsTheUploadAtOnce) {
  ConnectAndMark();
  settings.communication.timeout = 6000;  // the rest of one block read would wait 30 s
  ASSERT_TRUE(selections.AddSelection(0x000, 0xBFF));
  // A block read is answered with 1029 bytes; the line dies in the second block's data.
  port->HangUpAfter(1029 + 500);
  const size_t boxes = frontend.boxes.size();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(UploadSelections(*link), -1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(NewLines(),
            (Texts{"*Upload:  1024 bytes ", "*ERROR: Port virtual: hung up, the device went away",
                   "*ERROR: no data received"}));
  ASSERT_EQ(frontend.boxes.size(), boxes + 1);
  EXPECT_EQ(frontend.boxes.back().text, kPortInUseMessage);
  EXPECT_EQ(link->state(), TargetState::NotConnected);
}

TEST(Checksums, DocumentedExamples) {
  enum Sum { Xor8, Xor16, Addc8, Addc16 };
  struct Case {
    std::vector<int> bytes;  // from 1000 on; -1: no value
    std::vector<Selection> selected;
    Sum sum;
    bool endCarry;
    const char* result;
  };
  const Case kCases[] = {
      {{0x01, 0x02, 0x03}, {{0x1000, 0x1002}}, Xor8, false, "00"},
      {{0x34, 0x12}, {{0x1000, 0x1001}}, Xor16, false, "1234"},
      {{0x01, 0x00}, {{0x1000, 0x1001}}, Xor16, false, "0001"},
      {{0x34, 0x12, 0x78, 0x56}, {{0x1001, 0x1003}}, Xor16, false, "444C"},  // from the even word
      {{0x01, -1, 0x03}, {{0x1000, 0x1002}}, Xor8, false, "02"},
      {{0xFF, 0xFF}, {{0x1000, 0x1001}}, Addc8, false, "FE"},
      {{0xFF, 0xFF}, {{0x1000, 0x1001}}, Addc8, true, "FF"},
      {{0xFF, 0xFF, -1, 0x01}, {{0x1000, 0x1001}, {0x1003, 0x1003}}, Addc8, false, "00"},
      {{0x34, 0x12, 0xFF, 0xFF}, {{0x1000, 0x1003}}, Addc16, true, "1234"},
      {{0x34, 0x12, 0x78, 0x56}, {{0x1001, 0x1003}}, Addc16, false, "68AC"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(::testing::PrintToString(c.bytes));
    MemoryImage image;
    image.InitImage();
    SelectionList list;
    MessageLog log;
    for (size_t k = 0; k < c.bytes.size(); ++k) {
      if (c.bytes[k] >= 0) image.StoreLoaded(0x1000 + k, Bytes{static_cast<uint8_t>(c.bytes[k])});
    }
    for (const auto& s : c.selected) ASSERT_TRUE(list.AddSelection(s.start, s.end));
    const int width = c.sum == Xor16 || c.sum == Addc16 ? 2 : 1;
    EXPECT_EQ(c.sum == Xor8 || c.sum == Xor16 ? XorChecksum(image, list, log, width)
                                              : AddcChecksum(image, list, log, width, c.endCarry),
              0);
    ASSERT_EQ(log.List().Count(), 2);  // the line and the empty open line
    EXPECT_EQ(log.List().Entry(0), std::string("*Checksum: ") + c.result + "  ");
  }
}

}  // namespace
}  // namespace velmora
