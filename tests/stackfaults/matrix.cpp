#include "tests/stackfaults/matrix.h"

#include <set>
#include <string>
#include <vector>

#include "tests/stackfaults/stack_calls.h"

namespace stackfaults {

namespace {

constexpr std::size_t TESTED_CELLS = 181;
constexpr std::size_t MEANINGLESS_CELLS = 62;

// Why a fault does not concern a call.
const char* const NO_RESULT = "it has no result that could say so";
const char* const NO_ROOM = "it asks for no room";
const char* const NO_ANSWER = "nothing is expected back";
const char* const AT_ONCE = "it answers by returning";
const char* const NO_VLAN = "it concerns no VLAN";
const char* const PURE =
    "it computes an identifier from its arguments, and asks the stack for nothing";

std::map<Fault, const char*> Every(const char* reason) {
  std::map<Fault, const char*> all;
  for (int i = 0; i < FAULT_COUNT; ++i) {
    all[static_cast<Fault>(i)] = reason;
  }
  return all;
}

const std::vector<Row>& Matrix() {
  static const std::vector<Row> MATRIX = {
      {"smsi_init", TheStart, {{BUSY, NO_RESULT}, {FULL, NO_ROOM}, {REFUSED, NO_RESULT}}},
      {"nbb_scheduler", ARun, {{FULL, NO_ROOM}}},
      {"InvokeCallback", Descriptor, {{FULL, NO_ROOM}, {NEVER, NO_ANSWER}, {VLAN_GONE, NO_VLAN}}},
      {"nbb_trips_control",
       TraceSwitch,
       {{BUSY, NO_RESULT},
        {FULL, NO_ROOM},
        {NEVER, AT_ONCE},
        {LATE, AT_ONCE},
        {VLAN_GONE, NO_VLAN}}},
      {"nbb_set_ips_filter",
       TraceFilter,
       {{BUSY, NO_RESULT},
        {FULL, NO_RESULT},
        {NEVER, AT_ONCE},
        {LATE, AT_ONCE},
        {VLAN_GONE, NO_VLAN}}},
      {"nbb_get_ips_tracing",
       TraceStatus,
       {{BUSY, NO_RESULT},
        {FULL, NO_ROOM},
        {NEVER, AT_ONCE},
        {LATE, AT_ONCE},
        {VLAN_GONE, NO_VLAN}}},
      {"sms_act_rtm", Instance, {}},
      {"sms_act_rtm+removal",
       RemovedInstance,
       {{FULL, NO_ROOM}, {VLAN_GONE, "it is how the VLAN goes"}}},
      {"sms_update_route", AddedRoute, {}},
      {"sms_update_route+ipv6", AddedIp6Route, {}},
      {"sms_update_route+removal", RemovedRoute, {{FULL, NO_ROOM}}},
      {"sms_update_route+waiting", WaitingRoute, {}},
      {"sms_act_interface", Interface, {}},
      {"sms_bld_amb_test_i3_ei", WaitingInterface, {}},
      {"sms_act_ipaddr", Ip4Address, {}},
      {"sms_act_ipaddr+ipv6", Ip6Address, {}},
      {"sms_act_cipr_redist", AddedRule, {}},
      {"sms_act_cipr_redist+removal", RemovedRule, {{FULL, NO_ROOM}}},
      {"sms_bld_amb_test_cipr_redist", WaitingRule, {}},
      {"sms_get_route_oid", nullptr, Every(PURE)},
      {"sms_set_i3_ei_oid", nullptr, Every(PURE)},
      {"sms_set_i3_ea_oid", nullptr, Every(PURE)},
      {"sms_set_cipr_redist_oid", nullptr, Every(PURE)},
      {"sms_get_next_i3_ei", InterfaceTable, {}},
      {"sms_get_next_i3_ea", AddressTable, {}},
      {"sms_get_next_rtm_route", RouteTable, {}},
      {"sms_get_next_rtm_rib", Rib, {}},
  };
  return MATRIX;
}

// Each cell that has a test becomes one, named after its call and fault.
bool RegisterAll() {
  for (const Row& row : Matrix()) {
    for (int i = 0; i < FAULT_COUNT; ++i) {
      const Fault fault = static_cast<Fault>(i);
      if (row.meaningless.count(fault) == 0) {
        testing::RegisterTest("StackFaults", (std::string(row.name) + "/" + NameOf(fault)).c_str(),
                              nullptr, nullptr, __FILE__, __LINE__,
                              [&row, fault] { return row.make(fault); });
      }
    }
  }
  return true;
}

[[maybe_unused]] const bool REGISTERED = RegisterAll();

}  // namespace

const char* NameOf(Fault fault) {
  static const char* const NAMES[FAULT_COUNT] = {
      "busy", "full", "refused", "never", "late", "twice", "synchronous", "restarted", "vlan_gone"};
  return NAMES[fault];
}

std::set<std::string> CallsOfTheMatrix() {
  std::set<std::string> calls;
  for (const Row& row : Matrix()) {
    const std::string name = row.name;
    calls.insert(name.substr(0, name.find('+')));
  }
  return calls;
}

TEST(Matrix, HasARowForEachFunctionThatTheStackDeclares) {
  EXPECT_EQ(CallsOfTheMatrix(), DeclaredFunctions());
}

// The counter of failures is data: the library sets it before the calls that trace.
TEST(Matrix, HasARowForEachFunctionThatTheLibraryNeeds) {
  std::set<std::string> needed = SymbolsThatTheLibraryNeeds();
  EXPECT_EQ(needed.erase("nbb_os_failures"), 1U);
  EXPECT_EQ(CallsOfTheMatrix(), needed);
}

TEST(Matrix, HasNoMoreCellsWithoutATestThanItSays) {
  std::size_t tests = 0;
  std::size_t reasons = 0;
  for (const Row& row : Matrix()) {
    tests += row.make != nullptr ? FAULT_COUNT - row.meaningless.size() : 0;
    reasons += row.meaningless.size();
    EXPECT_EQ(row.make == nullptr, row.meaningless.size() == FAULT_COUNT) << row.name;
    for (const auto& [fault, reason] : row.meaningless) {
      EXPECT_STRNE(reason, "") << row.name << "/" << NameOf(fault);
    }
  }
  EXPECT_EQ(tests, TESTED_CELLS);
  EXPECT_EQ(reasons, MEANINGLESS_CELLS);
}

}  // namespace stackfaults
