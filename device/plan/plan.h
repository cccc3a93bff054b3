// The way from one configuration to another: what a reload would do.
#ifndef DEVICE_PLAN_PLAN_H
#define DEVICE_PLAN_PLAN_H

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "device/intent/intent.h"

namespace plan {

enum class Thing { VLAN, INTERFACE, ADDRESS, PROTOCOL, ROW, ROUTE, RULE, SETTING };
enum class How { ADDED, REMOVED, CHANGED };

struct Count {
  std::size_t added = 0;
  std::size_t removed = 0;
  std::size_t changed = 0;

  bool IsEmpty() const { return added == 0 && removed == 0 && changed == 0; }
};

struct Totals {
  Count vlans;
  Count interfaces;
  Count addresses;
  Count protocols;  // that run
  Count rows;       // of protocols
  Count routes;
  Count rules;
  Count settings;  // of the device: the default VLAN, what is done in the kernel
  /// To the stack, as far as documents tell: how many rows it is asked for, to make, to change or to
  /// remove. A VLAN is two rows, one in each family, and so is an interface; an address, a row of a
  /// protocol, a route and a rule are one each. Another IPv4 address takes two, since the old one is
  /// removed, and an interface with another name is removed, with its addresses, and made again. A
  /// route whose interface gets another index takes two, one that waits for its interface none. The
  /// rows of protocols in a VLAN that leaves go without being asked for.
  std::size_t requests = 0;

  bool IsEmpty() const;
};

/// The prefix of a static route.
struct Prefix {
  unsigned short vlan = 0;
  bool ip6 = false;
  unsigned char length = 0;
  std::array<unsigned char, 16> destination{};  // in network order
};

/// What the way takes away from one VLAN.
struct VlanLoss {
  unsigned short vlan = 0;
  bool isLeaving = false;              // the whole VLAN
  std::size_t prefixes = 0;            // that have a route now
  std::vector<Prefix> lost;            // of these, those without a wanted route afterwards
  std::vector<std::string> allRowsOf;  // protocols that have more than one row now, and none then
};

/// What can be told without the stack. Lines are not kept: there can be a million (ListChanges).
struct Plan {
  Totals totals;
  std::vector<VlanLoss> losses;  // in the order of VLANs, those without a loss left out
};

/// Neither calls the library nor keeps anything: for any thread. VLANs of which both have the same
/// text in the same documents are not looked into, so the cost follows what has changed: about
/// 25 ns for each route of the VLANs that have, 30 us for each VLAN, and half a microsecond for each
/// VLAN that has not.
///
/// What differs is what counts, not what is written. A default that is written out is no change, nor
/// is a row or a route in a document whose place another one takes; routes count as the first document
/// has them, rows as the last one. A VLAN exists if and only if the VLAN document names it, and a
/// protocol runs if and only if the VLAN document enables it: nothing else counts.
Plan MakePlan(const intent::Intent& from, const intent::Intent& to);

/// One change as it is listed.
struct Change {
  std::optional<unsigned short> vlan;  // nothing: it belongs to no VLAN
  Thing thing = Thing::VLAN;
  How how = How::ADDED;
  std::string words;  // what comes, goes or changes
};

/// Calls `report` with each change, by VLAN; what belongs to none comes first. Ends early when
/// `report` returns false. Returns the totals of what has been told.
Totals TellChanges(const intent::Intent& from, const intent::Intent& to,
                   const std::function<bool(Change change)>& report);

/// Calls `report` with each line about changes, without its end: the title of their VLAN before the
/// first of it ("device" for what belongs to none), then the change with its sign. For changes that
/// are told one after the other.
class ChangeLines {
 public:
  using Report = std::function<bool(const std::string& line)>;

  /// Returns what the last call of `report` has.
  bool Add(const Change& change, const Report& report);

 private:
  bool m_hasBegun = false;
  std::optional<unsigned short> m_group;
};

/// Calls `report` with each change, a line without its end: "VLAN 10", then its changes, each
/// with two blanks, `+`, `-` or `~`, and what it is; at the end the totals. What belongs to no VLAN
/// comes first, after a line "device". Ends early, without the line of totals, when `report` returns
/// false. Returns the totals of what has been told.
Totals ListChanges(const intent::Intent& from, const intent::Intent& to,
                   const std::function<bool(const std::string& line)>& report);

/// In one line, for example "1 VLAN added, 3 routes removed, 1 changed; 4 requests"; "no change"
/// for an empty one.
std::string DescribeTotals(const Totals& totals);

}  // namespace plan

#endif
