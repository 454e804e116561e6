#include "link/monitor_protocol.h"

#include <functional>
#include <vector>

#include "core/frontend.h"
#include "link/timeouts.h"

namespace velmora {

using namespace monitor_status;

MonitorProtocol::MonitorProtocol(Transport& transport, const MonitorBytes& bytes,
                                 MemoryImage& image)
    : transport_(transport), bytes_(bytes), image_(image) {}

bool MonitorProtocol::expect(int32_t ack) { return transport_.SSReceive() == ack; }

void MonitorProtocol::sendAddress(int32_t address) {
  std::vector<uint8_t> bytes = {static_cast<uint8_t>(address), static_cast<uint8_t>(address >> 8),
                                static_cast<uint8_t>(address >> 16)};
  for (uint8_t byte : bytes) transport_.SSSend(byte);
}

void MonitorProtocol::sendWord(int32_t value) {
  transport_.SSSend(static_cast<uint8_t>(value));
  transport_.SSSend(static_cast<uint8_t>(value >> 8));
}

int16_t MonitorProtocol::begin(int32_t command) {
  // A reply that came after its time-out is still in the input; it must not be read as
  // the answer to this command.
  transport_.Discard();
  transport_.SSSend(static_cast<uint8_t>(command));
  return expect(bytes_.ack1) ? kOk : kNoAck1;
}

int16_t MonitorProtocol::finish(int16_t status) { return expect(bytes_.ack2) ? status : kNoAck2; }

int16_t MonitorProtocol::simple(int32_t command) {
  Exchange exchange(transport_);
  return finish(begin(command));
}

int16_t MonitorProtocol::checksumExchange(uint8_t checksum, bool mismatchUnconfirms,
                                          const std::function<void()>& unconfirmed, int16_t status) {
  transport_.SSSend(static_cast<uint8_t>(bytes_.getChecksum));
  if (!expect(bytes_.ack1)) status = kNoChecksumAck1;
  if (transport_.SSReceive() != checksum) {
    if (mismatchUnconfirms) unconfirmed();
    status = kChecksum;
  }
  if (!expect(bytes_.ack2)) {
    unconfirmed();
    status = kNoChecksumAck2;
  }
  return status;
}

int16_t MonitorProtocol::Cmd_Einit() { return simple(bytes_.einit); }
int16_t MonitorProtocol::Cmd_reconnect() { return simple(bytes_.testComm); }
int16_t MonitorProtocol::Cmd_Swreset() { return simple(bytes_.swReset); }

int16_t MonitorProtocol::Cmd_Jmp(int32_t address) {
  Exchange exchange(transport_);
  int16_t status = begin(bytes_.go);
  sendAddress(address);
  return finish(status);
}

int16_t MonitorProtocol::Cmd_WriteWord(int32_t address, int32_t value) {
  Exchange exchange(transport_);
  int16_t status = begin(bytes_.writeWord);
  sendAddress(address);
  sendWord(value);
  return finish(status);
}

int16_t MonitorProtocol::Cmd_Call(int32_t address, CallRegisters& registers) {
  Exchange exchange(transport_);
  int16_t status = begin(bytes_.call);
  sendAddress(address);
  for (int32_t value : registers) sendWord(value);

  // The routine runs now; it may take several time-out periods before it returns.
  int16_t first = -1;
  for (int period = 0; period < kCallReplyPeriods && first < 0; ++period) {
    first = transport_.SSReceive();
    if (transport_.PortFailed()) break;
  }
  if (first < 0) return kNoAck2;

  std::array<uint8_t, 16> reply{};
  reply[0] = static_cast<uint8_t>(first);
  for (size_t i = 1; i < reply.size(); ++i) {
    const int16_t byte = transport_.SSReceive();
    if (byte < 0) {
      transport_.frontend().MessageBox(kMissingReplyByteMessage, BoxButtons::Ok, BoxIcon::None, {});
      continue;
    }
    reply[i] = static_cast<uint8_t>(byte);
  }
  if (!expect(bytes_.ack2)) return kNoAck1;
  for (size_t k = 0; k < registers.size(); ++k) {
    registers[k] = reply[2 * k] | (reply[2 * k + 1] << 8);
  }
  return status;
}

int16_t MonitorProtocol::Cmd_Write(int32_t address, int32_t count) {
  Exchange exchange(transport_);
  int16_t status = begin(bytes_.writeBlock);
  sendAddress(address);
  sendWord(count);

  std::vector<uint8_t> block(static_cast<size_t>(count));
  image_.ReadBytes(address, block);
  image_.ChangeFlags(address, block.size(), kValid, true);
  uint8_t checksum = 0;
  for (uint8_t byte : block) checksum ^= byte;
  transport_.SSSendN(block);

  const auto unconfirmed = [&] { image_.ChangeFlags(address, static_cast<size_t>(count), kValid, false); };
  if (!expect(bytes_.ack2)) {
    unconfirmed();
    status = kNoAck2;
  }
  return checksumExchange(checksum, true, unconfirmed, status);
}

int16_t MonitorProtocol::Cmd_Read(int32_t address, int32_t count) {
  Exchange exchange(transport_);
  int16_t status = begin(bytes_.readBlock);
  sendAddress(address);
  sendWord(count);

  const auto unconfirmed = [&] { image_.ChangeFlags(address, static_cast<size_t>(count), kValid, false); };
  std::vector<uint8_t> block;
  uint8_t checksum = 0;
  if (transport_.SSReceiveN(block, static_cast<size_t>(count)) != 0) {
    unconfirmed();  // a short block: what the image held is no longer known to match
    status = kChecksum;
  } else {
    for (uint8_t byte : block) checksum ^= byte;
  }
  if (!expect(bytes_.ack2)) {
    unconfirmed();
    status = kNoAck2;
  }
  // A checksum that differs says the bytes are wrong, not that the image's are: its flags
  // stay as they are.
  status = checksumExchange(checksum, false, unconfirmed, status);
  // The block reaches the image only once every step has confirmed it: bytes of a failed
  // read would count as the target's and be saved as such.
  if (status == kOk) image_.StoreFromTarget(address, block);
  return status;
}

}  // namespace velmora
