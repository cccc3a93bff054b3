#include "device/loop/loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <uv.h>

#include <algorithm>
#include <ctime>
#include <stdexcept>
#include <string>

#include "device/loop/loop_handles.h"

namespace {

TEST(Loop, CannotBeMadeWithoutDescriptors) {
  { const loop::Loop first; }  // after it libuv has what it keeps for all loops
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_THROW(loop::Loop(), std::runtime_error);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);  // sanitizers need some
}

void Compute(std::clock_t milliseconds) {
  const std::clock_t end = std::clock() + milliseconds * (CLOCKS_PER_SEC / 1000);
  while (std::clock() < end) {
  }
}

TEST(Loop, MeasuresItsLongestTurnInProcessorTime) {
  loop::Loop turning;
  loop::Task computing(turning.Get());
  loop::Timer waiting(turning.Get());
  computing.Post([&] {
    Compute(30);
    computing.Post([&] {
      Compute(60);
      computing.Post([] { Compute(10); });
    });
  });
  waiting.Start(200, [] {});  // time that passes in waiting counts for nothing
  uv_run(turning.Get(), UV_RUN_DEFAULT);
  const std::uint64_t longest = turning.TakeLongestTurn();
  EXPECT_GE(longest, 60000u);
  EXPECT_LT(longest, 100000u) << "turns are told apart";
}

TEST(Loop, TellsApartWhatCannotBeDivided) {
  loop::Loop turning;
  loop::Task computing(turning.Get());
  computing.Post([&] {
    Compute(10);
    turning.Apart([] { Compute(80); });
    turning.Apart([] { Compute(20); });
    Compute(10);
    computing.Post([] {});
  });
  uv_run(turning.Get(), UV_RUN_DEFAULT);
  const std::uint64_t turn = turning.TakeLongestTurn();
  EXPECT_GE(turn, 15000u);  // two clocks are compared
  EXPECT_LT(turn, 80000u);
  const std::uint64_t apart = turning.TakeLongestApart();
  EXPECT_GE(apart, 75000u);
  EXPECT_LT(apart, 100000u);
  EXPECT_EQ(turning.TakeLongestApart(), 0u);
}

TEST(Loop, ForgetsTheLongestTurnThatHasBeenTaken) {
  loop::Loop turning;
  loop::Task computing(turning.Get());
  computing.Post([] { Compute(30); });
  uv_run(turning.Get(), UV_RUN_DEFAULT);
  computing.Post([] {});  // a turn ends where the next wait begins
  uv_run(turning.Get(), UV_RUN_DEFAULT);
  EXPECT_GE(turning.TakeLongestTurn(), 30000u);
  computing.Post([] {});
  uv_run(turning.Get(), UV_RUN_DEFAULT);
  EXPECT_LT(turning.TakeLongestTurn(), 30000u);
}

TEST(Loop, CallsAtTheEndOfEachTurn) {
  loop::Loop turning;
  loop::Task first(turning.Get());
  loop::Timer later(turning.Get());
  std::string order;
  turning.AtTurnEnd([&] { order += '|'; });
  first.Post([&] {
    order += 'a';
    first.Post([&] { order += 'b'; });
  });
  later.Start(50, [&] {
    order += 'c';
    turning.AtTurnEnd({});
    first.Post([&] { order += 'd'; });
  });
  uv_run(turning.Get(), UV_RUN_DEFAULT);
  // Empty turns are told too; there are few, because nothing wakes the loop in between.
  order.erase(std::unique(order.begin(), order.end()), order.end());
  EXPECT_THAT(order, testing::MatchesRegex("\\|?a\\|b\\|cd"));
}

TEST(Loop, DoesNotGoOnForWhatIsCalledAtTheEndOfATurn) {
  loop::Loop turning;
  int calls = 0;
  turning.AtTurnEnd([&] { ++calls; });
  loop::Timer waiting(turning.Get());
  waiting.Start(100, [] {});
  uv_run(turning.Get(), UV_RUN_DEFAULT);
  EXPECT_GE(calls, 1);
  EXPECT_LE(calls, 3) << "it does not wake the loop";
}

TEST(Loop, CountsWhatIsCalledAtTheEndOfATurn) {
  loop::Loop turning;
  loop::Task first(turning.Get());
  bool isDone = false;
  turning.AtTurnEnd([&] {
    if (!isDone) {
      isDone = true;
      Compute(60);
    }
  });
  first.Post([&] { first.Post([] {}); });
  uv_run(turning.Get(), UV_RUN_DEFAULT);
  EXPECT_GE(turning.TakeLongestTurn(), 60000u);
}

}  // namespace
