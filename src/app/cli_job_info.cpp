// info: who is on the other end of the line.
#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string_view>

#include "app/cli_job_connect.h"
#include "app/cli_jobs.h"
#include "commands/target_setup.h"
#include "core/hex_text.h"
#include "link/link.h"
#include "session/session.h"

namespace velmora {
namespace {

constexpr std::array<std::string_view, 5> kIdentification = {"IDMANUF", "IDCHIP", "IDPROG", "IDMEM",
                                                             "IDMEM2"};
constexpr std::array<std::string_view, 5> kResetConfiguration = {"RSTCFG", "FCONCS0", "TSTMOD",
                                                                 "RSTCON2", "SYSSTAT"};

// Each register of the list the type defines, read from the target; nullopt for one the
// type does not define. A failed read fails the step.
struct RegisterValues {
  std::vector<std::optional<int32_t>> values;
  bool complete() const {
    return std::all_of(values.begin(), values.end(), [](const auto& v) { return v.has_value(); });
  }
};

StepOutcome readRegisters(JobContext& job, std::span<const std::string_view> names,
                          RegisterValues& out) {
  Session& session = job.session;
  Link& link = session.link();
  for (std::string_view name : names) {
    const int index = session.registers.FindRegister(name);
    if (index < 0) {
      out.values.push_back(std::nullopt);
      job.report.board.undefinedRegisters.emplace_back(name);
      continue;
    }
    const int32_t address = session.registers.At(index).address;
    const int16_t status = link.monitor().Cmd_Read(address, 2);
    const ExitClass result = ClassOfTransfer(status, link.transport().PortFailed());
    if (result != ExitClass::Success) {
      return StepFailure(result, "register " + std::string(name) + " could not be read");
    }
    const int32_t value =
        session.image.GetByte(address) | (session.image.GetByte(address + 1) << 8);
    out.values.push_back(value);
    job.report.board.registers.emplace_back(std::string(name), value);
    job.output.Result(std::string(name) + "=" + HexN(value, 4));
  }
  return {};
}

StepOutcome identify(JobContext& job) {
  const BoardIdentity& board = job.report.board;
  job.output.Result("type: " + board.type);
  job.output.Result(board.idByte >= 0
                        ? "identification byte: " + HexN(board.idByte, 2)
                        : std::string("identification byte: not seen (the monitor was running)"));
  RegisterValues id;
  RegisterValues reset;
  if (StepOutcome read = readRegisters(job, kIdentification, id);
      read.result != ExitClass::Success) {
    return read;
  }
  if (StepOutcome read = readRegisters(job, kResetConfiguration, reset);
      read.result != ExitClass::Success) {
    return read;
  }
  // The decoded lines need every register of their group.
  if (id.complete()) {
    const auto& v = id.values;
    for (const auto& line : IdentificationLines({*v[0], *v[1], *v[2], *v[3], *v[4]})) {
      job.output.Result(line);
    }
  }
  if (reset.complete() && id.values[3]) {
    const auto& r = reset.values;
    const ResetConfiguration record{.resetConfig = *r[0],
                                    .systemStatus = *r[4],
                                    .chipSelect0 = *r[1],
                                    .testMode = *r[2],
                                    .resetControl2 = *r[3],
                                    .memoryId = *id.values[3]};
    for (const auto& line : ResetConfigLines(record)) job.output.Result(line);
  }
  for (const auto& name : board.undefinedRegisters) {
    job.output.Result(name + ": not defined for " + board.type);
  }
  return {ExitClass::Success, 2 * static_cast<int64_t>(board.registers.size())};
}

}  // namespace

void RunInfoJob(JobContext& job) {
  if (!RunStep(job, "connect", "", [&] { return ConnectForJob(job); })) return;
  RunStep(job, "info", "", [&] { return identify(job); });
}

}  // namespace velmora
