#include "saved_versions.h"

#include <cstdint>
#include <filesystem>
#include <vector>

#include "config/settings.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "formats/hex_writer.h"
#include "formats/preferences_file.h"

namespace velmora::test {
namespace {

constexpr int32_t kImageBytes = 0x20000;  // ~300 KB of HEX text
constexpr int kDisplayLines = 2000;       // ~40 KB of preferences

Settings settingsOf(SavedVersion version) {
  Settings settings;
  SetDefaultPreferences(settings, "/");
  const bool old = version == SavedVersion::Old;
  settings.communication.baudRate = old ? 9600 : 57600;
  for (int i = 0; i < kDisplayLines; ++i) {
    settings.frontend.display.push_back((old ? "OLDREG" : "NEWREG") + std::to_string(i));
  }
  return settings;
}

void fillImage(MemoryImage& image, SavedVersion version) {
  std::vector<uint8_t> bytes(kImageBytes);
  const uint8_t salt = version == SavedVersion::Old ? 0x00 : 0xA5;
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>((i * 7 + i / 251) ^ salt);
  image.StoreLoaded(0, bytes);
}

}  // namespace

bool SaveVersion(const std::string& folder, SavedVersion version) {
  MessageLog log;
  const std::filesystem::path base(folder);
  if (!SavePreferences((base / kPreferencesName).string(), settingsOf(version), log)) return false;
  MemoryImage image;
  fillImage(image, version);
  return HexWrite((base / kHexName).string(), 0, kImageBytes - 1, 32, 4, image, log) ==
         HexWriteStatus::Ok;
}

}  // namespace velmora::test
