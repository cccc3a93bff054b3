#include "counted.h"

namespace program {

std::string Counted(std::uint64_t count, const char* one, const char* many) {
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

std::string Times(std::uint64_t count) {
  return count == 1 ? "once" : std::to_string(count) + " times";
}

}  // namespace program
