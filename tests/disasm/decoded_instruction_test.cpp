// The decoder's structure: operand kinds and values per format, the layout table against
// the shipped opcode table, and the flow of every flow instruction. Decoded at 031000h
// with the shipped opcode table and the default type's registers.
#include "disasm/decoded_instruction.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "decoder_fixture.h"
#include "disasm/operand_formats.h"
#include "disasm/operand_layout.h"

namespace velmora {
namespace {

using test::Shipped;
using K = OperandKind;

constexpr int32_t kAt = 0x031000;

DecodedInstruction decode(const std::vector<uint8_t>& bytes, int32_t at = kAt) {
  MemoryImage image;
  image.StoreLoaded(at, bytes);
  InstructionDecoder decoder(Shipped().opcodes, Shipped().registers);
  return decoder.Decode(image, at);
}

struct Expected {
  K kind;
  uint32_t value;
  uint32_t second;
};

struct StructureCase {
  std::vector<uint8_t> bytes;
  std::vector<Expected> operands;
};

TEST(DecodedStructure, OperandKindsAndValuesPerFormat) {
  const StructureCase cases[] = {
      {{0xCC, 0x00}, {}},
      {{0x00, 0x12}, {{K::kWordRegister, 1, 0}, {K::kWordRegister, 2, 0}}},
      {{0xC0, 0x4A}, {{K::kWordRegister, 10, 0}, {K::kByteRegister, 4, 0}}},
      {{0x4B, 0x77}, {{K::kWordRegister, 7, 0}}},
      {{0xF2, 0xF1, 0x12, 0xFE}, {{K::kRegWord, 0xF1, 0}, {K::kMem, 0xFE12, 0}}},
      {{0xF7, 0xF4, 0x00, 0x40}, {{K::kMem, 0x4000, 0}, {K::kRegByte, 0xF4, 0}}},
      {{0xE7, 0xF6, 0x5A, 0x00}, {{K::kRegByte, 0xF6, 0}, {K::kImmediate, 0x5A, 0}}},
      {{0xB6, 0xFA, 0x00, 0x80}, {{K::kWordRegister, 10, 0}, {K::kImmediate, 0x8000, 0}}},
      {{0xE0, 0x15}, {{K::kWordRegister, 5, 0}, {K::kImmediate, 1, 0}}},
      {{0x48, 0x3E}, {{K::kWordRegister, 3, 0}, {K::kIndirectOrData3, 0xE, 0}}},
      {{0x88, 0x60}, {{K::kPreDecrement, 0, 0}, {K::kWordRegister, 6, 0}}},
      {{0xC4, 0x34, 0x02, 0x00}, {{K::kIndexed, 4, 2}, {K::kWordRegister, 3, 0}}},
      {{0x0A, 0x88, 0xF0, 0x30},
       {{K::kBitWord, 0x88, 0}, {K::kImmediate, 0xF0, 0}, {K::kImmediate, 0x30, 0}}},
      {{0x1A, 0x88, 0x30, 0xF0},
       {{K::kBitWord, 0x88, 0}, {K::kImmediate, 0xF0, 0}, {K::kImmediate, 0x30, 0}}},
      {{0x4A, 0x88, 0xE0, 0x15}, {{K::kBit, 0xE0, 5}, {K::kBit, 0x88, 1}}},
      {{0xBF, 0x88}, {{K::kBit, 0x88, 11}}},
      {{0x8A, 0x88, 0x05, 0xB0}, {{K::kBit, 0x88, 11}, {K::kRelativeFromNext, 0x100E, 0}}},
      {{0x3D, 0xFC}, {{K::kCondition, 3, 0}, {K::kRelative, 0x0FFA, 0}}},
      {{0xDA, 0x01, 0x34, 0x12}, {{K::kSegment, 1, 0}, {K::kCaddr, 0x1234, 0}}},
      {{0x9B, 0x34}, {{K::kTrapNumber, 0x1A, 0}}},
      {{0xD7, 0x50, 0x03, 0x02}, {{K::kPageNumber, 0x203, 0}, {K::kCount, 2, 0}}},
      {{0xDC, 0x73}, {{K::kWordRegister, 3, 0}, {K::kCount, 4, 0}}},
      {{0xD1, 0x20}, {{K::kCount, 3, 0}}},
  };
  for (const auto& c : cases) {
    const DecodedInstruction d = decode(c.bytes);
    const std::string text = FormatInstruction(d);
    ASSERT_EQ(d.status, DecodeStatus::kOk) << text;
    EXPECT_EQ(d.opcode, c.bytes[0]);
    EXPECT_EQ(d.length, static_cast<int>(c.bytes.size())) << text;
    ASSERT_EQ(d.operands.size(), c.operands.size()) << text;
    for (size_t i = 0; i < c.operands.size(); ++i) {
      EXPECT_EQ(d.operands[i].kind, c.operands[i].kind) << text << " operand " << i;
      EXPECT_EQ(d.operands[i].value, c.operands[i].value) << text << " operand " << i;
      EXPECT_EQ(d.operands[i].second, c.operands[i].second) << text << " operand " << i;
    }
  }
}

TEST(DecodedStructure, IllegalLinesKeepTheirLengthAndText) {
  const DecodedInstruction unknown = decode({0xC1, 0x00});
  EXPECT_EQ(unknown.status, DecodeStatus::kUnknownInstruction);
  EXPECT_EQ(unknown.length, 2);
  EXPECT_EQ(FormatInstruction(unknown), kIllegalInstruction);
  const DecodedInstruction unnamed = decode({0xF2, 0xF1, 0x18, 0xFE});
  EXPECT_EQ(unnamed.status, DecodeStatus::kUnnamedOperand);
  EXPECT_EQ(unnamed.length, 4);
  EXPECT_EQ(FormatInstruction(unnamed), kIllegalOperand);
}

// A layout that reads a field the opcode table does not cut, or two operands in one field,
// would decode one operand from another's bits and assemble over it.
TEST(OperandLayoutTable, EveryDefinedOpcodeHasItsFieldsEachReadOnce) {
  const OpcodeTable& opcodes = Shipped().opcodes;
  for (int code = 0; code < 256; ++code) {
    const auto opcode = static_cast<uint8_t>(code);
    const OpcodeEntry& entry = opcodes.At(opcode);
    const OperandFormat format = FormatOf(opcode);
    if (!entry.Defined()) continue;
    ASSERT_FALSE(LayoutsOf(format).empty()) << entry.mnemonic << " " << code;
    std::map<int, int> cut;  // width -> count
    for (int i = 0; i < entry.fieldCount; ++i) ++cut[entry.fieldWidth[static_cast<size_t>(i)]];
    for (const OperandLayout& layout : LayoutsOf(format)) {
      std::set<std::pair<int, int>> used;
      auto take = [&](FieldRef ref) {
        if (!ref.Used()) return;
        EXPECT_LT(ref.index, cut[ref.width])
            << entry.mnemonic << " opcode " << code << " width " << int{ref.width};
        EXPECT_TRUE(used.insert({ref.width, ref.index}).second)
            << entry.mnemonic << " opcode " << code << " reads a field twice";
      };
      for (const OperandSlot& slot : layout.Operands()) {
        take(slot.field);
        take(slot.second);
        take(slot.copy);
      }
      for (const FixedField& fixed : layout.Fixed()) take(fixed.field);
      if (layout.form >= 0) take(Two(0));
    }
  }
}

TEST(OperandLayoutTable, PrefixFormsAndTheirMnemonics) {
  const std::pair<OperandFormat, std::vector<std::string_view>> forms[] = {
      {OperandFormat::kExtendImmediate, {"EXTS", "EXTP", "EXTSR", "EXTPR"}},
      {OperandFormat::kExtendRegister, {"EXTS", "EXTP", "EXTSR", "EXTPR"}},
      {OperandFormat::kExtendRegisters, {"ATOMIC", "", "EXTR", ""}},
  };
  for (const auto& [format, names] : forms) {
    for (uint32_t form = 0; form < 4; ++form) {
      const OperandLayout* layout = LayoutFor(format, form);
      if (names[form].empty()) {
        EXPECT_EQ(layout, nullptr) << form;
      } else {
        ASSERT_NE(layout, nullptr) << names[form];
        EXPECT_EQ(layout->mnemonic, names[form]);
      }
    }
  }
}

struct FlowCase {
  std::vector<uint8_t> bytes;
  FlowKind kind;
  std::optional<int32_t> target;
};

TEST(DecodedFlow, KindAndTargetOfEveryFlowInstruction) {
  const FlowCase cases[] = {
      {{0x0D, 0x05}, FlowKind::kJump, 0x03100C},              // JMPR cc_UC: +2 +2*5
      {{0x2D, 0xFF}, FlowKind::kConditionalJump, 0x031000},   // JMPR cc_Z, back to itself
      {{0x0D, 0x80}, FlowKind::kJump, 0x030F02},              // -128 words
      {{0xBB, 0x10}, FlowKind::kCall, 0x031022},              // CALLR
      {{0xEA, 0x00, 0x34, 0x12}, FlowKind::kJump, 0x031234},  // JMPA cc_UC: in the segment
      {{0xEA, 0x80, 0x34, 0x12}, FlowKind::kConditionalJump, 0x031234},
      {{0xCA, 0x00, 0x00, 0x20}, FlowKind::kCall, 0x032000},  // CALLA cc_UC
      {{0xCA, 0x20, 0x00, 0x20}, FlowKind::kConditionalCall, 0x032000},
      {{0xFA, 0x05, 0x34, 0x12}, FlowKind::kJump, 0x051234},  // JMPS: segment of its own
      {{0xDA, 0x00, 0x00, 0x02}, FlowKind::kCall, 0x000200},  // CALLS
      {{0xE2, 0xF2, 0x00, 0x30}, FlowKind::kCall, 0x033000},  // PCALL
      // Jumps on a bit count from the following instruction: 4 bytes on.
      {{0x8A, 0x88, 0x05, 0xB0}, FlowKind::kConditionalJump, 0x03100E},
      {{0x9A, 0x88, 0xFE, 0xB0}, FlowKind::kConditionalJump, 0x031000},
      {{0xAA, 0x88, 0x00, 0xB0}, FlowKind::kConditionalJump, 0x031004},
      {{0xBA, 0x88, 0x7F, 0xB0}, FlowKind::kConditionalJump, 0x031102},
      {{0x9C, 0x03}, FlowKind::kJump, std::nullopt},  // JMPI cc_UC,[R3]
      {{0xAB, 0x2C}, FlowKind::kConditionalCall, std::nullopt},
      {{0x9B, 0x34}, FlowKind::kTrap, 0x68},  // vector of trap 1A
      {{0xCB, 0x00}, FlowKind::kReturn, std::nullopt},
      {{0xEB, 0xF2}, FlowKind::kReturn, std::nullopt},  // RETP
      {{0xDB, 0x00}, FlowKind::kFarReturn, std::nullopt},
      {{0xFB, 0x88}, FlowKind::kReturnFromInterrupt, std::nullopt},
      {{0xB7, 0x48, 0xB7, 0xB7}, FlowKind::kReset, 0},
      {{0x00, 0x12}, FlowKind::kSequential, std::nullopt},
      {{0xF2, 0xF1, 0x12, 0xFE}, FlowKind::kSequential, std::nullopt},
  };
  for (const auto& c : cases) {
    const DecodedInstruction d = decode(c.bytes);
    const std::string text = FormatInstruction(d);
    EXPECT_EQ(d.flow.kind, c.kind) << text;
    EXPECT_EQ(d.flow.target, c.target) << text;
  }
  EXPECT_EQ(decode({0x9C, 0x03}).flow.indirectRegister, 3);
  EXPECT_EQ(decode({0xAB, 0x2C}).flow.indirectRegister, 12);
}

TEST(DecodedFlow, PrefixCountsAndTheFollowingAddress) {
  const std::pair<std::vector<uint8_t>, int> cases[] = {{{0xD1, 0x00}, 1},
                                                        {{0xD1, 0xB0}, 4},
                                                        {{0xDC, 0x45}, 1},
                                                        {{0xD7, 0xD0, 0x03, 0x00}, 2},
                                                        {{0xD7, 0x30, 0x01, 0x00}, 4}};
  for (const auto& [bytes, count] : cases) {
    const DecodedInstruction d = decode(bytes);
    EXPECT_EQ(d.flow.kind, FlowKind::kPrefix) << FormatInstruction(d);
    EXPECT_EQ(d.flow.prefixCount, count) << FormatInstruction(d);
  }
  // The next instruction stays in the segment when the offset wraps.
  EXPECT_EQ(decode({0xE6, 0xF1, 0x00, 0x00}, 0x02FFFE).Following(), 0x020002);
}

}  // namespace
}  // namespace velmora
