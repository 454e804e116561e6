// Runs a fuzz target over every file of the folders given as arguments (its seed corpus
// and the inputs that once crashed or hung it), so that the ordinary and the sanitizer
// builds keep them passing. A missing folder holds no inputs.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  long inputs = 0;
  for (int i = 1; i < argc; ++i) {
    std::error_code error;
    if (!std::filesystem::is_directory(argv[i], error)) continue;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
      std::ifstream in(file, std::ios::binary);
      const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
      std::printf("%s\n", file.filename().c_str());
      std::fflush(stdout);
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      ++inputs;
    }
  }
  std::printf("%ld inputs replayed\n", inputs);
  return inputs > 0 ? 0 : 1;
}
