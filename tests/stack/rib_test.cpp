// The choice among candidates and the resolution of next hops.

#include "stack_test.h"

namespace stack_test {
namespace {

class RibTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    AddInterface(10, 3);
    AddAddress(10, 3, "10.1.2.3/24");
    RunAll();
  }
  /// What is known about one prefix.
  Lines About(const std::string& prefix) {
    RunAll();
    Lines lines;
    for (const std::string& line : Rib()) {
      if (line.find(" " + prefix + " ") != std::string::npos) {
        lines.push_back(line);
      }
    }
    return lines;
  }
};

// Preference.

TEST_F(RibTest, AConnectedRouteBeatsAStaticOne) {
  AddRoute(10, "10.1.2.0/24", "10.1.2.1", 0, 0);
  EXPECT_THAT(About("10.1.2.0/24"),
              ElementsAre("> 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                          "  10 10.1.2.0/24 proto 3 via 10.1.2.1 if 3 metric 0"));
}

TEST_F(RibTest, TheLowerMetricWins) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 7);
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0, 3);
  AddRoute(10, "10.9.0.0/16", "10.1.2.5", 0, 5);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 7",
                          "> 10 10.9.0.0/16 proto 3 via 10.1.2.2 if 3 metric 3",
                          "  10 10.9.0.0/16 proto 3 via 10.1.2.5 if 3 metric 5"));
}

TEST_F(RibTest, AmongEqualsTheLowestNextHopAndThenTheLowestInterfaceWins) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.9", 0, 5);
  AddRoute(10, "10.9.0.0/16", "10.1.2.8", 3, 5);
  AddRoute(10, "10.9.0.0/16", "10.1.2.8", 0, 5);
  RunAll();
  EXPECT_THAT(Routes()[1], "10 10.9.0.0/16 proto 3 via 10.1.2.8 if 3 metric 5");
  Lines rib = About("10.9.0.0/16");
  ASSERT_EQ(3u, rib.size());
  EXPECT_EQ('>', rib[0][0]);
}

TEST_F(RibTest, DistancesOrderTheProtocols) {
  const auto put = [&](unsigned int proto, bool internal, const std::string& nextHop) {
    auto candidate = MakeCandidate(10, "10.9.0.0/16", nextHop, proto, 1);
    candidate.internal = internal;
    control.PutCandidate(candidate);
    return About("10.9.0.0/16");
  };
  const auto installed = [](const Lines& lines) {
    std::string found;
    for (const std::string& line : lines) {
      found += line[0] == '>' ? line : "";
    }
    return found;
  };
  // Distances: external BGP 200, RIP 120, external OSPF 110, internal OSPF 40, internal BGP 20.
  EXPECT_EQ("> 10 10.9.0.0/16 proto 14 via 10.1.2.1 if 3 metric 1",
            installed(put(14, false, "10.1.2.1")));
  EXPECT_EQ("> 10 10.9.0.0/16 proto 8 via 10.1.2.2 if 3 metric 1",
            installed(put(8, false, "10.1.2.2")));
  EXPECT_EQ("> 10 10.9.0.0/16 proto 13 via 10.1.2.3 if 3 metric 1",
            installed(put(13, false, "10.1.2.3")));
  EXPECT_EQ("> 10 10.9.0.0/16 proto 13 via 10.1.2.4 if 3 metric 1",
            installed(put(13, true, "10.1.2.4")));
  EXPECT_EQ("> 10 10.9.0.0/16 proto 14 via 10.1.2.5 if 3 metric 1",
            installed(put(14, true, "10.1.2.5")));
  AddRoute(10, "10.9.0.0/16", "10.1.2.6", 0, 9);
  EXPECT_EQ("> 10 10.9.0.0/16 proto 3 via 10.1.2.6 if 3 metric 9", installed(About("10.9.0.0/16")));
}

TEST_F(RibTest, ChangedDistancesChangeTheChoice) {
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 8, 1));
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.2.2", 13, 1));
  EXPECT_EQ('>', About("10.9.0.0/16")[1][0]);
  host.configurations[10].word[14] = 30;
  SendEntity(10, 1);
  EXPECT_EQ('>', About("10.9.0.0/16")[0][0]);
  EXPECT_EQ(' ', About("10.9.0.0/16")[1][0]);
}

// With distances of zero a protocol is as good as a connected route; the metric and then the order
// of the protocol codes decide.
TEST_F(RibTest, DistanceZeroTiesAreDecidedByMetricAndProtocol) {
  host.configurations[10].word[14] = 0;
  SendEntity(10, 1);
  RunAll();
  control.PutCandidate(MakeCandidate(10, "10.1.2.0/24", "10.1.2.1", 8, 0));
  EXPECT_EQ('>', About("10.1.2.0/24")[0][0]);
  EXPECT_EQ(' ', About("10.1.2.0/24")[1][0]);
}

TEST_F(RibTest, ACandidateIsOverwrittenAndRemovedByProtocolPrefixAndNextHop) {
  auto candidate = MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 13, 5);
  control.PutCandidate(candidate);
  candidate.metric = 6;
  control.PutCandidate(candidate);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("> 10 10.9.0.0/16 proto 13 via 10.1.2.1 if 3 metric 6"));
  auto other = candidate;
  other.proto = 14;
  EXPECT_FALSE(control.RemoveCandidate(other));
  EXPECT_TRUE(control.RemoveCandidate(candidate));
  EXPECT_FALSE(control.RemoveCandidate(candidate));
  EXPECT_THAT(About("10.9.0.0/16"), IsEmpty());
}

TEST_F(RibTest, CandidatesThatFitNowhereAreIgnored) {
  control.PutCandidate(MakeCandidate(11, "10.9.0.0/16", "10.1.2.1", 13, 5));
  control.PutCandidate(MakeCandidate(10, "2001:db8::/32", "2001:db8::1", 13, 5));
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 2, 5));
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 3, 5));
  control.PutCandidate(MakeCandidate(10, "10.9.0.0/16", "10.1.2.1", 300, 5));
  EXPECT_EQ(1u, control.Rib().size());
}

// Resolution without an interface.

TEST_F(RibTest, AnUnresolvableRouteStaysAsACandidate) {
  AddRoute(10, "10.9.0.0/16", "172.16.0.1");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1"));
  EXPECT_EQ(0u, control.Rib()[1].if_index);
}

TEST_F(RibTest, ARouteWithoutNextHopAndInterfaceIsUnresolvable) {
  AddAddress(10, 3, "10.7.7.7/0");
  AddRoute(10, "10.9.0.0/16", "0.0.0.0");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 0.0.0.0 if TBD metric 1"));
}

TEST_F(RibTest, TheBestEligibleRouteIsInstalledNotTheBest) {
  AddRoute(10, "10.9.0.0/16", "172.16.0.1", 0, 1);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 5);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 5",
                          "  10 10.9.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1"));
  AddInterface(10, 4);
  AddAddress(10, 4, "172.16.0.9/16");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 5",
                          "> 10 10.9.0.0/16 proto 3 via 172.16.0.1 if 4 metric 1"));
}

TEST_F(RibTest, NextHopsFollowInterfacesAndAddresses) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  const std::string in = "> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 1";
  const std::string out = "  10 10.9.0.0/16 proto 3 via 10.1.2.1 if TBD metric 1";
  EXPECT_THAT(About("10.9.0.0/16"), ElementsAre(in));
  SetInterface(10, 3, false);
  EXPECT_THAT(About("10.9.0.0/16"), ElementsAre(out));
  SetInterface(10, 3, true);
  EXPECT_THAT(About("10.9.0.0/16"), ElementsAre(in));
  RemoveAddress(10, 3, "10.1.2.3/24");
  EXPECT_THAT(About("10.9.0.0/16"), ElementsAre(out));
  AddAddress(10, 3, "10.1.2.9/30");
  EXPECT_THAT(About("10.9.0.0/16"), ElementsAre(out));  // 10.1.2.8 to 10.1.2.11
  AddAddress(10, 3, "10.1.2.9/28");
  EXPECT_THAT(About("10.9.0.0/16"), ElementsAre(in));
  RemoveInterface(10, 3);
  EXPECT_THAT(About("10.9.0.0/16"), ElementsAre(out));
}

TEST_F(RibTest, TheLongestConnectedPrefixGivesTheInterface) {
  AddInterface(10, 4);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddAddress(10, 4, "10.1.2.2/30");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 4 metric 1"));
  SetInterface(10, 4, false);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 1"));
}

TEST_F(RibTest, OfEqualConnectedPrefixesTheLowestInterfaceIsUsed) {
  AddInterface(10, 2);
  AddAddress(10, 2, "10.1.2.4/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 2 metric 1"));
}

TEST_F(RibTest, StaticRoutesDoNotResolveNextHops) {
  AddRoute(10, "172.16.0.0/16", "10.1.2.1");
  AddRoute(10, "10.9.0.0/16", "172.16.0.1");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1"));
}

TEST_F(RibTest, ConnectedRoutesOfAnotherInstanceDoNotResolve) {
  AddInstance(11);
  AddRoute(11, "10.9.0.0/16", "10.1.2.1");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  11 10.9.0.0/16 proto 3 via 10.1.2.1 if TBD metric 1"));
}

// Resolution with an interface.

TEST_F(RibTest, WithAnInterfaceTheNextHopMustBeConnectedThere) {
  AddInterface(10, 4);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 4);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 10.1.2.1 if 4 metric 1"));
  AddAddress(10, 4, "10.1.2.9/28");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 4 metric 1"));
  RemoveAddress(10, 4, "10.1.2.9/28");
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 10.1.2.1 if 4 metric 1"));
}

// 10.1.2.0/24 of interface 3 is longer, and plays no part.
TEST_F(RibTest, AShorterPrefixOfTheNamedInterfaceIsEnough) {
  AddInterface(10, 4);
  AddAddress(10, 4, "10.1.9.9/16");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 4);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 4 metric 1"));
}

TEST_F(RibTest, WithAnInterfaceTheUnspecifiedNextHopIsDirectlyAttached) {
  AddRoute(10, "10.9.0.0/16", "0.0.0.0", 4);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 0.0.0.0 if 4 metric 1"));
  AddInterface(10, 4);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("> 10 10.9.0.0/16 proto 3 via 0.0.0.0 if 4 metric 1"));
  SetInterface(10, 4, false);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 0.0.0.0 if 4 metric 1"));
}

TEST_F(RibTest, LinkLocalNextHopsNeedAnInterfaceThatIsUpAndNoAddress) {
  const unsigned int instance = 10 | kIp6Bit;
  AddInstance(instance);
  AddInterface(instance, 3);
  AddRoute(instance, "2001:db8:1::/48", "fe80::1", 3);
  AddRoute(instance, "2001:db8:2::/48", "febf::1", 3);
  AddRoute(instance, "2001:db8:3::/48", "fec0::1", 3);
  AddRoute(instance, "2001:db8:4::/48", "fe80::1", 0);
  RunAll();
  const Lines rib = Rib();
  EXPECT_THAT(Lines(rib.begin() + 1, rib.end()),
              ElementsAre("> 10 2001:db8:1::/48 proto 3 via fe80::1 if 3 metric 1",
                          "> 10 2001:db8:2::/48 proto 3 via febf::1 if 3 metric 1",
                          "  10 2001:db8:3::/48 proto 3 via fec0::1 if 3 metric 1",
                          "  10 2001:db8:4::/48 proto 3 via fe80::1 if TBD metric 1"));
}

// The same bits are an ordinary address in IPv4.
TEST_F(RibTest, ThereIsNoLinkLocalExceptionInIp4) {
  AddRoute(10, "10.9.0.0/16", "254.128.0.1", 3);
  EXPECT_THAT(About("10.9.0.0/16"),
              ElementsAre("  10 10.9.0.0/16 proto 3 via 254.128.0.1 if 3 metric 1"));
}

// Metrics and other fields.

TEST_F(RibTest, UnusedFieldsAreZero) {
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 0xFFFF);
  RunAll();
  const amb_cipr_rtm_rib row = control.Rib()[1];
  EXPECT_EQ(0xFFFFu, row.metric1);
  EXPECT_EQ(0u, row.metric2 + row.metric3 + row.metric4 + row.metric5);
  EXPECT_EQ(0u, row.route_info);
  EXPECT_EQ(0u, row.next_hop_as);
}

TEST_F(RibTest, PrefixesOfOneAddressAreApart) {
  AddRoute(10, "10.0.0.0/8", "10.1.2.1");
  AddRoute(10, "10.0.0.0/9", "10.1.2.2");
  AddRoute(10, "10.0.0.0/32", "10.1.2.3");
  RunAll();
  EXPECT_EQ(4u, control.Routes().size());
}

}  // namespace
}  // namespace stack_test
