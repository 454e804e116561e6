#include "monitor_commands.h"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

// The command byte alone first: the host sends its parameters once A_ACK1 is back.
Bytes command(TargetHost& host, uint8_t byte, const Bytes& parameters, size_t answers,
              double seconds = 0.5) {
  Bytes answer = host.Exchange({byte}, 1);
  if (answer != Bytes{kAck1} || answers == 1) return answer;
  const Bytes rest = host.Exchange(parameters, answers - 1, seconds);
  answer.insert(answer.end(), rest.begin(), rest.end());
  return answer;
}

}  // namespace

Bytes WriteBlock(TargetHost& host, int32_t address, const Bytes& data) {
  const Bytes header = Concat({Address(address), Word(static_cast<uint16_t>(data.size()))});
  return command(host, kWriteBlock, Concat({header, data}), 2, 1.0);
}

Bytes ReadBlock(TargetHost& host, int32_t address, uint16_t count) {
  return command(host, kReadBlock, Concat({Address(address), Word(count)}), count + 2u,
                 1.0 + count * 12.0 / kBaud);
}

Bytes WriteWord(TargetHost& host, int32_t address, uint16_t word) {
  return command(host, kWriteWord, Concat({Address(address), Word(word)}), 2);
}

Bytes Plain(TargetHost& host, uint8_t byte, size_t answers) {
  return host.Exchange({byte}, answers);
}

Bytes Go(TargetHost& host, int32_t address, size_t more, double seconds) {
  return command(host, kGo, Address(address), 2 + more, seconds);
}

Bytes Call(TargetHost& host, int32_t address, const Registers& in, double seconds) {
  Bytes parameters = Address(address);
  for (uint16_t value : in) parameters = Concat({parameters, Word(value)});
  return command(host, kCall, parameters, 18, seconds);
}

Registers RegistersIn(const Bytes& answer) {
  Registers out{};
  for (size_t k = 0; k < out.size(); ++k) out[k] = WordAt(answer, 1 + 2 * k);
  return out;
}

uint16_t ReadWord(TargetHost& host, int32_t address) {
  const Bytes answer = ReadBlock(host, address, 2);
  EXPECT_EQ(answer.size(), 4u) << "reading " << std::hex << address;
  return answer.size() == 4 ? WordAt(answer, 1) : 0;
}

}  // namespace velmora::test
