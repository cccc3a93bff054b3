// Whether a value is what its member's declaration asks for, and what it says.
#ifndef DEVICE_DOCUMENTS_MEMBER_VALUE_H
#define DEVICE_DOCUMENTS_MEMBER_VALUE_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "members.h"

namespace documents {

/// A text, a number or a flag as it stands in a document.
struct Scalar {
  enum Type { TEXT, NUMBER, FLAG };

  Type type = TEXT;
  std::string_view text;  // decoded; of a number its digits; borrowed
  bool flag = false;
};

/// The numbers in the name of a row: "OSPF_10_3_1_0" is row 3 of VLAN 10, and two more numbers.
struct RowNumbers {
  std::uint32_t vlan = 0;
  std::array<std::uint32_t, 3> row{};  // absent ones are 0
};

/// What a scalar means to a member. Which parts have a meaning depends on the member's kind.
struct Value {
  bool flag = false;
  std::uint32_t number = 0;  // also the length of a prefix or mask, and the index of a word
  std::array<unsigned char, 16> address{};
  RowNumbers row;
};

/// Reads a scalar as the member's kind wants it. Returns what is wrong with it, for example "out of
/// range", or null. To kinds that are not of scalars, and to IP4_OR_IP6, every scalar is wrong.
const char* ReadScalar(const Member& member, const Scalar& scalar, Value& value);

/// The whole text as an address of the family.
bool ReadIp4(std::string_view text, std::array<unsigned char, 16>& address);
bool ReadIp6(std::string_view text, std::array<unsigned char, 16>& address);

/// What a member wants, for "expected ...".
std::string Expected(const Member& member);

/// A value for "found ...": a text is quoted, and what is long is cut.
std::string Describe(const Scalar& scalar);

}  // namespace documents

#endif
