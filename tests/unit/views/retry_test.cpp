#include <gtest/gtest.h>

#include "tests/unit/views/state_fixture.h"

namespace {

using views::ReadPrefix;

class RetryWord : public views_test::StateFixture {
 protected:
  std::string Retry(const char* prefix = nullptr) {
    const views::Retried retried =
        Ask().Retry(prefix != nullptr ? ReadPrefix(prefix) : std::nullopt);
    m_count = retried.count;
    return retried.text;
  }

  std::size_t m_count = 0;
};

TEST_F(RetryWord, TellsThatNothingDiffers) {
  StartWith(WITH_ROUTE);
  EXPECT_EQ(Retry(), "Nothing differs\n");
  EXPECT_EQ(Retry("10.9.0.0/16"), "No route of 10.9.0.0/16 differs\n");
  EXPECT_EQ(m_count, 0u);
}

TEST_F(RetryWord, AsksAgainAtOnce) {
  StartWithARefusedRoute();
  Control().ClearScripts();
  EXPECT_EQ(Retry("10.8.0.0/16"), "No route of 10.8.0.0/16 differs\n");
  EXPECT_EQ(Retry("10.9.0.0/16"), "1 row of 10.9.0.0/16 is asked for again now\n");
  EXPECT_EQ(m_count, 1u);
  const std::uint64_t begin = loop.Now();
  ASSERT_TRUE(
      TurnUntil([this] { return m_reloader->GetKnowledge().GetDifferences().Count() == 0; }));
  EXPECT_LT(loop.Now() - begin, 500000u);  // by itself it would have waited a second
}

TEST_F(RetryWord, TellsOfRequestsThatHaveNeverBeenAnswered) {
  using routing_stack::Answer;
  WriteVlans(WITH_ROUTE);
  Script(routing_stack::RowType::kRoute, {Answer::kNever, 0, 0}, 1);
  BeginToStart();
  ASSERT_TRUE(TurnUntil([this] {
    return m_reloader->GetKnowledge().GetRoutes().CountUnderWay() == 1 && m_starts == 1;
  }));
  EXPECT_EQ(Retry(), "Nothing differs, but 1 request is under way and has not been answered yet\n");
  EXPECT_EQ(m_count, 0u);
  EXPECT_EQ(Retry("10.9.0.0/16"),
            "No route of 10.9.0.0/16 differs, but 1 request is under way and has not been "
            "answered yet\n");
  EXPECT_EQ(Retry("10.8.0.0/16"), "No route of 10.8.0.0/16 differs\n");
}

TEST_F(RetryWord, CountsProtocolRowsWithoutAnAnswer) {
  StartWith(R"("a": {"vid": 10, "RIPV2": {"enabled": true}})");
  Control().Hold();
  WriteVlans(R"("a": {"vid": 10, "RIPV2": {"enabled": true, "IF_LIST": {
    "r": {"Name": "RIP_10_3"}}}, "STATIC_ROUTES": {"r": {"interface": "eth0",
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}}})");
  m_reloader->Reload();
  ASSERT_TRUE(TurnUntil([this] {
    return m_reloader->GetKnowledge().GetRoutes().CountUnderWay() == 1 &&
           m_reloader->GetKnowledge().CountOpen() == 2;
  }));
  EXPECT_EQ(Retry(),
            "Nothing differs, but 2 requests are under way and have not been answered yet\n");
  Control().Release();
}

TEST_F(RetryWord, TellsOfInterfacesWithoutAnAnswer) {
  StartWith(WITH_ROUTE);
  Control().Hold();
  m_interfaces.SetStatus({10, 3}, false);
  ASSERT_TRUE(TurnUntil([this] { return m_port.HasUnfinished(); }));
  EXPECT_EQ(Retry(), "Nothing differs, but the stack has not answered everything yet\n");
  Control().Release();
}

TEST_F(RetryWord, LeavesWhatIsUnderWay) {
  StartWithARefusedRoute();
  Control().ClearScripts();
  Control().Hold();
  Retry();
  ASSERT_TRUE(TurnUntil([this] {
    return m_reloader->GetKnowledge().GetDifferences().GetAll().begin()->second.isAsked;
  }));
  EXPECT_EQ(Retry(), "0 rows are asked for again now, 1 is under way\n");
  Control().Release();
}

}  // namespace
