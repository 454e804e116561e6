// velmora-asm as a program: the HEX file and listing it writes, and that on an error it
// writes nothing, says where, and fails.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "temp_folder.h"

namespace velmora {
namespace {

struct ProgramRun {
  int status;
  std::string errors;
};

class AsmProgram : public ::testing::Test {
 protected:
  ProgramRun run(const std::string& arguments) {
    const std::string errorFile = folder.File("stderr.txt");
    const std::string command = std::string(VELMORA_ASM_PROGRAM) + " --home " +
                                VELMORA_SOURCE_DATA_DIR + " " + arguments + " 2>" + errorFile;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, test::ReadFile(errorFile)};
  }

  test::TempFolder folder;
};

TEST_F(AsmProgram, WritesIntelHexAndAListing) {
  const std::string source = folder.Write("code.asm",
                                          "; two words\r\n"
                                          "        ORG  0F600h\r\n"
                                          "start:  MOV  S0BG,#0040h\r\n"
                                          "        JMP  start\r\n");
  const ProgramRun result =
      run(source + " -o " + folder.File("code.hex") + " --listing " + folder.File("code.lst"));
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(folder.Read("code.hex"),
            ":020000040000FA\r\n"
            ":06F60000E65A40000DFD7A\r\n"
            ":00000001FF\r\n");
  EXPECT_EQ(folder.Read("code.lst"),
            "                                  ; two words\r\n"
            "00F600                                    ORG  0F600h\r\n"
            "00F600  E6 5A 40 00               start:  MOV  S0BG,#0040h\r\n"
            "00F604  0D FD                             JMP  start\r\n");
}

TEST_F(AsmProgram, AnErrorWritesNothingAndFails) {
  const std::string source = folder.Write("bad.asm", " NOP\n MOV R1,#later\n ADD R1\n");
  const std::string hex = folder.Write("out.hex", "an older file\n");
  const ProgramRun result = run(source + " -o " + hex + " --listing " + folder.File("out.lst"));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, source + ":2:10: undefined name 'later'\n" + source +
                               ":3:2: no form of ADD takes these operands\n");
  EXPECT_EQ(folder.Read("out.hex"), "an older file\n");
  EXPECT_FALSE(std::filesystem::exists(folder.File("out.lst")));
}

TEST_F(AsmProgram, TheTypeChoosesTheRegisterNames) {
  const std::string source = folder.Write("t.asm", " BSET IEN\n");
  EXPECT_EQ(run(source + " -o " + folder.File("t.hex") + " --type brask").status, 0);
  const ProgramRun unknown = run(source + " -o " + folder.File("u.hex") + " --type NOSUCH");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_NE(unknown.errors.find("no controller type NOSUCH"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(folder.File("u.hex")));
}

TEST_F(AsmProgram, UsageErrors) {
  EXPECT_EQ(run("").status, 2);
  EXPECT_EQ(run(folder.File("x.asm")).status, 2);  // no -o
  const ProgramRun missing = run(folder.File("none.asm") + " -o " + folder.File("n.hex"));
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.errors, folder.File("none.asm") + ":1:1: cannot read the source file\n");
}

}  // namespace
}  // namespace velmora
