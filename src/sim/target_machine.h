// A Korda controller on a board, as target code sees it: the processor on a bus laid out by
// the type's memory and register definitions, the flash chips as devices, the first serial
// channel with its interrupt requests, the identification registers and the bootstrap ROM,
// all on one virtual clock. A second serial channel, where the type has one, hangs on the
// same line. The host's bytes arrive as frames on the receive pin at the
// host's baud rate; what the channel transmits is collected with the cycle it left the pin.
//
// Nothing here is a stand-in for target code: after the zero byte the ROM takes 32 bytes to
// 00FA40 and starts them, and from then on the processor runs whatever it was given.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <vector>

#include "config/memory_unit.h"
#include "core/memory_image.h"
#include "disasm/opcode_table.h"
#include "formats/register_table.h"
#include "sim/cpu/cpu.h"
#include "sim/devices/board_bus.h"
#include "sim/devices/bootstrap_rom.h"
#include "sim/devices/identification_registers.h"
#include "sim/devices/serial_channel.h"
#include "sim/devices/virtual_clock.h"
#include "sim/instruction_trace.h"

namespace velmora {

struct TargetMachineSetup {
  std::vector<MemoryUnit> units;
  std::shared_ptr<const RegisterTable> registers;
  std::shared_ptr<const OpcodeTable> opcodes;
  std::vector<int32_t> ids;  // the type database's ID= values: the bootstrap byte first
  uint32_t cpuHz = 20'000'000;
  bool kline = false;  // one wire: the target's receiver hears what it sends
};

// The trap numbers of the first serial channel's interrupts.
namespace serial_traps {
inline constexpr uint8_t kTransmit = 0x2A;
inline constexpr uint8_t kReceive = 0x2B;
inline constexpr uint8_t kError = 0x2C;
inline constexpr uint8_t kBufferEmpty = 0x47;
}  // namespace serial_traps

// RAM the board gives the monitor where the type's own memories leave E00000..E0FFFF
// empty (the first-generation types have no on-chip RAM there): a board for the default
// monitor area has external RAM at its address.
inline constexpr int32_t kBoardRamStart = 0xE00000;
inline constexpr int32_t kBoardRamLength = 0x10000;

class TargetMachine {
 public:
  struct SentByte {
    uint8_t value;
    uint64_t cycle;  // when its stop bit ended
  };

  // The memory is the board's: RAM and flash cells live there, so whoever holds the image
  // sees what the target holds. Null when the setup lacks the serial channel's registers.
  static std::unique_ptr<TargetMachine> Make(TargetMachineSetup setup, MemoryImage& memory);

  // Power-on with the bootstrap pin held: the processor waits in the ROM for a zero byte.
  void ResetToBootstrap();
  // Bytes from the host, sent back to back at baud after whatever is still on the wire.
  void HostSends(std::span<const uint8_t> bytes, uint32_t baud);
  // Runs processor, devices and line for this many clock cycles.
  void Run(uint64_t cycles);
  // Runs until the target has sent count bytes in all (since the last TakeSent) or
  // maxCycles have passed; false on the time limit.
  bool RunUntilSent(size_t count, uint64_t maxCycles);
  std::vector<SentByte> TakeSent();
  // The cycle at which the last host byte queued so far reaches the target.
  uint64_t HostLineFreeAt() const { return hostLineFree_; }
  // True once the ROM has started the loaded code, or code was started with Jump.
  bool started() const { return running_; }
  // Starts the processor at address, as if the ROM had jumped there.
  void Jump(int32_t address);
  // One step of the processor, with the line and the devices brought up to its time.
  StepResult Step();
  // A byte from the host that has arrived just now.
  void ReceiveNow(uint8_t byte);
  // Runs until the target waits for the host (see waiting()) or maxSteps steps have run;
  // true when it waits. It takes at least one step: the caller may have changed what the
  // processor polls.
  bool RunUntilWaiting(uint64_t maxSteps);
  // The target can do nothing until the host sends: the processor spins on one instruction
  // (a flag poll) or idles, no host byte is on its way and the channel has nothing on the
  // pin. Held in the bootstrap ROM, it waits whenever no host byte is on its way.
  bool waiting() const;

  // Code the test bench stands in for: when the processor reaches address, hook runs
  // instead (it may read and set the registers), the time it returns passes, and a far
  // return (RETS) takes the processor back to its caller.
  using CodeHook = std::function<uint64_t(Cpu&)>;
  void SetCodeHook(int32_t address, CodeHook hook) { codeHooks_[address] = std::move(hook); }
  size_t codeHookCount() const { return codeHooks_.size(); }

  Cpu& cpu() { return cpu_; }
  BoardBus& bus() { return bus_; }
  MemoryImage& memory() { return memory_; }
  SerialChannel& serial() { return channel_; }
  // The second channel where the type has one (S1CON...), else null.
  SerialChannel* secondSerial() { return second_.get(); }
  // A board that adds a second channel at these registers; null when one is outside the
  // register areas.
  SerialChannel* AttachSecondChannel(SerialRegisters registers);
  const VirtualClock& clock() const { return clock_; }
  uint64_t now() const { return clock_.cycles; }
  // Every instruction the processor runs is written to out (nullptr: none).
  void SetTrace(std::ostream* out);

 private:
  struct LineByte {
    uint8_t value;
    uint64_t arrival;
    uint32_t baud;
  };

  TargetMachine(TargetMachineSetup setup, MemoryImage& memory, SerialRegisters serial);
  void layOut();
  // Delivers the host bytes whose frames have ended by now.
  void deliverDue();
  // Steps the processor once, or lets time pass to the next event while it cannot run.
  void advance(uint64_t until);
  uint64_t nextEvent() const;
  // Sends what is due on either channel.
  void updateChannels();
  // A code hook stands in for the routine at the processor's address.
  StepResult runHook(const CodeHook& hook);

  TargetMachineSetup setup_;
  MemoryImage& memory_;
  VirtualClock clock_;
  BoardBus bus_;
  Cpu cpu_;
  SerialChannel channel_;
  // The board wires the host's line to the second channel too, as if the user had moved
  // the cable when the monitor switched over: a receiver that is off drops the frames, so
  // each channel hears the host only while its code listens. Polled only: its interrupt
  // requests are not wired.
  std::unique_ptr<SerialChannel> second_;
  std::unique_ptr<BootstrapRom> rom_;
  IdentificationRegisters identification_;
  std::vector<std::unique_ptr<BusDevice>> flash_;
  std::deque<LineByte> hostLine_;
  uint64_t hostLineFree_ = 0;
  // Cycles that passed while the processor did not run (held in the ROM): the clock is the
  // processor's count plus these.
  uint64_t heldCycles_ = 0;
  bool running_ = false;
  // The last step left the processor where it was (a poll of a flag on itself) or idle:
  // until the next event on the line nothing changes, and time may jump there.
  bool spinning_ = false;
  std::map<int32_t, CodeHook> codeHooks_;
  std::vector<SentByte> sent_;
  std::unique_ptr<InstructionTrace> trace_;
};

}  // namespace velmora
