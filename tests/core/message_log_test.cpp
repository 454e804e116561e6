#include "core/message_log.h"

#include <gtest/gtest.h>

#include <string>

#include "temp_folder.h"

namespace velmora {
namespace {

using Lines = std::vector<std::string>;

Lines entries(const MessageList& list) {
  Lines result;
  for (int i = 0; i < list.Count(); ++i) result.push_back(list.Entry(i));
  return result;
}

TEST(MessageList, LineBreaksAndTheWrapAtSeventySix) {
  const std::string x76(76, 'x');
  const struct {
    const char* what;
    Lines appends;
    Lines expected;  // the last entry is the open line
  } cases[] = {
      {"CR LF closes the line", {"*Load: 16 bytes loaded\r\n"}, {"*Load: 16 bytes loaded", ""}},
      {"lone CR closes, stray LF is dropped", {"a\rb\nc\r\n"}, {"a", "bc", ""}},
      {"a leading break closes even an empty line",
       {"\r\n*ERROR: x\r\n", "half", "\r\nnext"},
       {"", "*ERROR: x", "half", "next"}},
      {"200 characters", {std::string(200, 'x')}, {x76, x76, std::string(48, 'x')}},
      {"the 76th character closes its line", {x76 + "\r\n"}, {x76, "", ""}},
  };
  for (const auto& c : cases) {
    MessageList list;
    for (const auto& text : c.appends) list.Append(text);
    EXPECT_EQ(entries(list), c.expected) << c.what;
  }
}

TEST(MessageList, TrimsOneEntryPerCallAndKeepsTheLastThirteenInView) {
  MessageList list;
  for (int i = 0; i < 999; ++i) list.Append("line " + std::to_string(i) + "\r\n");
  EXPECT_EQ(list.FirstVisible(), 1000 - 13);
  list.Append("one more\r\n");
  EXPECT_EQ(list.Count(), 1000);
  EXPECT_EQ(list.Entry(0), "line 1");
  list.Append("a\r\nb\r\nc\r\n");
  list.Append("d");
  EXPECT_EQ(list.Count(), 1001);
  list.Append("e");
  EXPECT_EQ(list.Count(), 1000);
  EXPECT_EQ(list.FirstVisible(), 1000 - 13);
  list.SetFirstVisible(998);  // scrolled further down: not pulled back up
  list.Append("f");
  EXPECT_EQ(list.FirstVisible(), 998);
}

class MessageLogFile : public ::testing::Test {
 protected:
  test::TempFolder folder;
  std::string path = folder.File("LOG.TXT");
  MessageLog log{path};
};

TEST_F(MessageLogFile, OnlyClosedLinesReachTheFileAndOnlyWithLoggingOn) {
  for (int32_t enable : {0, 2}) {  // only 1 turns logging on
    log.SetLogEnable(enable);
    log.Text2Buffer("quiet\r\n");
  }
  EXPECT_FALSE(std::filesystem::exists(path));
  log.SetLogEnable(1);
  ASSERT_TRUE(log.StartLogFile());
  const std::string header = test::ReadFile(path);
  EXPECT_TRUE(header.starts_with("VELMORA LOG FILE\r\nDate: ") && header.ends_with("\r\n\r\n\r\n"));
  log.Text2Buffer("first\r\nsecond\r\nopen");
  EXPECT_EQ(test::ReadFile(path), header + "first\r\nsecond\r\n");
  log.Text2Buffer(" line" + std::string(76, 'w'));
  EXPECT_EQ(test::ReadFile(path),
            header + "first\r\nsecond\r\nopen line" + std::string(67, 'w') + "\r\n");
}

TEST_F(MessageLogFile, SetLogFileStartsEmptyAndWriteLogFileAlwaysAppends) {
  ASSERT_TRUE(log.WriteLogFile("note"));
  EXPECT_EQ(test::ReadFile(path), "note\r\n");
  EXPECT_EQ(log.List().Count(), 1);  // notes are not listed
  const std::string other = folder.Write("other.log", "old contents\r\n");
  ASSERT_TRUE(log.SetLogFile(other));
  EXPECT_TRUE(log.LoggingOn());
  EXPECT_EQ(test::ReadFile(other), "");
  log.Text2Buffer("logged\r\n");
  EXPECT_EQ(test::ReadFile(other), "logged\r\n");
  // A log that cannot be written is said once on the list.
  ASSERT_FALSE(log.SetLogFile(folder.File("missing/dir/LOG.TXT")));
  log.Text2Buffer("a\r\nb\r\n");
  log.Text2Buffer("c\r\n");
  const Lines lines = entries(log.List());
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) {
                            return line.starts_with("*ERROR: Cannot write log file");
                          }),
            1);
}

}  // namespace
}  // namespace velmora

namespace velmora {
namespace {

// What the open-line observer hears for each piece of text, table by table.
TEST(MessageLog, TheOpenLineObserverHearsEveryChangeOfTheOpenLineOnly) {
  test::TempFolder folder;
  MessageLog log((folder.path() / "LOG.TXT").string());
  std::vector<std::string> heard;
  log.SetOpenLineObserver([&](const std::string& open) { heard.push_back(open); });
  const struct {
    const char* text;
    Lines heard;
  } steps[] = {
      {"H", {"H"}},  // terminal output grows the line a character at a time
      {"i", {"Hi"}},
      {"\r\n", {""}},     // closed: the open line is empty again
      {"", {}},           // nothing changed, nothing said
      {"*Done\r\n", {}},  // opened and closed in one piece: the open line stays empty
      {"ab\r\ncd", {"cd"}},
      {"\r\nxy", {"xy"}},  // same length, other text
  };
  for (const auto& step : steps) {
    heard.clear();
    log.Text2Buffer(step.text);
    EXPECT_EQ(heard, step.heard) << '"' << step.text << '"';
  }
  heard.clear();
  log.WriteLine("z");
  EXPECT_EQ(heard, Lines{""});
}

}  // namespace
}  // namespace velmora
