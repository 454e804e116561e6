#include "commands/transfers.h"

#include <fstream>
#include <vector>

#include "commands/block_walk.h"
#include "core/frontend.h"
#include "core/hex_text.h"
#include "link/link.h"

namespace velmora {
namespace {

// Busy pointer and progress while a transfer runs. Every block that crossed the line is
// announced as the memory range it touched (its bytes or flags changed), so a view
// redraws only what it shows of it.
class TransferScope {
 public:
  TransferScope(Frontend& frontend, std::string_view operation, int64_t total)
      : frontend_(frontend), operation_(operation), total_(total) {
    frontend_.SetBusy(true);
  }
  ~TransferScope() {
    if (started_) frontend_.ShowProgress({operation_, done_, total_});
    frontend_.SetBusy(false);
  }
  TransferScope(const TransferScope&) = delete;
  TransferScope& operator=(const TransferScope&) = delete;

  void Start() {
    started_ = true;
    frontend_.ShowProgress({operation_, 0, total_});
  }
  // The block has been moved; done counts every byte so far, this block included.
  void BlockDone(int32_t address, int32_t length, int64_t done) {
    done_ = done;
    frontend_.RequestRefresh(Change::Memory(address, address + length - 1));
    frontend_.ShowProgress({operation_, done_, total_});
  }

 private:
  Frontend& frontend_;
  std::string_view operation_;
  int64_t total_;
  int64_t done_ = 0;
  bool started_ = false;
};

bool connected(Link& link) {
  if (link.state() == TargetState::Ready) return true;
  link.context().log.WriteLine("*ERROR: Not Connected to Target");
  link.context().frontend.RequestRefresh(Change::State(static_cast<int32_t>(link.state())));
  return false;
}

std::string progress(std::string_view operation, int64_t total) {
  return "*" + std::string(operation) + ": " + SignedDecimal(total) + " bytes ";
}

// A byte as the checksums count it: 0 when the image holds no value for it.
uint32_t checksumByte(MemoryImage& image, int32_t a) { return image.IsDefined(a) ? image.GetByte(a) : 0; }

// The value at a in the checksum's width: a byte, or the word at a rounded down to even.
uint32_t checksumValue(MemoryImage& image, int32_t a, int width) {
  if (width == 1) return checksumByte(image, a);
  const int32_t even = a & ~1;
  return checksumByte(image, even) | (checksumByte(image, even + 1) << 8);
}

template <typename Fold>
void forEachChecksumValue(MemoryImage& image, const SelectionList& selections, int width, Fold fold) {
  const int step = width == 2 ? 2 : 1;
  for (int i = 0; i < selections.Count(); ++i) {
    const Selection s = selections.At(i);
    for (int64_t a = s.start; a <= s.end; a += step) fold(checksumValue(image, static_cast<int32_t>(a), step));
  }
}

}  // namespace

int16_t DownloadSelections(Link& link) {
  auto& context = link.context();
  TransferScope scope(context.frontend, "Download", context.selections.ByteCount());
  if (!connected(link)) return kNotConnectedStatus;
  scope.Start();
  const bool ok = WalkBlocks(context.selections, [&](int32_t address, int32_t length, int64_t total) {
    if (link.monitor().Cmd_Write(address, length) != 0) {
      context.log.WriteLine("*ERROR: download not successful");
      return false;
    }
    context.log.WriteLine(progress("Download", total));
    scope.BlockDone(address, length, total);
    return true;
  });
  return ok ? 0 : -1;
}

int16_t UploadSelections(Link& link) {
  auto& context = link.context();
  TransferScope scope(context.frontend, "Upload", context.selections.ByteCount());
  if (!connected(link)) return kNotConnectedStatus;
  scope.Start();
  const bool ok = WalkBlocks(context.selections, [&](int32_t address, int32_t length, int64_t total) {
    if (link.monitor().Cmd_Read(address, length) != 0) {
      context.log.WriteLine("*ERROR: no data received");
      link.SetState(TargetState::NotConnected);
      return false;
    }
    context.log.WriteLine(progress("Upload", total));
    scope.BlockDone(address, length, total);
    return true;
  });
  return ok ? 0 : -1;
}

int32_t CompareSelections(Link& link, const std::string& reportFile) {
  auto& context = link.context();
  TransferScope scope(context.frontend, "Compare", context.selections.ByteCount());
  if (!connected(link)) return kNotConnectedStatus;
  scope.Start();
  std::ofstream report;
  if (!reportFile.empty()) {
    report.open(reportFile, std::ios::binary | std::ios::trunc);
    if (!report) context.log.WriteLine("*ERROR: Cannot write file " + reportFile);
  }
  MemoryImage& image = context.image;
  int32_t differences = 0;
  int64_t compared = 0;
  std::vector<uint8_t> expected;
  const bool ok = WalkBlocks(context.selections, [&](int32_t address, int32_t length, int64_t total) {
    expected.resize(static_cast<size_t>(length));
    image.ReadBytes(address, expected);
    if (link.monitor().Cmd_Read(address, length) != 0) {
      context.log.WriteLine("*ERROR: no data received while comparing");
      return false;
    }
    for (int32_t k = 0; k < length; ++k) {
      const int32_t at = address + k;
      const uint8_t found = image.GetByte(at);
      const uint8_t wanted = expected[static_cast<size_t>(k)];
      if (found == wanted) {
        image.SetValid(at, true);
        continue;
      }
      ++differences;
      const std::string detail = "Comparison at address " + HexN(at, 6) + " expected: " +
                                 HexN(wanted, 2) + " found: " + HexN(found, 2);
      if (reportFile.empty()) {
        context.log.WriteLine("*" + detail);
      } else {
        report << detail << "\r\n";
      }
      // The image keeps its own value and shows that the target does not hold it.
      image.SetByte(at, wanted);
      image.SetValid(at, false);
    }
    compared = total;
    context.log.WriteLine(progress("Compare", total));
    scope.BlockDone(address, length, total);
    return true;
  });
  if (!ok) return -1;
  const std::string summary = SignedDecimal(differences) + " of " + SignedDecimal(compared) +
                              " bytes not corresponding";
  if (reportFile.empty()) {
    context.log.WriteLine("*Comparison: " + summary);
  } else {
    report << "Comparison:" << summary << "\r\n";
    report.close();
  }
  return differences;
}

int16_t XorChecksum(MemoryImage& image, const SelectionList& selections, MessageLog& log, int width) {
  uint32_t x = 0;
  forEachChecksumValue(image, selections, width, [&x](uint32_t value) { x ^= value; });
  log.WriteLine("*Checksum: " + HexN(static_cast<int32_t>(x), 2 * (width == 2 ? 2 : 1)) + "  ");
  return 0;
}

int16_t AddcChecksum(MemoryImage& image, const SelectionList& selections, MessageLog& log,
                     int width, bool endCarry) {
  const uint32_t modulus = width == 2 ? 0x10000 : 0x100;
  uint32_t sum = 0;
  uint32_t carry = 0;
  forEachChecksumValue(image, selections, width, [&](uint32_t value) {
    const uint32_t t = value + sum + carry;
    sum = t % modulus;
    carry = t / modulus;
  });
  if (endCarry) sum += carry;
  log.WriteLine("*Checksum: " + HexN(static_cast<int32_t>(sum), 2 * (width == 2 ? 2 : 1)) + "  ");
  return 0;
}

}  // namespace velmora
