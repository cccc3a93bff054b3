// What the library allocates while it is being loaded: the options of the two table commands, which
// are objects of the process, and nothing else. Every process that links the library pays for this,
// whether it configures a router or not.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "vantacore/dc_router_mgr.h"

namespace {

constexpr int OPTIONS_PER_TABLE = 3;
constexpr int TABLES = 2;

constexpr int MAX_CALLERS = 1024;
void* g_callers
    [MAX_CALLERS];  // constant-initialised: the loader runs the library before this program
int g_calls = 0;
bool g_loading = true;

void* Allocate(std::size_t size, void* caller) {
  if (g_loading && g_calls < MAX_CALLERS) {
    g_callers[g_calls++] = caller;
  }
  return std::malloc(size);
}

bool IsLibrary(void* address) {
  Dl_info info;
  return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "libvantacore.so") != nullptr;
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size, __builtin_return_address(0)); }
void* operator new[](std::size_t size) { return Allocate(size, __builtin_return_address(0)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, __builtin_return_address(0));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

int main() {
  g_loading = false;
  int allocations = 0;
  for (int i = 0; i < g_calls; ++i) {
    allocations += IsLibrary(g_callers[i]) ? 1 : 0;
  }
  // The library is in the process, or nothing was looked at.
  const char* name = Tarsel::DcRouterMgr::RouterName(Tarsel::DcRouterMgr::PROTOCOL_MLD);
  std::printf("%d allocations at load, %d by the library\n", g_calls, allocations);
  const bool holds = std::strcmp(name, "MLD") == 0 && g_calls < MAX_CALLERS &&
                     allocations == OPTIONS_PER_TABLE * TABLES;
  return holds ? 0 : 1;
}
