#include "app/cli_exit_class.h"

namespace velmora {
namespace {

constexpr ExitClassInfo kClasses[] = {
    {ExitClass::Success, "success", "the job did all it was asked to"},
    {ExitClass::Other, "other",
     "any other failure (a command line failed or wrote an *ERROR line)"},
    {ExitClass::Usage, "usage", "bad usage: unknown option, missing or malformed argument"},
    {ExitClass::Port, "port", "the serial port could not be found, opened or kept open"},
    {ExitClass::NoAnswer, "no-answer", "the board did not answer"},
    {ExitClass::Protocol, "protocol", "the board answered wrongly (acknowledge, checksum, data)"},
    {ExitClass::Driver, "driver", "a flash driver could not be loaded or reported a failure"},
    {ExitClass::Mismatch, "mismatch", "the target memory differs from the file"},
    {ExitClass::File, "file", "a file is missing, unreadable, malformed, empty or does not fit"},
};

}  // namespace

std::span<const ExitClassInfo> ExitClasses() {
  return kClasses;
}

std::string_view ExitClassName(ExitClass exitClass) {
  for (const auto& info : kClasses) {
    if (info.exitClass == exitClass) return info.name;
  }
  return "other";
}

ExitClass ClassOfFileRead(HexReadStatus status) {
  return status == HexReadStatus::Ok ? ExitClass::Success : ExitClass::File;
}

ExitClass ClassOfTransfer(int32_t status, bool portFailed) {
  if (portFailed) return ExitClass::Port;
  if (status == 0) return ExitClass::Success;
  // A block that was not confirmed: the transfers do not tell a silent board from a
  // wrong checksum, and the board answered the connection a moment before.
  return ExitClass::Protocol;
}

ExitClass ClassOfDriverCall(int32_t status, bool portFailed) {
  if (portFailed) return ExitClass::Port;
  // The flash operations give one status for a driver that could not be loaded, a
  // refused write of its buffer and a driver that reported an error in R15; all of them
  // mean the memory was not changed as asked.
  return status == 0 ? ExitClass::Success : ExitClass::Driver;
}

ExitClass ClassOfComparison(int32_t differences, bool portFailed) {
  if (portFailed) return ExitClass::Port;
  if (differences < 0) return ExitClass::Protocol;
  return differences == 0 ? ExitClass::Success : ExitClass::Mismatch;
}

ExitClass ClassOfBootstrap(const BootstrapAnswers& answers, const ExpectedAcks& expected,
                           bool portFailed) {
  if (portFailed) return ExitClass::Port;
  // Without the identification byte nothing on the line took the zero byte (a zero that
  // comes back is the line's own echo); anything after it that is missing or wrong is a
  // board that started but did not follow.
  if (answers.idByte < 1) return ExitClass::NoAnswer;
  if (answers.loaderAck != expected.loader || answers.monitorAck != expected.monitor) {
    return ExitClass::Protocol;
  }
  return ExitClass::Success;
}

}  // namespace velmora
