// The numbers of candidates of one RIB, kept with each change, together with those of all RIBs.
#ifndef DEVICE_STACK_KEPT_COUNTS_H
#define DEVICE_STACK_KEPT_COUNTS_H

#include "facts.h"

namespace routing_stack {

class KeptCounts {
 public:
  /// `all` is borrowed, and what these counts add to.
  explicit KeptCounts(RouteCounts& all) : m_all(all) {}

  const RouteCounts& Get() const { return m_own; }

  // A candidate of the protocol; one that is installed was counted when it came, and is taken out
  // of the forwarding table before it goes.

  void Came(RouteProtocol protocol) {
    ++m_own.candidates[At(protocol)];
    ++m_all.candidates[At(protocol)];
  }
  void Went(RouteProtocol protocol) {
    --m_own.candidates[At(protocol)];
    --m_all.candidates[At(protocol)];
  }
  void Installed(RouteProtocol protocol) {
    ++m_own.installed[At(protocol)];
    ++m_all.installed[At(protocol)];
  }
  void Uninstalled(RouteProtocol protocol) {
    --m_own.installed[At(protocol)];
    --m_all.installed[At(protocol)];
  }

  /// All candidates go at once.
  void Clear() {
    for (std::size_t i = 0; i < kRouteProtocols; ++i) {
      m_all.candidates[i] -= m_own.candidates[i];
      m_all.installed[i] -= m_own.installed[i];
    }
    m_own = {};
  }

 private:
  static std::size_t At(RouteProtocol protocol) { return static_cast<std::size_t>(protocol); }

  RouteCounts& m_all;
  RouteCounts m_own;
};

}  // namespace routing_stack

#endif
