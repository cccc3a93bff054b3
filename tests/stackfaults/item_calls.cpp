// The rows that are answered with a status: static routes and redistribution rules.

#include <cstdint>

#include "tests/stackfaults/item_call.h"
#include "tests/support/trace_texts.h"
#include "vantacore/dcrouter_api.h"

namespace stackfaults {

using Tarsel::Ip4Addr;
using Tarsel::Ip6Prefix;

namespace {

// --- static routes ---

enum Use { ADDED, ADDED_IP6, REMOVED_AGAIN, WAITING };

template <Use USE>
class RouteCall : public ItemCall {
 protected:
  static constexpr bool IP6 = USE == ADDED_IP6;

  void Establish() override {
    Subject::Establish();
    if (IsRemoval()) {
      Add();
      Quiet();
    }
  }

  void Add() {
    if (IP6) {
      Tarsel::AddRoute(10, Address6("::"), Ip6Prefix(Address6("2001:db8:9::"), 48),
                       Address6("2001:db8::1"), 3, 5, Tarsel::PATH_TYPE_STATIC, 1);
    } else {
      Tarsel::AddRoute(10, DESTINATION, MASK, GATEWAY, 3, 5, Tarsel::PATH_TYPE_STATIC, 1);
    }
  }

  void Ask() override {
    if (IsRemoval()) {
      Tarsel::RemoveRoute(10, DESTINATION, MASK, GATEWAY, 3);
    } else {
      Add();
    }
  }

  bool IsRemoval() const override { return USE == REMOVED_AGAIN; }
  bool Waits() const override { return USE == WAITING; }
  RowType Type() const override { return RowType::kRoute; }
  std::size_t OtherRows() const override { return 1; }

  std::string RowText() const override {
    return IP6 ? "rib 32778 2001:db8:9::/48 " : "rib 10 10.9.0.0/16 ";
  }

  Lines Request(bool waited) const override {
    const std::string first = waited ? "> sms_update_route(0, " : "> sms_update_route(1, ";
    if (IP6) {
      return {
          "5 Vlan = 10 if_index = 3 ipaddr = 2001:db8:9::/48 gw = 2001:db8::1 metric = 5 "
          "path_type = 196608 row status = 1 admin_status = 1",
          first + "1, 1, 2, 2001:db8:9::, 48, 2001:db8::1, 196608, 3, 32778, 5)"};
    }
    if (IsRemoval()) {
      return {
          "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 metric = 0 path_type = 0 "
          "row status = 6 admin_status = 2",
          first + "6, 2, 1, 10.9.0.0, 16, 10.1.2.1, 0, 3, 10, 0)"};
    }
    return {
        "5 Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 metric = 5 path_type = "
        "196608 row status = 1 admin_status = 1",
        first + "1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, 10, 5)"};
  }

  Words Said() const override {
    return {std::string("10 Route Update Response from Metaswitch: vlan = 10, dest= ") +
                (IP6 ? "2001:db8:9::/48 nexthop: 2001:db8::1" : "10.9.0.0/16 nexthop: 10.1.2.1"),
            test_support::ROUTE_DONE, test_support::ROUTE_AGAIN, test_support::ROUTE_NEVER};
  }

  Oid RowOid() const override {
    Oid oid(SMS_OID_MAX);
    oid.resize(sms_get_route_oid(oid.data(), Instance(), Type1Or2(), Destination(), Length(),
                                 NextHop(), 3));
    return oid;
  }

  void Report(unsigned int status) override {
    const int metric = IsRemoval() ? 0 : 5;
    const int pathType = IsRemoval() ? 0 : static_cast<int>(Tarsel::PATH_TYPE_STATIC);
    cSetRouteState(Instance(), Type1Or2(), Destination(), Length(), NextHop(), 3, metric, pathType,
                   IsRemoval() ? 6 : 1, IsRemoval() ? 2 : 1, 0, status);
  }

 private:
  static unsigned short Instance() { return IP6 ? 0x800A : 10; }
  static int Type1Or2() { return IP6 ? 2 : 1; }
  static unsigned int Length() { return IP6 ? 48 : 16; }
  static const unsigned char* Destination() {
    static const unsigned char IP4_BYTES[4] = {10, 9, 0, 0};
    static const unsigned char IP6_BYTES[16] = {0x20, 1, 0xd, 0xb8, 0, 9};
    return IP6 ? IP6_BYTES : IP4_BYTES;
  }
  static const unsigned char* NextHop() {
    static const unsigned char IP4_BYTES[4] = {10, 1, 2, 1};
    static const unsigned char IP6_BYTES[16] = {0x20, 1, 0xd, 0xb8, 0, 0, 0, 0,
                                                0,    0, 0,   0,    0, 0, 0, 1};
    return IP6 ? IP6_BYTES : IP4_BYTES;
  }

  const Ip4Addr DESTINATION{10, 9, 0, 0};
  const Ip4Addr MASK{255, 255, 0, 0};
  const Ip4Addr GATEWAY{10, 1, 2, 1};
};

// --- redistribution rules ---

template <Use USE>
class RuleCall : public ItemCall {
 protected:
  static constexpr unsigned int STATIC = 0x30000;
  static constexpr unsigned int OSPF = 0xD0000;

  void Establish() override {
    Subject::Establish();
    if (IsRemoval()) {
      Change(true);
      Quiet();
    }
  }

  void Change(bool isOn) {
    Tarsel::DcRtmMgr::GetInstance()->HandleRedistributionStatusChange(10, STATIC, OSPF, !isOn,
                                                                      isOn);
  }

  void Ask() override { Change(!IsRemoval()); }

  bool IsRemoval() const override { return USE == REMOVED_AGAIN; }
  bool Waits() const override { return USE == WAITING; }
  RowType Type() const override { return RowType::kRedistribution; }
  std::size_t OtherRows() const override { return 0; }

  std::string RowText() const override { return "redistribution 10 196608 851968 "; }

  Lines Request(bool waited) const override {
    const std::string status =
        IsRemoval() ? "row_status = 6 admin_status = 2" : "row_status = 1 admin_status = 1";
    return {std::string("5 Redist context = ") + (waited ? "1" : "0") +
                " vlan = 10 dest = 0x0xd0000 src = 0x0x30000 pri = 0x(nil) " + status,
            std::string(waited ? "> sms_bld_amb_test_cipr_redist(" : "> sms_act_cipr_redist(") +
                (IsRemoval() ? "6, 2" : "1, 1") + ", 196608, 851968, 10, 0)"};
  }

  Words Said() const override {
    return {std::string("10 Redistribution Response from Metaswitch: vlan=10 src=196608 dst=851968 "
                        "status=") +
                (IsRemoval() ? "6" : "1"),
            test_support::REDISTRIBUTION_DONE, test_support::REDISTRIBUTION_AGAIN,
            test_support::REDISTRIBUTION_NEVER};
  }

  Oid RowOid() const override {
    Oid oid(SMS_OID_MAX);
    oid.resize(sms_set_cipr_redist_oid(oid.data(), 10, STATIC, OSPF));
    return oid;
  }

  void Report(unsigned int status) override {
    cSetRedistState(IsRemoval() ? 6 : 1, IsRemoval() ? 2 : 1, STATIC, OSPF, 0, 10, 0, status);
  }
};

}  // namespace

testing::Test* AddedRoute(Fault fault) { return new Trial<RouteCall<ADDED>>(fault); }
testing::Test* AddedIp6Route(Fault fault) { return new Trial<RouteCall<ADDED_IP6>>(fault); }
testing::Test* RemovedRoute(Fault fault) { return new Trial<RouteCall<REMOVED_AGAIN>>(fault); }
testing::Test* WaitingRoute(Fault fault) { return new Trial<RouteCall<WAITING>>(fault); }
testing::Test* AddedRule(Fault fault) { return new Trial<RuleCall<ADDED>>(fault); }
testing::Test* RemovedRule(Fault fault) { return new Trial<RuleCall<REMOVED_AGAIN>>(fault); }
testing::Test* WaitingRule(Fault fault) { return new Trial<RuleCall<WAITING>>(fault); }

}  // namespace stackfaults
