// The five row writes: what they log and what they ask of the routing stack.
#include "vantacore/mib_action.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "tests/support/device_fixture.h"

namespace Tarsel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MibActionTest : public test_support::DeviceFixture {
 protected:
  void Issue(MibAction& action, bool shared) {
    traces.Take();
    TakeCalls();
    action.IssueReq(shared);
  }
  std::vector<std::string> Detail() { return traces.AtLevel(5); }
};

CfgRouteEntry Route4() {
  CfgRouteEntry entry;
  entry.type = 1;
  const unsigned char destination[] = {10, 9, 0, 0};
  const unsigned char gateway[] = {10, 1, 2, 1};
  std::copy_n(destination, 4, entry.destination);
  std::copy_n(gateway, 4, entry.gateway);
  entry.prefixLen = 16;
  entry.ifIndex = 3;
  entry.metric = 6;
  entry.other = 99;
  entry.pathType = 0x30000;
  entry.rowStatus = 1;
  entry.adminStatus = 2;
  return entry;
}

CfgRouteEntry Route6() {
  CfgRouteEntry entry = Route4();
  entry.type = 2;
  const unsigned char destination[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 9};
  const unsigned char gateway[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  std::copy_n(destination, 16, entry.destination);
  std::copy_n(gateway, 16, entry.gateway);
  entry.prefixLen = 48;
  return entry;
}

TEST_F(MibActionTest, RouteTellsTheStackOneWhenItIsNotShared) {
  CfgRouteEntry entry = Route4();
  RouteAction action(entry, 10);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_update_route(1, 1, 2, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                                   "3, 10, 6)"));
  EXPECT_THAT(Detail(), ElementsAre("Vlan = 10 if_index = 3 ipaddr = 10.9.0.0/16 gw = 10.1.2.1 "
                                    "metric = 6 path_type = 196608 row status = 1 admin_status = "
                                    "2\n"));
}

TEST_F(MibActionTest, RouteTellsTheStackZeroWhenItIsShared) {
  CfgRouteEntry entry = Route4();
  RouteAction action(entry, 10);
  Issue(action, true);
  EXPECT_THAT(Calls(), ElementsAre("sms_update_route(0, 1, 2, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                                   "3, 10, 6)"));
}

TEST_F(MibActionTest, Ip6RouteGoesToTheIp6Instance) {
  CfgRouteEntry entry = Route6();
  RouteAction action(entry, 10);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_update_route(1, 1, 2, 2, 2001:db8:9::, 48, 2001:db8::1, "
                                   "196608, 3, 32778, 6)"));
  EXPECT_THAT(Detail(), ElementsAre("Vlan = 10 if_index = 3 ipaddr = 2001:db8:9::/48 gw = "
                                    "2001:db8::1 metric = 6 path_type = 196608 row status = 1 "
                                    "admin_status = 2\n"));
}

TEST_F(MibActionTest, RouteOfAnyTypeButOneIsIp6) {
  CfgRouteEntry entry = Route6();
  entry.type = 0;
  RouteAction action(entry, 10);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_update_route(1, 1, 2, 0, 2001:db8:9::, 48, 2001:db8::1, "
                                   "196608, 3, 32778, 6)"));
}

TEST_F(MibActionTest, RouteOfTypeOneTakesFourBytesOfAnAddress) {
  CfgRouteEntry entry = Route4();
  std::fill_n(entry.destination + 4, 12, static_cast<unsigned char>(0xEE));
  std::fill_n(entry.gateway + 4, 12, static_cast<unsigned char>(0xEE));
  const RouteAction action(entry, 10);
  CfgRouteEntry copy;  // what an action carries
  std::memcpy(static_cast<void*>(&copy), reinterpret_cast<const char*>(&action) + sizeof(void*),
              sizeof copy);
  const unsigned char destination[16] = {10, 9, 0, 0};
  const unsigned char gateway[16] = {10, 1, 2, 1};
  EXPECT_TRUE(std::equal(destination, destination + 16, copy.destination));
  EXPECT_TRUE(std::equal(gateway, gateway + 16, copy.gateway));
}

TEST_F(MibActionTest, RouteTextsOfTypeOneComeFromFourBytes) {
  CfgRouteEntry entry = Route4();
  std::fill_n(entry.destination + 4, 12, static_cast<unsigned char>(0xEE));
  std::fill_n(entry.gateway + 4, 12, static_cast<unsigned char>(0xEE));
  EXPECT_EQ(entry.Format(entry.destination), "10.9.0.0");
  RouteAction action(entry, 10);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_update_route(1, 1, 2, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                                   "3, 10, 6)"));
  EXPECT_TRUE(traces.Contains(" ipaddr = 10.9.0.0/16 gw = 10.1.2.1 "));
}

TEST_F(MibActionTest, RouteHasItsOwnCopy) {
  CfgRouteEntry entry = Route4();
  RouteAction action(entry, 10);
  entry = Route6();
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_update_route(1, 1, 2, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                                   "3, 10, 6)"));
}

TEST_F(MibActionTest, RouteOfALargeVlanNumberUsesItsLowBitsButLogsAll) {
  CfgRouteEntry entry = Route4();
  entry.metric = 65535;
  entry.rowStatus = 6;
  RouteAction action(entry, 0x1000AUL);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_update_route(1, 6, 2, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                                   "3, 10, 65535)"));
  EXPECT_TRUE(traces.Contains("Vlan = 65546 if_index"));
}

TEST_F(MibActionTest, InterfaceIndicesAre32BitsWide) {
  CfgRouteEntry entry = Route4();
  entry.ifIndex = 4294967293U;
  RouteAction route(entry, 10);
  Issue(route, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_update_route(1, 1, 2, 1, 10.9.0.0, 16, 10.1.2.1, 196608, "
                                   "4294967293, 10, 6)"));
  EXPECT_TRUE(traces.Contains(" if_index = 4294967293 "));

  InterfaceAction interface(4, 1, 10, 65539, "eth0", 70001, 24, 70002);
  Issue(interface, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_interface(4, 1, 10, 65539, \"eth0\", 70001, 24, "
                                   "70002)"));
  EXPECT_TRUE(traces.Contains(" if_index = 65539 "));

  IPv4AddressAction address4(1, 7, 65539, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
  Issue(address4, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_ipaddr(1, 7, 1, 65539, 10.1.2.3, 24)"));
  EXPECT_TRUE(traces.Contains(" if_index = 65539 "));
}

TEST_F(MibActionTest, InterfaceUsesTwoFunctions) {
  InterfaceAction action(4, 1, 0x800A, 3, "eth0", 7, 24, 1500);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_interface(4, 1, 32778, 3, \"eth0\", 7, 24, 1500)"));
  EXPECT_THAT(Detail(),
              ElementsAre("InterfaceAction: shared_context = 0 row_status = 4 oper_status "
                          "= 1 vlan = 32778 if_index = 3 if_name = eth0\n"));
  Issue(action, true);
  EXPECT_THAT(Calls(),
              ElementsAre("sms_bld_amb_test_i3_ei(4, 1, 32778, 3, \"eth0\", 7, 24, 1500)"));
  EXPECT_TRUE(traces.Contains("InterfaceAction: shared_context = 1 row_status"));
}

TEST_F(MibActionTest, InterfaceFlagsAre32BitsWide) {
  InterfaceAction action(-1L, 2, 10, 3, "eth0", 0, static_cast<long>(0xFFFFFFFFUL), 0);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_interface(-1, 2, 10, 3, \"eth0\", 0, 4294967295, 0)"));
  EXPECT_TRUE(traces.Contains("row_status = -1 oper_status = 2 "));
}

TEST_F(MibActionTest, InterfaceNamesAreCutAt255Characters) {
  const std::string longest(255, 'n');
  InterfaceAction fits(4, 1, 10, 3, longest.c_str(), 0, 0, 0);
  Issue(fits, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_interface(4, 1, 10, 3, \"" + longest + "\", 0, 0, 0)"));
  InterfaceAction tooLong(4, 1, 10, 3, (longest + "mm").c_str(), 0, 0, 0);
  Issue(tooLong, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_interface(4, 1, 10, 3, \"" + longest + "\", 0, 0, 0)"));
}

TEST_F(MibActionTest, InterfaceWithoutANameHasTheEmptyOne) {
  InterfaceAction action(4, 1, 10, 3, nullptr, 0, 0, 0);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_interface(4, 1, 10, 3, \"\", 0, 0, 0)"));
}

TEST_F(MibActionTest, DefaultInterfaceIsAllZero) {
  InterfaceAction action;
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_interface(0, 0, 0, 0, \"\", 0, 0, 0)"));
}

TEST_F(MibActionTest, Ip4AddressCarriesTheVlanAndTheMasksLength) {
  IPv4AddressAction action(1, 7, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 0));
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_ipaddr(1, 7, 1, 3, 10.1.2.3, 24)"));
  EXPECT_THAT(Detail(), ElementsAre("AddressAction: shared_context = 0 row_status = 1 vlan = 7 "
                                    "if_index = 3 address = 10.1.2.3\n"));
}

TEST_F(MibActionTest, Ip4AddressSharedReachesTheLogOnly) {
  IPv4AddressAction action(6, 0x8007, 3, Ip4Addr(10, 1, 2, 3), Ip4Addr(255, 255, 255, 255));
  Issue(action, true);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_ipaddr(6, 32775, 1, 3, 10.1.2.3, 32)"));
  EXPECT_THAT(Detail(), ElementsAre("AddressAction: shared_context = 1 row_status = 6 vlan = 32775 "
                                    "if_index = 3 address = 10.1.2.3\n"));
}

TEST_F(MibActionTest, DefaultIp4AddressIsAllZero) {
  IPv4AddressAction action;
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_ipaddr(0, 0, 1, 0, 0.0.0.0, 0)"));
}

TEST_F(MibActionTest, Ip6AddressGoesToTheIp6InstanceWithoutAWord) {
  Ip6Addr address;
  ASSERT_TRUE(address.FromString("2001:db8::3"));
  IPv6AddressAction action(1, 7, 3, address, 64);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_ipaddr(1, 32775, 2, 3, 2001:db8::3, 64)"));
  EXPECT_THAT(Detail(), IsEmpty());
  Issue(action, true);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_ipaddr(1, 32775, 2, 3, 2001:db8::3, 64)"));
  EXPECT_THAT(Detail(), IsEmpty());
}

TEST_F(MibActionTest, Ip6AddressOfAnIp6InstanceStaysThere) {
  IPv6AddressAction action(1, 0x8007, 3, Ip6Addr(), 128);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_ipaddr(1, 32775, 2, 3, ::, 128)"));
}

TEST_F(MibActionTest, DefaultIp6AddressIsAllZero) {
  IPv6AddressAction action;
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_ipaddr(0, 32768, 2, 0, ::, 0)"));
}

TEST_F(MibActionTest, RedistributionUsesTwoFunctionsAndSendsNeitherPriorityNorExtra) {
  RedistAction action(1, 2, 0x30000, 0xD0000, 5, 0x800A, 77);
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_cipr_redist(1, 2, 196608, 851968, 32778, 0)"));
  EXPECT_THAT(Detail(), ElementsAre("Redist context = 0 vlan = 32778 dest = 0x0xd0000 src = "
                                    "0x0x30000 pri = 0x0x5 row_status = 1 admin_status = 2\n"));
  Issue(action, true);
  EXPECT_THAT(Calls(), ElementsAre("sms_bld_amb_test_cipr_redist(1, 2, 196608, 851968, 32778, 0)"));
  EXPECT_TRUE(traces.Contains("Redist context = 1 vlan = "));
}

TEST_F(MibActionTest, RedistributionLogsZeroCodesAsPointersOfTheirOwnKind) {
  RedistAction action(6, 2, 0x20000, static_cast<int>(0xFFFFFFFFU), 0, 4, 0);
  Issue(action, false);
  EXPECT_THAT(Detail(), ElementsAre("Redist context = 0 vlan = 4 dest = 0x0xffffffff src = "
                                    "0x0x20000 pri = 0x(nil) row_status = 6 admin_status = 2\n"));
}

TEST_F(MibActionTest, DefaultRedistributionNamesVlanOne) {
  RedistAction action;
  Issue(action, false);
  EXPECT_THAT(Calls(), ElementsAre("sms_act_cipr_redist(0, 0, 0, 0, 1, 0)"));
}

}  // namespace
}  // namespace Tarsel
