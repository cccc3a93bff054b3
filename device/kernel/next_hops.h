// Where a route of the kernel leads.
#ifndef DEVICE_KERNEL_NEXT_HOPS_H
#define DEVICE_KERNEL_NEXT_HOPS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "route.h"

namespace kernel {

/// One next hop, or several that packets are spread over in equal shares. A value: of several a
/// route keeps an address only, so that one that leads to one next hop pays nothing for it. Copies
/// share what they point to, and all copies of one belong to one thread.
class NextHops {
 public:
  /// More of them no route has.
  static constexpr std::size_t MOST = 64;

  /// None: it is not known where the route leads.
  NextHops() = default;
  /// None if it has no interface, or one that no kernel has.
  NextHops(const NextHop& one);  // a next hop is where a route leads, too: no word for it is needed
  /// One to MOST, each with an interface. What is equal to another one stands once.
  explicit NextHops(const std::vector<NextHop>& several);
  NextHops(const NextHops& other) : m_one(other.m_one) {
    if (AreSeveral()) {
      Share();
    }
  }
  NextHops(NextHops&& other) noexcept : m_one(other.m_one) { other.m_one = {}; }
  NextHops& operator=(NextHops other) noexcept {
    std::swap(m_one, other.m_one);
    return *this;
  }
  ~NextHops() {
    if (AreSeveral()) {
      Release();
    }
  }

  bool AreKnown() const { return m_one.ifIndex != 0; }
  bool AreSeveral() const { return m_one.ifIndex == SEVERAL; }
  std::size_t Count() const;
  // In the order in which they were given.
  const NextHop* begin() const;
  const NextHop* end() const { return begin() + Count(); }

  /// Whether both are the same, in whatever order.
  friend bool operator==(const NextHops& a, const NextHops& b) {
    return a.m_one == b.m_one || (a.AreSeveral() && b.AreSeveral() && AreSame(a, b));
  }
  friend bool operator!=(const NextHops& a, const NextHops& b) { return !(a == b); }

 private:
  /// No interface of a kernel has this index.
  static constexpr std::uint32_t SEVERAL = UINT32_MAX;
  struct Shared;

  static bool AreSame(const NextHops& a, const NextHops& b);
  void Point(Shared* shared);
  Shared* GetShared() const;
  void Share() const;
  void Release() const;

  /// The only one. With the index SEVERAL its gateway has the address of what is shared.
  NextHop m_one;
};

/// "via 10.1.2.1 dev 3", "dev 3", "via 10.1.2.1 dev 3, via 10.1.3.1 dev 4".
std::string DescribeNextHops(const NextHops& nextHops, bool isIp6);

}  // namespace kernel

#endif
