#include "formats/memory_unit_keys.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "core/hex_text.h"

namespace velmora {
namespace {

// Reads a line from left to right, matching keys without regard to case.
class KeyCursor {
 public:
  explicit KeyCursor(std::string_view line) : text_(line) {}

  bool Take(std::string_view key) {
    if (text_.size() < key.size() || !EqualsNoCase(text_.substr(0, key.size()), key)) return false;
    text_.remove_prefix(key.size());
    return true;
  }
  // "(n)" with a decimal n.
  std::optional<int> Index() {
    if (!Take("(")) return std::nullopt;
    const auto close = text_.find(')');
    if (close == std::string_view::npos) return std::nullopt;
    int value = 0;
    const auto digits = text_.substr(0, close);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    text_.remove_prefix(close + 1);
    return value;
  }
  bool AtEnd() const { return text_.empty(); }
  std::string_view Rest() const { return text_; }
  // The rest as a hexadecimal number, with or without a 0x prefix.
  int32_t Hex() {
    Take("0X");
    return HexVal(text_);
  }

 private:
  std::string_view text_;
};

template <typename T>
T& grow(std::vector<T>& list, int index) {
  if (static_cast<int>(list.size()) <= index) list.resize(static_cast<size_t>(index) + 1);
  return list[static_cast<size_t>(index)];
}

UnitKeyResult problem(std::string text) { return {true, std::move(text)}; }

UnitKeyResult hexInto(KeyCursor& cursor, int32_t& field) {
  field = cursor.Hex();
  return field == kNoNumber ? problem("value is not hexadecimal") : UnitKeyResult{true, {}};
}

UnitKeyResult regionKey(KeyCursor& cursor, MemoryUnit& unit) {
  const auto s = cursor.Index();
  if (!s || !cursor.Take(".")) return problem("section index is not decimal");
  static constexpr std::string_view kKeys[] = {"STARTADDRESS", "LENGTH", "MAPPED", "MAPADDRESS",
                                               "MAPREGISTER", "MAPMASK"};
  const auto* key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                 [&cursor](std::string_view k) { return cursor.Take(k); });
  if (key == std::end(kKeys)) return {false, {}};
  const auto r = cursor.Index();
  if (!r) return problem("region index is not decimal");
  if (*s < 0 || *s >= kMaxSections || *r < 0 || *r >= kMaxRegionsPerSection) {
    return problem("section or region index beyond the limits");
  }
  MemoryRegion& region = grow(grow(unit.sections, *s).regions, *r);
  if (*key == "MAPPED") {
    if (!cursor.AtEnd()) return {false, {}};
    region.mapped = true;
    region.hasMapping = true;
    return {true, {}};
  }
  if (!cursor.Take("=")) return {false, {}};
  if (*key == "STARTADDRESS") return hexInto(cursor, region.startAddress);
  if (*key == "LENGTH") return hexInto(cursor, region.length);
  region.hasMapping = true;
  if (*key == "MAPADDRESS") return hexInto(cursor, region.mapAddress);
  if (*key == "MAPMASK") return hexInto(cursor, region.mapMask);
  region.mapRegister = std::string(cursor.Rest());
  return {true, {}};
}

UnitKeyResult activateKey(KeyCursor& cursor, MemoryUnit& unit, bool isMask) {
  int index = 0;
  if (!cursor.Take("=")) {
    const auto i = cursor.Index();
    if (!i || !cursor.Take("=")) return problem("activation index is not decimal");
    index = *i;
  }
  if (index < 0 || index >= kMaxActivateRegisters) return problem("more than 6 activation registers");
  ActivateEntry& entry = grow(unit.activate, index);
  if (isMask) return hexInto(cursor, entry.mask);
  entry.reg = std::string(cursor.Rest());
  return {true, {}};
}

UnitKeyResult statusKey(KeyCursor& cursor, MemoryUnit& unit) {
  const auto w = cursor.Index();
  if (!w || !cursor.Take(".BIT")) return problem("status word index is not decimal");
  const auto b = cursor.Index();
  if (!b || !cursor.Take("=")) return problem("status bit index is not decimal");
  if (*w < 0 || *w >= kMaxStatusWords || *b < 0 || *b > 15) {
    return problem("status word or bit beyond the limits");
  }
  const std::string_view rest = cursor.Rest();
  const auto comma = rest.rfind(',');
  StatusBitText text{std::string(rest), 1};
  if (comma != std::string_view::npos) {
    int width = 0;
    const auto digits = rest.substr(comma + 1);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
    if (error == std::errc() && end == digits.data() + digits.size()) {
      if (width < 1 || *b + width > 16) return problem("status field width beyond the word");
      text = {std::string(rest.substr(0, comma)), width};
    }
  }
  grow(unit.statusWords, *w)[static_cast<size_t>(*b)] = text;
  return {true, {}};
}

UnitKeyResult featuresKey(std::string_view list, MemoryUnit& unit) {
  unit.features.clear();
  std::string refused;
  size_t at = 0;
  while (at < list.size()) {
    size_t comma = list.find(',', at);
    if (comma == std::string_view::npos) comma = list.size();
    const std::string name = ToUpper(list.substr(at, comma - at));
    at = comma + 1;
    if (name.empty()) continue;
    const bool known = std::find(kFeatureNames.begin(), kFeatureNames.end(), name) != kFeatureNames.end();
    if (!known || !unit.AddFeature(name)) refused += (refused.empty() ? "" : ", ") + name;
  }
  return refused.empty() ? UnitKeyResult{true, {}} : problem("features not taken: " + refused);
}

}  // namespace

UnitKeyResult ApplyMemoryUnitKey(std::string_view line, MemoryUnit& unit) {
  KeyCursor cursor(line);
  if (cursor.Take("TYPE=")) {
    unit.type = std::string(cursor.Rest());
    return {true, {}};
  }
  if (cursor.Take("BLANK=")) return hexInto(cursor, unit.blank);
  if (cursor.Take("BURSTSIZE=")) return hexInto(cursor, unit.burstSize);
  if (cursor.Take("ACTIVATEREGISTER")) return activateKey(cursor, unit, false);
  if (cursor.Take("ACTIVATEMASK")) return activateKey(cursor, unit, true);
  if (cursor.Take("ACTIVATED")) {
    if (!cursor.AtEnd()) return {false, {}};
    unit.activated = true;
    return {true, {}};
  }
  if (cursor.Take("SECTION")) return regionKey(cursor, unit);
  if (cursor.Take("DRIVER.PATH=")) {
    unit.driverPath = std::string(cursor.Rest());
    return {true, {}};
  }
  if (cursor.Take("DRIVER.BUFFERADDRESS=")) return hexInto(cursor, unit.driverBufferAddress);
  if (cursor.Take("DRIVER.FEATURES=")) return featuresKey(cursor.Rest(), unit);
  if (cursor.Take("STATUS")) return statusKey(cursor, unit);
  return {false, {}};
}

std::string MemoryUnitKeyLines(const MemoryUnit& unit) {
  std::string out;
  const auto line = [&out](const std::string& text) {
    out += text;
    out += "\r\n";
  };
  line("TYPE=" + unit.type);
  line("BLANK=0x" + HexN(unit.blank, 2));
  line("BURSTSIZE=0x" + HexN(unit.burstSize, 4));
  if (unit.activated) line("ACTIVATED");
  for (size_t i = 0; i < unit.activate.size(); ++i) {
    const std::string index = "(" + std::to_string(i) + ")";
    line("ACTIVATEREGISTER" + index + "=" + unit.activate[i].reg);
    line("ACTIVATEMASK" + index + "=0x" + HexN(unit.activate[i].mask, 4));
  }
  for (size_t s = 0; s < unit.sections.size(); ++s) {
    const auto& regions = unit.sections[s].regions;
    for (size_t r = 0; r < regions.size(); ++r) {
      const std::string key = "SECTION(" + std::to_string(s) + ").";
      const std::string index = "(" + std::to_string(r) + ")";
      const MemoryRegion& region = regions[r];
      line(key + "STARTADDRESS" + index + "=0x" + HexN(region.startAddress, 6));
      line(key + "LENGTH" + index + "=0x" + HexN(region.length, 6));
      if (!region.hasMapping) continue;
      if (region.mapped) line(key + "MAPPED" + index);
      line(key + "MAPADDRESS" + index + "=0x" + HexN(region.mapAddress, 6));
      line(key + "MAPREGISTER" + index + "=" + region.mapRegister);
      line(key + "MAPMASK" + index + "=0x" + HexN(region.mapMask, 4));
    }
  }
  if (!unit.driverPath.empty()) line("DRIVER.PATH=" + unit.driverPath);
  line("DRIVER.BUFFERADDRESS=" + HexN(unit.driverBufferAddress, 6));
  if (!unit.features.empty()) {
    std::string list;
    for (const auto& feature : unit.features) list += (list.empty() ? "" : ",") + feature;
    line("DRIVER.FEATURES=" + list);
  }
  for (size_t w = 0; w < unit.statusWords.size(); ++w) {
    for (size_t b = 0; b < 16; ++b) {
      const StatusBitText& bit = unit.statusWords[w][b];
      if (bit.width == 0) continue;
      std::string text = "STATUS(" + std::to_string(w) + ").BIT(" + std::to_string(b) + ")=" + bit.text;
      if (bit.width > 1) text += "," + std::to_string(bit.width);
      line(text);
    }
  }
  return out;
}

}  // namespace velmora
