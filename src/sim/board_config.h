// What a virtual board is: its controller's identification, where its registers sit, and
// how its bootstrap loader and monitor behave.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "config/memory_unit.h"
#include "config/monitor_bytes.h"
#include "disasm/opcode_table.h"
#include "sim/flash_model.h"

namespace velmora {

class RegisterTable;

// A register the board gives a value at reset.
struct ResetRegister {
  const char* name;
  int32_t address;
  int32_t value;
};

struct BoardConfig {
  uint8_t idByte = 0xD5;             // what the bootstrap loader answers to the zero byte
  size_t loaderLength = 32;          // the bootstrap loader takes exactly this many bytes
  int32_t loaderAddress = 0x00FA40;  // where it puts them
  size_t monitorLength = 0x2C4;      // what the loader expects of the monitor core
  int32_t monitorAddress = 0xE00024;
  bool kline = false;                // the one-wire line echoes every byte
  MonitorBytes bytes;
  uint8_t asc1Ack = 0x55;            // answer on the second channel to the zero byte

  // Working registers: the register bank at CP, the stack at SP.
  int32_t cpAddress = 0xFE10;
  int32_t spAddress = 0xFE12;
  int32_t cpValue = 0xFC00;
  int32_t spValue = 0xFBFE;
  std::vector<ResetRegister> resetRegisters;  // identification, reset configuration, serial

  // The instruction set, so that the board's processor runs called routines and started
  // programs; without it a started program just runs and a call comes back at once. The
  // register names are for the instruction trace.
  std::shared_ptr<const OpcodeTable> opcodes;
  std::shared_ptr<const RegisterTable> registers;
  // The processor clock: a run's cycles become board time at this rate.
  int64_t cpuClockHz = 20'000'000;
  // The type's memories and identification values: with them (and the instruction set and
  // registers) the processor runs on the type's memory map with its devices; without them
  // on a plain memory where every address is RAM.
  std::vector<MemoryUnit> units;
  std::vector<int32_t> ids;

  std::vector<FlashUnitModel> flashUnits;
  // What unlock and unprotect must be given; the virtual board's is "KORDA".
  std::vector<uint8_t> flashPassword = {'K', 'O', 'R', 'D', 'A'};
};

// A board of a controller type: register addresses from its definitions, identification
// values from the database (the bootstrap byte, then IDMANUF and IDMEM words where given).
BoardConfig BoardConfigFor(const RegisterTable& registers, const std::vector<int32_t>& ids);

}  // namespace velmora
