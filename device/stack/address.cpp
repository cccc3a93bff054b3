#include "address.h"

#include <arpa/inet.h>

namespace routing_stack {

Address Address::FromBytes(const unsigned char* bytes, Family family) {
  Address address;
  if (bytes == nullptr) {
    return address;
  }
  const int count = family == Family::kIp4 ? 4 : 8;
  for (int i = 0; i < count; ++i) {
    address.high |= static_cast<std::uint64_t>(bytes[i]) << (56 - 8 * i);
  }
  if (family == Family::kIp6) {
    for (int i = 0; i < 8; ++i) {
      address.low |= static_cast<std::uint64_t>(bytes[8 + i]) << (56 - 8 * i);
    }
  }
  return address;
}

void Address::ToBytes(unsigned char (&bytes)[16]) const {
  for (int i = 0; i < 8; ++i) {
    bytes[i] = static_cast<unsigned char>(high >> (56 - 8 * i));
    bytes[8 + i] = static_cast<unsigned char>(low >> (56 - 8 * i));
  }
}

std::string Address::ToText(Family family) const {
  unsigned char bytes[16];
  ToBytes(bytes);
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(family == Family::kIp4 ? AF_INET : AF_INET6, bytes, text, sizeof text);
  return text;
}

std::uint32_t CommonLength(const Address& a, const Address& b) {
  if (a.high != b.high) {
    return static_cast<std::uint32_t>(__builtin_clzll(a.high ^ b.high));
  }
  return a.low == b.low ? 128 : 64 + static_cast<std::uint32_t>(__builtin_clzll(a.low ^ b.low));
}

Address MaskOf(std::uint32_t length) {
  const auto ones = [](std::uint32_t count) -> std::uint64_t {
    return count == 0 ? 0 : ~std::uint64_t{0} << (64 - count);
  };
  Address mask;
  mask.high = ones(length < 64 ? length : 64);
  mask.low = ones(length < 64 ? 0 : length - 64);
  return mask;
}

Prefix Prefix::Of(const Address& address, std::uint32_t length) {
  const Address mask = MaskOf(length);
  Prefix prefix;
  prefix.address.high = address.high & mask.high;
  prefix.address.low = address.low & mask.low;
  prefix.length = static_cast<std::uint8_t>(length);
  return prefix;
}

Address Prefix::Last() const {
  const Address mask = MaskOf(length);
  Address last;
  last.high = address.high | ~mask.high;
  last.low = address.low | ~mask.low;
  return last;
}

}  // namespace routing_stack
