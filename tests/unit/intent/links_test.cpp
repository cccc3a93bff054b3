#include "device/intent/links.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/read_documents.h"

namespace {

using intent::FindPlace;
using intent::Link;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

constexpr unsigned short LINKS_DEFAULT_VLAN = 7;

Link Named(const std::string& name, std::optional<std::uint16_t> tag = std::nullopt) {
  Link link;
  link.index = 3;
  link.name = name;
  link.tag = tag;
  link.mtu = 1500;
  return link;
}

documents::LinkSettings Taking(const std::vector<std::string>& taken,
                               const std::vector<std::string>& ignored = {}) {
  return {taken, ignored, {{"eth5.20", 50}}, {}};
}

std::string PlaceText(const documents::LinkSettings& settings, const Link& link) {
  const auto place = FindPlace(settings, LINKS_DEFAULT_VLAN, link);
  return !place ? "none"
         : place->problem != nullptr
             ? place->problem
             : std::to_string(place->vlan) + " " + intent::DescribeRule(place->rule);
}

TEST(LinkPlaces, TheFirstRuleThatFitsSaysTheVlan) {
  const auto all = Taking({"*"});
  EXPECT_EQ("50 document", PlaceText(all, Named("eth5.20", 60)));
  EXPECT_EQ("60 tag", PlaceText(all, Named("eth1.20", 60)));
  EXPECT_EQ("20 name", PlaceText(all, Named("eth1.20")));
  EXPECT_EQ("20 name", PlaceText(all, Named("a.b.20")));
  EXPECT_EQ("0 name", PlaceText(all, Named("eth1.0")));
  EXPECT_EQ("7 default", PlaceText(all, Named("eth1")));
  for (const char* const name : {"eth1.", "eth1.x", "eth.2x", "eth20", ".", "eth1.-2"}) {
    EXPECT_EQ("7 default", PlaceText(all, Named(name))) << name;
  }
}

TEST(LinkPlaces, AVrfDeviceSaysTheVlanOfWhatItEnslaves) {
  auto all = Taking({"*"});
  all.vrfs = {{"blue", 30}};
  const auto enslaved = [](Link link, const std::string& vrf) {
    link.vrf = vrf;
    return link;
  };
  EXPECT_EQ("30 vrf", PlaceText(all, enslaved(Named("eth1"), "blue")));
  EXPECT_EQ("30 vrf", PlaceText(all, enslaved(Named("eth1.20"), "blue")));
  EXPECT_EQ("60 tag", PlaceText(all, enslaved(Named("eth1.20", 60), "blue")));
  EXPECT_EQ("50 document", PlaceText(all, enslaved(Named("eth5.20"), "blue")));
  EXPECT_EQ("20 name", PlaceText(all, enslaved(Named("eth1.20"), "red")));
  EXPECT_EQ("7 default", PlaceText(all, enslaved(Named("eth1"), "red")));
  EXPECT_EQ("7 default", PlaceText(Taking({"*"}), enslaved(Named("eth1"), "blue")));
}

TEST(LinkPlaces, AVrfDeviceIsAnInterfaceOnlyByTheDocument) {
  auto all = Taking({"*"});
  all.vrfs = {{"blue", 30}};
  Link blue = Named("blue");
  blue.isVrf = true;
  EXPECT_EQ("none", PlaceText(all, blue));
  all.vlans["blue"] = 40;
  EXPECT_EQ("40 document", PlaceText(all, blue));
  all.ignored = {"blue"};
  EXPECT_EQ("none", PlaceText(all, blue));
}

TEST(LinkPlaces, OnlyLinksThatAreTakenHaveOne) {
  EXPECT_EQ("none", PlaceText(Taking({}), Named("eth1")));
  EXPECT_EQ("none", PlaceText(Taking({"eth*"}), Named("lo")));
  EXPECT_EQ("none", PlaceText(Taking({"eth*"}, {"eth1"}), Named("eth1")));
  EXPECT_EQ("7 default", PlaceText(Taking({"eth*"}, {"eth1"}), Named("eth10")));
  EXPECT_EQ("7 default", PlaceText(Taking({"lo", "eth?"}), Named("eth1")));
  EXPECT_EQ("none", PlaceText(Taking({"lo", "eth?"}), Named("eth10")));
}

TEST(LinkPlaces, WhatCannotBeAnInterfaceIsLeftOut) {
  const auto all = Taking({"*"});
  EXPECT_EQ("32767 name", PlaceText(all, Named("eth1.32767")));
  EXPECT_EQ("its VLAN is above 32767", PlaceText(all, Named("eth1.32768")));
  EXPECT_EQ("its VLAN is above 32767", PlaceText(all, Named("eth1.999999999")));
  EXPECT_EQ("its VLAN is above 32767", PlaceText(all, Named("eth1.99999999999")));
  EXPECT_EQ("20 name", PlaceText(all, Named("e.00000000020")));
  for (const char* const name : {"eth\n", "a b", "\xC3\xA4", "\x7F"}) {
    EXPECT_EQ("its name has letters that no interface's may have", PlaceText(all, Named(name)));
  }
}

TEST(LinkPlaces, ALinkIsAnInterfaceWithAllOfItsAddresses) {
  const auto device = test_support::ReadDevice(R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": ["2001:db8::1/64"]},
      {"name": "eth1", "vlan": 10, "index": 4, "ipv4": "10.1.0.2/16"}]})");
  Link link = Named("eth0");
  link.flags = 24;
  link.mtu = 9000;
  link.up = true;
  link.ip4 = device.interfaces.at({10, 3}).ip4;
  link.ip4.push_back(device.interfaces.at({10, 4}).ip4.at(0));
  link.ip6 = device.interfaces.at({10, 3}).ip6;
  const documents::Interface interface = intent::InterfaceOf(link);
  EXPECT_EQ("eth0", interface.name);
  EXPECT_EQ(24u, interface.flags);
  EXPECT_EQ(9000u, interface.mtu);
  EXPECT_TRUE(interface.up);
  EXPECT_TRUE(interface.isLink);
  EXPECT_FALSE(interface.joined);
  EXPECT_EQ(link.ip4, interface.ip4);
  EXPECT_EQ(link.ip6, interface.ip6);
}

TEST(LinkPlaces, WhatTheDocumentHasStays) {
  const auto device = test_support::ReadDevice(R"({"default_vlan": 7, "interfaces": [
      {"name": "dummy", "vlan": 7, "index": 3}], "kernel": {"interfaces": ["eth*"]}})");
  documents::Interfaces all = device.interfaces;
  Link other = Named("eth1.20");
  other.index = 4;
  intent::AddLinks(device.links, 7, {{3, Named("eth0")}, {4, other}, {5, Named("lo")}}, all);
  EXPECT_THAT(all,
              ElementsAre(Key(documents::InterfaceKey(7, 3)), Key(documents::InterfaceKey(20, 4))));
  EXPECT_EQ("dummy", all.at({7, 3}).name);
}

}  // namespace
