// Routes that take the places of others.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "device/rows/verify.h"
#include "device/stack/facts.h"
#include "tests/models/random_run.h"
#include "tests/unit/apply/reloader_fixture.h"

namespace {

using routing_stack::Answer;
using routing_stack::ForwardingChange;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

const char* const OLD = "10.1.2.1";
const char* const NEW = "10.1.2.2";
const char* const FAR = "10.3.0.1";      // no interface has that network
const char* const FARTHER = "10.3.0.2";  // so too

/// Counts the prefixes that lose their route in the forwarding table, however short that is.
class Losses : public routing_stack::Listener {
 public:
  bool WantsForwarding() const override { return true; }
  void ForwardingChanged(ForwardingChange change, const amb_cipr_rtm_route& route,
                         const std::vector<routing_stack::NextHopBeside>&,
                         routing_stack::RowType) override {
    if (change == ForwardingChange::kGone) {
      ++count;
      networks.insert(route.destination[2]);
    }
    ++changes;
  }
  std::set<unsigned int> networks;  // by the third byte
  unsigned int count = 0;
  unsigned int changes = 0;
};

class RouteHandover : public apply_test::ReloaderFixture {
 protected:
  ~RouteHandover() override { stack.SetListener(nullptr); }

  /// Routes of VLAN 10, each to a network of its own. The gateways are those of each of them.
  static std::string Entry(const std::vector<std::string>& gateways, unsigned int count = 1,
                           unsigned int metric = 0) {
    std::string routes;
    for (unsigned int i = 0; i < count; ++i) {
      for (const std::string& gateway : gateways) {
        routes += std::string(routes.empty() ? "" : ", ") + "\"" + std::to_string(i) + " " +
                  gateway + R"(": {"network": "20.)" + std::to_string(i / 256) + "." +
                  std::to_string(i % 256) + R"(.0", "netmask": "255.255.255.0", "gateway": ")" +
                  gateway + R"(", "metric": )" + std::to_string(metric) + "}";
      }
    }
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}";
  }
  /// From now on.
  void CountLosses() { stack.SetListener(&m_losses); }
  void Change(const std::string& entries) {
    WriteVlans(entries);
    Reload();
    ASSERT_TRUE(SettleAll());
  }
  void LetTimePass(std::uint64_t milliseconds) {
    const std::uint64_t end = loop.Now() + milliseconds * 1000;
    ASSERT_TRUE(TurnUntil([&] { return loop.Now() >= end; }));
  }
  const routes::RouteKeeper& Routes() const { return m_reloader->GetKnowledge().GetRoutes(); }
  /// The gateways of the stack's routes of the first network, and a star at that which forwards.
  std::vector<std::string> Gateways() const {
    std::vector<std::string> gateways;
    for (const rows::StackRoute& route : m_port.ReadRoutes(nullptr, 100)) {
      const auto& gateway = route.route.target.gateway;
      gateways.push_back(std::to_string(gateway[0]) + "." + std::to_string(gateway[1]) + "." +
                         std::to_string(gateway[2]) + "." + std::to_string(gateway[3]) +
                         (route.isInstalled ? "*" : ""));
    }
    return gateways;
  }
  std::vector<std::string> Verify() {
    std::vector<std::string> lines;
    m_reloader->Verify(100, [&](const std::vector<rows::Verdict>& verdicts) {
      EXPECT_TRUE(rows::HavePassed(verdicts));
      lines = rows::DescribeVerdicts(verdicts, 100);
    });
    EXPECT_TRUE(TurnUntil([&] { return !lines.empty(); }));
    return lines;
  }
  /// Of the log, without the findings.
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (const std::string& line : reported.lines) {
      if (line.find("vlans.json") != 0) {
        lines.push_back(line);
      }
    }
    return lines;
  }
  bool IsFar() const {
    const auto& gateway = Routes().GetWanted()->front().target.gateway;
    return gateway[1] == 3;
  }
  /// The stack's own calls for routes: "add" or "remove".
  std::vector<std::string> TakeRequests() {
    std::vector<std::string> kinds;
    for (const std::string& call : TakeCalls()) {
      if (call.find("sms_update_route(1, ") == 0) {
        kinds.push_back(call[20] == '1' ? "add" : "remove");
      }
    }
    return kinds;
  }

  Losses m_losses;
};

// The tick is what the pace makes it while requests are answered.
TEST_F(RouteHandover, LeavesNoPrefixWithoutARoute) {
  constexpr unsigned int COUNT = 3000;
  StartWith(Entry({OLD}, COUNT));
  Tarsel::TimerLoop::SetTickMicroseconds(10);
  ASSERT_EQ(stack.GetFacts().Routes().size(), COUNT + 1);
  CountLosses();
  WriteVlans(Entry({NEW}, COUNT));
  const std::uint64_t begin = loop.Now();
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_LE(loop.Now() - begin, 1000000u);
  EXPECT_EQ(m_losses.count, 0u);
  EXPECT_GE(m_losses.changes, COUNT);
  EXPECT_EQ(Routes().CountKept(), 0u);
  EXPECT_THAT(m_port.ReadRoutes(nullptr, 10000), SizeIs(COUNT));
  EXPECT_THAT(Gateways(), testing::Each(std::string(NEW) + "*"));
}

TEST_F(RouteHandover, KeepsTheOldRouteForAMinute) {
  StartWith(Entry({OLD}, 2));
  const std::uint64_t begin = loop.Now();
  CountLosses();
  Change(Entry({FAR}, 2));
  EXPECT_EQ(Routes().CountKept(), 2u);
  EXPECT_EQ(Routes().CountOpen(), 0u);
  EXPECT_EQ(m_reloader->GetKnowledge().GetDifferences().Count(), 0u);
  EXPECT_THAT(Gateways(), ElementsAre("10.1.2.1*", FAR, "10.1.2.1*", FAR));
  EXPECT_THAT(
      Verify(),
      AllOf(Contains("PASS  routes: 2 as wanted, and 2 old ones are kept until a new one can take "
                     "its place"),
            Contains("KEPT  VLAN 10: route 20.0.1.0/24 via 10.1.2.1"),
            Contains(HasSubstr("rows as wanted, and 2 old ones are kept"))));
  LetTimePass(59900 - (loop.Now() - begin) / 1000);
  EXPECT_EQ(Routes().CountKept(), 2u);
  EXPECT_EQ(m_losses.count, 0u);
  EXPECT_THAT(Lines(), IsEmpty());
  LetTimePass(200);
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Routes().CountKept(), 0u);
  EXPECT_EQ(m_losses.count, 2u);
  EXPECT_THAT(Gateways(), ElementsAre(FAR, FAR));
  EXPECT_THAT(
      Lines(),
      ElementsAre(
          "VLAN 10: route 20.0.0.0/24 via 10.1.2.1 goes without a successor: kept for 60 s",
          "VLAN 10: route 20.0.1.0/24 via 10.1.2.1 goes without a successor: kept for 60 s"));
}

TEST_F(RouteHandover, EndsAtTheNextReload) {
  StartWith(Entry({OLD}, 25));
  Change(Entry({FAR}, 25));
  ASSERT_EQ(Routes().CountKept(), 25u);
  apply_test::Heard heard;
  Reload(heard.Asker());
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Routes().CountKept(), 0u);
  EXPECT_THAT(Gateways(), testing::Each(FAR));
  EXPECT_THAT(heard.lines, Contains("25 old routes are kept no longer, unless wanted again\n"));
  ASSERT_THAT(Lines(), SizeIs(21));
  EXPECT_EQ(Lines().front(),
            "VLAN 10: route 20.0.0.0/24 via 10.1.2.1 goes without a successor: a configuration is "
            "applied");
  EXPECT_EQ(Lines().back(), "... and 5 more routes: a configuration is applied");

  // The same when something else has changed.
  Change(Entry({OLD}));
  Change(Entry({FAR}));
  ASSERT_EQ(Routes().CountKept(), 1u);
  Change(Entry({FAR}) + R"(, "b": {"vid": 20})");
  EXPECT_EQ(Routes().CountKept(), 0u);
  EXPECT_THAT(Gateways(), ElementsAre(FAR));
  EXPECT_THAT(Lines(), SizeIs(22));
}

// The new next hop is reached later, without a reload.
TEST_F(RouteHandover, HappensWhenTheNextHopIsReached) {
  for (const bool isTold : {true, false}) {
    SCOPED_TRACE(isTold ? "the port tells of the interface" : "it is found by looking");
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
      {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.3.0.9/16"}]})");
    if (m_starts == 0) {
      StartWith(Entry({OLD}, 300));
    } else {
      Change(Entry({OLD}, 300));
    }
    m_interfaces.SetStatus({10, 4}, false);
    ASSERT_TRUE(SettleAll());
    // The reload puts the interface up again, so it goes down once more.
    WriteVlans(Entry({FAR}, 300));
    m_reloader->Reload();
    TurnUntilItIsApplied();
    ASSERT_TRUE(TurnUntil([this] { return Routes().GetWanted()->size() == 300 && IsFar(); }));
    m_interfaces.SetStatus({10, 4}, false);
    ASSERT_TRUE(SettleAll());
    LetTimePass(30000);
    const std::size_t kept = Routes().CountKept();
    EXPECT_NE(kept, 0u);
    if (!isTold) {
      CountLosses();
    }
    m_interfaces.SetStatus({10, 4}, true);
    LetTimePass(isTold ? 100 : 11000);
    EXPECT_EQ(Routes().CountKept(), 0u);
    EXPECT_EQ(m_losses.count, 0u);
    EXPECT_THAT(Gateways(), testing::Each(std::string(FAR) + "*"));
    EXPECT_THAT(Lines(), IsEmpty());
  }
}

// What is refused takes no place, and what has nothing in its place goes at once.
TEST_F(RouteHandover, WaitsForARefusedRoute) {
  StartWith(Entry({OLD}));
  Control().Script(routing_stack::RowType::kRoute, {Answer::kStatus, 3, 0}, 1);
  CountLosses();
  Change(Entry({NEW}));
  EXPECT_THAT(Gateways(), ElementsAre("10.1.2.1*"));
  EXPECT_EQ(Routes().CountKept(), 1u);
  EXPECT_EQ(m_reloader->GetKnowledge().GetDifferences().Count(), 1u) << "the new one";
  LetTimePass(2000);
  EXPECT_THAT(Gateways(), ElementsAre("10.1.2.2*")) << "it has been asked for again";
  EXPECT_EQ(m_losses.count, 0u);
  EXPECT_EQ(Routes().CountKept(), 0u);

  Change(Entry({}));
  EXPECT_THAT(Gateways(), IsEmpty());
}

TEST_F(RouteHandover, EndsWhenTheOldRouteIsWantedAgain) {
  StartWith(Entry({OLD}));
  Change(Entry({FAR}));
  ASSERT_THAT(Gateways(), ElementsAre("10.1.2.1*", FAR));
  CountLosses();
  TakeRequests();
  Change(Entry({OLD}));
  EXPECT_THAT(TakeRequests(), ElementsAre("remove")) << "of the other one";
  EXPECT_THAT(Gateways(), ElementsAre("10.1.2.1*"));
  EXPECT_EQ(m_losses.count, 0u);
  EXPECT_THAT(Lines(), IsEmpty());

  Change(Entry({FAR}));
  TakeRequests();
  Change(Entry({OLD}, 1, 7));
  EXPECT_THAT(TakeRequests(), ElementsAre("add", "remove")) << "with another metric";
  EXPECT_EQ(m_losses.count, 0u);
}

// Whoever corrects a next hop does not lose the old one before the right one is there.
TEST_F(RouteHandover, GoesOnWithAnotherSuccessor) {
  StartWith(Entry({OLD}));
  Change(Entry({FAR}));
  CountLosses();
  Change(Entry({FARTHER}));
  EXPECT_THAT(Gateways(), ElementsAre("10.1.2.1*", FARTHER));
  Change(Entry({NEW}));
  EXPECT_THAT(Gateways(), ElementsAre("10.1.2.2*"));
  EXPECT_EQ(m_losses.count, 0u);
  EXPECT_THAT(Lines(), IsEmpty());
}

// There is nothing to keep, and nothing to be asked for.
TEST_F(RouteHandover, EndsWhenTheOldRouteHasGoneByItself) {
  StartWith(Entry({OLD}, 2));
  Change(Entry({FAR}, 2));
  ASSERT_EQ(Routes().CountKept(), 2u);
  const unsigned char destination[16] = {20};
  const unsigned char gateway[16] = {10, 1, 2, 1};
  sms_update_route(1, 6, 1, 1, destination, 24, gateway, 0, 0, 10, 0);
  LetTimePass(12000);
  EXPECT_THAT(Gateways(), ElementsAre(FAR, "10.1.2.1*", FAR));
  EXPECT_EQ(Routes().CountKept(), 1u);
  EXPECT_FALSE(m_reloader->GetKnowledge().GetRoutes().HasLeavingRoutes(10));
  EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RouteHandover, EndsWhenNothingIsWantedOfThePrefix) {
  StartWith(Entry({OLD}));
  Change(Entry({FAR}));
  TakeRequests();
  Change(Entry({}));
  EXPECT_THAT(TakeRequests(), ElementsAre("remove", "remove"));
  EXPECT_THAT(Gateways(), IsEmpty());
  EXPECT_THAT(Lines(), IsEmpty());
}

// The route that forwards waits for one that can; the other one has nothing to wait for.
TEST_F(RouteHandover, IsForTheRouteThatForwards) {
  StartWith(Entry({OLD, NEW}));
  ASSERT_THAT(Gateways(), ElementsAre("10.1.2.1*", NEW));
  Change(Entry({FAR}));
  EXPECT_THAT(Gateways(), ElementsAre("10.1.2.1*", FAR));
  Change(Entry({OLD, FAR}));
  Change(Entry({FAR}));
  EXPECT_THAT(Gateways(), ElementsAre("10.1.2.1*", FAR)) << "one that was there before counts";
}

TEST_F(RouteHandover, EndsWithItsVlanAndWithTheStack) {
  StartWith(Entry({OLD}));
  Change(Entry({FAR}));
  RestartTheStack();
  EXPECT_EQ(Routes().CountKept(), 0u);
  EXPECT_THAT(Gateways(), ElementsAre(FAR));
  Change(Entry({OLD}));
  Change(Entry({FAR}));
  ASSERT_EQ(Routes().CountKept(), 1u);
  m_files.Write("device.json", R"({"default_vlan": 20})");
  Change(R"("b": {"vid": 20})");
  EXPECT_THAT(Vlans(), ElementsAre(20));
  EXPECT_EQ(Routes().CountKept(), 0u);
  EXPECT_THAT(m_port.ReadRoutes(nullptr, 10), IsEmpty());
}

// Additions come first in all VLANs. One that cannot be asked for, because its VLAN has no
// instances, holds nothing up for long.
TEST_F(RouteHandover, HasRemovalsComeLast) {
  const std::string last = R"(, "b": {"vid": 20, "STATIC_ROUTES": {"r": {"network": "10.8.0.0",
    "netmask": "255.255.0.0", "gateway": "10.2.0.9"}}})";
  StartWith(Entry({OLD}, 20) + last);
  Control().Hold();
  WriteVlans(Entry({OLD, NEW}, 100) + R"(, "b": {"vid": 20})");
  Reload();
  LetTimePass(900);
  const std::size_t additions = Routes().CountUnderWay();
  EXPECT_LT(additions, 100u) << "there is no room for all";
  LetTimePass(2000);
  EXPECT_EQ(Routes().CountUnderWay(), additions + 1) << "the removal, because nothing is answered";
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(m_port.ReadRoutes(nullptr, 1000), SizeIs(200));

  Control().ScriptVlan(routing_stack::RowType::kRtm, 30, {Answer::kStatus, 3, 0}, 100000);
  std::string many = R"(, "c": {"vid": 30, "STATIC_ROUTES": {)";
  for (unsigned int i = 0; i < 100; ++i) {
    many += std::string(i == 0 ? "" : ", ") + "\"" + std::to_string(i) +
            R"(": {"network": "30.0.)" + std::to_string(i) +
            R"(.0", "netmask": "255.255.255.0", "gateway": "10.2.0.9"})";
  }
  WriteVlans(Entry({NEW}) + many + "}}");
  Reload();
  LetTimePass(3000);
  EXPECT_THAT(m_port.ReadRoutes(nullptr, 1000), SizeIs(1));
}

// Whatever changes, and whether it has come about before the next change or not: a prefix that has
// had a gateway on the subnet in each folder since the device was settled last never loses its
// route.
TEST_F(RouteHandover, LosesNothingThatIsReachedBeforeAndAfter) {
  constexpr unsigned int NETWORKS = 8;
  const std::vector<std::string> gateways = {OLD, NEW, "10.1.2.3", FAR, FARTHER};
  constexpr unsigned int REACHED = 3;
  test_models::Random random;
  StartWith(Entry({OLD}, NETWORKS));
  CountLosses();
  std::set<unsigned int> safe;
  for (unsigned int i = 0; i < NETWORKS; ++i) {
    safe.insert(i);
  }
  unsigned int kept = 0;
  for (unsigned int change = test_models::Scaled(150); change != 0 && !HasFailure(); --change) {
    SCOPED_TRACE("before " + std::to_string(change) + " changes");
    std::string routes;
    const std::set<unsigned int> before = std::move(safe);
    std::set<unsigned int> reached;
    safe.clear();
    for (unsigned int network = 0; network < NETWORKS; ++network) {
      for (unsigned int gateway = 0; gateway < gateways.size(); ++gateway) {
        if (!random.Percent(30)) continue;
        if (gateway < REACHED) reached.insert(network);
        routes += std::string(routes.empty() ? "" : ", ") + "\"" + std::to_string(network) + " " +
                  gateways[gateway] + R"(": {"network": "20.0.)" + std::to_string(network) +
                  R"(.0", "netmask": "255.255.255.0", "gateway": ")" + gateways[gateway] +
                  R"(", "metric": )" + std::to_string(1 + random.Below(3)) + "}";
      }
    }
    m_losses.networks.clear();
    WriteVlans(R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}");
    Reload();
    LetTimePass(random.Below(40));
    const bool isSettled = random.Percent(50);
    if (isSettled) {
      ASSERT_TRUE(SettleAll());
    }
    kept += Routes().CountKept() != 0 ? 1 : 0;
    for (const unsigned int network : reached) {
      const bool wasSafe = before.count(network) != 0;
      EXPECT_FALSE(wasSafe && m_losses.networks.count(network) != 0) << network;
      if (wasSafe || isSettled) {
        safe.insert(network);
      }
    }
  }
  test_models::ExpectAtLeast(kept, 1, "rounds with kept routes");
  ASSERT_TRUE(SettleAll());
  LetTimePass(61000);
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Routes().CountKept(), 0u);
  EXPECT_EQ(m_port.ReadRoutes(nullptr, 1000).size(), RequestedRoutes().size());
}

class RouteHandoverWithoutTime : public RouteHandover {
 protected:
  RouteHandoverWithoutTime() {
    Settings settings;
    settings.keepOldSeconds = 0;
    MakeReloader(settings);
  }
};

TEST_F(RouteHandoverWithoutTime, KeepsNothing) {
  StartWith(Entry({OLD}));
  TakeRequests();
  Change(Entry({FAR}));
  EXPECT_THAT(TakeRequests(), ElementsAre("add", "remove"));
  EXPECT_THAT(Gateways(), ElementsAre(FAR));
  EXPECT_THAT(Lines(), IsEmpty());
}

}  // namespace
