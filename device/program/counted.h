// Numbers as sentences have them.
#ifndef DEVICE_PROGRAM_COUNTED_H
#define DEVICE_PROGRAM_COUNTED_H

#include <cstdint>
#include <string>

namespace program {

/// "1 row", "2 rows": the words for one and for any other number of things are the caller's.
std::string Counted(std::uint64_t count, const char* one, const char* many);

/// "once", "2 times".
std::string Times(std::uint64_t count);

}  // namespace program

#endif
