#include "member_value.h"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <optional>

#include "device/program/decimal.h"
#include "device/program/printable.h"

namespace documents {

namespace {

constexpr std::size_t LENGTH_DIGITS = 3;    // of a prefix's length; the library reads no more
constexpr std::size_t LONGEST_NUMBER = 40;  // shown

const char WRONG_KIND[] = "wrong kind of value";
const char OUT_OF_RANGE[] = "out of range";

template <int FAMILY>
bool ReadAddress(std::string_view text, std::array<unsigned char, 16>& address) {
  char copy[INET6_ADDRSTRLEN];
  if (text.size() >= sizeof copy || text.find('\0') != std::string_view::npos) {
    return false;
  }
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return inet_pton(FAMILY, copy, address.data()) == 1;
}

// Digits of a whole number that is not negative; "-0" is 0.
std::optional<std::uint32_t> ReadNumber(const Member& member, std::string_view digits) {
  return program::ReadDecimal(digits == "-0" ? "0" : digits, member.low, member.high);
}

bool IsWhole(std::string_view digits) {
  return digits.find_first_not_of("-0123456789") == std::string_view::npos;
}

const char* ReadNumberValue(const Member& member, std::string_view digits, Value& value) {
  if (!IsWhole(digits)) {
    return "not a whole number";
  }
  const auto number = ReadNumber(member, digits);
  value.number = number.value_or(0);
  return number ? nullptr : OUT_OF_RANGE;
}

const char* ReadDigitsText(const Member& member, std::string_view text, Value& value) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
    return "not a number";
  }
  const bool isTooLong = member.kind == Kind::PREFIX_LENGTH && text.size() > LENGTH_DIGITS;
  const auto number = program::ReadDecimal(text, member.low, member.high);
  value.number = number.value_or(0);
  return !number || isTooLong ? OUT_OF_RANGE : nullptr;
}

const char* ReadText(const Member& member, std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    return "a NUL in the text";
  }
  if (text.size() < member.low) {
    return "too short";
  }
  if (text.size() > member.high) {
    return "too long";
  }
  if (member.kind == Kind::DESCRIPTION && text.substr(0, 2) == ".*") {
    return "not a description";
  }
  const bool isGraphic = std::all_of(
      text.begin(), text.end(), [](char c) { return std::isgraph(static_cast<unsigned char>(c)); });
  return member.kind == Kind::INTERFACE_NAME && !isGraphic ? "not a name" : nullptr;
}

const char* ReadWord(const Member& member, std::string_view text, Value& value) {
  for (std::uint32_t i = 0; member.words[i] != nullptr; ++i) {
    const std::string_view word = member.words[i];
    const bool isWord =
        member.kind == Kind::WORD
            ? word == text
            : word.size() == text.size() && strncasecmp(word.data(), text.data(), word.size()) == 0;
    if (isWord) {
      value.number = i;
      return nullptr;
    }
  }
  return "unknown word";
}

// The part before the next '_'; takes it and the '_' away.
std::string_view TakeField(std::string_view& text) {
  const std::size_t end = std::min(text.find('_'), text.size());
  const std::string_view field = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return field;
}

bool IsSame(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

bool IsPrefix(const Row& row, std::string_view field) {
  const std::string_view prefix = row.prefix;
  if (prefix.empty()) {
    return !field.empty() && std::all_of(field.begin(), field.end(), [](char c) {
      return std::isalpha(static_cast<unsigned char>(c));
    });
  }
  const std::string_view rest = field.substr(std::min(prefix.size(), field.size()));
  return IsSame(field.substr(0, prefix.size()), prefix) &&
         (rest.empty() || (row.other != nullptr && IsSame(rest, row.other)));
}

const char* ReadRowName(const Row& row, std::string_view text, RowNumbers& numbers) {
  const auto fields = 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '_'));
  if (!IsPrefix(row, TakeField(text)) || fields < 3 || fields > 3 + row.moreNumbers) {
    return "not a name of such a row";
  }
  for (std::size_t i = 0; i + 1 < fields; ++i) {
    const auto number = program::ReadDecimal(TakeField(text), 0, MAX_ROW_NUMBER);
    if (!number) {
      return "not a name of such a row";
    }
    (i == 0 ? numbers.vlan : numbers.row[i - 1]) = *number;
  }
  return nullptr;
}

const char* ReadMask(std::string_view text, Value& value) {
  if (!ReadIp4(text, value.address)) {
    return "not a netmask";
  }
  std::uint32_t mask;
  std::memcpy(&mask, value.address.data(), sizeof mask);
  mask = ntohl(mask);
  value.number = 0;
  while (value.number < 32 && (mask & 0x80000000u >> value.number) != 0) {
    ++value.number;
  }
  const std::uint32_t rest = value.number == 32 ? 0 : mask << value.number;
  return rest == 0 ? nullptr : "not a netmask";
}

const char* ReadPrefix(bool ip6, std::string_view text, Value& value) {
  const std::size_t slash = text.find('/');
  const auto length = program::ReadDecimal(
      slash == std::string_view::npos ? "" : text.substr(slash + 1), 0, ip6 ? 128 : 32);
  const std::string_view address = text.substr(0, slash);
  if (!length || text.size() - slash > 4 ||
      !(ip6 ? ReadIp6(address, value.address) : ReadIp4(address, value.address))) {
    return ip6 ? "not an IPv6 prefix" : "not an IPv4 prefix";
  }
  value.number = *length;
  return nullptr;
}

const char* ReadTextValue(const Member& member, std::string_view text, Value& value) {
  switch (member.kind) {
    case Kind::DIGITS:
    case Kind::PREFIX_LENGTH:
      return ReadDigitsText(member, text, value);
    case Kind::TEXT:
    case Kind::DESCRIPTION:
    case Kind::INTERFACE_NAME:
      return ReadText(member, text);
    case Kind::WORD:
    case Kind::ANY_CASE_WORD:
      return ReadWord(member, text, value);
    case Kind::ROW_NAME:
      return ReadRowName(*member.row, text, value.row);
    case Kind::IP4:
      return ReadIp4(text, value.address) ? nullptr : "not an IPv4 address";
    case Kind::IP6:
      return ReadIp6(text, value.address) ? nullptr : "not an IPv6 address";
    case Kind::IP4_MASK:
      return ReadMask(text, value);
    case Kind::IP4_GROUP:
      return ReadIp4(text, value.address) && (value.address[0] & 0xF0) == 0xE0
                 ? nullptr
                 : "not an IPv4 multicast address";
    case Kind::IP6_GROUP:
      return ReadIp6(text, value.address) && value.address[0] == 0xFF
                 ? nullptr
                 : "not an IPv6 multicast address";
    case Kind::IP4_PREFIX:
      return ReadPrefix(false, text, value);
    case Kind::IP6_PREFIX:
      return ReadPrefix(true, text, value);
    default:
      return WRONG_KIND;
  }
}

std::string Words(const Member& member) {
  std::string text;
  for (const char* const* word = member.words; *word != nullptr; ++word) {
    text += (text.empty() ? "" : ", ") + std::string(*word);
  }
  return text;
}

std::string RowNameExpected(const Row& row) {
  std::string text = *row.prefix == '\0' ? "<protocol>" : row.prefix;
  text += "_<vid>_<number>";
  for (unsigned int i = 0; i < row.moreNumbers; ++i) {
    text += i == 0 ? "[_<number>" : "_<number>";
  }
  return text + (row.moreNumbers == 0 ? "" : "]");
}

}  // namespace

bool ReadIp4(std::string_view text, std::array<unsigned char, 16>& address) {
  return ReadAddress<AF_INET>(text, address);
}

bool ReadIp6(std::string_view text, std::array<unsigned char, 16>& address) {
  return ReadAddress<AF_INET6>(text, address);
}

const char* ReadScalar(const Member& member, const Scalar& scalar, Value& value) {
  switch (scalar.type) {
    case Scalar::FLAG:
      value.flag = scalar.flag;
      return member.kind == Kind::FLAG ? nullptr : WRONG_KIND;
    case Scalar::NUMBER:
      return member.kind == Kind::NUMBER || member.kind == Kind::DIGITS ||
                     member.kind == Kind::PREFIX_LENGTH
                 ? ReadNumberValue(member, scalar.text, value)
                 : WRONG_KIND;
    default:
      return ReadTextValue(member, scalar.text, value);
  }
}

std::string Expected(const Member& member) {
  const std::string range = std::to_string(member.low) + " to " + std::to_string(member.high);
  switch (member.kind) {
    case Kind::FLAG:
      return "true or false";
    case Kind::NUMBER:
      return "a whole number from " + range;
    case Kind::DIGITS:
      return "a whole number from " + range + ", or a text of its digits";
    case Kind::PREFIX_LENGTH:
      return "a whole number from " + range + ", or a text of at most " +
             std::to_string(LENGTH_DIGITS) + " digits";
    case Kind::TEXT:
      return member.high == ANY_LENGTH ? "a text" : "a text of " + range + " bytes";
    case Kind::DESCRIPTION:
      return "a text of at most " + std::to_string(member.high) +
             " bytes that does not begin with \".*\"";
    case Kind::WORD:
    case Kind::ANY_CASE_WORD:
      return "one of " + Words(member);
    case Kind::INTERFACE_NAME:
      return range + " printable characters without blanks";
    case Kind::ROW_NAME:
      return RowNameExpected(*member.row);
    case Kind::IP4:
      return "an IPv4 address";
    case Kind::IP6:
      return "an IPv6 address";
    case Kind::IP4_OR_IP6:
      return "an address of the family that \"afi\" tells";
    case Kind::IP4_MASK:
      return "an IPv4 address with leading one bits only";
    case Kind::IP4_GROUP:
      return "an IPv4 address from 224.0.0.0 to 239.255.255.255";
    case Kind::IP6_GROUP:
      return "an IPv6 address in ff00::/8";
    case Kind::IP4_PREFIX:
      return "an IPv4 address/length";
    case Kind::IP6_PREFIX:
      return "an IPv6 address/length";
    case Kind::OBJECT:
      return member.object->mayBeEmpty ? "an object" : "an object that is not empty";
    case Kind::LIST:
    case Kind::ROUTES:
      return "an object or an array of objects";
    case Kind::ARRAY:
      return "an array";
    case Kind::VLAN_NAMES:
      return "an object of VLANs and names of interfaces";
    case Kind::VLAN_NUMBERS:
      return "an object of VLANs and numbers";
    case Kind::VLANS_BY_NAME:
      return "an object of names and VLANs";
    case Kind::ANY_OBJECT:
      return "an object";
    case Kind::ELSEWHERE:
      return "no such member";
  }
  return {};
}

std::string Describe(const Scalar& scalar) {
  switch (scalar.type) {
    case Scalar::FLAG:
      return scalar.flag ? "true" : "false";
    case Scalar::NUMBER:
      return scalar.text.size() <= LONGEST_NUMBER
                 ? std::string(scalar.text)
                 : std::string(scalar.text.substr(0, LONGEST_NUMBER)) + "...";
    default:
      return program::Quote(std::string(scalar.text.substr(0, 256)));
  }
}

}  // namespace documents
