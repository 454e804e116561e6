// A link to a virtual board of the shipped TOLVANE type, with short time-outs, for tests
// of everything that crosses the serial line.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "config/settings.h"
#include "core/image_ops.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/register_table.h"
#include "link/link.h"
#include "program_folder.h"
#include "recording_frontend.h"
#include "sim/board.h"
#include "sim/virtual_port.h"

namespace velmora::test {

class LinkFixture : public ::testing::Test {
 protected:
  explicit LinkFixture(std::string type = "TOLVANE", bool kline = false);

  // Runs the bootstrap sequence and expects the monitor to answer.
  void Connect();
  // The message lines closed so far.
  std::vector<std::string> Lines() const;
  // The host's bytes on the wire since the last call.
  std::vector<uint8_t> TakeSent();

  ProgramFolderCopy home;
  Settings settings;
  MemoryImage image;
  SelectionList selections;
  MessageLog log;
  RecordingFrontend frontend;
  RegisterTable registers;
  MonitorArea monitorArea = kDefaultMonitorArea;
  std::unique_ptr<Board> board;
  std::unique_ptr<VirtualPort> port;
  std::unique_ptr<Link> link;

 private:
  size_t sentSeen_ = 0;
};

}  // namespace velmora::test
