// What views need to know of the stack's routing tables.
//
// device/ports implements this with the software stack's facts (stack_tables.h there). A host with
// another stack implements what its stack can tell; one whose stack tells nothing begins with
// NoTables, and its views show what is wanted and asked.
#ifndef DEVICE_VIEWS_TABLES_H
#define DEVICE_VIEWS_TABLES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "device/documents/route.h"
#include "prefix.h"

namespace views {

/// The protocols that routes come from, in the order in which the stack keeps them.
enum class Protocol : unsigned char { CONNECTED, STATIC, RIP, OSPF, BGP };
constexpr std::size_t PROTOCOLS = 5;

/// A candidate for the routes of one prefix.
struct Candidate {
  documents::RouteTarget target;  // the gateway is 0 for none
  Protocol protocol = Protocol::STATIC;
  std::uint32_t requestedIfIndex = 0;  // that was asked for; 0 for none
  std::uint32_t ifIndex = 0;           // over which it is reached; 0 while that is not determined
  std::uint32_t distance = 0;
  std::uint32_t metric = 0;
  std::uint32_t ageSeconds = 0;  // since it was installed; of others, since it came
  bool isUp = true;              // it was asked for to be in use
  bool isReached = false;        // its next hop resolves over an interface that is up
  bool isInstalled = false;      // it forwards: it is the one of its prefix, or beside it
  bool isBeside = false;         // it forwards, and another one of its prefix comes first
};

/// Candidates of one family of a VLAN, by Protocol.
struct RouteCounts {
  std::array<std::size_t, PROTOCOLS> candidates{};
  std::array<std::size_t, PROTOCOLS> installed{};
};

/// What redistribution hands to a protocol of the VLAN's family: the routes of `source`.
struct HandedOn {
  Protocol source = Protocol::STATIC;
  std::uint32_t destination = 0;  // the stack's code, as rows::RuleRow's destination has it
};

/// Queries may be made at any time on the loop's thread; they never call back, wait or throw. What
/// is returned is the caller's.
class Tables {
 public:
  virtual ~Tables() = default;

  /// The next candidates after `last`, or the first ones for a null pointer, at most `most`, by
  /// prefix (address, then length), protocol, gateway and interface. Only what makes its key counts
  /// of `last`, which may have gone; an empty slice is the end.
  virtual std::vector<Candidate> ReadCandidates(unsigned short vlan, bool ip6,
                                                const Candidate* last, std::size_t most) const = 0;
  /// The candidates at and after the first one of `from`, so too: where to begin for `longer`.
  virtual std::vector<Candidate> ReadCandidatesFrom(unsigned short vlan, const Prefix& from,
                                                    std::size_t most) const = 0;
  /// All candidates of a prefix, the best one first.
  virtual std::vector<Candidate> FindCandidates(unsigned short vlan,
                                                const Prefix& prefix) const = 0;
  /// The installed one, which comes first; nothing if there is none, or another one is about to take its place. Costs
  /// a search, however many candidates there are.
  virtual std::optional<Candidate> FindInstalled(unsigned short vlan,
                                                 const Prefix& prefix) const = 0;
  /// The longest prefix with a candidate that holds the address; with `isInstalled`, with an
  /// installed one. Costs some hundred steps, however many candidates there are.
  virtual std::optional<Prefix> FindLongest(unsigned short vlan, const Address& address,
                                            bool isInstalled) const = 0;
  /// Kept, not counted.
  virtual RouteCounts Count(unsigned short vlan, bool ip6) const = 0;
  /// Of all VLANs and both families; kept as well.
  virtual RouteCounts CountAll() const = 0;
  /// The rules of the instance that are up.
  virtual std::vector<HandedOn> ReadHandedOn(unsigned short vlan, bool ip6) const = 0;
  /// How often the stack has been restarted, and how many requests for rows it has received.
  virtual unsigned int CountRestarts() const = 0;
  virtual std::uint64_t CountRequests() const = 0;
};

}  // namespace views

#endif
