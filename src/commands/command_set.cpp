#include "commands/command_set.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "commands/command_line.h"
#include "commands/flash_operations.h"
#include "commands/register_list.h"
#include "commands/transfers.h"
#include "core/file_exists.h"
#include "core/frontend.h"
#include "core/hex_text.h"
#include "core/image_ops.h"
#include "core/paths.h"
#include "formats/clipboard_transfer.h"
#include "formats/hex_reader.h"
#include "formats/hex_writer.h"
#include "link/bootstrap.h"
#include "link/channel_switch.h"
#include "link/link.h"

namespace velmora {
namespace {

using namespace command_result;

LinkContext& ctx(Interpreter& in) { return in.link().context(); }

// A hexadecimal parameter; nullopt (and illegal parameters) when it is not one.
std::optional<int32_t> hexParameter(CommandCall& call, size_t index) {
  const int32_t value = HexVal(call.parameters[index]);
  if (value == kNoNumber) {
    call.general = kIllegalParameters;
    return std::nullopt;
  }
  return value;
}

// A file that must exist, looked up as the interpreter's conventions say; the lookup
// names the paths it tried when there is none.
std::optional<std::string> existingFile(Interpreter& in, CommandCall& call, size_t index) {
  const auto path = in.LookUpFile(call.parameters[index]);
  if (!path) {
    call.general = kIllegalParameters;
    return std::nullopt;
  }
  return path->string();
}

void fail(CommandCall& call, bool failed, int16_t code) {
  if (failed) call.failure = code;
}

void refresh(Interpreter& in, const Change& change) {
  ctx(in).frontend.RequestRefresh(change);
}

// The span from the lowest selected address to the highest: what an operation on the
// selections (or on their highlighting) may have changed.
Change selectedSpan(const SelectionList& selections) {
  return Change::Memory(selections.LowestSelectionStart(), selections.HighestSelectionEnd());
}

// The commands that send to the monitor straight away refuse without a connection, rather
// than wait out a time-out for every byte and leave the image holding what was never sent.
bool targetConnected(Interpreter& in, CommandCall& call) {
  if (in.link().state() != TargetState::NotConnected) return true;
  ctx(in).log.WriteLine("*ERROR: Not Connected to Target");
  call.failure = kNotConnectedStatus;
  return false;
}

void load(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 1)) return;
  const auto found = existingFile(in, call, 0);
  if (!found) return;
  const std::string& path = *found;
  call.general = kRan;
  const HexReadResult result = HexRead(path, ctx(in).image, ctx(in).selections, ctx(in).log);
  ctx(in).log.WriteLine("*Load: " + std::to_string(ctx(in).selections.ByteCount()) + " bytes loaded");
  // The file's ranges replaced the selections, wherever those were.
  refresh(in, Change::All(RefreshTarget::MemoryView));
  fail(call, result.status != HexReadStatus::Ok, -1);
}

void save(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 3)) return;
  const SaveAsSettings& saveAs = ctx(in).settings.files.saveAs;
  int32_t recordSize = saveAs.recordSize;
  int32_t format = saveAs.FormatCode();
  // The two numbers are passed on as they are; the writer refuses what it cannot write.
  if (call.Count() >= 2) recordSize = HexVal(call.parameters[1]);
  if (call.Count() >= 3) {
    format = HexVal(call.parameters[2]);
    if (format == 0x14) format = 2;
    else if (format == 0x20) format = 4;
  }
  call.general = kRan;
  const std::string path = in.TargetFile(call.parameters[0]).string();
  if (const FileProblem problem = WriteProblem(path); problem != FileProblem::None) {
    ctx(in).log.WriteLine(FileProblemLine(path, problem));
    call.failure = -2;
    return;
  }
  ctx(in).frontend.SetBusy(true);
  const HexWriteStatus status =
      HexWriteSelections(path, recordSize, format, ctx(in).image, ctx(in).selections, ctx(in).log);
  ctx(in).frontend.SetBusy(false);
  if (status == HexWriteStatus::Ok) ctx(in).log.WriteLine("*SaveAs: selection written to file");
  fail(call, status != HexWriteStatus::Ok, -2);
}

void addSelection(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(2, 2)) return;
  const auto start = hexParameter(call, 0);
  const auto end = hexParameter(call, 1);
  if (!start || !end) return;
  call.general = kRan;
  const bool added = ctx(in).selections.AddSelection(*start, *end);
  if (!added) ctx(in).log.WriteLine(kTooManySelectionsLine);
  // Merging with neighbours highlights nothing beyond the pair; a reversed pair selects
  // nothing at all.
  if (added && *start <= *end) refresh(in, Change::Memory(*start, *end));
  fail(call, !added, -3);
}

void fillMemory(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 1)) return;
  const auto value = hexParameter(call, 0);
  if (!value) return;
  call.general = kRan;
  FillSelections(ctx(in).image, ctx(in).selections, *value,
                 call.parameters[0].size() > 2 ? FillWidth::Word : FillWidth::Byte);
  refresh(in, selectedSpan(ctx(in).selections));
}

void simple(CommandCall& call, const std::function<void()>& action) {
  if (!call.CountIn(0, 0)) return;
  call.general = kRan;
  action();
}

void connect(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(0, 0)) return;
  call.general = kRan;
  fail(call, ConnectTarget(in.link()) != 0, -7);
}

void compare(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(0, 1)) return;
  call.general = kRan;
  fail(call, CompareSelections(in.link(), call.Count() == 1 ? call.parameters[0] : "") != 0, -8);
}

void jump(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 1)) return;
  const auto address = hexParameter(call, 0);
  if (!address) return;
  call.general = kRan;
  if (!targetConnected(in, call)) return;
  if (in.link().monitor().Cmd_Jmp(*address) != 0) {
    call.failure = -14;
    return;
  }
  in.link().SetState(TargetState::UserProgramRunning);
}

void moveWord(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(2, 2)) return;
  int32_t address = HexVal(call.parameters[0]);
  if (address == kNoNumber) {
    const int index = ctx(in).registers.FindRegister(call.parameters[0]);
    address = index >= 0 ? ctx(in).registers.At(index).address : kNoNumber;
  }
  const int32_t value = HexVal(call.parameters[1]);
  if (address < 0 || value < 0 || value > 0xFFFF) {
    call.general = kIllegalParameters;
    return;
  }
  call.general = kRan;
  if (!targetConnected(in, call)) return;
  const uint8_t bytes[2] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)};
  ctx(in).image.StoreFromTarget(address, bytes);
  refresh(in, Change::Memory(address, address + 1));
  refresh(in, Change::Register(address));
  fail(call, in.link().monitor().Cmd_WriteWord(address, value) != 0, -20);
}

void callRoutine(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 9)) return;
  CallRegisters registers{};
  std::optional<int32_t> address = hexParameter(call, 0);
  for (size_t i = 1; i < call.Count() && address; ++i) {
    const auto value = hexParameter(call, i);
    if (!value) return;
    registers[i - 1] = *value;
  }
  if (!address) return;
  call.general = kRan;
  if (!targetConnected(in, call)) return;
  fail(call, CallRoutine(in.link(), *address, registers) != 0, -21);
}

// ":" followed by hexadecimal pairs is bytes; anything else is its characters.
std::vector<uint8_t> rawBytes(std::string_view text) {
  std::vector<uint8_t> bytes;
  if (!text.empty() && text[0] == ':') {
    for (size_t i = 1; i + 1 < text.size(); i += 2) {
      const int32_t value = HexVal(text.substr(i, 2));
      if (value >= 0) bytes.push_back(static_cast<uint8_t>(value));
    }
  } else {
    for (char ch : text) bytes.push_back(static_cast<uint8_t>(ch));
  }
  return bytes;
}

void sendBytes(Interpreter& in, std::span<const uint8_t> bytes) {
  if (!in.link().EnsurePortOpen()) return;
  Exchange exchange(in.link().transport());
  for (uint8_t byte : bytes) in.link().transport().SSSend(byte);
}

void send(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 1)) return;
  call.general = kRan;
  sendBytes(in, rawBytes(call.parameters[0]));
}

void sendFile(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 1)) return;
  const auto path = existingFile(in, call, 0);
  if (!path) return;
  call.general = kRan;
  std::ifstream file(*path, std::ios::binary);
  const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  sendBytes(in, bytes);
}

// 8 or 16 (decimal) as the width code 1 or 2; anything else fails the command.
std::optional<int> checksumWidth(CommandCall& call, int16_t failure) {
  const int64_t bits = DecimalValue(call.parameters[0]);
  if (bits != 8 && bits != 16) {
    call.general = kIllegalParameters;
    call.failure = failure;
    return std::nullopt;
  }
  call.general = kRan;
  return bits == 8 ? 1 : 2;
}

void xorChecksum(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 1)) return;
  if (const auto width = checksumWidth(call, -23)) {
    XorChecksum(ctx(in).image, ctx(in).selections, ctx(in).log, *width);
  }
}

void addcChecksum(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 2)) return;
  if (const auto width = checksumWidth(call, -24)) {
    const bool endCarry = call.Count() == 2 && DecimalValue(call.parameters[1]) == 1;
    AddcChecksum(ctx(in).image, ctx(in).selections, ctx(in).log, *width, endCarry);
  }
}

void showSelections(Interpreter& in, CommandCall& call) {
  simple(call, [&] {
    const SelectionList& list = ctx(in).selections;
    for (int i = 0; i < list.Count(); ++i) {
      ctx(in).log.WriteLine("Selection " + std::to_string(i) + ": " + HexN(list.At(i).start, 6) + " to " +
                            HexN(list.At(i).end, 6));
    }
  });
}

void disconnect(Interpreter& in, CommandCall& call) {
  simple(call, [&] {
    if (!in.link().port().IsOpen()) return;
    in.link().ClosePort();
    in.link().SetState(TargetState::NotConnected);
    ctx(in).log.WriteLine("*disconnect: velmora disconnected - comm port available");
  });
}

// A register name parameter that the definitions must know.
bool knownRegister(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 1)) return false;
  if (ctx(in).registers.FindRegister(call.parameters[0]) < 0) {
    call.general = kIllegalParameters;
    return false;
  }
  call.general = kRan;
  return true;
}

void message(Interpreter& in, CommandCall& call, bool modal) {
  if (call.Count() < 1) {
    call.general = kIllegalParameterCount;
    return;
  }
  call.general = kRan;
  const std::string text = in.MessageText(call.parameters);
  if (modal) {
    ctx(in).frontend.MessageBox(text, BoxButtons::Ok, BoxIcon::Information, {});
  } else {
    ctx(in).frontend.ShowMessageWindow(text);
  }
}

void executeScript(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(1, 1)) return;
  const auto path = existingFile(in, call, 0);
  if (!path) return;
  call.general = kRan;
  // The calling script goes on whatever the sub-script's outcome, unless scripts call
  // each other too deep to go on at all.
  fail(call, in.ExecuteScript(*path) == ScriptOutcome::NotFound, -2);
}

void erase(Interpreter& in, CommandCall& call) {
  if (!call.CountIn(2, 2)) return;
  const int unit = FindMemoryUnit(ctx(in).settings.target.units, call.parameters[0]);
  if (unit < 0) {
    call.general = kIllegalParameters;
    return;
  }
  call.general = kRan;
  fail(call, EraseSector(in.link(), unit, static_cast<int>(DecimalValue(call.parameters[1]))) != 0, -28);
}

void accepted(Interpreter&, CommandCall& call) { call.general = kRan; }

const CommandSpec kCommands[] = {
    {"_load", load},
    {"_save", save},
    {"_addselection", addSelection},
    {"_clearselections",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] {
         const Change cleared = selectedSpan(ctx(in).selections);
         ctx(in).selections.ClearSelections();
         refresh(in, cleared);
       });
     }},
    {"_fillmemory", fillMemory},
    {"_clearmemory",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] {
         UnreadSelections(ctx(in).image, ctx(in).selections);
         refresh(in, selectedSpan(ctx(in).selections));
       });
     }},
    {"_connect", connect},
    {"_compare", compare},
    {"_download",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] { fail(call, DownloadSelections(in.link()) != 0, -9); });
     }},
    {"_upload",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] { fail(call, UploadSelections(in.link()) != 0, -10); });
     }},
    {"_einit",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] {
         if (targetConnected(in, call)) fail(call, in.link().monitor().Cmd_Einit() != 0, -11);
       });
     }},
    {"_srst",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] {
         if (!targetConnected(in, call)) return;
         fail(call, in.link().monitor().Cmd_Swreset() != 0, -12);
         in.link().SetState(TargetState::UserProgramRunning);
       });
     }},
    {"_initialize",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] { fail(call, InitializeTarget(in.link()) != 0, -13); });
     }},
    {"_jmp", jump},
    {"_movemonitor",
     [](Interpreter& in, CommandCall& call) {
       if (!call.CountIn(1, 1)) return;
       const auto address = hexParameter(call, 0);
       if (!address) return;
       call.general = kRan;
       fail(call, MoveMonitor(in.link(), *address) != 0, -15);
     }},
    {"_idreg",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] { fail(call, ShowIdRegisters(in.link()) != 0, -16); });
     }},
    {"_copy",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] {
         in.context().clipboard = CopySelections(ctx(in).image, ctx(in).selections);
         ctx(in).frontend.SetClipboardText(in.context().clipboard);
       });
     }},
    {"_cut",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] {
         in.context().clipboard = CutSelections(ctx(in).image, ctx(in).selections);
         ctx(in).frontend.SetClipboardText(in.context().clipboard);
         refresh(in, selectedSpan(ctx(in).selections));
       });
     }},
    {"_paste",
     [](Interpreter& in, CommandCall& call) {
       if (!call.CountIn(1, 1)) return;
       const auto start = hexParameter(call, 0);
       if (!start) return;
       call.general = kRan;
       const auto result = PasteClipboard(in.context().clipboard, *start, ctx(in).image, ctx(in).log);
       if (result.bytesPasted > 0) {
         refresh(in, Change::Memory(*start, static_cast<int32_t>(*start + result.bytesPasted - 1)));
       }
       fail(call, result.status != PasteStatus::Ok, -19);
     }},
    {"_mov", moveWord},
    {"_call", callRoutine},
    {"_reconnect",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] { fail(call, ReconnectTarget(in.link()) != 0, -22); });
     }},
    {"_delay",
     [](Interpreter& in, CommandCall& call) {
       if (!call.CountIn(1, 1)) return;
       call.general = kRan;
       in.Delay(DecimalValue(call.parameters[0]));
     }},
    {"_pause",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] {
         ctx(in).frontend.MessageBox("Please klick to the OK Button to continue", BoxButtons::Ok,
                                     BoxIcon::None, {});
       });
     }},
    {"_send", send},
    {"_sendfile", sendFile},
    {"_xorchecksum", xorChecksum},
    {"_addcchecksum", addcChecksum},
    {"_showselections", showSelections},
    {"_quit",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] { in.RequestQuit(); });
     }},
    {"_disconnect", disconnect},
    {"_refreshsfr",
     [](Interpreter& in, CommandCall& call) { simple(call, [&] { RefreshSfr(in.link()); }); }},
    {"_addsfr",
     [](Interpreter& in, CommandCall& call) {
       if (knownRegister(in, call)) AddSfr(in.link(), call.parameters[0]);
     }},
    {"_removesfr",
     [](Interpreter& in, CommandCall& call) {
       if (knownRegister(in, call)) RemoveSfr(in.link(), call.parameters[0]);
     }},
    {"_setlogfile",
     [](Interpreter& in, CommandCall& call) {
       if (!call.CountIn(1, 1)) return;
       call.general = kRan;
       ctx(in).log.SetLogFile(call.parameters[0]);
     }},
    {"_writelogfile",
     [](Interpreter& in, CommandCall& call) {
       if (!call.CountIn(1, 1)) return;
       call.general = kRan;
       ctx(in).log.WriteLogFile(call.parameters[0]);
     }},
    {"_message", [](Interpreter& in, CommandCall& call) { message(in, call, true); }},
    {"_cmessage", [](Interpreter& in, CommandCall& call) { message(in, call, false); }},
    {"_assign",
     [](Interpreter& in, CommandCall& call) {
       if (!call.CountIn(1, 1)) return;
       call.general = in.AssignVariable(call.parameters[0]) == 0 ? kRan : kIllegalParameters;
     }},
    {"_executescript", executeScript},
    {"_COND",
     [](Interpreter& in, CommandCall& call) {
       if (!call.CountIn(1, 1)) return;
       call.general = kRan;
       ctx(in).frontend.MessageBox(std::to_string(in.EvalCondition(call.parameters[0])), BoxButtons::Ok,
                                   BoxIcon::Information, {});
     }},
    {"_program",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] { fail(call, ProgramSelections(in.link(), false) != 0, -26); });
     }},
    {"_iprogram",
     [](Interpreter& in, CommandCall& call) {
       simple(call, [&] { fail(call, ProgramSelections(in.link(), true) != 0, -27); });
     }},
    {"_erase", erase},
    {"_lock", accepted},
    {"_unlock", accepted},
    {"_protect", accepted},
    {"_unprotect", accepted},
    {"_help",
     [](Interpreter& in, CommandCall& call) {
       call.general = kRan;
       for (const auto& line : HelpLines()) ctx(in).log.WriteLine(line);
     }},
};

}  // namespace

bool CommandCall::CountIn(size_t min, size_t max) {
  if (Count() < min || Count() > max) {
    general = kIllegalParameterCount;
    return false;
  }
  return true;
}

std::span<const CommandSpec> CommandTable() { return kCommands; }

const CommandSpec* MatchCommand(std::string_view line) {
  const CommandSpec* best = nullptr;
  for (const auto& command : kCommands) {
    if (line.size() < command.name.size() || !EqualsNoCase(line.substr(0, command.name.size()), command.name)) continue;
    if (!best || command.name.size() > best->name.size()) best = &command;
  }
  return best;
}

}  // namespace velmora
