// What the control header tells of the calls that the stack receives.

#include "control_test.h"

namespace stack_test {
namespace {

TEST_F(ControlTest, EveryCallIsCountedByKind) {
  control.ResetCounts();
  unsigned int oid[SMS_OID_MAX];
  char filter[] = "3,4";
  const unsigned char address[16] = {};
  amb_cipr_rtm_entity entity = {};
  smsi_init(nullptr);
  nbb_scheduler();
  InvokeCallback(1, 1);
  nbb_trips_control(0);
  nbb_set_ips_filter(filter, 1);
  nbb_get_ips_tracing();
  sms_act_rtm(&entity);
  sms_update_route(1, 1, 1, 1, address, 0, address, 0, 0, 10, 0);
  sms_act_interface(4, 1, 10, 3, "", 0, 0, 0);
  sms_bld_amb_test_i3_ei(4, 1, 10, 3, "", 0, 0, 0);
  sms_act_ipaddr(1, 10, 1, 3, address, 0);
  sms_act_cipr_redist(1, 1, 1, 1, 10, 0);
  sms_bld_amb_test_cipr_redist(1, 1, 1, 1, 10, 0);
  sms_get_route_oid(oid, 10, 1, address, 0, address, 0);
  sms_set_i3_ei_oid(oid, 10, 3);
  sms_set_i3_ea_oid(oid, 10, 3, address, 1);
  sms_set_cipr_redist_oid(oid, 10, 1, 1);
  sms_get_next_i3_ei(10, nullptr, nullptr);
  sms_get_next_i3_ea(10, nullptr, nullptr);
  sms_get_next_rtm_route(nullptr, nullptr);
  sms_get_next_rtm_rib(nullptr, nullptr);
  for (int call = 0; call < static_cast<int>(Call::kProtocolRow); ++call) {
    EXPECT_EQ(1u, control.CountOf(static_cast<Call>(call)))
        << control.NameOf(static_cast<Call>(call));
  }
  EXPECT_EQ(0u, control.CountOf(Call::kProtocolRow));
  EXPECT_EQ(0u, control.CountOf(Call::kCount));
  control.ResetCounts();
  EXPECT_EQ(0u, control.CountOf(Call::kSmsActRtm));
}

TEST_F(ControlTest, CallsHaveTheirFunctionsNames) {
  EXPECT_STREQ("smsi_init", control.NameOf(Call::kSmsiInit));
  EXPECT_STREQ("nbb_scheduler", control.NameOf(Call::kNbbScheduler));
  EXPECT_STREQ("sms_bld_amb_test_i3_ei", control.NameOf(Call::kSmsBldInterface));
  EXPECT_STREQ("sms_set_cipr_redist_oid", control.NameOf(Call::kSmsSetRedistOid));
  EXPECT_STREQ("sms_get_next_rtm_rib", control.NameOf(Call::kSmsGetNextRtmRib));
  EXPECT_STREQ("sms_act_protocol_row", control.NameOf(Call::kProtocolRow));
  EXPECT_STREQ("", control.NameOf(Call::kCount));
}

TEST_F(ControlTest, TheObserverSeesCallsAsText) {
  Lines lines;
  control.SetCallObserver([&](Call, const std::string& line) { lines.push_back(line); });
  char components[] = "ospf bgp";
  char filter[] = "3,4";
  smsi_init(components);
  nbb_scheduler();
  InvokeCallback(5, 1);
  nbb_trips_control(1);
  nbb_set_ips_filter(filter, 6);
  nbb_get_ips_tracing();
  SendEntity(10, 1);
  Route(1, 1, 10, "10.9.0.0/16", "10.1.2.1", 3, 6);
  AddRoute(10 | kIp6Bit, "2001:db8:9::/48", "2001:db8::1", 3, 7);
  sms_act_interface(4, 1, 10, 3, "eth0", 0, 24, 1500);
  sms_bld_amb_test_i3_ei(1, 2, 10 | kIp6Bit, 3, nullptr, 0, 0, 0);
  AddAddress(10, 3, "10.1.2.3/24");
  AddAddress(10 | kIp6Bit, 3, "fe80::3/64");
  sms_act_cipr_redist(1, 1, 0x20000, 0xD0000, 10, 0);
  sms_bld_amb_test_cipr_redist(6, 2, 0x20000, 0xD0000, 10, 0);
  sms_get_next_i3_ei(10, nullptr, nullptr);
  sms_get_next_i3_ea(32778, nullptr, nullptr);
  sms_get_next_rtm_route(nullptr, nullptr);
  sms_get_next_rtm_rib(nullptr, nullptr);
  unsigned int oid[SMS_OID_MAX];
  sms_set_i3_ei_oid(oid, 10, 3);
  control.SetCallObserver({});
  sms_act_rtm(nullptr);
  EXPECT_THAT(
      lines,
      ElementsAre("smsi_init(\"ospf bgp\")", "InvokeCallback(5, 1)", "nbb_trips_control(1)",
                  "nbb_set_ips_filter(\"3,4\", 6)", "nbb_get_ips_tracing()",
                  "sms_act_rtm(0=10 1=1 2=1 30=1)",
                  "sms_update_route(1, 1, 1, 1, 10.9.0.0, 16, 10.1.2.1, 196608, 3, 10, 6)",
                  "sms_update_route(1, 1, 1, 2, 2001:db8:9::, 48, 2001:db8::1, 196608, 3, 32778, "
                  "7)",
                  "sms_act_interface(4, 1, 10, 3, \"eth0\", 0, 24, 1500)",
                  "sms_bld_amb_test_i3_ei(1, 2, 32778, 3, null, 0, 0, 0)",
                  "sms_act_ipaddr(1, 10, 1, 3, 10.1.2.3, 24)",
                  "sms_act_ipaddr(1, 32778, 2, 3, fe80::3, 64)",
                  "sms_act_cipr_redist(1, 1, 131072, 851968, 10, 0)",
                  "sms_bld_amb_test_cipr_redist(6, 2, 131072, 851968, 10, 0)",
                  "sms_get_next_i3_ei(10)", "sms_get_next_i3_ea(32778)", "sms_get_next_rtm_route()",
                  "sms_get_next_rtm_rib()"));
}

TEST_F(ControlTest, TheObserverSeesACallBeforeItsEffectAndMayEndItself) {
  control.SetSynchronous(true);
  int seen = 0;
  control.SetCallObserver([&](Call call, const std::string&) {
    ++seen;
    EXPECT_EQ(Call::kSmsActInterface, call);
    EXPECT_THAT(host.calls, IsEmpty());
    control.SetCallObserver({});
  });
  AddInterface(10, 3);
  AddInterface(10, 4);
  EXPECT_EQ(1, seen);
  EXPECT_EQ(2u, host.calls.size());
}

}  // namespace
}  // namespace stack_test
