// What `explain` tells of a prefix.
#ifndef DEVICE_VIEWS_EXPLAIN_MODEL_H
#define DEVICE_VIEWS_EXPLAIN_MODEL_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "device/documents/place.h"
#include "questions.h"
#include "route_item.h"
#include "sources.h"

namespace views {

/// A static route of the prefix that the host knows of.
struct ExplainedRoute {
  RouteItem item;                         // what the stack has of it, or why that has nothing
  std::string reason;                     // the item's, in words
  bool isWanted = true;                   // otherwise it leaves
  std::string interface;                  // its own; empty for none
  std::uint32_t metric = 0;               // that is wanted
  std::vector<documents::Place> origins;  // the first one counts
  unsigned int revision = 0;   // that was in force when it was wanted first; 0 if none was
  std::string change;          // that revision in words; empty if it is not known
  std::uint32_t count = 0;     // how often it has been asked for; what follows is for more than 0
  std::uint64_t askedAgo = 0;  // in seconds, the last time
  std::int64_t askedAt = 0;    // seconds since the epoch
  unsigned int status = 0;     // of the last answer; 0 while there is none
  std::uint64_t answeredAgo = 0;
  std::int64_t answeredAt = 0;
};

/// An address that makes a connected route.
struct ExplainedAddress {
  std::string interface;
  documents::Place origin;  // without a file if no document says so
  std::string trouble;      // why it makes no route; empty if nothing is known to be wrong
};

struct ExplainedCandidate {
  RouteItem item;
  std::string interface;  // over which it is reached
  std::string verdict;    // why it won or lost
};

/// Lists have their first MOST members only; the numbers count all.
struct Explanation {
  static constexpr std::size_t MOST = 64;

  unsigned short vlan = 0;
  std::optional<Address> address;  // that was asked about
  std::optional<Prefix> prefix;    // that is explained; nothing if no route holds the address
  std::optional<Prefix> forwards;  // the longest one that forwards the address, or the prefix
  std::optional<Prefix> longer;    // holds the address as well, and is not in use
  unsigned int placesOf = 0;       // the revision of whose copy all places are; 0 for the folder
  std::vector<ExplainedRoute> routes;
  std::size_t routeCount = 0;
  std::vector<ExplainedAddress> addresses;
  std::vector<ExplainedCandidate> candidates;  // the best one first
  std::size_t candidateCount = 0;
  std::vector<std::string> handedOn;    // the protocols that get it
  std::optional<KernelRefusal> kernel;  // what the machine's kernel refuses of it
};

Explanation Explain(const Sources& sources, const ExplainQuery& query);

std::string DescribeAsText(const Explanation& explanation);
std::string DescribeAsJson(const Explanation& explanation);

}  // namespace views

#endif
