// What the soak calls flat: a criterion that never fails would make the soak worth nothing.
#include "tests/support/flatness.h"

#include <gtest/gtest.h>

namespace {

using test_support::Sample;
using test_support::WhatGrows;

constexpr double WARM_UP = 24;
constexpr std::size_t MIB = 1024 * 1024;

/// A week, sampled every hour and restored every sixth, in which the memory stands still.
std::vector<Sample> Week() {
  std::vector<Sample> samples;
  for (int hour = 1; hour <= 168; ++hour) {
    samples.push_back({static_cast<double>(hour), 100 * MIB, 50 * MIB, 1000, hour % 6 == 0});
  }
  return samples;
}

TEST(SoakFlatness, MemoryThatStandsStillIsFlat) { EXPECT_EQ(WhatGrows(Week(), WARM_UP), ""); }

TEST(SoakFlatness, WhatComesDuringTheWarmUpDoesNotCount) {
  std::vector<Sample> samples = Week();
  for (Sample& sample : samples) {
    if (sample.hours < WARM_UP) {
      sample.resident = 10 * MIB;
      sample.allocated = MIB;
      sample.blocks = 1;
    }
  }
  EXPECT_EQ(WhatGrows(samples, WARM_UP), "");
}

TEST(SoakFlatness, ASteadyGrowthOfTheResidentMemoryIsFound) {
  std::vector<Sample> samples = Week();
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].resident += i * 20 * 1024;
  EXPECT_EQ(WhatGrows(samples, WARM_UP).compare(0, 14, "resident bytes"), 0);
}

TEST(SoakFlatness, ResidentMemoryMayVaryByOnePercent) {
  std::vector<Sample> samples = Week();
  samples.back().resident = 101 * MIB + 256 * 1024;
  EXPECT_EQ(WhatGrows(samples, WARM_UP), "");
  ++samples.back().resident;
  EXPECT_NE(WhatGrows(samples, WARM_UP), "");
}

TEST(SoakFlatness, AFewBlocksAtRestoredMomentsAreFound) {
  std::vector<Sample> samples = Week();
  samples.back().blocks += 32;
  EXPECT_EQ(WhatGrows(samples, WARM_UP), "");
  ++samples.back().blocks;
  EXPECT_EQ(WhatGrows(samples, WARM_UP), "allocated blocks grew from 1000 to 1033");
}

TEST(SoakFlatness, AFewBytesAtRestoredMomentsAreFound) {
  std::vector<Sample> samples = Week();
  samples.back().allocated += 4096;
  EXPECT_EQ(WhatGrows(samples, WARM_UP), "");
  ++samples.back().allocated;
  EXPECT_EQ(WhatGrows(samples, WARM_UP), "allocated bytes grew from 52428800 to 52432897");
}

TEST(SoakFlatness, AllocatedMemoryMayVaryInBetween) {
  std::vector<Sample> samples = Week();
  for (Sample& sample : samples) {
    if (!sample.restored) sample.blocks += 5000;
  }
  EXPECT_EQ(WhatGrows(samples, WARM_UP), "");
}

TEST(SoakFlatness, TooFewSamplesShowNothing) {
  EXPECT_EQ(WhatGrows({}, WARM_UP), "too few samples after the warm-up");
  std::vector<Sample> samples = Week();
  EXPECT_NE(WhatGrows(samples, 165.5), "");  // three samples
  EXPECT_NE(WhatGrows(samples, 164.5), "");  // four, one of them restored
  for (Sample& sample : samples) sample.restored = false;
  EXPECT_NE(WhatGrows(samples, WARM_UP), "");
}

}  // namespace
