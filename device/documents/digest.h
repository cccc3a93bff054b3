// Digests that tell texts apart.
#ifndef DEVICE_DOCUMENTS_DIGEST_H
#define DEVICE_DOCUMENTS_DIGEST_H

#include <array>
#include <cstdint>
#include <string_view>

namespace documents {

/// 128 bits: two texts with the same digest are taken to be the same. Not for texts that somebody
/// makes to deceive.
using Digest = std::array<std::uint64_t, 2>;

Digest DigestOf(std::string_view text);

}  // namespace documents

#endif
