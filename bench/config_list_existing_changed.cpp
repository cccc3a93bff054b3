// A configuration list of so many rows meets a document in which so many of them changed. The walk
// over the rows is linear for each group by contract, so the whole is quadratic: this watches the
// constant in front of it.
#include <benchmark/benchmark.h>

#include "tests/support/plain_list.h"

namespace {

using namespace Tarsel;
using test_support::PlainList;
using test_support::PlainListDocument;
using test_support::PlainRouter;

void Parse(PlainList& list, const Options& document) {
  list.Parse(document.GetRootNode(), "bench", DclConfigObject::VLAN_OPTIONS);
}

void CountPerRow(benchmark::State& state) {
  state.counters["per_row"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// existing 0, changed N: the first document.
void ConfigListFirst(benchmark::State& state) {
  const Options document = PlainListDocument(static_cast<int>(state.range(0)), 0);
  PlainRouter router;
  for (auto _ : state) {
    PlainList list(&router);
    Parse(list, document);
    benchmark::DoNotOptimize(list.Size());
  }
  CountPerRow(state);
}

// existing N, changed M of them.
void ConfigListAgain(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const Options documents[2] = {PlainListDocument(count, 0),
                                PlainListDocument(count, static_cast<int>(state.range(1)))};
  PlainRouter router;
  PlainList list(&router);
  Parse(list, documents[0]);
  unsigned int turn = 0;
  for (auto _ : state) Parse(list, documents[++turn % 2]);
  if (list.Size() != static_cast<std::size_t>(count)) state.SkipWithError("rows were lost");
  CountPerRow(state);
}

// existing N, all of them gone.
void ConfigListWithdrawn(benchmark::State& state) {
  const Options document = PlainListDocument(static_cast<int>(state.range(0)), 0);
  const Options empty;
  PlainRouter router;
  PlainList list(&router);
  for (auto _ : state) {
    state.PauseTiming();
    Parse(list, document);
    state.ResumeTiming();
    Parse(list, empty);
  }
  if (list.Size() != 0) state.SkipWithError("rows were left");
  CountPerRow(state);
}

BENCHMARK(ConfigListFirst)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ConfigListAgain)
    ->ArgNames({"existing", "changed"})
    ->Args({1, 0})
    ->Args({100, 0})
    ->Args({100, 1})
    ->Args({1000, 0})
    ->Args({1000, 1})
    ->Args({1000, 1000})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(ConfigListWithdrawn)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace
