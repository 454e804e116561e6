// Taking over a target configuration that the configuration dialog edited: the record,
// the register definitions of a new controller type, and the views that follow both.
#pragma once

#include "config/target_configuration.h"

namespace velmora {

class Session;

// Whether the edited controller type differs from the stored one (not minding case).
bool ControllerTypeChanged(const TargetConfiguration& stored, const TargetConfiguration& edited);

// The edited units with the run-time driver state of the stored ones: a unit keeps
// "driver resident" only where the same driver stays at the same place in the list.
void CarryDriverState(const std::vector<MemoryUnit>& stored, std::vector<MemoryUnit>& edited);

// Replaces the session's configuration. A changed type reads its register definitions;
// the shown register list drops names they do not know, and the flash buttons, the
// register list and the controller field are told. True when the type changed.
bool ApplyTargetConfiguration(Session& session, TargetConfiguration edited);

}  // namespace velmora
