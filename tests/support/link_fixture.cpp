#include "link_fixture.h"

#include "formats/controller_types.h"
#include "formats/register_file.h"
#include "link/bootstrap.h"
#include "sim/board_setup.h"

namespace velmora::test {

LinkFixture::LinkFixture(std::string type, bool kline) {
  SetDefaultPreferences(settings, home.path());
  settings.communication.SetPort("virtual");
  settings.communication.timeout = 40;
  settings.communication.kline = kline ? 1 : 0;
  settings.target.mcType = type;
  image.InitImage();

  ControllerTypeTable types;
  LoadControllerTypes((home.path() / "mctypes.dat").string(), home.path(), types, log);
  const int index = types.FindControllerType(type);
  if (index >= 0) LoadRegisterFile(types.At(index).registerFile, registers, log);

  BoardImages images;
  if (kline) images = {"MCProg\\LOADK.HEX", "MCProg\\VELMORAK.HEX"};
  auto config = LoadBoardConfig(home.path(), type, images, log);
  if (!config) throw std::runtime_error("no board config for " + type);
  config->kline = kline;
  board = std::make_unique<Board>(*config);
  board->RecordReceived(true);
  port = std::make_unique<VirtualPort>(*board);
  link = std::make_unique<Link>(
      *port, LinkContext{settings, image, selections, log, frontend, registers, monitorArea, home.path()});
}

void LinkFixture::Connect() {
  ASSERT_EQ(ConnectTarget(*link), 0);
  ASSERT_EQ(link->state(), TargetState::Ready);
  TakeSent();
}

std::vector<std::string> LinkFixture::Lines() const {
  std::vector<std::string> lines;
  for (int i = 0; i + 1 < log.List().Count(); ++i) lines.push_back(log.List().Entry(i));
  return lines;
}

std::vector<uint8_t> LinkFixture::TakeSent() {
  const auto& all = board->received();
  std::vector<uint8_t> sent(all.begin() + static_cast<long>(sentSeen_), all.end());
  sentSeen_ = all.size();
  return sent;
}

}  // namespace velmora::test
