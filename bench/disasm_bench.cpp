// Decoding and listing speed of the instruction decoder over a 64 KB code image.
//
//   disasm_bench [--home DIR] [--rounds N]
//
// Two images of 64 KB at 010000, both decoding without an illegal line from start to end:
//   routine  a short routine (a loop with a conditional jump, a call, a bit test, an EXTP
//            sequence and a return) repeated;
//   mixed    pseudo-random instructions of every defined opcode with random operands,
//            each kept only when it decodes to a legal line (otherwise NOP or MOV R0,#0).
// For each it times a plain decode of every instruction (Disassemble and the instruction
// length, as a listing walks) and FillDisassembly of one 64 KB selection, the best of N
// rounds, with the opcode table and the TOLVANE registers of the program folder.
//
// Prints the figures and never fails.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench_support.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "disasm/disassembly_listing.h"
#include "disasm/instruction_decoder.h"
#include "disasm/opcode_table.h"
#include "formats/register_file.h"
#include "formats/register_table.h"

namespace {

using Clock = std::chrono::steady_clock;

volatile size_t gCharacters = 0;  // keeps the decoding from being optimised away

constexpr int32_t kStart = 0x010000;
constexpr int32_t kSize = 0x10000;

const std::vector<uint8_t> kRoutine = {
    0xE6, 0xF4, 0x00, 0xC0, 0xE0, 0x85, 0xE6, 0xF6, 0x00, 0x00, 0xD7, 0x40, 0x05, 0x00,
    0xF2, 0xF7, 0x00, 0x40, 0xA8, 0x24, 0x00, 0x62, 0x08, 0x42, 0x28, 0x51, 0x3D, 0xFB,
    0x9A, 0x88, 0x02, 0xB0, 0xCA, 0x00, 0x30, 0x04, 0xF6, 0xF6, 0x00, 0xFA, 0xBF, 0x88,
    0xCB, 0x00, 0x0E, 0x04, 0xDC, 0x46, 0xF7, 0xF8, 0x00, 0x00, 0xCB, 0x00};

void fillWithRoutine(velmora::MemoryImage& image) {
  std::vector<uint8_t> bytes;
  while (bytes.size() + kRoutine.size() <= static_cast<size_t>(kSize)) {
    bytes.insert(bytes.end(), kRoutine.begin(), kRoutine.end());
  }
  while (bytes.size() < static_cast<size_t>(kSize)) {  // NOPs up to the end
    bytes.push_back(0xCC);
    bytes.push_back(0x00);
  }
  image.StoreLoaded(kStart, bytes);
}

// Random instructions, each tried in sequence (the prefixes in force) and replaced by a
// plain one of the same length when illegal.
void fillWithMixedCode(velmora::MemoryImage& image, const velmora::OpcodeTable& opcodes,
                       const velmora::RegisterTable& registers) {
  std::vector<uint8_t> defined;
  for (int op = 0; op < 256; ++op) {
    if (opcodes.At(static_cast<uint8_t>(op)).Defined()) defined.push_back(static_cast<uint8_t>(op));
  }
  uint32_t seed = 0x2545F491;
  auto next = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return static_cast<uint8_t>(seed >> 24);
  };
  velmora::InstructionDecoder probe(opcodes, registers);
  int32_t address = kStart;
  while (address < kStart + kSize) {
    const uint8_t opcode = defined[next() % defined.size()];
    const int length = opcodes.At(opcode).length;
    if (address + length > kStart + kSize) {
      image.StoreLoaded(address, std::vector<uint8_t>{0xCC, 0x00});
      address += 2;
      continue;
    }
    std::vector<uint8_t> bytes{opcode};
    for (int i = 1; i < length; ++i) bytes.push_back(next());
    image.StoreLoaded(address, bytes);
    if (probe.Disassemble(image, address).rfind("Illegal", 0) == 0) {
      // A legal instruction of the same length that starts no prefix: the probe's counters
      // stepped once, as they will in the listing.
      bytes = length == 4 ? std::vector<uint8_t>{0xE6, 0xF0, 0x00, 0x00}
                          : std::vector<uint8_t>{0xCC, 0x00};
      image.StoreLoaded(address, bytes);
    }
    address += length;
  }
}

struct Figures {
  long instructions = 0;
  double decodeSeconds = 1e9;
  double listSeconds = 1e9;
  size_t lines = 0;
  bool anyIllegal = false;
};

Figures measure(velmora::MemoryImage& image, const velmora::OpcodeTable& opcodes,
                const velmora::RegisterTable& registers, int rounds) {
  Figures figures;
  velmora::InstructionDecoder decoder(opcodes, registers);
  velmora::SelectionList selections;
  (void)selections.AddSelection(kStart, kStart + kSize - 1);
  for (int round = 0; round < rounds; ++round) {
    long count = 0;
    size_t characters = 0;
    const auto begin = Clock::now();
    for (int32_t a = kStart; a < kStart + kSize; a += decoder.InstructionLength(image, a)) {
      characters += decoder.Disassemble(image, a).size();
      ++count;
    }
    const double decode = std::chrono::duration<double>(Clock::now() - begin).count();
    gCharacters = characters;
    figures.instructions = count;
    figures.decodeSeconds = std::min(figures.decodeSeconds, decode);

    velmora::DisassemblyListing listing;
    int32_t position = -1;
    const auto listBegin = Clock::now();
    velmora::FillDisassembly(selections, image, decoder, listing, position);
    const double list = std::chrono::duration<double>(Clock::now() - listBegin).count();
    figures.listSeconds = std::min(figures.listSeconds, list);
    figures.lines = listing.rows.size();
    figures.anyIllegal =
        std::any_of(listing.rows.begin(), listing.rows.end(),
                    [](const velmora::ListingRow& r) { return r.text.starts_with("Illegal"); });
  }
  return figures;
}

void report(const char* name, const Figures& f) {
  std::printf(
      "  %-8s %6ld instructions  decode %7.2f ms  %6.2f M instructions/s  "
      "64 KB listing %7.2f ms (%zu lines%s)\n",
      name, f.instructions, f.decodeSeconds * 1e3, f.instructions / f.decodeSeconds / 1e6,
      f.listSeconds * 1e3, f.lines, f.anyIllegal ? ", with an illegal line" : "");
}

}  // namespace

int main(int argc, char** argv) {
  std::string homeOption;
  int rounds = 10;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--home") == 0 && i + 1 < argc) {
      homeOption = argv[++i];
    } else if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    }
  }
  const auto home = velmora::bench::ProgramFolder(homeOption, argv[0]);
  velmora::MessageLog log{(home / "bench-log.txt").string()};
  velmora::OpcodeTable opcodes;
  const auto opcodeResult =
      velmora::LoadOpcodeTable((home / "CMDDEF" / "command.cmd").string(), opcodes, log);
  velmora::RegisterTable registers;
  const auto registerResult =
      velmora::LoadRegisterFile((home / "SFRDEF" / "TOLVANE.SFR").string(), registers, log);
  if (!opcodeResult.found || !registerResult.found) {
    std::printf("disasm_bench: no opcode table or TOLVANE registers in %s\n", home.c_str());
    return 0;
  }

  std::printf("disasm_bench: 64 KB at %06X, best of %d rounds, %d opcodes, %d registers\n",
              static_cast<unsigned>(kStart), rounds, opcodes.DefinedCount(), registers.Count());
  velmora::MemoryImage routine;
  fillWithRoutine(routine);
  report("routine", measure(routine, opcodes, registers, rounds));
  velmora::MemoryImage mixed;
  fillWithMixedCode(mixed, opcodes, registers);
  report("mixed", measure(mixed, opcodes, registers, rounds));
  std::printf("  target: a 64 KB listing in under 50 ms\n");
  return 0;
}
