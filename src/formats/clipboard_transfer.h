// Copy, cut and paste of the selected bytes through a text clipboard.
//
// The clipboard holds Intel HEX text with extended linear address records whose
// addresses are offsets from the lowest selection start, holding only the bytes that have
// a value. Pasting at an address writes each byte at address + offset, so the bytes and
// the gaps between and inside the selections come back as they were; the text also reads
// in any tool that reads Intel HEX.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"

namespace velmora {

// The clipboard text of the selected bytes; only the end record when nothing is selected.
std::string CopySelections(MemoryImage& image, const SelectionList& selections);

// Copies, then the selected bytes lose `defined` and `valid`.
std::string CutSelections(MemoryImage& image, const SelectionList& selections);

enum class PasteStatus { Ok, NotHexText, BeyondAddressSpace };

struct PasteResult {
  PasteStatus status = PasteStatus::Ok;
  int64_t bytesPasted = 0;
};

// Writes the clipboard bytes from start on: data written, `defined` set, `valid` cleared.
// A text that is not Intel HEX, or bytes that would land above FFFFFF, are refused with
// an error line and nothing is written.
PasteResult PasteClipboard(std::string_view clipboard, int32_t start, MemoryImage& image,
                           MessageLog& log);

}  // namespace velmora
