#include "link/channel_switch.h"

#include <algorithm>

#include "core/frontend.h"
#include "core/hex_text.h"
#include "core/paths.h"
#include "formats/clipboard_transfer.h"
#include "formats/hex_reader.h"
#include "link/link.h"
#include "link/memory_change_scope.h"

namespace velmora {

int16_t Asc02Asc1_pre(Link& link) {
  Exchange exchange(link.transport());
  auto& context = link.context();
  if (context.frontend.MessageBox(kAsc1Question, BoxButtons::OkCancel, BoxIcon::None, {}) !=
      BoxAnswer::Ok) {
    return -1;
  }
  Transport& transport = link.transport();
  transport.Discard();
  transport.SSSend(kAsc1InitCommand);
  transport.SSReceive();
  if (transport.SSReceive() < 0) {
    context.log.WriteLine("*ERROR: ASC1 can not be initialized");
    return -2;
  }
  context.log.WriteLine("*ASC1 initialisation OK ");
  transport.Discard();
  return 0;
}

int16_t Asc02Asc1_ASC1Connection(Link& link) {
  Exchange exchange(link.transport());
  auto& context = link.context();
  if (context.frontend.MessageBox(kMoveCableMessage, BoxButtons::Ok, BoxIcon::Exclamation, {}) !=
      BoxAnswer::Ok) {
    return -1;
  }
  Transport& transport = link.transport();
  transport.Discard();
  transport.SSSend(0x00);
  const int16_t first = transport.SSReceive();
  const int16_t second = transport.SSReceive();
  if (first < 0) {
    context.log.WriteLine("*ERROR: not ACK with ASC1_TBUF received");
    return -2;
  }
  context.log.WriteLine("*ASC1 Ack: " + HexN(first, 2));
  int16_t status = 0;
  if (second == kAsc1CommunicationFlag) {
    context.log.WriteLine("*ASC1 Communication Flag OK ");
  } else {
    context.log.WriteLine("*ERROR: NO ASC1 Communication Flag ");
    status = -3;
  }
  transport.Discard();
  return status;
}

int16_t SwitchToAsc1(Link& link) {
  auto& context = link.context();
  if (!link.EnsurePortOpen()) return -2;
  Exchange exchange(link.transport());
  MemoryChangeScope memory(context.frontend, context.selections);
  context.frontend.SetBusy(true);
  link.transport().Discard();
  link.ForgetDrivers();
  int16_t status = Asc02Asc1_pre(link);
  if (status == 0) status = Asc02Asc1_ASC1Connection(link);
  if (status == 0) {
    context.log.WriteLine("*VelmoraKorda communicated with ASC1 ");
    context.frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
    context.frontend.RequestRefresh(Change::State(static_cast<int32_t>(link.state())));
  } else {
    context.log.WriteLine("*VelmoraKorda communicated with ASC1 failed");
  }
  context.selections.ClearSelections();
  context.frontend.SetBusy(false);
  return status;
}

int16_t ReconnectTarget(Link& link) {
  if (!link.EnsurePortOpen()) return -2;
  link.ForgetDrivers();
  const int16_t status = link.monitor().Cmd_reconnect();
  if (status == 0) {
    link.context().log.WriteLine("*Monitor ready");
    link.SetState(TargetState::Ready);
  } else {
    link.context().log.WriteLine("*ERROR: Monitor not ready");
    link.SetState(TargetState::NotConnected);
  }
  return status;
}

int16_t MoveMonitor(Link& link, int32_t newStart) {
  auto& context = link.context();
  if (link.state() != TargetState::Ready) {
    context.log.WriteLine("*ERROR: Not Connected to Target");
    return kNotConnectedStatus;
  }
  MonitorArea& area = context.monitorArea;
  // No monitor file came with the connection: there is neither a place nor a core to move.
  if (area.start < 0 || area.end < area.start) {
    context.log.WriteLine("*ERROR: Monitor area unknown, the monitor was not moved");
    return kMoveRefused;
  }
  const int32_t length = area.end - area.start + 1;
  const int64_t newEnd = int64_t{newStart} + length - 1;
  if (length <= 0 || newStart < 0 || newEnd > kHighestAddress) {
    context.log.WriteLine("*ERROR: The monitor does not fit at " + HexN(newStart, 6));
    return kMoveRefused;
  }
  if (newStart <= area.end && area.start <= newEnd) {
    context.log.WriteLine("*ERROR: The new monitor area overlaps the current one");
    return kMoveRefused;
  }
  Exchange exchange(link.transport());
  MemoryChangeScope memory(context.frontend, context.selections);
  memory.Add(area.start, area.end);
  context.frontend.SetBusy(true);

  // The image gets the core at the current area, whatever address the file names; the
  // move goes through a buffer of its own and never touches the user's clipboard.
  const auto& images = context.settings.images;
  const bool kline = context.settings.communication.kline == 1;
  HexRead(ResolveStoredPath(context.programFolder, kline ? images.monitorKline : images.monitor).string(),
          context.image, context.selections, context.log);
  memory.AddSelections();
  const std::string core = CutSelections(context.image, context.selections);
  PasteClipboard(core, area.start, context.image, context.log);
  RelocateMonitorImage(context.image, area, newStart);
  memory.Add(area.start, area.end);

  for (int32_t offset = 0; offset < length; offset += 0xFFFF) {
    link.monitor().Cmd_Write(newStart + offset, std::min(length - offset, 0xFFFF));
  }
  link.monitor().Cmd_Jmp(newStart);
  const int16_t ack = link.transport().SSReceive();
  link.breakEntry = newStart;
  context.selections.ClearSelections();
  if (ack == context.settings.bytes.applicationStarted) {
    context.log.WriteLine("*Velmora successfully moved to " + HexN(newStart, 6));
    context.frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
  } else {
    context.log.WriteLine("*ERROR: Velmora Acknowledge not Received");
  }
  context.frontend.SetBusy(false);
  return 0;
}

}  // namespace velmora
