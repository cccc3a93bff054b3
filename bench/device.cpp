#include "bench/device.h"

#include <cstdlib>

#include "device/base/trace_control.h"

namespace bench {

test_support::Device& TheDevice() {
  static test_support::Device* device = [] {
    Tarsel::SetTraceLevel(0);
    Tarsel::SetTraceSink([](int, const std::string&) {});
    // The VLANs here have no primary interface, which the stack's question for one reports each time.
    Tarsel::SetAssertSink([](const char*, const char*, int) {});
    auto* started = new test_support::Device;  // as long-lived as the library's singletons
    started->Start(1);
    if (!started->Settle()) std::abort();
    return started;
  }();
  return *device;
}

}  // namespace bench
