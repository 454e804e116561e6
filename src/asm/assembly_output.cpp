#include "asm/assembly_output.h"

#include <algorithm>
#include <cstdio>

#include "core/atomic_file.h"
#include "core/memory_image.h"
#include "core/selection_list.h"
#include "formats/hex_writer.h"

namespace velmora::assembler {
namespace {

constexpr int kRecordSize = 32;
constexpr int kLinearAddresses = 4;  // extended linear address records reach all 24 bits
constexpr size_t kBytesPerRow = 8;
constexpr size_t kByteColumns = kBytesPerRow * 3;

std::string row(int32_t address, const uint8_t* bytes, size_t count, bool included,
                const std::string& text) {
  char buffer[16];
  std::string out;
  if (address >= 0) {
    std::snprintf(buffer, sizeof buffer, "%06X  ", static_cast<unsigned>(address));
    out += buffer;
  } else {
    out += "        ";
  }
  std::string hex;
  for (size_t i = 0; i < count; ++i) {
    std::snprintf(buffer, sizeof buffer, "%02X ", bytes[i]);
    hex += buffer;
  }
  hex.resize(kByteColumns, ' ');
  out += hex;
  out += included ? "+ " : "  ";
  out += text;
  while (!out.empty() && out.back() == ' ') out.pop_back();
  return out + "\r\n";
}

}  // namespace

bool WriteHexFile(const Assembly& assembly, const std::string& path, MessageLog& log) {
  MemoryImage image;
  SelectionList selections;
  int32_t low = 0xFFFFFF;
  int32_t high = 0;
  for (const Chunk& chunk : assembly.chunks) {
    if (chunk.bytes.empty()) continue;
    image.StoreLoaded(chunk.address, chunk.bytes);
    low = std::min(low, chunk.address);
    high = std::max(high, chunk.address + static_cast<int32_t>(chunk.bytes.size()) - 1);
  }
  // Only the bytes the source placed are defined, so the gaps inside the range stay out.
  if (low <= high && !selections.AddSelection(low, high)) return false;
  return HexWriteSelections(path, kRecordSize, kLinearAddresses, image, selections, log) ==
         HexWriteStatus::Ok;
}

std::string ListingText(const Assembly& assembly) {
  std::string out;
  for (const ListingRow& line : assembly.listing) {
    const bool included = line.file != 0;
    const size_t first = std::min(line.bytes.size(), kBytesPerRow);
    out += row(line.address, line.bytes.data(), first, included, line.text);
    for (size_t at = first; at < line.bytes.size(); at += kBytesPerRow) {
      const size_t count = std::min(kBytesPerRow, line.bytes.size() - at);
      out +=
          row(line.address + static_cast<int32_t>(at), line.bytes.data() + at, count, included, "");
    }
  }
  return out;
}

bool WriteListingFile(const Assembly& assembly, const std::string& path) {
  AtomicFile file(path);
  if (!file.IsOpen()) return false;
  file.Write(ListingText(assembly));
  return file.Commit();
}

}  // namespace velmora::assembler
