// The row identifier that an item keeps, which is always the item's last member.
#ifndef VANTACORE_SRC_RTM_ITEM_IDENTIFIER_H
#define VANTACORE_SRC_RTM_ITEM_IDENTIFIER_H

#include "src/pipeline/cfg_bucket.h"
#include "vantacore/mib_oid.h"

namespace Tarsel {

/// Whether the identifier has been built. One that has been starts with the number of its table;
/// the length, which alone would tell, lies half a kilobyte after it, in memory that a search among
/// many items would fetch for nothing else.
inline bool IsBuilt(const MibOid& oid) { return oid.GetSubIds()[0] != 0 || oid.GetLength() != 0; }

/// Whether an item with `subIds` sub-identifiers in use is laid out as the bucket's fetching ahead
/// expects.
template <class Item>
constexpr bool IsFetchedAhead(unsigned int subIds) {
  constexpr std::size_t BEFORE_IDENTIFIER = sizeof(Item) - sizeof(MibOid);
  return BEFORE_IDENTIFIER + subIds * sizeof(unsigned int) <= CfgBucket::ITEM_HEAD &&
         sizeof(Item) <= CfgBucket::ITEM_SIZE;
}

}  // namespace Tarsel

#endif
