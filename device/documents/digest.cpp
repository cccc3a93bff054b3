#include "digest.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace documents {

Digest DigestOf(std::string_view text) {
  const XXH128_hash_t hash = XXH3_128bits(text.data(), text.size());
  return {hash.low64, hash.high64};
}

}  // namespace documents
