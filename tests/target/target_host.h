// The host's end of the serial line to a TOLVANE controller on the simulator, and the target
// sources assembled as the build assembles them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "core/memory_image.h"
#include "sim/target_machine.h"

namespace velmora::test {

using Bytes = std::vector<uint8_t>;

inline constexpr uint32_t kCpuHz = 20'000'000;
inline constexpr uint32_t kBaud = 57600;

// Assembled target code: one block of bytes from its first address.
struct TargetImage {
  int32_t address = -1;
  Bytes bytes;
};

// A file under target/, or source text; errors and gaps between the pieces fail the test
// and give an empty image.
TargetImage AssembleTargetFile(const std::string& relativePath);
TargetImage AssembleTargetText(const std::string& source);

// The two connections and the loader and monitor each takes.
struct LineForm {
  const char* name;
  const char* loader;
  const char* monitor;
  bool oneWire;
};
inline constexpr LineForm kTwoWire{"TwoWire", "loader/load.asm", "monitor/monitor.asm", false};
inline constexpr LineForm kOneWire{"OneWire", "loader/loadk.asm", "monitor/monitork.asm", true};

// Names the instances of a test over the line forms.
struct LineFormName {
  template <typename Info>
  std::string operator()(const Info& form) const {
    return form.param.name;
  }
};

class TargetHost {
 public:
  explicit TargetHost(bool oneWire);

  // Zero byte, identification byte, loader, monitor core: everything the target answered.
  Bytes Boot(const TargetImage& loader, const TargetImage& core);
  // Loads and starts the form's own loader and monitor.
  Bytes Boot(const LineForm& form);
  // Sends bytes, then waits up to `seconds` of virtual time until `count` answers came.
  Bytes Exchange(const Bytes& bytes, size_t count, double seconds = 0.5);
  // Lets `seconds` pass; what the target sent meanwhile.
  Bytes Listen(double seconds);
  double Seconds() const { return static_cast<double>(machine_->now()) / kCpuHz; }

  TargetMachine& machine() { return *machine_; }
  MemoryImage& memory() { return memory_; }

 private:
  MemoryImage memory_;
  std::unique_ptr<TargetMachine> machine_;
};

// Wire forms: addresses are three bytes, words two, low byte first.
Bytes Address(int32_t address);
Bytes Word(uint16_t word);
Bytes Concat(std::initializer_list<Bytes> parts);
uint16_t WordAt(const Bytes& bytes, size_t at);

}  // namespace velmora::test
