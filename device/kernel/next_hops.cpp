#include "next_hops.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

namespace kernel {

namespace {

constexpr std::size_t POINTER_BYTES = sizeof(void*);

}  // namespace

struct NextHops::Shared {
  std::size_t owners = 1;
  std::vector<NextHop> hops;
};

static_assert(sizeof(NextHops) == sizeof(NextHop), "one next hop pays nothing");

NextHops::NextHops(const NextHop& one) {
  if (one.ifIndex != SEVERAL) {
    m_one = one;
  }
}

NextHops::NextHops(const std::vector<NextHop>& several) {
  auto shared = std::make_unique<Shared>();
  for (const NextHop& hop : several) {
    if (std::find(shared->hops.begin(), shared->hops.end(), hop) == shared->hops.end()) {
      shared->hops.push_back(hop);
    }
  }
  if (shared->hops.size() > 1) {
    Point(shared.release());
  } else if (!shared->hops.empty()) {
    *this = NextHops(shared->hops.front());
  }
}

std::size_t NextHops::Count() const {
  return AreSeveral() ? GetShared()->hops.size() : AreKnown() ? 1 : 0;
}

const NextHop* NextHops::begin() const { return AreSeveral() ? GetShared()->hops.data() : &m_one; }

// No two of one side are equal.
bool NextHops::AreSame(const NextHops& a, const NextHops& b) {
  const std::vector<NextHop>& left = a.GetShared()->hops;
  const std::vector<NextHop>& right = b.GetShared()->hops;
  return left == right || (left.size() == right.size() &&
                           std::all_of(left.begin(), left.end(), [&right](const NextHop& hop) {
                             return std::find(right.begin(), right.end(), hop) != right.end();
                           }));
}

void NextHops::Point(Shared* shared) {
  static_assert(POINTER_BYTES <= sizeof m_one.gateway);
  m_one = {};
  std::memcpy(m_one.gateway.data(), &shared, POINTER_BYTES);
  m_one.ifIndex = SEVERAL;
}

NextHops::Shared* NextHops::GetShared() const {
  Shared* shared = nullptr;
  std::memcpy(&shared, m_one.gateway.data(), POINTER_BYTES);
  return shared;
}

void NextHops::Share() const { ++GetShared()->owners; }

void NextHops::Release() const {
  Shared* const shared = GetShared();
  if (--shared->owners == 0) {
    delete shared;
  }
}

std::string DescribeNextHops(const NextHops& nextHops, bool isIp6) {
  std::string text;
  for (const NextHop& hop : nextHops) {
    text += (text.empty() ? "" : ", ") + DescribeNextHop(hop, isIp6);
  }
  return text;
}

}  // namespace kernel
