// A kernel's routing tables, for tests: it understands the messages of kernel::Batch and answers as
// the real one does.
#ifndef TESTS_UNIT_KERNEL_FAKE_KERNEL_H
#define TESTS_UNIT_KERNEL_FAKE_KERNEL_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "device/kernel/messages.h"
#include "device/kernel/netlink_socket.h"
#include "fake_rules.h"

namespace test_kernel {

/// "10.9.0.0/16" of a table.
kernel::RouteKey Key(const std::string& prefix, std::uint32_t table = kernel::MAIN_TABLE);
/// "10.1.2.1", or empty for none.
kernel::NextHop Hop(const std::string& gateway, std::uint32_t ifIndex = 3);

/// "10.1.2.1 10.1.3.1 10.1.4.1": over the interfaces 3, 4, 5 and so on.
kernel::NextHops Hops(const std::string& gateways);

/// For tests that need some keys.
inline const kernel::RouteKey KEY = Key("10.9.0.0/16");
inline const kernel::RouteKey OTHER = Key("10.10.0.0/16");

struct KeyOrder {
  bool operator()(const kernel::RouteKey& a, const kernel::RouteKey& b) const {
    return std::tie(a.table, a.isIp6, a.destination, a.length) <
           std::tie(b.table, b.isIp6, b.destination, b.length);
  }
};

/// Requests may be worked off in another thread than the test's, as a real kernel does; the numbers
/// may be asked for meanwhile, and what is public be touched while nothing is under way.
class FakeKernel {
 public:
  struct Route {
    unsigned char protocol = kernel::OUR_PROTOCOL;
    kernel::NextHops nextHops;
    bool hasDeadNextHop = false;  // a dump says so
  };
  using Routes = std::map<std::uint32_t, Route>;  // of one key, by priority

  /// Works a batch off; the answers are those that the kernel would send, in their order. The bytes
  /// are those that Batch::Finish returns.
  std::vector<kernel::Answer> Work(const std::vector<char>& bytes);
  /// What a dump tells: all routes of ours of a family.
  std::vector<kernel::FoundRoute> Dump(bool isIp6) const;

  /// Where our routes lead, one for each key: the one that a packet takes.
  std::map<kernel::RouteKey, kernel::NextHops, KeyOrder> OurRoutes() const;
  /// How many routes of ours there are, counting both of a key.
  std::size_t CountOurs() const;

  std::map<kernel::RouteKey, Routes, KeyOrder> tables;
  /// Asked about each request before it is carried out: an errno refuses it.
  std::function<int(const kernel::RouteKey&, bool isDeletion)> refuse;
  std::size_t requests = 0;
  FakeRules rules;
  /// Called after each request: whether a packet to a key would have found nothing.
  std::function<void()> afterRequest;

 private:
  std::vector<kernel::FoundRoute> OursOf(bool isIp6) const;
  int Add(const kernel::FoundRoute& route);
  int Delete(const kernel::FoundRoute& route);

  mutable std::mutex m_mutex;
};

}  // namespace test_kernel

#endif
