#include "core/atomic_file.h"
#include "core/hex_text.h"
#include "formats/memory_unit_keys.h"
#include "formats/preferences_file.h"

namespace velmora {
namespace {

class LineWriter {
 public:
  void Line(const std::string& text = {}) {
    out_ += text;
    out_ += "\r\n";
  }
  void Raw(const std::string& text) { out_ += text; }
  std::string Take() { return std::move(out_); }

 private:
  std::string out_;
};

std::string hex(const std::string& key, int32_t value, int digits) {
  return key + "=0x" + HexN(value, digits);
}

void writeVelmora(LineWriter& w, const MonitorImages& images) {
  w.Line("[Velmora]");
  w.Line("IDLENGTH=" + std::to_string(images.idLength));
  w.Line("LOADER=" + images.loader);
  w.Line("VELMORA=" + images.monitor);
  w.Line("LOADERKLINE=" + images.loaderKline);
  w.Line("VELMORAKLINE=" + images.monitorKline);
  w.Line("VELMORASTARTADDRESS=" + HexN(images.monitorStart, 6));
  w.Line("VELMORAENDADDRESS=" + HexN(images.monitorEnd, 6));
}

// A port given by a device name keeps a COM line for older readers and adds its name.
void writeCommunication(LineWriter& w, const CommunicationSettings& com) {
  w.Line("[Communication]");
  w.Line("PORT=COM" + std::to_string(com.portNumber > 0 ? com.portNumber : 1));
  if (com.portNumber <= 0) w.Line("PORTNAME=" + com.portName);
  w.Line("BAUDRATE=" + std::to_string(com.baudRate));
  w.Line("PARITY=" + std::to_string(com.parity));
  w.Line("DATA=" + std::to_string(com.dataBits));
  w.Line("STOPBITS=" + std::to_string(com.stopBits));
  w.Line("TIMEOUT=" + std::to_string(com.timeout));
  w.Line("KLINE=" + std::to_string(com.kline));
  w.Line("TMODE=" + std::to_string(com.terminalMode));
}

void writeMemory(LineWriter& w, const TargetConfiguration& target) {
  w.Line("[Memory]");
  for (const auto& unit : target.units) {
    w.Line("NAME=" + unit.name);
    w.Raw(MemoryUnitKeyLines(unit));
    w.Line();
  }
}

void writeRegisters(LineWriter& w, const TargetConfiguration& target) {
  w.Line("[Register]");
  static constexpr std::pair<InitRegister, InitValue> kNamed[] = {
      {InitRegister::FOCON, InitValue::FOCON},     {InitRegister::FCONCS0, InitValue::FCONCS0},
      {InitRegister::TCONCS0, InitValue::TCONCS0}, {InitRegister::EBCMOD0, InitValue::EBCMOD0},
      {InitRegister::EBCMOD1, InitValue::EBCMOD1}, {InitRegister::SYSCON0, InitValue::SYSCON0},
      {InitRegister::SYSCON1, InitValue::SYSCON1}, {InitRegister::SYSCON3, InitValue::SYSCON3},
      {InitRegister::RSTCON, InitValue::RSTCON},   {InitRegister::DPP0, InitValue::DPP0},
      {InitRegister::DPP1, InitValue::DPP1},       {InitRegister::DPP2, InitValue::DPP2},
      {InitRegister::DPP3, InitValue::DPP3},
  };
  for (const auto& [reg, value] : kNamed) {
    if (target.IsEnabled(reg)) w.Line(hex(std::string(InitRegisterName(reg)), target.Value(value), 4));
  }
  static constexpr std::tuple<const char*, InitRegister, InitValue, InitValue> kGeneric[] = {
      {"GENERIC1", InitRegister::Generic1, InitValue::Generic1Data, InitValue::Generic1Address},
      {"GENERIC2", InitRegister::Generic2, InitValue::Generic2Data, InitValue::Generic2Address},
  };
  for (const auto& [key, reg, data, address] : kGeneric) {
    if (!target.IsEnabled(reg)) continue;
    w.Line(hex(key, target.Value(data), 4) + ",0x" + HexN(target.Value(address), 6));
  }
}

void writeFiles(LineWriter& w, const FileStates& files) {
  w.Line("[Files]");
  w.Line("SAVEFILE=" + files.saveAs.file);
  w.Line("SAVEFORMAT=" + std::to_string(files.saveAs.format));
  w.Line("SAVEFILETYPE=" + std::to_string(files.saveAs.fileType));
  w.Line("SAVERECORDSIZE=" + std::to_string(files.saveAs.recordSize));
  w.Line(hex("SAVESTARTADDR", files.saveAs.startAddress, 6));
  w.Line(hex("SAVEENDADDR", files.saveAs.endAddress, 6));
  const std::pair<const char*, const RememberedFile*> remembered[] = {
      {"LOADFILE", &files.load},
      {"CONFIGLOADFILE", &files.configLoad},
      {"CONFIGSAVEFILE", &files.configSave},
      {"SCRIPTFILE", &files.script},
  };
  for (const auto& [key, file] : remembered) {
    w.Line(std::string(key) + "=" + file->path);
    w.Line(std::string(key) + "TYPE=" + std::to_string(file->fileType));
  }
}

void writeMessages(LineWriter& w, const MonitorBytes& bytes) {
  w.Line("[Messages]");
  w.Line(hex("A_LOADER_STARTED", bytes.loaderStarted, 2));
  w.Line(hex("A_APPLICATION_STARTED", bytes.applicationStarted, 2));
  w.Line();
  w.Line(hex("C_WRITE_BLOCK", bytes.writeBlock, 2));
  w.Line(hex("C_READ_BLOCK", bytes.readBlock, 2));
  w.Line(hex("C_WRITE_WORD", bytes.writeWord, 2));
  w.Line(hex("C_EINIT", bytes.einit, 2));
  w.Line(hex("C_TEST_COMM", bytes.testComm, 2));
  w.Line(hex("C_SWRESET", bytes.swReset, 2));
  w.Line(hex("C_GO", bytes.go, 2));
  w.Line(hex("C_CALL", bytes.call, 2));
  w.Line(hex("C_GETCHECKSUM", bytes.getChecksum, 2));
  w.Line();
  w.Line(hex("A_ACK1", bytes.ack1, 2));
  w.Line(hex("A_ACK2", bytes.ack2, 2));
}

// The script lines close the file, after the register list.
void writeFrontend(LineWriter& w, const FrontendSettings& frontend, const FileStates& files) {
  w.Line("[Frontend]");
  w.Line("BLANK_CHAR=" + frontend.blankChar);
  w.Line(hex("COLOR_BGMARKED", frontend.colorBgMarked, 6));
  w.Line(hex("COLOR_BGNORMAL", frontend.colorBgNormal, 6));
  w.Line(hex("COLOR_FGVALID", frontend.colorFgValid, 6));
  w.Line(hex("COLOR_FGINVALID", frontend.colorFgInvalid, 6));
  w.Line(hex("COLOR_FGMONITOR", frontend.colorFgMonitor, 6));
  w.Line("LOGFILE=" + std::to_string(frontend.logFile));
  for (const auto& name : frontend.display) w.Line("DISPLAY=" + name);
  for (size_t i = 0; i < files.userScripts.size(); ++i) {
    w.Line("USERSCRIPT" + std::to_string(i) + "=" + files.userScripts[i]);
  }
  for (size_t i = 0; i < files.lastScripts.size(); ++i) {
    w.Line("LASTSCRIPTFILE" + std::to_string(i) + "=" + files.lastScripts[i]);
  }
}

}  // namespace

std::string PreferencesText(const Settings& settings) {
  LineWriter w;
  writeVelmora(w, settings.images);
  w.Line();
  writeCommunication(w, settings.communication);
  w.Line();
  w.Line("[Controller]");
  w.Line("MCTYPE=" + settings.target.mcType);
  w.Line("CLK=" + std::to_string(settings.target.clockRate));
  w.Line();
  writeMemory(w, settings.target);
  w.Line();
  writeRegisters(w, settings.target);
  w.Line();
  w.Line("[Commands]");
  if (settings.target.einitEnabled == 1) w.Line("EINIT");
  w.Line();
  writeFiles(w, settings.files);
  w.Line();
  writeMessages(w, settings.bytes);
  w.Line();
  writeFrontend(w, settings.frontend, settings.files);
  return w.Take();
}

bool SavePreferences(const std::string& path, const Settings& settings, MessageLog& log) {
  AtomicFile file(path);
  if (!file.IsOpen() || !file.Write(PreferencesText(settings)) || !file.Commit()) {
    log.WriteLine("*ERROR: Cannot write file " + path);
    return false;
  }
  return true;
}

}  // namespace velmora
