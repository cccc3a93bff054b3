// What changes in the stack without any event is noticed all the same, by the slow comparison.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "device/rows/comparer.h"
#include "stack/sms.h"
#include "tests/unit/apply/reloader_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t SLOW_PASS = rows::Comparer::SLOW_PASS_MILLISECONDS;

class SlowPass : public apply_test::ReloaderFixture {
 protected:
  /// The stack loses the route of WITH_ROUTE, and neither the library nor the host is told.
  void LoseTheRoute() {
    constexpr int DESTROY = 6;
    constexpr int UP = 1;
    constexpr int IP4 = 1;
    const unsigned char destination[16] = {10, 9};
    const unsigned char gateway[16] = {10, 1, 2, 1};
    ASSERT_NE(Dump().find(ROUTE), std::string::npos);
    sms_update_route(1, DESTROY, UP, IP4, destination, 16, gateway, 0, 3, 10, 0);
    ASSERT_TRUE(Settle());
    ASSERT_EQ(Dump().find(ROUTE), std::string::npos);
  }
  /// Nothing else happens in this time: the reloader's timers expire, and its turns take place.
  void LetTimePass(std::uint64_t milliseconds) {
    loop.AdvanceMilliseconds(milliseconds);
    for (int i = 0; i < 20; ++i) {
      Turn();
    }
  }

  const std::string ROUTE = "10.9.0.0/16";
};

TEST_F(SlowPass, NoticesWhatTheStackHasLostThoughNothingWasEverReloaded) {
  StartWith(WITH_ROUTE);
  LoseTheRoute();
  LetTimePass(SLOW_PASS / 2);
  EXPECT_THAT(reported.lines, IsEmpty());
  LetTimePass(SLOW_PASS / 2);
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("is missing in the stack")));
  LetTimePass(2000);
  EXPECT_THAT(reported.lines,
              ElementsAre(HasSubstr("is missing in the stack"), HasSubstr("is as wanted now")));
  EXPECT_NE(Dump().find(ROUTE), std::string::npos);
}

TEST_F(SlowPass, GoesOnWhenAPassHasEnded) {
  StartWith(WITH_ROUTE);
  for (int i = 0; i < 3; ++i) {
    LetTimePass(SLOW_PASS);
  }
  EXPECT_THAT(reported.lines, IsEmpty());
  LoseTheRoute();
  LetTimePass(SLOW_PASS);
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("is missing in the stack")));
}

// A host makes its parts before it drives them.
TEST_F(SlowPass, BeginsWithTheStartThoughTheReloaderIsOlderThanTheTimersLoop) {
  Tarsel::TimerLoop::SetCurrent(nullptr);
  MakeReloader({});
  Tarsel::TimerLoop::SetCurrent(&loop);
  WriteVlans(WITH_ROUTE);
  BeginToStart();
  EXPECT_EQ(loop.MicrosecondsToNext(), SLOW_PASS * 1000) << "before anything has been compared";
  TurnUntilDone();
  ASSERT_TRUE(SettleAll());
}

}  // namespace
