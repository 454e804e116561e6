#include "cpu_rig.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/message_log.h"
#include "program_folder.h"

namespace velmora::test {

const OpcodeTable& ShippedOpcodes() {
  static const OpcodeTable table = [] {
    OpcodeTable t;
    MessageLog log((std::filesystem::temp_directory_path() / "velmora_cpu_tests.log").string());
    const OpcodeTableResult result =
        LoadOpcodeTable((ShippedDataFolder() / "CMDDEF" / "command.cmd").string(), t, log);
    EXPECT_TRUE(result.found);
    EXPECT_TRUE(result.issues.empty());
    return t;
  }();
  return table;
}

void CpuRig::Bytes(int32_t address, const std::vector<uint8_t>& bytes) {
  for (size_t i = 0; i < bytes.size(); ++i) {
    memory_.SetByte(address + static_cast<int32_t>(i), bytes[i]);
  }
}

void CpuRig::Code(const std::vector<uint8_t>& bytes, int32_t address) {
  Bytes(address, bytes);
  cpu_.Jump(address);
}

StepResult CpuRig::Run(const std::vector<uint8_t>& bytes, int32_t address) {
  Code(bytes, address);
  return cpu_.Step();
}

std::vector<StepKind> CpuRig::Steps(int count) {
  std::vector<StepKind> kinds;
  for (int i = 0; i < count; ++i) kinds.push_back(cpu_.Step().kind);
  return kinds;
}

void CheckRow(const InstructionRow& row) {
  SCOPED_TRACE(row.name);
  CpuRig rig;
  for (const auto& [n, value] : row.gprs) rig.cpu().SetGpr(n, value);
  for (const auto& [address, value] : row.memory) rig.cpu().PokeWord(address, value);
  rig.cpu().SetPsw(row.flags);
  const StepResult result = rig.Run(row.code);
  EXPECT_EQ(result.kind, StepKind::kExecuted);
  EXPECT_EQ(rig.cpu().Ip(), kCodeAt + static_cast<int32_t>(row.code.size()));
  for (const auto& [n, value] : row.gprsAfter) {
    EXPECT_EQ(rig.cpu().Gpr(n), value) << "R" << n;
  }
  for (const auto& [address, value] : row.memoryAfter) {
    EXPECT_EQ(rig.cpu().PeekWord(address), value) << "word at " << std::hex << address;
  }
  EXPECT_EQ(rig.cpu().Psw() & kFlagMask, row.flagsAfter) << "flags";
}

}  // namespace velmora::test
