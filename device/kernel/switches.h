// The machine's switches for forwarding. They are read, and never written.
#ifndef DEVICE_KERNEL_SWITCHES_H
#define DEVICE_KERNEL_SWITCHES_H

#include <cstddef>
#include <string>
#include <vector>

namespace kernel {

/// An interface over which something may come in that is to be forwarded.
struct Entrance {
  std::string name;  // the kernel's
  /// What comes in there is not looked up in the main table.
  bool hasOwnTable = false;
};

/// What is to be forwarded.
struct Families {
  bool ip4 = false;
  bool ip6 = false;
};

struct Obstacles {
  std::size_t switches = 0;        // that were read
  std::vector<std::string> lines;  // "/proc/sys/net/ipv4/ip_forward is 0: nothing is forwarded"
};

/// Finds switches that stand against what is to be forwarded. Reads a few files for each entrance,
/// in the namespace of the process; may be called in any thread. One that cannot be read stands
/// against nothing. `root` is for tests.
Obstacles FindObstacles(const std::vector<Entrance>& entrances, const Families& families,
                        const std::string& root = "/proc/sys/net");

}  // namespace kernel

#endif
