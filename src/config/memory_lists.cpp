#include "config/memory_lists.h"

#include <charconv>

#include "core/hex_text.h"

namespace velmora {
namespace {

constexpr size_t kNameColumn = 14;

std::string nameColumn(const std::string& name) {
  std::string column = name.substr(0, kNameColumn);
  column.resize(kNameColumn, ' ');
  return column;
}

std::string range(int32_t start, int32_t length, std::string_view separator) {
  return HexN(start, 6) + std::string(separator) + HexN(start + length - 1, 6);
}

template <typename T>
bool removeAt(std::vector<T>& list, int index) {
  if (index < 0 || index >= static_cast<int>(list.size())) return false;
  list.erase(list.begin() + index);
  return true;
}

}  // namespace

MemoryListLines RefreshMemoryList(const std::vector<MemoryUnit>& units) {
  MemoryListLines lines;
  for (size_t u = 0; u < units.size(); ++u) {
    const MemoryUnit& unit = units[u];
    bool first = true;
    for (size_t s = 0; s < unit.sections.size(); ++s) {
      for (size_t r = 0; r < unit.sections[s].regions.size(); ++r) {
        const MemoryRegion& region = unit.sections[s].regions[r];
        lines.units.push_back((first ? nameColumn(unit.name) : std::string(kNameColumn, ' ')) + ":" +
                              range(region.Base(), region.length, "-") + std::string(13, ' ') +
                              "@" + std::to_string(u) + "@" + std::to_string(s) + "@" +
                              std::to_string(r));
        lines.activated.push_back(first && unit.Usable() ? "X" : " ");
        lines.mapped.push_back(region.mapped ? "X" : " ");
        first = false;
      }
    }
  }
  return lines;
}

std::optional<MemoryLocation> MemoryLineKey(std::string_view line) {
  int values[3] = {0, 0, 0};
  for (int i = 2; i >= 0; --i) {
    const auto at = line.rfind('@');
    if (at == std::string_view::npos) return std::nullopt;
    const auto digits = line.substr(at + 1);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), values[i]);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    line = line.substr(0, at);
  }
  return MemoryLocation{values[0], values[1], values[2]};
}

std::vector<std::string> ActivateListLines(const MemoryUnit& unit) {
  std::vector<std::string> lines;
  for (const auto& entry : unit.activate) lines.push_back(entry.reg + "=0x" + HexN(entry.mask, 4));
  return lines;
}

std::vector<std::string> SectionListLines(const MemoryUnit& unit) {
  std::vector<std::string> lines;
  for (size_t s = 0; s < unit.sections.size(); ++s) {
    const auto& regions = unit.sections[s].regions;
    for (size_t r = 0; r < regions.size(); ++r) {
      const std::string prefix = r == 0 ? "Section " + std::to_string(s) + ":" : std::string(13, ' ');
      lines.push_back(prefix + range(regions[r].startAddress, regions[r].length, " - "));
    }
  }
  return lines;
}

int SectionOfListLine(const MemoryUnit& unit, int line) {
  for (size_t s = 0; s < unit.sections.size(); ++s) {
    line -= static_cast<int>(unit.sections[s].regions.size());
    if (line < 0) return static_cast<int>(s);
  }
  return -1;
}

bool AddRegion(MemoryUnit& unit, int32_t start, int32_t length, bool hasMapping,
               int32_t mapAddress, const std::string& mapRegister, int32_t mapMask) {
  if (static_cast<int>(unit.sections.size()) >= kMaxSections) return false;
  MemoryRegion region;
  region.startAddress = start;
  region.length = length;
  region.hasMapping = hasMapping;
  if (hasMapping) {
    region.mapAddress = mapAddress;
    region.mapRegister = mapRegister;
    region.mapMask = mapMask;
  }
  unit.sections.push_back(MemorySection{{region}});
  return true;
}

bool AddActivate(MemoryUnit& unit, const std::string& reg, int32_t mask) {
  if (static_cast<int>(unit.activate.size()) >= kMaxActivateRegisters) return false;
  unit.activate.push_back({reg, mask});
  return true;
}

bool RemoveActivate(MemoryUnit& unit, int index) { return removeAt(unit.activate, index); }
bool RemoveFeature(MemoryUnit& unit, int index) { return removeAt(unit.features, index); }
bool RemoveSection(MemoryUnit& unit, int section) { return removeAt(unit.sections, section); }

}  // namespace velmora
