#include "host.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>

namespace views {

// The second number of /proc/self/statm is that of resident pages.
std::uint64_t FindResidentBytes() {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/proc/self/statm", "re"),
                                                             std::fclose);
  unsigned long long all = 0;
  unsigned long long resident = 0;
  if (!file || std::fscanf(file.get(), "%llu %llu", &all, &resident) != 2) {
    return 0;
  }
  return resident * static_cast<unsigned long long>(sysconf(_SC_PAGESIZE));
}

std::uint64_t FindUptimeSeconds(const Host& host) {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(std::time(nullptr) - host.started, 0));
}

std::string Describe(const KernelRefusal& refusal) {
  return (refusal.isOfDeletion ? "does not give up an old route: " : "refuses it: ") +
         refusal.reason + ", next try " +
         (refusal.nextTry == 0 ? "now" : "in " + std::to_string(refusal.nextTry) + " s");
}

}  // namespace views
