// The bytes that a route takes while it waits and while the stack has it, and those of a VLAN. A device
// with 100,000 routes has them all pending after every start.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "device/base/timer_loop.h"
#include "device/base/trace_control.h"
#include "tarsel/options.h"
#include "tests/support/allocated_bytes.h"
#include "tests/support/prepared_stack.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dcrouter_api.h"

namespace {

using test_support::AllocatedBytes;

constexpr unsigned short VLAN = 10;
constexpr unsigned int VLANS = 1000;
// The tables have just doubled, so that they hold the most for each of their entries.
constexpr unsigned int ROUTES = 3 * 4096 + 10;

constexpr double NEW_ROUTE_LIMIT = sizeof(void*) == 8 ? 800 : 700;
constexpr double IN_FLIGHT_LIMIT = 1450;
constexpr double VLAN_LIMIT = 4096;

int g_failures = 0;

void Check(const char* what, double bytes, double limit) {
  const bool holds = bytes > 0 && bytes <= limit;
  std::printf("%-16s %7.1f bytes, at most %.0f%s\n", what, bytes, limit, holds ? "" : ": FAILED");
  g_failures += holds ? 0 : 1;
}

double PerItem(std::size_t before, unsigned int count) {
  return static_cast<double>(AllocatedBytes() - before) / count;
}

void CheckRoutes() {
  cSetRtmReady(VLAN);
  const std::size_t before = AllocatedBytes();
  for (unsigned int n = 0; n < ROUTES; ++n) prepared_stack::AddRoute(VLAN, n);
  Check("New route", PerItem(before, ROUTES), NEW_ROUTE_LIMIT);
  while (prepared_stack::RouteRequests() < ROUTES) Tarsel::g_cfgsched->OnTimeout(0, nullptr);
  Check("route in flight", PerItem(before, ROUTES), IN_FLIGHT_LIMIT);
}

// The routers of the software device count as well.
void CheckVlans() {
  Json::Value root;
  for (unsigned int vid = 1; vid <= VLANS; ++vid) {
    root["VLAN_CONFIGURATIONS"]["v" + std::to_string(vid)]["vid"] = vid;
  }
  const Tarsel::Options document(root);
  auto* manager = Tarsel::DcRouterMgr::GetInstance();
  const std::size_t before = AllocatedBytes();
  manager->Reload(document, "vlans.json", Tarsel::DclConfigObject::VLAN_OPTIONS);
  Check("VLAN", PerItem(before, VLANS), VLAN_LIMIT);
  const std::size_t made = manager->GetVlans().size();
  if (made != VLANS) {
    std::printf("%zu of %u VLANs were made: FAILED\n", made, VLANS);
    ++g_failures;
  }
}

}  // namespace

int main() {
  Tarsel::VirtualLoop loop;
  Tarsel::TimerLoop::SetCurrent(&loop);
  Tarsel::SetTraceLevel(0);
  Tarsel::SetTraceSink([](int, const std::string&) {});
  cI3Ready();
  CheckRoutes();
  CheckVlans();
  std::fflush(stdout);
  std::_Exit(g_failures == 0 ? 0 : 1);  // the singletons outlive the loop
}
