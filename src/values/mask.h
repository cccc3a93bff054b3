// IPv4 masks as numbers.
#ifndef VANTACORE_SRC_VALUES_MASK_H
#define VANTACORE_SRC_VALUES_MASK_H

#include <cstdint>

#include "tarsel/address.h"

namespace Tarsel {

/// How many bits of the mask are set: the prefix length of a mask whose ones come first.
inline unsigned int CountBits(const Ip4Addr& mask) {
  unsigned int count = 0;
  for (std::uint32_t bits = mask.GetValue(); bits != 0; bits &= bits - 1) {
    ++count;
  }
  return count;
}

}  // namespace Tarsel

#endif
