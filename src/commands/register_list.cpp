#include "commands/register_list.h"

#include <algorithm>
#include <string>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/link.h"

namespace velmora {
namespace {

std::vector<std::string>& shown(Link& link) { return link.context().settings.frontend.display; }

auto sameName(std::string_view name) {
  return [name](const std::string& entry) { return EqualsNoCase(entry, name); };
}

}  // namespace

bool AddSfr(Link& link, std::string_view name) {
  auto& list = shown(link);
  if (std::any_of(list.begin(), list.end(), sameName(name))) return false;
  const auto& registers = link.context().registers;
  list.push_back(registers.At(registers.FindRegister(name)).name);
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
  std::erase_if(shown(link), [&](const std::string& name) { return registers.FindRegister(name) < 0; });
  link.context().frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
}

}  // namespace velmora
