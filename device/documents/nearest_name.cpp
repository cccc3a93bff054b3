#include "nearest_name.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <limits>
#include <numeric>

namespace documents {

namespace {

// What comes after this many letters does not help to tell names apart.
constexpr std::size_t COMPARED = 64;

bool IsSameLetter(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

// How many letters have to be changed, added or taken away.
std::size_t CountChanges(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);  // for the letters of `from` so far
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (IsSameLetter(from[i], to[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string NearestName(std::string_view name, const std::vector<std::string>& known) {
  std::string nearest;
  std::size_t least = std::numeric_limits<std::size_t>::max();
  for (const std::string& candidate : known) {
    const std::size_t changes = CountChanges(name.substr(0, COMPARED), candidate);
    if (changes < least) {
      least = changes;
      nearest = candidate;
    }
  }
  return nearest;
}

}  // namespace documents
