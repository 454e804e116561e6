// The file dialogs and the configuration dialog, free of any widget.
#include <gtest/gtest.h>

#include "formats/configuration_rules.h"
#include "formats/file_kinds.h"

namespace velmora {
namespace {

TEST(FileDialogs, KindsOfFileToLoad) {
  FileStates files;
  const std::tuple<LoadKind, const char*, const char*, const char*, RememberedFile*> kKinds[] = {
      {LoadKind::IntelHex, "Load File", "Intel hex files (*.hex;*.h86)", "", &files.load},
      {LoadKind::Script, "Load script", "Script files (*.scm)", "", &files.script},
      {LoadKind::Preferences, "Load preferences", "Preference files (*.ini)", "PREFS",
       &files.configLoad},
      {LoadKind::Driver, "Search Driver", "Intel hex files (*.hex;*.h86)", "DRIVER", nullptr},
      {LoadKind::UserScript, "Load script", "Script files (*.scm)", "SCRIPTS", nullptr},
  };
  for (const auto& [kind, caption, type, folder, remembered] : kKinds) {
    const LoadKindInfo& info = LoadKindOf(kind);
    EXPECT_EQ(info.caption, caption);
    EXPECT_EQ(info.fileTypes[0].text, type);
    EXPECT_EQ(info.fileTypes[1].text, "All Files (*.*)");
    EXPECT_EQ(info.fixedFolder, folder) << caption;
    EXPECT_EQ(RememberedFor(kind, files), remembered) << caption;
  }
  const std::tuple<const char*, std::string_view, bool> kPatterns[] = {
      {"Boot.H86", kIntelHexFiles.pattern, true},    {"app.hex.bak", kIntelHexFiles.pattern, false},
      {"apphex", kIntelHexFiles.pattern, false},     {"run.scm", kScriptFiles.pattern, true},
      {"lab.ini~", kPreferenceFiles.pattern, false}, {"README", kAllFiles.pattern, true},
  };
  for (const auto& [name, patterns, matches] : kPatterns) {
    EXPECT_EQ(MatchesPattern(name, patterns), matches) << name << " against " << patterns;
  }
}

TEST(FileDialogs, NamesAndAnswers) {
  EXPECT_EQ(SaveFileName("lab", ".ini"), "lab.ini");
  EXPECT_EQ(SaveFileName("lab.cfg", ".ini"), "lab.cfg");
  EXPECT_EQ(SaveFileName("", ".ini"), std::nullopt);
  EXPECT_EQ(kNoFileNameMessage, "Please insert a filename !");
  EXPECT_EQ(kNoFileChosenMessage, "Please select a file !");
  EXPECT_EQ(SplitFolderAndName("/work\\lab/x.scm").folder, "/work\\lab");
  EXPECT_EQ(SplitFolderAndName("C:\\test.hex").name, "test.hex");
  EXPECT_EQ(kUserScriptQuestion, "Which User Script Button would you like to configure (1-4) ?");
  EXPECT_EQ(UserScriptButton("1"), 1);
  EXPECT_EQ(UserScriptButton("4"), 4);
  for (const char* answer : {"0", "5", "", "12", "a"})
    EXPECT_EQ(UserScriptButton(answer), std::nullopt);
}

TEST(ConfigurationDialog, RegisterBoxes) {
  EXPECT_EQ(CheckInitRegisterText("", false), std::nullopt);
  EXPECT_EQ(CheckInitRegisterText("FFFF", false), std::nullopt);
  EXPECT_EQ(CheckInitRegisterText("1FFFF", false), "No valid hexadecimal digit !");
  EXPECT_EQ(CheckInitRegisterText("FFFFFF", true), std::nullopt);
  EXPECT_EQ(CheckInitRegisterText("1G", true), "No hexadecimal digit !");
  EXPECT_EQ(InitRegisterTextOnLeave("1f", false), "001F");
  EXPECT_EQ(InitRegisterTextOnLeave("", false), "");
  EXPECT_EQ(InitRegisterTextOnLeave("ff00", true), "00FF00");
  RegisterTable registers;
  ASSERT_TRUE(registers.Add(RegisterDefinition("SYSCON", 0xFF12)));
  EXPECT_TRUE(IsRegisterReference("syscon", registers));
  EXPECT_TRUE(IsRegisterReference("FF12", registers));
  EXPECT_FALSE(IsRegisterReference("BUSCON9", registers));
  EXPECT_FALSE(IsRegisterReference("", registers));
}

}  // namespace
}  // namespace velmora
