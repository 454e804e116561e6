// Bringing the program up in its fixed order, and ending it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <filesystem>
#include <string>
#include <string_view>

namespace velmora {

class Session;

inline constexpr std::string_view kExtractingMessage = "No extracting all additional Velmora Files....";
inline constexpr std::chrono::seconds kExtractionWait{10};

struct StartupOptions {
  // The program that unpacks the shipped files into an empty program folder.
  std::filesystem::path extractor;
  std::chrono::milliseconds extractionWait = kExtractionWait;
  // For this run only, in force before the port is first opened (empty / 0: the file's).
  std::string port = {};
  int32_t baud = 0;
  // The splash's progress bar: each step's value as it begins (1 once the program folder
  // is complete, then 20 to 90).
  std::function<void(int)> progress = {};
};

// Extraction when the controller database is missing, the database, the default
// preferences (with the register definitions of the type), the memory image, the serial
// port, and the log file when logging is on. False when the program folder could not be
// filled (the error line says why); start-up still leaves a usable session.
bool Startup(Session& session, const StartupOptions& options);

// Closes the port and, unless told not to, writes the default preferences (with the
// port and baud rate the file had when they were given for this run only).
void Quit(Session& session, bool savePreferences);

}  // namespace velmora
