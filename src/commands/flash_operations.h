// Programming, erasing, locking and protecting memories through driver routines that run
// on the target, called through the monitor with their parameters in R8 to R15.
//
// Each operation loads the unit's driver into target RAM first unless it is the one
// resident there. The user's selections are the same afterwards, whatever the outcome.
// A driver reports its result in R15 (0 on success); a wrong acknowledge from the monitor
// or a non-zero R15 is a failure.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "config/memory_unit.h"
#include "link/monitor_protocol.h"

namespace velmora {

class Link;

namespace flash_status {
inline constexpr int16_t kOk = 0;
inline constexpr int16_t kCallFailed = -1;
inline constexpr int16_t kNoDriver = -2;
}  // namespace flash_status

// The driver functions, as R8 tells them.
namespace driver_function {
inline constexpr int32_t kProgram = 0x00;
inline constexpr int32_t kErase = 0x01;
inline constexpr int32_t kStatus = 0x06;
inline constexpr int32_t kLock = 0x10;
inline constexpr int32_t kUnlock = 0x11;
inline constexpr int32_t kProtect = 0x20;
inline constexpr int32_t kUnprotect = 0x21;
}  // namespace driver_function

// The unit of that name (any case), or -1.
int FindMemoryUnit(const std::vector<MemoryUnit>& units, std::string_view name);

// Loads the unit's driver unless it is resident; 0, or -2 when it could not be loaded.
int16_t EnsureDriver(Link& link, int unit, std::string_view loadingText);

// _program (intelligent false) and _iprogram (erases each section before its first burst).
int16_t ProgramSelections(Link& link, bool intelligent);
int16_t EraseSector(Link& link, int unit, int sector);
int16_t LockSector(Link& link, int unit, int sector);
int16_t UnlockSector(Link& link, int unit, int sector, std::span<const uint8_t> password);
int16_t ProtectUnit(Link& link, int unit);
int16_t UnprotectUnit(Link& link, int unit, std::span<const uint8_t> password);
// The driver's registers after reading status word `word` (the word itself in R8).
int16_t ReadStatusWord(Link& link, int unit, int word, CallRegisters& registers);
// _call: any routine in target memory, with up to eight register values.
int16_t CallRoutine(Link& link, int32_t address, CallRegisters& registers);

}  // namespace velmora
