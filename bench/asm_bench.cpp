// Speed of the assembler: a generated source of labelled blocks that use every kind of
// operand the family has (registers, SFR and bit names, immediates, indirect forms with
// post-increment and displacement, EXTS prefixes, relative and far jumps resolved forwards
// and backwards, expressions), assembled from memory in its passes. Prints lines per
// second; fails nothing.
//
//   asm_bench [--home DIR] [--blocks N]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "asm/assembler.h"
#include "bench_support.h"
#include "core/message_log.h"
#include "disasm/opcode_table.h"
#include "formats/register_file.h"

namespace {

constexpr int kLinesPerBlock = 16;
constexpr int kBlocksPerSegment = 1024;

std::string source(int blocks) {
  std::string text = "STEP    EQU   2 * 4 + (1 << 3)\n";
  for (int i = 0; i < blocks; ++i) {
    const std::string n = std::to_string(i);
    // Jumps stay within a segment: a new one every kBlocksPerSegment blocks.
    const std::string segment = std::to_string(0xC0 + i / kBlocksPerSegment);
    if (i % kBlocksPerSegment == 0) text += "        ORG   " + segment + " * 10000h\n";
    text += "b" + n + ":    MOV   R1,#1234h + " + n + "\n";
    text += "        ADD   R2,R1\n";
    text += "        MOVB  RL3,[R8+]\n";
    text += "        MOV   [R2+#STEP],R3\n";
    text += "        BSET  S0RIR\n";
    text += "        JNB   S0TIR,b" + n + "\n";
    text += "        EXTS  R9,#1\n";
    text += "        MOV   R4,[R5]\n";
    text += "        CMP   R4,#0FFh\n";
    text += "        JMPR  cc_NZ,b" + n + "\n";
    text += "        CALLS " + segment + ",f" + n + " & 0FFFFh\n";
    text += "        SHL   R5,#3\n";
    text += "        MOV   S0TBUF,R5\n";
    text += "        MUL   R4,R5\n";
    text += "f" + n + ":    XOR   R6,#0A5A5h\n";
    text += "        JMPA  cc_UC,b" + n + "\n";
  }
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  std::string homeOption;
  int blocks = 5000;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--home") == 0 && i + 1 < argc) {
      homeOption = argv[++i];
    } else if (std::strcmp(argv[i], "--blocks") == 0 && i + 1 < argc) {
      blocks = std::max(1, std::atoi(argv[++i]));
    }
  }
  const auto home = velmora::bench::ProgramFolder(homeOption, argv[0]);
  velmora::MessageLog log{(home / "bench-log.txt").string()};
  velmora::OpcodeTable opcodes;
  velmora::RegisterTable registers;
  if (!velmora::LoadOpcodeTable((home / "CMDDEF" / "command.cmd").string(), opcodes, log).found ||
      !velmora::LoadRegisterFile((home / "SFRDEF" / "TOLVANE.SFR").string(), registers, log).found) {
    std::fprintf(stderr, "no opcode table or TOLVANE registers under %s\n", home.string().c_str());
    return 1;
  }
  const std::string text = source(blocks);
  const auto reader = [&text](const std::string&) -> std::optional<std::string> { return text; };
  const auto start = std::chrono::steady_clock::now();
  const auto assembly = velmora::assembler::Assemble("bench.asm", opcodes, registers, reader);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (!assembly.Ok()) {
    std::fprintf(stderr, "%s\n", assembly.errors.front().Format().c_str());
    return 1;
  }
  size_t bytes = 0;
  for (const auto& chunk : assembly.chunks) bytes += chunk.bytes.size();
  const int lines = blocks * kLinesPerBlock + 1 + (blocks + kBlocksPerSegment - 1) / kBlocksPerSegment;
  std::printf("%d lines, %zu bytes of code, %d passes in %.3f s: %.0f thousand lines/s\n", lines,
              bytes, assembly.passes, seconds, lines / seconds / 1e3);
  return 0;
}
