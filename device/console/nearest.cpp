#include "nearest.h"

#include <cctype>
#include <numeric>
#include <utility>

namespace console {

namespace {

constexpr std::size_t SHORT = 4;          // letters, of which only one may be wrong
constexpr std::size_t LONGEST_WORD = 32;  // a word that has more is none of ours

bool AreSame(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

}  // namespace

// Row by row, of which the last two are kept for letters that have changed places.
std::size_t CountSlips(const std::string& a, const std::string& b) {
  std::vector<std::size_t> last(b.size() + 1), row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    const std::vector<std::size_t> before = std::exchange(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t change = AreSame(a[i - 1], b[j - 1]) ? 0 : 1;
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + change});
      if (i > 1 && j > 1 && AreSame(a[i - 1], b[j - 2]) && AreSame(a[i - 2], b[j - 1])) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
  }
  return row[b.size()];
}

std::string FindNearest(const std::string& word, const Words& words) {
  std::string nearest;
  std::size_t least = word.size() <= SHORT ? 1 : 2;
  for (const std::string& one : words) {
    if (word.size() > 1 && BeginsWith(one, word)) {
      return one;
    }
    const std::size_t slips = word.size() <= LONGEST_WORD ? CountSlips(word, one) : LONGEST_WORD;
    if (slips < one.size() && (slips < least || (slips == least && nearest.empty()))) {
      nearest = one;
      least = slips;
    }
  }
  return nearest;
}

}  // namespace console
