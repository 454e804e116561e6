// The settings text the serial port is opened with.
#include <gtest/gtest.h>

#include <string>

#include "config/communication_settings.h"

namespace velmora {
namespace {

struct SettingsText {
  int32_t baudRate;
  int32_t parity;
  int32_t dataBits;
  int32_t stopBits;
  std::string text;
};

const SettingsText kSettingsTexts[] = {
    {9600, 0, 8, 1, "9600,n,8,1"},   {115200, 2, 7, 2, "115200,e,7,2"}, {300, 1, 8, 1, "300,o,8,1"},
    {14400, 0, 8, 1, "14400,n,8,1"},  // a rate outside the list is used all the same
    {9600, 3, 8, 1, "9600,,8,1"},     // no letter for an unknown parity
    {9600, -1, 8, 1, "9600,,8,1"},
};

TEST(CSettings, BaudParityLetterDataAndStopBits) {
  for (const auto& row : kSettingsTexts) {
    SCOPED_TRACE(row.text);
    CommunicationSettings settings;
    settings.baudRate = row.baudRate;
    settings.parity = row.parity;
    settings.dataBits = row.dataBits;
    settings.stopBits = row.stopBits;
    EXPECT_EQ(CSettings(settings), row.text);
  }
}

TEST(CSettings, DefaultsGive9600n81) {
  EXPECT_EQ(CSettings(CommunicationSettings{}), "9600,n,8,1");
}

}  // namespace
}  // namespace velmora
