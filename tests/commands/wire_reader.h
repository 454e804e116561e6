// What the host put on the line, split back into monitor commands (default command bytes),
// and a link fixture that reads the message lines and the wire since its last mark.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "link/monitor_protocol.h"
#include "link_fixture.h"

namespace velmora::test {

using Bytes = std::vector<uint8_t>;
using Texts = std::vector<std::string>;

inline constexpr uint8_t kWriteBlock = 0x84;
inline constexpr uint8_t kReadBlock = 0x85;
inline constexpr uint8_t kWriteWord = 0x82;
inline constexpr uint8_t kCall = 0x9F;
inline constexpr uint8_t kEinit = 0x31;

struct WireCommand {
  uint8_t code = 0;
  int32_t address = -1;
  int32_t count = 0;          // of a block command; the value of a word write
  Bytes data;                 // of a block write
  CallRegisters registers{};  // of a call
};

inline std::vector<WireCommand> ParseCommands(const Bytes& sent) {
  std::vector<WireCommand> commands;
  size_t i = 0;
  const auto take = [&](size_t n) {
    int32_t value = 0;
    for (size_t k = 0; k < n && i < sent.size(); ++k, ++i) value |= sent[i] << (8 * k);
    return value;
  };
  while (i < sent.size()) {
    WireCommand c;
    c.code = sent[i++];
    if (c.code == kWriteBlock || c.code == kReadBlock || c.code == kWriteWord) {
      c.address = take(3);
      c.count = take(2);
      if (c.code == kWriteBlock) {
        const size_t n = std::min(static_cast<size_t>(c.count), sent.size() - i);
        c.data.assign(sent.begin() + static_cast<long>(i), sent.begin() + static_cast<long>(i + n));
        i += n;
      }
    } else if (c.code == kCall) {
      c.address = take(3);
      for (auto& value : c.registers) value = take(2);
    }
    commands.push_back(std::move(c));
  }
  return commands;
}

inline std::vector<WireCommand> Only(const Bytes& sent, uint8_t code) {
  auto commands = ParseCommands(sent);
  std::erase_if(commands, [code](const WireCommand& c) { return c.code != code; });
  return commands;
}

// (address, count) of every command of one kind.
inline std::vector<std::pair<int32_t, int32_t>> Blocks(const Bytes& sent, uint8_t code) {
  std::vector<std::pair<int32_t, int32_t>> blocks;
  for (const auto& c : Only(sent, code)) blocks.emplace_back(c.address, c.count);
  return blocks;
}

inline Bytes Pattern(size_t n, uint8_t seed) {
  Bytes bytes(n);
  for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<uint8_t>(seed + i * 13 + (i >> 7));
  return bytes;
}

class WireFixture : public LinkFixture {
 protected:
  void ConnectAndMark() {
    Connect();
    Mark();
  }
  void Mark() {
    seen_ = Lines().size();
    TakeSent();
  }
  Texts NewLines() const {
    const auto all = Lines();
    return {all.begin() + static_cast<long>(std::min(seen_, all.size())), all.end()};
  }
  // Puts bytes into the host image and selects them.
  void Select(int32_t start, const Bytes& bytes) {
    image.StoreLoaded(start, bytes);
    ASSERT_TRUE(selections.AddSelection(start, start + static_cast<int32_t>(bytes.size()) - 1));
  }
  Bytes OnBoard(int32_t start, size_t n) {
    Bytes bytes(n);
    board->memory().ReadBytes(start, bytes);
    return bytes;
  }

 private:
  size_t seen_ = 0;
};

}  // namespace velmora::test
