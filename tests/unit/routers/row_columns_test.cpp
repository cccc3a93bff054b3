// What each protocol reads of a row's group, and what it refuses.
#include "routers/ospf_routers.h"
#include "tests/unit/routers/router_fixture.h"

namespace {

using Tarsel::DcRouterMgr;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RowColumns : public RouterFixture {
 protected:
  // Loads one group of a list and answers what was reported about it.
  std::vector<std::string> Report(const std::string& member, const std::string& list,
                                  const std::string& group) {
    traces.Take();
    Apply("\"" + member + R"(": {")" + list + R"(": {"g": {)" + group + "}}}");
    return Skipped();
  }
};

TEST_F(RowColumns, OfAPeer) {
  EXPECT_THAT(Report("BGP", "PEERS",
                     R"("Name": "BGP_10_7", "afi": 0, "safi": 0, "address": "10.1.2.3", )"
                     "\"as\": 4294967295, \"description\": \"upstream, \\u001b[31m \\\"a\\\"\""),
              IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("10 1 \"7\" \"afi=1 safi=3 address=10.1.2.3 as=4294967295 "
                                  "description=\"upstream, ?[31m \"a\"\"\" up"));
}

TEST_F(RowColumns, ShowsNoControlCharacterOfADocument) {
  EXPECT_THAT(
      Report("BGP", "PEERS",
             "\"Name\": \"BGP_10_7\\n\\u009b31m\\u00a0\\u007f\", \"address\": \"10.1.2.3\""),
      ElementsAre("vlans.json: BGP:10: \"as\" of \"BGP_10_7??31m\u00a0?\" must be there\n"));
  Report("BGP", "PEERS",
         R"("Name": "BGP_10_7", "address": "10.1.2.3", "as": 1, )"
         "\"description\": \"\\u009bJ \\u00c2\"");
  EXPECT_THAT(Rows(), ElementsAre("10 1 \"7\" \"afi=1 safi=1 address=10.1.2.3 as=1 "
                                  "description=\"?J \u00c2\"\" up"));
}

TEST_F(RowColumns, OfAnIp6PeerWhoseRowIsInTheIp6Instance) {
  EXPECT_THAT(Report("BGP", "PEERS",
                     R"("Name": "bgp_10_7", "afi": 1, "safi": 2, "address": )"
                     R"("2001:db8::1", "as": 1, "enabled": false)"),
              IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("32778 1 \"7\" \"afi=2 safi=2 address=2001:db8::1 as=1 "
                                  "description=\"\"\" down"));
}

TEST_F(RowColumns, APeerOfAnotherFamilyIsAnotherRow) {
  Apply(R"("BGP": {"PEERS": {"g": {"Name": "BGP_10_7", "address": "10.1.2.3", "as": )"
        "1}}}");
  Apply(R"("BGP": {"PEERS": {"g": {"Name": "BGP_10_7", "afi": 1, "address": )"
        R"("2001:db8::1", "as": 1}}})");
  EXPECT_THAT(Rows(), ElementsAre("32778 1 \"7\" \"afi=2 safi=1 address=2001:db8::1 as=1 "
                                  "description=\"\"\" up"));
  EXPECT_THAT(Objects(DcRouterMgr::PROTOCOL_BGP), SizeIs(1));
}

TEST_F(RowColumns, ADescriptionHas127CharactersAtMost) {
  Report("BGP", "PEERS",
         R"("Name": "BGP_10_7", "address": "10.1.2.3", "as": 1, "description": ")" +
             std::string(200, 'x') + "\"");
  EXPECT_THAT(Rows(), ElementsAre("10 1 \"7\" \"afi=1 safi=1 address=10.1.2.3 as=1 description=\"" +
                                  std::string(127, 'x') + "\"\" up"));
}

TEST_F(RowColumns, OfAPeerThatIsWrong) {
  const std::string where = "vlans.json: BGP:10: ";
  EXPECT_THAT(Report("BGP", "PEERS", R"("address": "10.1.2.3", "as": 1)"),
              ElementsAre(where + "\"Name\" of \"\" must be BGP_10_<number>\n"));
  EXPECT_THAT(Report("BGP", "PEERS", R"("Name": "BGP_11_7", "address": "10.1.2.3", "as": 1)"),
              ElementsAre(where + "\"Name\" of \"BGP_11_7\" must be BGP_10_<number>\n"));
  EXPECT_THAT(Report("BGP", "PEERS", R"("Name": "BGP_10", "address": "10.1.2.3", "as": 1)"),
              ElementsAre(where + "\"Name\" of \"BGP_10\" must be BGP_10_<number>\n"));
  EXPECT_THAT(Report("BGP", "PEERS", R"("Name": "RIP_10_7", "address": "10.1.2.3", "as": 1)"),
              ElementsAre(where + "\"Name\" of \"RIP_10_7\" must be BGP_10_<number>\n"));
  EXPECT_THAT(Report("BGP", "PEERS", R"("Name": "BGP_10_7", "as": 1)"),
              ElementsAre(where + "\"address\" of \"BGP_10_7\" must be an IPv4 address\n"));
  EXPECT_THAT(
      Report("BGP", "PEERS", R"("Name": "BGP_10_7", "afi": 1, "address": "10.1.2.3", "as": 1)"),
      ElementsAre(where + "\"address\" of \"BGP_10_7\" must be an IPv6 address\n"));
  EXPECT_THAT(Report("BGP", "PEERS", R"("Name": "BGP_10_7", "address": "10.1.2.3")"),
              ElementsAre(where + "\"as\" of \"BGP_10_7\" must be there\n"));
  for (const char* as : {"0", "-1", "4294967296", "\"1\"", "{}"}) {
    EXPECT_THAT(Report("BGP", "PEERS",
                       R"("Name": "BGP_10_7", "address": "10.1.2.3", "as": )" + std::string(as)),
                ElementsAre(where + "\"as\" of \"BGP_10_7\" must be a number of 1 to 4294967295\n"))
        << as;
  }
  EXPECT_THAT(Report("BGP", "PEERS",
                     R"("Name": "BGP_10_7", "address": "10.1.2.3", "as": 1, )"
                     R"("description": ".*x")"),
              ElementsAre(where + "\"description\" of \"BGP_10_7\" must be a text that does not "
                                  "begin with \".*\"\n"));
  EXPECT_THAT(Report("BGP", "PEERS",
                     R"("Name": "BGP_10_7", "address": "10.1.2.3", "as": 1, )"
                     R"("enabled": "no")"),
              ElementsAre(where + "\"enabled\" of \"BGP_10_7\" must be true or false\n"));
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowColumns, AGroupThatTurnsWrongVanishes) {
  Report("BGP", "PEERS", R"("Name": "BGP_10_7", "address": "10.1.2.3", "as": 1)");
  EXPECT_THAT(Rows(), SizeIs(1));
  Report("BGP", "PEERS", R"("Name": "BGP_10_7", "address": "10.1.2.3", "as": 0)");
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowColumns, OfAnArea) {
  EXPECT_THAT(Report("OSPF", "AREA_LIST", R"("Name": "OSPF_10_258")"), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("10 2 \"258\" \"area=0.0.1.2 type=normal default_cost=1\" up"));
  EXPECT_THAT(Report("OSPF", "AREA_LIST",
                     R"("Name": "OSPF_10_258", "area": "1.2.3.4", "type": "Stub", )"
                     R"("default_cost": 16777215, "enabled": false)"),
              IsEmpty());
  EXPECT_THAT(Rows(),
              ElementsAre("10 2 \"258\" \"area=1.2.3.4 type=stub default_cost=16777215\" down"));
  EXPECT_THAT(Report("OSPF", "AREA_LIST",
                     R"("Name": "OSPF_10_258", "area": null, "type": null, )"
                     R"("default_cost": null, "enabled": null)"),
              IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("10 2 \"258\" \"area=0.0.1.2 type=normal default_cost=1\" up"));
}

TEST_F(RowColumns, OfAnAreaThatIsWrong) {
  const std::string name = R"("Name": "OSPF_10_1", )";
  const std::string where = "vlans.json: OSPFV3:10: ";
  EXPECT_THAT(Report("OSPFV3", "AREA_LIST", name + R"("type": "transit")"),
              ElementsAre(where + "\"type\" of \"OSPF_10_1\" must be normal, stub or nssa\n"));
  EXPECT_THAT(Report("OSPFV3", "AREA_LIST", name + R"("type": {"a": 1})"),
              ElementsAre(where + "\"type\" of \"OSPF_10_1\" must be normal, stub or nssa\n"));
  EXPECT_THAT(
      Report("OSPFV3", "AREA_LIST", name + R"("default_cost": 16777216)"),
      ElementsAre(where + "\"default_cost\" of \"OSPF_10_1\" must be a number of 0 to 16777215\n"));
  EXPECT_THAT(
      Report("OSPFV3", "AREA_LIST", name + R"("area": "x")"),
      ElementsAre(where + "\"area\" of \"OSPF_10_1\" must be four numbers with dots between "
                          "them\n"));
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowColumns, OfAnOspfInterface) {
  EXPECT_THAT(Report("OSPFV3", "IF_LIST", R"("Name": "OSPF_10_3_1_2")"), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("32778 5 \"3.1.2\" \"area=0.0.0.0 cost=10 priority=1 hello=10 "
                                  "dead=40\" up"));
  EXPECT_THAT(Report("OSPF", "IF_LIST",
                     R"("Name": "OSPF_10_3", "area": "0.0.0.5", "cost": 65535, )"
                     R"("priority": 255, "hello_interval": 1, "dead_interval": 4, )"
                     R"("passive": true)"),
              IsEmpty());
  EXPECT_THAT(Rows().front(),
              "10 3 \"3.0.0\" \"area=0.0.0.5 cost=65535 priority=255 hello=1 dead=4 passive\" up");
}

TEST_F(RowColumns, OfAnOspfInterfaceThatIsWrong) {
  const std::string name = R"("Name": "OSPF_10_3", )";
  const std::string where = "vlans.json: OSPF:10: ";
  for (const char* key : {"cost", "hello_interval", "dead_interval"}) {
    EXPECT_THAT(
        Report("OSPF", "IF_LIST", name + "\"" + key + "\": 0"),
        ElementsAre(where + "\"" + key + "\" of \"OSPF_10_3\" must be a number of 1 to 65535\n"));
  }
  EXPECT_THAT(Report("OSPF", "IF_LIST", name + R"("priority": 256)"),
              ElementsAre(where + "\"priority\" of \"OSPF_10_3\" must be a number of 0 to 255\n"));
  EXPECT_THAT(Report("OSPF", "IF_LIST", name + R"("passive": 1)"),
              ElementsAre(where + "\"passive\" of \"OSPF_10_3\" must be true or false\n"));
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowColumns, SeveralRowsOfOneOspfInterfaceAreApart) {
  Apply(R"("OSPF": {"IF_LIST": [{"Name": "OSPF_10_3_1"}, {"Name": "OSPF_10_3_2"}, )"
        R"({"Name": "OSPF_10_3_2_1"}]})");
  EXPECT_THAT(Rows(), SizeIs(3));
}

TEST_F(RowColumns, OspfRoutersLearnOfAreasAndInterfacesFromTheStack) {
  auto* const ospf = [this] {
    Apply("");
    return static_cast<Tarsel::DcOspfRouter*>(Router(DcRouterMgr::PROTOCOL_OSPFV2));
  }();
  const auto areas = [ospf] {
    const auto log = test_support::NewConsoleLog(10);
    test_support::RecordingConsole console(log);
    ospf->DisplayAreas(&console);
    return log->all;
  };
  const std::string one = R"("OSPF": {"AREA_LIST": {"a": {"Name": "OSPF_10_1"}}, )";
  Load(one + R"("IF_LIST": {"i": {"Name": "OSPF_10_3", "area": "0.0.0.1", "passive": )"
             "true}}}");
  EXPECT_FALSE(ospf->IsAreaActive(1));
  ASSERT_TRUE(Settle());
  EXPECT_EQ(areas(),
            "OSPF:10: up, reference bandwidth 100 Mbit/s, 1 passive interfaces\n"
            "  area 0.0.0.1: active, 1 interfaces\n");
  Apply(one + R"("IF_LIST": {"i": {"Name": "OSPF_10_3", "area": "0.0.0.2"}}})");
  EXPECT_EQ(areas(),
            "OSPF:10: up, reference bandwidth 100 Mbit/s, 0 passive interfaces\n"
            "  area 0.0.0.1: active, 0 interfaces\n"
            "  area 0.0.0.2: not active, 1 interfaces\n");
  Apply(R"("OSPF": {"enabled": true})");
  EXPECT_FALSE(ospf->IsAreaActive(1));
  EXPECT_EQ(areas(), "OSPF:10: up, reference bandwidth 100 Mbit/s, 0 passive interfaces\n");
}

TEST_F(RowColumns, OfARipInterface) {
  EXPECT_THAT(Report("RIPV2", "IF_LIST", R"("Name": "RIP_10_3")"), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=1\" up"));
  EXPECT_THAT(Report("RIPNG", "IF_LIST",
                     R"("Name": "RIPNG_10_4", "cost": 15, "passive": true, "enabled": )"
                     "false"),
              IsEmpty());
  EXPECT_THAT(Rows().back(), "32778 7 \"4\" \"cost=15 passive\" down");
  EXPECT_THAT(Report("RIPNG", "IF_LIST", R"("Name": "RIP_10_4", "cost": 16)"),
              ElementsAre(R"(vlans.json: RIPNG:10: "cost" of "RIP_10_4" must be a number of 1 to )"
                          "15\n"));
}

TEST_F(RowColumns, OfAMulticastInterface) {
  EXPECT_THAT(Report("IGMP", "IF_LIST", R"("Name": "IGMP_10_3")"), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("10 8 \"3\" \"version=3 query_interval=125\" up"));
  EXPECT_THAT(Report("MLD", "IF_LIST",
                     R"("Name": "MLD_10_4", "version": 1, "query_interval": 31744, )"
                     R"("GROUPS": [{"address": "ff05:0::2"}, {"address": "ff02::1"}, )"
                     R"({"address": "FF05::2"}])"),
              IsEmpty());
  EXPECT_THAT(Rows().back(),
              "32778 9 \"4\" \"version=1 query_interval=31744 groups=ff02::1,ff05::2\" up");
}

TEST_F(RowColumns, OfAMulticastInterfaceThatIsWrong) {
  const std::string igmp = "vlans.json: IGMP:10: ";
  const std::string name = R"("Name": "IGMP_10_3", )";
  EXPECT_THAT(Report("IGMP", "IF_LIST", name + R"("version": 4)"),
              ElementsAre(igmp + "\"version\" of \"IGMP_10_3\" must be a number of 1 to 3\n"));
  EXPECT_THAT(
      Report("IGMP", "IF_LIST", name + R"("query_interval": 0)"),
      ElementsAre(igmp + "\"query_interval\" of \"IGMP_10_3\" must be a number of 1 to 31744\n"));
  for (const char* groups : {R"([{"address": "10.1.1.1"}])", R"([{"x": 1}])", R"(["239.1.1.1"])",
                             "\"239.1.1.1\"", R"([{"address": "ff02::1"}])"}) {
    EXPECT_THAT(Report("IGMP", "IF_LIST", name + R"("GROUPS": )" + groups),
                ElementsAre(igmp + "\"GROUPS\" of \"IGMP_10_3\" must be objects with a multicast "
                                   "\"address\" each\n"))
        << groups;
  }
  EXPECT_THAT(Report("MLD", "IF_LIST", R"("Name": "MLD_10_3", "version": 3)"),
              ElementsAre(R"(vlans.json: MLD:10: "version" of "MLD_10_3" must be a number of 1 to )"
                          "2\n"));
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowColumns, ARouterWithVlanIdAndIp6BitKeepsItsTablesApart) {
  Reload(R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 32778,
      "OSPF": {"IF_LIST": {"i": {"Name": "OSPF_32778_3"}}},
      "OSPFV3": {"IF_LIST": {"i": {"Name": "OSPF_32778_3", "cost": 5}}}}}})",
         "vlans.json");
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), ElementsAre("32778 3 \"3.0.0\" \"area=0.0.0.0 cost=10 priority=1 hello=10 "
                                  "dead=40\" up",
                                  "32778 5 \"3.0.0\" \"area=0.0.0.0 cost=5 priority=1 hello=10 "
                                  "dead=40\" up"));
}

}  // namespace
