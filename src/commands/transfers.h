// Moving the selections between the memory image and the target, comparing them, and the
// checksums over the image.
#pragma once

#include <cstdint>
#include <string>

#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"

namespace velmora {

class Link;

// 0; -1 a block was not written; -100 not connected.
int16_t DownloadSelections(Link& link);
// 0; -1 a block was not read (the target then counts as not connected); -100.
int16_t UploadSelections(Link& link);
// The number of differing bytes; -1 a block was not read; -100. With a report file the
// differences go there instead of the message list.
int32_t CompareSelections(Link& link, const std::string& reportFile);

// Width code 1: 8 bits, 2: 16 bits. They read the image only (bytes without a value count
// as 0) and write "*Checksum: " with the result.
int16_t XorChecksum(MemoryImage& image, const SelectionList& selections, MessageLog& log, int width);
int16_t AddcChecksum(MemoryImage& image, const SelectionList& selections, MessageLog& log,
                     int width, bool endCarry);

}  // namespace velmora
