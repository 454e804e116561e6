#include "app/cli_options.h"

#include <array>
#include <cctype>
#include <charconv>

#include "app/cli_exit_class.h"
#include "core/hex_text.h"

namespace velmora {
namespace {

constexpr std::string_view kUsageHead =
    "usage: velmora-cli [OPTIONS] [-i] [--disassemble] [-c LINE]... [--] [SCRIPT]...\n"
    "       velmora-cli [OPTIONS] [JOB OPTIONS] JOB ARGUMENTS...\n"
    "       velmora-cli --list-ports\n"
    "\n"
    "Starts like the desktop program (controller database, default.ini, serial port), then\n"
    "runs each -c line and each script in the order given (all of them, even after one fails).\n"
    "A line starting with \"_\" is a command (_help lists them); \":\" followed by hex pairs,\n"
    "or any other text, is sent raw to the target. Every message line is printed as soon as\n"
    "it is complete; message boxes go to standard error and are answered OK / Yes.\n"
    "_quit ends the run at once: no later line, script or -c item runs.\n"
    "\n"
    "File names in commands and scripts (and script names here) are looked up in the\n"
    "current directory first, then in the program folder; a parameter in double quotes may\n"
    "hold blanks and commas (_save \"my file.hex\").\n"
    "\n"
    "Jobs connect to the board (or find its monitor running), do one thing and end:\n"
    "  flash FILE...            program the Intel HEX files (each section is erased before it\n"
    "                           is first written) and compare the target with them\n"
    "  verify FILE...           compare the target memory with the files\n"
    "  read START END OUT.hex   read target memory START..END (hexadecimal) into a HEX file\n"
    "  erase UNIT[:SECTOR,...]  erase the listed sectors of a memory unit (all without a list)\n"
    "  info                     identification byte and registers of the board\n"
    "Every address a job touches must lie in a memory unit of the configuration; flash needs\n"
    "units with a driver. A job whose name is also a script's is run; give the script as\n"
    "./NAME or after --.\n"
    "\n"
    "  --home DIR       program folder (default: $VELMORA_HOME, else the program's folder)\n"
    "  --port NAME      COM1..COM4, a device such as /dev/ttyUSB0 or /dev/pts/3, virtual\n"
    "                   (the built-in virtual board), or auto (the only USB serial adapter);\n"
    "                   for this run only\n"
    "  --baud N         baud rate, for this run only\n"
    "  --list-ports     list the serial ports (device, description, USB vendor and product,\n"
    "                   serial number) and end\n"
    "  --no-save        do not write default.ini when the run ends\n"
    "  --no-questions   a question or input box fails the run instead of being answered\n"
    "  -i               read command lines from standard input; target output is shown as\n"
    "                   it arrives; end with end-of-file or _quit\n"
    "  -c LINE          run one command line\n"
    "  --disassemble    at the end, print the disassembly listing of the selections\n"
    "  --version        print the version and end\n"
    "  -h, --help       print this text and end\n"
    "  --               ends the options: every later argument is a script name (or, after\n"
    "                   a job, an argument of the job)\n"
    "\n"
    "Job options:\n"
    "  --run ADDR       flash: start the program at ADDR (hexadecimal) after the comparison\n"
    "  --erase-all      flash: erase every sector of the units the files touch first\n"
    "  --wait SECONDS   send the zero byte at a steady pace until the board answers, for at\n"
    "                   most SECONDS (default: three tries)\n"
    "  -q, --quiet      print only errors\n"
    "  --json           write one JSON report to standard output at the end (message lines\n"
    "                   then go to standard error)\n"
    "\n";

constexpr std::array<std::pair<std::string_view, JobKind>, 5> kJobs = {{
    {"flash", JobKind::Flash},
    {"verify", JobKind::Verify},
    {"read", JobKind::Read},
    {"erase", JobKind::Erase},
    {"info", JobKind::Info},
}};

std::optional<JobKind> jobNamed(std::string_view word) {
  for (const auto& [name, kind] : kJobs) {
    if (word == name) return kind;
  }
  return std::nullopt;
}

std::optional<int> decimal(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<EraseTarget> eraseTarget(std::string_view text) {
  EraseTarget target;
  const size_t colon = text.find(':');
  target.unit = std::string(text.substr(0, colon));
  if (target.unit.empty()) return std::nullopt;
  if (colon == std::string_view::npos) return target;
  std::string_view list = text.substr(colon + 1);
  while (true) {
    const size_t comma = list.find(',');
    const auto sector = decimal(list.substr(0, comma));
    if (!sector || *sector < 0) return std::nullopt;
    target.sectors.push_back(*sector);
    if (comma == std::string_view::npos) break;
    list.remove_prefix(comma + 1);
  }
  return target;
}

// The job's words after its name, checked against what the job takes.
std::optional<UsageError> takeJobArguments(const std::vector<std::string>& words, JobRequest& job) {
  const std::string name(JobName(job.kind));
  job.arguments = words;
  switch (job.kind) {
    case JobKind::Flash:
    case JobKind::Verify:
      if (words.empty()) return UsageError{name + " needs at least one HEX file"};
      job.files = words;
      break;
    case JobKind::Read: {
      if (words.size() != 3) return UsageError{"read needs START END OUT.hex"};
      const auto start = ParseJobAddress(words[0]);
      const auto end = ParseJobAddress(words[1]);
      if (!start || !end) return UsageError{"read: START and END are hexadecimal addresses"};
      if (*start > *end) return UsageError{"read: START lies above END"};
      job.start = *start;
      job.end = *end;
      job.output = words[2];
      break;
    }
    case JobKind::Erase:
      if (words.empty()) return UsageError{"erase needs UNIT or UNIT:SECTOR,..."};
      for (const auto& word : words) {
        const auto target = eraseTarget(word);
        if (!target) return UsageError{"erase: " + word + " is not UNIT or UNIT:SECTOR,..."};
        job.erase.push_back(*target);
      }
      break;
    case JobKind::Info:
      if (!words.empty()) return UsageError{"info takes no arguments"};
      break;
    case JobKind::None:
      break;
  }
  return std::nullopt;
}

// Options that only mean something for one kind of run.
std::optional<UsageError> checkCombination(const CliOptions& options) {
  const JobRequest& job = options.job;
  if (job.kind == JobKind::None) {
    if (options.json || options.quiet || options.waitSeconds) {
      return UsageError{"--json, --quiet and --wait belong to a job"};
    }
    if (job.runAddress || job.eraseAll) return UsageError{"--run and --erase-all belong to flash"};
    return std::nullopt;
  }
  if (!options.items.empty()) return UsageError{"a job runs alone: no -c lines or scripts"};
  if (options.interactive || options.disassemble) {
    return UsageError{"a job runs alone: no -i or --disassemble"};
  }
  if ((job.runAddress || job.eraseAll) && job.kind != JobKind::Flash) {
    return UsageError{"--run and --erase-all belong to flash"};
  }
  return std::nullopt;
}

}  // namespace

std::string_view JobName(JobKind kind) {
  for (const auto& [name, each] : kJobs) {
    if (each == kind) return name;
  }
  return "";
}

std::optional<int32_t> ParseJobAddress(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  if (text.empty() || text.size() > 6) return std::nullopt;
  const int32_t value = HexVal(text);
  if (value == kNoNumber) return std::nullopt;
  return value;
}

std::optional<UsageError> ParseCliOptions(const std::vector<std::string>& arguments,
                                          CliOptions& options) {
  bool optionsEnded = false;
  std::vector<std::string> jobWords;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& arg = arguments[i];
    std::string text;
    const auto value = [&](std::string& out) {
      if (i + 1 >= arguments.size()) return false;
      out = arguments[++i];
      return true;
    };
    const auto missing = [&] { return UsageError{arg + " needs a value"}; };
    if (optionsEnded || arg.empty() || arg[0] != '-' || arg == "-") {
      if (options.job.kind != JobKind::None) {
        jobWords.push_back(arg);
      } else if (const auto job = jobNamed(arg); job && !optionsEnded && options.items.empty()) {
        options.job.kind = *job;
      } else {
        options.items.push_back({false, arg});
      }
    } else if (arg == "--") {
      optionsEnded = true;
    } else if (arg == "--home") {
      if (!value(options.home)) return missing();
    } else if (arg == "--port") {
      if (!value(options.port)) return missing();
    } else if (arg == "--baud") {
      if (!value(text)) return missing();
      const auto baud = decimal(text);
      if (!baud || *baud <= 0) return UsageError{"--baud needs a baud rate above 0, not " + text};
      options.baud = *baud;
    } else if (arg == "--wait") {
      if (!value(text)) return missing();
      const auto seconds = decimal(text);
      if (!seconds || *seconds <= 0) return UsageError{"--wait needs whole seconds, not " + text};
      options.waitSeconds = *seconds;
    } else if (arg == "--run") {
      if (!value(text)) return missing();
      options.job.runAddress = ParseJobAddress(text);
      if (!options.job.runAddress) return UsageError{"--run needs a hexadecimal address"};
    } else if (arg == "--erase-all") {
      options.job.eraseAll = true;
    } else if (arg == "--json") {
      options.json = true;
    } else if (arg == "--quiet" || arg == "-q") {
      options.quiet = true;
    } else if (arg == "--list-ports") {
      options.listPorts = true;
    } else if (arg == "--no-save") {
      options.noSave = true;
    } else if (arg == "--no-questions") {
      options.noQuestions = true;
    } else if (arg == "--disassemble") {
      options.disassemble = true;
    } else if (arg == "-i") {
      options.interactive = true;
    } else if (arg == "-c") {
      if (!value(text)) return missing();
      options.items.push_back({true, text});
    } else if (arg == "--help" || arg == "-h") {
      options.help = true;
      return std::nullopt;  // like --version: what follows is not looked at
    } else if (arg == "--version") {
      options.version = true;
      return std::nullopt;
    } else {
      return UsageError{"unknown option " + arg};
    }
  }
  if (options.help || options.version || options.listPorts) return std::nullopt;
  if (options.job.kind != JobKind::None) {
    if (auto error = takeJobArguments(jobWords, options.job)) return error;
  }
  return checkCombination(options);
}

std::string CliUsage() {
  std::string text(kUsageHead);
  text += "Exit status:\n";
  for (const auto& info : ExitClasses()) {
    text +=
        "  " + std::to_string(ExitStatus(info.exitClass)) + "  " + std::string(info.meaning) + "\n";
  }
  text +=
      "Command lines and scripts end with 0, 1 or 2 (any *ERROR line makes it 1); jobs give\n"
      "the class of their failure.\n";
  return text;
}

}  // namespace velmora
