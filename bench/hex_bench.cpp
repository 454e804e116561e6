// Throughput of the Intel HEX reader and writer, in megabytes of HEX text per second.
//
// Two images: the whole 16 MB address space (all 256 segments, about 40 MB of text at
// record size 32) and 512 KB (segments 0 to 7). The image files are written once into a
// temporary folder before the runs; the reader loads them into one image that stays
// allocated between iterations, as the program's own image does between loads.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"
#include "formats/hex_reader.h"
#include "formats/hex_writer.h"

namespace {

using velmora::HexReadStatus;
using velmora::HexWriteStatus;
using velmora::MemoryImage;
using velmora::MessageLog;
using velmora::SelectionList;

constexpr int kRecordSize = 32;
constexpr int kLinearFormat = 4;

struct ImageCase {
  const char* name;
  int32_t size;
};

constexpr ImageCase kCases[] = {{"16MB", 0x1000000}, {"512KB", 0x80000}};

std::filesystem::path g_folder;

std::string fileFor(const ImageCase& c) {
  return (g_folder / (std::string(c.name) + ".hex")).string();
}

// Random bytes with `defined` set from address 0 to size - 1.
void fillImage(MemoryImage& image, int32_t size) {
  std::mt19937 random(12345);
  std::vector<uint8_t> bytes(MemoryImage::kSegmentSize);
  for (int32_t at = 0; at < size; at += MemoryImage::kSegmentSize) {
    for (auto& b : bytes) b = static_cast<uint8_t>(random());
    image.StoreLoaded(at, bytes);
  }
}

void reportText(benchmark::State& state, int64_t textBytes) {
  const int64_t total = textBytes * static_cast<int64_t>(state.iterations());
  state.SetBytesProcessed(total);
  state.counters["MB"] =
      benchmark::Counter(static_cast<double>(total) / 1e6, benchmark::Counter::kIsRate);
  state.counters["text_MB"] = static_cast<double>(textBytes) / 1e6;
}

void readBench(benchmark::State& state, const ImageCase& c) {
  const std::string path = fileFor(c);
  const auto textBytes = static_cast<int64_t>(std::filesystem::file_size(path));
  MemoryImage image;
  image.InitImage();
  SelectionList selections;
  for (auto _ : state) {
    MessageLog log;
    const auto result = velmora::HexRead(path, image, selections, log);
    if (result.status != HexReadStatus::Ok || result.bytesStored != c.size) {
      state.SkipWithError("the file did not load whole");
      break;
    }
    benchmark::DoNotOptimize(selections.Count());
  }
  reportText(state, textBytes);
}

void writeBench(benchmark::State& state, const ImageCase& c, bool bySelection) {
  MemoryImage image;
  image.InitImage();
  fillImage(image, c.size);
  SelectionList selections;
  (void)selections.AddSelection(0, c.size - 1);
  const std::string path = (g_folder / (std::string("out-") + c.name + ".hex")).string();
  for (auto _ : state) {
    MessageLog log;
    const HexWriteStatus status =
        bySelection
            ? velmora::HexWriteSelections(path, kRecordSize, kLinearFormat, image, selections, log)
            : velmora::HexWrite(path, 0, c.size - 1, kRecordSize, kLinearFormat, image, log);
    if (status != HexWriteStatus::Ok) {
      state.SkipWithError("the file could not be written");
      break;
    }
  }
  reportText(state, static_cast<int64_t>(std::filesystem::file_size(path)));
}

bool prepareFiles() {
  g_folder =
      std::filesystem::temp_directory_path() / ("velmora-hex-bench-" + std::to_string(::getpid()));
  std::filesystem::create_directories(g_folder);
  for (const auto& c : kCases) {
    MemoryImage image;
    image.InitImage();
    fillImage(image, c.size);
    MessageLog log;
    if (velmora::HexWrite(fileFor(c), 0, c.size - 1, kRecordSize, kLinearFormat, image, log) !=
        HexWriteStatus::Ok) {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (!prepareFiles()) return 1;
  for (const auto& c : kCases) {
    benchmark::RegisterBenchmark((std::string("HexRead/") + c.name).c_str(),
                                 [&c](benchmark::State& s) { readBench(s, c); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark((std::string("HexWrite/block/") + c.name).c_str(),
                                 [&c](benchmark::State& s) { writeBench(s, c, false); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark((std::string("HexWrite/selection/") + c.name).c_str(),
                                 [&c](benchmark::State& s) { writeBench(s, c, true); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code error;
  std::filesystem::remove_all(g_folder, error);
  return 0;
}
