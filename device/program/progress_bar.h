// A bar that shows an operator how far a command has come.
#ifndef DEVICE_PROGRAM_PROGRESS_BAR_H
#define DEVICE_PROGRAM_PROGRESS_BAR_H

#include <cstdint>
#include <string>

namespace program {

/// Returns "[#####---------------]  25 %, 250 of 1000": short enough for any terminal, without an
/// end of the line. It is full only when all is done, and empty if nothing is to be done; `done`
/// counts up to `total`.
std::string ProgressBar(std::uint64_t done, std::uint64_t total);

/// What makes a terminal forget a line that has no end yet.
constexpr const char* ERASE_LINE = "\r\033[K";

}  // namespace program

#endif
