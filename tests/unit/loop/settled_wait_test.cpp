#include "device/loop/settled_wait.h"

#include <gtest/gtest.h>
#include <uv.h>

#include <optional>

#include "tests/support/device_fixture.h"
#include "tests/support/stack_activity.h"
#include "vantacore/dc_interface_mgr.h"

namespace {

// The stack of a device in virtual time, watched in real time: nothing happens in it unless a test
// makes it happen. Looks come every five milliseconds and each may come one too early, so the bounds
// tell a wait that began anew from one that did not, and no more.
class SettledWait : public test_support::DeviceFixture {
 protected:
  SettledWait() {
    uv_loop_init(&m_loop);
    Tarsel::TimerLoop::SetTickMicroseconds(100);  // three periods are 30 ms
    Start(10);
  }
  ~SettledWait() override {
    m_settle.reset();
    uv_run(&m_loop, UV_RUN_DEFAULT);
    uv_loop_close(&m_loop);
  }

  void Wait(unsigned limit, std::function<bool()> isBusy = {}) {
    m_settle.emplace(&m_loop, test_support::ActivityOf(stack, std::move(isBusy)));
    m_begin = uv_hrtime();
    m_settle->Wait(limit, [this](bool settled) { m_result = settled; });
  }
  // How long the wait took in milliseconds.
  std::uint64_t Finish() {
    while (!m_result) {
      uv_run(&m_loop, UV_RUN_ONCE);
    }
    return (uv_hrtime() - m_begin) / 1000000;
  }

  uv_loop_t m_loop;
  std::optional<loop::SettledWait> m_settle;
  std::optional<bool> m_result;
  std::uint64_t m_begin = 0;
};

TEST_F(SettledWait, EndsAfterThreeQuietPeriods) {
  loop.AdvanceMilliseconds(1000);  // the stack has started
  Wait(0);
  EXPECT_GE(Finish(), 30u);
  EXPECT_TRUE(*m_result);
}

TEST_F(SettledWait, GivesUpWhenItIsToldTo) {
  ASSERT_FALSE(stack.IsIdle());
  Wait(0);
  EXPECT_TRUE(m_settle->GiveUp());
  EXPECT_FALSE(m_result) << "not from inside the call";
  Finish();
  EXPECT_FALSE(*m_result);
  EXPECT_FALSE(m_settle->GiveUp());
}

TEST_F(SettledWait, IsNeverDoneAfterItHasBeenStopped) {
  loop.AdvanceMilliseconds(1000);
  Wait(0);
  m_settle->Stop();
  EXPECT_EQ(uv_run(&m_loop, UV_RUN_DEFAULT), 0) << "nothing is left to wait for";
  EXPECT_FALSE(m_result);
  EXPECT_FALSE(m_settle->GiveUp());
  Wait(0);
  Finish();
  EXPECT_TRUE(*m_result);
}

TEST_F(SettledWait, WaitsWhileTheStackHasSomethingToDo) {
  ASSERT_FALSE(stack.IsIdle());  // it has not announced itself yet
  Wait(100);
  EXPECT_GE(Finish(), 99u);  // the loop's clock is cut to milliseconds
  EXPECT_FALSE(*m_result);
}

TEST_F(SettledWait, BeginsAnewWithEachRequest) {
  loop.AdvanceMilliseconds(1000);
  int requests = 0;
  Wait(0, [this, &requests] {  // asked at every look
    if (requests < 20) {
      ++requests;
      Tarsel::DcInterfaceMgr::GetInstance()->SetInterfaceUp(10, 3, "eth0");
      loop.AdvanceMilliseconds(1000);
    }
    return false;
  });
  EXPECT_GE(Finish(), 100u);  // twenty looks and thirty quiet milliseconds, less the early looks
  EXPECT_TRUE(*m_result);
  EXPECT_EQ(requests, 20);
}

TEST_F(SettledWait, CountsNoTimeInWhichTheLoopStoodStill) {
  loop.AdvanceMilliseconds(1000);
  int looks = 0;
  Wait(0, [&looks] {
    ++looks;
    return false;
  });
  while (uv_hrtime() - m_begin < 60000000) {
  }
  Finish();
  EXPECT_GE(looks, 3);
}

TEST_F(SettledWait, WaitsForOtherWork) {
  loop.AdvanceMilliseconds(1000);
  Wait(0, [this] { return uv_hrtime() - m_begin < 50000000; });
  EXPECT_GE(Finish(), 70u);  // fifty busy milliseconds and thirty quiet ones, less the early looks
  EXPECT_TRUE(*m_result);
}

}  // namespace
