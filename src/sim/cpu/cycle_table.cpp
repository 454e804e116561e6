// The figures, in CPU clocks:
//
//   instruction                                 cycles
//   2-byte instructions (register, indirect)    2
//   4-byte instructions (memory, immediate)     4
//   RET, RETP, RETS, RETI, TRAP                 4 (the queue restarts at the return address)
//   unconditional JMPS, CALLS, CALLA, JMPA..    their length; taken branches add 2
//   MUL, MULU                                   10
//   DIV, DIVU                                   20
//   DIVL, DIVLU                                 20
//   SCXT, PCALL                                 their length + 2 (two stack accesses)
//   interrupt or trap entry                     8
//
// Memory wait states belong to the board's bus, which the processor does not time.
#include "sim/cpu/cycle_table.h"

namespace velmora {

int BaseCycles(Operation operation, int length) {
  switch (operation) {
    case Operation::kMul:
    case Operation::kMulu:
      return 10;
    case Operation::kDiv:
    case Operation::kDivu:
    case Operation::kDivl:
    case Operation::kDivlu:
      return 20;
    case Operation::kRet:
    case Operation::kRetp:
    case Operation::kRets:
    case Operation::kReti:
    case Operation::kTrap:
      return 4;
    case Operation::kScxt:
    case Operation::kPcall:
      return length + 2;
    default:
      return length;
  }
}

}  // namespace velmora
