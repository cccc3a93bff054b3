#include <gmock/gmock.h>

#include <string>

#include "tests/models/scripted_item.h"
#include "tests/support/device_fixture.h"
#include "tests/support/failing_new.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int STATIC = 0x30000;
constexpr int BGP = 0xE0000;

class PlainRouter : public DcRouterBase {
 public:
  PlainRouter() : DcRouterBase("PLAIN", 10, nullptr) {}
  bool CreateConfigList(DcConfigLists&) override { return true; }
};

std::string Print(const CfgItem& item) {
  test_models::TextConsole console;
  item.PrintItem(&console);
  return console.text;
}

class RedistributeItemTest : public test_support::DeviceFixture {
 protected:
  /// A running stack and VLAN 10 with routers none of which is ready.
  void SetUp() override {
    Start();
    Reload(R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})", "vlans.json");
    ASSERT_TRUE(Settle());
    auto& routers = Manager().GetVlans().at(10)->routers;
    for (auto& entry : routers) {
      delete entry.second;
      entry.second = new PlainRouter;
    }
    TakeCalls();
    traces.Take();
  }
  void SetRouterReady(DcRouterMgr::ProtocolType type) {
    Manager().GetDcRouterByVID(10, type)->SetStatus(DcProtoInterfaceBase::READY);
  }
  /// The one router whose readiness makes a rule of this instance and destination ready.
  std::vector<int> RoutersAsked(unsigned int instance, int destination) {
    std::vector<int> types;
    for (int type = 0; type < DcRouterMgr::PROTOCOL_COUNT; ++type) {
      DcRouterBase* router =
          Manager().GetDcRouterByVID(10, static_cast<DcRouterMgr::ProtocolType>(type));
      router->SetStatus(DcProtoInterfaceBase::READY);
      if (RouteRedistributeItem(1, 1, STATIC, destination, 0, instance, 0).CfgItemReady()) {
        types.push_back(type);
      }
      router->SetStatus(DcProtoInterfaceBase::ENABLED);
    }
    return types;
  }
};

TEST_F(RedistributeItemTest, AsksTheDestinationsRouterOfItsFamily) {
  EXPECT_THAT(RoutersAsked(10, PROTOCOL_CODE_OSPF), ElementsAre(DcRouterMgr::PROTOCOL_OSPFV2));
  EXPECT_THAT(RoutersAsked(10, PROTOCOL_CODE_RIP), ElementsAre(DcRouterMgr::PROTOCOL_RIPV2));
  EXPECT_THAT(RoutersAsked(10, BGP), ElementsAre(DcRouterMgr::PROTOCOL_BGP));
  EXPECT_THAT(RoutersAsked(0x800A, PROTOCOL_CODE_OSPF), ElementsAre(DcRouterMgr::PROTOCOL_OSPFV3));
  EXPECT_THAT(RoutersAsked(0x800A, PROTOCOL_CODE_RIP), ElementsAre(DcRouterMgr::PROTOCOL_RIPNG));
  EXPECT_THAT(RoutersAsked(0x800A, BGP), ElementsAre(DcRouterMgr::PROTOCOL_BGP));
}

TEST_F(RedistributeItemTest, AnyOtherDestinationIsBgp) {
  EXPECT_THAT(RoutersAsked(10, 0), ElementsAre(DcRouterMgr::PROTOCOL_BGP));
  EXPECT_THAT(RoutersAsked(10, 0xD0001), ElementsAre(DcRouterMgr::PROTOCOL_BGP));
  EXPECT_THAT(RoutersAsked(10, -1), ElementsAre(DcRouterMgr::PROTOCOL_BGP));
}

TEST_F(RedistributeItemTest, AVlanBeyond4095IsNoOther) {
  EXPECT_THAT(RoutersAsked(0x100A, BGP), IsEmpty());
}

TEST_F(RedistributeItemTest, AVlanWithoutRoutersIsNotReady) {
  DcRtmMgr::GetInstance()->SetRtmReady(99);
  RouteRedistributeItem item(1, 1, STATIC, BGP, 0, 99, 0);
  EXPECT_TRUE(item.CfgListReady());
  EXPECT_FALSE(item.CfgItemReady());
  EXPECT_TRUE(item.RemoveOnNotReady());
}

TEST_F(RedistributeItemTest, ListReadinessIsTheInstancesAsItIs) {
  DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  RouteRedistributeItem ip4(1, 1, STATIC, BGP, 0, 20, 0);
  RouteRedistributeItem ip6(1, 1, STATIC, BGP, 0, 0x8014, 0);
  EXPECT_FALSE(ip4.CfgListReady());
  EXPECT_FALSE(ip4.RemoveOnNotReady());
  rtm->CreateRTMInstance(20, 0, DcRtmMgr::RTMData());
  EXPECT_FALSE(ip4.CfgListReady());
  EXPECT_TRUE(ip4.RemoveOnNotReady());  // whatever the ready flag
  EXPECT_FALSE(ip6.RemoveOnNotReady());
  rtm->SetRtmReady(20);
  EXPECT_TRUE(ip4.CfgListReady());
  EXPECT_FALSE(ip6.CfgListReady());
  rtm->SetRtmReady(0x8014);
  EXPECT_TRUE(ip6.CfgListReady());
  EXPECT_TRUE(ip6.RemoveOnNotReady());
}

TEST_F(RedistributeItemTest, KeepsTheOtherBaseAnswers) {
  RouteRedistributeItem item(1, 1, STATIC, BGP, 0, 10, 0);
  EXPECT_EQ(CfgItem::NEW, item.GetActionState());
  EXPECT_TRUE(item.Replace(nullptr));
  EXPECT_FALSE(item.IsInFlight(10, 1));
}

TEST_F(RedistributeItemTest, IdentifierIsTheStacksOwn) {
  unsigned int subIds[SMS_OID_MAX];
  const unsigned int count = sms_set_cipr_redist_oid(subIds, 0x800A, STATIC, BGP);
  RouteRedistributeItem item(6, 2, STATIC, BGP, 5, 0x800A, 9);
  EXPECT_TRUE(item.GetOid() == MibOid(subIds, count));
  RouteRedistributeItem sameRow(1, 1, STATIC, BGP, 0, 0x800A, 0);
  EXPECT_TRUE(item.GetOid() == sameRow.GetOid());
  RouteRedistributeItem ip4(1, 1, STATIC, BGP, 0, 10, 0);
  EXPECT_TRUE(item.GetOid() != ip4.GetOid());
}

TEST_F(RedistributeItemTest, PrintsEveryField) {
  RouteRedistributeItem item(1, 2, STATIC, PROTOCOL_CODE_OSPF, 0x1F, 0x800A, 3);
  EXPECT_EQ(
      "RedistItem: Instance(32778) Dest(0xd0000) Src(0x30000) Priority(0x1f) RowStatus(1) "
      "AdminStatus(2) ActionState(New) ReasonCode(0)\n",
      Print(item));
  item.SetActionState(CfgItem::ISSUED);
  item.SetReasonCode(3);
  EXPECT_EQ(
      "RedistItem: Instance(32778) Dest(0xd0000) Src(0x30000) Priority(0x1f) RowStatus(1) "
      "AdminStatus(2) ActionState(Issued) ReasonCode(3)\n",
      Print(item));
}

TEST_F(RedistributeItemTest, DefaultNamesInstanceOne) {
  EXPECT_EQ(
      "RedistItem: Instance(1) Dest(0x0) Src(0x0) Priority(0x0) RowStatus(0) AdminStatus(0) "
      "ActionState(New) ReasonCode(0)\n",
      Print(RouteRedistributeItem()));
}

TEST_F(RedistributeItemTest, SendIssuesTheRowAndMarksTheItem) {
  RouteRedistributeItem item(1, 2, STATIC, BGP, 5, 10, 9);
  item.Send();
  EXPECT_EQ(CfgItem::ISSUED, item.GetActionState());
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_cipr_redist(1, 2, 196608, 917504, 10, 0)"));
  EXPECT_TRUE(traces.Contains("pri = 0x0x5"));  // the row has none, the log shows the item's
}

TEST_F(RedistributeItemTest, SendUsesTheRowsQueue) {
  RouteRedistributeItem item(1, 1, STATIC, BGP, 0, 10, 0);
  item.Send();
  TakeCalls();
  RouteRedistributeItem second(6, 2, STATIC, BGP, 0, 10, 0);
  second.Send();
  EXPECT_THAT(TakeCalls(), IsEmpty());
  MibOid oid = second.GetOid();
  Manager().GetSerializer().RunPendingAction(const_cast<unsigned int*>(oid.GetSubIds()),
                                             oid.GetLength());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_bld_amb_test_cipr_redist(6, 2, 196608, 917504, 10, 0)"));
}

TEST_F(RedistributeItemTest, SendWithoutMemoryLeavesTheItemNew) {
  RouteRedistributeItem item(1, 2, STATIC, BGP, 0, 10, 0);
  {
    test_support::FailingNew failing(1);
    item.Send();
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(CfgItem::NEW, item.GetActionState());
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

class RedistributeScheduling : public RedistributeItemTest {
 protected:
  void Insert(unsigned int vlan) {
    Manager().GetCfgSched().Insert({vlan, ROW_TYPE_REDISTRIBUTION},
                                   new RouteRedistributeItem(1, 1, STATIC, BGP, 0, vlan, 0));
  }
  void Tick() { Manager().GetCfgSched().OnTimeout(0, nullptr); }
  std::string Pending() {
    test_models::TextConsole console;
    Manager().GetCfgSched().Print(&console);
    return console.text;
  }
};

TEST_F(RedistributeScheduling, ARuleWaitsForTheRecordAndIsSentWhenItsRouterIsReady) {
  DcRtmMgr::GetInstance()->DeleteRTMInstance(10, 0);
  TakeCalls();
  SetRouterReady(DcRouterMgr::PROTOCOL_BGP);
  Insert(10);
  Tick();
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_NE("", Pending());
  DcRtmMgr::GetInstance()->SetRtmReady(10);
  Tick();
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_cipr_redist(1, 1, 196608, 917504, 10, 0)"));
  EXPECT_NE(std::string::npos, Pending().find("ActionState(Issued)"));
}

TEST_F(RedistributeScheduling, ARuleWhoseRouterIsNotReadyIsDropped) {
  Insert(10);
  Tick();
  EXPECT_THAT(TakeCalls(), IsEmpty());
  EXPECT_EQ("", Pending());
}

TEST_F(RedistributeScheduling, ARuleOfARecordThatIsNotReadyWaits) {
  DcRtmMgr::GetInstance()->CreateRTMInstance(21, 0, DcRtmMgr::RTMData());
  Insert(21);
  Tick();
  EXPECT_NE("", Pending());
}

}  // namespace
}  // namespace Tarsel
