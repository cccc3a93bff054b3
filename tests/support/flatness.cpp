#include "tests/support/flatness.h"

#include <algorithm>

namespace test_support {

namespace {

constexpr std::size_t RESIDENT_SLACK = 256 * 1024;
constexpr std::size_t RESIDENT_SHARE = 100;  // one hundredth
constexpr std::size_t ALLOCATED_SLACK = 4 * 1024;
constexpr std::size_t BLOCKS_SLACK = 32;

bool LessResident(const Sample& a, const Sample& b) { return a.resident < b.resident; }

std::string Grown(const char* what, std::size_t from, std::size_t to) {
  return std::string(what) + " grew from " + std::to_string(from) + " to " + std::to_string(to);
}

}  // namespace

std::string WhatGrows(const std::vector<Sample>& samples, double warmUpHours) {
  std::vector<Sample> later;
  std::vector<Sample> restored;
  for (const Sample& sample : samples) {
    if (sample.hours >= warmUpHours) {
      later.push_back(sample);
      if (sample.restored) restored.push_back(sample);
    }
  }
  if (later.size() < 4 || restored.size() < 2) {
    return "too few samples after the warm-up";
  }
  const auto middle = later.begin() + static_cast<std::ptrdiff_t>(later.size() / 2);
  const std::size_t first = std::max_element(later.begin(), middle, LessResident)->resident;
  const std::size_t second = std::max_element(middle, later.end(), LessResident)->resident;
  if (second > first + first / RESIDENT_SHARE + RESIDENT_SLACK) {
    return Grown("resident bytes", first, second);
  }
  const Sample& from = restored.front();
  const Sample& to = restored.back();
  if (to.blocks > from.blocks + BLOCKS_SLACK) {
    return Grown("allocated blocks", from.blocks, to.blocks);
  }
  if (to.allocated > from.allocated + ALLOCATED_SLACK) {
    return Grown("allocated bytes", from.allocated, to.allocated);
  }
  return "";
}

}  // namespace test_support
