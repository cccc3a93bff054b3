// Routes with several next hops: what stands beside the installed candidate, and who hears of it.

#include <arpa/inet.h>

#include <iterator>
#include <map>
#include <vector>

#include "device/stack/upkeep.h"
#include "stack_test.h"

namespace stack_test {
namespace {

using routing_stack::ForwardingChange;
using routing_stack::NextHopBeside;
using routing_stack::RouteCandidate;
using routing_stack::RoutePrefix;
using routing_stack::RowType;

RoutePrefix PrefixOf(const std::string& text) {
  const PrefixBytes bytes(text);
  RoutePrefix prefix;
  std::copy(bytes.address.bytes, bytes.address.bytes + 16, prefix.destination);
  prefix.length = bytes.length;
  return prefix;
}

std::string TextOf(const unsigned char* nextHop, unsigned int ifIndex, unsigned int instance) {
  char text[INET6_ADDRSTRLEN];
  inet_ntop((instance & kIp6Bit) != 0 ? AF_INET6 : AF_INET, nextHop, text, sizeof text);
  return std::string(text) + " if " + std::to_string(ifIndex);
}

/// Where a route leads, in one text: "10.1.2.1 if 3, 10.1.2.2 if 3".
std::string TextOf(const std::string& first, const std::vector<NextHopBeside>& beside,
                   unsigned int instance) {
  std::string text = first;
  for (const NextHopBeside& hop : beside) {
    text += ", " + TextOf(hop.nextHop, hop.ifIndex, instance);
  }
  return text;
}

class BesideLog : public routing_stack::Listener {
 public:
  bool WantsForwarding() const override { return true; }
  void ForwardingChanged(ForwardingChange change, const amb_cipr_rtm_route& route,
                         const std::vector<NextHopBeside>& beside, RowType) override {
    if (route.route_proto == 2) {
      return;
    }
    const char* const words[] = {"came ", "replaced ", "gone"};
    const bool hasGone = change == ForwardingChange::kGone;
    const std::string first = TextOf(route.next_hop, route.if_index, route.instance);
    const std::string leads = hasGone ? "" : TextOf(first, beside, route.instance);
    lines.push_back(words[static_cast<int>(change)] + leads);
    last[{std::begin(route.destination), std::end(route.destination)}] = leads;
  }
  Lines lines;
  std::map<std::vector<unsigned char>, std::string> last;  // by destination
};

/// VLAN 10 may have three next hops a route. It has the networks 10.1.2.0/24 on interface 3 and
/// 10.2.2.0/24 on interface 4, in IPv6 2001:db8:1::/64 and 2001:db8:2::/64.
class BesideTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    stack.GetUpkeep().SetMostNextHops(10, 3);
    for (const unsigned int instance : {10u, 10 | kIp6Bit}) {
      AddInstance(instance);
      AddInterface(instance, 3);
      AddInterface(instance, 4);
    }
    AddAddress(10, 3, "10.1.2.3/24");
    AddAddress(10, 4, "10.2.2.3/24");
    AddAddress(10 | kIp6Bit, 3, "2001:db8:1::3/64");
    AddAddress(10 | kIp6Bit, 4, "2001:db8:2::3/64");
    RunAll();
    stack.SetListener(&log);
  }
  ~BesideTest() override { stack.SetListener(nullptr); }

  Lines Heard() {
    RunAll();
    Lines heard;
    heard.swap(log.lines);
    return heard;
  }
  /// Where the route leads, by the facts; all that they say of it has to agree.
  std::string Leads(const std::string& prefix = kPrefix, unsigned int instance = 10) {
    RunAll();
    const routing_stack::Facts& facts = stack.GetFacts();
    const auto installed = facts.InstalledOf(instance, PrefixOf(prefix));
    if (!installed) {
      return "";
    }
    std::string text = TextOf(installed->nextHop, installed->ifIndex, instance);
    const std::vector<NextHopBeside> beside = facts.NextHopsBeside(instance, PrefixOf(prefix));
    std::string marked = text;
    std::size_t flagged = 0;
    for (const RouteCandidate& candidate : facts.CandidatesOf(instance, PrefixOf(prefix))) {
      EXPECT_FALSE(candidate.isBeside && candidate.isInstalled);
      EXPECT_TRUE(!candidate.isBeside || candidate.installedAge == 0);
      if (candidate.isBeside) {
        marked += ", " + TextOf(candidate.nextHop, candidate.ifIndex, instance);
      }
    }
    const PrefixBytes bytes(prefix);
    for (const amb_cipr_rtm_rib& row : facts.Rib()) {
      flagged += row.instance == instance && row.prefix_length == bytes.length &&
                         std::equal(row.destination, row.destination + 16, bytes.address.bytes)
                     ? row.fib_flag
                     : 0;
    }
    text = TextOf(text, beside, instance);
    EXPECT_EQ(text, marked);
    EXPECT_EQ(1 + beside.size(), flagged);
    return text;
  }

  static constexpr const char* kPrefix = "10.9.0.0/16";
  BesideLog log;
};

TEST_F(BesideTest, EqualsComeAndGoInTheOrderInWhichTheyWouldFollow) {
  AddRoute(10, kPrefix, "10.1.2.2");
  EXPECT_THAT(Heard(), ElementsAre("came 10.1.2.2 if 3"));
  AddRoute(10, kPrefix, "10.2.2.1");
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.2 if 3, 10.2.2.1 if 4"));
  AddRoute(10, kPrefix, "10.1.2.1");
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.1.2.2 if 3, 10.2.2.1 if 4"));
  AddRoute(10, kPrefix, "10.1.2.9");
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.1.2.2 if 3, 10.1.2.9 if 3"));
  AddRoute(10, kPrefix, "10.2.2.9");
  EXPECT_THAT(Heard(), IsEmpty()) << "three are the most";
  AddRoute(10, kPrefix, "10.2.2.8", 0, 2);
  EXPECT_THAT(Heard(), IsEmpty()) << "its metric is higher";
  EXPECT_EQ("10.1.2.1 if 3, 10.1.2.2 if 3, 10.1.2.9 if 3", Leads());
  Route(6, 2, 10, kPrefix, "10.1.2.2", 0, 0);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.1.2.9 if 3, 10.2.2.1 if 4"));
  Route(6, 2, 10, kPrefix, "10.1.2.1", 0, 0);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.9 if 3, 10.2.2.1 if 4, 10.2.2.9 if 4"));
  EXPECT_EQ("10.1.2.9 if 3, 10.2.2.1 if 4, 10.2.2.9 if 4", Leads());
  for (const char* const nextHop : {"10.2.2.1", "10.2.2.9", "10.1.2.9", "10.2.2.8"}) {
    Route(6, 2, 10, kPrefix, nextHop, 0, 0);
  }
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.9 if 3, 10.2.2.9 if 4",
                                   "replaced 10.1.2.9 if 3", "replaced 10.2.2.8 if 4", "gone"));
  EXPECT_EQ("", Leads());
}

TEST_F(BesideTest, TheRouteIsOneRowAndOneOfTheInstalled) {
  AddRoute(10, kPrefix, "10.1.2.1");
  AddRoute(10, kPrefix, "10.2.2.1");
  RunAll();
  EXPECT_EQ(5u, Routes().size()) << "four are connected";
  const routing_stack::RouteCounts counts = stack.GetFacts().CountRoutes(10);
  EXPECT_THAT(counts.candidates, ElementsAre(2, 2, 0, 0, 0));
  EXPECT_THAT(counts.installed, ElementsAre(2, 1, 0, 0, 0));
}

TEST_F(BesideTest, AnotherMetricOrProtocolIsNoEqual) {
  AddRoute(10, kPrefix, "10.1.2.1", 0, 5);
  AddRoute(10, kPrefix, "10.2.2.1", 0, 5);
  EXPECT_EQ("10.1.2.1 if 3, 10.2.2.1 if 4", Leads());
  log.lines.clear();
  AddRoute(10, kPrefix, "10.2.2.1", 0, 6);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3"));
  AddRoute(10, kPrefix, "10.1.2.1", 0, 6);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.2.2.1 if 4"));
  AddRoute(10, kPrefix, "10.1.2.1", 0, 7);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.2.2.1 if 4"));
  host.configurations[10].word[14] = 1;  // RIP's distance is that of static routes
  SendEntity(10, 1);
  control.PutCandidate(MakeCandidate(10, kPrefix, "10.1.2.7", 8, 6));
  EXPECT_EQ("10.2.2.1 if 4", Leads());
}

TEST_F(BesideTest, OneThatIsSwitchedOffOrNotReachedDoesNotStand) {
  AddRoute(10, kPrefix, "10.1.2.1");
  AddRoute(10, kPrefix, "10.2.2.1");
  AddRoute(10, kPrefix, "10.3.3.1");
  EXPECT_EQ("10.1.2.1 if 3, 10.2.2.1 if 4", Leads());
  log.lines.clear();
  Route(1, 2, 10, kPrefix, "10.2.2.1", 0, 1);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3"));
  Route(1, 1, 10, kPrefix, "10.2.2.1", 0, 1);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.2.2.1 if 4"));
  SetInterface(10, 4, false);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3"));
  SetInterface(10, 4, true);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.2.2.1 if 4"));
  SetInterface(10, 3, false);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.2.2.1 if 4"));
  SetInterface(10, 3, true);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.2.2.1 if 4"));
}

TEST_F(BesideTest, Ip6IsTheSame) {
  const unsigned int instance = 10 | kIp6Bit;
  AddRoute(instance, "2001:db8:9::/48", "2001:db8:1::1");
  AddRoute(instance, "2001:db8:9::/48", "2001:db8:2::1");
  AddRoute(instance, "2001:db8:9::/48", "fe80::1", 3);
  AddRoute(instance, "2001:db8:9::/48", "fe80::1", 4);
  EXPECT_EQ("2001:db8:1::1 if 3, 2001:db8:2::1 if 4, fe80::1 if 3",
            Leads("2001:db8:9::/48", instance));
}

TEST_F(BesideTest, NoTwoHaveTheSameNextHopAndInterface) {
  AddRoute(10, kPrefix, "10.1.2.1");
  AddRoute(10, kPrefix, "10.1.2.1", 3);
  AddRoute(10, kPrefix, "10.2.2.1", 4);
  EXPECT_EQ("10.1.2.1 if 3, 10.2.2.1 if 4", Leads());
  log.lines.clear();
  AddAddress(10, 4, "10.1.2.4/25");  // over this one the first is reached now
  EXPECT_EQ("10.1.2.1 if 4, 10.1.2.1 if 3, 10.2.2.1 if 4", Leads());
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 4, 10.1.2.1 if 3, 10.2.2.1 if 4"));
}

TEST_F(BesideTest, ANextHopBesideThatIsReachedOverAnotherInterfaceIsTold) {
  AddRoute(10, kPrefix, "10.1.2.1", 3);
  AddRoute(10, kPrefix, "10.1.2.200");
  RunAll();
  log.lines.clear();
  AddAddress(10, 4, "10.1.2.129/25");
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.1.2.200 if 4"));
}

// Its neighbours are behind one interface, and packets to others would be lost.
TEST_F(BesideTest, WhatIsDirectlyAttachedStandsAlone) {
  AddAddress(10, 4, "10.1.2.4/24");
  EXPECT_EQ("0.0.0.0 if 3", Leads("10.1.2.0/24"));
  AddRoute(10, kPrefix, "0.0.0.0", 3);
  AddRoute(10, kPrefix, "0.0.0.0", 4);
  AddRoute(10, kPrefix, "10.2.2.1");
  EXPECT_EQ("0.0.0.0 if 3", Leads());
}

TEST_F(BesideTest, AnotherNumberHoldsForWhatStands) {
  for (const char* const nextHop : {"10.1.2.1", "10.1.2.2", "10.2.2.1", "10.2.2.2"}) {
    AddRoute(10, kPrefix, nextHop);
  }
  RunAll();
  log.lines.clear();
  stack.GetUpkeep().SetMostNextHops(10, 4);
  EXPECT_TRUE(stack.GetFacts().HasWork());
  EXPECT_THAT(Heard(),
              ElementsAre("replaced 10.1.2.1 if 3, 10.1.2.2 if 3, 10.2.2.1 if 4, 10.2.2.2 if 4"));
  stack.GetUpkeep().SetMostNextHops(10, 4);
  EXPECT_FALSE(stack.GetFacts().HasWork());
  stack.GetUpkeep().SetMostNextHops(10, 2);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3, 10.1.2.2 if 3"));
  stack.GetUpkeep().SetMostNextHops(10, 0);
  EXPECT_THAT(Heard(), ElementsAre("replaced 10.1.2.1 if 3"));
  EXPECT_EQ("10.1.2.1 if 3", Leads());
  stack.GetUpkeep().SetMostNextHops(11, 4);
  EXPECT_THAT(Heard(), IsEmpty()) << "another VLAN";
}

// The number is said beside the queue of requests, so it may come between a change and what follows
// from that.
TEST_F(BesideTest, AnotherNumberLosesNothingThatTheStackIsAbout) {
  constexpr unsigned kRoutes = 20;
  for (unsigned i = 0; i < kRoutes; ++i) {
    AddRoute(10, "10.9." + std::to_string(i) + ".0/24", "10.1.2.200");
  }
  RunAll();
  log.last.clear();
  stack.GetControl().SetSliceEvents(1);
  AddAddress(10, 4, "10.1.2.129/25");
  while (log.last.size() < kRoutes / 2) {
    ASSERT_EQ(0, RunOnce()) << "there is nothing left to do";
  }
  ASSERT_LT(log.last.size(), kRoutes);
  stack.GetUpkeep().SetMostNextHops(10, 2);
  RunAll();
  EXPECT_EQ(kRoutes, log.last.size());
  for (const auto& route : log.last) {
    EXPECT_EQ("10.1.2.200 if 4", route.second);
  }
}

TEST_F(BesideTest, SixtyFourAreTheMost) {
  for (int i = 1; i <= 70; ++i) {
    AddRoute(10, kPrefix, "10.1.2." + std::to_string(i));
  }
  RunAll();
  stack.GetUpkeep().SetMostNextHops(10, 1000);
  RunAll();
  EXPECT_EQ(63u, stack.GetFacts().NextHopsBeside(10, PrefixOf(kPrefix)).size());
}

TEST_F(BesideTest, TheNumberOutlivesTheInstanceAndARestart) {
  const auto refill = [this] {
    AddInstance(10);
    AddInterface(10, 3);
    AddAddress(10, 3, "10.1.2.3/24");
    AddRoute(10, kPrefix, "10.1.2.1");
    AddRoute(10, kPrefix, "10.1.2.2");
  };
  refill();
  DropInstance(10);
  EXPECT_EQ("", Leads());
  refill();
  EXPECT_EQ("10.1.2.1 if 3, 10.1.2.2 if 3", Leads());
  control.Restart();
  EXPECT_EQ("", Leads());
  refill();
  EXPECT_EQ("10.1.2.1 if 3, 10.1.2.2 if 3", Leads());
}

// Its routes are told as gone, and nothing of them is touched afterwards.
TEST_F(BesideTest, AnInstanceGoesWithItsSeveralNextHops) {
  for (int i = 0; i < 100; ++i) {
    AddRoute(10, "10." + std::to_string(100 + i) + ".0.0/16", "10.1.2.1");
    AddRoute(10, "10." + std::to_string(100 + i) + ".0.0/16", "10.2.2.1");
  }
  RunAll();
  log.lines.clear();
  DropInstance(10);
  EXPECT_THAT(Heard(), testing::AllOf(testing::SizeIs(100), testing::Each("gone")));
}

}  // namespace
}  // namespace stack_test
