#include "link/device_diagnosis.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace velmora {

namespace {

// The name of the group, or its number when the system does not know it.
std::string groupName(gid_t gid) {
  std::vector<char> buffer(4096);
  group entry{};
  group* found = nullptr;
  while (getgrgid_r(gid, &entry, buffer.data(), buffer.size(), &found) == ERANGE &&
         buffer.size() < 1 << 20) {
    buffer.resize(buffer.size() * 2);
  }
  return found != nullptr ? std::string(found->gr_name) : std::to_string(gid);
}

}  // namespace

PortFault FaultOfOpenError(int osError, gid_t group) {
  switch (osError) {
    case ENOENT:
    case ENOTDIR:
    case ENODEV:
    case ENXIO:
      return {PortProblem::NoSuchDevice, {}};
    case EACCES:
    case EPERM:
      return {PortProblem::PermissionDenied, groupName(group)};
    case EBUSY:
      return {PortProblem::InUse, {}};
    case EISDIR:
    case ENOTTY:
      return {PortProblem::NotSerialDevice, {}};
    default:
      return {PortProblem::Other, std::strerror(osError)};
  }
}

PortFault DiagnoseDevice(const std::string& device) {
  struct stat status {};
  if (stat(device.c_str(), &status) != 0) return FaultOfOpenError(errno, 0);
  if (!S_ISCHR(status.st_mode)) return {PortProblem::NotSerialDevice, {}};
  const int fd = open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return FaultOfOpenError(errno, status.st_gid);
  PortFault fault;
  if (!isatty(fd)) {
    fault = {PortProblem::NotSerialDevice, {}};
  } else if (flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    fault = {PortProblem::InUse, {}};
  }
  close(fd);
  return fault;
}

}  // namespace velmora
