#include "app/cli_job_report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include "core/hex_text.h"

namespace velmora {
namespace {

QString text(const std::string& value) {
  return QString::fromStdString(value);
}

QJsonObject boardObject(const BoardIdentity& board) {
  QJsonObject object;
  object["idByte"] = board.idByte >= 0 ? QJsonValue(text(HexN(board.idByte, 2))) : QJsonValue();
  object["monitorWasRunning"] = board.monitorWasRunning;
  object["type"] = text(board.type);
  QJsonObject registers;
  for (const auto& [name, value] : board.registers) registers[text(name)] = text(HexN(value, 4));
  object["registers"] = registers;
  QJsonArray undefined;
  for (const auto& name : board.undefinedRegisters) undefined.append(text(name));
  object["undefinedRegisters"] = undefined;
  return object;
}

}  // namespace

void JobReport::Fail(ExitClass exitClass, std::string text) {
  if (result != ExitClass::Success) return;
  result = exitClass;
  error = std::move(text);
}

int64_t JobReport::TotalBytes() const {
  int64_t total = 0;
  for (const auto& step : steps) total += step.bytes;
  return total;
}

std::chrono::milliseconds JobReport::TotalDuration() const {
  std::chrono::milliseconds total{0};
  for (const auto& step : steps) total += step.duration;
  return total;
}

std::string JobReportJson(const JobReport& report) {
  QJsonObject root;
  root["job"] = text(report.job);
  QJsonArray arguments;
  for (const auto& argument : report.arguments) arguments.append(text(argument));
  root["arguments"] = arguments;
  root["port"] = text(report.port);
  root["result"] = text(std::string(ExitClassName(report.result)));
  root["exitStatus"] = ExitStatus(report.result);
  root["error"] = text(report.error);
  QJsonArray steps;
  for (const auto& step : report.steps) {
    QJsonObject object;
    object["name"] = text(step.name);
    object["bytes"] = static_cast<qint64>(step.bytes);
    object["durationMs"] = static_cast<qint64>(step.duration.count());
    object["result"] = text(std::string(ExitClassName(step.result)));
    steps.append(object);
  }
  root["steps"] = steps;
  root["bytes"] = static_cast<qint64>(report.TotalBytes());
  root["durationMs"] = static_cast<qint64>(report.TotalDuration().count());
  root["board"] = boardObject(report.board);
  root["mismatches"] = report.mismatches;
  QJsonArray first;
  for (const auto& line : report.firstMismatches) first.append(text(line));
  root["firstMismatches"] = first;
  return QJsonDocument(root).toJson(QJsonDocument::Indented).toStdString();
}

}  // namespace velmora
