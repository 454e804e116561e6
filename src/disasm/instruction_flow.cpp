#include "disasm/instruction_flow.h"

namespace velmora {
namespace {

// The flow instructions whose format they share with others.
constexpr uint8_t kCalla = 0xCA;
constexpr uint8_t kCalls = 0xDA;
constexpr uint8_t kCalli = 0xAB;
constexpr uint8_t kRet = 0xCB;
constexpr uint8_t kRets = 0xDB;
constexpr uint8_t kRetp = 0xEB;
constexpr uint8_t kSrst = 0xB7;
constexpr uint32_t kAlways = 0;  // cc_UC
constexpr int32_t kTrapVectorSize = 4;

int32_t inSegment(int32_t address, uint32_t offset) {
  return (address & 0xFF0000) | static_cast<int32_t>(offset & 0xFFFF);
}

int32_t relativeTarget(int32_t address, int32_t base, uint32_t rel) {
  const int32_t words = static_cast<int8_t>(static_cast<uint8_t>(rel));
  return inSegment(address, static_cast<uint32_t>(base + 2 * words));
}

Flow jumpOrCall(bool call, uint32_t condition, int32_t target) {
  Flow flow;
  if (call) {
    flow.kind = condition == kAlways ? FlowKind::kCall : FlowKind::kConditionalCall;
  } else {
    flow.kind = condition == kAlways ? FlowKind::kJump : FlowKind::kConditionalJump;
  }
  flow.target = target;
  return flow;
}

}  // namespace

Flow FlowOf(uint8_t opcode, OperandFormat format, const InstructionFields& f, int32_t address,
            int length) {
  Flow flow;
  switch (format) {
    case OperandFormat::kCcRel:
      return jumpOrCall(false, f.Four(0), relativeTarget(address, address + 2, f.Eight(0)));
    case OperandFormat::kRel:
      return jumpOrCall(true, kAlways, relativeTarget(address, address + 2, f.Eight(1)));
    case OperandFormat::kBitRel:
      // Counted from the following instruction, which is what the processor adds to.
      flow = jumpOrCall(false, kAlways, relativeTarget(address, address + length, f.Eight(2)));
      flow.kind = FlowKind::kConditionalJump;
      return flow;
    case OperandFormat::kCcCaddr:
      return jumpOrCall(opcode == kCalla, f.Four(0), inSegment(address, f.Sixteen(0)));
    case OperandFormat::kSegCaddr:
      return jumpOrCall(opcode == kCalls, kAlways,
                        static_cast<int32_t>((f.Eight(1) << 16) | (f.Sixteen(0) & 0xFFFF)));
    case OperandFormat::kRegCaddr:
      return jumpOrCall(true, kAlways, inSegment(address, f.Sixteen(0)));
    case OperandFormat::kCcIndirect:
      flow = jumpOrCall(opcode == kCalli, f.Four(0), 0);
      flow.target.reset();
      flow.indirectRegister = static_cast<int>(f.Four(1));
      return flow;
    case OperandFormat::kTrap:
      flow.kind = FlowKind::kTrap;
      flow.target = static_cast<int32_t>(f.Eight(1) >> 1) * kTrapVectorSize;
      return flow;
    case OperandFormat::kReturnFromInterrupt:
      flow.kind = FlowKind::kReturnFromInterrupt;
      return flow;
    case OperandFormat::kExtendImmediate:
    case OperandFormat::kExtendRegister:
    case OperandFormat::kExtendRegisters:
      flow.kind = FlowKind::kPrefix;
      flow.prefixCount = static_cast<int>(f.Two(1)) + 1;
      return flow;
    default:
      break;
  }
  if (opcode == kRet || opcode == kRetp) flow.kind = FlowKind::kReturn;
  if (opcode == kRets) flow.kind = FlowKind::kFarReturn;
  if (opcode == kSrst) {
    flow.kind = FlowKind::kReset;
    flow.target = 0;
  }
  return flow;
}

}  // namespace velmora
