#include "core/message_log.h"

#include <gtest/gtest.h>

#include <string>

#include "temp_folder.h"

namespace velmora {
namespace {

std::vector<std::string> entries(const MessageList& list) {
  std::vector<std::string> result;
  for (int i = 0; i < list.Count(); ++i) result.push_back(list.Entry(i));
  return result;
}

using Lines = std::vector<std::string>;

TEST(MessageList, ALineBreakClosesTheOpenLine) {
  MessageList list;
  list.Append("*Load: 16 bytes loaded\r\n");
  EXPECT_EQ(entries(list), (Lines{"*Load: 16 bytes loaded", ""}));
  list.Append("*Download: ");
  list.Append("1024 bytes");
  EXPECT_EQ(list.OpenLine(), "*Download: 1024 bytes");
}

TEST(MessageList, LoneCrClosesAndStrayLfIsDropped) {
  MessageList list;
  list.Append("a\rb\nc\r\n");
  EXPECT_EQ(entries(list), (Lines{"a", "bc", ""}));
}

TEST(MessageList, LeadingLineBreakClosesEvenAnEmptyOpenLine) {
  MessageList list;
  list.Append("\r\n*ERROR: x\r\n");
  EXPECT_EQ(entries(list), (Lines{"", "*ERROR: x", ""}));
  list.Append("half");
  list.Append("\r\nnext\r\n");
  EXPECT_EQ(entries(list), (Lines{"", "*ERROR: x", "half", "next", ""}));
}

TEST(MessageList, LongTextWrapsAtSeventySixCharacters) {
  MessageList list;
  const auto closed = list.Append(std::string(200, 'x'));
  ASSERT_EQ(list.Count(), 3);
  EXPECT_EQ(list.Entry(0).size(), 76U);
  EXPECT_EQ(list.Entry(1).size(), 76U);
  EXPECT_EQ(list.Entry(2).size(), 48U);
  EXPECT_EQ(closed.size(), 2U);
  // A line of exactly 76 characters is closed by its 76th character: the break that
  // follows closes the new, empty line.
  MessageList exact;
  exact.Append(std::string(76, 'y') + "\r\n");
  EXPECT_EQ(entries(exact), (Lines{std::string(76, 'y'), "", ""}));
}

TEST(MessageList, TrimsOneEntryPerCallTowardsAThousand) {
  MessageList list;
  for (int i = 0; i < 999; ++i) list.Append("line " + std::to_string(i) + "\r\n");
  ASSERT_EQ(list.Count(), 1000);
  list.Append("one more\r\n");
  EXPECT_EQ(list.Count(), 1000);
  EXPECT_EQ(list.Entry(0), "line 1");
  EXPECT_EQ(list.Entry(998), "one more");
  // Several lines in one call leave the list above the limit; each later call removes one.
  list.Append("a\r\nb\r\nc\r\n");
  EXPECT_EQ(list.Count(), 1002);
  list.Append("d");
  EXPECT_EQ(list.Count(), 1001);
  list.Append("e");
  EXPECT_EQ(list.Count(), 1000);
  list.Append("f");
  EXPECT_EQ(list.Count(), 1000);
}

TEST(MessageList, KeepsTheLastThirteenLinesInView) {
  MessageList list;
  for (int i = 0; i < 5; ++i) list.Append("x\r\n");
  EXPECT_EQ(list.FirstVisible(), 0);
  for (int i = 0; i < 20; ++i) list.Append("x\r\n");
  EXPECT_EQ(list.FirstVisible(), list.Count() - 13);
  // A user who scrolled further down is not pulled back up.
  list.SetFirstVisible(list.Count() - 2);
  list.Append("y");
  EXPECT_EQ(list.FirstVisible(), list.Count() - 2);
  // Once trimming starts, the view follows the shifted entries.
  for (int i = 0; i < 1100; ++i) list.Append("z\r\n");
  EXPECT_LE(list.FirstVisible(), list.Count() - 1);
  EXPECT_GE(list.FirstVisible(), list.Count() - 13);
}

class MessageLogFile : public ::testing::Test {
 protected:
  test::TempFolder folder;
  std::string path = folder.File("LOG.TXT");
};

TEST_F(MessageLogFile, OnlyClosedLinesReachTheFile) {
  MessageLog log(path);
  log.SetLogEnable(1);
  ASSERT_TRUE(log.StartLogFile());
  const std::string header = test::ReadFile(path);
  log.Text2Buffer("first\r\nsecond\r\nopen");
  EXPECT_EQ(test::ReadFile(path), header + "first\r\nsecond\r\n");
  log.Text2Buffer(" line\r\n");
  EXPECT_EQ(test::ReadFile(path), header + "first\r\nsecond\r\nopen line\r\n");
}

TEST_F(MessageLogFile, HeaderHasTitleDateTimeAndTwoEmptyLines) {
  MessageLog log(path);
  log.SetLogEnable(1);
  ASSERT_TRUE(log.StartLogFile());
  const std::string text = test::ReadFile(path);
  EXPECT_EQ(text.rfind("VELMORA LOG FILE\r\nDate: ", 0), 0U);
  EXPECT_NE(text.find("\r\nTime: "), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 6), "\r\n\r\n\r\n");
}

TEST_F(MessageLogFile, WrappedLinesAreLoggedAsTheyAreClosed) {
  MessageLog log(path);
  ASSERT_TRUE(log.SetLogFile(path));
  log.Text2Buffer(std::string(200, 'w'));
  EXPECT_EQ(test::ReadFile(path), std::string(76, 'w') + "\r\n" + std::string(76, 'w') + "\r\n");
}

TEST_F(MessageLogFile, NothingIsWrittenWhileLoggingIsOff) {
  MessageLog log(path);
  log.SetLogEnable(0);
  log.Text2Buffer("quiet\r\n");
  EXPECT_FALSE(std::filesystem::exists(path));
  // Any value other than 1 keeps logging off.
  log.SetLogEnable(2);
  log.Text2Buffer("still quiet\r\n");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(MessageLogFile, SetLogFileStartsAnEmptyFileAndTurnsLoggingOn) {
  const std::string other = folder.Write("other.log", "old contents\r\n");
  MessageLog log(path);
  ASSERT_TRUE(log.SetLogFile(other));
  EXPECT_TRUE(log.LoggingOn());
  EXPECT_EQ(log.LogPath(), other);
  EXPECT_EQ(test::ReadFile(other), "");
  log.Text2Buffer("*Load: 0 bytes loaded\r\n");
  EXPECT_EQ(test::ReadFile(other), "*Load: 0 bytes loaded\r\n");
}

TEST_F(MessageLogFile, WriteLogFileAppendsWhetherOrNotLoggingIsOn) {
  MessageLog log(path);
  ASSERT_TRUE(log.WriteLogFile("note one"));
  ASSERT_TRUE(log.WriteLogFile("note two"));
  EXPECT_EQ(test::ReadFile(path), "note one\r\nnote two\r\n");
  EXPECT_EQ(log.List().Count(), 1);  // nothing on the list
}

TEST_F(MessageLogFile, AnUnwritableLogIsSaidOnceOnTheList) {
  MessageLog log(path);
  ASSERT_FALSE(log.SetLogFile(folder.File("missing/dir/LOG.TXT")));
  log.Text2Buffer("a\r\n");
  log.Text2Buffer("b\r\n");
  int errors = 0;
  for (int i = 0; i < log.List().Count(); ++i) {
    if (log.List().Entry(i).rfind("*ERROR: Cannot write log file", 0) == 0) ++errors;
  }
  EXPECT_EQ(errors, 1);
}

}  // namespace
}  // namespace velmora
