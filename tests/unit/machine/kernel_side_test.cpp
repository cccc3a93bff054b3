// Links, VRF devices, routes and rules together, as the daemon drives them.

#include "device/machine/kernel_side.h"

#include <gmock/gmock.h>
#include <uv.h>

#include <cerrno>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "device/loop/loop.h"
#include "stack/sms.h"
#include "tests/support/device_fixture.h"
#include "tests/unit/kernel/fake_channel.h"
#include "tests/unit/kernel/fake_links.h"

namespace {

using test_kernel::FakeChannel;
using test_kernel::FakeLinkChannel;
using test_kernel::Hop;
using test_kernel::Key;
using test_kernel::RuleFor;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Lines = std::vector<std::string>;

constexpr std::uint32_t VRF_LINK = 5;  // blue

/// eth0 in the default VLAN 10, eth1.20 in VLAN 20, a static route in each.
class Machine : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    m_fake.Set(2, "eth0");
    m_fake.AddAddress(2, test_kernel::LinkAddressOf("10.1.0.9/24"));
    m_fake.Set(3, "eth1.20");
    m_fake.AddAddress(3, test_kernel::LinkAddressOf("10.1.0.9/24"));
    m_device.defaultVlan = 10;
    m_device.links.taken = {"eth*"};
    m_device.kernel.writesRoutes = true;
    m_device.kernel.writesRules = true;
  }
  void Begin() {
    m_side.Start(m_device);
    Device::Start(10);
    Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}, "b": {"vid": 20}}})", "vlans.json");
    m_interfaces.Apply(m_device, {10, 20});
    ipInterface.up = {{10, 2}, {20, 3}};
    ASSERT_TRUE(Settle());
    Route(10, 1);
    Route(20, 1);
    ASSERT_TRUE(Settle());
    m_side.Started(m_device);
    RunUntilSettled();
  }
  /// As a reload does.
  void Apply() {
    m_interfaces.Apply(m_device, {10, 20});
    m_side.Apply(m_device);
    RunUntilSettled();
  }
  /// 10.9.THIRD.0/24
  static void Route(unsigned short vlan, unsigned char third, bool isThere = true) {
    const unsigned char destination[16] = {10, 9, third};
    const unsigned char hop[16] = {10, 1, 0, 1};
    sms_update_route(1, isThere ? 1 : 6, 1, 1, destination, 24, hop, Tarsel::PATH_TYPE_STATIC, 0,
                     vlan, 7);
  }
  void Turn() {
    uv_run(m_turns.Get(), UV_RUN_NOWAIT);
    m_side.Look();
  }
  void RunUntilSettled() {
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    do {
      EXPECT_TRUE(Settle());
      Turn();
    } while (!m_side.IsSettled() && uv_hrtime() < end);
    EXPECT_STREQ(nullptr, m_side.FindUnsettled());
  }
  /// "10.9.1.0/24 in table 254 via 10.1.0.1 dev 2"
  Lines Ours() const {
    Lines lines;
    for (const auto& [key, nextHops] : m_kernel.OurRoutes()) {
      lines.push_back(kernel::DescribeKey(key) + " " +
                      kernel::DescribeNextHops(nextHops, key.isIp6));
    }
    return lines;
  }
  /// Of each verdict "3 of 5 routes in the kernel", and "+ 2" for what its last line speaks for
  /// beside its own; then its lines. Something may still be under way.
  Lines Verify(std::size_t mostLines = 10) {
    Lines lines;
    bool isOver = false;
    m_side.VerifyRoutes(mostLines, [&](const std::vector<rows::Verdict>& verdicts) {
      for (const rows::Verdict& verdict : verdicts) {
        if (verdict.kind != "forwarding switches") {  // those of the machine that runs the tests
          lines.push_back(std::to_string(verdict.fails) + " of " + std::to_string(verdict.rows) +
                          " " + verdict.kind +
                          (verdict.besides != 0 ? " + " + std::to_string(verdict.besides) : ""));
          lines.insert(lines.end(), verdict.lines.begin(), verdict.lines.end());
        }
      }
      isOver = true;
    });
    const std::uint64_t end = uv_hrtime() + 10000000000u;
    while (!isOver && uv_hrtime() < end) {
      Turn();
    }
    EXPECT_TRUE(isOver);
    return lines;
  }

  test_kernel::FakeKernel m_kernel;
  test_kernel::FakeLinks m_fake;
  loop::Loop m_turns;  // whose pool works on the kernel, as long as it is there
  FakeLinkChannel* m_linkChannel = nullptr;
  std::vector<FakeChannel*> m_channels;  // the first one writes routes, the last one is for rules
  documents::Device m_device;
  keepers::Interfaces m_interfaces;
  ports::SoftwareStackPort m_port{stack, [this] { return loop.Now() / 1000; }};
  Lines m_lines;
  int m_interfaceChanges = 0;
  std::uint64_t m_now = 5000;
  machine::KernelSide m_side{
      m_turns.Get(),
      m_interfaces,
      m_port,
      stack.GetFacts(),
      60,
      {[this](const std::string& line) { m_lines.push_back(line); },
       [this](const std::string& line) { m_lines.push_back("! " + line); },
       [this] { ++m_interfaceChanges; }, [] { return true; }, [this] { return m_now; },
       [this](kernel::Subscription subscription) -> std::unique_ptr<kernel::Channel> {
         // The first one that hears of links is the one that reads them.
         if (subscription == kernel::Subscription::LINKS_AND_ADDRESSES &&
             m_linkChannel == nullptr) {
           auto links = std::make_unique<FakeLinkChannel>(m_fake);
           m_linkChannel = links.get();
           return links;
         }
         m_channels.push_back(new FakeChannel(m_kernel));
         return std::unique_ptr<kernel::Channel>(m_channels.back());
       }}};
};

TEST_F(Machine, HasWhatTheStackHasAndTheRulesForIt) {
  Begin();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 254 via 10.1.0.1 dev 2",
                                  "10.1.0.0/24 in table 40020 dev 3",
                                  "10.9.1.0/24 in table 40020 via 10.1.0.1 dev 3"));
  EXPECT_THAT(m_kernel.rules.ours,
              ElementsAre(RuleFor("eth1.20"), RuleFor("eth1.20", 40020),
                          RuleFor("eth1.20", 0, true), RuleFor("eth1.20", 40020, true)));
  EXPECT_THAT(Verify(), ElementsAre("0 of 3 routes in the kernel", "0 of 4 rules in the kernel"));
  EXPECT_THAT(m_lines, IsEmpty());
}

TEST_F(Machine, VerifyTellsEachDifference) {
  Begin();
  m_kernel.tables.erase(Key("10.9.1.0/24", 40020));
  m_kernel.tables[Key("10.7.0.0/16")][220] = {kernel::OUR_PROTOCOL, Hop("10.1.0.1", 2)};
  m_kernel.tables[Key("10.8.0.0/16")][220] = {kernel::OUR_PROTOCOL, Hop("10.1.0.1", 2)};
  m_kernel.rules.ours.erase(RuleFor("eth1.20"));
  m_kernel.rules.ours.insert(RuleFor("x", 7));
  EXPECT_THAT(
      Verify(),
      ElementsAre("3 of 3 routes in the kernel",
                  "kernel: route 10.9.1.0/24 in table 40020 was missing, put back now",
                  "kernel: route 10.7.0.0/16 in table 254 was there and nobody wants it, "
                  "removed now",
                  "kernel: route 10.8.0.0/16 in table 254 was there and nobody wants it, "
                  "removed now",
                  "2 of 4 rules in the kernel",
                  "kernel: rule iif eth1.20 unreachable was missing, put back now",
                  "kernel: rule iif x lookup 7 was there and nobody wants it, removed now"));
  RunUntilSettled();
  EXPECT_THAT(Verify(), ElementsAre("0 of 3 routes in the kernel", "0 of 4 rules in the kernel"));
  const views::KernelState state = m_side.Describe();
  EXPECT_EQ(1u, state.missing);
  EXPECT_EQ(2u, state.strays);
  EXPECT_EQ(1u, state.rules.missing);
  EXPECT_EQ(1u, state.rules.strays);
}

TEST_F(Machine, VerifyCountsWhatItHasNoLineFor) {
  Begin();
  m_kernel.tables.clear();
  m_kernel.rules.ours = {RuleFor("x", 7)};
  EXPECT_THAT(Verify(1), ElementsAre("3 of 3 routes in the kernel", testing::HasSubstr("missing"),
                                     "5 of 4 rules in the kernel", testing::HasSubstr("missing")));
}

TEST_F(Machine, VerifyTellsWhatIsRefusedInEitherDirection) {
  Begin();
  m_kernel.refuse = [](const kernel::RouteKey& key, bool isDeletion) {
    return isDeletion ? EPERM : key.destination[2] == 7 ? ENETUNREACH : 0;
  };
  m_kernel.rules.refuse = [](const kernel::Rule&, bool isDeletion) {
    return isDeletion ? EPERM : ENOMEM;
  };
  Route(10, 7);
  Route(20, 1, false);
  m_fake.Set(4, "eth2.20");
  RunUntilSettled();
  EXPECT_THAT(
      Verify(),
      ElementsAre(
          "2 of 3 routes in the kernel",
          "kernel: route 10.9.1.0/24 in table 40020 is not given up: Operation not permitted",
          "kernel: route 10.9.7.0/24 in table 254 is refused: Network is unreachable",
          "4 of 8 rules in the kernel",
          "kernel: rule iif eth2.20 unreachable is refused: Cannot allocate memory",
          testing::HasSubstr("refused"), testing::HasSubstr("refused"),
          testing::HasSubstr("refused")));
  const views::KernelState state = m_side.Describe();
  EXPECT_TRUE(state.isWritten);
  EXPECT_EQ(3u, state.wanted);
  EXPECT_EQ(2u, state.standing);
  EXPECT_EQ(2u, state.refused);
  EXPECT_TRUE(state.rules.isWritten);
  EXPECT_EQ(8u, state.rules.wanted);
  EXPECT_EQ(4u, state.rules.standing);
  EXPECT_EQ(4u, state.rules.refused);
}

TEST_F(Machine, VerifyTellsWhatIsStillUnderWay) {
  m_fake.Set(6, "eth4.20");
  Begin();
  m_kernel.rules.refuse = [](const kernel::Rule&, bool isDeletion) {
    return isDeletion ? EPERM : 0;
  };
  m_fake.Remove(6);
  RunUntilSettled();
  m_kernel.rules.ours.erase(RuleFor("eth1.20"));
  m_kernel.refuse = [](const kernel::RouteKey& key, bool) {
    return key.destination[2] == 7 ? ENETUNREACH : 0;
  };
  Route(10, 7);
  RunUntilSettled();
  m_kernel.tables.erase(Key("10.9.1.0/24", 40020));
  Route(10, 8);
  Route(10, 9);
  ASSERT_TRUE(Settle());
  // What is sent for the routes is lost; a link comes while the rules are read.
  m_channels.front()->sendErrors = {ENOBUFS};
  bool hasCome = false;
  m_channels.back()->afterDump = [&] {
    if (!std::exchange(hasCome, true)) {
      intent::Link link;
      link.index = 4;
      link.name = "eth2.20";
      m_interfaces.TakeLinks({{4, link}});
      m_side.Apply(m_device);
    }
  };
  EXPECT_THAT(Verify(),
              ElementsAre("4 of 6 routes in the kernel + 1", testing::HasSubstr("missing"),
                          testing::HasSubstr("refused"), "kernel: 2 routes are under way",
                          "9 of 8 rules in the kernel + 3", testing::HasSubstr("missing"),
                          testing::HasSubstr("iif eth4.20 unreachable is not given up"),
                          testing::HasSubstr("given up"), testing::HasSubstr("given up"),
                          testing::HasSubstr("given up"), "kernel: 4 rules are under way"));
  m_channels.back()->afterDump = nullptr;
}

TEST_F(Machine, CountsWhatItsSocketsCouldNotHold) {
  Begin();
  EXPECT_EQ(0u, m_side.Describe().overruns);
  m_linkChannel->Overrun();
  for (FakeChannel* const channel : m_channels) {
    channel->accidents = {FakeChannel::Accident::OVERRUN};
  }
  Verify();
  RunUntilSettled();
  EXPECT_EQ(3u, m_side.Describe().overruns) << "of links, of routes and of rules";
  EXPECT_THAT(Verify(), ElementsAre("0 of 3 routes in the kernel", "0 of 4 rules in the kernel"));
}

TEST_F(Machine, CountsChangesOfLinksThatNobodyTold) {
  Begin();
  m_fake.isSilent = true;
  m_fake.Set(4, "eth2");
  std::optional<rows::Verdict> verdict;
  m_side.VerifyLinks([&](std::optional<rows::Verdict> found) { verdict = std::move(found); });
  const std::uint64_t end = uv_hrtime() + 10000000000u;
  while (!verdict && uv_hrtime() < end) {
    Turn();
  }
  ASSERT_TRUE(verdict);
  EXPECT_THAT(verdict->lines, ElementsAre("kernel: 1 change of a link was not known, taken now"));
  EXPECT_EQ(2u, verdict->rows) << "those that were known";
  EXPECT_EQ(1u, verdict->fails);
  EXPECT_EQ(1u, m_side.Describe().untold);
}

// A second after the first try; nobody is told of a time that has gone by.
TEST_F(Machine, TellsWhatIsRefusedAndWhenItIsAskedForAgain) {
  m_kernel.refuse = [](const kernel::RouteKey& key, bool) {
    return key.destination[2] == 7 ? ENETUNREACH : 0;
  };
  Begin();
  EXPECT_THAT(m_side.ListRefusals(10), IsEmpty());
  EXPECT_FALSE(m_side.FindRefusal(10, *views::ReadPrefix("10.9.1.0/24")));
  Route(10, 7);
  Route(20, 7);
  RunUntilSettled();
  ASSERT_THAT(m_side.ListRefusals(10), SizeIs(2));
  EXPECT_THAT(m_side.ListRefusals(1), SizeIs(1));
  EXPECT_FALSE(m_side.FindRefusal(10, *views::ReadPrefix("10.9.1.0/24")));
  const auto refusal = m_side.FindRefusal(20, *views::ReadPrefix("10.9.7.0/24"));
  ASSERT_TRUE(refusal);
  EXPECT_EQ("10.9.7.0/24 in table 40020", refusal->route);
  EXPECT_EQ("Network is unreachable", refusal->reason);
  EXPECT_EQ(1u, refusal->nextTry);
  EXPECT_FALSE(refusal->isOfDeletion);
  m_now += 1001;
  EXPECT_EQ(0u, m_side.FindRefusal(20, *views::ReadPrefix("10.9.7.0/24"))->nextTry);
}

TEST_F(Machine, AsksAgainForWhatIsMeant) {
  m_kernel.refuse = [](const kernel::RouteKey& key, bool) {
    return key.destination[2] == 7 || key.destination[2] == 8 ? ENETUNREACH : 0;
  };
  m_kernel.rules.refuse = [](const kernel::Rule&, bool) { return ENOMEM; };
  Begin();
  Route(10, 7);
  Route(10, 8);
  RunUntilSettled();
  m_kernel.refuse = nullptr;
  m_kernel.rules.refuse = nullptr;
  views::KernelRetry retry = m_side.Retry(views::ReadPrefix("10.9.8.0/24"));
  EXPECT_EQ(1u, retry.routes);
  EXPECT_EQ(0u, retry.rules);
  RunUntilSettled();
  EXPECT_EQ(1u, m_side.Describe().refused);
  EXPECT_FALSE(m_side.FindRefusal(10, *views::ReadPrefix("10.9.8.0/24")));
  EXPECT_EQ(0u, m_side.Retry(views::ReadPrefix("10.9.0.0/16")).routes);
  EXPECT_EQ(0u, m_side.Retry(views::ReadPrefix("2001:db8::/32")).routes);
  retry = m_side.Retry({});
  EXPECT_EQ(1u, retry.routes);
  EXPECT_EQ(4u, retry.rules);
  RunUntilSettled();
  EXPECT_THAT(Verify(), ElementsAre("0 of 5 routes in the kernel", "0 of 4 rules in the kernel"));
}

TEST_F(Machine, RulesFollowTheInterfaces) {
  Begin();
  m_interfaceChanges = 0;
  m_fake.Set(3, "eth1.20", false);
  RunUntilSettled();
  EXPECT_EQ(0, m_interfaceChanges) << "it has neither come nor gone";
  m_fake.Set(4, "eth2.20");
  RunUntilSettled();
  EXPECT_EQ(1, m_interfaceChanges);
  EXPECT_THAT(m_kernel.rules.ours, SizeIs(8));
  EXPECT_THAT(m_kernel.rules.ours, Contains(RuleFor("eth2.20", 40020)));
  m_fake.Remove(4);
  RunUntilSettled();
  EXPECT_EQ(2, m_interfaceChanges);
  EXPECT_THAT(m_kernel.rules.ours, SizeIs(4));
  m_fake.Set(3, "eth3.20");
  RunUntilSettled();
  EXPECT_THAT(m_kernel.rules.ours,
              ElementsAre(RuleFor("eth3.20"), RuleFor("eth3.20", 40020),
                          RuleFor("eth3.20", 0, true), RuleFor("eth3.20", 40020, true)));
}

// What the machine sends itself comes from its loopback. A packet shows its interface only: where
// two VLANs share one, it is the first one's, and the default VLAN needs no rule.
TEST_F(Machine, NoRuleIsWantedThatWouldLeadAstray) {
  m_device.interfaces[{20, 1}].name = "lo";
  m_device.interfaces[{20, 0x7fffffff}].name = "away";
  m_device.interfaces[{10, 3}].name = "shared";
  Begin();
  EXPECT_THAT(m_kernel.rules.ours, IsEmpty());
  m_device.interfaces.erase({10, 3});
  Apply();
  EXPECT_THAT(m_kernel.rules.ours, SizeIs(4)) << "those of eth1.20";
}

TEST_F(Machine, RulesGoWhenTheDocumentWantsThemNoMore) {
  m_kernel.rules.ours = {RuleFor("old", 7)};
  m_device.kernel.writesRules = false;
  Begin();
  EXPECT_THAT(m_kernel.rules.ours, IsEmpty()) << "those of an earlier run";
  EXPECT_FALSE(m_side.Describe().rules.isWritten);
  m_device.kernel.writesRules = true;
  Apply();
  EXPECT_THAT(m_kernel.rules.ours, SizeIs(4));
  m_kernel.rules.refuse = [](const kernel::Rule&, bool) { return EPERM; };
  m_device.kernel.writesRules = false;
  Apply();
  EXPECT_TRUE(m_side.Describe().rules.isWritten) << "they are still there";
  EXPECT_THAT(Verify(), ElementsAre("0 of 3 routes in the kernel"));
  RunUntilSettled();
  m_kernel.rules.refuse = nullptr;
  EXPECT_EQ(4u, m_side.Retry({}).rules);
  RunUntilSettled();
  EXPECT_THAT(m_kernel.rules.ours, IsEmpty());
  EXPECT_FALSE(m_side.Describe().rules.isWritten);
  m_device.kernel.writesRules = true;
  m_device.kernel.writesRoutes = false;
  Apply();
  EXPECT_THAT(m_kernel.rules.ours, IsEmpty()) << "no rules without routes";
}

TEST_F(Machine, RoutesGoWhenTheDocumentWantsThemNoMore) {
  Begin();
  m_device.kernel.writesRoutes = false;
  Apply();
  EXPECT_THAT(Ours(), IsEmpty());
  EXPECT_THAT(m_kernel.rules.ours, IsEmpty());
  EXPECT_FALSE(m_side.Describe().isWritten);
  EXPECT_THAT(Verify(), IsEmpty());
  Route(10, 2);
  Route(20, 1, false);
  m_device.links.vrfs = {{"blue", 20}};
  m_fake.links[VRF_LINK].vrfTable = 100;
  m_fake.Set(VRF_LINK, "blue");
  Apply();
  for (int i = 0; i < 20; ++i) {
    Turn();
  }
  EXPECT_THAT(Ours(), IsEmpty());
  EXPECT_FALSE(m_side.FindRefusal(10, *views::ReadPrefix("10.9.1.0/24")));
  EXPECT_THAT(m_side.ListRefusals(10), IsEmpty());
  m_device.links.vrfs.clear();
  m_device.kernel.writesRoutes = true;
  Apply();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 254 via 10.1.0.1 dev 2",
                                  "10.9.2.0/24 in table 254 via 10.1.0.1 dev 2",
                                  "10.1.0.0/24 in table 40020 dev 3"));
  EXPECT_THAT(m_kernel.rules.ours, SizeIs(4));
}

TEST_F(Machine, RoutesAndRulesFollowTheVrfDevice) {
  m_device.links.vrfs = {{"blue", 20}};
  Begin();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 254 via 10.1.0.1 dev 2"));
  EXPECT_THAT(m_kernel.rules.ours, IsEmpty()) << "a VLAN with a VRF device needs none";
  m_fake.links[VRF_LINK].vrfTable = 100;
  m_fake.Set(VRF_LINK, "blue");
  m_fake.links.at(3).master = VRF_LINK;
  m_fake.Set(3, "eth1.20");
  RunUntilSettled();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 100 via 10.1.0.1 dev 3",
                                  "10.9.1.0/24 in table 254 via 10.1.0.1 dev 2"));
  EXPECT_THAT(Verify(), ElementsAre("0 of 2 routes in the kernel", "0 of 1 VRF devices",
                                    "0 of 0 rules in the kernel"));
  ASSERT_THAT(m_side.Describe().vrfs, SizeIs(1));
  EXPECT_EQ(100u, m_side.Describe().vrfs[0].table);
  m_fake.Remove(VRF_LINK);
  RunUntilSettled();
  EXPECT_THAT(Ours(), ElementsAre("10.9.1.0/24 in table 254 via 10.1.0.1 dev 2"));
  EXPECT_THAT(m_lines,
              ElementsAre("! No routes of VLAN 20 are written into the kernel: its VRF device blue "
                          "is not there",
                          "Routes of VLAN 20 are written into table 100 of the kernel: its VRF "
                          "device blue is there",
                          "! No routes of VLAN 20 are written into the kernel: its VRF device blue "
                          "is not there"));
  m_device.links.vrfs.clear();
  Apply();
  EXPECT_THAT(Ours(), SizeIs(3));
  EXPECT_THAT(m_kernel.rules.ours, SizeIs(4));
}

TEST_F(Machine, TakesEverythingWithIt) {
  Begin();
  m_side.Flush();
  EXPECT_EQ(0u, m_kernel.CountOurs());
  EXPECT_THAT(m_kernel.rules.ours, IsEmpty());
  EXPECT_THAT(m_lines,
              ElementsAre("3 routes and 4 rules of this device are taken out of the kernel"));
  Route(10, 2);
  ASSERT_TRUE(Settle());
  Turn();
  EXPECT_EQ(0u, m_kernel.CountOurs()) << "nothing is written any more";
}

TEST_F(Machine, ComplainsOfWhatItCannotTakeWithIt) {
  Begin();
  m_kernel.refuse = [](const kernel::RouteKey&, bool) { return EPERM; };
  m_side.Flush();
  EXPECT_THAT(m_lines, ElementsAre(testing::StartsWith("! 0 routes and 4 rules ")));
}

TEST_F(Machine, TakesNothingWithItThatItHasNotWritten) {
  m_kernel.tables[Key("10.7.0.0/16")][220] = {kernel::OUR_PROTOCOL, Hop("10.1.0.1", 2)};
  m_device.kernel.writesRoutes = false;
  m_device.kernel.writesRules = false;
  Begin();
  m_side.Flush();
  EXPECT_THAT(m_lines, IsEmpty());
  EXPECT_EQ(1u, m_kernel.CountOurs());
}

}  // namespace
