// A network that lives on one device in virtual time: what happens to it, and how often.
#ifndef BENCH_SOAK_NETWORK_H
#define BENCH_SOAK_NETWORK_H

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"

namespace soak {

/// Events come at random moments (Poisson), each kind with its own mean distance. The rates are those
/// of a large access site; the reasons stand beside the table in network.cpp.
enum Kind {
  ROUTE_CHANGES,
  INTERFACE_FLAPS,
  ADDRESS_CHANGES,
  DOCUMENT_CHANGES,
  DOCUMENT_REPEATS,
  VLANS_GO,
  STACK_IS_BUSY,
  STACK_REFUSES,
  CONSOLE_WALKS,
  KINDS
};

/// The population and what becomes of it. Everything a kind of event starts (a link that comes back, a
/// route that returns) is an event of its own, later.
class Network {
 public:
  /// `leakBytes` is a fault for testing the tool itself: so much is lost at each flap of a link.
  Network(unsigned int vlans, unsigned int routes, unsigned int seed, std::size_t leakBytes);

  /// Lets so much time go by, with all that happens in it.
  void Run(std::uint64_t milliseconds);
  /// One of each kind at once, so that whatever is made once is made before memory is compared.
  void Rehearse();
  /// Undoes what happened: the first document, every link up, every address and route in place. Then
  /// the stack's tables are looked at. Empty, or what differs.
  std::string Restore();

  /// Since the start, in the order of Kind.
  const std::array<std::uint64_t, KINDS>& Happened() const { return m_happened; }
  std::uint64_t LinesPrinted() const { return m_linesPrinted; }
  /// Requests of the host for routes, and those that reached the stack: more, by what the library
  /// asked again of a busy stack.
  std::uint64_t RoutesAsked() const { return m_routesAsked; }
  std::uint64_t RouteRequests();
  /// Routes that were found to be other than asked for when all was restored: refused ones.
  std::uint64_t RoutesRefused() const { return m_routesRefused; }

  static const char* NameOf(Kind kind);

 private:
  void Happen(Kind kind);
  /// Now and then from now on.
  void Recur(Kind kind);
  void In(std::uint64_t milliseconds, std::function<void()> what);
  std::uint64_t Gap(Kind kind);
  unsigned int Below(unsigned int below);

  void Load(unsigned int vlans, unsigned int changed);
  void SetRoute(unsigned int route, bool there);
  void SetLink(unsigned int vlan, bool up);
  void ChangeAddress(unsigned int vlan, unsigned int host);
  void AddInterfaces();
  void AddRoutesOf(unsigned int firstVlan);
  void CountRefused();
  void VlansGo();
  void Walk();
  void ForgetEndedWalks();

  const unsigned int m_vlans;
  const unsigned int m_routes;
  const std::size_t m_leakBytes;
  std::mt19937 m_engine;
  test_support::Device m_device;
  std::uint64_t m_now = 0;
  std::multimap<std::uint64_t, std::function<void()>> m_due;
  std::vector<std::shared_ptr<test_support::ConsoleLog>> m_walks;
  std::array<std::uint64_t, KINDS> m_happened{};
  std::uint64_t m_linesPrinted = 0;
  std::uint64_t m_routesAsked = 0;
  std::uint64_t m_routesRefused = 0;
  std::vector<bool> m_routeAsked;  // by number: whether the host last asked for it
  unsigned int m_vlansAway = 0;
};

}  // namespace soak

#endif
