// A file written under a temporary name beside its target and renamed over it only when
// everything was written, so that a failure never leaves half a file behind. A symbolic
// link is written through to its target and stays a link; a device or a pipe (/dev/null,
// a fifo) is written in place, since renaming over it would replace it by a plain file.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string_view>

namespace velmora {

class AtomicFile {
 public:
  explicit AtomicFile(std::filesystem::path target);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  // False when the temporary file could not be created.
  bool IsOpen() const { return file_ != nullptr; }
  bool Write(std::string_view bytes);
  // Flushes, closes and renames over the target. False (and the target untouched) when
  // any write failed; the temporary file is removed either way.
  bool Commit();

 private:
  void discard();

  std::filesystem::path target_;
  std::filesystem::path temporary_;
  std::FILE* file_ = nullptr;
  bool inPlace_ = false;
  bool failed_ = false;
};

}  // namespace velmora
