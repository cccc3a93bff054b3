// Regular expressions for what texts of documents look like. They are in the language that JSON
// Schema has, and mean the same to Python's module re and to std::regex.
#ifndef TOOLS_REFERENCE_PATTERNS_H
#define TOOLS_REFERENCE_PATTERNS_H

#include <cstdint>
#include <string>

#include "device/documents/members.h"

namespace reference {

/// A part of an expression: the decimal numbers from `low` to `high` without leading zeros.
std::string DecimalRange(std::uint32_t low, std::uint32_t high);

/// The whole of a text, for all functions below: some validators let `$` match before a line feed
/// at the end, so that one is excluded.
std::string Whole(const std::string& expression);

/// A decimal number from `low` to `high`, with leading zeros.
std::string Digits(std::uint32_t low, std::uint32_t high);
/// The same, of at most three digits.
std::string PrefixLength(std::uint32_t low, std::uint32_t high);
/// One of the words of a null-ended list, in upper or lower case.
std::string AnyCase(const char* const* words);
/// A row's name, for any VLAN from 0 to `maxVlan`.
std::string RowName(const documents::Row& row, std::uint32_t maxVlan);
std::string Ip4Address();
std::string Ip4Mask();
std::string Ip4Group();
std::string Ip4Prefix();
/// Texts of the characters of IPv6 addresses, with a ':' among them; some are not addresses.
std::string Ip6Address();
std::string Ip6Group();
std::string Ip6Prefix();
/// Printable characters of ASCII without blanks.
std::string Graphic();

}  // namespace reference

#endif
