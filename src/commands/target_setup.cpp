#include "commands/target_setup.h"

#include <array>
#include <iomanip>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <optional>

#include "core/hex_text.h"
#include "link/link.h"

namespace velmora {
namespace {

// Where the definitions lack an identification register, its usual address.
struct IdRegister {
  const char* name;
  int32_t fallback;
  int16_t errorCode;
};

constexpr IdRegister kIdRegisters[] = {
    {"IDMANUF", 0xF07E, -1}, {"IDCHIP", 0xF07C, -2}, {"IDPROG", 0xF078, -3},
    {"IDMEM", 0xF07A, -4},   {"IDMEM2", 0xF076, -5},
};

bool notConnected(Link& link) {
  if (link.state() == TargetState::Ready) return false;
  link.context().log.WriteLine("*ERROR: Not Connected to Target");
  return true;
}

// Reads one register word through the monitor; nullopt when the read failed.
std::optional<int32_t> readRegister(Link& link, int32_t address) {
  const int16_t status = link.monitor().Cmd_Read(address, 2);
  MemoryImage& image = link.context().image;
  const int32_t value = image.GetByte(address) | (image.GetByte(address + 1) << 8);
  if (status != 0) return std::nullopt;
  return value;
}

// One decimal place with the user's decimal separator, leaving the program's own number
// formatting as it was.
std::string volts(int32_t value) {
  std::ostringstream text;
  try {
    text.imbue(std::locale(""));
  } catch (const std::runtime_error&) {
    text.imbue(std::locale::classic());
  }
  text << std::fixed << std::setprecision(1) << value * 20.0 / 256.0;
  return text.str();
}

std::string memoryType(int32_t type) {
  static constexpr std::array<const char*, 7> kTypes = {
      " >> Romless", " >> Mask ROM", " >> EPROM", " >> Flash", " >> OTP", " >> EEPROM", " >> DRAM/SRAM"};
  return type >= 0 && type < static_cast<int32_t>(kTypes.size()) ? kTypes[static_cast<size_t>(type)]
                                                                  : " >> Unknown memory type";
}

void memoryLines(std::vector<std::string>& lines, const std::string& name, int32_t value) {
  const int32_t type = (value & 0xF000) / 4096;
  const int32_t size = value & 0x0FFF;
  lines.push_back("*idreg: " + name + "/TYPE=" + HexN(type, 2) + memoryType(type));
  lines.push_back("*idreg: " + name + "/Size= " + std::to_string(size * 4) + " KByte");
}

}  // namespace

int16_t ReadResetConfig(Link& link, ResetConfiguration& record) {
  struct Field {
    const char* name;
    int32_t ResetConfiguration::*value;
  };
  static constexpr Field kFields[] = {
      {"RSTCFG", &ResetConfiguration::resetConfig},  {"FCONCS0", &ResetConfiguration::chipSelect0},
      {"TSTMOD", &ResetConfiguration::testMode},     {"RSTCON2", &ResetConfiguration::resetControl2},
      {"SYSSTAT", &ResetConfiguration::systemStatus}, {"IDMEM", &ResetConfiguration::memoryId},
  };
  for (size_t i = 0; i < std::size(kFields); ++i) {
    const auto address = link.registerAccess().AddressOf(kFields[i].name);
    const auto value = address ? readRegister(link, *address) : std::nullopt;
    if (!value) {
      link.context().log.WriteLine("*ERROR: reading reset configuration");
      return static_cast<int16_t>(-1 - static_cast<int>(i));
    }
    record.*(kFields[i].value) = *value;
  }
  return 0;
}

std::vector<std::string> ResetConfigLines(const ResetConfiguration& r) {
  std::vector<std::string> lines;
  lines.push_back("*Reset: SYSSTAT=" + HexN(r.systemStatus, 4));
  const std::string memory = (r.memoryId & 0xF000) == 0x1000 ? "ROM" : "FLASH";
  const int32_t package = r.testMode & 0xC000;
  const std::string pins = package == 0x0000 ? "100" : package == 0x4000 ? "128" : "144";
  lines.push_back("*Chip: " + memory + "_" + pins + " Pins");
  lines.push_back((r.resetControl2 & 0x0200) ? "*Reset Configuration: Single Chip Mode"
                                              : "*Reset Configuration: Bus Mode");
  static constexpr std::array<const char*, 4> kBus = {
      "*Reset Configuration: 8 Bit demultiplexed Bus", "*Reset Configuration: 8 Bit multiplexed Bus",
      "*Reset Configuration: 16 Bit demultiplexed Bus", "*Reset Configuration: 16 Bit multiplexed Bus"};
  lines.push_back(kBus[static_cast<size_t>((r.chipSelect0 & 0x0030) >> 4)]);
  static constexpr std::array<const char*, 4> kChipSelects = {
      "*Reset Configuration: CS0-CS2", "*Reset Configuration: CS0-CS1",
      "*Reset Configuration: No CS Lines", "*Reset Configuration: CS0-CS4"};
  lines.push_back(kChipSelects[static_cast<size_t>((r.resetConfig & 0x0600) >> 9)]);
  static constexpr std::array<const char*, 4> kSegments = {
      "*Reset Configuration: A16-A19", "*Reset Configuration: No Segment Address Lines",
      "*Reset Configuration: A16-A23", "*Reset Configuration: A16-A17"};
  lines.push_back(kSegments[static_cast<size_t>((r.resetConfig & 0x1800) >> 11)]);
  static constexpr std::array<const char*, 8> kClock = {
      "*PLL Reset Configuration: Prescaler Mode. OSC=4-50MHz",
      "*PLL Reset Configuration: factor=2,5. OSC=12-16MHz",
      "*PLL Reset Configuration: factor=2,5. OSC=8-12MHZ",
      "*PLL Reset Configuration: Direct Drive. OSC=4-40MHZ",
      "*PLL Reset Configuration: factor=5. OSC=4-6MHZ",
      "*PLL Reset Configuration: factor=2. OSC=12,5-18,7MHZ",
      "*PLL Reset Configuration: factor=4,5. OSC=5,6-8,3MHZ",
      "*PLL Reset Configuration: factor=3. OSC=8,3-12,5MHZ"};
  lines.push_back(kClock[static_cast<size_t>((r.resetConfig & 0xE000) >> 13)]);
  static constexpr std::array<const char*, 4> kLocks = {
      "*Oscillator is unlocked, PLL is unlocked", "*Oscillator is unlocked, PLL is locked",
      "*Oscillator is locked, PLL is unlocked", "*Oscillator is locked, PLL is locked"};
  lines.push_back(kLocks[static_cast<size_t>((r.systemStatus & 0xC000) >> 14)]);
  return lines;
}

void ShowResetConfig(Link& link, const ResetConfiguration& record) {
  for (const auto& line : ResetConfigLines(record)) link.context().log.WriteLine(line);
}

int16_t InitializeTarget(Link& link) {
  if (notConnected(link)) return kNotConnectedStatus;
  auto& context = link.context();
  const TargetConfiguration& target = context.settings.target;
  struct Step {
    InitRegister reg;
    InitValue value;
    InitValue address;  // the configured address of a generic register
  };
  static constexpr Step kOrder[] = {
      {InitRegister::FOCON, InitValue::FOCON, InitValue::FOCON},
      {InitRegister::FCONCS0, InitValue::FCONCS0, InitValue::FCONCS0},
      {InitRegister::TCONCS0, InitValue::TCONCS0, InitValue::TCONCS0},
      {InitRegister::EBCMOD0, InitValue::EBCMOD0, InitValue::EBCMOD0},
      {InitRegister::EBCMOD1, InitValue::EBCMOD1, InitValue::EBCMOD1},
      {InitRegister::SYSCON1, InitValue::SYSCON1, InitValue::SYSCON1},
      {InitRegister::SYSCON0, InitValue::SYSCON0, InitValue::SYSCON0},
      {InitRegister::SYSCON3, InitValue::SYSCON3, InitValue::SYSCON3},
      {InitRegister::RSTCON, InitValue::RSTCON, InitValue::RSTCON},
      {InitRegister::DPP0, InitValue::DPP0, InitValue::DPP0},
      {InitRegister::DPP1, InitValue::DPP1, InitValue::DPP1},
      {InitRegister::DPP2, InitValue::DPP2, InitValue::DPP2},
      {InitRegister::DPP3, InitValue::DPP3, InitValue::DPP3},
      {InitRegister::Generic1, InitValue::Generic1Data, InitValue::Generic1Address},
      {InitRegister::Generic2, InitValue::Generic2Data, InitValue::Generic2Address},
  };
  for (const Step& step : kOrder) {
    if (!target.IsEnabled(step.reg)) continue;
    const bool generic = step.reg == InitRegister::Generic1 || step.reg == InitRegister::Generic2;
    const std::string name = generic ? (step.reg == InitRegister::Generic1 ? "Generic Register 1"
                                                                           : "Generic Register 2")
                                     : std::string(InitRegisterName(step.reg));
    std::optional<int32_t> address;
    if (generic) {
      address = target.Value(step.address);
    } else {
      address = link.registerAccess().AddressOf(name);  // says so when it is missing
    }
    if (!address || *address < 0) continue;  // never write to an address we do not know
    const int32_t value = target.Value(step.value);
    context.image.SetByte(*address, static_cast<uint8_t>(value));
    context.image.SetByte(*address + 1, static_cast<uint8_t>(value >> 8));
    context.image.SetDefined(*address, true);
    context.image.SetDefined(*address + 1, true);
    link.monitor().Cmd_WriteWord(*address, value & 0xFFFF);
    context.log.WriteLine("*Initialisation: Write to " + name);
  }
  if (target.einitEnabled == 1) {
    link.monitor().Cmd_Einit();
    context.log.WriteLine("*Initialisation: Call EINIT Command");
  }
  return 0;
}

std::vector<std::string> IdentificationLines(const IdentificationValues& v) {
  std::vector<std::string> lines;
  const int32_t manufacturer = (v.manufacturer & 0xFFE0) / 32;
  const int32_t department = v.manufacturer & 0x001F;
  std::string maker = " >> Unknown Manufacturer";
  if (manufacturer == 0xC1) maker = " >> Brannor Semiconductor Division";
  if (manufacturer == 0x20) maker = " >> Ostvik Microsystems";
  lines.push_back("*idreg: MANUF=" + HexN(manufacturer, 4) + maker);
  static constexpr std::array<const char*, 4> kDepartments = {
      " >> Microcontroller Division", " >> Automotive Controllers",
      " >> Industrial Controllers", " >> Memory Products"};
  lines.push_back("*idreg: DEPT=" + HexN(department, 4) +
                  (department < 4 ? kDepartments[static_cast<size_t>(department)] : " >> Unknown Department "));
  lines.push_back("*idreg: CHIPID=" + HexN((v.chip & 0xFF00) / 256, 2));
  lines.push_back("*idreg: REVISION=" + HexN(v.chip & 0x00FF, 2));
  const int32_t vdd = v.programming & 0x00FF;
  const int32_t vpp = (v.programming & 0xFF00) / 256;
  lines.push_back("*idreg: PROGVDD=" + HexN(vdd, 2) + " >> " + volts(vdd) + " Volt");
  lines.push_back("*idreg: PROGVPP=" + HexN(vpp, 2) + " >> " + volts(vpp) + " Volt");
  memoryLines(lines, "IDMEM", v.memory);
  memoryLines(lines, "IDMEM2", v.memory2);
  return lines;
}

int16_t ShowIdRegisters(Link& link) {
  if (notConnected(link)) return kNotConnectedStatus;
  int16_t result = 0;
  std::array<int32_t, 5> values{};
  for (size_t i = 0; i < std::size(kIdRegisters); ++i) {
    const IdRegister& reg = kIdRegisters[i];
    const int index = link.context().registers.FindRegister(reg.name);
    const int32_t address = index >= 0 ? link.context().registers.At(index).address : reg.fallback;
    if (!readRegister(link, address)) result = reg.errorCode;
    MemoryImage& image = link.context().image;
    values[i] = image.GetByte(address) | (image.GetByte(address + 1) << 8);
  }
  for (const auto& line : IdentificationLines({values[0], values[1], values[2], values[3], values[4]})) {
    link.context().log.WriteLine(line);
  }
  return result;
}

void AfterConnection(Link& link, ResetConfiguration& record) {
  if (ReadResetConfig(link, record) == 0) ShowResetConfig(link, record);
  InitializeTarget(link);
}

}  // namespace velmora
