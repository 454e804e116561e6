#include "commands/flash_requests.h"

#include <algorithm>
#include <array>

#include "commands/flash_operations.h"
#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/link.h"

namespace velmora {
namespace {

struct FeatureRow {
  FlashFeature feature;
  std::string_view name;
  std::string_view progressWord;  // the word the operation's message lines begin with
  bool sections;
  bool passwords;
};

constexpr std::array<FeatureRow, 6> kFeatures = {{
    {FlashFeature::Erase, "ERASE", "Erase", true, false},
    {FlashFeature::Protect, "PROTECT", "Protect", false, true},
    {FlashFeature::Unprotect, "UNPROTECT", "Unprotect", false, true},
    {FlashFeature::Lock, "LOCK", "Lock", true, true},
    {FlashFeature::Unlock, "UNLOCK", "Unlock", true, true},
    {FlashFeature::Status, "STATUS", "Status", true, false},
}};

const FeatureRow& row(FlashFeature feature) {
  return kFeatures[static_cast<size_t>(feature)];
}

int16_t runOnce(Link& link, const FlashRequest& request, int section) {
  switch (request.feature) {
    case FlashFeature::Erase:
      return EraseSector(link, request.unit, section);
    case FlashFeature::Lock:
      return LockSector(link, request.unit, section);
    case FlashFeature::Unlock:
      return UnlockSector(link, request.unit, section, request.passwords);
    case FlashFeature::Protect:
      return ProtectUnit(link, request.unit);
    case FlashFeature::Unprotect:
      return UnprotectUnit(link, request.unit, request.passwords);
    case FlashFeature::Status:
      break;
  }
  return flash_status::kOk;
}

}  // namespace

std::string_view FlashFeatureName(FlashFeature feature) {
  return row(feature).name;
}

std::optional<FlashFeature> FlashFeatureNamed(std::string_view name) {
  for (const FeatureRow& feature : kFeatures)
    if (feature.name == name) return feature.feature;
  return std::nullopt;
}

bool FlashFeatureUsesSections(FlashFeature feature) {
  return row(feature).sections;
}
bool FlashFeatureUsesPasswords(FlashFeature feature) {
  return row(feature).passwords;
}

std::vector<int> UnitsOffering(const std::vector<MemoryUnit>& units, FlashFeature feature) {
  // By the exact name, as the window's flash buttons go: a unit never turns up in the
  // dialog for a feature whose button it did not bring.
  std::vector<int> offering;
  for (size_t u = 0; u < units.size() && u < static_cast<size_t>(kMaxMemoryUnits); ++u) {
    const auto& features = units[u].features;
    const auto end =
        features.begin() + std::min<std::ptrdiff_t>(std::ssize(features), kMaxFeatures);
    if (std::find(features.begin(), end, FlashFeatureName(feature)) != end)
      offering.push_back(static_cast<int>(u));
  }
  return offering;
}

std::vector<std::string> FlashSectionLines(const MemoryUnit& unit) {
  std::vector<std::string> lines;
  for (size_t s = 0; s < unit.sections.size(); ++s) {
    std::string line = "Section " + std::to_string(s) + ": ";
    const auto& regions = unit.sections[s].regions;
    for (size_t r = 0; r < regions.size(); ++r) {
      if (r > 0) line += ",";
      const int32_t start = regions[r].Base();
      line += HexN(start, 6) + " - " + HexN(start + regions[r].length - 1, 6);
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

std::string StatusWordLine(int word, int32_t value) {
  return "Statusword " + std::to_string(word) + ": " + HexN(value & 0xFFFF, 4);
}

std::string DecodeStatusWord(const StatusWord& texts, int32_t value) {
  std::string decoded;
  for (int bit = 15; bit >= 0; --bit) {
    const StatusBitText& field = texts[static_cast<size_t>(bit)];
    if (field.width <= 0) continue;
    // A field wider than the bits above it keeps only those.
    const int width = std::min<int>(field.width, 16 - bit);
    const int32_t fieldValue = ((value & 0xFFFF) >> bit) & ((1 << width) - 1);
    if (fieldValue >= 1) decoded += field.text + "=" + std::to_string(fieldValue) + " ";
  }
  return decoded;
}

std::vector<uint8_t> ParsePasswords(std::string_view text) {
  std::vector<uint8_t> bytes;
  while (true) {
    const size_t comma = text.find(',');
    const std::string piece = RemoveSpaces(text.substr(0, comma));
    bytes.push_back(static_cast<uint8_t>(HexVal(piece) & 0xFF));
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
  return bytes;
}

int16_t RunFlashRequest(Link& link, const FlashRequest& request) {
  if (request.feature == FlashFeature::Status) return flash_status::kOk;
  const bool perSection = FlashFeatureUsesSections(request.feature);
  const std::vector<int> once = {0};
  const std::vector<int>& targets = perSection ? request.sections : once;
  Frontend& frontend = link.context().frontend;
  const std::string_view word = row(request.feature).progressWord;
  const auto total = static_cast<int64_t>(targets.size());
  int16_t result = flash_status::kOk;
  for (size_t i = 0; i < targets.size(); ++i) {
    frontend.ShowProgress({word, static_cast<int64_t>(i), total});
    const int16_t status = runOnce(link, request, targets[i]);
    if (status != flash_status::kOk && result == flash_status::kOk) result = status;
    if (status == flash_status::kNoDriver) break;
  }
  frontend.ShowProgress({word, total, total});
  return result;
}

std::vector<int32_t> ReadStatusWords(Link& link, int unit) {
  std::vector<int32_t> words;
  const auto& units = link.context().settings.target.units;
  if (unit < 0 || unit >= static_cast<int>(units.size())) return words;
  const auto count = units[static_cast<size_t>(unit)].statusWords.size();
  for (size_t w = 0; w < count; ++w) {
    CallRegisters registers{};
    if (link.state() != TargetState::Ready) break;
    if (ReadStatusWord(link, unit, static_cast<int>(w), registers) != flash_status::kOk) break;
    words.push_back(registers[0] & 0xFFFF);
  }
  return words;
}

}  // namespace velmora
