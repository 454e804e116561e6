// The register list in the screenshot tour: four registers beside the memory view (one
// just written, so its value is marked), the pick list filtered by part of a name, and the
// editor on the serial port's control register with its bit fields.
#include <QLineEdit>

#include "app/screenshot_tour.h"
#include "commands/register_list.h"
#include "session/session.h"
#include "ui/main_window.h"
#include "ui/register_editor.h"
#include "ui/register_pick_dialog.h"
#include "ui/session_client.h"

namespace velmora::app {

void ShootRegisters(ShotContext& shots) {
  for (const char* line : {"_addsfr PSW", "_addsfr SP", "_addsfr S0CON", "_addsfr DPP0"}) {
    if (!RunShotCommand(shots, line)) return;
  }
  int index = -1;
  RegisterDefinition reg;
  shots.client.runAndWait([&](Session& s) {
    index = s.registers.FindRegister("S0CON");
    if (index < 0) return;
    reg = s.registers.At(index);
    // Eight data bits, receiver on, odd parity: a value whose fields all say something.
    WriteSfr(s.link(), index, 0x1011);
  });
  if (index < 0) {
    shots.ok = false;
    return;
  }
  Settle(300);
  SaveShot(shots, shots.window, "register_list.png");

  QStringList names;
  shots.client.runAndWait([&](Session& s) {
    for (int i = 0; i < s.registers.Count(); ++i)
      names << QString::fromStdString(s.registers.At(i).name);
  });
  ui::RegisterPickDialog pick(names, &shots.window);
  pick.findChild<QLineEdit*>(QStringLiteral("TSfrFilter"))->setText(QStringLiteral("s0"));
  SaveShot(shots, pick, "register_pick.png");
  pick.close();

  ui::RegisterEditor editor(shots.client.boxes(), &shots.window);
  editor.SetSfrIndex(index, reg, SfrValue(shots.client.image(), reg.address));
  SaveShot(shots, editor, "register_editor.png");
  editor.close();
  Settle(200);
}

}  // namespace velmora::app
