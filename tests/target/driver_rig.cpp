#include "driver_rig.h"

#include <gtest/gtest.h>

#include <string>

#include "decoder_fixture.h"
#include "device_test_support.h"
#include "sim/devices/flash_devices.h"

namespace velmora::test {
namespace {

// The monitor's return entry: the routine's RETS lands here and the run ends.
constexpr MonitorExits kMonitor{0xE00028, 0xE00024};
constexpr int32_t kSp = 0xFE12;
constexpr int32_t kSyscon = 0xFF12;
constexpr uint64_t kStepLimit = uint64_t{1} << 26;

// The file name of a DRIVER.PATH ("DRIVER\XFLASH16.HEX") in lower case without extension.
std::string driverStem(const std::string& path) {
  std::string stem = path.substr(path.find_last_of("\\/") + 1);
  stem = stem.substr(0, stem.find('.'));
  for (char& c : stem) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return stem;
}

// Passes everything on to the flash, but bit 15 of one word always reads 0.
class WeakWord : public BusDevice {
 public:
  WeakWord(BusDevice& flash, int32_t at) : flash_(flash), at_(at) {}
  uint16_t ReadWord(int32_t address) override { return weaken(address, flash_.ReadWord(address)); }
  uint16_t PeekWord(int32_t address) override { return weaken(address, flash_.PeekWord(address)); }
  void WriteWord(int32_t address, uint16_t value) override { flash_.WriteWord(address, value); }

 private:
  uint16_t weaken(int32_t address, uint16_t value) const {
    return (address & ~1) == at_ ? static_cast<uint16_t>(value & 0x7FFF) : value;
  }
  BusDevice& flash_;
  int32_t at_;
};

}  // namespace

DriverRig::DriverRig(std::string_view typeName, std::string_view source, RigOptions options)
    : type_(ShippedType(typeName)) {
  const std::string stem = std::string(source.substr(0, source.find('.')));
  for (auto& unit : type_.units) {
    if (unit.driverPath.empty() || driverStem(unit.driverPath) != stem) continue;
    if (options.sector0Mapped) {
      for (auto& region : unit.sections.front().regions) region.mapped = region.hasMapping;
    }
    unit_ = &unit;
  }
  if (unit_ == nullptr) {
    ADD_FAILURE() << typeName << " names no driver " << source;
    return;
  }
  std::vector<std::pair<const MemoryUnit*, BusDevice*>> flash;
  for (const auto& unit : type_.units) {
    const VirtualClock& clock = options.frozenFlash && &unit == unit_ ? frozen_ : clock_;
    auto device = MakeFlashDevice(unit, memory_, clock);
    if (!device) continue;
    BlankFlashUnit(unit, memory_);
    BusDevice* mapped = device.get();
    if (&unit == unit_) device_ = mapped;
    devices_.push_back(std::move(device));
    if (&unit == unit_ && options.weakWord >= 0) {
      devices_.push_back(std::make_unique<WeakWord>(*mapped, options.weakWord));
      mapped = devices_.back().get();
    }
    flash.emplace_back(&unit, mapped);
  }
  EXPECT_EQ(MapMemoryUnits(type_.units, bus_.map(),
                           [&](const MemoryUnit& unit) -> BusDevice* {
                             for (const auto& [u, d] : flash) {
                               if (u == &unit) return d;
                             }
                             return nullptr;
                           }),
            0);
  MapRegisterAreas(type_.registers, bus_.map());

  assembly_ =
      assembler::Assemble(std::string(VELMORA_TARGET_DIR) + "/drivers/" + std::string(source),
                          Shipped().opcodes, type_.registers);
  if (!assembly_.Ok()) {
    ADD_FAILURE() << assembly_.errors.front().Format();
    return;
  }
  for (const auto& chunk : assembly_.chunks) memory_.StoreLoaded(chunk.address, chunk.bytes);
  entry_ = assembly_.chunks.front().address;

  cpu_ = std::make_unique<Cpu>(bus_, Shipped().opcodes);
  cpu_->Reset();
  if (options.sector0Mapped) cpu_->PokeWord(kSyscon, cpu_->PeekWord(kSyscon) | 0x1000);
  ready_ = true;
}

DriverCall DriverRig::call(const DriverRegisters& in) {
  DriverCall result;
  if (!ready_) return result;
  for (size_t k = 0; k < in.size(); ++k) cpu_->SetGpr(8 + static_cast<int>(k), in[k]);
  const uint16_t sp = cpu_->PeekWord(kSp);
  RunTrace follow;
  follow.step = [this] {
    const StepResult step = cpu_->Step();
    clock_.cycles = cpu_->cycles();
    return step;
  };
  const RunOutcome outcome = CallOnProcessor(*cpu_, entry_, kMonitor, kStepLimit, follow);
  EXPECT_EQ(cpu_->PeekWord(kSp), sp) << "the stack is left as it was";
  result.end = outcome.end;
  result.cycles = outcome.cycles;
  for (size_t k = 0; k < result.out.size(); ++k) result.out[k] = cpu_->Gpr(8 + static_cast<int>(k));
  return result;
}

DriverCall DriverRig::program(int32_t address, const std::vector<uint8_t>& bytes) {
  const int32_t buffer = unit_->driverBufferAddress;
  memory_.StoreLoaded(buffer, bytes);
  return call({0x00, u16(static_cast<int>(bytes.size())), u16(buffer & 0xFFFF), u16(buffer >> 16),
               0, u16(address & 0xFFFF), u16(address >> 16), 0});
}

DriverCall DriverRig::lockFunction(uint16_t function, int sector,
                                   const std::vector<uint8_t>& password) {
  const int32_t buffer = unit_->driverBufferAddress;
  if (!password.empty()) memory_.StoreLoaded(buffer, password);
  return call({function, u16(static_cast<int>(password.size())), u16(buffer & 0xFFFF),
               u16(buffer >> 12), 0, 0, u16(sector), 0});
}

std::vector<uint8_t> DriverRig::cells(int32_t address, int32_t length) {
  std::vector<uint8_t> bytes(static_cast<size_t>(length));
  memory_.ReadBytes(address, bytes);
  return bytes;
}

void DriverRig::fill(int32_t address, int32_t length, uint8_t value) {
  memory_.StoreLoaded(address, std::vector<uint8_t>(static_cast<size_t>(length), value));
}

}  // namespace velmora::test
