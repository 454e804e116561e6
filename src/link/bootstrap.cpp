#include "link/bootstrap.h"

#include "core/frontend.h"
#include "core/hex_text.h"
#include "core/paths.h"
#include "formats/hex_reader.h"
#include "link/link.h"
#include "link/memory_change_scope.h"

namespace velmora {
namespace {

void prepareStream(Link& link, const std::string& kLineFile, const std::string& rs232File,
                   std::string_view message, std::vector<uint8_t>& stream) {
  auto& context = link.context();
  const bool kline = context.settings.communication.kline == 1;
  const auto path = ResolveStoredPath(context.programFolder, kline ? kLineFile : rs232File);
  HexRead(path.string(), context.image, context.selections, context.log);
  context.log.WriteLine(message);
  stream.clear();
  stream.reserve(static_cast<size_t>(context.selections.ByteCount()));
  for (int i = 0; i < context.selections.Count(); ++i) {
    const Selection block = context.selections.At(i);
    for (int32_t address = block.start; address <= block.end; ++address) {
      stream.push_back(context.image.GetByte(address));
      context.image.SetValid(address, true);
    }
  }
}

std::string ackText(int16_t byte) { return HexN(byte, 2); }

}  // namespace

void Loader_pre(Link& link) {
  Exchange exchange(link.transport());
  const auto& images = link.context().settings.images;
  prepareStream(link, images.loaderKline, images.loader, "*Loader file Prepare",
                link.boot.loaderStream);
}

void Velmora_pre(Link& link) {
  Exchange exchange(link.transport());
  const auto& images = link.context().settings.images;
  prepareStream(link, images.monitorKline, images.monitor, "*VelmoraKorda file Prepare",
                link.boot.monitorStream);
}

int16_t Initiate(Link& link) {
  Exchange exchange(link.transport());
  auto& context = link.context();
  if (context.frontend.MessageBox(kResetQuestion, BoxButtons::OkCancel, BoxIcon::None, {}) !=
      BoxAnswer::Ok) {
    return -1;
  }
  if (link.onResetConfirmed) link.onResetConfirmed();
  link.transport().Discard();
  context.log.WriteLine("*send 0 Byte + Loader + VelmoraCore");
  link.transport().SSSend(0x00);
  link.boot.idByte = link.transport().SSReceive();
  return 0;
}

int16_t Loader_new(Link& link) {
  Exchange exchange(link.transport());
  std::vector<uint8_t> stream = link.boot.loaderStream;
  if (!stream.empty()) link.transport().SSSendN(stream);
  link.boot.loaderAck = link.transport().SSReceive();
  return 0;
}

void Velmora_new(Link& link) {
  Exchange exchange(link.transport());
  auto& context = link.context();
  std::vector<uint8_t> stream = link.boot.monitorStream;
  if (!stream.empty()) link.transport().SSSendN(stream);
  link.boot.monitorAck = link.transport().SSReceive();
  context.monitorArea = {context.selections.LowestSelectionStart(),
                         context.selections.HighestSelectionEnd()};
  // The monitor's bytes are not the user's to edit.
  if (context.monitorArea.start >= 0 && context.monitorArea.end >= context.monitorArea.start) {
    context.image.ChangeFlags(context.monitorArea.start,
                              static_cast<size_t>(context.monitorArea.end - context.monitorArea.start + 1),
                              kProtected, true);
    link.breakEntry = context.monitorArea.start;
  }
}

int16_t Receive_ID_VelmoraACK(Link& link) {
  Exchange exchange(link.transport());
  auto& log = link.context().log;
  const auto& bytes = link.context().settings.bytes;
  const BootstrapState& boot = link.boot;

  if (boot.idByte < 1) {
    log.WriteLine("*ERROR: No ID Byte received");
  } else {
    log.WriteLine("*RECEIVE - MC-Identifier: " + ackText(boot.idByte));
  }

  if (boot.loaderAck < 1) {
    log.WriteLine("*ERROR: No Loader_ACK Byte received (VelmoraKordaCore not loaded)");
  } else if (boot.loaderAck != bytes.loaderStarted) {
    log.WriteLine("*RECEIVE - LoaderACK ERROR: Incorrect LoaderAck received " + ackText(boot.loaderAck));
  } else {
    log.WriteLine("*RECEIVE - LoaderACK " + ackText(boot.loaderAck) + " received");
  }

  if (boot.monitorAck < 1) {
    log.WriteLine("*ERROR: No VelmoraKorda Byte received (VelmoraKorda not successful)");
    return connect_status::kNoMonitorAck;
  }
  if (boot.monitorAck != bytes.applicationStarted) {
    log.WriteLine("*RECEIVE - VelmoraKorda ERROR: Incorrect VelmoraKorda ACK received " +
                  ackText(boot.monitorAck));
    return connect_status::kWrongMonitorAck;
  }
  log.WriteLine("*RECEIVE - VelmoraKorda ACK " + ackText(boot.monitorAck) + " received");
  return connect_status::kOk;
}

int16_t ConnectTarget(Link& link) {
  auto& context = link.context();
  if (!link.EnsurePortOpen()) return connect_status::kNoMonitorAck;
  // One exchange for the whole sequence: a port failure is said once and ends it.
  Exchange exchange(link.transport());
  MemoryChangeScope memory(context.frontend, context.selections);
  context.frontend.SetBusy(true);
  link.transport().Discard();

  Loader_pre(link);
  memory.AddSelections();
  Velmora_pre(link);
  memory.AddSelections();
  link.ForgetDrivers();
  int16_t status = Initiate(link);
  if (status == 0) {
    Loader_new(link);
    Velmora_new(link);
    memory.Add(context.monitorArea.start, context.monitorArea.end);
    status = Receive_ID_VelmoraACK(link);
    if (status == connect_status::kOk) {
      context.log.WriteLine("*VelmoraKorda successfully launched");
      link.SetState(TargetState::Ready);
      if (link.afterConnection) link.afterConnection();
      link.SetState(TargetState::Ready);
      context.frontend.RequestRefresh(Change::All(RefreshTarget::RegisterList));
    }
  }
  context.selections.ClearSelections();
  context.frontend.SetBusy(false);
  return status;
}

}  // namespace velmora
