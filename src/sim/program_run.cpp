#include "sim/program_run.h"

#include "sim/instruction_trace.h"

namespace velmora {
namespace {

constexpr int32_t kSp = 0xFE12;

void push(Cpu& cpu, uint16_t value) {
  const auto sp = static_cast<uint16_t>(cpu.PeekWord(kSp) - 2);
  cpu.PokeWord(kSp, sp);
  cpu.PokeWord(sp, value);  // the system stack lies in segment 0
}

}  // namespace

RunOutcome RunOnProcessor(Cpu& cpu, const MonitorExits& exits, uint64_t stepLimit,
                          RunTrace trace) {
  RunOutcome outcome;
  const uint64_t firstCycle = cpu.cycles();
  const bool tracing = trace.trace != nullptr && trace.memory != nullptr;
  for (; outcome.instructions < stepLimit; ++outcome.instructions) {
    const int32_t at = cpu.Ip();
    if (at == exits.returnAddress || at == exits.breakEntry) {
      outcome.end = at == exits.returnAddress ? RunEnd::kReturned : RunEnd::kBreak;
      break;
    }
    if (tracing) trace.trace->Before(cpu, *trace.memory);
    const StepResult result = trace.step ? trace.step() : cpu.Step();
    if (tracing) trace.trace->After(cpu, result);
    if (result.kind == StepKind::kSoftwareReset) break;
  }
  outcome.cycles = cpu.cycles() - firstCycle;
  return outcome;
}

RunOutcome CallOnProcessor(Cpu& cpu, int32_t start, const MonitorExits& exits, uint64_t stepLimit,
                           RunTrace trace) {
  push(cpu, static_cast<uint16_t>(exits.returnAddress >> 16));
  push(cpu, static_cast<uint16_t>(exits.returnAddress & 0xFFFF));
  cpu.Jump(start);
  return RunOnProcessor(cpu, exits, stepLimit, trace);
}

}  // namespace velmora
