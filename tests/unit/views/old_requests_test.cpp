// How long requests have been under way, in the device's own time.
#include "device/views/old_requests.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/views/state_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class OldRequests : public views_test::StateFixture {
 protected:
  rows::Verdict Verify(std::size_t mostLines = 100) {
    views::OldRequests requests(m_turns.Get(), Sources());
    std::optional<rows::Verdict> verdict;
    requests.Verify(mostLines, [&](rows::Verdict found) { verdict = std::move(found); });
    EXPECT_FALSE(verdict) << "it is looked from the loop";
    EXPECT_TRUE(TurnUntil([&] { return verdict.has_value(); }, false));
    return verdict.value_or(rows::Verdict());
  }
  void Wait(unsigned int milliseconds) {
    const std::uint64_t until = m_port.Now() + milliseconds;
    ASSERT_TRUE(TurnUntil([&] { return m_port.Now() >= until; }));
  }
  static std::string WithRoutes(unsigned int count) {
    std::string routes;
    for (unsigned int i = 0; i < count; ++i) {
      routes += (i == 0 ? "\"r" : ", \"r") + std::to_string(i) +
                R"(": {"interface": "eth0", "network": "10.9.)" + std::to_string(i) +
                R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1"})";
    }
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}";
  }
};

TEST_F(OldRequests, AreNoneWhereNothingIsUnderWay) {
  StartWith(WITH_ROUTE);
  Wait(15000);
  const rows::Verdict verdict = Verify();
  EXPECT_EQ(verdict.kind, "requests");
  EXPECT_EQ(verdict.fails, 0u);
  EXPECT_EQ(verdict.note, "none is under way");
}

TEST_F(OldRequests, FailFromTenSecondsOn) {
  StartWith(R"("a": {"vid": 10})");
  Control().Hold();
  WriteVlans(WITH_ROUTE);
  Reload();
  const auto& routes = m_reloader->GetKnowledge().GetRoutes();
  ASSERT_TRUE(TurnUntil([&] { return routes.ReadUnderWay().size() == 1; }));
  const std::uint64_t since = routes.ReadUnderWay()[0].since;
  ASSERT_TRUE(TurnUntil([&] { return m_port.Now() >= since + 9990; }));
  const rows::Verdict young = Verify();
  ASSERT_LT(m_port.Now(), since + 10000);
  EXPECT_EQ(young.fails, 0u);
  EXPECT_EQ(young.note, "1 under way, none for 10 s");
  ASSERT_TRUE(TurnUntil([&] { return m_port.Now() >= since + 10000; }));
  const rows::Verdict old = Verify();
  EXPECT_EQ(old.fails, 1u);
  EXPECT_THAT(old.lines,
              ElementsAre("requests: VLAN 10: route 10.9.0.0/16 via 10.1.2.1 on eth0 has been "
                          "under way for 10 s: no answer: the stack is held"));
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Verify().note, "none is under way");
}

TEST_F(OldRequests, AreOfAllKindsAndCountedBeyondTheLines) {
  StartWith(R"("a": {"vid": 10})");
  Control().Hold();
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
    {"name": "eth1", "vlan": 10, "index": 4}]})");
  WriteVlans(WithRoutes(3));
  Reload();
  ASSERT_TRUE(TurnUntil(
      [this] { return m_reloader->GetKnowledge().GetRoutes().ReadUnderWay().size() == 3; }));
  Wait(12000);
  const rows::Verdict all = Verify();
  EXPECT_EQ(all.fails, 4u);
  EXPECT_THAT(all.lines, testing::Contains(StartsWith("requests: VLAN 10: interface eth1 has ")));
  EXPECT_THAT(all.lines, SizeIs(4));
  const rows::Verdict few = Verify(2);
  EXPECT_EQ(few.fails, 4u);
  EXPECT_THAT(few.lines, SizeIs(2));
  Control().Release();
}

// `requests` tells of it as a difference; since when it differs says nothing of the request.
TEST_F(OldRequests, CountARepeatFromWhenItWasMade) {
  StartWithARefusedRoute();
  const auto& differences = m_reloader->GetKnowledge().GetDifferences();
  Wait(20000);
  ASSERT_TRUE(TurnUntil([&] { return !differences.GetAll().begin()->second.isAsked; }));
  EXPECT_THAT(Verify().lines, IsEmpty())
      << "it has been refused for long, and nothing is under way";
  Control().Hold();
  ASSERT_TRUE(TurnUntil([&] { return differences.GetAll().begin()->second.isAsked; }));
  EXPECT_THAT(Verify().lines, IsEmpty());
  Wait(11000);
  EXPECT_THAT(Verify().lines, ElementsAre(testing::HasSubstr("10.9.0.0/16 via 10.1.2.1")));
  Control().Release();
}

TEST_F(OldRequests, AreLookedForByManyAtATime) {
  StartWith(WITH_ROUTE);
  views::OldRequests requests(m_turns.Get(), Sources());
  int ends = 0;
  for (int i = 0; i < 3; ++i) {
    requests.Verify(1, [&](const rows::Verdict&) { ++ends; });
  }
  ASSERT_TRUE(TurnUntil([&] { return ends == 3; }, false));
  {
    views::OldRequests gone(m_turns.Get(), Sources());
    gone.Verify(1, [&](const rows::Verdict&) { ++ends; });
  }
  requests.Verify(1, [&](const rows::Verdict&) { ++ends; });
  ASSERT_TRUE(TurnUntil([&] { return ends == 4; }, false));
  for (int i = 0; i < 20; ++i) {
    TurnOnly();
  }
  EXPECT_EQ(ends, 4);
}

}  // namespace
