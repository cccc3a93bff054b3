// Many routes: the stack may restart after any turn of the loop.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "tests/unit/apply/reloader_fixture.h"

namespace {

using testing::SizeIs;

constexpr std::size_t SLICE = routes::RouteKeeper::ROUTES_A_TURN;

class RouteSlices : public apply_test::ReloaderFixture {
 protected:
  // Routes of VLAN 10 to networks that are numbered from `first` on.
  static std::string Entry(unsigned first, std::size_t count) {
    std::string routes;
    for (unsigned i = first; i < first + count; ++i) {
      routes += std::string(i == first ? "" : ", ") + "\"" + std::to_string(i) +
                R"(": {"network": "20.)" + std::to_string(i / 256) + "." + std::to_string(i % 256) +
                R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1"})";
    }
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}";
  }
};

TEST_F(RouteSlices, AreAdditionsBeforeRemovalsInTheOrderOfRoutes) {
  StartWith(Entry(0, SLICE));
  WriteVlans(Entry(SLICE, SLICE));
  Reload();
  ASSERT_TRUE(SettleAll());
  std::vector<std::string> kinds;
  for (const std::string& call : TakeCalls()) {
    if (call.find("sms_update_route") == 0) {
      kinds.push_back(call.substr(0, std::string("sms_update_route(1, 6").size()));
    }
  }
  EXPECT_THAT(kinds, SizeIs(2 * SLICE));
  EXPECT_TRUE(std::is_sorted(kinds.begin(), kinds.end())) << "6 removes, 1 adds";
}

// The folder changes to and fro. Each time the stack restarts one turn later, until the reload is
// over before it does.
TEST_F(RouteSlices, MayMeetARestartAfterAnyTurn) {
  const std::string small = R"("b": {"vid": 20})";
  const std::string large =
      Entry(0, 2 * SLICE + 100) +
      R"(, "b": {"vid": 20, "RIPV2": {"enabled": true}, "REDISTRIBUTION": {"rip": false}})";
  StartWith(large);
  ASSERT_EQ(Control().Redistributions().size(), 4u);
  const std::string largeDump = Dump();
  WriteVlans(small);
  Reload();
  ASSERT_TRUE(SettleAll());
  RestartTheStack();
  const std::string smallDump = Dump();
  ASSERT_NE(largeDump, smallDump);

  bool isBusy = true;
  int turns = 0;
  for (; isBusy && turns < 1000; ++turns) {
    const bool isLarge = turns % 2 == 0;
    WriteVlans(isLarge ? large : small);
    m_reloader->Reload();
    for (int turn = 0; turn < turns; ++turn) {
      uv_run(m_turns.Get(), UV_RUN_ONCE);  // with the pool's work
      loop.AdvanceMilliseconds(1);
    }
    isBusy = !m_reloader->IsSettled();
    Control().Restart();
    ASSERT_TRUE(SettleAll());
    ASSERT_EQ(Dump(), isLarge ? largeDump : smallDump) << "after " << turns << " turns";
  }
  EXPECT_FALSE(isBusy);
  EXPECT_GT(turns, 10);
}

// A reload of the same folder, which compares no routes, while they are being brought back.
TEST_F(RouteSlices, MayBeReloadedAfterAnyTurnOfARestart) {
  StartWith(Entry(0, 2 * SLICE + 100));
  const std::string before = Dump();
  bool isBusy = true;
  int turns = 0;
  for (; isBusy && turns < 1000; ++turns) {
    Control().Restart();
    for (int turn = 0; turn < turns; ++turn) {
      uv_run(m_turns.Get(), UV_RUN_ONCE);
    }
    isBusy = turns == 0 || m_reloader->IsBusy();
    Reload();
    ASSERT_TRUE(SettleAll());
    ASSERT_EQ(Dump(), before) << "after " << turns << " turns";
  }
  EXPECT_FALSE(isBusy);
  EXPECT_GT(turns, 5);
}

}  // namespace
