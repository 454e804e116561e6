// The disassembly and debug window in the screenshot tour: a small summing routine is
// loaded beside the demonstration data, listed, given a breakpoint and stepped once.
#include <QTableView>
#include <vector>

#include "app/screenshot_tour.h"
#include "commands/transfers.h"
#include "session/session.h"
#include "ui/disassembly_window.h"
#include "ui/main_window.h"
#include "ui/session_client.h"

namespace velmora::app {
namespace {

// Adds up the eight words of demonstration data at C000h and stores the sum.
constexpr int32_t kRoutine = 0x00C400;
const std::vector<uint8_t> kSumRoutine = {
    0xE6, 0xF4, 0x00, 0xC0,  // C400 MOV   R4,#C000h
    0xE0, 0x85,              // C404 MOV   R5,#8h
    0xE6, 0xF6, 0x00, 0x00,  // C406 MOV   R6,#0000h
    0xA8, 0x24,              // C40A MOV   R2,[R4]
    0x00, 0x62,              // C40C ADD   R6,R2
    0x08, 0x42,              // C40E ADD   R4,#2h
    0x28, 0x51,              // C410 SUB   R5,#1h
    0x3D, 0xFB,              // C412 JMPR  cc_NZ,C40Ah
    0xF6, 0xF6, 0x00, 0xFA,  // C414 MOV   DPP3:3A00h,R6
    0xCB, 0x00,              // C418 RET
};
constexpr int32_t kBreakpoint = 0x00C40C;

}  // namespace

void ShootDebug(ShotContext& shots) {
  shots.client.runAndWait([](Session& s) {
    s.image.StoreLoaded(kRoutine, kSumRoutine);
    s.selections.ClearSelections();
    (void)s.selections.AddSelection(kRoutine,
                                    kRoutine + static_cast<int32_t>(kSumRoutine.size()) - 1);
    DownloadSelections(s.link());
    s.frontend().RequestRefresh(Change::Memory(-1, -1));
  });

  ui::DisassemblyWindow window(shots.client, &shots.window);
  window.resize(1060, 400);
  window.show();
  window.fill();
  Settle(500);
  shots.client.runAndWait([](Session& s) { s.debugger().Toggle(kBreakpoint); });
  shots.client.runAndWait([](Session& s) { s.debugger().Step(); });
  Settle(500);
  // The register panel is read after the stop; let it arrive.
  if (window.model().currentRow() < 0) shots.ok = false;
  SaveShot(shots, window, "disassembly_window.png");
  window.close();
  Settle(300);
}

}  // namespace velmora::app
