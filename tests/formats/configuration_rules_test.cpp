#include "formats/configuration_rules.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(ConfigurationRules, RegisterValueBoxesTakeFourDigitsAndAddressesSix) {
  EXPECT_EQ(CheckInitRegisterText("", false), std::nullopt);
  EXPECT_EQ(CheckInitRegisterText("1f", false), std::nullopt);
  EXPECT_EQ(CheckInitRegisterText("FFFF", false), std::nullopt);
  EXPECT_EQ(CheckInitRegisterText("1FFFF", false), "No valid hexadecimal digit !");
  EXPECT_EQ(CheckInitRegisterText("1G", false), "No valid hexadecimal digit !");
  EXPECT_EQ(CheckInitRegisterText("FFFFFF", true), std::nullopt);
  EXPECT_EQ(CheckInitRegisterText("1000000", true), "No hexadecimal digit !");
  EXPECT_EQ(CheckInitRegisterText("x", true), "No hexadecimal digit !");
}

TEST(ConfigurationRules, LeavingABoxRewritesItsValue) {
  EXPECT_EQ(InitRegisterTextOnLeave("1f", false), "001F");
  EXPECT_EQ(InitRegisterTextOnLeave("", false), "");
  EXPECT_EQ(InitRegisterTextOnLeave("ff00", true), "00FF00");
}

TEST(ConfigurationRules, RegisterReferencesAreAddressesOrKnownNames) {
  RegisterTable registers;
  ASSERT_TRUE(registers.Add(RegisterDefinition("SYSCON", 0xFF12)));
  EXPECT_TRUE(IsRegisterReference("syscon", registers));
  EXPECT_TRUE(IsRegisterReference("FF12", registers));
  EXPECT_FALSE(IsRegisterReference("BUSCON9", registers));
  EXPECT_FALSE(IsRegisterReference("", registers));
}

}  // namespace
}  // namespace velmora
