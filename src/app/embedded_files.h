// The shipped program files, compiled into the extraction program.
#pragma once

#include <cstddef>
#include <vector>

namespace velmora {

struct EmbeddedFile {
  const char* name;  // relative path with "/" separators
  const unsigned char* data;
  size_t size;
};

const std::vector<EmbeddedFile>& EmbeddedFiles();

}  // namespace velmora
