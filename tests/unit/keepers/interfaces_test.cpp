#include "device/keepers/interfaces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "device/documents/device_document.h"
#include "tests/support/device_fixture.h"
#include "tests/support/read_documents.h"
#include "vantacore/dc_interface_mgr.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

class InterfacesTest : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start(10);
    Reload(R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})", "vlans.json");
    ASSERT_TRUE(Settle());
    TakeCalls();
    traces.Take();
  }

  // Applies a document whose interfaces are these, and lets the stack answer.
  void Apply(const std::string& interfaces, const std::string& primaries = "") {
    state.Apply(test_support::ReadDevice(R"({"default_vlan": 10, "interfaces": [)" + interfaces +
                                         R"(], "primary_interfaces": {)" + primaries + "}}"),
                {10, 11});
    ASSERT_TRUE(Settle());
  }
  static std::string Eth0(const std::string& members = "") {
    return R"({"name": "eth0", "vlan": 10, "index": 3)" + std::string(members.empty() ? "" : ", ") +
           members + "}";
  }

  keepers::Interfaces state;
};

TEST_F(InterfacesTest, AddsInterfacesWithTheirAddresses) {
  Apply(Eth0(R"("flags": ["broadcast"], "mtu": 9000, "ipv4": "10.1.0.1/16", "ipv6": )"
             R"(["2001:db8::1/64"])"));
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(4, 1, 10, 3, "eth0", 0, 8, 9000))",
                                       R"(sms_act_interface(4, 1, 32778, 3, "eth0", 0, 8, 9000))",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.1.0.1, 16)",
                                       "sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::1, 64)"));
  EXPECT_TRUE(traces.Contains("10:Updating Interface Status of Interface 3\n"));
  EXPECT_TRUE(traces.Contains("10:Updating IP Address Change to Interface 3\n"));
}

TEST_F(InterfacesTest, AddsInterfacesThatAreDown) {
  Apply(Eth0(R"("up": false)"));
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(4, 2, 10, 3, "eth0", 0, 0, 1500))",
                                       R"(sms_act_interface(4, 2, 32778, 3, "eth0", 0, 0, 1500))"));
  EXPECT_FALSE(state.IsInterfaceUp(10, 3));
}

// VLAN 10 is there and its IGMP router disabled, which joins do not wake; VLAN 11 is still to come.
TEST_F(InterfacesTest, TellsOfRemotesThatJoin) {
  const std::string skipped =
      "Connected remote to inet with VLAN 11 before loading VLAN options... Skipping\n";
  Apply(Eth0(R"("joined": true)") +
        R"(, {"name": "eth1", "vlan": 11, "index": 4, "joined": true})");
  EXPECT_FALSE(traces.Contains(skipped));
  state.AnnounceTo(11);
  EXPECT_TRUE(traces.Contains(skipped));
  traces.Take();
  Apply(Eth0(R"("joined": true)") + R"(, {"name": "eth1", "vlan": 11, "index": 4})");
  Apply(Eth0(R"("joined": true)") +
        R"(, {"name": "eth1", "vlan": 11, "index": 4, "joined": true})");
  EXPECT_FALSE(traces.Contains(skipped)) << "nothing is told to a VLAN that is not there";
}

TEST_F(InterfacesTest, MentionsNothingTwice) {
  const std::string eth0 = Eth0(R"("ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"])");
  Apply(eth0, R"("10": "eth0")");
  TakeCalls();
  traces.Take();
  Apply(eth0, R"("10": "eth0")");
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_FALSE(traces.Contains("Updating"));
}

TEST_F(InterfacesTest, TakesAnInterfaceDownAndUp) {
  Apply(Eth0());
  TakeCalls();
  traces.Take();
  Apply(Eth0(R"("up": false)"));
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(1, 2, 10, 3, "eth0", 0, 0, 0))",
                                       R"(sms_act_interface(1, 2, 32778, 3, "eth0", 0, 0, 0))"));
  EXPECT_TRUE(traces.Contains("10:Updating Interface Status of Interface 3\n"));
  EXPECT_FALSE(state.IsInterfaceUp(10, 3));
  Apply(Eth0());
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(1, 1, 10, 3, "eth0", 0, 0, 0))",
                                       R"(sms_act_interface(1, 1, 32778, 3, "eth0", 0, 0, 0))"));
  EXPECT_TRUE(state.IsInterfaceUp(10, 3));
}

TEST_F(InterfacesTest, SendsTheWholeRowWhenMtuOrFlagsChange) {
  Apply(Eth0());
  TakeCalls();
  Apply(Eth0(R"("mtu": 9000, "up": false)"));
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(4, 2, 10, 3, "eth0", 0, 0, 9000))",
                                       R"(sms_act_interface(4, 2, 32778, 3, "eth0", 0, 0, 9000))"));
}

TEST_F(InterfacesTest, ChangesAddresses) {
  Apply(Eth0(R"("ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64", "2001:db8::2/64"])"));
  TakeCalls();
  Apply(Eth0(R"("ipv4": "10.1.0.2/16", "ipv6": ["2001:db8::2/64", "2001:db8::3/64"])"));
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.0.1, 16)",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.1.0.2, 16)",
                                       "sms_act_ipaddr(1, 32778, 2, 3, 2001:db8::3, 64)",
                                       "sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::1, 64)"));
  Apply(Eth0());
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.0.2, 16)",
                                       "sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::2, 64)",
                                       "sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::3, 64)"));
}

TEST_F(InterfacesTest, RemovesAnInterfaceWithItsAddresses) {
  Apply(Eth0(R"("ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"])"));
  TakeCalls();
  Apply("");
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 32778, 2, 3, 2001:db8::1, 64)",
                                       "sms_act_ipaddr(6, 10, 1, 3, 10.1.0.1, 16)",
                                       R"(sms_act_interface(6, 2, 10, 3, "eth0", 0, 0, 0))",
                                       R"(sms_act_interface(6, 2, 32778, 3, "eth0", 0, 0, 0))"));
  EXPECT_FALSE(state.IndexOf(10, "eth0"));
}

TEST_F(InterfacesTest, CountsWhatIsUpAndTheAddresses) {
  const documents::InterfaceKey eth0(10, 3);
  const Tarsel::Ip4Addr mask(255, 255, 0, 0);
  const documents::Ip4Network network{Tarsel::Ip4Addr(10, 1, 0, 1), mask};
  const documents::Ip4Network other{Tarsel::Ip4Addr(10, 2, 0, 1), mask};
  const auto prefix = [](unsigned char last) {
    std::array<unsigned char, 16> bytes{0x20, 0x01, 0x0d, 0xb8};
    bytes[15] = last;
    return Tarsel::Ip6Prefix(Tarsel::Ip6Addr::FromBytes(bytes.data()), 64);
  };
  Apply(Eth0() + R"(, {"name": "eth1", "vlan": 10, "index": 4, "up": false,
    "ipv4": "10.3.0.1/16", "ipv6": ["2001:db8:3::1/64", "2001:db8:3::2/64"]})");
  EXPECT_EQ(state.CountUp(), 1u);
  EXPECT_EQ(state.CountAddresses(), 3u);
  state.SetStatus(eth0, true);  // as it is
  EXPECT_EQ(state.CountUp(), 1u);
  state.SetStatus(eth0, false);
  EXPECT_EQ(state.CountUp(), 0u);
  state.SetStatus({10, 4}, true);
  EXPECT_EQ(state.CountUp(), 1u);
  state.ChangeAddress(eth0, network);
  EXPECT_EQ(state.CountAddresses(), 4u);
  state.AddAddress(eth0, other);  // in its place
  EXPECT_EQ(state.CountAddresses(), 4u);
  state.AddAddress(eth0, prefix(1));
  state.AddAddress(eth0, prefix(1));  // in its place
  EXPECT_EQ(state.CountAddresses(), 5u);
  state.DeleteAddress(eth0, prefix(2));  // which it does not have
  EXPECT_EQ(state.CountAddresses(), 5u);
  state.DeleteAddress(eth0, prefix(1));
  state.DeleteAddress(eth0, other);
  state.DeleteAddress(eth0, other);
  EXPECT_EQ(state.CountAddresses(), 3u);
  state.AddAddress(eth0, network);
  EXPECT_EQ(state.CountAddresses(), 4u);
  Apply(Eth0());
  EXPECT_EQ(state.CountUp(), 1u);
  EXPECT_EQ(state.CountAddresses(), 0u);
}

TEST_F(InterfacesTest, GivesAnInterfaceANewName) {
  Apply(Eth0());
  Apply(R"({"name": "wan", "vlan": 10, "index": 3})");
  EXPECT_STREQ(Tarsel::DcInterfaceMgr::GetInstance()->GetIfName(10, 3), "wan");
  EXPECT_EQ(state.IndexOf(10, "wan"), 3u);
  EXPECT_FALSE(state.IndexOf(10, "eth0"));
}

// A name belongs to one interface only in the whole registry, so it must be given back first.
TEST_F(InterfacesTest, ExchangesTheNamesOfTwoInterfaces) {
  const auto both = [](const std::string& third, const std::string& fourth) {
    return R"({"name": ")" + third + R"(", "vlan": 10, "index": 3}, {"name": ")" + fourth +
           R"(", "vlan": 10, "index": 4})";
  };
  const auto indexOf = [](const char* name) {
    unsigned int index = 0;
    EXPECT_TRUE(Tarsel::DcInterfaceMgr::GetInstance()->GetIfIndex(name, index)) << name;
    return index;
  };
  Apply(both("eth0", "eth1"));
  Apply(both("eth1", "eth0"));
  EXPECT_EQ(indexOf("eth1"), 3u);
  EXPECT_EQ(indexOf("eth0"), 4u);
  Apply(both("eth0", "eth2"));
  EXPECT_EQ(indexOf("eth0"), 3u);
  EXPECT_EQ(indexOf("eth2"), 4u);
}

TEST_F(InterfacesTest, SetsPrimaries) {
  Apply(Eth0(), R"("10": "eth0")");
  EXPECT_STREQ(Tarsel::DcInterfaceMgr::GetInstance()->GetPrimaryInterface(10), "eth0");
}

TEST_F(InterfacesTest, ChoosesThePrimariesThatNobodyNames) {
  const Tarsel::DcInterfaceMgr* registry = Tarsel::DcInterfaceMgr::GetInstance();
  Apply(Eth0() + R"(, {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.1.0.1/16"})");
  EXPECT_STREQ(registry->GetPrimaryInterface(10), "eth1");
  EXPECT_STREQ(registry->GetPrimaryInterface(11), "lo");
  EXPECT_EQ(registry->GetPrimaryInterface(12), nullptr);
  Apply(Eth0(R"("ipv4": "10.1.0.1/16")"));
  EXPECT_STREQ(registry->GetPrimaryInterface(10), "eth0");
}

TEST_F(InterfacesTest, FindsAnInterfaceOnItsOwnVlanOnly) {
  Apply(Eth0() + R"(, {"name": "eth0", "vlan": 20, "index": 7})");
  EXPECT_EQ(state.IndexOf(10, "eth0"), 3u);
  EXPECT_EQ(state.IndexOf(20, "eth0"), 7u);
  EXPECT_FALSE(state.IndexOf(11, "eth0"));
  EXPECT_TRUE(state.IsInterfaceUp(20, 7));
  EXPECT_FALSE(state.IsInterfaceUp(20, 3));
}

TEST_F(InterfacesTest, GivesAnotherMapOfIndexesOnlyWhenItSaysSomethingElse) {
  Apply(Eth0());
  const auto before = state.GetIndexes();
  EXPECT_THAT(*before, ElementsAre(Pair(Pair(10, "eth0"), 3u)));
  Apply(Eth0(R"("mtu": 9000)"));
  EXPECT_EQ(state.GetIndexes(), before);
  Apply(Eth0() + R"(, {"name": "eth0", "vlan": 20, "index": 7})");
  EXPECT_THAT(*before, ElementsAre(Pair(Pair(10, "eth0"), 3u))) << "others may still read it";
  EXPECT_THAT(*state.GetIndexes(),
              ElementsAre(Pair(Pair(10, "eth0"), 3u), Pair(Pair(20, "eth0"), 7u)));
}

TEST_F(InterfacesTest, GivesPrimariesAheadOfTheRest) {
  state.ApplyPrimaries(test_support::ReadDevice(R"({"default_vlan": 10, "interfaces": [)" +
                                                Eth0(R"("ipv4": "10.1.0.1/16")") + "]}"),
                       {10, 12});
  const Tarsel::DcInterfaceMgr* registry = Tarsel::DcInterfaceMgr::GetInstance();
  EXPECT_STREQ(registry->GetPrimaryInterface(10), "eth0");
  EXPECT_STREQ(registry->GetPrimaryInterface(12), "lo");
  EXPECT_FALSE(state.IndexOf(10, "eth0"));
}

TEST_F(InterfacesTest, AnnouncesWhatANewVlansRoutersMissed) {
  Apply(Eth0(R"("ipv4": "10.1.0.1/16")") + R"(, {"name": "eth1", "vlan": 11, "index": 4})");
  traces.Take();
  state.AnnounceTo(10);
  EXPECT_THAT(traces.Take(), ElementsAre("10:Updating Interface Status of Interface 3\n",
                                         "10:Updating IP Address Change to Interface 3\n"));
}

// ---- links

class LinksTest : public InterfacesTest {
 protected:
  void ApplyKernel(const std::string& kernel, const std::string& interfaces = "",
                   const std::string& primaries = "") {
    state.Apply(test_support::ReadDevice(R"({"default_vlan": 10, "interfaces": [)" + interfaces +
                                         R"(], "primary_interfaces": {)" + primaries +
                                         R"(}, "kernel": )" + kernel + "}"),
                {10, 11});
    ASSERT_TRUE(Settle());
    TakeCalls();
    traces.Take();
  }
  static intent::Link MakeLink(std::uint32_t index, const std::string& name, bool up = true) {
    intent::Link link;
    link.index = index;
    link.name = name;
    link.mtu = 1500;
    link.up = up;
    return link;
  }
  static intent::Link With(intent::Link link, const std::string& address) {
    documents::Ip4Network network;
    EXPECT_TRUE(documents::ReadPrefix(address, network));
    link.ip4.push_back(network);
    return link;
  }
  bool Take(const intent::LinkChanges& changes) {
    const bool haveCome = state.TakeLinks(changes);
    EXPECT_TRUE(Settle());
    return haveCome;
  }
  static std::string Primary(unsigned short vlan) {
    return Tarsel::DcInterfaceMgr::GetInstance()->GetPrimaryInterface(vlan);
  }

  const std::string ETH = R"({"interfaces": ["eth*"]})";
};

TEST_F(LinksTest, ALinkComesChangesAndGoes) {
  ApplyKernel(ETH);
  EXPECT_TRUE(Take({{3, With(MakeLink(3, "eth0"), "10.1.0.1/16")}}));
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(4, 1, 10, 3, "eth0", 0, 0, 1500))",
                                       R"(sms_act_interface(4, 1, 32778, 3, "eth0", 0, 0, 1500))",
                                       "sms_act_ipaddr(1, 10, 1, 3, 10.1.0.1, 16)"));
  EXPECT_TRUE(traces.Contains("10:Updating IP Address Change to Interface 3\n"));
  EXPECT_EQ(1u, state.CountUp());
  EXPECT_EQ(1u, state.CountAddresses());
  EXPECT_EQ("eth0", Primary(10));
  EXPECT_EQ(std::optional<std::uint32_t>(3), state.IndexOf(10, "eth0"));

  EXPECT_FALSE(Take({{3, With(MakeLink(3, "eth0", false), "10.1.0.1/16")}}));
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_act_interface(1, 2, 10, 3, "eth0", 0, 0, 0))",
                                       R"(sms_act_interface(1, 2, 32778, 3, "eth0", 0, 0, 0))"));
  EXPECT_EQ(0u, state.CountUp());
  EXPECT_FALSE(state.IsInterfaceUp(10, 3));

  EXPECT_TRUE(Take({{3, std::nullopt}}));
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_ipaddr(6, 10, 1, 3, 10.1.0.1, 16)",
                                       R"(sms_act_interface(6, 2, 10, 3, "eth0", 0, 0, 0))",
                                       R"(sms_act_interface(6, 2, 32778, 3, "eth0", 0, 0, 0))"));
  EXPECT_THAT(state.Get(), IsEmpty());
  EXPECT_THAT(state.GetLinks(), IsEmpty());
  EXPECT_EQ(0u, state.CountAddresses());
  EXPECT_EQ("lo", Primary(10));
  EXPECT_FALSE(state.HasEvents()) << "a reload has nothing to restore";
}

TEST_F(LinksTest, ALinkWithAnotherNameIsAnotherInterface) {
  ApplyKernel(ETH);
  Take({{3, MakeLink(3, "eth0")}, {4, MakeLink(4, "eth1")}});
  TakeCalls();
  EXPECT_TRUE(Take({{3, MakeLink(3, "eth1")}, {4, MakeLink(4, "eth0")}}));
  EXPECT_THAT(TakeCalls(),
              ElementsAre(R"(sms_act_interface(6, 2, 10, 3, "eth0", 0, 0, 0))",
                          R"(sms_act_interface(6, 2, 32778, 3, "eth0", 0, 0, 0))",
                          R"(sms_act_interface(6, 2, 10, 4, "eth1", 0, 0, 0))",
                          R"(sms_act_interface(6, 2, 32778, 4, "eth1", 0, 0, 0))",
                          R"(sms_bld_amb_test_i3_ei(4, 1, 10, 3, "eth1", 0, 0, 1500))",
                          R"(sms_bld_amb_test_i3_ei(4, 1, 32778, 3, "eth1", 0, 0, 1500))",
                          R"(sms_bld_amb_test_i3_ei(4, 1, 10, 4, "eth0", 0, 0, 1500))",
                          R"(sms_bld_amb_test_i3_ei(4, 1, 32778, 4, "eth0", 0, 0, 1500))"));
  EXPECT_EQ(std::optional<std::uint32_t>(4), state.IndexOf(10, "eth0"));
}

TEST_F(LinksTest, LinksOfBeforeTheFirstDocumentAreThereWithIt) {
  EXPECT_FALSE(state.TakeLinks({{3, MakeLink(3, "eth0")}, {4, MakeLink(4, "wlan0")}}));
  EXPECT_THAT(state.Get(), IsEmpty());
  state.Apply(
      test_support::ReadDevice(R"({"default_vlan": 10, "kernel": {"interfaces": ["eth*"]}})"),
      {10});
  EXPECT_THAT(state.Get(), ElementsAre(testing::Key(documents::InterfaceKey(10, 3))));
}

TEST_F(LinksTest, ADocumentSaysWhichAreTakenAndInWhichVlan) {
  Take({{3, MakeLink(3, "eth0")}});
  ApplyKernel(ETH);
  EXPECT_THAT(state.Get(), ElementsAre(testing::Key(documents::InterfaceKey(10, 3))));
  ApplyKernel(ETH, R"({"name": "eth0", "vlan": 11, "index": 99})");
  EXPECT_THAT(state.Get(), ElementsAre(testing::Key(documents::InterfaceKey(11, 3))))
      << "the index is the kernel's";
  ApplyKernel(R"({"interfaces": ["eth*"], "ignore": ["eth0"]})");
  EXPECT_THAT(state.Get(), IsEmpty());
  EXPECT_THAT(state.GetLinks(), testing::SizeIs(1));
}

TEST_F(LinksTest, ADocumentNeverOverrulesTheKernel) {
  ApplyKernel(ETH);
  Take({{3, MakeLink(3, "eth0", false)}});
  state.SetStatus({10, 3}, true);
  EXPECT_TRUE(state.IsInterfaceUp(10, 3));
  ApplyKernel(ETH, R"({"name": "eth0", "vlan": 10, "index": 3, "up": true})");
  EXPECT_FALSE(state.IsInterfaceUp(10, 3));
  EXPECT_EQ(0u, state.CountUp());
}

TEST_F(LinksTest, WhatTheDocumentHasIsNotTakenAway) {
  ApplyKernel(ETH, R"({"name": "dummy", "vlan": 10, "index": 3})");
  EXPECT_FALSE(Take({{3, MakeLink(3, "eth0")}}));
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_EQ("dummy", state.Get().at({10, 3}).name);
  EXPECT_STREQ("an interface of the document has its VLAN and index",
               state.FindPlaceOf(state.GetLinks().at(3))->problem);
  EXPECT_FALSE(Take({{3, std::nullopt}}));
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_EQ("dummy", state.Get().at({10, 3}).name);
}

// Nothing is told, and yet another one speaks for it.
TEST_F(LinksTest, AnInterfaceBecomesALinkAndBack) {
  const std::string eth0 = R"({"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"})";
  const intent::Link link = With(MakeLink(3, "eth0"), "10.1.0.1/16");
  ApplyKernel(R"({"interfaces": ["x*"]})", eth0);
  Take({{3, link}});
  EXPECT_FALSE(state.Get().at({10, 3}).isLink);
  ApplyKernel(ETH, eth0);
  EXPECT_TRUE(state.Get().at({10, 3}).isLink);
  EXPECT_TRUE(Take({{3, std::nullopt}}));
  EXPECT_THAT(state.Get(), IsEmpty());
  Take({{3, link}});
  ApplyKernel(R"({"interfaces": ["x*"]})", eth0);
  EXPECT_FALSE(state.Get().at({10, 3}).isLink);
  EXPECT_FALSE(Take({{3, std::nullopt}}));
  EXPECT_THAT(state.Get(), testing::SizeIs(1));
}

TEST_F(LinksTest, APrimaryInterfaceThatIsNamedStays) {
  ApplyKernel(ETH, "", R"("10": "eth1")");
  Take({{3, With(MakeLink(3, "eth0"), "10.1.0.1/16")}});
  EXPECT_EQ("eth1", Primary(10));
}

TEST_F(LinksTest, TheDefaultVlanIsTheFirstOne) {
  ApplyKernel(ETH);
  state.Apply(
      test_support::ReadDevice(R"({"default_vlan": 11, "kernel": {"interfaces": ["eth*"]}})"),
      {10, 11});
  Take({{3, MakeLink(3, "eth0")}});
  EXPECT_THAT(state.Get(), ElementsAre(testing::Key(documents::InterfaceKey(10, 3))));
}

}  // namespace
