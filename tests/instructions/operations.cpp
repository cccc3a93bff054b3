// Ten hot operations, each in a function of its own that guard.py has callgrind count. A function does
// its operation REPEATED times; what it needs is made before, outside of the counting.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "device/base/timer_loop.h"
#include "device/base/trace_control.h"
#include "tarsel/options.h"
#include "tests/support/json_text.h"
#include "tests/support/plain_list.h"
#include "tests/support/prepared_stack.h"
#include "tests/support/recording_console.h"
#include "tests/support/silent_items.h"
#include "tests/support/vlan_document.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcrouter_api.h"
#include "vantacore/rtm_commands.h"
#include "vantacore/serializer.h"

namespace {

using namespace Tarsel;
using test_support::RowOid;
using test_support::SilentAction;
using test_support::SilentRoute;

constexpr CfgKey KEY = {10, ROW_TYPE_STATIC_ROUTE};
constexpr unsigned short VLAN = 10;
constexpr unsigned int REPEATED = 1000;

void Require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
  }
}

std::vector<std::unique_ptr<SilentRoute>> Routes(CfgItem::ACTION_ITEM_STATE state) {
  std::vector<std::unique_ptr<SilentRoute>> routes;
  for (unsigned int n = 0; n < REPEATED; ++n) {
    routes.push_back(std::make_unique<SilentRoute>(n));
    routes.back()->SetActionState(state);
  }
  return routes;
}

}  // namespace

#define OPERATION extern "C" __attribute__((noinline)) void

OPERATION counted_scheduler_insert(CfgSched& sched, SilentRoute* routes[]) {
  for (unsigned int n = 0; n < REPEATED; ++n) sched.Insert(KEY, routes[n]);
}

OPERATION counted_scheduler_replace(CfgSched& sched, SilentRoute* routes[]) {
  for (unsigned int n = 0; n < REPEATED; ++n) sched.Insert(KEY, routes[n]);
}

OPERATION counted_scheduler_tick(CfgSched& sched) {
  for (unsigned int sent = 0; sent < REPEATED; sent += 31) sched.OnTimeout(0, nullptr);
}

OPERATION counted_scheduler_update(CfgSched& sched, SilentRoute* probes[]) {
  for (unsigned int n = 0; n < REPEATED; ++n) sched.Update(KEY, probes[n], 3, false);
}

OPERATION counted_scheduler_remove(CfgSched& sched, SilentRoute* probes[]) {
  for (unsigned int n = 0; n < REPEATED; ++n) sched.Remove(KEY, probes[n], 1);
}

OPERATION counted_serializer_activate(Serializer& serializer, const MibOid rows[]) {
  for (unsigned int n = 0; n < REPEATED; ++n) serializer.Insert(rows[n], new SilentAction);
}

OPERATION counted_serializer_complete(Serializer& serializer, const MibOid rows[]) {
  for (unsigned int n = 0; n < REPEATED; ++n) {
    serializer.RunPendingAction(const_cast<unsigned int*>(rows[n].GetSubIds()),
                                rows[n].GetLength());
  }
}

OPERATION counted_route(std::vector<prepared_stack::RouteAnswer>& answers) {
  for (unsigned int n = 0; n < REPEATED; ++n) prepared_stack::AddRoute(VLAN, n);
  std::size_t answered = 0;
  while (answered < REPEATED) {
    g_cfgsched->OnTimeout(0, nullptr);
    for (; answered < prepared_stack::RouteRequests(); ++answered) answers[answered].Give();
  }
}

OPERATION counted_list_row_unchanged(DCLConfigList& list, const OptionsNode& document) {
  list.Parse(document, "rows.json", DclConfigObject::VLAN_OPTIONS);
}

OPERATION counted_vlan_unchanged(const Options& document) {
  DcRouterMgr::GetInstance()->Reload(document, "vlans.json", DclConfigObject::VLAN_OPTIONS);
}

OPERATION counted_rib_row_skipped(const std::vector<amb_cipr_rtm_rib>& rows) {
  prepared_stack::PlayRibWalk(rows);
}

namespace {

void RunScheduler() {
  DcRtmMgr::GetInstance()->SetRtmReady(VLAN);
  std::vector<SilentRoute*> first;
  std::vector<SilentRoute*> second;
  for (unsigned int n = 0; n < REPEATED; ++n) {
    first.push_back(new SilentRoute(n));
    second.push_back(new SilentRoute(n));
  }
  const auto probes = Routes(CfgItem::NEW);
  std::vector<SilentRoute*> probed;
  for (const auto& probe : probes) probed.push_back(probe.get());
  CfgSched sched;
  counted_scheduler_insert(sched, first.data());
  counted_scheduler_replace(sched, second.data());
  counted_scheduler_tick(sched);
  Require(second.back()->GetActionState() == CfgItem::ISSUED, "the passes did not send every item");
  counted_scheduler_update(sched, probed.data());
  Require(second.back()->GetReasonCode() == 3, "the answers did not find their items");
  counted_scheduler_remove(sched, probed.data());
}

void RunSerializer() {
  std::vector<MibOid> rows;
  for (unsigned int n = 0; n < REPEATED; ++n) rows.push_back(RowOid(n));
  Serializer serializer;
  serializer.RunPendingActions();
  counted_serializer_activate(serializer, rows.data());
  counted_serializer_complete(serializer, rows.data());
}

void RunRoute() {
  auto answers = prepared_stack::RouteAnswers(VLAN, REPEATED);
  counted_route(answers);
}

void RunList() {
  const Options document = test_support::PlainListDocument(10, 0);
  test_support::PlainRouter router;
  test_support::PlainList list(&router);
  list.Parse(document.GetRootNode(), "rows.json", DclConfigObject::VLAN_OPTIONS);
  counted_list_row_unchanged(list, document.GetRootNode());
  Require(list.Size() == 10, "the list lost rows");
}

void RunReload() {
  const Options document = test_support::Document(test_support::FullVlanDocument(100));
  auto* manager = DcRouterMgr::GetInstance();
  manager->Reload(document, "vlans.json", DclConfigObject::VLAN_OPTIONS);
  counted_vlan_unchanged(document);
}

void RunRibWalk() {
  amb_cipr_rtm_rib row = {};
  row.instance = 20;
  const std::vector<amb_cipr_rtm_rib> rows(REPEATED, row);
  const auto log = test_support::NewConsoleLog(VLAN);
  auto* command = new RtmRibCommand(new test_support::RecordingConsole(log), 0);
  Require(command->Parse(0, nullptr), "the command does not start");
  counted_rib_row_skipped(rows);
  Require(log->destroyed, "the walk does not end");
}

}  // namespace

int main() {
  VirtualLoop loop;
  TimerLoop::SetCurrent(&loop);
  SetTraceLevel(0);
  SetTraceSink([](int, const std::string&) {});
  SetAssertSink([](const char*, const char*, int) {});
  cI3Ready();
  RunScheduler();
  RunSerializer();
  RunRoute();
  RunList();
  RunReload();
  RunRibWalk();
  std::fflush(stdout);
  std::_Exit(0);  // the singletons outlive the loop
}
