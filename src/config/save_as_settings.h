// The remembered state of the save-as dialog, kept in the preferences.
#pragma once

#include <cstdint>
#include <string>

namespace velmora {

// Address record formats of the Intel HEX writer.
enum class HexAddressFormat : int16_t {
  Segment20 = 2,  // extended segment address records
  Linear32 = 4,   // extended linear address records
};

struct SaveAsSettings {
  friend bool operator==(const SaveAsSettings&, const SaveAsSettings&) = default;
  std::string file;                // full path; the default is test.hex in the home folder
  int32_t format = 20;             // 20 or 32, as the preferences hold it
  int32_t fileType = 0;            // index in the dialog's file-type list
  int32_t recordSize = 32;         // decimal data bytes per record
  int32_t startAddress = 0x000000;
  int32_t endAddress = 0x00FFFF;

  // The writer's format code for the remembered 20 or 32.
  int16_t FormatCode() const { return format == 32 ? 4 : 2; }
};

}  // namespace velmora
