#include "disasm/debugger.h"

#include <algorithm>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/link.h"

namespace velmora {
namespace {

// The hexadecimal number of an operand text such as "1234h" or "05h"; -1 when none.
int32_t hexOperand(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  if (!text.empty() && (text.back() == 'h' || text.back() == 'H')) text.remove_suffix(1);
  return text.empty() ? -1 : HexVal(text);
}

std::string_view afterLast(std::string_view text, char separator) {
  const auto at = text.rfind(separator);
  return at == std::string_view::npos ? text : text.substr(at + 1);
}

bool conditional(std::string_view operands) { return operands.substr(0, 5) != "cc_UC"; }

}  // namespace

Debugger::Debugger(Link& link, InstructionDecoder& decoder) : link_(link), decoder_(decoder) {}

int Debugger::Find(int32_t address) const {
  for (size_t i = 0; i < table_.size(); ++i) {
    if (table_[i].address == address) return static_cast<int>(i);
  }
  return -1;
}

void Debugger::plant(size_t index) {
  Breakpoint& breakpoint = table_[index];
  MemoryImage& image = link_.context().image;
  image.ReadBytes(breakpoint.address, breakpoint.saved);
  const int32_t entry = link_.breakEntry;
  const uint8_t call[4] = {kFarCallOpcode, static_cast<uint8_t>(entry >> 16), static_cast<uint8_t>(entry),
                           static_cast<uint8_t>(entry >> 8)};
  for (int k = 0; k < 4; ++k) image.SetByte(breakpoint.address + k, call[k]);
  link_.monitor().Cmd_Write(breakpoint.address, 4);
}

void Debugger::restore(size_t index) {
  const Breakpoint& breakpoint = table_[index];
  MemoryImage& image = link_.context().image;
  for (int k = 0; k < 4; ++k) image.SetByte(breakpoint.address + k, breakpoint.saved[static_cast<size_t>(k)]);
  link_.monitor().Cmd_Write(breakpoint.address, 4);
}

bool Debugger::Add(int32_t address) {
  if (static_cast<int>(table_.size()) >= kMaxBreakpoints) {
    link_.context().log.WriteLine(kTooManyBreakpointsLine);
    return false;
  }
  table_.push_back({address, {}});
  plant(table_.size() - 1);
  return true;
}

bool Debugger::Remove(int32_t address) {
  const int found = Find(address);
  if (found < 0) return false;
  // Later breakpoints may have saved bytes of this one's call: lift them all first.
  for (size_t i = table_.size(); i-- > static_cast<size_t>(found);) restore(i);
  table_.erase(table_.begin() + found);
  for (size_t i = static_cast<size_t>(found); i < table_.size(); ++i) plant(i);
  return true;
}

void Debugger::RemoveAll() {
  for (size_t i = table_.size(); i-- > 0;) restore(i);
  table_.clear();
  temporaries_ = 0;
}

bool Debugger::Toggle(int32_t address) {
  if (link_.state() != TargetState::Ready) return false;
  if (Exists(address)) return Remove(address);
  return Add(address);
}

std::vector<int32_t> Debugger::NextPositions(int32_t position) {
  MemoryImage& image = link_.context().image;
  decoder_.ResetCounters();
  const std::string text = decoder_.Disassemble(image, position);
  const std::string_view line = text;
  const auto blank = line.find(' ');
  const std::string_view mnemonic = line.substr(0, blank);
  std::string_view operands = blank == std::string_view::npos ? std::string_view{} : line.substr(blank);
  while (!operands.empty() && operands.front() == ' ') operands.remove_prefix(1);

  const int32_t segment = position & 0xFF0000;
  const int32_t following = segment | ((position + decoder_.InstructionLength(image, position)) & 0xFFFF);
  const auto inSegment = [segment](int32_t offset) { return segment | (offset & 0xFFFF); };
  const auto branch = [&](int32_t target, bool mayFallThrough) {
    std::vector<int32_t> next = {target};
    if (mayFallThrough && following != target) next.push_back(following);
    return next;
  };
  RegisterAccess& registers = link_.registerAccess();

  if (mnemonic == "JMPA" || mnemonic == "CALLA") {
    return branch(inSegment(hexOperand(afterLast(operands, ','))), conditional(operands));
  }
  if (mnemonic == "JMPR") {
    return branch(inSegment(hexOperand(afterLast(operands, ','))), conditional(operands));
  }
  if (mnemonic == "CALLR") return {inSegment(hexOperand(operands))};
  if (mnemonic == "JB" || mnemonic == "JNB" || mnemonic == "JBC" || mnemonic == "JNBS") {
    return branch(inSegment(hexOperand(afterLast(operands, ','))), true);
  }
  if (mnemonic == "JMPI" || mnemonic == "CALLI") {
    // "[Rn]" with n in decimal: the jump goes where the register points.
    int number = 0;
    for (size_t at = operands.find("[R") + 2; at < operands.size() && operands[at] != ']'; ++at) {
      number = number * 10 + (operands[at] - '0');
    }
    return branch(inSegment(registers.cmd_readgpr(number)), conditional(operands));
  }
  if (mnemonic == "JMPS" || mnemonic == "CALLS") {
    const auto comma = operands.find(',');
    return {(hexOperand(operands.substr(0, comma)) << 16) | (hexOperand(operands.substr(comma + 1)) & 0xFFFF)};
  }
  if (mnemonic == "RET" || mnemonic == "RETP") return {inSegment(registers.cmd_pop(false))};
  if (mnemonic == "RETI" || mnemonic == "RETS") {
    const int32_t offset = registers.cmd_pop(false);
    return {(registers.cmd_pop2nd(false) << 16) | (offset & 0xFFFF)};
  }
  if (mnemonic == "SRST") return {0};
  if (mnemonic == "ATOMIC" || mnemonic.substr(0, 3) == "EXT") {
    const int32_t count = HexVal(afterLast(operands, '#').substr(0, 1));
    int32_t at = position;
    for (int32_t i = 0; i <= std::max(count, 0); ++i) {
      at = segment | ((at + decoder_.InstructionLength(image, at)) & 0xFFFF);
    }
    return {at};
  }
  return {following};
}

void Debugger::plantTemporaries(int32_t position) {
  temporaries_ = 0;
  for (int32_t next : NextPositions(position)) {
    if (Exists(next) || static_cast<int>(table_.size()) >= kMaxBreakpoints) continue;
    table_.push_back({next, {}});
    plant(table_.size() - 1);
    ++temporaries_;
  }
}

void Debugger::dropTemporaries() {
  for (; temporaries_ > 0; --temporaries_) {
    restore(table_.size() - 1);
    table_.pop_back();
  }
}

int16_t Debugger::Go() {
  if (link_.state() != TargetState::Ready) return 0;
  const int user = Find(currentPosition);
  if (user >= 0) {
    restore(static_cast<size_t>(user));
    plantTemporaries(currentPosition);
    link_.SetState(TargetState::DebuggingFromBreakpoint);
  } else {
    temporaries_ = 0;
    link_.SetState(TargetState::Debugging);
  }
  return link_.monitor().Cmd_Jmp(currentPosition);
}

int16_t Debugger::Step() {
  if (link_.state() != TargetState::Ready) return 0;
  const int user = Find(currentPosition);
  if (user >= 0) restore(static_cast<size_t>(user));
  plantTemporaries(currentPosition);
  link_.SetState(user >= 0 ? TargetState::StepModeFromBreakpoint : TargetState::StepMode);
  return link_.monitor().Cmd_Jmp(currentPosition);
}

bool Debugger::OnBreak(int32_t stopAddress) {
  const TargetState state = link_.state();
  auto& frontend = link_.context().frontend;
  if (state == TargetState::DebuggingFromBreakpoint) {
    // Stopped just behind the breakpoint the run started on: put it back and run on.
    if (const int user = Find(currentPosition); user >= 0) plant(static_cast<size_t>(user));
    dropTemporaries();
    link_.SetState(TargetState::Debugging);
    link_.monitor().Cmd_Jmp(stopAddress);
    return true;
  }
  if (state == TargetState::StepMode || state == TargetState::StepModeFromBreakpoint) {
    dropTemporaries();
    if (state == TargetState::StepModeFromBreakpoint) {
      if (const int user = Find(currentPosition); user >= 0) plant(static_cast<size_t>(user));
    }
  }
  currentPosition = stopAddress;
  link_.currentAddress = stopAddress;
  frontend.RequestRefresh(RefreshTarget::Disassembly);
  frontend.RequestRefresh(RefreshTarget::RegisterList);
  link_.SetState(TargetState::Ready);
  return true;
}

}  // namespace velmora
