// The configuration scheduler with many items in one bucket: each operation on a batch of rows while
// `existing` others are pending, and a pass over items that the stack has not answered.
#include <benchmark/benchmark.h>

#include <memory>

#include "device/base/timer_loop.h"
#include "tests/support/allocated_bytes.h"
#include "tests/support/silent_items.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using namespace Tarsel;
using test_support::SilentRoute;

constexpr CfgKey KEY = {10, ROW_TYPE_STATIC_ROUTE};
constexpr unsigned int BATCH = 500;

struct Pending {
  Pending(unsigned int count, bool issued) : sched(new CfgSched) {
    TimerLoop::SetCurrent(&loop);
    DcRtmMgr::GetInstance()->SetRtmReady(10);
    for (unsigned int n = 0; n < count; ++n) {
      Insert(n, issued);
    }
  }
  ~Pending() {
    sched.reset();
    TimerLoop::SetCurrent(nullptr);
  }
  void Insert(unsigned int number, bool issued) {
    SilentRoute* route = new SilentRoute(number);
    if (issued) {
      route->SetActionState(CfgItem::ISSUED);
    }
    sched->Insert(KEY, route);
  }

  VirtualLoop loop;
  std::unique_ptr<CfgSched> sched;
};

unsigned int Existing(const benchmark::State& state) {
  return static_cast<unsigned int>(state.range(0));
}

void CountPerItem(benchmark::State& state, unsigned int items) {
  state.counters["per_item"] = benchmark::Counter(
      items, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void SchedulerInsert(benchmark::State& state) {
  Pending pending(Existing(state), false);
  for (auto _ : state) {
    for (unsigned int n = 0; n < BATCH; ++n) {
      pending.Insert(Existing(state) + n, false);
    }
    state.PauseTiming();
    for (unsigned int n = 0; n < BATCH; ++n) {
      pending.Insert(Existing(state) + n, true);  // replaced by an issued one, which can be removed
      SilentRoute probe(Existing(state) + n);
      pending.sched->Remove(KEY, &probe, 1);
    }
    state.ResumeTiming();
  }
  CountPerItem(state, BATCH);
}

// The rows of a batch: neighbours, as a document names them, or spread over the bucket, where every
// one of them is cold.
class Rows {
 public:
  explicit Rows(const benchmark::State& state)
      : m_count(Existing(state)), m_stride(state.range(1) != 0 ? m_count / BATCH : 1), m_next(0) {}
  unsigned int Next() {
    m_next += m_stride;
    if (m_next >= m_count) {
      m_next = m_stride > 1 ? (m_next + 1) % m_stride : 0;
    }
    return m_next;
  }

 private:
  const unsigned int m_count;
  const unsigned int m_stride;
  unsigned int m_next;
};

void SchedulerReplace(benchmark::State& state) {
  Pending pending(Existing(state), false);
  Rows rows(state);
  for (auto _ : state) {
    for (unsigned int n = 0; n < BATCH; ++n) {
      pending.Insert(rows.Next(), false);
    }
  }
  CountPerItem(state, BATCH);
}

void SchedulerUpdate(benchmark::State& state) {
  Pending pending(Existing(state), true);
  Rows rows(state);
  for (auto _ : state) {
    for (unsigned int n = 0; n < BATCH; ++n) {
      SilentRoute probe(rows.Next());
      pending.sched->Update(KEY, &probe, 3, false);
    }
  }
  CountPerItem(state, BATCH);
}

void SchedulerRemove(benchmark::State& state) {
  Pending pending(Existing(state), true);
  for (auto _ : state) {
    state.PauseTiming();
    for (unsigned int n = 0; n < BATCH; ++n) {
      pending.Insert(Existing(state) + n, true);
    }
    state.ResumeTiming();
    for (unsigned int n = 0; n < BATCH; ++n) {
      SilentRoute probe(Existing(state) + n);
      pending.sched->Remove(KEY, &probe, 1);
    }
  }
  CountPerItem(state, BATCH);
}

// From nothing to `existing` items, and the memory that each of them takes.
void SchedulerFill(benchmark::State& state) {
  double bytes = 0;
  for (auto _ : state) {
    const std::size_t before = test_support::AllocatedBytes();
    Pending pending(Existing(state), false);
    bytes = static_cast<double>(test_support::AllocatedBytes() - before) / Existing(state);
    state.PauseTiming();
    pending.sched.reset();
    state.ResumeTiming();
  }
  state.counters["bytes_per_item"] = bytes;
  CountPerItem(state, Existing(state));
}

// A pass when nothing has changed since the last one.
void SchedulerTickSettled(benchmark::State& state) {
  Pending pending(Existing(state), true);
  for (auto _ : state) {
    pending.sched->OnTimeout(0, nullptr);
  }
}

// A pass that finds one New item behind all the others, which are issued and are asked on the way.
void SchedulerTickOneNew(benchmark::State& state) {
  Pending pending(Existing(state), true);
  SilentRoute* last = new SilentRoute(Existing(state));
  pending.sched->Insert(KEY, last);
  for (auto _ : state) {
    pending.sched->OnTimeout(0, nullptr);
    last->SetActionState(CfgItem::NEW);
  }
}

#define ON_SIZES(benchmark) \
  BENCHMARK(benchmark)->ArgName("existing")->Arg(1000)->Arg(10000)->Arg(100000)
#define ON_SIZES_AND_ORDERS(benchmark)   \
  BENCHMARK(benchmark)                   \
      ->ArgNames({"existing", "spread"}) \
      ->ArgsProduct({{1000, 10000, 100000}, {0, 1}})

ON_SIZES(SchedulerInsert);
ON_SIZES_AND_ORDERS(SchedulerReplace);
ON_SIZES_AND_ORDERS(SchedulerUpdate);
ON_SIZES(SchedulerRemove);
ON_SIZES(SchedulerFill)->Unit(benchmark::kMillisecond);
ON_SIZES(SchedulerTickSettled)->Unit(benchmark::kMicrosecond);
ON_SIZES(SchedulerTickOneNew)->Unit(benchmark::kMicrosecond);

}  // namespace
