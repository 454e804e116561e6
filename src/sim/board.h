// The virtual board: a model of a Korda controller at the other end of the serial line.
//
// It answers the bootstrap sequence (zero byte, identification byte, loader, monitor
// core), then serves the monitor commands on a sparse 16 MB memory whose registers sit
// where the controller type's definitions put them. Tests and the velmora-board program
// drive it byte by byte and can make the target program talk, return or stop at a break,
// and arm faults on the line.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <span>
#include <vector>

#include "core/memory_image.h"
#include "sim/board_config.h"
#include "sim/board_faults.h"
#include "sim/cpu/cpu.h"
#include "sim/cpu/image_bus.h"
#include "sim/flash_model.h"
#include "sim/instruction_trace.h"
#include "sim/program_run.h"
#include "sim/target_machine.h"

namespace velmora {

// A routine the target can call: gets R8..R15 and the board, returns R8..R15.
struct BoardRoutine {
  std::function<BoardRegisters(const BoardRegisters&, class Board&)> run;
  std::chrono::milliseconds duration{0};
};

class Board {
 public:
  enum class Mode {
    Bootstrap,     // waiting for the zero byte
    Loader,        // the bootstrap loader takes the loader bytes
    MonitorLoad,   // the loader takes the monitor core
    Monitor,       // the monitor serves commands
    Running,       // a started program runs; the monitor does not listen
    Asc1Pending,   // the monitor waits for the zero byte on its second channel
  };

  struct OutByte {
    uint8_t value;
    std::chrono::milliseconds delay;  // extra time before the byte, beyond the line time
  };

  explicit Board(BoardConfig config);

  // A byte from the host.
  void Receive(uint8_t byte);
  // What the board has sent since the last call.
  std::vector<OutByte> TakeOutput();

  Mode mode() const { return mode_; }
  MemoryImage& memory() { return memory_; }
  const BoardConfig& config() const { return config_; }
  BoardFaults& faults() { return faults_; }
  FlashModel& flash() { return flash_; }
  // Every byte the host has sent while the record was on, in order, for tests that check
  // the wire. The record is off unless a test asks for it: a board that serves all day
  // must not keep every byte it was sent.
  void RecordReceived(bool on) { recording_ = on; }
  const std::vector<uint8_t>& received() const { return received_; }
  // How many bytes the host has sent, recorded or not.
  uint64_t ReceivedCount() const { return receivedCount_; }
  const std::vector<uint8_t>& loaderBytes() const { return loader_; }
  const std::vector<uint8_t>& monitorBytes() const { return monitor_; }
  int32_t monitorAddress() const { return monitorAddress_; }

  // Sizes of what the board keeps between bytes, so that a check can see that serving
  // connection after connection does not make it grow.
  struct Footprint {
    size_t wireRecord;
    size_t pendingOutput;
    size_t collected;
    size_t loader;
    size_t monitor;
    size_t routines;
    size_t armedFaults;
    int memorySegments;
    friend bool operator==(const Footprint&, const Footprint&) = default;
  };
  Footprint footprint() const;

  uint16_t ReadWord(int32_t address);
  void WriteWord(int32_t address, uint16_t value);

  // The user presses reset with the bootstrap pin held: the board waits for a zero byte.
  void ResetToBootstrap();
  // The started program prints something on the line.
  void EmitFromProgram(std::span<const uint8_t> bytes);
  // The started program returns to the monitor, which says so with A_ACK2.
  void ReturnToMonitor();
  // The program runs into a break at address: the monitor's entry pushes CSP and IP (of
  // the instruction after the 4-byte break) and sends A_APPLICATION_STARTED.
  void HitBreak(int32_t address);
  // A stand-in for the code at address: tests that need a routine of a given duration or
  // result without writing it in target code.
  void SetRoutine(int32_t address, BoardRoutine routine) { routines_[address] = std::move(routine); }
  // Every instruction the processor runs is written to out (nullptr: none).
  void SetTrace(std::ostream* out);
  // The processor, if the board has the instruction set.
  Cpu* processor() { return cpu_; }
  // The whole controller (memory map, devices, serial channel), if the board has its type's
  // definitions.
  TargetMachine* machine() { return machine_.get(); }
  // Time has passed on the line: a program that was started runs on for as long.
  void Advance(std::chrono::microseconds elapsed);
  // True while a started program runs on the processor.
  bool programRunning() const { return programRunning_; }

 private:
  using Handler = std::function<void(std::span<const uint8_t>)>;

  void send(uint8_t byte, std::chrono::milliseconds delay = std::chrono::milliseconds(0));
  // Collects the next n bytes, then calls then with them.
  void expect(size_t n, Handler then);
  void command(uint8_t byte);
  void resetRegisters();
  static int32_t address(std::span<const uint8_t> bytes, size_t at);
  static uint16_t word(std::span<const uint8_t> bytes, size_t at);

  // A write through the monitor: flash cells ignore it.
  void store(int32_t address, std::span<const uint8_t> bytes);
  void writeBlock(std::span<const uint8_t> header);
  void readBlock(std::span<const uint8_t> header);
  void call(std::span<const uint8_t> parameters);
  void go(std::span<const uint8_t> parameters);
  bool isMonitorCopyAt(int32_t address);
  // Code on the processor: the core registers come from the memory the monitor serves and
  // go back there afterwards.
  RunOutcome runCode(int32_t start, bool asCall, uint64_t stepLimit);
  RunTrace runTrace();
  // Runs the started program on; when it comes back to the monitor, the monitor says so.
  void followProgram(uint64_t stepLimit);
  // What the program's serial channel sent, onto the line.
  void forwardProgramOutput();
  void writeBank(const BoardRegisters& registers);
  void loadCoreRegisters();
  void storeCoreRegisters();
  std::chrono::milliseconds boardTime(uint64_t cycles) const;

  BoardConfig config_;
  MemoryImage memory_;
  BoardFaults faults_;
  FlashModel flash_;
  Mode mode_ = Mode::Bootstrap;
  std::deque<OutByte> output_;
  std::vector<uint8_t> received_;
  bool recording_ = false;
  uint64_t receivedCount_ = 0;
  std::vector<uint8_t> loader_;
  std::vector<uint8_t> monitor_;
  int32_t monitorAddress_;
  uint8_t lastChecksum_ = 0;
  size_t needed_ = 0;
  std::vector<uint8_t> collected_;
  Handler then_;
  std::map<int32_t, BoardRoutine> routines_;
  // With the type's definitions the processor is the whole controller's; without them a
  // processor on the plain memory, where every address is RAM.
  std::unique_ptr<TargetMachine> machine_;
  ImageBus bus_{memory_};
  std::unique_ptr<Cpu> plainCpu_;
  Cpu* cpu_ = nullptr;
  std::unique_ptr<InstructionTrace> trace_;
  bool programRunning_ = false;
  uint64_t lastOutputCycle_ = 0;
};

}  // namespace velmora
