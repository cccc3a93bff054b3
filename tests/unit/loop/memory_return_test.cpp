#include "device/loop/memory_return.h"

#include <gtest/gtest.h>
#include <uv.h>

#include "device/loop/loop.h"

namespace {

// Each look may change what the next one finds. The loop ends when no look is to come.
class MemoryReturn : public testing::Test {
 protected:
  void Run() { uv_run(m_loop.Get(), UV_RUN_DEFAULT); }

  loop::Loop m_loop;
  std::uint64_t m_done = 7;
  int m_looks = 0;
  int m_looksWithProgress = 0;
  int m_looksUnderWay = 0;
  int m_returns = 0;
  loop::MemoryReturn m_return{m_loop.Get(),
                              {[this] {
                                 ++m_looks;
                                 m_done += m_looks <= m_looksWithProgress ? 1 : 0;
                                 return m_looks <= m_looksUnderWay;
                               },
                               [this] {
                                 return loop::Progress{m_done, 0};
                               }},
                              [this] { ++m_returns; },
                              1};
};

TEST_F(MemoryReturn, ComesAfterTheFirstQuietLook) {
  m_return.Expect();
  EXPECT_EQ(m_returns, 0) << "not at once";
  Run();
  EXPECT_EQ(m_looks, 1);
  EXPECT_EQ(m_returns, 1);
}

TEST_F(MemoryReturn, WaitsWhileThereIsProgress) {
  m_looksWithProgress = 3;
  m_return.Expect();
  Run();
  EXPECT_EQ(m_looks, 4);
  EXPECT_EQ(m_returns, 1);
}

TEST_F(MemoryReturn, WaitsWhileSomethingIsUnderWay) {
  m_looksUnderWay = 2;
  m_return.Expect();
  Run();
  EXPECT_EQ(m_looks, 3);
  EXPECT_EQ(m_returns, 1);
}

TEST_F(MemoryReturn, ComesOnceForWorkThatFollowsOther) {
  m_return.Expect();
  m_return.Expect();
  Run();
  EXPECT_EQ(m_returns, 1);
}

TEST_F(MemoryReturn, ComesAgainForLaterWork) {
  m_return.Expect();
  Run();
  m_return.Expect();
  Run();
  EXPECT_EQ(m_returns, 2);
}

}  // namespace
