#include "core/atomic_file.h"

#include <unistd.h>

#include <string>
#include <system_error>

namespace velmora {

AtomicFile::AtomicFile(std::filesystem::path target) : target_(std::move(target)) {
  temporary_ = target_;
  temporary_ += ".tmp" + std::to_string(::getpid());
  file_ = std::fopen(temporary_.c_str(), "wb");
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
  std::error_code error;
  std::filesystem::remove(temporary_, error);
}

}  // namespace velmora
