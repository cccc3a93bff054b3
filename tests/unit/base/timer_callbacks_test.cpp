// What timers do when they expire, and what may be done to them meanwhile.
#include "tarsel/timer.h"

#include <memory>

#include "timer_fixture.h"

using Tarsel::OneShotTimer;
using Tarsel::PeriodicTimer;
using testing::ElementsAre;

// ---- Inside callbacks

TEST_F(Timers, AOneShotTimerIsIdleInsideItsCallbackAndAPeriodicOneRuns) {
  OneShotTimer once("once");
  PeriodicTimer often("often");
  std::vector<bool> running;
  OnExpiry(once, [&] { running.push_back(once.IsRunning()); });
  OnExpiry(often, [&] { running.push_back(often.IsRunning()); });
  once.Start(5);
  often.Start(10);
  loop.AdvanceMilliseconds(10);
  EXPECT_THAT(running, ElementsAre(false, true));
}

TEST_F(Timers, AOneShotTimerMayStartAgainInsideItsCallback) {
  OneShotTimer timer("a");
  OnExpiry(timer, [&] {
    Note("a");
    if (fired.size() < 3) {
      timer.Start(10 * static_cast<unsigned int>(fired.size()));
    }
  });
  timer.Start(5);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("a@5", "a@15", "a@35"));
  EXPECT_FALSE(timer.IsRunning());
}

TEST_F(Timers, APeriodicTimerMayStopInsideItsCallback) {
  PeriodicTimer timer("a");
  OnExpiry(timer, [&] {
    Note("a");
    timer.Stop();
  });
  timer.Start(5);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("a@5"));
  EXPECT_FALSE(timer.IsRunning());
}

TEST_F(Timers, APeriodicTimerMayChangeItsPeriodInsideItsCallback) {
  PeriodicTimer timer("a");
  OnExpiry(timer, [&] {
    Note("a");
    timer.Start(30);
  });
  timer.Start(5);
  loop.AdvanceMilliseconds(70);
  EXPECT_THAT(fired, ElementsAre("a@5", "a@35", "a@65"));
}

TEST_F(Timers, ATimerMayBeDestroyedInsideItsCallback) {
  auto once = std::make_unique<OneShotTimer>("once");
  auto often = std::make_unique<PeriodicTimer>("often");
  OnExpiry(*once, [&] {
    once.reset();
    Note("once");
  });
  OnExpiry(*often, [&] {
    often.reset();
    Note("often");
  });
  once->Start(5);
  often->Start(5);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("once@5", "often@5"));
  EXPECT_EQ(FunctionCallback::alive, 0);
}

TEST_F(Timers, ATimerMayStopOrDestroyOthersThatAreDueAtTheSameMoment) {
  OneShotTimer first("first"), stopped("stopped"), last("last");
  auto destroyed = std::make_unique<PeriodicTimer>("destroyed");
  Note(stopped);
  Note(*destroyed);
  Note(last);
  OnExpiry(first, [&] {
    Note("first");
    stopped.Stop();
    destroyed.reset();
  });
  first.Start(5);
  stopped.Start(5);
  destroyed->Start(5);
  last.Start(5);
  loop.AdvanceMilliseconds(100);
  EXPECT_THAT(fired, ElementsAre("first@5", "last@5"));
}

TEST_F(Timers, ATimerStartedWithoutDelayInACallbackFiresAtTheSameMomentAfterTheOthers) {
  OneShotTimer first("first"), second("second"), third("third");
  OnExpiry(first, [&] {
    Note("first");
    third.Start(0);
  });
  Note(second);
  Note(third);
  first.Start(5);
  second.Start(5);
  loop.AdvanceMilliseconds(5);
  EXPECT_THAT(fired, ElementsAre("first@5", "second@5", "third@5"));
}

TEST_F(Timers, TimeMayBeMovedInsideACallbackAndDoesNotGoBack) {
  OneShotTimer first("first"), second("second");
  PeriodicTimer often("often");
  OnExpiry(first, [&] {
    Note("first");
    loop.AdvanceMilliseconds(20);
    Note("first again");
  });
  Note(second);
  Note(often);
  first.Start(5);
  second.Start(10);
  often.Start(12);
  loop.AdvanceMilliseconds(8);
  EXPECT_THAT(fired, ElementsAre("first@5", "second@10", "often@12", "often@24", "first again@25"));
  EXPECT_EQ(loop.Now(), 25000u);
}

// ---- Callbacks

TEST_F(Timers, ExpiryPassesZeroAndNull) {
  OneShotTimer timer("a");
  OnExpiry(timer, [] {});
  FunctionCallback::lastFirst = 7;
  FunctionCallback::lastSecond = &timer;
  timer.Start(1);
  loop.AdvanceMilliseconds(1);
  EXPECT_EQ(FunctionCallback::lastFirst, 0u);
  EXPECT_EQ(FunctionCallback::lastSecond, nullptr);
}

TEST_F(Timers, ATimerWithoutCallbackExpiresQuietly) {
  OneShotTimer timer("a");
  timer.Start(1);
  loop.AdvanceMilliseconds(1);
  EXPECT_FALSE(timer.IsRunning());
}

TEST_F(Timers, HoldAReferenceOnTheirCallback) {
  int count = 0;
  auto* callback = new FunctionCallback([&] { ++count; });
  {
    OneShotTimer first("first");
    {
      OneShotTimer second("second");
      first.SetCallback(callback);
      second.SetCallback(callback);
      first.Start(1);
      second.Start(1);
      loop.AdvanceMilliseconds(1);
      EXPECT_EQ(count, 2);
    }
    EXPECT_EQ(FunctionCallback::alive, 1);
    first.SetCallback(callback);
    EXPECT_EQ(FunctionCallback::alive, 1);
    first.Start(1);
    loop.AdvanceMilliseconds(1);
    EXPECT_EQ(count, 3);
  }
  EXPECT_EQ(FunctionCallback::alive, 0);
}

TEST_F(Timers, ANewCallbackReleasesTheOldOne) {
  OneShotTimer timer("a");
  OnExpiry(timer, [] {});
  OnExpiry(timer, [] {});
  EXPECT_EQ(FunctionCallback::alive, 1);
  timer.SetCallback(nullptr);
  EXPECT_EQ(FunctionCallback::alive, 0);
}

TEST_F(Timers, ACallbackMayReplaceItself) {
  OneShotTimer timer("a");
  OnExpiry(timer, [&] {
    OnExpiry(timer, [this] { Note("second"); });
    Note("first");
    timer.Start(1);
  });
  timer.Start(1);
  loop.AdvanceMilliseconds(5);
  EXPECT_THAT(fired, ElementsAre("first@1", "second@2"));
  EXPECT_EQ(FunctionCallback::alive, 1);
}
