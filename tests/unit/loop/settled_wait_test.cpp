#include "device/loop/settled_wait.h"

#include <gtest/gtest.h>
#include <uv.h>

#include <algorithm>
#include <optional>

#include "device/loop/loop.h"

namespace {

// Looks come every five milliseconds, and the loop's clock is cut to milliseconds.
class SettledWait : public testing::Test {
 protected:
  void Wait(std::uint64_t limit, loop::Activity activity) {
    m_settle.emplace(m_loop.Get(), std::move(activity));
    WaitAgain(limit);
  }
  void WaitAgain(std::uint64_t limit) {
    m_result.reset();
    m_begin = uv_hrtime();
    m_settle->Wait(limit, [this](bool settled) { m_result = settled; });
  }
  std::uint64_t Elapsed() const { return (uv_hrtime() - m_begin) / 1000000; }
  // How long the wait took in milliseconds.
  std::uint64_t Finish() {
    while (!m_result) {
      uv_run(m_loop.Get(), UV_RUN_ONCE);
    }
    return Elapsed();
  }

  loop::Loop m_loop;
  std::optional<loop::SettledWait> m_settle;
  std::optional<bool> m_result;
  std::uint64_t m_begin = 0;
};

TEST_F(SettledWait, IsOverWhenNothingIsUnderWay) {
  int looks = 0;
  Wait(0, {[&looks] {
         ++looks;
         return false;
       }});
  EXPECT_FALSE(m_result) << "not from inside the call";
  Finish();
  EXPECT_TRUE(*m_result);
  EXPECT_EQ(looks, 1);
}

TEST_F(SettledWait, WaitsForWhatIsUnderWay) {
  Wait(0, {[this] { return Elapsed() < 50; }});
  EXPECT_GE(Finish(), 50u);
  EXPECT_TRUE(*m_result);
}

TEST_F(SettledWait, GivesUpWhenItIsToldTo) {
  Wait(0, {[] { return true; }});
  uv_update_time(m_loop.Get());
  EXPECT_TRUE(m_settle->GiveUp());
  EXPECT_FALSE(m_result) << "not from inside the call";
  uv_run(m_loop.Get(), UV_RUN_NOWAIT);
  ASSERT_TRUE(m_result) << "in the loop's next turn";
  EXPECT_FALSE(*m_result);
  EXPECT_FALSE(m_settle->GiveUp());
}

TEST_F(SettledWait, IsNeverDoneAfterItHasBeenStopped) {
  bool isUnderWay = true;
  Wait(0, {[&isUnderWay] { return isUnderWay; }});
  m_settle->Stop();
  EXPECT_EQ(uv_run(m_loop.Get(), UV_RUN_DEFAULT), 0) << "nothing is left to wait for";
  EXPECT_FALSE(m_result);
  EXPECT_FALSE(m_settle->GiveUp());
  isUnderWay = false;
  WaitAgain(0);
  Finish();
  EXPECT_TRUE(*m_result);
}

TEST_F(SettledWait, WaitsNoLongerThanItsLimit) {
  Wait(100, {[] { return true; }});
  EXPECT_GE(Finish(), 99u);
  EXPECT_FALSE(*m_result);
}

// While there is progress, the limit begins again and again.
TEST_F(SettledWait, WaitsAsLongAsThereIsProgress) {
  Wait(100, {[] { return true; },
             [this] {  // until 200 ms have gone by
               return loop::Progress{std::min<std::uint64_t>(Elapsed() / 40, 5), 7};
             }});
  EXPECT_GE(Finish(), 299u);
  EXPECT_FALSE(*m_result);
  EXPECT_EQ(m_settle->GetProgress().done, 5u);
  EXPECT_EQ(m_settle->GetProgress().total, 7u);
}

// What was done before the wait is none of its progress.
TEST_F(SettledWait, CountsFromItsBeginning) {
  Wait(100, {[] { return true; }, [] { return loop::Progress{5, 7}; }});
  EXPECT_LT(Finish(), 190u);
}

TEST_F(SettledWait, KnowsOfNoProgressUnlessItIsTold) {
  Wait(0, {[] { return false; }});
  EXPECT_EQ(m_settle->GetProgress().done, 0u);
  EXPECT_EQ(m_settle->GetProgress().total, 0u);
}

}  // namespace
