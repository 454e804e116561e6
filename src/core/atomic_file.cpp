#include "core/atomic_file.h"

#include <unistd.h>

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
    temporary_ = target_;
    temporary_ += ".tmp" + std::to_string(::getpid());
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
