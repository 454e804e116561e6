// What the system finds out about a device that would not open: the kinds of file a user
// may name as a port, and what a refused open stands for.
#include "link/device_diagnosis.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "temp_folder.h"

namespace velmora {
namespace {

TEST(DeviceDiagnosis, NamesWhatKindOfFileStandsAtThePortsName) {
  test::TempFolder folder;
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
  const std::string terminal = ptsname(master);
  const std::pair<std::string, PortProblem> kDevices[] = {
      {folder.File("ttyUSB9"), PortProblem::NoSuchDevice},
      {folder.Write("plain", "not a device") + "/below", PortProblem::NoSuchDevice},
      {folder.path().string(), PortProblem::NotSerialDevice},
      {folder.Write("plain", "not a device"), PortProblem::NotSerialDevice},
      {"/dev/null", PortProblem::NotSerialDevice},  // a device, but no terminal
      {terminal, PortProblem::None},
  };
  for (const auto& [device, problem] : kDevices) {
    SCOPED_TRACE(device);
    EXPECT_EQ(DiagnoseDevice(device).problem, problem);
  }
  // A terminal that another process holds locked.
  const int holder = open(terminal.c_str(), O_RDWR | O_NOCTTY);
  ASSERT_GE(holder, 0);
  ASSERT_EQ(flock(holder, LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(DiagnoseDevice(terminal).problem, PortProblem::InUse);
  close(holder);
  EXPECT_EQ(DiagnoseDevice(terminal).problem, PortProblem::None);
  close(master);
}

TEST(DeviceDiagnosis, ARefusedOpenNamesItsCauseAndTheGroupToJoin) {
  const std::pair<int, PortFault> kErrors[] = {
      {ENOENT, {PortProblem::NoSuchDevice, {}}},
      {ENXIO, {PortProblem::NoSuchDevice, {}}},  // a device node whose adapter is gone
      {EACCES, {PortProblem::PermissionDenied, "root"}},
      {EPERM, {PortProblem::PermissionDenied, "root"}},
      {EBUSY, {PortProblem::InUse, {}}},
      {ENOTTY, {PortProblem::NotSerialDevice, {}}},
      {EIO, {PortProblem::Other, "Input/output error"}},
  };
  for (const auto& [error, fault] : kErrors) {
    SCOPED_TRACE(error);
    EXPECT_EQ(FaultOfOpenError(error, 0), fault);
  }
  // A group the system has no name for is named by its number.
  EXPECT_EQ(FaultOfOpenError(EACCES, 54321).detail, "54321");
}

}  // namespace
}  // namespace velmora
