// Seeds and sizes of randomised tests.
#ifndef TESTS_MODELS_RANDOM_RUN_H
#define TESTS_MODELS_RANDOM_RUN_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>

namespace test_models {

/// Draws from one generator whose seed is printed; VANTACORE_SEED repeats a run.
class Random {
 public:
  Random() : m_seed(ChooseSeed()), m_engine(m_seed) {
    std::printf("VANTACORE_SEED=%u\n", m_seed);
    std::fflush(stdout);  // a crash loses what has not been written
  }

  unsigned int GetSeed() const { return m_seed; }
  /// 0 to below - 1.
  unsigned int Below(unsigned int below) {
    return std::uniform_int_distribution<unsigned int>(0, below - 1)(m_engine);
  }
  bool Percent(unsigned int percent) { return Below(100) < percent; }

 private:
  static unsigned int ChooseSeed() {
    const char* text = std::getenv("VANTACORE_SEED");
    return text != nullptr ? static_cast<unsigned int>(std::strtoul(text, nullptr, 10))
                           : std::random_device()();
  }

  const unsigned int m_seed;
  std::mt19937 m_engine;
};

/// `count` at VANTACORE_RANDOM_SCALE percent (100 without it), at least 1.
inline unsigned int Scaled(unsigned int count) {
  const char* text = std::getenv("VANTACORE_RANDOM_SCALE");
  const std::uint64_t percent = text != nullptr ? std::strtoul(text, nullptr, 10) : 100;
  const std::uint64_t scaled = count * percent / 100;
  return scaled > 0 ? static_cast<unsigned int>(scaled) : 1;
}

/// Whether VANTACORE_RANDOM_SCALE makes runs shorter than they are by themselves.
inline bool IsShortened() { return Scaled(100) < 100; }

/// Fails unless a hard case came about often enough, and prints how often. A count guards against a
/// generator that no longer reaches the case, whatever the machine: it is judged in runs of the full
/// length. In a shortened one it would judge chance.
inline void ExpectAtLeast(std::uint64_t count, std::uint64_t least, const std::string& what) {
  std::printf("%9llu %s\n", static_cast<unsigned long long>(count), what.c_str());
  if (!IsShortened()) {
    EXPECT_GE(count, least) << what;
  }
}

/// How often the hard cases came about.
class Occurrences {
 public:
  void operator()(const std::string& what) { ++m_counts[what]; }
  /// `count` is what a run of the full length has; a longer one has its share.
  void ExpectAtLeast(unsigned int count, const std::string& what) {
    test_models::ExpectAtLeast(m_counts[what], Scaled(count), what);
  }

 private:
  std::map<std::string, unsigned int> m_counts;
};

}  // namespace test_models

#endif
