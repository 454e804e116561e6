#include <gtest/gtest.h>

#include "core/frontend.h"
#include "link/bootstrap.h"
#include "link_fixture.h"

namespace velmora {
namespace {

using test::LinkFixture;
using Bytes = std::vector<uint8_t>;

class Connection : public LinkFixture {};

TEST_F(Connection, BootstrapSequenceBringsTheMonitorUp) {
  ASSERT_EQ(ConnectTarget(*link), 0);
  EXPECT_EQ(link->state(), TargetState::Ready);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         "*Loader file Prepare",
                         "*VelmoraKorda file Prepare",
                         "*send 0 Byte + Loader + VelmoraCore",
                         "*RECEIVE - MC-Identifier: D5",
                         "*RECEIVE - LoaderACK 01 received",
                         "*RECEIVE - VelmoraKorda ACK 03 received",
                         "*VelmoraKorda successfully launched",
                     }));
  // On the wire: the zero byte, the 32 loader bytes, the 708 monitor bytes.
  const Bytes sent = TakeSent();
  ASSERT_EQ(sent.size(), 1U + 32U + 0x2C4U);
  EXPECT_EQ(sent[0], 0x00);
  EXPECT_EQ(Bytes(sent.begin() + 1, sent.begin() + 33), board->loaderBytes());
  EXPECT_EQ(Bytes(sent.begin() + 33, sent.end()), board->monitorBytes());
  EXPECT_EQ(board->mode(), Board::Mode::Monitor);
  // The monitor area follows the file, is protected, and the selection list is empty.
  EXPECT_EQ(monitorArea, (MonitorArea{0xE00024, 0xE002E7}));
  EXPECT_TRUE(image.IsProtected(0xE00024));
  EXPECT_TRUE(image.IsValid(0xE002E7));
  EXPECT_EQ(selections.Count(), 0);
  ASSERT_EQ(frontend.boxes.size(), 1U);
  EXPECT_EQ(frontend.boxes[0].text, "Please reset your Hardware NOW !");
}

TEST_F(Connection, CancelAtTheResetPromptSendsNothing) {
  frontend.QueueAnswer(BoxAnswer::Cancel);
  EXPECT_EQ(ConnectTarget(*link), -1);
  EXPECT_TRUE(board->received().empty());
  EXPECT_EQ(link->state(), TargetState::NotConnected);
  EXPECT_EQ(Lines(), (std::vector<std::string>{"*Loader file Prepare", "*VelmoraKorda file Prepare"}));
}

}  // namespace
}  // namespace velmora
