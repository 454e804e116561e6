#include "commands/register_list.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "core/memory_image.h"
#include "link/link.h"

namespace velmora {
namespace {

std::vector<std::string>& shown(Link& link) {
  return link.context().settings.frontend.display;
}

auto sameName(std::string_view name) {
  return [name](const std::string& entry) { return EqualsNoCase(entry, name); };
}

}  // namespace

bool AddSfr(Link& link, std::string_view name) {
  auto& list = shown(link);
  if (std::any_of(list.begin(), list.end(), sameName(name))) return false;
  const auto& registers = link.context().registers;
  const int index = registers.FindRegister(name);
  if (index < 0) return false;
  list.push_back(registers.At(index).name);
  RefreshSfr(link);
  return true;
}

bool RemoveSfr(Link& link, std::string_view name) {
  auto& list = shown(link);
  const auto found = std::find_if(list.begin(), list.end(), sameName(name));
  if (found == list.end()) return false;
  list.erase(found);
  link.context().frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
  return true;
}

void RefreshSfr(Link& link) {
  if (link.state() == TargetState::Ready) {
    const auto& registers = link.context().registers;
    for (const auto& name : shown(link)) {
      const int index = registers.FindRegister(name);
      const int32_t address = index >= 0 ? registers.At(index).address : -1;
      if (address < 0) continue;
      link.monitor().Cmd_Read(address, 2);
      link.context().frontend.RequestRefresh(Change::Memory(address, address + 1));
    }
  }
  link.context().frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
}

void CheckSfr(Link& link) {
  const auto& registers = link.context().registers;
  std::erase_if(shown(link),
                [&](const std::string& name) { return registers.FindRegister(name) < 0; });
  link.context().frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
}

bool ReadSfr(Link& link, int index) {
  const auto& registers = link.context().registers;
  if (index < 0 || index >= registers.Count() || link.state() != TargetState::Ready) return false;
  const int32_t address = registers.At(index).address;
  const bool read = link.monitor().Cmd_Read(address, 2) == 0;
  link.context().frontend.RequestRefresh(Change::Memory(address, address + 1));
  return read;
}

bool WriteSfr(Link& link, int index, uint16_t value) {
  const auto& registers = link.context().registers;
  if (index < 0 || index >= registers.Count()) return false;
  const int32_t address = registers.At(index).address;
  MemoryImage& image = link.context().image;
  const std::array<uint8_t, 2> bytes = {static_cast<uint8_t>(value & 0xFF),
                                        static_cast<uint8_t>(value >> 8)};
  bool written = true;
  if (link.state() == TargetState::Ready) {
    written = link.monitor().Cmd_WriteWord(address, value) == 0;
  }
  // The image holds the value either way; it counts as the target's only once the target
  // has taken it.
  for (int32_t i = 0; i < 2; ++i) {
    image.SetByte(address + i, bytes[static_cast<size_t>(i)]);
    image.SetDefined(address + i, true);
    image.SetValid(address + i, written && link.state() == TargetState::Ready);
  }
  link.context().frontend.RequestRefresh(Change::Memory(address, address + 1));
  if (link.state() == TargetState::Ready)
    RefreshSfr(link);
  else
    link.context().frontend.RequestRefresh(Change::Register(address));
  return written;
}

uint16_t SfrValue(const MemoryImage& image, int32_t address) {
  return static_cast<uint16_t>(image.GetByte(address + 1) << 8 | image.GetByte(address));
}

}  // namespace velmora
