// The Korda 16-bit processor: core registers, the instruction set as the opcode table
// describes it, hardware traps and the interrupt controller's priority rules. Memory and
// the peripherals' registers are behind a Bus; the processor answers its own core
// registers. Time is counted in CPU clock cycles and advances only in Step.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "disasm/opcode_table.h"
#include "sim/cpu/bus.h"
#include "sim/cpu/core_registers.h"
#include "sim/cpu/cycle_table.h"
#include "sim/cpu/predecoded_table.h"

namespace velmora {

struct InterruptSource {
  int32_t controlRegister;  // physical address of the xxIC register
  uint8_t trapNumber;       // vector at trapNumber * 4 in segment 0
};

enum class StepKind {
  kExecuted,
  kIdle,
  kSoftwareReset,
  kEndOfInit,
  kTrapEntered,
  kInterruptEntered
};

struct StepResult {
  StepKind kind;
  int cycles;
};

// The watchdog is a peripheral of the board; the processor tells it what the program asked.
enum class WatchdogRequest { kService, kDisable };

// The core registers as a trace or a register window shows them.
struct CoreRegisters {
  std::array<uint16_t, 4> dpp{};
  uint16_t csp = 0, ip = 0, mdh = 0, mdl = 0, cp = 0, sp = 0, stkov = 0, stkun = 0;
  uint16_t mdc = 0, psw = 0, syscon = 0, tfr = 0;
};

class Cpu {
 public:
  Cpu(Bus& bus, const OpcodeTable& opcodes);

  void Reset();  // reset values of the core registers, CSP:IP = 0
  // One instruction, or the entry of a pending hardware trap or interrupt; while idle,
  // kIdleCycles of waiting. kTrapEntered is for hardware traps: the TRAP instruction is an
  // ordinary kExecuted step.
  StepResult Step();
  uint64_t cycles() const { return cycles_; }
  int32_t Ip() const { return (static_cast<int32_t>(reg(kCspSlot) & 0xFF) << 16) | ip_; }
  void Jump(int32_t address);
  uint16_t Gpr(int n) const;
  void SetGpr(int n, uint16_t value);
  uint16_t PeekWord(int32_t address);
  void PokeWord(int32_t address, uint16_t value);
  void SetInterruptSources(std::vector<InterruptSource> sources);
  void NoteInterruptRequest() { interruptCheck_ = true; }
  // The non-maskable interrupt input went active: trap 2 before the next instruction.
  void RequestNmi() { requestTrap(core::kTfrNmi); }
  bool idle() const { return idle_ || poweredDown_; }

  CoreRegisters Registers() const;
  uint16_t Psw() const { return reg(kPswSlot); }
  void SetPsw(uint16_t value) {
    setReg(kPswSlot, value);
    interruptCheck_ = true;
  }
  bool initDone() const { return initDone_; }
  // Called for SRVWDT, and for DISWDT before EINIT.
  void SetWatchdogHook(std::function<void(WatchdogRequest)> hook) { watchdog_ = std::move(hook); }

 private:
  // Core registers live in an array over the addresses FE00..FFFE, one word per slot.
  static int slotOf(int32_t address) { return core::coreSlotOf(address); }
  static constexpr int kCspSlot = core::coreSlotOf(0xFE08);
  static constexpr int kMdhSlot = core::coreSlotOf(0xFE0C);
  static constexpr int kMdlSlot = core::coreSlotOf(0xFE0E);
  static constexpr int kCpSlot = core::coreSlotOf(0xFE10);
  static constexpr int kSpSlot = core::coreSlotOf(0xFE12);
  static constexpr int kStkovSlot = core::coreSlotOf(0xFE14);
  static constexpr int kStkunSlot = core::coreSlotOf(0xFE16);
  static constexpr int kMdcSlot = core::coreSlotOf(0xFF0E);
  static constexpr int kPswSlot = core::coreSlotOf(0xFF10);
  static constexpr int kSysconSlot = core::coreSlotOf(0xFF12);
  static constexpr int kZerosSlot = core::coreSlotOf(0xFF1C);
  static constexpr int kOnesSlot = core::coreSlotOf(0xFF1E);
  static constexpr int kTfrSlot = core::coreSlotOf(0xFFAC);

  // Where an operand lives: a physical address, or an immediate value.
  struct Location {
    int32_t address = 0;
    uint16_t immediate = 0;
    bool isImmediate = false;
    bool isByte = false;
  };
  enum class Paging : uint8_t { kDpp, kPage, kSegment };

  uint16_t reg(int slot) const { return core_[static_cast<size_t>(slot)]; }
  void setReg(int slot, uint16_t value) { core_[static_cast<size_t>(slot)] = value; }
  void writeCore(int slot, uint16_t value);
  void setFlags(uint16_t psw) { core_[static_cast<size_t>(kPswSlot)] = psw; }
  bool segmented() const { return (reg(kSysconSlot) & 0x0800) == 0; }

  // Memory as the program sees it (operand_access.cpp).
  static bool isCoreAddress(int32_t address) { return (address & 0xFFFE00) == 0xFE00; }
  // The interrupt control registers sit in the upper SFR and ESFR pages; a program that
  // sets an IR bit there itself requests an interrupt without a peripheral noticing.
  static bool mayHoldInterruptControl(int32_t address) {
    return (address & 0xFFFF00) == 0xFF00 || (address & 0xFFFF00) == 0xF100;
  }
  bool isCoreSlot(int32_t address) const {
    return isCoreAddress(address) && coreSlot_[static_cast<size_t>((address >> 1) & 0xFF)];
  }
  uint16_t readWord(int32_t address);
  void writeWord(int32_t address, uint16_t value);
  uint8_t readByte(int32_t address);
  void writeByte(int32_t address, uint8_t value);
  int32_t gprAddress(uint32_t n) const { return (reg(kCpSlot) + 2 * (n & 15)) & 0xFFFE; }
  int32_t byteGprAddress(uint32_t n) const { return (reg(kCpSlot) + (n & 15)) & 0xFFFF; }
  uint16_t gpr(uint32_t n) { return bus_.ReadWord(gprAddress(n)); }
  void setGpr(uint32_t n, uint16_t value) { bus_.WriteWord(gprAddress(n), value); }
  int32_t dataAddress(uint32_t address) const;
  int32_t regAddress(uint32_t n, bool byte) const;
  int32_t bitoffAddress(uint32_t n) const;
  Location locate(const PredecodedOperand& operand, uint64_t code);
  uint16_t load(const Location& at);
  void store(const Location& at, uint16_t value);
  void push(uint16_t value);
  uint16_t pop();
  void pushUnchecked(uint16_t value);

  // Instruction classes (execute_*.cpp).
  void executeData(const Predecoded& p, uint64_t code);
  void executeMultiply(const Predecoded& p, uint64_t code);
  void executeBit(const Predecoded& p, uint64_t code);
  void executeFlow(const Predecoded& p, uint64_t code);
  StepKind executeSystem(const Predecoded& p, uint64_t code);
  void branch(uint16_t ip) {
    ip_ = ip;
    stepCycles_ += kTakenBranchCycles;
  }
  void branchFar(uint8_t segment, uint16_t ip);
  bool condition(uint32_t cc) const;

  // Traps and interrupts (traps_and_interrupts.cpp).
  void requestTrap(uint16_t tfrBit) {
    setReg(kTfrSlot, static_cast<uint16_t>(reg(kTfrSlot) | tfrBit));
    pendingTraps_ = static_cast<uint16_t>(pendingTraps_ | tfrBit);
  }
  StepResult enterPendingTrap();
  void enter(uint8_t trapNumber, int level);
  const InterruptSource* pendingInterrupt(bool& anyRequest);
  bool interruptsBlocked() const { return prefixRemaining_ > 0 || shield_; }

  Bus& bus_;
  PredecodedTable table_;
  std::array<uint16_t, 256> core_{};
  std::array<bool, 256> coreSlot_{};
  uint16_t ip_ = 0;
  uint64_t cycles_ = 0;
  int stepCycles_ = 0;

  // Prefix state: the count of instructions still under EXT*/ATOMIC, how they page data
  // and whether short addresses reach the extended registers.
  int prefixRemaining_ = 0;
  bool prefixStarted_ = false;
  Paging paging_ = Paging::kDpp;
  uint16_t pagingValue_ = 0;
  bool extr_ = false;

  // A [Rw+] operand moves its register after the instruction's own writes.
  int postIncrementRegister_ = -1;
  uint16_t postIncrementBy_ = 0;

  std::vector<InterruptSource> sources_;
  bool interruptCheck_ = false;
  bool shield_ = false;        // the last instruction wrote a register interrupts must wait for
  bool shieldNext_ = false;    // set while an instruction runs
  uint16_t pendingTraps_ = 0;  // TFR bits whose trap has not been entered yet
  bool idle_ = false;
  bool poweredDown_ = false;
  bool initDone_ = false;
  std::function<void(WatchdogRequest)> watchdog_;
};

}  // namespace velmora
