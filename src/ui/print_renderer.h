// Puts printout lines on a printer (or a PDF file) in the system's fixed-pitch font, one
// line under the other, starting a new page when one is full.
#pragma once

#include <string>
#include <vector>

class QPrinter;

namespace velmora::ui {

// An empty list still begins and ends the job (one blank page). False when the printer
// could not be opened (a PDF file that cannot be written, a printer that went away).
bool RenderLines(QPrinter& printer, const std::vector<std::string>& lines);

}  // namespace velmora::ui
