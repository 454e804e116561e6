#include "disasm/debugger.h"

#include <algorithm>
#include <utility>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "disasm/decoded_instruction.h"
#include "link/link.h"

namespace velmora {
namespace {

bool overlaps(int32_t first, int firstLength, int32_t second, int secondLength) {
  return first < second + secondLength && second < first + firstLength;
}

}  // namespace

Debugger::Debugger(Link& link, InstructionDecoder& decoder) : link_(link), decoder_(decoder) {}

int Debugger::Find(int32_t address) const {
  for (size_t i = 0; i < table_.size(); ++i) {
    if (table_[i].address == address) return static_cast<int>(i);
  }
  return -1;
}

void Debugger::plant(size_t index) {
  // Only the program's own code is ever saved: a call this one would cover goes first.
  liftOverlapping(table_[index].address, kBreakCallLength);
  Breakpoint& breakpoint = table_[index];
  MemoryImage& image = link_.context().image;
  image.ReadBytes(breakpoint.address, breakpoint.saved);
  const int32_t entry = link_.breakEntry;
  const uint8_t call[4] = {kFarCallOpcode, static_cast<uint8_t>(entry >> 16),
                           static_cast<uint8_t>(entry), static_cast<uint8_t>(entry >> 8)};
  for (int k = 0; k < kBreakCallLength; ++k) image.SetByte(breakpoint.address + k, call[k]);
  breakpoint.planted = true;
  link_.monitor().Cmd_Write(breakpoint.address, kBreakCallLength);
}

void Debugger::restore(size_t index) {
  Breakpoint& breakpoint = table_[index];
  if (!breakpoint.planted) return;
  MemoryImage& image = link_.context().image;
  for (int k = 0; k < kBreakCallLength; ++k) {
    image.SetByte(breakpoint.address + k, breakpoint.saved[static_cast<size_t>(k)]);
  }
  breakpoint.planted = false;
  link_.monitor().Cmd_Write(breakpoint.address, kBreakCallLength);
}

uint8_t Debugger::codeByte(int32_t address) const {
  for (const Breakpoint& breakpoint : table_) {
    if (breakpoint.planted && overlaps(breakpoint.address, kBreakCallLength, address, 1)) {
      return breakpoint.saved[static_cast<size_t>(address - breakpoint.address)];
    }
  }
  return link_.context().image.GetByte(address);
}

int Debugger::codeLength(int32_t address) const {
  return decoder_.LengthOf(codeByte(address));
}

void Debugger::liftOverlapping(int32_t address, int length) {
  for (size_t i = table_.size(); i-- > 0;) {
    if (!table_[i].planted || !overlaps(table_[i].address, kBreakCallLength, address, length))
      continue;
    restore(i);
    lifted_.push_back(table_[i].address);
  }
}

void Debugger::liftAround(int32_t position) {
  lifted_.clear();
  liftOverlapping(position, codeLength(position));
}

bool Debugger::Add(int32_t address) {
  if (static_cast<int>(table_.size()) >= kMaxBreakpoints) {
    link_.context().log.WriteLine(kTooManyBreakpointsLine);
    return false;
  }
  for (const Breakpoint& other : table_) {
    if (overlaps(other.address, kBreakCallLength, address, kBreakCallLength)) {
      link_.context().log.WriteLine(std::string(kOverlappingBreakpointLine) +
                                    HexN(other.address, 6));
      return false;
    }
  }
  table_.push_back({address, {}});
  plant(table_.size() - 1);
  return true;
}

bool Debugger::Remove(int32_t address) {
  const int found = Find(address);
  if (found < 0) return false;
  // The later ones move down a place: each is lifted first and planted again after.
  for (size_t i = table_.size(); i-- > static_cast<size_t>(found);) restore(i);
  table_.erase(table_.begin() + found);
  for (size_t i = static_cast<size_t>(found); i < table_.size(); ++i) plant(i);
  return true;
}

void Debugger::RemoveAll() {
  for (size_t i = table_.size(); i-- > 0;) restore(i);
  table_.clear();
  temporaries_ = 0;
  lifted_.clear();
}

bool Debugger::Toggle(int32_t address) {
  if (link_.state() != TargetState::Ready) return false;
  if (Exists(address)) return Remove(address);
  return Add(address);
}

std::vector<int32_t> Debugger::NextPositions(int32_t position) {
  MemoryImage& image = link_.context().image;
  decoder_.ResetCounters();
  const DecodedInstruction instruction = decoder_.Decode(image, position);
  const Flow& flow = instruction.flow;

  const int32_t segment = position & 0xFF0000;
  const int32_t following = segment | ((position + codeLength(position)) & 0xFFFF);
  const auto branch = [&](int32_t target) {
    std::vector<int32_t> next = {target};
    if (flow.MayFallThrough() && following != target) next.push_back(following);
    return next;
  };
  RegisterAccess& registers = link_.registerAccess();

  switch (instruction.status == DecodeStatus::kUnknownInstruction ? FlowKind::kSequential
                                                                  : flow.kind) {
    case FlowKind::kJump:
    case FlowKind::kConditionalJump:
    case FlowKind::kCall:
    case FlowKind::kConditionalCall:
      if (flow.target) return branch(*flow.target);
      // JMPI and CALLI go where the register points.
      return branch(segment | (registers.cmd_readgpr(flow.indirectRegister) & 0xFFFF));
    case FlowKind::kReturn:
      return {segment | (registers.cmd_pop(false) & 0xFFFF)};
    case FlowKind::kFarReturn:
    case FlowKind::kReturnFromInterrupt: {
      const int32_t offset = registers.cmd_pop(false);
      return {(registers.cmd_pop2nd(false) << 16) | (offset & 0xFFFF)};
    }
    case FlowKind::kReset:
      return {flow.target.value_or(0)};
    case FlowKind::kPrefix: {
      // The prefixed instructions run as one with it: the step ends behind them.
      int32_t at = position;
      for (int32_t i = 0; i <= flow.prefixCount; ++i) {
        at = segment | ((at + codeLength(at)) & 0xFFFF);
      }
      return {at};
    }
    case FlowKind::kTrap:  // the handler returns behind the trap
    case FlowKind::kSequential:
      break;
  }
  return {following};
}

std::vector<int32_t> Debugger::temporaryPlaces(int32_t position) {
  const int running = codeLength(position);
  std::vector<int32_t> places;
  for (int32_t next : NextPositions(position)) {
    // The instruction that runs keeps its own bytes; a jump back into them is not caught.
    if (!overlaps(next, kBreakCallLength, position, running)) places.push_back(next);
  }
  if (places.size() == 2 && overlaps(places[0], kBreakCallLength, places[1], kBreakCallLength)) {
    // Two calls 2 bytes apart cannot both stand. Where the lower instruction ends at the
    // higher one, both ways reach the higher; otherwise the higher lies inside the lower
    // instruction, and only the way to the lower one can be caught.
    const int32_t low = std::min(places[0], places[1]);
    const int32_t high = std::max(places[0], places[1]);
    places = {low + codeLength(low) <= high ? high : low};
  }
  return places;
}

void Debugger::plantTemporaries(int32_t position) {
  temporaries_ = 0;
  for (int32_t place : temporaryPlaces(position)) {
    if (const int user = Find(place); user >= 0 && table_[static_cast<size_t>(user)].planted)
      continue;
    if (static_cast<int>(table_.size()) >= kMaxBreakpoints) continue;
    table_.push_back({place, {}});
    plant(table_.size() - 1);
    ++temporaries_;
  }
}

bool Debugger::atTemporary(int32_t address) const {
  // The temporaries are the last entries; a user breakpoint at the same place comes first.
  const int found = Find(address);
  return found >= 0 && found >= static_cast<int>(table_.size()) - temporaries_;
}

void Debugger::dropTemporaries() {
  for (; temporaries_ > 0; --temporaries_) {
    restore(table_.size() - 1);
    table_.pop_back();
  }
}

void Debugger::replantLifted(std::optional<int32_t> clearOf) {
  const int running = clearOf ? codeLength(*clearOf) : 0;
  std::vector<int32_t> pending = std::move(lifted_);
  lifted_.clear();
  std::vector<int32_t> waiting;
  for (int32_t address : pending) {
    const int index = Find(address);
    if (index < 0 || table_[static_cast<size_t>(index)].planted) continue;
    if (clearOf && overlaps(address, kBreakCallLength, *clearOf, running)) {
      waiting.push_back(address);
      continue;
    }
    plant(static_cast<size_t>(index));
  }
  lifted_.insert(lifted_.end(), waiting.begin(), waiting.end());
}

int16_t Debugger::Go() {
  if (link_.state() != TargetState::Ready) return 0;
  liftAround(currentPosition);
  temporaries_ = 0;
  if (lifted_.empty()) {
    link_.SetState(TargetState::Debugging);
  } else {
    plantTemporaries(currentPosition);
    link_.SetState(TargetState::DebuggingFromBreakpoint);
  }
  return link_.monitor().Cmd_Jmp(currentPosition);
}

int16_t Debugger::Step() {
  if (link_.state() != TargetState::Ready) return 0;
  liftAround(currentPosition);
  const bool fromBreakpoint = !lifted_.empty();
  plantTemporaries(currentPosition);
  link_.SetState(fromBreakpoint ? TargetState::StepModeFromBreakpoint : TargetState::StepMode);
  return link_.monitor().Cmd_Jmp(currentPosition);
}

bool Debugger::OnBreak(int32_t stopAddress) {
  const TargetState state = link_.state();
  auto& frontend = link_.context().frontend;
  if (state == TargetState::DebuggingFromBreakpoint && atTemporary(stopAddress)) {
    // Behind the code the run started on: the temporaries go first, then the breakpoints
    // that leave the next instruction alone come back. While one would still cover it,
    // the target goes on by another unseen step; then it runs on.
    dropTemporaries();
    replantLifted(stopAddress);
    if (lifted_.empty()) {
      link_.SetState(TargetState::Debugging);
    } else {
      plantTemporaries(stopAddress);
    }
    link_.monitor().Cmd_Jmp(stopAddress);
    return true;
  }
  if (state == TargetState::StepMode || state == TargetState::StepModeFromBreakpoint ||
      state == TargetState::DebuggingFromBreakpoint) {
    dropTemporaries();
    replantLifted();
  }
  currentPosition = stopAddress;
  link_.currentAddress = stopAddress;
  frontend.RequestRefresh(Change::All(RefreshTarget::Disassembly));
  frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
  link_.SetState(TargetState::Ready);
  return true;
}

}  // namespace velmora
