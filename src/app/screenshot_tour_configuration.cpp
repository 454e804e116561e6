// The configuration dialogs in the screenshot tour: the configuration dialog on the
// shipped preferences, the memory unit editor on the on-chip flash, and the flash dialog
// prepared for erasing two of its sections.
#include <QListWidget>

#include "app/screenshot_tour.h"
#include "commands/flash_operations.h"
#include "session/session.h"
#include "ui/configuration_dialog.h"
#include "ui/flash_dialog.h"
#include "ui/main_window.h"
#include "ui/memory_unit_editor.h"
#include "ui/session_client.h"

namespace velmora::app {

void ShootConfiguration(ShotContext& shots) {
  ui::ConfigurationContext context;
  shots.client.runAndWait([&context](Session& s) {
    for (int i = 0; i < s.controllerTypes.Count(); ++i)
      context.typeNames.push_back(s.controllerTypes.At(i).name);
    context.registers = s.registers;
  });
  context.programFolder = shots.client.programFolder();
  context.boxes = &shots.client.boxes();
  const TargetConfiguration target = shots.client.snapshot().settings.target;

  ui::ConfigurationDialog configure(context, target, &shots.window);
  SaveShot(shots, configure, "configuration_dialog.png");
  configure.close();

  const int flash = FindMemoryUnit(target.units, "IFLASH");
  if (flash < 0) {
    shots.ok = false;
    return;
  }
  ui::MemoryUnitEditor editor(context, target.units[static_cast<size_t>(flash)], &shots.window);
  SaveShot(shots, editor, "memory_unit_editor.png");
  editor.close();

  ui::FlashDialog erase(target.units, FlashFeature::Erase, &shots.window);
  if (auto* sections = erase.findChild<QListWidget*>("ISections");
      sections && sections->count() > 3) {
    sections->item(1)->setSelected(true);
    sections->item(3)->setSelected(true);
  }
  SaveShot(shots, erase, "flash_erase.png");
  erase.close();
}

}  // namespace velmora::app
