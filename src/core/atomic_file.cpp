#include "core/atomic_file.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace velmora {
namespace {

// The file a path finally names: a symbolic link is followed (also one whose target does
// not exist yet), so that saving through a link writes its target and keeps the link.
std::filesystem::path followLinks(std::filesystem::path path) {
  std::error_code error;
  for (int hops = 0; hops < 40 && std::filesystem::is_symlink(path, error); ++hops) {
    const auto target = std::filesystem::read_symlink(path, error);
    if (error) break;
    path = target.is_absolute() ? target : path.parent_path() / target;
  }
  return path.lexically_normal();
}

constexpr std::string_view kTemporaryMark = ".tmp";

std::filesystem::path temporaryFor(const std::filesystem::path& target, long pid) {
  std::filesystem::path temporary = target;
  temporary += std::string(kTemporaryMark) + std::to_string(pid);
  return temporary;
}

// The writer a temporary file of the target belongs to; 0 for any other file.
long writerOf(const std::filesystem::path& file, const std::filesystem::path& target) {
  const std::string name = file.filename().string();
  const std::string prefix = target.filename().string() + std::string(kTemporaryMark);
  if (name.size() <= prefix.size() || name.size() > prefix.size() + 9 ||
      name.compare(0, prefix.size(), prefix) != 0) {
    return 0;
  }
  const std::string digits = name.substr(prefix.size());
  if (digits.find_first_not_of("0123456789") != std::string::npos) return 0;
  return std::stol(digits);
}

// A save killed before its rename leaves its temporary file behind. The next save of the
// same file clears those whose writer no longer runs, so they never pile up beside it.
void removeOrphans(const std::filesystem::path& target) {
  std::error_code error;
  const auto folder = target.has_parent_path() ? target.parent_path() : ".";
  std::error_code removal;
  for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
       it.increment(error)) {
    const long pid = writerOf(it->path(), target);
    if (pid <= 0 || pid == ::getpid()) continue;
    if (::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM) continue;  // still running
    std::filesystem::remove(it->path(), removal);
  }
}

}  // namespace

AtomicFile::AtomicFile(std::filesystem::path target) : target_(followLinks(std::move(target))) {
  std::error_code error;
  const auto status = std::filesystem::status(target_, error);
  // A device or a pipe cannot be replaced by renaming: it is written where it is.
  inPlace_ = std::filesystem::exists(status) && !std::filesystem::is_regular_file(status) &&
             !std::filesystem::is_directory(status);
  if (inPlace_) {
    file_ = std::fopen(target_.c_str(), "wb");
  } else {
    temporary_ = temporaryFor(target_, ::getpid());
    file_ = std::fopen(temporary_.c_str(), "wb");
  }
  if (file_) std::setvbuf(file_, nullptr, _IOFBF, 1 << 20);
}

AtomicFile::~AtomicFile() { discard(); }

bool AtomicFile::Write(std::string_view bytes) {
  if (!file_ || failed_) return false;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) failed_ = true;
  return !failed_;
}

bool AtomicFile::Commit() {
  if (!file_) return false;
  if (std::fflush(file_) != 0) failed_ = true;
  // On the disk before the rename, so that a power cut leaves the old or the new file and
  // never a renamed empty one.
  if (!inPlace_ && ::fsync(::fileno(file_)) != 0) failed_ = true;
  if (std::fclose(file_) != 0) failed_ = true;
  file_ = nullptr;
  if (inPlace_) return !failed_;
  std::error_code error;
  if (!failed_) std::filesystem::rename(temporary_, target_, error);
  if (failed_ || error) {
    failed_ = true;
    std::filesystem::remove(temporary_, error);
    return false;
  }
  removeOrphans(target_);
  return true;
}

void AtomicFile::discard() {
  if (!file_) return;
  std::fclose(file_);
  file_ = nullptr;
  if (inPlace_) return;
  std::error_code error;
  std::filesystem::remove(temporary_, error);
}

}  // namespace velmora
