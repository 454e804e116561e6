#include "sim/cpu/operation.h"

#include <array>
#include <utility>

namespace velmora {
namespace {

using O = Operation;

constexpr std::array<std::pair<std::string_view, Operation>, 83> kMnemonics = {{
    {"MOV", O::kMov},       {"MOVB", O::kMovb},    {"MOVBZ", O::kMovbz},   {"MOVBS", O::kMovbs},
    {"SCXT", O::kScxt},     {"PUSH", O::kPush},    {"POP", O::kPop},       {"ADD", O::kAdd},
    {"ADDC", O::kAddc},     {"SUB", O::kSub},      {"SUBC", O::kSubc},     {"CMP", O::kCmp},
    {"AND", O::kAnd},       {"OR", O::kOr},        {"XOR", O::kXor},       {"ADDB", O::kAddb},
    {"ADDCB", O::kAddcb},   {"SUBB", O::kSubb},    {"SUBCB", O::kSubcb},   {"CMPB", O::kCmpb},
    {"ANDB", O::kAndb},     {"ORB", O::kOrb},      {"XORB", O::kXorb},     {"CMPI1", O::kCmpi1},
    {"CMPI2", O::kCmpi2},   {"CMPD1", O::kCmpd1},  {"CMPD2", O::kCmpd2},   {"NEG", O::kNeg},
    {"NEGB", O::kNegb},     {"CPL", O::kCpl},      {"CPLB", O::kCplb},     {"SHL", O::kShl},
    {"SHR", O::kShr},       {"ROL", O::kRol},      {"ROR", O::kRor},       {"ASHR", O::kAshr},
    {"PRIOR", O::kPrior},   {"MUL", O::kMul},      {"MULU", O::kMulu},     {"DIV", O::kDiv},
    {"DIVU", O::kDivu},     {"DIVL", O::kDivl},    {"DIVLU", O::kDivlu},   {"BSET", O::kBset},
    {"BCLR", O::kBclr},     {"BMOV", O::kBmov},    {"BMOVN", O::kBmovn},   {"BAND", O::kBand},
    {"BOR", O::kBor},       {"BXOR", O::kBxor},    {"BCMP", O::kBcmp},     {"BFLDL", O::kBfldl},
    {"BFLDH", O::kBfldh},   {"JMPA", O::kJmpa},    {"JMPI", O::kJmpi},     {"JMPR", O::kJmpr},
    {"JMPS", O::kJmps},     {"JB", O::kJb},        {"JNB", O::kJnb},       {"JBC", O::kJbc},
    {"JNBS", O::kJnbs},     {"CALLA", O::kCalla},  {"CALLI", O::kCalli},   {"CALLR", O::kCallr},
    {"CALLS", O::kCalls},   {"PCALL", O::kPcall},  {"RET", O::kRet},       {"RETP", O::kRetp},
    {"RETS", O::kRets},     {"RETI", O::kReti},    {"TRAP", O::kTrap},     {"NOP", O::kNop},
    {"SRST", O::kSrst},     {"IDLE", O::kIdle},    {"PWRDN", O::kPwrdn},   {"SRVWDT", O::kSrvwdt},
    {"DISWDT", O::kDiswdt}, {"EINIT", O::kEinit},  {"EXTS", O::kPrefix},   {"EXTP", O::kPrefix},
    {"EXTSR", O::kPrefix},  {"EXTPR", O::kPrefix}, {"ATOMIC", O::kPrefix},
}};

}  // namespace

Operation OperationOf(std::string_view mnemonic) {
  for (const auto& [name, operation] : kMnemonics) {
    if (name == mnemonic) return operation;
  }
  return O::kUndefined;
}

OperationClass ClassOf(Operation operation) {
  if (operation == O::kUndefined) return OperationClass::kUndefined;
  if (operation <= O::kPrior) return OperationClass::kData;
  if (operation <= O::kDivlu) return OperationClass::kMultiply;
  if (operation <= O::kBfldh) return OperationClass::kBit;
  if (operation <= O::kTrap) return OperationClass::kFlow;
  return OperationClass::kSystem;
}

bool IsByteOperation(Operation operation) {
  switch (operation) {
    case O::kMovb:
    case O::kAddb:
    case O::kAddcb:
    case O::kSubb:
    case O::kSubcb:
    case O::kCmpb:
    case O::kAndb:
    case O::kOrb:
    case O::kXorb:
    case O::kNegb:
    case O::kCplb:
      return true;
    default:
      return false;
  }
}

}  // namespace velmora
