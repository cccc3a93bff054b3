// A route ledger with a kernel of its own behind it.
#ifndef TESTS_UNIT_KERNEL_LEDGER_DRIVER_H
#define TESTS_UNIT_KERNEL_LEDGER_DRIVER_H

#include "device/kernel/route_ledger.h"
#include "fake_kernel.h"

namespace test_kernel {

struct LedgerDriver {
  /// Sends what there is to send, in batches of `most`, until nothing is left. Returns how many
  /// requests that took.
  std::size_t SendAll(std::size_t most = 100) {
    const std::size_t before = kernel.requests;
    while (ledger.HasRequests()) {
      Send(most);
    }
    return kernel.requests - before;
  }
  void Send(std::size_t most) {
    ::kernel::Batch batch;
    ledger.FillBatch(batch, most);
    if (!batch.IsEmpty()) {
      for (const ::kernel::Answer& answer : kernel.Work(batch.Finish())) {
        ledger.TakeAnswer(answer);
      }
    }
  }
  void ReadTables() {
    for (const bool isIp6 : {false, true}) {
      for (const ::kernel::FoundRoute& route : kernel.Dump(isIp6)) {
        ledger.TakeFound(route);
      }
    }
  }
  void EndPass(std::size_t most = 100) {
    while (ledger.ContinuePass(most)) {
    }
  }
  ::kernel::Comparison Compare() {
    ledger.BeginComparison();
    ReadTables();
    ledger.EndComparison();
    EndPass();
    return ledger.GetComparison();
  }
  /// As a daemon that has started and has settled.
  void Begin() {
    Compare();
    ledger.BeginSweep();
    EndPass();
    SendAll();
  }

  FakeKernel kernel;
  std::uint64_t now = 1000000;
  ::kernel::RouteLedger ledger{[this] { return now; }};
};

}  // namespace test_kernel

#endif
