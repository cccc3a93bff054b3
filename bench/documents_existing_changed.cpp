// What a static route of a document costs until it is checked and ready to be asked for.
#include <benchmark/benchmark.h>

#include <string>

#include "device/documents/vlan_document.h"
#include "tests/support/json_text.h"

namespace {

std::string TextWith(unsigned int routes) {
  std::string text = R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10, "STATIC_ROUTES": {)";
  for (unsigned int n = 0; n < routes; ++n) {
    text += (n == 0 ? "\n\"r" : ",\n\"r") + std::to_string(n) +
            R"(": {"interface": "eth0", "network": ")" + std::to_string(20 + (n >> 16)) + "." +
            std::to_string(n >> 8 & 0xFF) + "." + std::to_string(n & 0xFF) +
            R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1", "metric": "5"})";
  }
  return text + "}}}}";
}

void PerRoute(benchmark::State& state) {
  state.counters["per_route"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void RouteDocumentRead(benchmark::State& state) {
  const std::string text = TextWith(static_cast<unsigned int>(state.range(0)));
  const documents::VlanShapes shapes({nullptr, 0});
  for (auto _ : state) {
    documents::ConfigFile file;
    if (!documents::ReadVlanDocument(text, shapes, file) || file.findings.HasErrors() ||
        file.routes.Get().size() != static_cast<std::size_t>(state.range(0))) {
      state.SkipWithError("the document is not taken");
    }
    benchmark::DoNotOptimize(file);
  }
  PerRoute(state);
}

// The yardstick: a tree of the same text.
void RouteDocumentParsed(benchmark::State& state) {
  const std::string text = TextWith(static_cast<unsigned int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(test_support::ParsedJson(text));
  PerRoute(state);
}

BENCHMARK(RouteDocumentRead)->ArgName("routes")->Arg(1000)->Arg(100000);
BENCHMARK(RouteDocumentParsed)->ArgName("routes")->Arg(100000);

}  // namespace
