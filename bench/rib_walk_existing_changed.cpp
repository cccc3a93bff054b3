// `rtm rib` over a large RIB: every row is handed to the command, which prints those of its VLAN.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstring>

#include "bench/device.h"
#include "tests/support/recording_console.h"
#include "vantacore/rtm_commands.h"

namespace {

constexpr std::uint64_t LIMIT_MS = 100000000;

routing_stack::Candidate CandidateOf(unsigned int n, unsigned int instance) {
  routing_stack::Candidate candidate;
  candidate.instance = instance;
  const unsigned char destination[4] = {static_cast<unsigned char>(20 + (n >> 16)),
                                        static_cast<unsigned char>(n >> 8),
                                        static_cast<unsigned char>(n), 0};
  std::memcpy(candidate.destination, destination, sizeof destination);
  candidate.prefixLength = 24;
  candidate.proto = 14;
  candidate.metric = 10;
  return candidate;
}

// The processor time of this thread, which other work on the machine does not lengthen.
double CpuMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return 1e3 * static_cast<double>(now.tv_sec) + 1e-6 * static_cast<double>(now.tv_nsec);
}

/// Fires one timer after the other until the command is gone; the longest of these pieces of work.
double LongestSlice(Tarsel::VirtualLoop& loop, const bool& ended) {
  double longest = 0;
  while (!ended) {
    const double before = CpuMilliseconds();
    if (!loop.RunNext()) break;
    longest = std::max(longest, CpuMilliseconds() - before);
  }
  return longest;
}

/// Walks `rows` rows of which none is the command's: what a skipped row costs.
void RibWalkOtherVlan(benchmark::State& state) {
  const auto rows = static_cast<unsigned int>(state.range(0));
  test_support::Device& device = bench::TheDevice();
  device.Reload("{\"VLAN_CONFIGURATIONS\": {\"a\": {\"vid\": 10}, \"b\": {\"vid\": 20}}}",
                "vlans.json");
  if (!device.Settle(LIMIT_MS)) state.SkipWithError("the VLANs did not come");
  for (unsigned int n = 0; n < rows; ++n) device.Control().PutCandidate(CandidateOf(n, 20));
  if (!device.Settle(LIMIT_MS)) state.SkipWithError("the candidates were not placed");
  double longest = 0;
  for (auto _ : state) {
    const auto log = test_support::NewConsoleLog(10);
    auto* command = new Tarsel::RtmRibCommand(new test_support::RecordingConsole(log), 0);
    if (!command->Parse(0, nullptr)) {
      delete command;
      state.SkipWithError("the command does not start");
      break;
    }
    longest = std::max(longest, LongestSlice(device.loop, log->destroyed));
    if (!log->destroyed) state.SkipWithError("the walk does not end");
  }
  state.counters["longest_slice_ms"] = longest;
  state.counters["per_row"] =
      benchmark::Counter(static_cast<double>(rows), benchmark::Counter::kIsIterationInvariantRate |
                                                        benchmark::Counter::kInvert);
  for (unsigned int n = 0; n < rows; ++n) device.Control().RemoveCandidate(CandidateOf(n, 20));
  device.Reload(bench::EmptyDocument(), "vlans.json");
  if (!device.Settle(LIMIT_MS)) state.SkipWithError("the VLANs did not go");
}

BENCHMARK(RibWalkOtherVlan)
    ->ArgName("rows")
    ->Arg(1000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
