#include "metrics.h"

#include <iterator>

#include "device/program/options.h"
#include "exposition.h"
#include "vantacore/dc_router_mgr.h"

namespace views {

namespace {

constexpr const char* PROTOCOL_LABELS[] = {R"(protocol="connected")", R"(protocol="static")",
                                           R"(protocol="rip")", R"(protocol="ospf")",
                                           R"(protocol="bgp")"};
static_assert(std::size(PROTOCOL_LABELS) == PROTOCOLS);

// In the order of rows::Row.
constexpr const char* KIND_LABELS[] = {R"(kind="instances")",     R"(kind="interfaces")",
                                       R"(kind="addresses")",     R"(kind="protocol_rows")",
                                       R"(kind="static_routes")", R"(kind="redistribution_rules")"};
static_assert(std::size(KIND_LABELS) == std::variant_size_v<rows::Row>);

void AddProcess(Exposition& out, const Host& host) {
  const std::string version = std::string("version=\"") + program::GetVersion() + '"';
  out.Gauge("vantacore_build_info", "1; the label tells the version.");
  out.Sample(1, version.c_str());
  out.Gauge("process_start_time_seconds", "When the process was started, since the epoch.");
  out.Sample(static_cast<std::uint64_t>(host.started));
  out.Gauge("process_resident_memory_bytes", "Resident memory.");
  out.Sample(FindResidentBytes());
  out.Gauge("vantacore_loop_longest_turn_seconds",
            "Processor time of the event loop's longest turn.");
  out.Microseconds(host.loop.FindLongestTurnOfLastMinute(), R"(period="last_minute")");
  out.Microseconds(host.loop.GetLongestTurn(), R"(period="since_start")");
  out.Gauge("vantacore_console_sessions", "Console sessions that are open.");
  out.Sample(host.countSessions ? host.countSessions() : 0);
  out.Counter("vantacore_log_lines_lost_total", "Lines of the log that could not be written.");
  out.Sample(host.countLostLines ? host.countLostLines() : 0);
}

void AddRoutes(Exposition& out, const Sources& sources) {
  const RouteCounts counts = sources.tables.CountAll();
  out.Gauge("vantacore_route_candidates", "Candidates in the routing tables of all VLANs.");
  for (std::size_t i = 0; i < PROTOCOLS; ++i) {
    out.Sample(counts.candidates[i], PROTOCOL_LABELS[i]);
  }
  out.Gauge("vantacore_routes_installed", "Candidates that forward, in all VLANs.");
  for (std::size_t i = 0; i < PROTOCOLS; ++i) {
    out.Sample(counts.installed[i], PROTOCOL_LABELS[i]);
  }
  const routes::RouteKeeper& routes = sources.GetRoutes();
  out.Gauge(
      "vantacore_static_routes_waiting",
      "Static routes to be added or removed, without an answer, or that wait for an interface.");
  out.Sample(routes.CountOpen() + routes.GetUnresolved()->size());
  out.Gauge("vantacore_static_routes_kept",
            "Old static routes in force until a new one can take their place.");
  out.Sample(routes.CountKept());
}

void AddRows(Exposition& out, const Sources& sources) {
  const keepers::Knowledge::Kinds kinds = sources.reloader.GetKnowledge().GetKinds();
  out.Gauge("vantacore_rows_wanted", "Rows that the configuration wants the stack to have.");
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const bool isRoutes = i == rows::Row(rows::RouteRow{}).index();
    out.Sample(kinds[i].wanted + (isRoutes ? sources.GetRoutes().GetUnresolved()->size() : 0),
               KIND_LABELS[i]);
  }
  out.Gauge("vantacore_rows_differing",
            "Rows of which the stack has something else than is wanted.");
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    out.Sample(kinds[i].differing.all, KIND_LABELS[i]);
  }
  out.Gauge("vantacore_rows_refused", "Those of vantacore_rows_differing that the stack refused.");
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    out.Sample(kinds[i].differing.refused, KIND_LABELS[i]);
  }
  out.Gauge("vantacore_vlans", "VLANs that the device has.");
  out.Sample(Tarsel::DcRouterMgr::GetInstance()->GetVlans().size());
  const std::size_t up = sources.interfaces.CountUp();
  out.Gauge("vantacore_interfaces", "Interfaces by their state.");
  out.Sample(up, R"(state="up")");
  out.Sample(sources.interfaces.Get().size() - up, R"(state="down")");
}

// All 0 for a device that writes no routes into a kernel.
void AddKernel(Exposition& out, const Host& host) {
  const KernelState kernel = host.describeKernel ? host.describeKernel() : KernelState{};
  out.Gauge("vantacore_kernel_routes_wanted", "Routes that the kernel should have.");
  out.Sample(kernel.wanted);
  out.Gauge("vantacore_kernel_routes_installed", "Of these, routes that it has.");
  out.Sample(kernel.standing);
  out.Gauge("vantacore_kernel_routes_refused", "Routes that it does not take or give up.");
  out.Sample(kernel.refused);
  out.Counter("vantacore_kernel_requests_total", "Requests to the kernel by their result.");
  out.Sample(kernel.added, R"(result="added")");
  out.Sample(kernel.deleted, R"(result="deleted")");
  out.Sample(kernel.refusals, R"(result="refused")");
  out.Counter("vantacore_kernel_routes_repaired_total",
              "Routes of which a comparison found that the kernel had lost or kept them.");
  out.Sample(kernel.missing, R"(found="missing")");
  out.Sample(kernel.strays, R"(found="stray")");
  out.Gauge("vantacore_kernel_rules_wanted", "Rules that the kernel should have.");
  out.Sample(kernel.rules.wanted);
  out.Gauge("vantacore_kernel_rules_installed", "Of these, rules that it has.");
  out.Sample(kernel.rules.standing);
  out.Gauge("vantacore_kernel_rules_refused", "Rules that it does not take or give up.");
  out.Sample(kernel.rules.refused);
  out.Counter("vantacore_kernel_rules_repaired_total",
              "Rules of which a comparison found that the kernel had lost or kept them.");
  out.Sample(kernel.rules.missing, R"(found="missing")");
  out.Sample(kernel.rules.strays, R"(found="stray")");
  out.Counter("vantacore_kernel_overruns_total",
              "Times that the kernel had more to tell than its socket holds.");
  out.Sample(kernel.overruns);
  out.Counter("vantacore_kernel_links_untold_total",
              "Changes of links that the kernel had not told of, as a reading has shown.");
  out.Sample(kernel.untold);
}

void AddRequests(Exposition& out, const Sources& sources) {
  const rows::AnswerCounts answers = sources.stack.CountAnswers();
  out.Counter("vantacore_requests_sent_total", "Requests for rows that the stack has received.");
  out.Sample(sources.tables.CountRequests());
  out.Counter("vantacore_requests_answered_total", "Requests that the stack has answered.");
  out.Sample(answers.done, R"(result="done")");
  out.Sample(answers.refused, R"(result="refused")");
  out.Counter("vantacore_requests_retried_total",
              "Rows that were asked for again because the stack had something else.");
  out.Sample(sources.GetDifferences().CountRepeats());
  out.Gauge("vantacore_requests_open",
            "Requests for routes and rules that are to be made or have no answer.");
  out.Sample(sources.reloader.GetKnowledge().CountOpenRoutesAndRules());
  out.Gauge("vantacore_settled", "1 if everything has been answered and compared, 0 otherwise.");
  out.Sample(sources.reloader.IsSettled() ? 1 : 0);
}

void AddConfiguration(Exposition& out, const Sources& sources) {
  const apply::Reloader::ReloadCounts& reloads = sources.reloader.GetReloadCounts();
  const auto& revision = sources.reloader.GetInForce();
  out.Counter("vantacore_reloads_total", "Reloads, undos and ways back.");
  out.Sample(reloads.applied, R"(result="applied")");
  out.Sample(reloads.refused, R"(result="refused")");
  out.Gauge("vantacore_revision", "The revision in force; 0 for none.");
  out.Sample(revision ? revision->number : 0);
  out.Counter("vantacore_stack_restarts_total", "Restarts of the routing stack.");
  out.Sample(sources.tables.CountRestarts());
  out.Gauge("vantacore_stack_ready", "1 if the routing stack takes requests, 0 otherwise.");
  out.Sample(sources.stack.IsReady() ? 1 : 0);
  out.Gauge("vantacore_stack_held", "1 while somebody holds the routing stack, 0 otherwise.");
  out.Sample(sources.stack.IsHeld() ? 1 : 0);
}

}  // namespace

std::string WriteMetrics(const Sources& sources) {
  Exposition out;
  AddProcess(out, sources.host);
  AddConfiguration(out, sources);
  AddRoutes(out, sources);
  AddRows(out, sources);
  AddRequests(out, sources);
  AddKernel(out, sources.host);
  return out.Take();
}

}  // namespace views
