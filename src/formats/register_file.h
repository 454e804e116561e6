// Reads a register definition file (.SFR) into the register table.
//
// Lines are recognised by keyword anywhere in the line, without regard to case: "SFR"
// (also ESFR) defines a register, "BFLD" names a bit field by its low and high bit,
// "BITFLD" a field by its bit and width, "BIT" a single bit. Bit lines for a register not
// (yet) defined are ignored. ZEROS and ONES are added at the end when the file lacks them.
#pragma once

#include <string>

#include "core/message_log.h"
#include "formats/line_issue.h"
#include "formats/register_table.h"

namespace velmora {

struct RegisterFileResult {
  bool found = false;
  LineIssues issues;
};

RegisterFileResult LoadRegisterFile(const std::string& path, RegisterTable& table,
                                    MessageLog& log);

}  // namespace velmora
