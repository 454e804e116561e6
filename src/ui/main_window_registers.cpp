// The register list beside the memory view, its pick list and its editor: adding,
// removing and writing registers run as operations on the session; the list follows the
// session's list and the memory image.
#include <QListView>
#include <QStringList>
#include <memory>

#include "commands/register_list.h"
#include "core/frontend.h"
#include "session/session.h"
#include "ui/main_window.h"
#include "ui/register_editor.h"
#include "ui/register_list_model.h"
#include "ui/register_list_panel.h"
#include "ui/register_pick_dialog.h"
#include "ui/session_client.h"

namespace velmora::ui {
namespace {

// What the editor needs once the register has been read.
struct EditorStart {
  int index = -1;
  RegisterDefinition reg;
};

}  // namespace

QWidget* MainWindow::createRegisterList() {
  registerModel_ = new RegisterListModel(client_.image(), this);
  registerPanel_ = new RegisterListPanel(*registerModel_);
  registerModel_->setRegisters(client_.snapshot().shownRegisters);
  connect(registerPanel_, &RegisterListPanel::addRequested, this, &MainWindow::addRegister);
  connect(registerPanel_, &RegisterListPanel::removeRequested, this, &MainWindow::removeRegister);
  connect(registerPanel_, &RegisterListPanel::editRequested, this, &MainWindow::editRegister);
  connect(&client_, &SessionClient::busyChanged, this, [this](bool busy) {
    registerPanel_->setOperationsEnabled(!busy);
    // An operation may have changed the list (a script's _addsfr, another controller type)
    // without a refresh of it; the snapshot is up to date now.
    if (!busy) registerModel_->setRegisters(client_.snapshot().shownRegisters);
  });
  return registerPanel_;
}

void MainWindow::RefreshSfr(int32_t address) {
  registerModel_->setRegisters(client_.snapshot().shownRegisters);
  registerModel_->refresh(address);
}

void MainWindow::showRegisterValues(const Change& change) {
  registerModel_->showValues(change.first, change.last);
}

void MainWindow::addRegister() {
  client_.read<QStringList>(
      this, [](Session& s) {
        QStringList names;
        for (int i = 0; i < s.registers.Count(); ++i)
          names.push_back(QString::fromStdString(s.registers.At(i).name));
        return names;
      },
      [this](QStringList names) {
        auto* pick = new RegisterPickDialog(names, this);
        pick->setAttribute(Qt::WA_DeleteOnClose);
        connect(pick, &QDialog::accepted, this, [this, pick] {
          startWhenIdle(
              [name = pick->chosenName().toStdString()](Session& s) { AddSfr(s.link(), name); });
        });
        pick->open();
      });
}

void MainWindow::removeRegister(const QString& name) {
  startOperation([name = name.toStdString()](Session& s) { RemoveSfr(s.link(), name); });
}

void MainWindow::editRegister(const QString& name) {
  client_.start<EditorStart>(
      this, [name = name.toStdString()](Session& s) {
        EditorStart start;
        start.index = s.registers.FindRegister(name);
        if (start.index < 0) return start;
        // The editor starts from the target's value while there is a target to ask.
        ReadSfr(s.link(), start.index);
        start.reg = s.registers.At(start.index);
        return start;
      },
      [this](EditorStart start) {
        if (start.index < 0) return;
        auto* editor = new RegisterEditor(client_.boxes(), this);
        editor->setAttribute(Qt::WA_DeleteOnClose);
        editor->SetSfrIndex(start.index, start.reg, SfrValue(client_.image(), start.reg.address));
        connect(editor, &QDialog::accepted, this, [this, editor] {
          startWhenIdle([index = editor->sfrIndex(), value = editor->value()](Session& s) {
            WriteSfr(s.link(), index, value);
          });
        });
        editor->open();
      });
}

void MainWindow::startWhenIdle(std::function<void(Session&)> operation) {
  if (client_.start(operation)) return;
  // A dialog's answer may come while the operation that opened it still winds down.
  auto once = std::make_shared<QMetaObject::Connection>();
  *once = connect(&client_, &SessionClient::busyChanged, this,
                  [this, once, operation = std::move(operation)](bool busy) {
                    if (busy || !client_.start(operation)) return;
                    disconnect(*once);
                  });
}

}  // namespace velmora::ui
