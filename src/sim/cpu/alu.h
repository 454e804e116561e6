// The arithmetic of the processor and the flags each instruction class leaves in the
// status word, as plain functions of their inputs. A result names the flags it decides
// (`affected`); the others keep their values.
#pragma once

#include <cstdint>

namespace velmora::alu {

struct Result {
  uint16_t value = 0;
  uint16_t flags = 0;     // N C V Z E as the status word holds them
  uint16_t affected = 0;  // which of them the instruction sets or clears

  uint16_t Apply(uint16_t psw) const {
    return static_cast<uint16_t>((psw & ~affected) | (flags & affected));
  }
};

// ADD, ADDC (carry = C before) and their byte forms. E says the second operand was the
// lowest negative number. ADDC keeps Z only while the result is zero as well.
Result Add(uint16_t a, uint16_t b, bool carry, bool byte);
// SUB, SUBC, CMP: C is the borrow.
Result Sub(uint16_t a, uint16_t b, bool borrow, bool byte);
// AND, OR, XOR and CPL: the result's Z and N, C and V cleared, E from the second operand.
Result Logic(uint16_t value, uint16_t source, bool byte);
// MOV and the stack moves: E, Z and N of the moved value; C and V keep theirs.
Result Move(uint16_t value, bool byte);

// Shifts and rotates by count (0..15). C is the last bit out (0 for a count of 0); the
// right shifts and ROR set V when any 1 went out through the carry.
Result Shl(uint16_t value, int count);
Result Shr(uint16_t value, int count);
Result Ashr(uint16_t value, int count);
Result Rol(uint16_t value, int count);
Result Ror(uint16_t value, int count);
// The number of left shifts that bring the highest 1 to bit 15; 0 for 0.
Result Prior(uint16_t value);

// Flags of a single tested bit (BSET, BCLR, BMOV, BMOVN, JBC, JNBS): Z the inverted bit,
// N the bit, C, V and E cleared.
Result BitTest(bool bit);
// BAND, BOR, BXOR, BCMP: Z both clear, V either set, C both set, N they differ.
Result BitPair(bool destination, bool source);

// Condition codes cc_UC (0) .. cc_ULE (15) against the status word.
bool Condition(uint32_t cc, uint16_t psw);

}  // namespace velmora::alu
