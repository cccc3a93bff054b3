#include "device/kernel/switches.h"

#include <gmock/gmock.h>

#include "tests/support/scratch_folder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Switches : public testing::Test {
 protected:
  void SetUp() override {
    Set("ipv4/ip_forward", "1");
    Set("ipv6/conf/all/forwarding", "1");
    Set("ipv4/conf/all/rp_filter", "0");
    for (const std::string name : {"r1", "r2.20"}) {
      Set("ipv4/conf/" + name + "/forwarding", "1");
      Set("ipv4/conf/" + name + "/rp_filter", "0");
    }
  }
  void Set(const std::string& name, const std::string& value) { root.Write(name, value + "\n"); }
  kernel::Obstacles Find(bool ip4 = true, bool ip6 = true) const {
    return kernel::FindObstacles({{"r1", false}, {"r2.20", true}}, {ip4, ip6}, root.Path());
  }
  std::vector<std::string> Lines(bool ip4 = true, bool ip6 = true) const {
    std::vector<std::string> lines = Find(ip4, ip6).lines;
    for (std::string& line : lines) {
      EXPECT_EQ(0u, line.find(root.Path() + "/"));
      line.erase(0, root.Path().size() + 1);
    }
    return lines;
  }

  test_support::ScratchFolder root;
};

TEST_F(Switches, NothingStandsAgainstARouter) {
  EXPECT_THAT(Lines(), IsEmpty());
  EXPECT_EQ(6u, Find().switches);
  EXPECT_EQ(1u, Find(false).switches);
  EXPECT_EQ(0u, Find(false, false).switches);
}

TEST_F(Switches, AMachineThatForwardsNothingIsToldOnce) {
  Set("ipv4/ip_forward", "0");
  Set("ipv4/conf/r1/forwarding", "0");
  Set("ipv4/conf/r2.20/forwarding", "0");
  Set("ipv6/conf/all/forwarding", "0");
  EXPECT_THAT(Lines(), ElementsAre("ipv4/ip_forward is 0: nothing of IPv4 is forwarded",
                                   "ipv6/conf/all/forwarding is 0: nothing of IPv6 is forwarded"));
  EXPECT_THAT(Lines(false, false), IsEmpty()) << "nobody wants it to";
}

TEST_F(Switches, InIPv4TheSwitchOfTheLinkDecides) {
  Set("ipv4/ip_forward", "0");
  EXPECT_THAT(Lines(), IsEmpty());
  Set("ipv4/conf/r2.20/forwarding", "0");
  EXPECT_THAT(Lines(), ElementsAre("ipv4/conf/r2.20/forwarding is 0: nothing that comes in there "
                                   "is forwarded"));
}

TEST_F(Switches, AStrictFilterStandsAgainstATableOfItsOwn) {
  Set("ipv4/conf/r1/rp_filter", "1");
  EXPECT_THAT(Lines(), IsEmpty());
  Set("ipv4/conf/r2.20/rp_filter", "1");
  EXPECT_THAT(Lines(), ElementsAre("ipv4/conf/r2.20/rp_filter is 1: what comes in on r2.20 is "
                                   "dropped unless the main table leads back there"));
  Set("ipv4/conf/r2.20/rp_filter", "0");
  Set("ipv4/conf/all/rp_filter", "1");
  EXPECT_THAT(Lines(), ElementsAre(HasSubstr("ipv4/conf/all/rp_filter is 1: ")));
  Set("ipv4/conf/r2.20/rp_filter", "2");
  EXPECT_THAT(Lines(), IsEmpty()) << "the larger one counts, and this one is not strict";
}

TEST_F(Switches, WhatCannotBeReadStandsAgainstNothing) {
  Set("ipv4/ip_forward", "no number");
  const auto found = kernel::FindObstacles({{"r7", true}}, {true, true}, root.Path());
  EXPECT_THAT(found.lines, IsEmpty());
}

}  // namespace
