#include "commands/flash_operations.h"

#include <algorithm>
#include <string>

#include "commands/block_walk.h"
#include "commands/transfers.h"
#include "core/frontend.h"
#include "core/hex_text.h"
#include "core/paths.h"
#include "formats/hex_reader.h"
#include "link/link.h"

namespace velmora {
namespace {

// The user's selections come back when the operation ends, whatever happened; the busy
// pointer shows while it runs.
class OperationScope {
 public:
  explicit OperationScope(Link& link) : link_(link) {
    link_.context().selections.SaveSelections();
    link_.context().frontend.SetBusy(true);
  }
  ~OperationScope() {
    link_.context().selections.RestoreSelections();
    link_.context().frontend.SetBusy(false);
  }
  OperationScope(const OperationScope&) = delete;
  OperationScope& operator=(const OperationScope&) = delete;

 private:
  Link& link_;
};

MemoryUnit& unitAt(Link& link, int index) {
  return link.context().settings.target.units[static_cast<size_t>(index)];
}

bool validUnit(Link& link, int index) {
  return index >= 0 && index < static_cast<int>(link.context().settings.target.units.size());
}

// Calls the resident driver; true when the monitor answered properly and R15 is 0.
bool callDriver(Link& link, const MemoryUnit& unit, CallRegisters& registers) {
  const int16_t status = link.monitor().Cmd_Call(unit.driverEntry, registers);
  return status == 0 && registers[7] == 0;
}

// Puts the password into the driver buffer, in the image and in the target.
void stagePassword(Link& link, const MemoryUnit& unit, std::span<const uint8_t> password) {
  MemoryImage& image = link.context().image;
  for (size_t i = 0; i < password.size(); ++i) {
    const int32_t at = unit.driverBufferAddress + static_cast<int32_t>(i);
    image.SetByte(at, password[i]);
    image.SetDefined(at, true);
  }
  if (password.empty()) return;
  const auto length = static_cast<int32_t>(password.size());
  link.context().frontend.RequestRefresh(
      Change::Memory(unit.driverBufferAddress, unit.driverBufferAddress + length - 1));
  link.monitor().Cmd_Write(unit.driverBufferAddress, length);
}

// The programming run's progress over the bytes the user's selections cover: those of
// the selections before the current one, and the current one's up to the next address.
class ProgramProgress {
 public:
  ProgramProgress(Frontend& frontend, const SelectionList& user)
      : frontend_(frontend), user_(user), total_(user.ByteCount()) {
    frontend_.ShowProgress({kOperation, 0, total_});
  }
  ~ProgramProgress() { frontend_.ShowProgress({kOperation, done_, total_}); }
  ProgramProgress(const ProgramProgress&) = delete;
  ProgramProgress& operator=(const ProgramProgress&) = delete;

  // The selections before `index` are done, and the one at `index` below `next`.
  void Reached(int index, int64_t next) {
    int64_t done = 0;
    for (int i = 0; i < index; ++i) done += selectionBytes(user_.At(i));
    const Selection s = user_.At(index);
    done += std::clamp<int64_t>(next - s.start, 0, selectionBytes(s));
    done_ = std::max(done_, done);
    frontend_.ShowProgress({kOperation, done_, total_});
  }

 private:
  static constexpr std::string_view kOperation = "Program";
  static int64_t selectionBytes(const Selection& s) {
    return s.end < s.start ? 0 : int64_t{s.end} - s.start + 1;
  }

  Frontend& frontend_;
  const SelectionList& user_;
  int64_t total_;
  int64_t done_ = 0;
};

struct SimpleOperation {
  std::string_view loadingText;
  std::string_view failureLine;
};

constexpr SimpleOperation kEraseOperation{"*Erase: loading driver ", "*ERROR: Erase not successful"};

// The shape shared by erase, lock, unlock, protect, unprotect and status.
int16_t runDriverOperation(Link& link, int unitIndex, const SimpleOperation& operation,
                           CallRegisters& registers, std::span<const uint8_t> password,
                           bool stage, const std::string& successLine) {
  if (link.state() != TargetState::Ready) return 0;
  if (!validUnit(link, unitIndex)) return flash_status::kNoDriver;
  OperationScope scope(link);
  if (EnsureDriver(link, unitIndex, operation.loadingText) != 0) return flash_status::kNoDriver;
  const MemoryUnit& unit = unitAt(link, unitIndex);
  if (stage) stagePassword(link, unit, password);
  if (!callDriver(link, unit, registers)) {
    link.context().log.WriteLine(operation.failureLine);
    return flash_status::kCallFailed;
  }
  link.context().log.WriteLine(successLine);
  return flash_status::kOk;
}

int32_t low(int32_t address) { return address & 0xFFFF; }

// Unlock and unprotect hand the buffer's upper part over as the address / 1000 hex.
CallRegisters passwordRegisters(int32_t function, const MemoryUnit& unit, size_t length, int32_t sector) {
  return {function, static_cast<int32_t>(length), low(unit.driverBufferAddress),
          (unit.driverBufferAddress / 0x1000) & 0xFFFF, 0, 0, sector, 0};
}

}  // namespace

int FindMemoryUnit(const std::vector<MemoryUnit>& units, std::string_view name) {
  for (size_t i = 0; i < units.size(); ++i) {
    if (EqualsNoCase(units[i].name, name)) return static_cast<int>(i);
  }
  return -1;
}

int16_t EnsureDriver(Link& link, int unitIndex, std::string_view loadingText) {
  if (!validUnit(link, unitIndex)) return flash_status::kNoDriver;
  auto& context = link.context();
  MemoryUnit& unit = unitAt(link, unitIndex);
  if (unit.driverLoaded) return flash_status::kOk;
  if (unit.driverPath.empty()) {
    context.log.WriteLine("*ERROR: Memory unit " + unit.name + " has no driver");
    return flash_status::kNoDriver;
  }
  context.log.WriteLine(loadingText);
  context.log.WriteLine(std::string(loadingText) + unit.driverPath);
  const auto path = ResolveStoredPath(context.programFolder, unit.driverPath);
  HexRead(path.string(), context.image, context.selections, context.log);
  if (context.selections.Count() == 0) return flash_status::kNoDriver;
  if (DownloadSelections(link) != 0) return flash_status::kNoDriver;
  link.ForgetDrivers();
  unit.driverLoaded = true;
  unit.driverEntry = context.selections.At(0).start;
  // The driver's file was read over its ranges; the blocks announced themselves as they
  // went, its selections were not shown before.
  context.frontend.RequestRefresh(Change::Memory(context.selections.LowestSelectionStart(),
                                                 context.selections.HighestSelectionEnd()));
  return flash_status::kOk;
}

int16_t EraseSector(Link& link, int unit, int sector) {
  CallRegisters registers = {driver_function::kErase, 0, 0, 0, 0, 0, sector, 0};
  const std::string name = validUnit(link, unit) ? unitAt(link, unit).name : "";
  return runDriverOperation(link, unit, kEraseOperation, registers, {}, false,
                            "*Erase: Sector " + std::to_string(sector) + " in " + name + " successfully erased");
}

int16_t LockSector(Link& link, int unit, int sector) {
  CallRegisters registers = {driver_function::kLock, 0, 0, 0, 0, 0, sector, 0};
  const std::string name = validUnit(link, unit) ? unitAt(link, unit).name : "";
  return runDriverOperation(link, unit, {kEraseOperation.loadingText, "*ERROR: Lock not successful"},
                            registers, {}, false,
                            "*Lock: Sector " + std::to_string(sector) + " in " + name + " successfully locked");
}

int16_t UnlockSector(Link& link, int unit, int sector, std::span<const uint8_t> password) {
  if (!validUnit(link, unit)) return link.state() == TargetState::Ready ? flash_status::kNoDriver : 0;
  CallRegisters registers = passwordRegisters(driver_function::kUnlock, unitAt(link, unit), password.size(), sector);
  return runDriverOperation(link, unit, {kEraseOperation.loadingText, "*ERROR: Unlock not successful"},
                            registers, password, true,
                            "*Unlock: Sector " + std::to_string(sector) + " in " + unitAt(link, unit).name +
                                " successfully unlocked");
}

int16_t ProtectUnit(Link& link, int unit) {
  CallRegisters registers = {driver_function::kProtect, 0, 0, 0, 0, 0, 0, 0};
  const std::string name = validUnit(link, unit) ? unitAt(link, unit).name : "";
  return runDriverOperation(link, unit, {kEraseOperation.loadingText, "*ERROR: Protect not successful"},
                            registers, {}, false, "*Protect: " + name + " successfully protected");
}

int16_t UnprotectUnit(Link& link, int unit, std::span<const uint8_t> password) {
  if (!validUnit(link, unit)) return link.state() == TargetState::Ready ? flash_status::kNoDriver : 0;
  CallRegisters registers = passwordRegisters(driver_function::kUnprotect, unitAt(link, unit), password.size(), 0);
  return runDriverOperation(link, unit, {kEraseOperation.loadingText, "*ERROR: Unprotect not successful"},
                            registers, password, true,
                            "*Unprotect: " + unitAt(link, unit).name + " successfully unprotected");
}

int16_t ReadStatusWord(Link& link, int unit, int word, CallRegisters& registers) {
  registers = {driver_function::kStatus, 0, 0, 0, 0, 0, word, 0};
  const std::string name = validUnit(link, unit) ? unitAt(link, unit).name : "";
  return runDriverOperation(link, unit, {"*Status: loading driver ", "*ERROR: Read Status not successful"},
                            registers, {}, false,
                            "*Status: Statusword " + std::to_string(word) + " in " + name + " read");
}

int16_t ProgramSelections(Link& link, bool intelligent) {
  if (link.state() != TargetState::Ready) return 0;
  auto& context = link.context();
  OperationScope scope(link);
  const SelectionList user = context.selections;  // loading a driver replaces the list
  ProgramProgress progress(context.frontend, user);
  auto& units = context.settings.target.units;
  int64_t total = 0;
  MemoryLocation lastErased;
  for (int i = 0; i < user.Count(); ++i) {
    const Selection s = user.At(i);
    int64_t a = s.start;
    while (a <= s.end) {
      MemoryLocation at = FindMemoryRegion(units, static_cast<int32_t>(a));
      if (!at.Found()) {
        ++a;
        continue;
      }
      if (EnsureDriver(link, at.unit, "*Program: loading driver ") != 0) return flash_status::kNoDriver;
      const MemoryUnit& unit = units[static_cast<size_t>(at.unit)];
      const int32_t burst = std::max(unit.burstSize, 1);
      if (a % burst != 0) {
        a -= a % burst;
        if (i > 0 && a <= user.At(i - 1).end) a += burst;
        // The previous selection's last burst may already have covered all of this one.
        if (a > s.end) break;
        const MemoryLocation aligned = FindMemoryRegion(units, static_cast<int32_t>(a));
        if (aligned.unit == at.unit) at = aligned;
      }
      if (intelligent && !(at.unit == lastErased.unit && at.section == lastErased.section) &&
          unit.HasFeature("ERASE")) {
        context.log.WriteLine("*Program: Erasing sector " + std::to_string(at.section));
        CallRegisters erase = {driver_function::kErase, 0, 0, 0, 0, 0, at.section, 0};
        if (!callDriver(link, unit, erase)) {
          context.log.WriteLine("*ERROR: Erase not successful");
          return flash_status::kCallFailed;
        }
        lastErased = at;
      }
      for (int32_t k = 0; k < burst; ++k) {
        const int32_t source = static_cast<int32_t>(a) + k;
        const uint8_t value = user.InSelection(source) ? context.image.GetByte(source)
                                                       : static_cast<uint8_t>(unit.blank);
        context.image.SetByte(unit.driverBufferAddress + k, value);
        context.image.SetDefined(unit.driverBufferAddress + k, true);
      }
      context.frontend.RequestRefresh(
          Change::Memory(unit.driverBufferAddress, unit.driverBufferAddress + burst - 1));
      const int16_t written = link.monitor().Cmd_Write(unit.driverBufferAddress, burst);
      CallRegisters program = {driver_function::kProgram, burst, low(unit.driverBufferAddress),
                               (unit.driverBufferAddress >> 16) & 0xFFFF, 0,
                               low(static_cast<int32_t>(a)), static_cast<int32_t>(a >> 16) & 0xFFFF, 0};
      const int16_t called = link.monitor().Cmd_Call(unit.driverEntry, program);
      const int32_t r15 = link.registerAccess().cmd_readgpr(15);
      if (written != 0 || called != 0 || r15 != 0) {
        context.log.WriteLine("*ERROR: Program not successful");
        return flash_status::kCallFailed;
      }
      a += burst;
      progress.Reached(i, a);
      const int64_t before = total;
      total += burst;
      if (total / 1024 > before / 1024) {
        context.log.WriteLine("*Program: " + SignedDecimal(total) + " bytes programmed ");
      }
    }
  }
  context.log.WriteLine("*Program:" + SignedDecimal(total) + " bytes successfully programmed");
  return flash_status::kOk;
}

int16_t CallRoutine(Link& link, int32_t address, CallRegisters& registers) {
  auto& log = link.context().log;
  link.SetState(TargetState::DriverRunning);
  if (link.monitor().Cmd_Call(address, registers) != 0) {
    log.WriteLine("*ERROR: Wrong acknowledge received");
    link.SetState(TargetState::NotConnected);
    return flash_status::kCallFailed;
  }
  log.WriteLine("*Driver successfully executed");
  log.WriteLine("*Return Parameters:");
  for (size_t k = 0; k < registers.size(); ++k) {
    log.WriteLine("  R" + std::to_string(8 + k) + "=" + HexN(registers[k] & 0xFFFF, 4));
  }
  link.SetState(TargetState::Ready);
  return flash_status::kOk;
}

}  // namespace velmora
