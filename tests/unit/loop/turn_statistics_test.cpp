#include "device/loop/turn_statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace {

using loop::TurnStatistics;

TEST(TurnStatistics, KnowNothingBeforeTheFirstTurn) {
  const TurnStatistics statistics;
  EXPECT_EQ(statistics.GetLongest(), 0u);
  EXPECT_EQ(statistics.FindLongestOfLastMinute(0), 0u);
  EXPECT_EQ(statistics.FindLongestOfLastMinute(1000000), 0u);
}

TEST(TurnStatistics, KeepTheLongestForGood) {
  TurnStatistics statistics;
  statistics.Add(700, 1000);
  statistics.Add(900, 2000);
  statistics.Add(300, 1000000);
  EXPECT_EQ(statistics.GetLongest(), 900u);
  EXPECT_EQ(statistics.FindLongestOfLastMinute(1000000), 300u);
}

TEST(TurnStatistics, AreTheSameForEachReader) {
  TurnStatistics statistics;
  statistics.Add(700, 1000);
  EXPECT_EQ(statistics.FindLongestOfLastMinute(1500), 700u);
  EXPECT_EQ(statistics.FindLongestOfLastMinute(1500), 700u);
  EXPECT_EQ(statistics.GetLongest(), 700u);
}

// Held against a list of all turns.
TEST(TurnStatistics, ForgetATurnAMinuteLater) {
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  TurnStatistics statistics;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> turns;  // when and how long
  std::uint64_t now = random() % 100000;
  for (int i = 0; i < 2000; ++i) {
    now += random() % (random() % 8 == 0 ? 30000 : 1000);
    turns.emplace_back(now, random() % 100000);
    statistics.Add(turns.back().second, now);
    const auto longestSince = [&](std::uint64_t age) {
      std::uint64_t longest = 0;
      for (const auto& [when, length] : turns) {
        longest = when + age >= now ? std::max(longest, length) : longest;
      }
      return longest;
    };
    const std::uint64_t told = statistics.FindLongestOfLastMinute(now);
    ASSERT_GE(told, longestSince(TurnStatistics::LAST_MILLISECONDS));
    ASSERT_LE(told,
              longestSince(TurnStatistics::LAST_MILLISECONDS + TurnStatistics::STEP_MILLISECONDS));
  }
}

}  // namespace
