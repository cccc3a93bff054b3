// A device whose host knows nothing of its stack, except for the answers that its own items hear.
#include "device/rows/no_stack_port.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "device/rows/no_protocol_rows.h"
#include "device/rows/verify.h"
#include "tests/models/random_run.h"
#include "tests/unit/apply/reloader_fixture.h"
#include "tests/unit/routes/rule_keeper_fixture.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr Answer WRONG_VALUE{Answer::kStatus, 3, 0};
constexpr Answer NEVER{Answer::kNever, 0, 0};

// Longer than the slow comparison takes for everything, and than the longest pause between repeats.
constexpr std::uint64_t LONG_MILLISECONDS = 1300000;

class NoStackPort : public apply_test::ReloaderFixture {
 protected:
  NoStackPort() {
    m_reloader.emplace(
        m_turns.Get(), apply::Reloader::Source{m_files.Path(), {documents::DeclaredProtocols()}},
        m_interfaces, m_noPort, m_noRows,
        apply::ReloadHooks{[this](const std::string& line) {
                             if (!test_support::IsHeadline(line)) {
                               reported.lines.push_back(line);
                             }
                           },
                           logging::HearWhile, [](const std::function<void()>& work) { work(); },
                           [] {}, [this] { ++m_restarts; }},
        apply::History::Place{}, apply::ReloaderOptions{apply::Guard::OFF, false, 60});
  }

  ~NoStackPort() override { m_reloader.reset(); }

  void SetUp() override { StartWith(Vlan(ROUTE) + ", " + OTHER_VLAN); }
  static std::string Vlan(const std::string& members) {
    return R"("a": {"vid": 10, "RIPV2": {"enabled": true})" + members + "}";
  }
  /// With all that follows in the stack.
  void Change(const std::string& entries) {
    WriteVlans(entries);
    Reload();
    ASSERT_TRUE(SettleAll());
    LetTimePass(20);
  }
  void LetTimePass(std::uint64_t milliseconds) {
    for (std::uint64_t i = 0; i < milliseconds; i += 10) {
      TurnOnly();
      loop.AdvanceMilliseconds(10);
    }
    TurnOnly();
  }
  void Script(RowType type, const Answer& answer, unsigned int times = 1) {
    Control().Script(type, answer, times);
  }
  std::vector<std::string> Verify() {
    std::vector<std::string> lines;
    m_reloader->Verify(100, [&](const std::vector<rows::Verdict>& verdicts) {
      lines = rows::DescribeVerdicts(verdicts, 100);
    });
    EXPECT_TRUE(TurnUntil([&] { return !lines.empty(); }));
    return lines;
  }
  std::size_t CountDifferences() const {
    return m_reloader->GetKnowledge().GetDifferences().Count();
  }

  const std::string ROUTE = R"(, "STATIC_ROUTES": {"r": {"interface": "eth0",
    "network": "10.9.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.1"}})";
  const std::string RULE = R"(, "REDISTRIBUTION": {"bgp": false, "connected": false,
    "ospf": false, "rip": false})";
  const std::string OTHER_VLAN = R"("b": {"vid": 20})";
  rows::NoStackPort m_noPort{[this] { return loop.Now() / 1000; }};
  rows::NoProtocolRows m_noRows;
};

TEST_F(NoStackPort, SettlesWhenEverythingIsAnsweredThatTellsItsAnswer) {
  EXPECT_THAT(Dump(), AllOf(HasSubstr("route 10 10.9.0.0/16"), HasSubstr("\"eth0\"")));
  EXPECT_THAT(reported.lines, IsEmpty());
  Control().Hold();
  WriteVlans(Vlan(ROUTE + RULE));
  Reload();
  LetTimePass(3000);
  EXPECT_FALSE(m_reloader->IsSettled()) << "the rule has not been answered";
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Control().Redistributions().size(), 1u);
  EXPECT_EQ(CountDifferences(), 0u);
}

TEST_F(NoStackPort, SaysWhatItHasNotSeen) {
  EXPECT_THAT(Verify(), ElementsAre("PASS  instances: 4 as wanted, as far as is known",
                                    "PASS  interfaces: 1 as wanted, as far as is known",
                                    "PASS  addresses: 1 as wanted, as far as is known",
                                    "PASS  protocol rows: 0 as wanted, as far as is known",
                                    "PASS  routes: 1 as wanted, as far as is known",
                                    "PASS  redistribution rules: 0 as wanted, as far as is known",
                                    "PASS: 7 rows as wanted, as far as is known"));
}

// Neither a reload nor a verification nor the slow pass touches what somebody else has put there,
// or takes away.
TEST_F(NoStackPort, LeavesTheStackAlone) {
  Change(Vlan(ROUTE + RULE));
  const unsigned char network[4] = {10, 77, 0, 0};
  const unsigned char wanted[4] = {10, 9, 0, 0};
  const unsigned char gateway[4] = {10, 1, 2, 1};
  const unsigned char address[4] = {10, 1, 7, 7};
  sms_update_route(1, 1, 1, 1, network, 16, gateway, 196608, 3, 10, 6);
  sms_update_route(1, 6, 2, 1, wanted, 16, gateway, 0, 3, 10, 0);
  sms_act_ipaddr(1, 10, 1, 3, address, 24);
  LetTimePass(100);
  ASSERT_THAT(Dump(), AllOf(HasSubstr("10.77.0.0/16"), Not(HasSubstr("10.9.0.0/16"))));
  TakeCalls();
  Reload();
  Verify();
  LetTimePass(LONG_MILLISECONDS);
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_EQ(CountDifferences(), 0u);
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(NoStackPort, TakesARefusalThatItDoesNotHearForAnAnswer) {
  Script(RowType::kInterface, WRONG_VALUE, 2);
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
    {"name": "eth1", "vlan": 20, "index": 4}]})");
  Reload();
  ASSERT_TRUE(SettleAll());
  LetTimePass(1000);
  ASSERT_THAT(Dump(), Not(HasSubstr("\"eth1\"")));
  EXPECT_EQ(CountDifferences(), 0u);
  EXPECT_THAT(Verify(), Contains("PASS  interfaces: 2 as wanted, as far as is known"));
}

TEST_F(NoStackPort, AsksAgainForARouteThatIsRefused) {
  Change(Vlan(""));
  ASSERT_THAT(Dump(), Not(HasSubstr("10.9.0.0/16")));
  Script(RowType::kRoute, WRONG_VALUE);
  Change(Vlan(ROUTE));
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("is missing in the stack: wrong value")));
  EXPECT_EQ(CountDifferences(), 1u);
  EXPECT_THAT(Verify(), Contains(AllOf(HasSubstr("FAIL  "), HasSubstr("(status 3)"))));
  LetTimePass(1500);
  EXPECT_EQ(CountDifferences(), 0u);
  EXPECT_THAT(reported.lines, Contains(HasSubstr("is as wanted now")));
  EXPECT_THAT(Dump(), HasSubstr("10.9.0.0/16"));
  EXPECT_THAT(Verify(), Contains("PASS  routes: 1 as wanted, as far as is known"));
}

TEST_F(NoStackPort, AsksAgainForARemovalThatIsRefused) {
  Script(RowType::kRoute, {Answer::kStatus, 5, 0}, 10);
  Change(Vlan("") + ", " + OTHER_VLAN);
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("is still in the stack: try again")));
  EXPECT_THAT(Verify(), Contains(HasSubstr("is still in the stack")));
  LetTimePass(1500);
  EXPECT_EQ(CountDifferences(), 0u);
  EXPECT_THAT(reported.lines, Contains(HasSubstr("is gone from the stack now")));
  EXPECT_THAT(Dump(), Not(HasSubstr("10.9.0.0/16")));
}

TEST_F(NoStackPort, AsksAgainForARuleThatIsRefused) {
  Script(RowType::kRedistribution, WRONG_VALUE);
  Change(Vlan(ROUTE + RULE));
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("is missing in the stack: wrong value")));
  EXPECT_THAT(Verify(), Contains(AllOf(HasSubstr("FAIL  "), HasSubstr("(status 3)"))));
  LetTimePass(1500);
  EXPECT_EQ(CountDifferences(), 0u);
  EXPECT_EQ(Control().Redistributions().size(), 1u);
}

TEST_F(NoStackPort, AsksAgainForAWithdrawalThatIsRefused) {
  Change(Vlan(ROUTE + RULE));
  Script(RowType::kRedistribution, {Answer::kStatus, 5, 0}, 10);
  Change(Vlan(ROUTE));
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("is still in the stack: try again")));
  EXPECT_THAT(Verify(), Contains(HasSubstr("is still in the stack")));
  LetTimePass(1500);
  EXPECT_EQ(CountDifferences(), 0u);
  EXPECT_THAT(Control().Redistributions(), IsEmpty());
}

// Nobody can say that the answer will not come.
TEST_F(NoStackPort, WaitsForAnAnswerAsLongAsItTakes) {
  Script(RowType::kRoute, NEVER);
  Script(RowType::kRedistribution, NEVER);
  WriteVlans(Vlan(RULE));
  Reload();
  LetTimePass(100);
  TakeCalls();
  LetTimePass(100000);
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_FALSE(m_reloader->IsSettled());
  EXPECT_EQ(CountDifferences(), 0u);
  EXPECT_THAT(Verify(), AllOf(Contains(HasSubstr("route 10.9.0.0/16 via 10.1.2.1")),
                              Contains(HasSubstr("FAIL: 2 rows are not as wanted"))));
}

TEST_F(NoStackPort, LetsAVlanGoAfterItsRoutesAndRules) {
  Change(Vlan(ROUTE + RULE) + ", " + OTHER_VLAN);
  TakeCalls();
  Control().Hold();
  WriteVlans(OTHER_VLAN);
  Reload();
  LetTimePass(100);
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Vlans(), ElementsAre(20));
  EXPECT_EQ(CountDifferences(), 0u);
}

// Routers may refuse what documents say, so the rules of a protocol that does not run any more are
// withdrawn after the documents have been applied.
TEST_F(NoStackPort, WithdrawsTheRulesOfAProtocolThatIsDisabled) {
  Change(Vlan(ROUTE + RULE));
  ASSERT_EQ(Control().Redistributions().size(), 1u);
  Change(R"("a": {"vid": 10, "RIPV2": {"enabled": false})" + ROUTE + RULE + "}");
  EXPECT_THAT(Control().Redistributions(), IsEmpty());
  Change(Vlan(ROUTE + RULE));
  EXPECT_EQ(Control().Redistributions().size(), 1u);
  EXPECT_EQ(CountDifferences(), 0u);
}

TEST_F(NoStackPort, BringsEverythingBackWhenItIsTold) {
  Change(Vlan(ROUTE + RULE) + ", " + OTHER_VLAN);
  const std::string before = Dump();
  Control().Restart();
  LetTimePass(1000);
  EXPECT_EQ(m_restarts, 0u);
  EXPECT_NE(Dump(), before);
  m_noPort.Restarted();
  EXPECT_FALSE(m_reloader->IsSettled());
  ASSERT_TRUE(TurnUntil([this] { return m_restarts == 1; }));
  ASSERT_TRUE(SettleAll());
  LetTimePass(100);
  EXPECT_EQ(Dump(), before);
  EXPECT_EQ(CountDifferences(), 0u);
}

// ---- any sequence

// Each reload has other routes, rules, protocols and VLANs, and may come before the last one has
// been answered. The stack is busy, refuses, is held, and is restarted.
class NoStackPortAtRandom : public NoStackPort {
 protected:
  std::string DrawVlan(unsigned short vlan) {
    const std::string number = std::to_string(vlan);
    std::string routes;
    for (unsigned int i = 0; i < 12; ++i) {
      if (m_random.Percent(50)) {
        routes += (routes.empty() ? "\"r" : ", \"r") + std::to_string(i) +
                  R"(": {"network": "10.)" + std::to_string(20 + i) +
                  R"(.0.0", "netmask": "255.255.0.0", "gateway": "10.1.2.)" +
                  std::to_string(1 + m_random.Below(2)) + R"(", "metric": )" +
                  std::to_string(1 + m_random.Below(2)) + "}";
      }
    }
    std::string entry =
        "\"v" + number + R"(": {"vid": )" + number + R"(, "STATIC_ROUTES": {)" + routes + "}";
    if (m_random.Percent(70)) {
      entry += R"(, "RIPV2": {"enabled": )" + Flag() + "}";
    }
    if (m_random.Percent(70)) {
      entry += R"(, "REDISTRIBUTION": {"bgp": )" + Flag() + R"(, "connected": )" + Flag() + "}";
    }
    return entry + "}";
  }
  std::string Flag() { return m_random.Percent(50) ? "true" : "false"; }
  void DrawFolder() {
    std::string entries = DrawVlan(10);
    for (const unsigned short vlan : {20, 30}) {
      entries += m_random.Percent(70) ? ", " + DrawVlan(vlan) : "";
    }
    WriteVlans(entries);
    m_reloader->Reload();
  }
  void DrawAnswers() {
    const Answer refused{Answer::kStatus, m_random.Percent(60) ? 5u : 3u, 0};
    Script(m_random.Percent(60) ? RowType::kRoute : RowType::kRedistribution, refused,
           1 + m_random.Below(30));
  }
  void Step() {
    switch (m_random.Below(8)) {
      case 0:
      case 1:
        DrawFolder();
        break;
      case 2:
        DrawAnswers();
        break;
      case 3:
        m_random.Percent(50) ? Control().Hold() : Control().Release();
        break;
      case 4:
        if (m_random.Percent(20)) {
          Control().Restart();
          m_noPort.Restarted();
        }
        break;
      default:
        LetTimePass(m_random.Below(m_random.Percent(20) ? 3000 : 100));
    }
  }
  [[nodiscard]] bool ComesToRest() {
    Control().ClearScripts();
    Control().Release();
    return TurnUntil([this] {
      return m_reloader->IsSettled() && CountDifferences() == 0 &&
             m_reloader->GetKnowledge().GetRoutes().CountKept() == 0;
    });
  }
  /// The stack's rules in the form of those that are wanted.
  intent::Rules RulesOfStack() const {
    intent::Rules rules;
    for (const rows::RuleRow& row : m_port.ReadRules(nullptr, 1000)) {
      for (unsigned int i = 0; i < std::size(intent::SOURCE_CODES); ++i) {
        rules[row.destination] |= intent::SOURCE_CODES[i] == row.source ? 1u << i : 0;
      }
    }
    return rules;
  }
  intent::ResolvedRoutes RoutesOfStack() const {
    intent::ResolvedRoutes routes;
    for (const rows::StackRoute& route : m_port.ReadRoutes(nullptr, 1000)) {
      routes.push_back(route.route);
    }
    return routes;
  }

  test_models::Random m_random;
};

TEST_F(NoStackPortAtRandom, HasWhatIsWantedInTheEnd) {
  const unsigned int rounds = test_models::Scaled(60);
  std::size_t routes = 0;
  std::size_t rules = 0;
  for (unsigned int round = 0; round < rounds && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    for (unsigned int step = m_random.Below(30); step != 0; --step) {
      Step();
    }
    ASSERT_TRUE(ComesToRest());
    EXPECT_EQ(RoutesOfStack(), RequestedRoutes());
    routes += RequestedRoutes().size();
    rules += Rules().GetWanted()->size();
    EXPECT_EQ(RulesOfStack(), *Rules().GetWanted());
  }
  test_models::ExpectAtLeast(routes, rounds, "routes");
  test_models::ExpectAtLeast(rules, rounds / 10, "rules");
  test_models::ExpectAtLeast(reported.lines.size(), rounds / 4,
                             "lines of differences that have begun and ended");
}

// ---- rules of protocols that come and go

class NoStackPortForRules : public routes_test::RuleKeeperFixture {
 protected:
  void WantOf(const intent::Rules& wanted) {
    m_blind.SetWanted(std::make_shared<const intent::Rules>(wanted));
    Run(500);
  }

  rows::NoStackPort m_noPort{[this] { return loop.Now() / 1000; }};
  rows::Differences m_differences{turns.Get(), m_noPort,
                                  [this](const std::string& line) { lines.push_back(line); },
                                  [this](const rows::Row&) -> rows::Keeper& { return m_blind; }};
  routes::RuleKeeper m_blind{turns.Get(), m_noPort, m_differences};
};

TEST_F(NoStackPortForRules, AsksAgainWhenAProtocolHasBecomeReadyOnceMore) {
  StartWithVlan();
  WantOf({{routes_test::RIP4, routes_test::STATIC}});
  ASSERT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  // The instances go with their rules, and come back.
  Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(10);
  WantOf({{routes_test::RIP4, routes_test::STATIC}});
  EXPECT_TRUE(m_blind.IsWaiting());
  ASSERT_THAT(StackRules(), IsEmpty());
  LoadVlan();
  Run(500);
  EXPECT_FALSE(m_blind.IsWaiting());
  EXPECT_THAT(StackRules(), ElementsAre("30000 to 80000 in 10"));
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(NoStackPortForRules, WithdrawsWhatADisabledProtocolMayHaveBeenLeftWith) {
  StartWithVlan();
  WantOf({{routes_test::RIP4, routes_test::STATIC}});
  LoadVlan(R"("BGP": {"enabled": true})");
  WantOf({{routes_test::RIP4, routes_test::STATIC}});
  WantOf({});
  EXPECT_THAT(StackRules(), IsEmpty());
  EXPECT_THAT(m_blind.GetAsked(), IsEmpty());
  EXPECT_THAT(lines, IsEmpty());
}

}  // namespace
