// The expressions for decimal numbers. What other expressions take is shown by schema_test.py.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "tools/reference/patterns.h"

namespace {

constexpr std::uint64_t LARGEST = 0xFFFFFFFF;

class Range {
 public:
  Range(std::uint32_t low, std::uint32_t high)
      : m_low(low),
        m_high(high),
        m_text(reference::DecimalRange(low, high)),
        m_regex('(' + m_text + ')') {}

  void Ask(std::uint64_t number) const {
    const bool isIn = number >= m_low && number <= m_high;
    EXPECT_EQ(std::regex_match(std::to_string(number), m_regex), isIn) << number << ": " << m_text;
  }

  void AskNotWith(const std::string& text) const {
    EXPECT_FALSE(std::regex_match(text, m_regex)) << text << ": " << m_text;
  }

 private:
  std::uint64_t m_low;
  std::uint64_t m_high;
  std::string m_text;
  std::regex m_regex;
};

TEST(Patterns, HaveExactlyTheNumbersOfEverySmallRange) {
  for (std::uint32_t low = 0; low <= 125; ++low) {
    for (std::uint32_t high = low; high <= 125; high += 1 + low % 7) {
      const Range range(low, high);
      for (std::uint64_t number = 0; number <= 130; ++number) {
        range.Ask(number);
      }
    }
  }
}

TEST(Patterns, HaveExactlyTheNumbersOfRandomRanges) {
  const unsigned int seed = std::random_device{}();
  RecordProperty("seed", std::to_string(seed));
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  // Of all lengths alike.
  const auto draw = [&random] { return static_cast<std::uint32_t>(random() >> random() % 32); };
  for (int i = 0; i < 500 && !testing::Test::HasFailure(); ++i) {
    const auto [low, high] = std::minmax({draw(), draw()});
    const Range range(low, high);
    for (const std::uint64_t number : {low, high, draw(), low + (high - low) / 2}) {
      for (const std::uint64_t near : {number - std::min<std::uint64_t>(number, 1), number,
                                       number + 1, number * 10, number / 10}) {
        range.Ask(near);
      }
    }
    range.Ask(LARGEST);
    range.Ask(LARGEST + 1);
    range.AskNotWith('0' + std::to_string(low));
    range.AskNotWith(std::to_string(low) + ' ');
    range.AskNotWith("");
  }
}

TEST(Patterns, OfWholeTextsTakeLeadingZeros) {
  const std::regex digits(reference::Digits(1, 128));
  const std::regex length(reference::PrefixLength(0, 128));
  EXPECT_TRUE(std::regex_search("0000128", digits));
  EXPECT_FALSE(std::regex_search("0000129", digits));
  EXPECT_FALSE(std::regex_search("0000", digits));
  EXPECT_TRUE(std::regex_search("000", length));
  EXPECT_FALSE(std::regex_search("0000", length));
  EXPECT_FALSE(std::regex_search("", length));
}

}  // namespace
