// Several documents that configure the same router.
#include "tests/unit/routers/router_fixture.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterBase;
using Tarsel::DcRouterMgr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

std::string Rip(int ifIndex, int cost) {
  return R"("RIPV2": {"IF_LIST": {"i": {"Name": "RIP_10_)" + std::to_string(ifIndex) +
         R"(", "cost": )" + std::to_string(cost) + "}}}";
}

const char RIP_WITHOUT_ROWS[] = R"("RIPV2": {"enabled": true})";

// RIP keeps its rows itself; the rules are the same for rows in a router's lists.
class RowSources : public RouterFixture {
 protected:
  void SetUp() override {
    RouterFixture::SetUp();
    Apply(Rip(3, 1));
    TakeRequests();
  }
  void ApplyRemote(const std::string& members, const std::string& fileName = "remote/a.json") {
    LoadRemote(members, fileName);
    ASSERT_TRUE(Settle());
  }
};

TEST_F(RowSources, ARouterOfRipHasNoLists) {
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=1\" up"));
  for (const auto& [name, lists] : Router(DcRouterMgr::PROTOCOL_RIPV2)->GetConfigLists()) {
    EXPECT_THAT(lists->GetLists(), IsEmpty());
  }
}

TEST_F(RowSources, RowsOfRipFollowTheDocument) {
  Apply(Rip(3, 1));
  EXPECT_THAT(TakeRequests(), IsEmpty());
  Apply(Rip(3, 2));
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 6, 1, 1, 10, "3", "cost=2")"));
  Apply(Rip(4, 2));
  EXPECT_THAT(TakeRequests(),
              ElementsAre(R"(1, 6, 6, 2, 10, "3", "")", R"(1, 6, 4, 1, 10, "4", "cost=2")"));
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"4\" \"cost=2\" up"));
}

TEST_F(RowSources, RowsOfRipStayWhenTheyAreWithdrawnOrDisabled) {
  Apply("");
  EXPECT_THAT(Rows(), SizeIs(1));
  Apply(Rip(3, 2));
  Apply(R"("RIPV2": {"enabled": false})");
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=2\" up"));
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 6, 4, 1, 10, "3", "cost=2")"));
}

TEST_F(RowSources, RowsOfRipGoWithTheVlan) {
  Reload("{}", "vlans.json");
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowSources, ARemoteDocumentAddsAndLeavesTheOthersRows) {
  ApplyRemote(Rip(4, 2));
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 6, 4, 1, 10, "4", "cost=2")"));
  ApplyRemote(RIP_WITHOUT_ROWS);
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=1\" up"));
}

TEST_F(RowSources, ARemoteDocumentsRowCountsBeforeTheVlanDocuments) {
  ApplyRemote(Rip(3, 7));
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=7\" up"));
  TakeRequests();
  Apply(Rip(3, 2));
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=7\" up"));
  EXPECT_THAT(ShowIp("rip"), HasSubstr("overridden          cost=2\n"));
}

TEST_F(RowSources, TheLastRemoteDocumentByNameCounts) {
  ApplyRemote(Rip(3, 7), "remote/b.json");
  ApplyRemote(Rip(3, 6), "remote/a.json");
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=7\" up"));
  ApplyRemote(Rip(3, 8), "remote/c.json");
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=8\" up"));
}

TEST_F(RowSources, ARowThatVanishesFromOneDocumentIsWrittenByTheNext) {
  ApplyRemote(Rip(3, 7));
  TakeRequests();
  ApplyRemote(RIP_WITHOUT_ROWS);
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 6, 1, 1, 10, "3", "cost=1")"));
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=1\" up"));
}

TEST_F(RowSources, ARowWhoseDocumentIsWithdrawnIsWrittenByTheNext) {
  ApplyRemote(Rip(3, 7));
  Manager().DeleteOptions("remote/a.json", DclConfigObject::REMOTE_OPTIONS);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=1\" up"));
}

TEST_F(RowSources, AnOverriddenRowGoesWithoutARequest) {
  ApplyRemote(Rip(3, 7));
  TakeRequests();
  Apply(RIP_WITHOUT_ROWS);
  EXPECT_THAT(TakeRequests(), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=7\" up"));
  ApplyRemote(RIP_WITHOUT_ROWS);
  EXPECT_THAT(TakeRequests(), ElementsAre(R"(1, 6, 6, 2, 10, "3", "")"));
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowSources, ARowThatAnotherDocumentTakesOverWhileItLeavesIsWritten) {
  Control().Hold();
  Load(RIP_WITHOUT_ROWS);
  LoadRemote(Rip(3, 7));
  Control().Release();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), ElementsAre("10 6 \"3\" \"cost=7\" up"));
  EXPECT_EQ(ShowIp("rip").find("gone"), std::string::npos);
}

TEST_F(RowSources, ARowThatPassesToADocumentThatDropsItBeforeWritingItGoes) {
  Apply(RIP_WITHOUT_ROWS);
  ApplyRemote(Rip(3, 7));
  Apply(Rip(3, 2));
  LoadRemote(RIP_WITHOUT_ROWS);
  Load(RIP_WITHOUT_ROWS);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(RowSources, AllDocumentsMayGoAtOnce) {
  ApplyRemote(Rip(3, 7));
  Reload("{}", "vlans.json");
  Reload("{}", "remote/a.json", DclConfigObject::REMOTE_OPTIONS);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(Rows(), IsEmpty());
}

std::string Interfaces(int ifIndex, bool enabled) {
  return R"("OSPF": {"INTERFACES": {"i": {"Name": "OSPF_10_)" + std::to_string(ifIndex) +
         R"(", "enabled": )" + (enabled ? "true" : "false") + "}}}";
}

class InterfaceSettings : public RouterFixture {
 protected:
  DcRouterBase* Ospf() { return Router(DcRouterMgr::PROTOCOL_OSPFV2); }
};

TEST_F(InterfaceSettings, TakeSingleInterfacesFromTheProtocol) {
  Apply(Interfaces(3, false));
  Manager().ProcessInterfaceStatusChange(10, 3, 1);
  Manager().ProcessInterfaceStatusChange(10, 4, 1);
  EXPECT_FALSE(Ospf()->IsReady(3));
  EXPECT_TRUE(Ospf()->IsReady(4));
  EXPECT_EQ(ShowIp("ospf").substr(0, 47), "VLAN 10: enabled, ready, 1 of 2 interfaces read");
  Apply(Interfaces(4, false));
  EXPECT_TRUE(Ospf()->IsReady(3));
  EXPECT_FALSE(Ospf()->IsReady(4));
}

TEST_F(InterfaceSettings, OfARemoteDocumentCountBeforeTheVlanDocumentsAndLeaveThem) {
  Apply(Interfaces(3, false));
  Manager().ProcessInterfaceStatusChange(10, 3, 1);
  Manager().ProcessInterfaceStatusChange(10, 4, 1);
  LoadRemote(Interfaces(3, true), "remote/b.json");
  EXPECT_TRUE(Ospf()->IsReady(3));
  LoadRemote(Interfaces(3, false), "remote/a.json");
  EXPECT_TRUE(Ospf()->IsReady(3));
  LoadRemote(Interfaces(4, false), "remote/b.json");
  EXPECT_FALSE(Ospf()->IsReady(3));
  EXPECT_FALSE(Ospf()->IsReady(4));
  Manager().DeleteOptions("remote/a.json", DclConfigObject::REMOTE_OPTIONS);
  Manager().DeleteOptions("remote/b.json", DclConfigObject::REMOTE_OPTIONS);
  EXPECT_FALSE(Ospf()->IsReady(3));
  EXPECT_TRUE(Ospf()->IsReady(4));
}

TEST_F(InterfaceSettings, StayWithADocumentThatComesAsAnotherKind) {
  Apply(Interfaces(3, false));
  Manager().ProcessInterfaceStatusChange(10, 3, 1);
  LoadRemote(Interfaces(3, true), "other.json");
  EXPECT_TRUE(Ospf()->IsReady(3));
  Load(Interfaces(3, true), "other.json", DclConfigObject::VLAN_OPTIONS);
  EXPECT_FALSE(Ospf()->IsReady(3));
}

TEST_F(InterfaceSettings, AreReportedWhenTheyAreWrong) {
  traces.Take();
  Apply(R"("OSPF": {"INTERFACES": [{"Name": "OSPF_11_3"}, {"Name": "OSPF_10_3", )"
        R"("enabled": 0}]})");
  EXPECT_THAT(Skipped(),
              ElementsAre(R"(vlans.json: OSPF:10: "Name" of "OSPF_11_3" must be )"
                          "<protocol>_10_<number>\n",
                          R"(vlans.json: OSPF:10: "enabled" of "OSPF_10_3" must be true or )"
                          "false\n"));
}

TEST_F(InterfaceSettings, AnInterfaceThatIsGoneOrHasNoAddressIsNotReady) {
  Apply(R"("OSPF": {"enabled": true}, "OSPFV3": {"enabled": true})");
  DcRouterBase* const ospf6 = Router(DcRouterMgr::PROTOCOL_OSPFV3);
  Manager().ProcessInterfaceStatusChange(10, 3, 1);
  EXPECT_TRUE(Ospf()->IsReady(3));
  Manager().ProcessIPAddressChange(10, 3, Tarsel::IP4_ANY);
  EXPECT_FALSE(Ospf()->IsReady(3));
  EXPECT_TRUE(ospf6->IsReady(3));
  Manager().ProcessIPAddressChange(10, 3, Tarsel::Ip4Addr(10, 0, 0, 1));
  EXPECT_TRUE(Ospf()->IsReady(3));
  Ospf()->SetInterfaceStatus(3, Tarsel::DcProtoInterfaceBase::IF_GONE);
  EXPECT_FALSE(Ospf()->IsReady(3));
  EXPECT_TRUE(ospf6->IsReady(3));
}

}  // namespace
