// What the library itself costs, on a stack that does nothing (tests/support/prepared_stack.h):
// static routes from AddRoute to answered and removed, the memory they take meanwhile, the memory
// of a VLAN, and a RIB walk that skips every row. Parsing the same routes is the yardstick of the
// run.
#include <benchmark/benchmark.h>

#include <string>

#include "device/base/timer_loop.h"
#include "device/base/trace_control.h"
#include "tarsel/options.h"
#include "tests/support/allocated_bytes.h"
#include "tests/support/json_text.h"
#include "tests/support/prepared_stack.h"
#include "tests/support/recording_console.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dcrouter_api.h"
#include "vantacore/rtm_commands.h"

namespace {

using prepared_stack::RouteAnswer;

constexpr unsigned short VLAN = 10;

// A library that a stack has reported ready, with the RTM instance of one VLAN.
void Start() {
  static Tarsel::VirtualLoop* const loop = [] {
    auto* started = new Tarsel::VirtualLoop;  // as long-lived as the library's singletons
    Tarsel::TimerLoop::SetCurrent(started);
    Tarsel::SetTraceLevel(0);
    Tarsel::SetTraceSink([](int, const std::string&) {});
    cI3Ready();
    return started;
  }();
  (void)loop;
  cSetRtmReady(VLAN);  // the documents of another benchmark may have taken it away
}

unsigned int Count(const benchmark::State& state) {
  return static_cast<unsigned int>(state.range(0));
}

void CountPer(benchmark::State& state, const char* name, double count) {
  state.counters[name] = benchmark::Counter(
      count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void AddRoutes(unsigned int count) {
  for (unsigned int n = 0; n < count; ++n) prepared_stack::AddRoute(VLAN, n);
}

// Every pass sends some, which are answered before the next pass.
void AnswerAll(std::vector<RouteAnswer>& answers) {
  const std::size_t before = prepared_stack::RouteRequests();
  std::size_t answered = 0;
  while (answered < answers.size()) {
    Tarsel::g_cfgsched->OnTimeout(0, nullptr);
    const std::size_t sent = prepared_stack::RouteRequests() - before;
    for (; answered < sent; ++answered) answers[answered].Give();
  }
}

void RoutesAddedAndAnswered(benchmark::State& state) {
  Start();
  std::vector<RouteAnswer> answers = prepared_stack::RouteAnswers(VLAN, Count(state));
  for (auto _ : state) {
    AddRoutes(Count(state));
    AnswerAll(answers);
  }
  CountPer(state, "per_route", state.range(0));
}

void RoutesParsed(benchmark::State& state) {
  std::string text = R"({"STATIC_ROUTES": {)";
  for (unsigned int n = 0; n < Count(state); ++n) {
    const std::string number = std::to_string(n);
    text += (n == 0 ? "\n\"r" : ",\n\"r") + number + R"(": {"interface": "eth0", "network": ")" +
            std::to_string(20 + (n >> 24)) + "." + std::to_string(n >> 16 & 0xFF) + "." +
            std::to_string(n >> 8 & 0xFF) + "." + std::to_string(n & 0xFF) +
            R"(", "netmask": "255.255.255.255", "gateway": "10.1.2.1", "metric": "5"})";
  }
  text += "}}";
  for (auto _ : state) benchmark::DoNotOptimize(test_support::ParsedJson(text));
  CountPer(state, "per_route", state.range(0));
}

// The bytes of a New item with its place in the scheduler, and of one that the stack has not
// answered yet, its row in the serializer included.
void RouteMemory(benchmark::State& state) {
  Start();
  std::vector<RouteAnswer> answers = prepared_stack::RouteAnswers(VLAN, Count(state));
  std::vector<RouteAnswer> first = prepared_stack::RouteAnswers(VLAN, 1);
  AddRoutes(1);  // what the process keeps from its first route on is not the routes'
  AnswerAll(first);
  double pending = 0;
  double inFlight = 0;
  for (auto _ : state) {
    const std::size_t before = test_support::AllocatedBytes();
    const std::size_t sentBefore = prepared_stack::RouteRequests();
    AddRoutes(Count(state));
    pending = static_cast<double>(test_support::AllocatedBytes() - before) / Count(state);
    while (prepared_stack::RouteRequests() - sentBefore < Count(state)) {
      Tarsel::g_cfgsched->OnTimeout(0, nullptr);
    }
    inFlight = static_cast<double>(test_support::AllocatedBytes() - before) / Count(state);
    for (RouteAnswer& answer : answers) answer.Give();
    if (test_support::AllocatedBytes() > before) state.SkipWithError("memory is kept");
  }
  state.counters["bytes_per_new_route"] = pending;
  state.counters["bytes_per_route_in_flight"] = inFlight;
}

void Load(const std::string& text) {
  const Tarsel::Options document = test_support::Document(text);
  Tarsel::DcRouterMgr::GetInstance()->Reload(document, "vlans.json",
                                             Tarsel::DclConfigObject::VLAN_OPTIONS);
}

// The routers of the other library count as well, so this is more than the library's own share.
void VlanMemory(benchmark::State& state) {
  Start();
  std::string text = R"({"VLAN_CONFIGURATIONS": {"v0": {"vid": 1})";
  for (unsigned int vid = 2; vid <= Count(state); ++vid) {
    text += ",\"v" + std::to_string(vid) + R"(": {"vid": )" + std::to_string(vid) + "}";
  }
  text += "}}";
  for (auto _ : state) {
    const std::size_t before = test_support::AllocatedBytes();
    Load(text);
    state.counters["bytes_per_vlan"] =
        static_cast<double>(test_support::AllocatedBytes() - before) / Count(state);
    Load(R"({"VLAN_CONFIGURATIONS": {}})");
  }
}

void RibRowsSkipped(benchmark::State& state) {
  Start();
  Load(R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})");
  amb_cipr_rtm_rib row = {};
  row.instance = 20;
  row.prefix_length = 24;
  row.route_proto = 14;
  const std::vector<amb_cipr_rtm_rib> rows(Count(state), row);
  for (auto _ : state) {
    const auto log = test_support::NewConsoleLog(VLAN);
    auto* command = new Tarsel::RtmRibCommand(new test_support::RecordingConsole(log), 0);
    if (!command->Parse(0, nullptr)) {
      delete command;
      state.SkipWithError("the command does not start");
      break;
    }
    prepared_stack::PlayRibWalk(rows);
    if (!log->destroyed) state.SkipWithError("the walk does not end");
  }
  CountPer(state, "per_row", state.range(0));
  Load(R"({"VLAN_CONFIGURATIONS": {}})");
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("routes")
      ->RangeMultiplier(10)
      ->Range(1000, 1000000)
      ->Unit(benchmark::kMillisecond);
}

BENCHMARK(RoutesAddedAndAnswered)->Apply(Sizes);
BENCHMARK(RoutesParsed)->Apply(Sizes);
BENCHMARK(RouteMemory)->ArgName("routes")->Arg(1000)->Arg(10000)->Iterations(1);
BENCHMARK(VlanMemory)->ArgName("vlans")->Arg(100)->Arg(4094)->Iterations(1);
BENCHMARK(RibRowsSkipped)->ArgName("rows")->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
