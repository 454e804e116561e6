// What the assembler writes: the bytes as Intel HEX through the program's HEX writer, and
// a listing with the address and bytes of every line beside its source.
#pragma once

#include <string>

#include "asm/assembler.h"
#include "core/message_log.h"

namespace velmora::assembler {

// False when the file cannot be written (the writer's message line is in log).
bool WriteHexFile(const Assembly& assembly, const std::string& path, MessageLog& log);

// "AAAAAA  BB BB BB BB    source": at most eight bytes a row, longer data goes on in
// rows of its own; lines from an included file are marked with "+".
std::string ListingText(const Assembly& assembly);
bool WriteListingFile(const Assembly& assembly, const std::string& path);

}  // namespace velmora::assembler
