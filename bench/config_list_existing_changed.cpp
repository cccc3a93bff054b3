// A configuration list of so many rows meets a document in which so many of them changed. The walk
// over the rows is linear for each group by contract, so the whole is quadratic: this watches the
// constant in front of it.
#include <benchmark/benchmark.h>
#include <json/json.h>

#include <string>

#include "tarsel/options.h"
#include "vantacore/dc_router_base.h"

namespace {

using namespace Tarsel;

class Router : public DcRouterBase {
 public:
  Router() : DcRouterBase("BENCH", 10, nullptr) {}
  bool CreateConfigList(DcConfigLists&) override { return true; }
};

// The least that a concrete object does.
class Row : public DclConfigObject {
 public:
  explicit Row(DcRouterBase& owner) : DclConfigObject(owner) {}
  explicit Row(const Row* parsed) : DclConfigObject(parsed), m_value(parsed->m_value) {}

  int Compare(DclConfigObject* other) override {
    return !KeyMatch(other) ? 2 : m_value == static_cast<Row*>(other)->m_value ? 0 : 1;
  }
  void Update(DclConfigObject* other) override { m_value = static_cast<Row*>(other)->m_value; }
  unsigned short GetRowStatus() override { return 1; }
  void SetDestroy() override { m_destroyed = true; }
  void Display(DcConsole*, unsigned int) override {}
  bool CommitToMib() override {
    SetActionReq(false);
    return m_destroyed;
  }
  bool ParseOption(const OptionsNode& node, unsigned short) override {
    return node.AsVal(id, "id") != 0 && node.AsVal(m_value, "value") != 0;
  }

 private:
  int m_value = 0;
  bool m_destroyed = false;
};

class List : public DCLConfigList {
 public:
  explicit List(DcRouterBase* owner) : DCLConfigList(owner, "Bench", "ROWS") {}
  void ProcessInterfaceStatusChange(unsigned int, unsigned int) override {}
  DclConfigObject* CreateObject(const OptionsNode&, const string&,
                                DclConfigObject::OptionType) override {
    return new Row(*router);
  }
  DclConfigObject* CloneObject(DclConfigObject* parsed) override {
    return new Row(static_cast<Row*>(parsed));
  }
  std::size_t Size() const { return objects.size(); }
};

// `count` rows of which the first `changed` have the value 1, the others 0.
Options Document(int count, int changed) {
  Json::Value root;
  for (int i = 0; i < count; ++i) {
    Json::Value row;
    row["id"] = i;
    row["value"] = i < changed ? 1 : 0;
    root["ROWS"].append(row);
  }
  return Options(root);
}

void Parse(List& list, const Options& document) {
  list.Parse(document.GetRootNode(), "bench", DclConfigObject::VLAN_OPTIONS);
}

void CountPerRow(benchmark::State& state) {
  state.counters["per_row"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// existing 0, changed N: the first document.
void ConfigListFirst(benchmark::State& state) {
  const Options document = Document(static_cast<int>(state.range(0)), 0);
  Router router;
  for (auto _ : state) {
    List list(&router);
    Parse(list, document);
    benchmark::DoNotOptimize(list.Size());
  }
  CountPerRow(state);
}

// existing N, changed M of them.
void ConfigListAgain(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const Options documents[2] = {Document(count, 0),
                                Document(count, static_cast<int>(state.range(1)))};
  Router router;
  List list(&router);
  Parse(list, documents[0]);
  unsigned int turn = 0;
  for (auto _ : state) Parse(list, documents[++turn % 2]);
  if (list.Size() != static_cast<std::size_t>(count)) state.SkipWithError("rows were lost");
  CountPerRow(state);
}

// existing N, all of them gone.
void ConfigListWithdrawn(benchmark::State& state) {
  const Options document = Document(static_cast<int>(state.range(0)), 0);
  const Options empty;
  Router router;
  List list(&router);
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
