// Walks over the tables, for the commands that show them.
//
// A walk keeps its place as the key of the last row that it reported, so rows may come and go
// between two answers. It is never looked up by its command, because a command may start a second
// walk from inside the first one's handler.
#ifndef DEVICE_STACK_WALKS_H
#define DEVICE_STACK_WALKS_H

#include "tables.h"

namespace routing_stack {

enum class WalkTable { kInterfaces, kAddresses, kRoutes, kRib };

struct Walk {
  WalkTable table = WalkTable::kInterfaces;
  unsigned int number = 0;  // handed to the handler as its context
  sms_response handler = nullptr;
  void* command = nullptr;
  unsigned int failure = 0;  // if not 0, the walk ends with this result

  // The last row; before the first answer, the instance to start with.
  bool begun = false;
  std::uint32_t instance = 0;
  AddressKey address;      // interfaces use its interface
  CandidateKey candidate;  // routes use its prefix

  /// Reports the next row, the end or the failure to the handler. Returns true if the handler wants
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

// Rows as the walks report them.
amb_stubs_i3_ei ToRow(const InterfaceKey& key, const InterfaceRow& row);
amb_stubs_i3_ea ToRow(const AddressKey& key, const AddressRow& row);
amb_cipr_rtm_rib ToRibRow(std::uint32_t instance, const RibEntry& entry, std::uint64_t now);
amb_cipr_rtm_route ToRouteRow(std::uint32_t instance, const RibEntry& entry, std::uint64_t now);

}  // namespace routing_stack

#endif
