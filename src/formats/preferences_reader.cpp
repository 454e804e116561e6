#include <charconv>
#include <functional>
#include <string_view>
#include <vector>

#include "core/hex_text.h"
#include "formats/memory_unit_keys.h"
#include "formats/preferences_file.h"
#include "formats/text_lines.h"

namespace velmora {
namespace {

enum class Section { None, Velmora, Communication, Controller, Memory, Register, Commands, Files, Messages, Frontend };

struct SectionHeader {
  std::string_view text;
  Section section;
};

constexpr SectionHeader kSections[] = {
    {"[Velmora]", Section::Velmora},   {"[Communication]", Section::Communication},
    {"[Controller]", Section::Controller}, {"[Memory]", Section::Memory},
    {"[Register]", Section::Register}, {"[Commands]", Section::Commands},
    {"[Files]", Section::Files},       {"[Messages]", Section::Messages},
    {"[Frontend]", Section::Frontend},
};

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

std::string_view withoutHexPrefix(std::string_view value) {
  return startsWithNoCase(value, "0X") ? value.substr(2) : value;
}

// A key of one section: its text (with "=" where it takes a value) and what it does.
struct KeySpec {
  Section section;
  std::string key;
  // Applies the value; returns false when the value could not be taken whole.
  std::function<bool(std::string_view)> apply;
};

class PreferencesParser {
 public:
  PreferencesParser(Settings& settings, PreferencesReadResult& result)
      : settings_(settings), result_(result) {
    buildKeys();
  }

  void Line(std::string_view raw, long number) {
    const std::string line = RemoveSpaces(raw);
    if (line.empty() || line[0] == ';' || line[0] == '#') return;
    for (const auto& header : kSections) {
      if (startsWithNoCase(line, header.text)) {
        section_ = header.section;
        unitRefused_ = false;
        return;
      }
    }
    for (const auto& entry : keys_) {
      if (!startsWithNoCase(line, entry.key)) continue;
      if (entry.section != section_ && !scriptKeyHere(entry)) continue;
      if (!entry.apply(std::string_view(line).substr(entry.key.size()))) {
        result_.issues.push_back({number, "value of " + entry.key + " not taken"});
      }
      return;
    }
    if (section_ == Section::Memory && memoryUnitLine(line, number)) return;
    result_.issues.push_back({number, "not a key of this section"});
  }

 private:
  // The script keys are honoured in [Files] and in [Frontend].
  bool scriptKeyHere(const KeySpec& entry) const {
    return entry.section == Section::Files && section_ == Section::Frontend &&
           (entry.key.rfind("USERSCRIPT", 0) == 0 || entry.key.rfind("LASTSCRIPTFILE", 0) == 0);
  }

  bool memoryUnitLine(const std::string& line, long number) {
    auto& units = settings_.target.units;
    if (units.empty()) return false;
    // The lines of a unit beyond the limit must not land in the last unit taken.
    if (unitRefused_) {
      result_.issues.push_back({number, "line of a memory unit beyond the limit of 33"});
      return true;
    }
    const UnitKeyResult applied = ApplyMemoryUnitKey(line, units.back());
    if (applied.recognized && !applied.problem.empty()) {
      result_.issues.push_back({number, applied.problem});
    }
    return applied.recognized;
  }

  static bool decimal(std::string_view value, int32_t& field) {
    int32_t number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    field = error == std::errc() ? number : 0;
    return error == std::errc() && end == value.data() + value.size();
  }
  static bool hex(std::string_view value, int32_t& field) {
    field = HexVal(withoutHexPrefix(value));
    return field != kNoNumber;
  }

  void add(Section section, std::string key, std::function<bool(std::string_view)> apply) {
    keys_.push_back({section, std::move(key), std::move(apply)});
  }
  void addDecimal(Section section, std::string key, int32_t& field) {
    add(section, std::move(key), [&field](std::string_view v) { return decimal(v, field); });
  }
  void addHex(Section section, std::string key, int32_t& field) {
    add(section, std::move(key), [&field](std::string_view v) { return hex(v, field); });
  }
  void addText(Section section, std::string key, std::string& field) {
    add(section, std::move(key), [&field](std::string_view v) {
      field = std::string(v);
      return true;
    });
  }

  void buildKeys() {
    auto& images = settings_.images;
    addDecimal(Section::Velmora, "IDLENGTH=", images.idLength);
    addText(Section::Velmora, "LOADER=", images.loader);
    addText(Section::Velmora, "VELMORA=", images.monitor);
    addText(Section::Velmora, "LOADERKLINE=", images.loaderKline);
    addText(Section::Velmora, "VELMORAKLINE=", images.monitorKline);
    addHex(Section::Velmora, "VELMORASTARTADDRESS=", images.monitorStart);
    addHex(Section::Velmora, "VELMORAENDADDRESS=", images.monitorEnd);

    auto& com = settings_.communication;
    add(Section::Communication, "PORT=COM", [&com](std::string_view v) {
      int32_t number = 0;
      const bool good = decimal(v, number);
      com.portNumber = number;
      com.portName.clear();
      return good;
    });
    add(Section::Communication, "PORTNAME=", [&com](std::string_view v) {
      com.SetPort(std::string(v));
      return true;
    });
    addDecimal(Section::Communication, "BAUDRATE=", com.baudRate);
    addDecimal(Section::Communication, "PARITY=", com.parity);
    addDecimal(Section::Communication, "DATA=", com.dataBits);
    addDecimal(Section::Communication, "STOPBITS=", com.stopBits);
    addDecimal(Section::Communication, "TIMEOUT=", com.timeout);
    addDecimal(Section::Communication, "KLINE=", com.kline);
    addDecimal(Section::Communication, "TMODE=", com.terminalMode);

    auto& target = settings_.target;
    add(Section::Controller, "MCTYPE=", [this, &target](std::string_view v) {
      target.mcType = std::string(v);
      result_.namesControllerType = true;
      return true;
    });
    addDecimal(Section::Controller, "CLK=", target.clockRate);

    add(Section::Memory, "NAME=", [this, &target](std::string_view v) {
      unitRefused_ = !target.AddMemoryUnit();
      if (unitRefused_) return false;
      target.units.back().name = std::string(v);
      return true;
    });

    for (int i = 0; i < kInitRegisterCount; ++i) {
      const auto reg = static_cast<InitRegister>(i);
      if (reg == InitRegister::Generic1 || reg == InitRegister::Generic2) continue;
      add(Section::Register, std::string(InitRegisterName(reg)) + "=",
          [&target, reg](std::string_view v) {
            int32_t value = 0;
            const bool good = hex(v, value);
            target.SetEnabled(reg, true);
            target.SetValue(initValueOf(reg), value);
            return good;
          });
    }
    addGeneric("GENERIC1=", InitRegister::Generic1, InitValue::Generic1Data, InitValue::Generic1Address);
    addGeneric("GENERIC2=", InitRegister::Generic2, InitValue::Generic2Data, InitValue::Generic2Address);

    add(Section::Commands, "EINIT", [&target](std::string_view v) {
      target.einitEnabled = 1;
      return v.empty();
    });

    auto& files = settings_.files;
    addText(Section::Files, "SAVEFILE=", files.saveAs.file);
    addDecimal(Section::Files, "SAVEFORMAT=", files.saveAs.format);
    addDecimal(Section::Files, "SAVEFILETYPE=", files.saveAs.fileType);
    addDecimal(Section::Files, "SAVERECORDSIZE=", files.saveAs.recordSize);
    addHex(Section::Files, "SAVESTARTADDR=", files.saveAs.startAddress);
    addHex(Section::Files, "SAVEENDADDR=", files.saveAs.endAddress);
    addRemembered("LOADFILE", files.load);
    addRemembered("CONFIGLOADFILE", files.configLoad);
    addRemembered("CONFIGSAVEFILE", files.configSave);
    addRemembered("SCRIPTFILE", files.script);
    for (size_t i = 0; i < 4; ++i) {
      addText(Section::Files, "LASTSCRIPTFILE" + std::to_string(i) + "=", files.lastScripts[i]);
      addText(Section::Files, "USERSCRIPT" + std::to_string(i) + "=", files.userScripts[i]);
    }

    auto& bytes = settings_.bytes;
    addHex(Section::Messages, "A_LOADER_STARTED=", bytes.loaderStarted);
    addHex(Section::Messages, "A_APPLICATION_STARTED=", bytes.applicationStarted);
    addHex(Section::Messages, "C_WRITE_BLOCK=", bytes.writeBlock);
    addHex(Section::Messages, "C_READ_BLOCK=", bytes.readBlock);
    addHex(Section::Messages, "C_WRITE_WORD=", bytes.writeWord);
    addHex(Section::Messages, "C_EINIT=", bytes.einit);
    addHex(Section::Messages, "C_TEST_COMM=", bytes.testComm);
    addHex(Section::Messages, "C_SWRESET=", bytes.swReset);
    addHex(Section::Messages, "C_GO=", bytes.go);
    addHex(Section::Messages, "C_CALL=", bytes.call);
    addHex(Section::Messages, "C_GETCHECKSUM=", bytes.getChecksum);
    addHex(Section::Messages, "A_ACK1=", bytes.ack1);
    addHex(Section::Messages, "A_ACK2=", bytes.ack2);

    auto& frontend = settings_.frontend;
    addText(Section::Frontend, "BLANK_CHAR=", frontend.blankChar);
    addHex(Section::Frontend, "COLOR_BGMARKED=", frontend.colorBgMarked);
    addHex(Section::Frontend, "COLOR_BGNORMAL=", frontend.colorBgNormal);
    addHex(Section::Frontend, "COLOR_FGVALID=", frontend.colorFgValid);
    addHex(Section::Frontend, "COLOR_FGINVALID=", frontend.colorFgInvalid);
    addHex(Section::Frontend, "COLOR_FGMONITOR=", frontend.colorFgMonitor);
    addDecimal(Section::Frontend, "LOGFILE=", frontend.logFile);
    add(Section::Frontend, "DISPLAY=", [&frontend](std::string_view v) {
      if (v.empty()) return false;
      frontend.display.emplace_back(v);
      return true;
    });
  }

  void addRemembered(const std::string& key, RememberedFile& file) {
    addText(Section::Files, key + "=", file.path);
    addDecimal(Section::Files, key + "TYPE=", file.fileType);
  }

  // GENERICn=0xDDDD,0xAAAAAA: data, then the register's address.
  void addGeneric(std::string key, InitRegister reg, InitValue data, InitValue address) {
    auto& target = settings_.target;
    add(Section::Register, std::move(key), [&target, reg, data, address](std::string_view v) {
      const auto comma = v.find(',');
      int32_t dataValue = 0;
      int32_t addressValue = 0;
      bool good = hex(v.substr(0, comma), dataValue);
      good = comma != std::string_view::npos && hex(v.substr(comma + 1), addressValue) && good;
      target.SetEnabled(reg, true);
      target.SetValue(data, dataValue);
      target.SetValue(address, comma == std::string_view::npos ? 0 : addressValue);
      return good;
    });
  }

  static InitValue initValueOf(InitRegister reg) {
    switch (reg) {
      case InitRegister::DPP0:
        return InitValue::DPP0;
      case InitRegister::DPP1:
        return InitValue::DPP1;
      case InitRegister::DPP2:
        return InitValue::DPP2;
      case InitRegister::DPP3:
        return InitValue::DPP3;
      default:
        return static_cast<InitValue>(static_cast<int>(reg));  // FOCON .. RSTCON share indexes
    }
  }

  Settings& settings_;
  PreferencesReadResult& result_;
  std::vector<KeySpec> keys_;
  Section section_ = Section::None;
  bool unitRefused_ = false;
};

}  // namespace

PreferencesReadResult ReadPreferences(const std::string& path, Settings& settings,
                                      const std::filesystem::path& homeFolder, MessageLog& log) {
  PreferencesReadResult result;
  SetDefaultPreferences(settings, homeFolder);
  TextLineReader reader(path);
  if (!reader.IsOpen()) {
    log.WriteLine("*ERROR: File " + path + " not found");
    return result;
  }
  result.found = true;
  PreferencesParser parser(settings, result);
  std::string_view line;
  while (reader.Next(line)) parser.Line(line, reader.LineNumber());
  return result;
}

}  // namespace velmora
