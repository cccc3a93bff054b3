// The serializer with many busy rows: rows that become busy and idle again, requests that wait behind
// another of their row, the ready signal, memory per busy row.
#include <benchmark/benchmark.h>

#include "tests/support/allocated_bytes.h"
#include "tests/support/silent_items.h"
#include "vantacore/serializer.h"

namespace {

using namespace Tarsel;
using test_support::RowOid;
using test_support::SilentAction;

constexpr unsigned int BATCH = 500;

void Activate(Serializer& serializer, unsigned int first, unsigned int count) {
  for (unsigned int n = first; n < first + count; ++n) {
    serializer.Insert(RowOid(n), new SilentAction);
  }
}

void Complete(Serializer& serializer, unsigned int first, unsigned int count) {
  for (unsigned int n = first; n < first + count; ++n) {
    const MibOid row = RowOid(n);
    serializer.RunPendingAction(const_cast<unsigned int*>(row.GetSubIds()), row.GetLength());
  }
}

unsigned int Existing(const benchmark::State& state) {
  return static_cast<unsigned int>(state.range(0));
}

void CountPerRow(benchmark::State& state, unsigned int rows) {
  state.counters["per_row"] = benchmark::Counter(
      rows, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void SerializerActivation(benchmark::State& state) {
  Serializer serializer;
  serializer.RunPendingActions();
  Activate(serializer, 0, Existing(state));
  for (auto _ : state) {
    Activate(serializer, Existing(state), BATCH);
    state.PauseTiming();
    Complete(serializer, Existing(state), BATCH);
    state.ResumeTiming();
  }
  CountPerRow(state, BATCH);
}

void SerializerCompletion(benchmark::State& state) {
  Serializer serializer;
  serializer.RunPendingActions();
  Activate(serializer, 0, Existing(state));
  for (auto _ : state) {
    state.PauseTiming();
    Activate(serializer, Existing(state), BATCH);
    state.ResumeTiming();
    Complete(serializer, Existing(state), BATCH);
  }
  CountPerRow(state, BATCH);
}

// A request that waits behind the one in flight, and the completion that releases it.
void SerializerQueued(benchmark::State& state) {
  Serializer serializer;
  serializer.RunPendingActions();
  Activate(serializer, 0, Existing(state));
  const unsigned int stride = Existing(state) / BATCH;
  unsigned int first = 0;
  for (auto _ : state) {
    for (unsigned int n = 0; n < BATCH; ++n) {
      const unsigned int row = (first + n * stride) % Existing(state);
      Activate(serializer, row, 1);
      Complete(serializer, row, 1);
    }
    ++first;
  }
  CountPerRow(state, BATCH);
}

// The ready signal releases everything that was asked for before it.
void SerializerReadySignal(benchmark::State& state) {
  double bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    {
      const std::size_t before = test_support::AllocatedBytes();
      Serializer serializer;
      Activate(serializer, 0, Existing(state));
      state.ResumeTiming();
      serializer.RunPendingActions();
      state.PauseTiming();
      bytes = static_cast<double>(test_support::AllocatedBytes() - before) / Existing(state);
    }
    state.ResumeTiming();
  }
  state.counters["bytes_per_row"] = bytes;
  CountPerRow(state, Existing(state));
}

#define ON_SIZES(benchmark) \
  BENCHMARK(benchmark)->ArgName("existing")->Arg(1000)->Arg(10000)->Arg(100000)

ON_SIZES(SerializerActivation);
ON_SIZES(SerializerCompletion);
ON_SIZES(SerializerQueued);
ON_SIZES(SerializerReadySignal)->Unit(benchmark::kMillisecond);

}  // namespace
