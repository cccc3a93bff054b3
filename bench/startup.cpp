// What a process pays for the library before it does anything: loading it and initialising the router
// manager, on a stack that does nothing. A program of its own, since both happen once in a process.
#include <time.h>

#include <cstdio>

#include "device/base/timer_loop.h"
#include "device/base/trace_control.h"
#include "vantacore/dc_router_mgr.h"

namespace {

class NoInterfaces : public Tarsel::DcIpInterface {
 public:
  bool IsInterfaceUp(unsigned short, unsigned int) const override { return false; }
};

}  // namespace

int main() {
  Tarsel::VirtualLoop loop;
  Tarsel::TimerLoop::SetCurrent(&loop);
  Tarsel::SetTraceLevel(0);
  NoInterfaces interfaces;
  Tarsel::DcRouterMgr::GetInstance()->Initialize(1, &interfaces);
  timespec used;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  std::printf("%.6f\n",
              static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec));
  Tarsel::TimerLoop::SetCurrent(nullptr);
}
