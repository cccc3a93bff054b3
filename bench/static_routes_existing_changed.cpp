// Static routes through the whole pipeline: AddRoute, scheduler, serializer, software stack, answer,
// removal of the item. The stack's own work is part of the figure.
#include <benchmark/benchmark.h>

#include "bench/device.h"
#include "vantacore/cfg_items.h"
#include "vantacore/static_routes.h"

namespace {

constexpr unsigned short VLAN = 10;

Tarsel::Ip4Addr Destination(unsigned int n) {
  return Tarsel::Ip4Addr(20 + (n >> 16), (n >> 8) & 0xFF, n & 0xFF, 0);
}

void AddRoutes(unsigned int first, unsigned int count) {
  for (unsigned int n = first; n < first + count; ++n) {
    Tarsel::AddRoute(VLAN, Destination(n), Tarsel::Ip4Addr(255, 255, 255, 0),
                     Tarsel::Ip4Addr(10, 1, 2, 1), 3, 5, Tarsel::PATH_TYPE_STATIC, 1);
  }
}

void RemoveRoutes(unsigned int first, unsigned int count) {
  for (unsigned int n = first; n < first + count; ++n) {
    Tarsel::RemoveRoute(VLAN, Destination(n), Tarsel::Ip4Addr(255, 255, 255, 0),
                        Tarsel::Ip4Addr(10, 1, 2, 1), 3);
  }
}

constexpr std::uint64_t LIMIT_MS = 100000000;

/// `existing` routes stand in the stack; `changed` are added, answered and removed again.
void StaticRoutes(benchmark::State& state) {
  const auto existing = static_cast<unsigned int>(state.range(0));
  const auto changed = static_cast<unsigned int>(state.range(1));
  test_support::Device& device = bench::TheDevice();
  device.Reload("{\"VLAN_CONFIGURATIONS\": {\"v\": {\"vid\": 10}}}", "vlans.json");
  AddRoutes(0, existing);
  if (!device.Settle(LIMIT_MS)) state.SkipWithError("the existing routes were not answered");
  for (auto _ : state) {
    AddRoutes(existing, changed);
    if (!device.Settle(LIMIT_MS)) state.SkipWithError("not answered");
    state.PauseTiming();
    RemoveRoutes(existing, changed);
    if (!device.Settle(LIMIT_MS)) state.SkipWithError("not removed");
    state.ResumeTiming();
  }
  state.counters["per_route"] = benchmark::Counter(
      static_cast<double>(changed),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  RemoveRoutes(0, existing);
  if (!device.Settle(LIMIT_MS)) state.SkipWithError("the existing routes were not removed");
  device.Reload(bench::EmptyDocument(), "vlans.json");
  if (!device.Settle(LIMIT_MS)) state.SkipWithError("the VLAN did not go");
}

BENCHMARK(StaticRoutes)
    ->ArgNames({"existing", "changed"})
    ->Args({0, 1000})
    ->Args({0, 10000})
    ->Args({0, 100000})
    ->Args({100000, 1})
    ->Args({100000, 1000})
    ->Unit(benchmark::kMillisecond);

}  // namespace
