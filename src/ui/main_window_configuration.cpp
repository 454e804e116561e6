// The main window's configuration dialog and flash dialog. Both show copies taken from the
// session; what the user decides goes back to the worker as one operation, so the live
// configuration is never touched from the window's thread.
#include <QPointer>
#include <memory>

#include "commands/flash_requests.h"
#include "formats/memory_file.h"
#include "session/configuration_apply.h"
#include "session/session.h"
#include "ui/configuration_dialog.h"
#include "ui/file_load_dialog.h"
#include "ui/flash_dialog.h"
#include "ui/main_window.h"
#include "ui/session_client.h"

namespace velmora::ui {
namespace {

// What the dialogs need of the session, read on the worker.
struct ConfigurationSources {
  std::vector<std::string> typeNames;
  RegisterTable registers;
};

using DefaultUnits = std::optional<std::vector<MemoryUnit>>;

}  // namespace

void MainWindow::configure() {
  client_.read<ConfigurationSources>(
      this, [](Session& s) {
        ConfigurationSources sources;
        for (int i = 0; i < s.controllerTypes.Count(); ++i)
          sources.typeNames.push_back(s.controllerTypes.At(i).name);
        sources.registers = s.registers;
        return sources;
      },
      [this](ConfigurationSources sources) {
        ConfigurationContext context;
        context.typeNames = std::move(sources.typeNames);
        context.registers = std::move(sources.registers);
        context.programFolder = client_.programFolder();
        context.boxes = &client_.boxes();
        context.searchDriver = [this](QWidget* parent) {
          return FileLoadDialog::chooseDriver(client_, parent);
        };
        context.loadDefaultUnits = [this](const std::string& type,
                                          ConfigurationContext::UnitsDone done) {
          client_.read<DefaultUnits>(
              this, [type](Session& s) -> DefaultUnits {
                const int index = s.controllerTypes.FindControllerType(type);
                if (index < 0) return std::nullopt;
                std::vector<MemoryUnit> units;
                if (!LoadMemoryFile(s.controllerTypes.At(index).memoryFile, units, s.log).found)
                  return std::nullopt;
                return units;
              },
              std::move(done));
        };
        auto* dialog =
            new ConfigurationDialog(std::move(context), client_.snapshot().settings.target, this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        connect(dialog, &QDialog::accepted, this, [this, dialog] {
          const TargetConfiguration edited = dialog->configuration();
          if (!startOperation([edited](Session& s) { ApplyTargetConfiguration(s, edited); })) {
            client_.boxes().Message(
                tr("The configuration could not be taken over while another operation runs."));
          }
        });
        dialog->open();
      });
}

void MainWindow::openFlashDialog(std::string_view feature) {
  const SessionSnapshot snapshot = client_.snapshot();
  const std::optional<FlashFeature> operation = FlashFeatureNamed(feature);
  if (!operation) return;
  if (snapshot.state != TargetState::Ready) {
    startOperation([](Session& s) { s.log.WriteLine(std::string(kNotConnectedToMonitorLine)); });
    return;
  }
  auto* dialog = new FlashDialog(snapshot.settings.target.units, *operation, this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  connect(dialog, &FlashDialog::statusWordsWanted, this, [this, dialog](int unit) {
    QPointer<FlashDialog> alive(dialog);
    client_.start<std::vector<int32_t>>(
        this, [unit](Session& s) { return ReadStatusWords(s.link(), unit); },
        [alive](std::vector<int32_t> words) {
          if (alive) alive->showStatusWords(words);
        });
  });
  connect(dialog, &QDialog::accepted, this, [this, dialog] {
    const FlashRequest request = dialog->request();
    if (request.feature == FlashFeature::Status || request.unit < 0) return;
    startOperation([request](Session& s) { RunFlashRequest(s.link(), request); });
  });
  dialog->open();
  // Status words are read once the dialog is up, so it shows while the target answers.
  if (*operation == FlashFeature::Status) dialog->RefreshSectionList();
}

}  // namespace velmora::ui
