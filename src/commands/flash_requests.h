// What the flash dialog asks of the drivers: which units offer an operation, the lines it
// shows for a unit's sections and status words, the passwords as the user types them, and
// one operation run over the sections the user chose.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/memory_unit.h"

namespace velmora {

class Link;

// The driver operations the flash dialog runs (programming has its own command).
enum class FlashFeature { Erase, Protect, Unprotect, Lock, Unlock, Status };

// "ERASE", "PROTECT", ... as memory units list them.
std::string_view FlashFeatureName(FlashFeature feature);
std::optional<FlashFeature> FlashFeatureNamed(std::string_view name);
// Whether the operation acts on chosen sections, and whether it takes the passwords.
bool FlashFeatureUsesSections(FlashFeature feature);
bool FlashFeatureUsesPasswords(FlashFeature feature);

// The passwords the dialog offers each time it is prepared.
inline constexpr std::string_view kDefaultFlashPasswords = "3,A,5,C,1,F,7,E";

// Indexes of the units whose feature list holds the feature (by its exact name), in unit
// order.
std::vector<int> UnitsOffering(const std::vector<MemoryUnit>& units, FlashFeature feature);

// One line per section: "Section s: start - end", the regions separated by ",", each at
// the address it is seen at now.
std::vector<std::string> FlashSectionLines(const MemoryUnit& unit);
// "Statusword i: XXXX".
std::string StatusWordLine(int word, int32_t value);
// Every named bit or field of the word that is not zero, from bit 15 down: "TEXT=v ".
std::string DecodeStatusWord(const StatusWord& texts, int32_t value);

// The pieces between the commas as hexadecimal bytes; a piece that is no number gives FF.
std::vector<uint8_t> ParsePasswords(std::string_view text);

struct FlashRequest {
  FlashFeature feature = FlashFeature::Erase;
  int unit = -1;
  std::vector<int> sections;  // in the order they are worked on
  std::vector<uint8_t> passwords;
};

// Runs the operation on each section (or once on the unit), writing the drivers' message
// lines and the progress. A section the driver refuses does not stop the others; a driver
// that cannot be loaded does. 0, or the first failure status.
int16_t RunFlashRequest(Link& link, const FlashRequest& request);

// Reads the unit's status words in order, up to the first that cannot be read.
std::vector<int32_t> ReadStatusWords(Link& link, int unit);

}  // namespace velmora
