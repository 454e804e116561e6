#include "formats/file_kinds.h"

#include <gtest/gtest.h>

#include <string>

namespace velmora {
namespace {

struct KindCase {
  LoadKind kind;
  const char* caption;
  const char* firstType;
  const char* firstPattern;
  const char* fixedFolder;
};

const KindCase kKinds[] = {
    {LoadKind::IntelHex, "Load File", "Intel hex files (*.hex;*.h86)", "*.hex;*.h86", ""},
    {LoadKind::Script, "Load script", "Script files (*.scm)", "*.scm", ""},
    {LoadKind::Preferences, "Load preferences", "Preference files (*.ini)", "*.ini", "PREFS"},
    {LoadKind::Driver, "Search Driver", "Intel hex files (*.hex;*.h86)", "*.hex;*.h86", "DRIVER"},
    {LoadKind::UserScript, "Load script", "Script files (*.scm)", "*.scm", "SCRIPTS"},
};

TEST(LoadKinds, CaptionsFileTypesPatternsAndFolders) {
  for (const auto& c : kKinds) {
    SCOPED_TRACE(static_cast<int>(c.kind));
    const LoadKindInfo& info = LoadKindOf(c.kind);
    EXPECT_EQ(info.caption, c.caption);
    EXPECT_EQ(info.fileTypes[0].text, c.firstType);
    EXPECT_EQ(info.fileTypes[0].pattern, c.firstPattern);
    EXPECT_EQ(info.fileTypes[1].text, "All Files (*.*)");
    EXPECT_EQ(info.fileTypes[1].pattern, "*.*");
    EXPECT_EQ(info.fixedFolder, c.fixedFolder);
  }
}

TEST(LoadKinds, RememberedStateOfEachKind) {
  FileStates files;
  EXPECT_EQ(RememberedFor(LoadKind::IntelHex, files), &files.load);
  EXPECT_EQ(RememberedFor(LoadKind::Script, files), &files.script);
  EXPECT_EQ(RememberedFor(LoadKind::Preferences, files), &files.configLoad);
  EXPECT_EQ(RememberedFor(LoadKind::Driver, files), nullptr);
  EXPECT_EQ(RememberedFor(LoadKind::UserScript, files), nullptr);
}

struct PatternCase {
  const char* name;
  const char* patterns;
  bool matches;
};

const PatternCase kPatterns[] = {
    {"app.hex", "*.hex;*.h86", true},
    {"boot.h86", "*.hex;*.h86", true},
    {"APP.HEX", "*.hex;*.h86", true},
    {"Boot.H86", "*.hex;*.h86", true},
    {"app.hex.bak", "*.hex;*.h86", false},
    {"app.s86", "*.hex;*.h86", false},
    {"hex", "*.hex;*.h86", false},
    {"apphex", "*.hex;*.h86", false},
    {"lab.ini", "*.ini", true},
    {"LAB.INI", "*.ini", true},
    {"lab.ini~", "*.ini", false},
    {"run.scm", "*.scm", true},
    {"run.scm", "*.ini", false},
    // "All Files (*.*)" shows every file, with or without a suffix.
    {"README", "*.*", true},
    {"Makefile", "*.*", true},
    {"lab.ini", "*.*", true},
    {".hidden", "*.*", true},
    {"a.b.c", "*.*", true},
};

TEST(FilePatterns, NamesAgainstPatternLists) {
  for (const auto& c : kPatterns) {
    SCOPED_TRACE(std::string(c.name) + " against " + c.patterns);
    EXPECT_EQ(MatchesPattern(c.name, c.patterns), c.matches);
  }
}

TEST(SaveFileName, DefaultSuffixOnlyWhenTheNameHasNone) {
  EXPECT_EQ(SaveFileName("lab", ".ini"), "lab.ini");
  EXPECT_EQ(SaveFileName("lab.cfg", ".ini"), "lab.cfg");
  EXPECT_EQ(SaveFileName("lab.", ".ini"), "lab.");
  EXPECT_EQ(SaveFileName("image", ".hex"), "image.hex");
  EXPECT_EQ(SaveFileName("", ".ini"), std::nullopt);
  EXPECT_EQ(kNoFileNameMessage, "Please insert a filename !");
  EXPECT_EQ(kNoFileChosenMessage, "Please select a file !");
}

struct SplitCase {
  const char* path;
  const char* folder;
  const char* name;
};

const SplitCase kSplits[] = {
    {"C:\\work\\lab\\app.hex", "C:\\work\\lab", "app.hex"},
    {"/home/lab/PREFS/lab.ini", "/home/lab/PREFS", "lab.ini"},
    {"C:\\test.hex", "C:", "test.hex"},
    {"/work\\mixed/x.scm", "/work\\mixed", "x.scm"},
    {"name.ini", "", "name.ini"},
};

TEST(SplitFolderAndName, AtTheLastSeparator) {
  for (const auto& c : kSplits) {
    SCOPED_TRACE(c.path);
    const FolderAndName split = SplitFolderAndName(c.path);
    EXPECT_EQ(split.folder, c.folder);
    EXPECT_EQ(split.name, c.name);
  }
}

TEST(UserScriptButton, OnlyOneToFourIsAnAnswer) {
  EXPECT_EQ(kUserScriptQuestion, "Which User Script Button would you like to configure (1-4) ?");
  const std::pair<const char*, std::optional<int>> kAnswers[] = {
      {"1", 1},
      {"2", 2},
      {"3", 3},
      {"4", 4},
      {"0", std::nullopt},
      {"5", std::nullopt},
      {"", std::nullopt},
      {"12", std::nullopt},
      {"a", std::nullopt},
      {"-1", std::nullopt},
  };
  for (const auto& [answer, button] : kAnswers) {
    SCOPED_TRACE(answer);
    EXPECT_EQ(UserScriptButton(answer), button);
  }
}

}  // namespace
}  // namespace velmora
