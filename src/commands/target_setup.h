// What happens right after the monitor starts: the reset configuration read and shown,
// the configured registers written, EINIT; and the identification registers decoded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velmora {

class Link;

struct ResetConfiguration {
  int32_t resetConfig = 0;   // RSTCFG
  int32_t systemStatus = 0;  // SYSSTAT
  int32_t chipSelect0 = 0;   // FCONCS0
  int32_t testMode = 0;      // TSTMOD
  int32_t resetControl2 = 0; // RSTCON2
  int32_t memoryId = 0;      // IDMEM
};

// 0, or -1 .. -6 for the first register (RSTCFG, FCONCS0, TSTMOD, RSTCON2, SYSSTAT, IDMEM)
// that could not be read.
int16_t ReadResetConfig(Link& link, ResetConfiguration& record);
// The decoded lines of a stored record.
std::vector<std::string> ResetConfigLines(const ResetConfiguration& record);
void ShowResetConfig(Link& link, const ResetConfiguration& record);
// 0, or -100 when not connected.
int16_t InitializeTarget(Link& link);
// 0, -1 .. -5 for the last identification register that could not be read, -100.
int16_t ShowIdRegisters(Link& link);

// The decoded lines of the identification values.
struct IdentificationValues {
  int32_t manufacturer;  // IDMANUF
  int32_t chip;          // IDCHIP
  int32_t programming;   // IDPROG
  int32_t memory;        // IDMEM
  int32_t memory2;       // IDMEM2
};
std::vector<std::string> IdentificationLines(const IdentificationValues& values);

// After a connection: read and show the reset configuration, then initialise.
void AfterConnection(Link& link, ResetConfiguration& record);

}  // namespace velmora
