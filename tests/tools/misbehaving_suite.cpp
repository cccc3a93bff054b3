// Tests that behave in every way that a runner has to cope with.

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

int g_runs = 0;

TEST(Fresh, First) { EXPECT_EQ(1, ++g_runs); }

TEST(Fresh, Second) { EXPECT_EQ(1, ++g_runs); }

TEST(Quiet, Passes) { std::puts("output of a passing test"); }

TEST(Bad, Fails) {
  std::puts("output of a failing test");
  EXPECT_EQ(1, 2);
}

TEST(Bad, Crashes) {
  std::puts("output before the crash");
  std::fflush(stdout);
  std::signal(SIGSEGV, SIG_DFL);
  std::raise(SIGSEGV);
}

TEST(Bad, EndsEarly) { std::exit(0); }

TEST(Bad, FailsAtExit) {
  std::atexit([] { _exit(23); });
}

TEST(Bad, Leaks) {
  static int* volatile lost = nullptr;
  lost = new int(1);
  EXPECT_EQ(1, *lost);
  lost = nullptr;
}

TEST(Bad, Hangs) {
  for (;;) {
    pause();
  }
}

class Numbers : public testing::TestWithParam<int> {};

TEST_P(Numbers, ArePositive) { EXPECT_GT(GetParam(), 0); }

INSTANTIATE_TEST_SUITE_P(Few, Numbers, testing::Values(1, 2, 3));

}  // namespace
