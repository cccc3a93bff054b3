// Walks over the tables, for the commands that show them.
//
// A walk keeps its place as the key of the last row that it reported, so rows may come and go
// between two answers. It is never looked up by its command, because a command may start a second
// walk from inside the first one's handler.
//
// A walk lives until its last answer. While it goes on, a turn of it waits in the engine's queue,
// or its handler is being called; a held walk has neither.
#ifndef DEVICE_STACK_WALKS_H
#define DEVICE_STACK_WALKS_H

#include <map>
#include <vector>

#include "tables.h"

namespace routing_stack {

enum class WalkTable { kInterfaces, kAddresses, kRoutes, kRib };

struct Walk {
  WalkTable table = WalkTable::kInterfaces;
  unsigned int number = 0;  // handed to the handler as its context
  unsigned int first = 0;   // the number of the walk that led to it, which may be itself
  sms_response handler = nullptr;
  void* command = nullptr;

  bool hasTurn = false;   // in the queue
  bool isServed = false;  // its handler is being called
  bool isHeld = false;
  bool isEnding = false;  // its next answer is its last one, an error

  // The last row; before the first answer, the instance to start with.
  bool begun = false;
  std::uint32_t instance = 0;
  AddressKey address;      // interfaces use its interface
  CandidateKey candidate;  // routes use its prefix

  /// Reports the next row, the end or an error to the handler. Returns true if the handler wants
  /// another row. After false, neither the handler nor the command may be touched.
  bool Step(const Tables& tables, std::uint64_t now);

 private:
  bool StepInterfaces(const Tables& tables);
  bool StepAddresses(const Tables& tables);
  bool StepRoutes(const Tables& tables, std::uint64_t now);
  bool StepRib(const Tables& tables, std::uint64_t now);
  bool Hand(void* row);
  bool End(unsigned int result);
  template <typename Find>
  const RibEntry* NextOfAll(const Tables& tables, Find find);
};

/// The walks that have not ended.
class Walks {
 public:
  /// The walk gets the next number. The reference is valid until it is removed.
  Walk& Begin();
  void Remove(const Walk& walk) { m_walks.erase(walk.number); }
  /// Null for one that has ended, or never was.
  Walk* Find(unsigned int number);
  unsigned int Last() const { return m_last; }
  std::vector<RunningWalk> List() const;
  /// In the order of their numbers.
  std::vector<Walk*> All();

 private:
  std::map<unsigned int, Walk> m_walks;
  unsigned int m_last = 0;
};

/// In whole seconds.
std::uint32_t AgeOf(std::uint64_t since, std::uint64_t now);

// Rows as the walks report them.
amb_stubs_i3_ei ToRow(const InterfaceKey& key, const InterfaceRow& row);
amb_stubs_i3_ea ToRow(const AddressKey& key, const AddressRow& row);
amb_cipr_rtm_rib ToRibRow(std::uint32_t instance, const RibEntry& entry, std::uint64_t now);
amb_cipr_rtm_route ToRouteRow(std::uint32_t instance, const RibEntry& entry, std::uint64_t now);

}  // namespace routing_stack

#endif
