// Loads an Intel HEX file into the memory image.
//
// Every contiguous run of loaded addresses becomes a selection. Reading is lenient (no
// checksum test; types 1, 3, 5 and unknown ones are skipped; LF or CR LF line ends; digits
// of either case) but stops at the first line that is not a good record, with an error
// line. A record is decoded whole before any of it is stored, so a bad record leaves
// nothing behind; bytes of earlier records stay in the image, and runs closed before it
// stay selected. A data record without data changes nothing, and a byte-order mark at the
// start of the file is skipped.
#pragma once

#include <cstdint>
#include <string>

#include "core/memory_image.h"
#include "core/message_log.h"
#include "core/selection_list.h"

namespace velmora {

enum class HexReadStatus {
  Ok,
  CannotOpen,
  NoStartMark,     // "*ERROR: No ':' at beginning of line "
  BadDigit,        // a count, address, type or data pair that is not hexadecimal
  ShortRecord,     // the line ends before its data does
  BeyondAddressSpace,  // a data byte would land above FFFFFF
};

struct HexReadResult {
  HexReadStatus status = HexReadStatus::Ok;
  long lineNumber = 0;  // the line the reading stopped at (1-based), 0 when it did not stop
  int64_t bytesStored = 0;
  long recordsSkipped = 0;  // records of types other than 0, 2 and 4
  bool selectionsDropped = false;  // a run found no room in the selection list
};

// Clears the selections, loads the file and normalises the selections. Error lines go to
// log; the caller reports the loaded byte count.
HexReadResult HexRead(const std::string& path, MemoryImage& image, SelectionList& selections,
                      MessageLog& log);

}  // namespace velmora
