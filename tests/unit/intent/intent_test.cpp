#include "device/intent/intent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/reported_lines.h"
#include "tests/support/scratch_folder.h"

namespace {

using test_support::ReportedLines;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;

class Intent : public testing::Test {
 protected:
  static std::string Vlan(int vid, const std::string& members) {
    return "{\"VLAN_CONFIGURATIONS\": {\"v\": {\"vid\": " + std::to_string(vid) + ", " + members +
           "}}}";
  }
  static std::string Route(const std::string& metric) {
    return R"("STATIC_ROUTES": {"r": {"network": "10.9.0.0", "netmask": "255.255.0.0",
              "gateway": "10.1.2.1", "metric": ")" +
           metric + "\"}}";
  }
  intent::Intent Read() {
    files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16", "ipv6": [
        "2001:db8::1/64", "nonsense", "2001:db8::2/64"]}]})");
    const documents::ConfigFolder reader(files.Path(), read.report);
    return intent::MakeIntent(reader.Read({}), reported.report);
  }

  test_support::ScratchFolder files;
  ReportedLines read;
  ReportedLines reported;
};

TEST_F(Intent, HoldsTheRoutesOfAllDocumentsAndTellsOfOtherMetrics) {
  files.Write("vlans.json", Vlan(10, Route("1")));
  files.Write("remote/a.json", Vlan(10, Route("1")));
  files.Write("remote/b.json", Vlan(10, Route("2")));
  files.Write("remote/c.json", Vlan(11, Route("2")));
  const intent::Intent intent = Read();
  ASSERT_EQ(intent.routes.size(), 2u);
  EXPECT_EQ(intent.routes.begin()->second.metric, 2u);  // the library shifts it
  EXPECT_EQ(intent.routes.begin()->second.origin.Text(), "vlans.json: VLAN 10: STATIC_ROUTES.r");
  EXPECT_EQ(intent.routes.rbegin()->second.origin.Text(),
            "remote/c.json: VLAN 11: STATIC_ROUTES.r");
  EXPECT_THAT(reported.lines,
              ElementsAre("remote/b.json: VLAN 10: STATIC_ROUTES.r: the same route has metric 2 "
                          "at vlans.json: VLAN 10: STATIC_ROUTES.r, which stays"));
}

TEST_F(Intent, TakesProfilesFromTheVlanDocumentOnly) {
  files.Write("vlans.json", Vlan(10, R"("REDISTRIBUTION": {"rip": false})"));
  files.Write("remote/a.json", Vlan(11, R"("REDISTRIBUTION": {"rip": false})"));
  EXPECT_THAT(Read().profiles, ElementsAre(Key(10)));
}

TEST_F(Intent, NamesTheVlansOfAllDocuments) {
  files.Write("vlans.json", Vlan(10, "\"x\": 1"));
  files.Write("remote/a.json", Vlan(11, "\"x\": 1"));
  EXPECT_THAT(Read().NamedVlans(), ElementsAre(10, 11));
  EXPECT_THAT(intent::MakeIntent({}, reported.report).NamedVlans(), IsEmpty());
}

TEST_F(Intent, KnowsWhereInterfacesAndAddressesStand) {
  files.Write("vlans.json", Vlan(10, "\"x\": 1"));
  const intent::Intent intent = Read();
  const documents::InterfaceOrigin& origin = intent.device.origins.at({10, 3});
  EXPECT_EQ(origin.place.Text(), "device.json: interfaces[0]");
  EXPECT_EQ(origin.Ip4().Text(), "device.json: interfaces[0].ipv4");
  ASSERT_EQ(intent.device.interfaces.at({10, 3}).ip6.size(), 2u);
  EXPECT_EQ(origin.Ip6(1).Text(), "device.json: interfaces[0].ipv6[2]");
}

}  // namespace
