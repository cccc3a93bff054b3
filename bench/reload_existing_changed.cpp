// A document of many VLANs: parsed by the JSON library, loaded for the first time, loaded again
// unchanged, and with one VLAN changed. The parse is the yardstick of the same run.
#include <benchmark/benchmark.h>

#include "bench/device.h"
#include "tarsel/options.h"
#include "tests/support/json_text.h"

namespace {

using Tarsel::DclConfigObject;
using test_support::Document;
using test_support::ParsedJson;

constexpr std::uint64_t LIMIT_MS = 100000000;

void CountPerVlan(benchmark::State& state) {
  state.counters["per_vlan"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Load(const Tarsel::Options& options) {
  bench::TheDevice().Manager().Reload(options, "vlans.json", DclConfigObject::VLAN_OPTIONS);
}

void Empty(benchmark::State& state) {
  Load(Document(bench::EmptyDocument()));
  if (!bench::TheDevice().Settle(LIMIT_MS)) state.SkipWithError("the VLANs did not go");
}

void ParseOnly(benchmark::State& state) {
  const std::string text = bench::VlanDocument(static_cast<unsigned int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(ParsedJson(text));
  state.counters["bytes_per_vlan"] =
      static_cast<double>(text.size()) / static_cast<double>(state.range(0));
  CountPerVlan(state);
}

void ReloadFirst(benchmark::State& state) {
  test_support::Device& device = bench::TheDevice();
  const Tarsel::Options options =
      Document(bench::VlanDocument(static_cast<unsigned int>(state.range(0))));
  for (auto _ : state) {
    Load(options);
    state.PauseTiming();
    if (!device.Settle(LIMIT_MS)) state.SkipWithError("not answered");
    Empty(state);
    state.ResumeTiming();
  }
  CountPerVlan(state);
}

void Unchanged(benchmark::State& state, const std::string& text) {
  test_support::Device& device = bench::TheDevice();
  const Tarsel::Options options = Document(text);
  Load(options);
  if (!device.Settle(LIMIT_MS)) state.SkipWithError("not answered");
  const std::uint64_t before = device.Control().CountOf(routing_stack::Call::kSmsActRtm) +
                               device.Control().CountOf(routing_stack::Call::kProtocolRow);
  for (auto _ : state) Load(options);
  if (device.Control().CountOf(routing_stack::Call::kSmsActRtm) +
          device.Control().CountOf(routing_stack::Call::kProtocolRow) !=
      before) {
    state.SkipWithError("an unchanged document made requests");
  }
  Empty(state);
  CountPerVlan(state);
}

void ReloadUnchanged(benchmark::State& state) {
  Unchanged(state, bench::VlanDocument(static_cast<unsigned int>(state.range(0))));
}

void ReloadUnchangedFull(benchmark::State& state) {
  Unchanged(state, bench::FullVlanDocument(static_cast<unsigned int>(state.range(0))));
}

void ReloadOneChanged(benchmark::State& state) {
  test_support::Device& device = bench::TheDevice();
  const auto vlans = static_cast<unsigned int>(state.range(0));
  const Tarsel::Options documents[2] = {Document(bench::VlanDocument(vlans)),
                                        Document(bench::VlanDocument(vlans, vlans / 2 + 1))};
  Load(documents[0]);
  if (!device.Settle(LIMIT_MS)) state.SkipWithError("not answered");
  unsigned int turn = 0;
  for (auto _ : state) {
    Load(documents[++turn % 2]);
    state.PauseTiming();
    if (!device.Settle(LIMIT_MS)) state.SkipWithError("not answered");
    state.ResumeTiming();
  }
  Empty(state);
  CountPerVlan(state);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("vlans")->Arg(10)->Arg(100)->Arg(1000)->Arg(4094)->Unit(
      benchmark::kMicrosecond);
}

BENCHMARK(ParseOnly)->Apply(Sizes);
BENCHMARK(ReloadFirst)->Apply(Sizes);
BENCHMARK(ReloadUnchanged)->Apply(Sizes);
BENCHMARK(ReloadUnchangedFull)->Apply(Sizes);
BENCHMARK(ReloadOneChanged)->Apply(Sizes);

}  // namespace
