// The port and baud rate given for one run (--port and --baud of the programs): in force
// from the start, never written into the default preferences at the end.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "config/communication_settings.h"

namespace velmora {

class OneRunSettings {
 public:
  // Puts the given values (an empty port or a baud rate of 0 means none) over the
  // settings read from the file, remembering what they replaced.
  void Apply(CommunicationSettings& com, const std::string& port, int32_t baud);
  // The settings to save: a value still as the run was given it goes back to the one the
  // file had; a value changed during the run is saved as it is now.
  CommunicationSettings ToSave(const CommunicationSettings& current) const;

 private:
  std::optional<CommunicationSettings> fromFile_;
  std::optional<std::string> givenPort_;
  std::optional<int32_t> givenBaud_;
};

}  // namespace velmora
