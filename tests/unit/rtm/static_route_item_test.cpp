#include <gmock/gmock.h>

#include <climits>
#include <memory>
#include <string>

#include "tests/models/scripted_item.h"
#include "tests/support/device_fixture.h"
#include "tests/support/failing_new.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const unsigned char DEST4[] = {10, 9, 0, 0};
const unsigned char HOP4[] = {10, 1, 2, 1};
const unsigned char DEST6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 9};
const unsigned char HOP6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

std::unique_ptr<StaticRouteItem> Item4(unsigned int metric = 5, int rowStatus = 1) {
  return std::make_unique<StaticRouteItem>(10, 1, rowStatus, 1, DEST4, 16, HOP4, 3, metric,
                                           PATH_TYPE_STATIC, 0);
}

std::unique_ptr<StaticRouteItem> Item6() {
  return std::make_unique<StaticRouteItem>(10, 2, 1, 2, DEST6, 48, HOP6, 4, 7, 0, 0);
}

std::string Print(const CfgItem& item) {
  test_models::TextConsole console;
  item.PrintItem(&console);
  return console.text;
}

class StaticRouteItemTest : public test_support::DeviceFixture {
 protected:
  /// The stack is there and ready for requests.
  void MakeReady() {
    Start();
    ASSERT_TRUE(Settle());
    TakeCalls();
    traces.Take();
  }
  void SetRtmReady(unsigned short instance) { DcRtmMgr::GetInstance()->SetRtmReady(instance); }
};

TEST_F(StaticRouteItemTest, StartsNew) {
  EXPECT_EQ(CfgItem::NEW, Item4()->GetActionState());
  EXPECT_EQ(0U, Item4()->GetReasonCode());
  EXPECT_EQ(0U, Item4()->GetRetryCount());
}

TEST_F(StaticRouteItemTest, WaitsForTheInstanceOfItsOwnFamily) {
  const auto item4 = Item4();
  const auto item6 = Item6();
  EXPECT_FALSE(item4->CfgListReady());
  EXPECT_FALSE(item6->CfgListReady());
  SetRtmReady(10);
  EXPECT_TRUE(item4->CfgListReady());
  EXPECT_TRUE(item4->CfgItemReady());
  EXPECT_FALSE(item6->CfgListReady());
  EXPECT_FALSE(item6->CfgItemReady());
  SetRtmReady(0x800A);
  EXPECT_TRUE(item6->CfgListReady());
  EXPECT_TRUE(item6->CfgItemReady());
}

TEST_F(StaticRouteItemTest, ARecordThatIsNotReadyIsNotEnough) {
  DcRtmMgr::GetInstance()->CreateRTMInstance(10, 0, DcRtmMgr::RTMData());
  EXPECT_FALSE(Item4()->CfgListReady());
  SetRtmReady(10);
  EXPECT_TRUE(Item4()->CfgListReady());
}

class NeverReady : public StaticRouteItem {
 public:
  NeverReady() : StaticRouteItem(10, 1, 1, 1, DEST4, 16, HOP4, 3, 5, PATH_TYPE_STATIC, 0) {}
  bool CfgListReady() override { return false; }
};

TEST_F(StaticRouteItemTest, ItemReadinessIsListReadinessAsOverridden) {
  SetRtmReady(10);
  EXPECT_FALSE(NeverReady().CfgItemReady());
}

TEST_F(StaticRouteItemTest, KeepsTheBaseAnswers) {
  const auto item = Item4();
  EXPECT_TRUE(item->Replace(nullptr));
  EXPECT_FALSE(item->RemoveOnNotReady());
  EXPECT_FALSE(item->IsInFlight(10, 3));
  item->SetInMib(true, 1);
  EXPECT_EQ(CfgItem::NEW, item->GetActionState());
}

TEST_F(StaticRouteItemTest, IdentifierIsTheStacksOwn) {
  unsigned int subIds[SMS_OID_MAX];
  unsigned int count = sms_get_route_oid(subIds, 10, 1, DEST4, 16, HOP4, 3);
  ASSERT_GT(count, 0U);
  EXPECT_TRUE(Item4()->GetOid() == MibOid(subIds, count));
  count = sms_get_route_oid(subIds, 0x800A, 2, DEST6, 48, HOP6, 4);
  EXPECT_TRUE(Item6()->GetOid() == MibOid(subIds, count));
}

TEST_F(StaticRouteItemTest, IdentifierIsKeptInTheItem) {
  const auto item = Item4();
  const MibOid* first = &item->GetOid();
  const MibOid copy = *first;
  EXPECT_EQ(first, &item->GetOid());
  EXPECT_TRUE(copy == item->GetOid());
}

TEST_F(StaticRouteItemTest, MetricTypeAndStatusAreNotPartOfTheRow) {
  StaticRouteItem other(10, 1, 6, 2, DEST4, 16, HOP4, 3, 200, 0, 1);
  EXPECT_TRUE(Item4()->GetOid() == other.GetOid());
}

TEST_F(StaticRouteItemTest, EveryOtherFieldIsPartOfTheRow) {
  const MibOid oid = Item4()->GetOid();
  const unsigned char other[] = {10, 9, 0, 1};
  EXPECT_TRUE((StaticRouteItem(10, 1, 1, 1, DEST4, 16, HOP4, 65539, 5, 0, 0).GetOid() != oid));
  EXPECT_TRUE((StaticRouteItem(11, 1, 1, 1, DEST4, 16, HOP4, 3, 5, 0, 0).GetOid() != oid));
  EXPECT_TRUE((StaticRouteItem(10, 1, 1, 1, other, 16, HOP4, 3, 5, 0, 0).GetOid() != oid));
  EXPECT_TRUE((StaticRouteItem(10, 1, 1, 1, DEST4, 17, HOP4, 3, 5, 0, 0).GetOid() != oid));
  EXPECT_TRUE((StaticRouteItem(10, 1, 1, 1, DEST4, 16, other, 3, 5, 0, 0).GetOid() != oid));
  EXPECT_TRUE((StaticRouteItem(10, 1, 1, 1, DEST4, 16, HOP4, 4, 5, 0, 0).GetOid() != oid));
  EXPECT_TRUE(Item6()->GetOid() != oid);
}

TEST_F(StaticRouteItemTest, CopiesFourOrSixteenBytes) {
  unsigned char bytes[16];
  std::fill_n(bytes, 16, static_cast<unsigned char>(0x0A));
  StaticRouteItem item(10, 1, 1, 1, bytes, 32, bytes, 3, 5, 0, 0);
  bytes[3] = 0;
  EXPECT_NE(std::string::npos, Print(item).find("Dest(10.10.10.10/32) NextHop(10.10.10.10)"));
  bytes[3] = 0x0A;
  StaticRouteItem long6(10, 2, 1, 1, bytes, 128, bytes, 3, 5, 0, 0);
  EXPECT_NE(std::string::npos, Print(long6).find("Dest(a0a:a0a:a0a:a0a:a0a:a0a:a0a:a0a/128)"));
}

TEST_F(StaticRouteItemTest, MissingAddressesAreZero) {
  StaticRouteItem item(10, 1, 1, 1, nullptr, 0, nullptr, 0, 0, 0, 0);
  EXPECT_NE(std::string::npos, Print(item).find("Dest(0.0.0.0/0) NextHop(0.0.0.0)"));
}

TEST_F(StaticRouteItemTest, PrintsEveryField) {
  const auto item = Item4();
  EXPECT_EQ(
      "StaticRouteItem: vrf(10) Dest(10.9.0.0/16) NextHop(10.1.2.1) Intf(3) metric(5) Type(Static) "
      "RowStatus(1) AdminStatus(1) ActionState(New) ReasonCode(0)\n",
      Print(*item));
  item->SetActionState(CfgItem::ISSUED);
  item->SetReasonCode(5);
  EXPECT_EQ(
      "StaticRouteItem: vrf(10) Dest(10.9.0.0/16) NextHop(10.1.2.1) Intf(3) metric(5) Type(Static) "
      "RowStatus(1) AdminStatus(1) ActionState(Issued) ReasonCode(5)\n",
      Print(*item));
  const auto item6 = Item6();
  item6->SetActionState(static_cast<CfgItem::ACTION_ITEM_STATE>(3));
  EXPECT_EQ(
      "StaticRouteItem: vrf(10) Dest(2001:db8:9::/48) NextHop(2001:db8::1) Intf(4) metric(7) "
      "Type(Other) RowStatus(1) AdminStatus(2) ActionState(Invalid) ReasonCode(0)\n",
      Print(*item6));
}

TEST_F(StaticRouteItemTest, PrintsUnsignedFieldsAsSigned) {
  StaticRouteItem item(UINT_MAX, 1, -1, 1, DEST4, 16, HOP4, UINT_MAX, UINT_MAX, 1, 0);
  item.SetReasonCode(UINT_MAX);
  EXPECT_EQ(
      "StaticRouteItem: vrf(-1) Dest(10.9.0.0/16) NextHop(10.1.2.1) Intf(-1) metric(-1) "
      "Type(Other) "
      "RowStatus(-1) AdminStatus(1) ActionState(New) ReasonCode(-1)\n",
      Print(item));
}

TEST_F(StaticRouteItemTest, SendIssuesTheRowAndMarksTheItem) {
  MakeReady();
  const auto item = Item4();
  item->Send();
  EXPECT_EQ(CfgItem::ISSUED, item->GetActionState());
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, "
                                       "196608, 3, 10, 5)"));
}

TEST_F(StaticRouteItemTest, SendKeepsAllOfTheInterfacesIndex) {
  MakeReady();
  StaticRouteItem item(10, 1, 1, 1, DEST4, 16, HOP4, 65539, 5, PATH_TYPE_STATIC, 0);
  item.Send();
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, "
                                       "196608, 65539, 10, 5)"));
}

TEST_F(StaticRouteItemTest, SendOfAnIp6RouteWithALargeMetricCutsIt) {
  MakeReady();
  StaticRouteItem item(10, 2, 6, 2, DEST6, 48, HOP6, 4, 0x10007, 0, 0);
  item.Send();
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_update_route(1, 6, 2, 2, 2001:db8:9::, 48, "
                                       "2001:db8::1, 0, 4, 32778, 7)"));
}

TEST_F(StaticRouteItemTest, SendsOfOneRowAreSerialized) {
  MakeReady();
  Item4()->Send();
  TakeCalls();
  Item4(6, 6)->Send();
  EXPECT_THAT(TakeCalls(), IsEmpty());
  MibOid oid = Item4()->GetOid();
  Manager().GetSerializer().RunPendingAction(const_cast<unsigned int*>(oid.GetSubIds()),
                                             oid.GetLength());
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_update_route(0, 6, 1, 1, 10.9.0.0, 16, 10.1.2.1, "
                                       "196608, 3, 10, 6)"));
}

TEST_F(StaticRouteItemTest, SendWithoutMemoryLeavesTheItemNew) {
  MakeReady();
  const auto item = Item4();
  {
    test_support::FailingNew failing(1);
    item->Send();
    EXPECT_TRUE(failing.HasFailed());
  }
  EXPECT_EQ(CfgItem::NEW, item->GetActionState());
  EXPECT_THAT(TakeCalls(), IsEmpty());
  item->Send();
  EXPECT_EQ(CfgItem::ISSUED, item->GetActionState());
  EXPECT_EQ(1U, TakeCalls().size());
}

TEST_F(StaticRouteItemTest, TwoRoutesThatDifferInMetricReplaceEachOther) {
  MakeReady();
  CfgSched& sched = Manager().GetCfgSched();
  const CfgKey key = {10, ROW_TYPE_STATIC_ROUTE};
  sched.Insert(key, Item4(5).release());
  sched.Insert(key, Item4(9).release());
  test_models::TextConsole console;
  sched.Print(&console);
  EXPECT_NE(std::string::npos, console.text.find("metric(9)"));
  EXPECT_EQ(std::string::npos, console.text.find("metric(5)"));
  EXPECT_EQ(std::string::npos, console.text.find("Item 1"));
}

TEST_F(StaticRouteItemTest, AnIp6RouteHoldsUpTheIp4RoutesBehindIt) {
  MakeReady();
  SetRtmReady(10);
  CfgSched& sched = Manager().GetCfgSched();
  const CfgKey key = {10, ROW_TYPE_STATIC_ROUTE};
  sched.Insert(key, Item6().release());
  sched.Insert(key, Item4().release());
  sched.OnTimeout(0, nullptr);
  EXPECT_THAT(TakeCalls(), IsEmpty());
  SetRtmReady(0x800A);
  sched.OnTimeout(0, nullptr);
  EXPECT_EQ(2U, TakeCalls().size());
}

}  // namespace
}  // namespace Tarsel
