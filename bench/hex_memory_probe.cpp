// Peak memory of loading an Intel HEX file, against the program with only its image.
//
//   hex_memory_probe empty           the image as the program starts it (segments 0 to 3)
//   hex_memory_probe FILE            the same, then FILE loaded into it
//   hex_memory_probe make FILE SIZE  writes a test file: SIZE bytes (hexadecimal) from
//                                    address 0, record size 32
//
// Prints the process's peak resident set (VmHWM of /proc/self/status).
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "core/hex_text.h"
#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/hex_reader.h"
#include "formats/hex_writer.h"

namespace {

std::string peakResident() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return line.substr(line.find_first_not_of(" \t", 6));
  }
  return "unknown";
}

int make(const std::string& path, int32_t size) {
  if (size <= 0 || size > 0x1000000) {
    std::fprintf(stderr, "size must be 1 to 1000000 (hexadecimal)\n");
    return 2;
  }
  velmora::MemoryImage image;
  image.InitImage();
  std::vector<uint8_t> bytes(static_cast<size_t>(size));
  uint32_t seed = 1;
  for (auto& b : bytes) {
    seed = seed * 1664525u + 1013904223u;
    b = static_cast<uint8_t>(seed >> 24);
  }
  image.StoreLoaded(0, bytes);
  velmora::MessageLog log;
  const auto status = velmora::HexWrite(path, 0, size - 1, 32, 4, image, log);
  return status == velmora::HexWriteStatus::Ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == "make") {
    // 7-digit sizes (1000000) are beyond HexVal's six digits.
    const std::string text = argv[3];
    const int32_t size = text == "1000000" ? 0x1000000 : velmora::HexVal(text);
    return make(argv[2], size);
  }
  if (argc != 2) {
    std::fprintf(stderr, "usage: hex_memory_probe empty | FILE | make FILE SIZE\n");
    return 2;
  }
  const std::string mode = argv[1];
  velmora::MemoryImage image;
  image.InitImage();
  velmora::SelectionList selections;
  int64_t loaded = 0;
  if (mode != "empty") {
    velmora::MessageLog log;
    const auto result = velmora::HexRead(mode, image, selections, log);
    if (result.status != velmora::HexReadStatus::Ok) {
      std::fprintf(stderr, "%s did not load\n", mode.c_str());
      return 1;
    }
    loaded = result.bytesStored;
  }
  std::printf("%s: %lld bytes loaded, %d segments allocated, peak resident %s\n", mode.c_str(),
              static_cast<long long>(loaded), image.AllocatedSegmentCount(),
              peakResident().c_str());
  return 0;
}
