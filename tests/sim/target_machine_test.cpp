// The whole controller on its virtual clock: bootstrap ROM, a loader assembled here and
// run on the processor, the serial channel at the rate the ROM measured, and the memory map
// of the default type.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "asm/assembler.h"
#include "core/message_log.h"
#include "decoder_fixture.h"
#include "sim/devices/board_layout.h"
#include "sim/target_machine.h"

namespace velmora {
namespace {

constexpr uint32_t kHz = 20'000'000;

// A loader that answers every byte with the byte plus one, by polling.
constexpr const char* kAnswerPlusOne = R"(
        ORG   0FA40h
wait:   JNB   S0RIR,wait
        BCLR  S0RIR
        MOV   R0,S0RBUF
        ADD   R0,#1
        BCLR  S0TIR
        MOV   S0TBUF,R0
        JMPR  cc_UC,wait
)";

// Sends one byte, then whatever it receives is stored at E00100 onwards.
constexpr const char* kSendThenStore = R"(
        ORG   0FA40h
        MOV   S0TBUF,#005Ah
        MOV   R1,#0100h
        MOV   DPP0,#0380h
wait:   JNB   S0RIR,wait
        BCLR  S0RIR
        MOVB  [R1],S0RBUF
        ADD   R1,#1
        JMPR  cc_UC,wait
)";

// Hands every byte to a routine at E00200 (R8 in and out) and sends what comes back.
constexpr const char* kCallEveryByte = R"(
        ORG   0FA40h
wait:   JNB   S0RIR,wait
        BCLR  S0RIR
        MOV   R8,S0RBUF
        CALLS 0E0h,0200h
        BCLR  S0TIR
        MOV   S0TBUF,R8
        JMPR  cc_UC,wait
)";

std::vector<uint8_t> assembleLoader(const std::string& source) {
  const auto reader = [&source](const std::string&) -> std::optional<std::string> { return source; };
  const auto assembly = assembler::Assemble("loader.asm", test::Shipped().opcodes,
                                            test::Shipped().registers, reader);
  EXPECT_TRUE(assembly.Ok()) << (assembly.Ok() ? "" : assembly.errors.front().Format());
  std::vector<uint8_t> bytes;
  for (const auto& chunk : assembly.chunks) bytes.insert(bytes.end(), chunk.bytes.begin(), chunk.bytes.end());
  EXPECT_LE(bytes.size(), 32u);
  bytes.resize(32);  // the ROM takes 32 bytes whatever the code needs
  return bytes;
}

class TargetMachineTest : public ::testing::Test {
 protected:
  void make(bool kline = false, const char* typeName = "TOLVANE") {
    MessageLog log;
    auto type = LoadTypeDefinitions(test::ShippedDataFolder(), typeName, log);
    ASSERT_TRUE(type.has_value());
    TargetMachineSetup setup;
    setup.units = type->units;
    setup.registers = std::make_shared<RegisterTable>(type->registers);
    setup.opcodes = std::make_shared<OpcodeTable>(test::Shipped().opcodes);
    setup.ids = type->ids;
    setup.cpuHz = kHz;
    setup.kline = kline;
    machine = TargetMachine::Make(std::move(setup), memory);
    ASSERT_NE(machine, nullptr);
  }

  // Zero byte, identification byte, then the loader at baud.
  void boot(const std::vector<uint8_t>& loader, uint32_t baud) {
    const uint8_t zero = 0;
    machine->HostSends({&zero, 1}, baud);
    ASSERT_TRUE(machine->RunUntilSent(1, kHz));
    const auto id = machine->TakeSent();
    EXPECT_EQ(id.front().value, 0xD5);
    machine->HostSends(loader, baud);
    machine->Run(machine->HostLineFreeAt() - machine->now() + 1);
    EXPECT_TRUE(machine->started());
  }

  std::vector<uint8_t> values(const std::vector<TargetMachine::SentByte>& sent) {
    std::vector<uint8_t> out;
    for (const auto& byte : sent) out.push_back(byte.value);
    return out;
  }

  MemoryImage memory;
  std::unique_ptr<TargetMachine> machine;
};

TEST_F(TargetMachineTest, TheRomAnswersAtTheMeasuredRateAndStartsTheLoader) {
  make();
  const uint8_t zero = 0;
  machine->HostSends({&zero, 1}, 9600);
  const uint64_t zeroArrives = machine->HostLineFreeAt();
  machine->Run(kHz / 100);
  const auto id = machine->TakeSent();
  ASSERT_EQ(id.size(), 1u);
  EXPECT_EQ(id[0].value, 0xD5);
  // The identification frame follows the zero byte at about the host's own rate.
  const double frameSeconds = static_cast<double>(id[0].cycle - zeroArrives) / kHz;
  EXPECT_NEAR(frameSeconds, 10.0 / 9600, 10.0 / 9600 * 0.03);
  EXPECT_FALSE(machine->started());

  const auto loader = assembleLoader(kAnswerPlusOne);
  machine->HostSends(loader, 9600);
  machine->Run(machine->HostLineFreeAt() - machine->now() + 1);
  ASSERT_TRUE(machine->started());
  std::vector<uint8_t> inRam(32);
  memory.ReadBytes(0xFA40, inRam);
  EXPECT_EQ(inRam, loader);

  const std::vector<uint8_t> question = {'A', 'x', 0xFF};
  machine->HostSends(question, 9600);
  ASSERT_TRUE(machine->RunUntilSent(3, kHz));
  EXPECT_EQ(values(machine->TakeSent()), (std::vector<uint8_t>{'B', 'y', 0x00}));
}

TEST_F(TargetMachineTest, BytesBeforeTheZeroByteAreNoise) {
  make();
  const std::vector<uint8_t> noise = {0x55, 0x80, 0x00};
  machine->HostSends(noise, 19200);
  ASSERT_TRUE(machine->RunUntilSent(1, kHz));
  EXPECT_EQ(values(machine->TakeSent()), std::vector<uint8_t>{0xD5});
  machine->Run(kHz / 10);
  EXPECT_TRUE(machine->TakeSent().empty()) << "one identification byte, not one per byte";
}

TEST_F(TargetMachineTest, OnOneWireTheLoaderHearsItsOwnByte) {
  make(true);
  boot(assembleLoader(kSendThenStore), 19200);
  ASSERT_TRUE(machine->RunUntilSent(1, kHz));
  EXPECT_EQ(values(machine->TakeSent()), std::vector<uint8_t>{0x5A});
  const std::vector<uint8_t> more = {0x11, 0x22};
  machine->HostSends(more, 19200);
  machine->Run(kHz / 100);
  std::vector<uint8_t> stored(3);
  memory.ReadBytes(0xE00100, stored);
  EXPECT_EQ(stored, (std::vector<uint8_t>{0x5A, 0x11, 0x22}));
}

TEST_F(TargetMachineTest, TheBusFollowsTheTypesMemories) {
  make();
  BoardBus& bus = machine->bus();
  bus.WriteWord(0xE00010, 0x1234);  // PSRAM
  EXPECT_EQ(bus.ReadWord(0xE00010), 0x1234);
  bus.WriteWord(0x00F600, 0xBEEF);  // internal RAM
  EXPECT_EQ(bus.ReadWord(0x00F600), 0xBEEF);
  EXPECT_EQ(bus.ReadWord(0xC00000), 0xFFFF) << "on-chip flash starts erased";
  bus.WriteWord(0xC00000, 0x0000);  // a flash takes commands, not data
  EXPECT_EQ(memory.GetByte(0xC00000), 0xFF);
  bus.WriteWord(0x700000, 0x5555);  // nothing answers there
  EXPECT_EQ(bus.ReadWord(0x700000), MemoryMap::kOpenBus);
}

TEST_F(TargetMachineTest, TheTraceShowsWhatTheLoaderRuns) {
  make();
  std::ostringstream trace;
  machine->SetTrace(&trace);
  boot(assembleLoader(kAnswerPlusOne), 57600);
  machine->Run(200);
  EXPECT_NE(trace.str().find("00FA40"), std::string::npos);
  EXPECT_NE(trace.str().find("JNB"), std::string::npos);
}

// A poll of a flag on itself lets time jump to the next frame: a few hundred steps cover
// what would be tens of thousands of cycles of polling, and the answer is not late for it.
TEST_F(TargetMachineTest, APollingTargetWaitsAndTimeJumpsToTheLine) {
  make();
  boot(assembleLoader(kAnswerPlusOne), 9600);
  EXPECT_TRUE(machine->RunUntilWaiting(100));
  EXPECT_TRUE(machine->waiting());
  const uint8_t question = 'A';
  machine->HostSends({&question, 1}, 9600);
  EXPECT_FALSE(machine->waiting()) << "a byte is on its way";
  const uint64_t arrives = machine->HostLineFreeAt();
  const uint64_t frame = machine->serial().FrameCycles();
  ASSERT_TRUE(machine->RunUntilWaiting(200));
  const auto answer = machine->TakeSent();
  ASSERT_EQ(answer.size(), 1u);
  EXPECT_EQ(answer[0].value, 'B');
  EXPECT_GE(answer[0].cycle, arrives + frame);
  EXPECT_LE(answer[0].cycle, arrives + frame + 200) << "a few instructions after the byte";
}

// A routine the bench stands in for takes its time and returns to its caller's next
// instruction with the registers it set.
TEST_F(TargetMachineTest, ACodeHookStandsInForARoutineAndReturns) {
  make();
  constexpr uint64_t kRoutineCycles = 20'000;  // 1 ms
  int calls = 0;
  machine->SetCodeHook(0xE00200, [&calls](Cpu& cpu) {
    ++calls;
    cpu.SetGpr(8, static_cast<uint16_t>(cpu.Gpr(8) * 2));
    return kRoutineCycles;
  });
  boot(assembleLoader(kCallEveryByte), 57600);
  const uint8_t question = 0x21;
  machine->HostSends({&question, 1}, 57600);
  const uint64_t arrives = machine->HostLineFreeAt();
  ASSERT_TRUE(machine->RunUntilWaiting(1000));
  const auto answer = machine->TakeSent();
  ASSERT_EQ(answer.size(), 1u);
  EXPECT_EQ(answer[0].value, 0x42);
  EXPECT_GE(answer[0].cycle, arrives + kRoutineCycles);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(machine->cpu().PeekWord(0xFE12), 0xFC00) << "the far return took both words";
}

TEST_F(TargetMachineTest, ASecondChannelWhereTheTypeHasOne) {
  make(false, "KESSEL");
  ASSERT_NE(machine->secondSerial(), nullptr);
  EXPECT_EQ(machine->secondSerial()->registers().control, 0xFFB8);
  make(false, "TOLVANE");
  EXPECT_EQ(machine->secondSerial(), nullptr);
}

}  // namespace
}  // namespace velmora
