// Speed of the processor simulator on a mixed instruction stream (moves, indirect loads
// with post-increment, arithmetic, logic, a shift, bit set and clear, a multiply, a
// compare-and-step loop, a call and a return), over a flat memory array, over the sparse
// memory image, and over the board's bus laid out for the default type (the bus the
// virtual board runs target code on). Prints instructions per second; fails nothing.
//
//   cpu_bench [--home DIR] [--steps N]
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench_support.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "disasm/opcode_table.h"
#include "sim/cpu/cpu.h"
#include "sim/cpu/image_bus.h"
#include "sim/devices/board_bus.h"
#include "sim/devices/board_layout.h"

namespace {

using namespace velmora;

// The whole 16 MB address space as one array: the fastest bus there can be.
class FlatBus final : public Bus {
 public:
  FlatBus() : bytes_(size_t{1} << 24, 0) {}
  uint8_t ReadByte(int32_t address) override { return bytes_[index(address)]; }
  void WriteByte(int32_t address, uint8_t value) override { bytes_[index(address)] = value; }
  uint16_t ReadWord(int32_t address) override {
    const size_t at = index(address) & ~size_t{1};
    return static_cast<uint16_t>(bytes_[at] | (bytes_[at + 1] << 8));
  }
  void WriteWord(int32_t address, uint16_t value) override {
    const size_t at = index(address) & ~size_t{1};
    bytes_[at] = static_cast<uint8_t>(value);
    bytes_[at + 1] = static_cast<uint8_t>(value >> 8);
  }

 private:
  static size_t index(int32_t address) { return static_cast<size_t>(address) & 0xFFFFFF; }
  std::vector<uint8_t> bytes_;
};

constexpr int32_t kProgramAt = 0x1000;

// The program, with its two relative branches and the call worked out here.
std::vector<uint8_t> mixedProgram() {
  std::vector<uint8_t> p = {
      0xE6, 0xF1, 0x00, 0x30,  // loop:  MOV  R1,#3000h
      0xE0, 0xA2,              //        MOV  R2,#10
      0x98, 0x31,              // inner: MOV  R3,[R1+]
      0x00, 0x43,              //        ADD  R4,R3
      0x50, 0x54,              //        XOR  R5,R4
      0x5C, 0x15,              //        SHL  R5,#1
      0x0F, 0x05,              //        BSET 05h.0
      0x0E, 0x05,              //        BCLR 05h.0
      0x0B, 0x45,              //        MUL  R4,R5
      0xA0, 0x12,              //        CMPD1 R2,#1
      0x3D, 0x00,              //        JMPR cc_NZ,inner
      0xBB, 0x00,              //        CALLR sub
      0x0D, 0x00,              //        JMPR cc_UC,loop
      0xF6, 0xF4, 0x00, 0x31,  // sub:   MOV  3100h,R4
      0xCB, 0x00,              //        RET
  };
  auto rel = [&p](size_t at, size_t target) {
    p[at + 1] = static_cast<uint8_t>((static_cast<int>(target) - static_cast<int>(at + 2)) / 2);
  };
  rel(22, 6);
  rel(24, 28);
  rel(26, 0);
  return p;
}

void load(Bus& bus, const std::vector<uint8_t>& program) {
  for (size_t i = 0; i < program.size(); ++i) {
    bus.WriteByte(kProgramAt + static_cast<int32_t>(i), program[i]);
  }
  for (int32_t i = 0; i < 32; ++i) bus.WriteWord(0x3000 + 2 * i, static_cast<uint16_t>(i * 37));
}

void run(const char* name, Bus& bus, const OpcodeTable& opcodes, long steps) {
  load(bus, mixedProgram());
  Cpu cpu(bus, opcodes);
  cpu.Jump(kProgramAt);
  long executed = 0;
  const auto start = std::chrono::steady_clock::now();
  for (long i = 0; i < steps; ++i) {
    if (cpu.Step().kind == StepKind::kExecuted) ++executed;
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("%-12s %ld instructions in %.3f s: %.1f million instructions/s, %.1f cycles each\n",
              name, executed, seconds, executed / seconds / 1e6,
              static_cast<double>(cpu.cycles()) / static_cast<double>(executed));
  if (executed != steps)
    std::printf("%-12s %ld steps were not plain instructions\n", name, steps - executed);
}

}  // namespace

int main(int argc, char** argv) {
  std::string homeOption;
  long steps = 50'000'000;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--home") == 0 && i + 1 < argc) {
      homeOption = argv[++i];
    } else if (std::strcmp(argv[i], "--steps") == 0 && i + 1 < argc) {
      steps = std::max(1L, std::atol(argv[++i]));
    }
  }
  const auto home = velmora::bench::ProgramFolder(homeOption, argv[0]);
  velmora::MessageLog log{(home / "bench-log.txt").string()};
  velmora::OpcodeTable opcodes;
  if (!velmora::LoadOpcodeTable((home / "CMDDEF" / "command.cmd").string(), opcodes, log).found) {
    std::fprintf(stderr, "no opcode table under %s\n", home.string().c_str());
    return 1;
  }
  FlatBus flat;
  run("flat array", flat, opcodes, steps);
  velmora::MemoryImage image;
  velmora::ImageBus imageBus(image);
  run("memory image", imageBus, opcodes, steps / 5);

  auto type = velmora::LoadTypeDefinitions(home, "TOLVANE", log);
  if (!type) {
    std::fprintf(stderr, "no TOLVANE definitions under %s\n", home.string().c_str());
    return 1;
  }
  velmora::MemoryImage boardMemory;
  velmora::BoardBus boardBus(boardMemory);
  // The program and its data sit in external RAM at the bottom of segment 0.
  boardBus.map().Map(0, 0x4000, velmora::PageKind::Ram);
  velmora::MapMemoryUnits(type->units, boardBus.map(), {});
  velmora::MapRegisterAreas(type->registers, boardBus.map());
  run("board bus", boardBus, opcodes, steps);
  return 0;
}
