#include "sim/cpu/alu.h"

#include "sim/cpu/core_registers.h"

namespace velmora::alu {
namespace {

using namespace velmora::core;

constexpr uint16_t kAll = kPswFlags;
constexpr uint16_t kMoveFlags = kPswE | kPswZ | kPswN;

uint32_t maskOf(bool byte) {
  return byte ? 0xFFU : 0xFFFFU;
}
uint32_t signOf(bool byte) {
  return byte ? 0x80U : 0x8000U;
}

uint16_t flag(bool on, uint16_t bit) {
  return on ? bit : 0;
}

uint16_t zeroNegative(uint32_t value, bool byte) {
  return static_cast<uint16_t>(flag((value & maskOf(byte)) == 0, kPswZ) |
                               flag((value & signOf(byte)) != 0, kPswN));
}

uint16_t lowestNegative(uint32_t source, bool byte) {
  return flag((source & maskOf(byte)) == signOf(byte), kPswE);
}

// Keeps the high byte of the destination out of a byte result: the caller writes bytes.
uint16_t narrow(uint32_t value, bool byte) {
  return static_cast<uint16_t>(value & maskOf(byte));
}

}  // namespace

Result Add(uint16_t a, uint16_t b, bool carry, bool byte) {
  const uint32_t mask = maskOf(byte), sign = signOf(byte);
  const uint32_t x = a & mask, y = b & mask;
  const uint32_t sum = x + y + (carry ? 1 : 0);
  const bool overflow = ((~(x ^ y) & (x ^ sum)) & sign) != 0;
  Result r{narrow(sum, byte), 0, kAll};
  r.flags = static_cast<uint16_t>(zeroNegative(sum, byte) | flag(sum > mask, kPswC) |
                                  flag(overflow, kPswV) | lowestNegative(y, byte));
  return r;
}

Result Sub(uint16_t a, uint16_t b, bool borrow, bool byte) {
  const uint32_t mask = maskOf(byte), sign = signOf(byte);
  const uint32_t x = a & mask, y = b & mask;
  const uint32_t difference = (x - y - (borrow ? 1 : 0)) & mask;
  const bool overflow = (((x ^ y) & (x ^ difference)) & sign) != 0;
  Result r{narrow(difference, byte), 0, kAll};
  r.flags = static_cast<uint16_t>(zeroNegative(difference, byte) |
                                  flag(y + (borrow ? 1U : 0U) > x, kPswC) | flag(overflow, kPswV) |
                                  lowestNegative(y, byte));
  return r;
}

Result Logic(uint16_t value, uint16_t source, bool byte) {
  return {narrow(value, byte),
          static_cast<uint16_t>(zeroNegative(value, byte) | lowestNegative(source, byte)), kAll};
}

Result Move(uint16_t value, bool byte) {
  return {narrow(value, byte),
          static_cast<uint16_t>(zeroNegative(value, byte) | lowestNegative(value, byte)),
          kMoveFlags};
}

Result Shl(uint16_t value, int count) {
  const uint32_t wide = static_cast<uint32_t>(value) << count;
  const bool carry = count > 0 && (wide & 0x10000U) != 0;
  return {static_cast<uint16_t>(wide),
          static_cast<uint16_t>(zeroNegative(wide & 0xFFFF, false) | flag(carry, kPswC)), kAll};
}

namespace {

// Right shifts: the bits that leave through the carry are value's low count bits; the
// last of them is C, any of the earlier ones is V.
uint16_t rightCarryFlags(uint16_t value, int count) {
  if (count == 0) return 0;
  const bool carry = ((value >> (count - 1)) & 1U) != 0;
  const uint32_t earlier = count > 1 ? value & ((1U << (count - 1)) - 1) : 0;
  return static_cast<uint16_t>(flag(carry, kPswC) | flag(earlier != 0, kPswV));
}

}  // namespace

Result Shr(uint16_t value, int count) {
  const auto out = static_cast<uint16_t>(value >> count);
  return {out, static_cast<uint16_t>(zeroNegative(out, false) | rightCarryFlags(value, count)),
          kAll};
}

Result Ashr(uint16_t value, int count) {
  const auto out = static_cast<uint16_t>(static_cast<int16_t>(value) >> count);
  return {out, static_cast<uint16_t>(zeroNegative(out, false) | rightCarryFlags(value, count)),
          kAll};
}

Result Rol(uint16_t value, int count) {
  const auto out =
      count == 0 ? value : static_cast<uint16_t>((value << count) | (value >> (16 - count)));
  const bool carry = count > 0 && (out & 1U) != 0;
  return {out, static_cast<uint16_t>(zeroNegative(out, false) | flag(carry, kPswC)), kAll};
}

Result Ror(uint16_t value, int count) {
  const auto out =
      count == 0 ? value : static_cast<uint16_t>((value >> count) | (value << (16 - count)));
  return {out, static_cast<uint16_t>(zeroNegative(out, false) | rightCarryFlags(value, count)),
          kAll};
}

Result Prior(uint16_t value) {
  uint16_t shifts = 0;
  if (value != 0) {
    while ((value & 0x8000U) == 0) {
      value = static_cast<uint16_t>(value << 1);
      ++shifts;
    }
  }
  return {shifts, flag(shifts == 0 && value == 0, kPswZ), kAll};
}

Result BitTest(bool bit) {
  return {0, static_cast<uint16_t>(flag(!bit, kPswZ) | flag(bit, kPswN)), kAll};
}

Result BitPair(bool destination, bool source) {
  const bool a = destination, b = source;
  return {0,
          static_cast<uint16_t>(flag(!(a || b), kPswZ) | flag(a || b, kPswV) | flag(a && b, kPswC) |
                                flag(a != b, kPswN)),
          kAll};
}

bool Condition(uint32_t cc, uint16_t psw) {
  const bool n = (psw & kPswN) != 0, c = (psw & kPswC) != 0, v = (psw & kPswV) != 0;
  const bool z = (psw & kPswZ) != 0, e = (psw & kPswE) != 0;
  switch (cc & 15) {
    case 0x0:
      return true;
    case 0x1:
      return !z && !e;
    case 0x2:
      return z;
    case 0x3:
      return !z;
    case 0x4:
      return v;
    case 0x5:
      return !v;
    case 0x6:
      return n;
    case 0x7:
      return !n;
    case 0x8:
      return c;
    case 0x9:
      return !c;
    case 0xA:
      return !z && n == v;
    case 0xB:
      return z || n != v;
    case 0xC:
      return n != v;
    case 0xD:
      return n == v;
    case 0xE:
      return !c && !z;
    default:
      return c || z;
  }
}

}  // namespace velmora::alu
