#include "session/configuration_apply.h"

#include "commands/register_list.h"
#include "core/frontend.h"
#include "core/hex_text.h"
#include "session/preferences.h"
#include "session/session.h"

namespace velmora {

bool ControllerTypeChanged(const TargetConfiguration& stored, const TargetConfiguration& edited) {
  return !EqualsNoCase(stored.mcType, edited.mcType);
}

void CarryDriverState(const std::vector<MemoryUnit>& stored, std::vector<MemoryUnit>& edited) {
  for (size_t i = 0; i < edited.size(); ++i) {
    MemoryUnit& unit = edited[i];
    const bool same = i < stored.size() && stored[i].driverPath == unit.driverPath &&
                      stored[i].driverBufferAddress == unit.driverBufferAddress;
    // Claiming a resident driver that is not there would call into whatever is at its
    // entry; forgetting one only costs loading it again.
    unit.driverLoaded = same && stored[i].driverLoaded;
    unit.driverEntry = same ? stored[i].driverEntry : 0;
  }
}

bool ApplyTargetConfiguration(Session& session, TargetConfiguration edited) {
  TargetConfiguration& stored = session.settings.target;
  const bool typeChanged = ControllerTypeChanged(stored, edited);
  CarryDriverState(stored.units, edited.units);
  stored = std::move(edited);
  if (typeChanged) LoadCurrentRegisterFile(session);
  CheckSfr(session.link());
  session.frontend().RequestRefresh(Change::All(RefreshTarget::FeatureButtons));
  return typeChanged;
}

}  // namespace velmora
