#include <string>

#include "digest.h"
#include "folder.h"

namespace documents {

Digest DigestOf(const Folder& folder) {
  std::string all;
  const auto add = [&all](std::uint64_t number) {
    for (unsigned int shift = 0; shift < 64; shift += 8) {
      all += static_cast<char>(number >> shift & 0xFF);
    }
  };
  for (const auto& [name, stamp] : folder.stamps) {
    all += name;
    all += '\0';  // which no name has
    add(stamp.size);
    add(stamp.digest[0]);
    add(stamp.digest[1]);
  }
  return DigestOf(std::string_view(all));
}

}  // namespace documents
