// What it costs to tell the way from one configuration to another that differs in one place.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "device/documents/vlan_document.h"
#include "device/plan/plan.h"
#include "tests/support/json_text.h"
#include "tests/support/vlan_document.h"

namespace {

// One VLAN; the route in the middle has this metric.
std::string TextOfRoutes(unsigned int routes, unsigned int metric) {
  std::string text = R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {)";
  for (unsigned int n = 0; n < routes; ++n) {
    text += (n == 0 ? "\n\"r" : ",\n\"r") + std::to_string(n) + R"(": {"network": ")" +
            std::to_string(20 + (n >> 16)) + "." + std::to_string(n >> 8 & 0xFF) + "." +
            std::to_string(n & 0xFF) +
            R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1", "metric": ")" +
            std::to_string(n == routes / 2 ? metric : 1) + "\"}";
  }
  return text + "}}}}";
}

intent::Intent Read(const std::string& text) {
  const documents::VlanShapes shapes(documents::DeclaredProtocols());
  const auto file = std::make_shared<documents::ConfigFile>();
  file->name = "vlans.json";
  documents::ReadVlanDocument(text, shapes, *file);
  documents::Folder folder;
  folder.declared = documents::DeclaredProtocols();
  folder.files.push_back(file);
  return intent::Intent(folder);
}

void Count(benchmark::State& state, const char* name) {
  state.counters[name] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Plan(benchmark::State& state, const intent::Intent& from, const intent::Intent& to,
          plan::Count plan::Totals::*counted) {
  for (auto _ : state) {
    const plan::Plan plan = plan::MakePlan(from, to);
    if ((plan.totals.*counted).changed != 1) {
      state.SkipWithError("the change is not found");
    }
    benchmark::DoNotOptimize(plan);
  }
}

void RoutesPlanned(benchmark::State& state) {
  const auto routes = static_cast<unsigned int>(state.range(0));
  Plan(state, Read(TextOfRoutes(routes, 1)), Read(TextOfRoutes(routes, 5)), &plan::Totals::routes);
  Count(state, "per_route");
}

// The yardstick: a tree of such a text.
void PlanTextParsed(benchmark::State& state) {
  const std::string text = TextOfRoutes(static_cast<unsigned int>(state.range(0)), 1);
  for (auto _ : state) benchmark::DoNotOptimize(test_support::ParsedJson(text));
  Count(state, "per_route");
}

void VlansPlanned(benchmark::State& state) {
  const auto vlans = static_cast<unsigned int>(state.range(0));
  const std::string text = test_support::FullVlanDocument(vlans);
  std::string changed = text;
  const std::string member = "\"cost\": ";
  changed.insert(changed.find(member, changed.size() / 2) + member.size(), "1");
  Plan(state, Read(text), Read(changed), &plan::Totals::rows);
  Count(state, "per_vlan");
}

// The same, with every entry looked into, because a blank is before each.
void VlansPlannedThoroughly(benchmark::State& state) {
  const auto vlans = static_cast<unsigned int>(state.range(0));
  std::string text = test_support::FullVlanDocument(vlans);
  const intent::Intent from = Read(text);
  for (std::size_t at = text.find("\"vid\""); at != std::string::npos;
       at = text.find("\"vid\"", at + 6)) {
    text.insert(at, " ");
    ++at;
  }
  const std::string member = "\"cost\": ";
  text.insert(text.find(member, text.size() / 2) + member.size(), "1");
  Plan(state, from, Read(text), &plan::Totals::rows);
  Count(state, "per_vlan");
}

BENCHMARK(RoutesPlanned)->ArgName("routes")->Arg(1000)->Arg(100000);
BENCHMARK(PlanTextParsed)->ArgName("routes")->Arg(100000);
BENCHMARK(VlansPlanned)->ArgName("vlans")->Arg(4094);
BENCHMARK(VlansPlannedThoroughly)->ArgName("vlans")->Arg(4094);

}  // namespace
