#include "target_host.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "asm/assembler.h"
#include "core/message_log.h"
#include "decoder_fixture.h"
#include "sim/devices/board_layout.h"

namespace velmora::test {
namespace {

uint64_t cycles(double seconds) {
  return static_cast<uint64_t>(seconds * kCpuHz);
}

TargetImage flatten(const assembler::Assembly& assembly) {
  if (!assembly.Ok()) {
    ADD_FAILURE() << assembly.errors.front().Format();
    return {};
  }
  TargetImage image;
  for (const auto& chunk : assembly.chunks) {
    if (image.address < 0) image.address = chunk.address;
    if (chunk.address != image.address + static_cast<int32_t>(image.bytes.size())) {
      ADD_FAILURE() << "a gap before " << std::hex << chunk.address;
      return {};
    }
    image.bytes.insert(image.bytes.end(), chunk.bytes.begin(), chunk.bytes.end());
  }
  return image;
}

Bytes values(const std::vector<TargetMachine::SentByte>& sent) {
  Bytes out;
  for (const auto& byte : sent) out.push_back(byte.value);
  return out;
}

}  // namespace

TargetImage AssembleTargetFile(const std::string& relativePath) {
  return flatten(assembler::Assemble(std::string(VELMORA_TARGET_DIR) + "/" + relativePath,
                                     Shipped().opcodes, Shipped().registers));
}

TargetImage AssembleTargetText(const std::string& source) {
  const auto reader = [&source](const std::string&) -> std::optional<std::string> {
    return source;
  };
  return flatten(
      assembler::Assemble("program.asm", Shipped().opcodes, Shipped().registers, reader));
}

TargetHost::TargetHost(bool oneWire) {
  MessageLog log;
  auto type = LoadTypeDefinitions(ShippedDataFolder(), "TOLVANE", log);
  if (!type) {
    ADD_FAILURE() << "the TOLVANE type does not load";
    return;
  }
  TargetMachineSetup setup;
  setup.units = type->units;
  setup.registers = std::make_shared<RegisterTable>(type->registers);
  setup.opcodes = std::make_shared<OpcodeTable>(Shipped().opcodes);
  setup.ids = type->ids;
  setup.cpuHz = kCpuHz;
  setup.kline = oneWire;
  machine_ = TargetMachine::Make(std::move(setup), memory_);
  if (!machine_) ADD_FAILURE() << "no machine for the TOLVANE type";
}

Bytes TargetHost::Boot(const TargetImage& loader, const TargetImage& core) {
  Bytes answers = Exchange({0x00}, 1);
  // The host waits for each answer before it sends on: on one wire it must not talk over
  // the target.
  const Bytes started = Exchange(loader.bytes, 1);
  answers.insert(answers.end(), started.begin(), started.end());
  const Bytes monitor = Exchange(core.bytes, 1, 2.0);
  answers.insert(answers.end(), monitor.begin(), monitor.end());
  return answers;
}

Bytes TargetHost::Boot(const LineForm& form) {
  return Boot(AssembleTargetFile(form.loader), AssembleTargetFile(form.monitor));
}

Bytes TargetHost::Exchange(const Bytes& bytes, size_t count, double seconds) {
  machine_->TakeSent();
  machine_->HostSends(bytes, kBaud);
  // The time limit runs from the moment the last byte has arrived.
  const uint64_t limit = machine_->HostLineFreeAt() - machine_->now() + cycles(seconds);
  machine_->RunUntilSent(count, limit);
  return values(machine_->TakeSent());
}

Bytes TargetHost::Listen(double seconds) {
  machine_->TakeSent();
  machine_->Run(cycles(seconds));
  return values(machine_->TakeSent());
}

Bytes Address(int32_t address) {
  return {static_cast<uint8_t>(address), static_cast<uint8_t>(address >> 8),
          static_cast<uint8_t>(address >> 16)};
}

Bytes Word(uint16_t word) {
  return {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)};
}

Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
  return out;
}

uint16_t WordAt(const Bytes& bytes, size_t at) {
  if (at + 1 >= bytes.size()) {
    ADD_FAILURE() << "no word at " << at << " of " << bytes.size() << " bytes";
    return 0;
  }
  return static_cast<uint16_t>(bytes[at] | (bytes[at + 1] << 8));
}

}  // namespace velmora::test
