// Saves parts of the memory image as Intel HEX (CR LF lines, upper-case digits).
//
// The file is written under a temporary name and renamed over the target at the end, so a
// failure never leaves half a file. Record sizes outside 1..255, formats other than 2
// and 4, and block ranges outside the address space are refused before anything is
// written. Data above FFFFF, which segment records cannot reach, turns a 20-bit save into
// a 32-bit one with a line that says so.
#pragma once

#include <cstdint>
#include <string>

#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"

namespace velmora {

enum class HexWriteStatus { Ok, BadRecordSize, BadFormat, BadRange, CannotWrite };

// The block form: every byte from start to end as it stands in the image.
HexWriteStatus HexWrite(const std::string& path, int32_t start, int32_t end, int recordSize,
                        int format, MemoryImage& image, MessageLog& log);

// The selection form: only the `defined` bytes inside the (normalised) selections.
HexWriteStatus HexWriteSelections(const std::string& path, int recordSize, int format,
                                  MemoryImage& image, SelectionList& selections,
                                  MessageLog& log);

}  // namespace velmora
