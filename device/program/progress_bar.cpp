#include "device/program/progress_bar.h"

#include <algorithm>

namespace program {

namespace {

constexpr std::uint64_t WIDTH = 20;

// Counts are far below what the product could not hold.
std::uint64_t Share(std::uint64_t done, std::uint64_t total, std::uint64_t whole) {
  return total == 0 ? 0 : done * whole / total;
}

}  // namespace

std::string ProgressBar(std::uint64_t done, std::uint64_t total) {
  done = std::min(done, total);
  const auto full = static_cast<std::size_t>(Share(done, total, WIDTH));
  const std::string percent = std::to_string(Share(done, total, 100));
  return "[" + std::string(full, '#') + std::string(WIDTH - full, '-') + "] " +
         std::string(3 - percent.size(), ' ') + percent + " %, " + std::to_string(done) + " of " +
         std::to_string(total);
}

}  // namespace program
