// Routes in the order of their identities, and what is known of each.
#ifndef DEVICE_ROUTES_ROUTE_SET_H
#define DEVICE_ROUTES_ROUTE_SET_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "device/intent/route_resolution.h"
#include "device/rows/row.h"

namespace routes {

/// How far a route has come. There may be a million of them, so it takes four bytes.
struct RouteState {
  enum Kind : unsigned char {
    NEVER_ASKED,  // it is to be asked for, and neither the library nor the stack has any of it
    TO_ASK,       // so too, and they may have something of it
    UNDER_WAY,    // `value` is the number of its request
    SETTLED,      // the stack has accepted what is wanted of it
    REFUSED,      // given up; `value` is the last answer's status, 0 if none is known
    // Of a leaving route of whose prefix others are wanted (RouteHandover). It stays in force.
    AWAITING,  // the request for one of those has not been answered
    KEPT       // they have been, and none of them can take its place yet
  };
  /// What `value` consists of in TO_ASK, AWAITING and KEPT.
  enum Flag : std::uint32_t {
    GIVEN_UP = 1,  // a request for it has been given up since it was accepted last
    CHANGED = 2,   // of AWAITING and KEPT: the stack may have another metric of it, or nothing
    DUE = 4        // of TO_ASK: it goes, whatever is wanted of its prefix
  };
  static constexpr std::uint32_t LARGEST_VALUE = (1u << 24) - 1;

  Kind kind;
  std::uint32_t value : 24;

  static constexpr RouteState ToAsk(bool afterRefusal) {
    return {TO_ASK, afterRefusal ? GIVEN_UP : 0u};
  }
  bool IsToAsk() const { return kind == NEVER_ASKED || kind == TO_ASK; }
  /// Whether it stays in force until another one takes its place.
  bool IsHeld() const { return kind == AWAITING || kind == KEPT; }
  /// Whether the library has an item that was given up.
  bool HasGivenUp() const {
    return kind == REFUSED || ((kind == TO_ASK || IsHeld()) && (value & GIVEN_UP) != 0);
  }
  /// Of one that is held and goes now.
  RouteState LetGo() const { return {TO_ASK, (value & GIVEN_UP) | DUE}; }
};

/// What has happened to a route since it is wanted, for those who ask. It takes twelve bytes; what
/// does not fit stays at the greatest number.
struct RouteLife {
  static constexpr std::uint32_t LARGEST_REVISION = (1u << 24) - 1;

  std::uint32_t asked = 0;       // when it was asked for last: seconds by the port's clock
  std::uint16_t answeredIn = 0;  // of the last answer: so many seconds later
  std::uint16_t count = 0;       // how often it has been asked for, to be there or to go
  std::uint32_t status : 8;      // of the last answer; 0 while there is none
  std::uint32_t revision : 24;   // that was in force when it was wanted first; 0 if none was

  RouteLife() : status(0), revision(0) {}
  void Asked(std::uint64_t milliseconds);
  void Answered(std::uint64_t milliseconds, unsigned int answer);
};

/// Below, equal to or above 0, in the order of prefixes: VLAN, family, destination and length.
inline int ComparePrefixes(const documents::RouteTarget& a, const documents::RouteTarget& b) {
  if (a.vlan != b.vlan) {
    return a.vlan < b.vlan ? -1 : 1;
  }
  if (a.ip6 != b.ip6) {
    return a.ip6 < b.ip6 ? -1 : 1;
  }
  constexpr std::size_t SIZE = sizeof(a.destination);
  if (const int order = std::memcmp(a.destination.data(), b.destination.data(), SIZE)) {
    return order;
  }
  return a.length == b.length ? 0 : a.length < b.length ? -1 : 1;
}

/// Below, equal to or above 0, in the order of identities. Each is a ResolvedRoute or a RouteRow.
template <class A, class B>
int CompareRoutes(const A& a, const B& b) {
  const documents::RouteTarget& left = a.target;
  const documents::RouteTarget& right = b.target;
  if (const int order = ComparePrefixes(left, right)) {
    return order;
  }
  constexpr std::size_t SIZE = sizeof(left.gateway);
  if (const int order = std::memcmp(left.gateway.data(), right.gateway.data(), SIZE)) {
    return order;
  }
  return a.ifIndex == b.ifIndex ? 0 : a.ifIndex < b.ifIndex ? -1 : 1;
}

/// The routes are shared and never change; their states do.
struct RouteSet {
  static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

  intent::SharedRoutes routes = std::make_shared<const intent::ResolvedRoutes>();
  std::vector<RouteState> states;  // as many as routes
  /// So many, too. Shared, so that a plan does not copy them; they change as states do.
  std::shared_ptr<std::vector<RouteLife>> lives = std::make_shared<std::vector<RouteLife>>();

  const intent::ResolvedRoute& At(std::size_t position) const { return (*routes)[position]; }
  /// The route's position, or NONE.
  std::size_t Find(const rows::RouteRow& row) const;
  /// The position of the first route of this prefix or a later one; at the end their number.
  std::size_t FirstOf(const documents::RouteTarget& prefix) const;
  /// Whether the position is that of a route of this prefix.
  bool HasAt(std::size_t position, const documents::RouteTarget& prefix) const {
    return position < states.size() && ComparePrefixes(At(position).target, prefix) == 0;
  }
  /// The position of the first route of this VLAN or a later one; at the end their number.
  std::size_t FirstOf(unsigned int vlan) const;
};

}  // namespace routes

#endif
