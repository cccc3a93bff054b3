// Readers that fill the fields of a row from the members of a group.
#include <cstring>

#include "tarsel/trace.h"
#include "vantacore/config_parser.h"
#include "vantacore/dcl_config_object.h"

namespace Tarsel {

namespace {

constexpr std::size_t MAX_STRING = 127;
// Row texts may be regular expressions. One with this beginning matches any beginning: refused.
const char ANY_BEGINNING[] = ".*";

template <class Number>
bool ReadNumber(const OptionsNode& node, const char* key, Number& value, int& length) {
  if (!node.AsVal(value, key)) {
    return false;
  }
  length = 1;
  return true;
}

template <class Address>
bool StoreAddress(const Address& address, unsigned int size, unsigned char* out,
                  unsigned int& length) {
  std::memcpy(out, address.GetBytes(), size);
  length = size;
  return true;
}

}  // namespace

bool ReadDCLMibIpAddress(const OptionsNode& node, const char* key, unsigned char* out,
                         unsigned int& length) {
  length = 0;
  string text;
  Ip4Addr address;
  return node.GetAsString(text, key) && ParseAddress(address, text.c_str()) &&
         StoreAddress(address, 4, out, length);
}

bool ReadDCLMibIpv6Address(const OptionsNode& node, const char* key, unsigned char* out,
                           unsigned int& length) {
  length = 0;
  string text;
  Ip6Addr address;
  return node.GetAsString(text, key) && address.FromString(text) &&
         StoreAddress(address, 16, out, length);
}

bool ReadDCLMibValue(const OptionsNode& node, const char* key, int& value, int& length) {
  return ReadNumber(node, key, value, length);
}

bool ReadDCLMibValue(const OptionsNode& node, const char* key, unsigned int& value, int& length) {
  return ReadNumber(node, key, value, length);
}

bool ReadDCLMibString(const OptionsNode& node, const char* key, unsigned char* out,
                      unsigned int& length) {
  out[0] = 0;
  length = 0;
  string text;
  if (!node.GetAsString(text, key) || *text.c_str() == '\0') {
    return true;
  }
  if (std::strncmp(text.c_str(), ANY_BEGINNING, sizeof ANY_BEGINNING - 1) == 0) {
    TRACE(0, "%s: Invalid regex string \".*\" in option %s\n", "ReadDCLMibString", key);
    return false;
  }
  // The row's field is padded, not terminated: its length says where the text ends.
  std::strncpy(reinterpret_cast<char*>(out), text.c_str(), MAX_STRING);
  length = static_cast<unsigned int>(strnlen(text.c_str(), MAX_STRING));
  return true;
}

}  // namespace Tarsel
