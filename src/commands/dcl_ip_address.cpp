#include "vantacore/dcl_ip_address.h"

#include <algorithm>
#include <cstring>

#include "vantacore/config_parser.h"

namespace Tarsel {

namespace {

constexpr unsigned int IP4_LENGTH = 4;
constexpr unsigned int IP6_LENGTH = 16;

// Rows of the stack carry lengths of their own; the bytes end at sixteen.
unsigned int Significant(unsigned int length) { return std::min(length, IP6_LENGTH); }

}  // namespace

DclIpAddress::DclIpAddress(const unsigned char* bytes, unsigned int length) { Init(bytes, length); }

DclIpAddress::DclIpAddress(const DclIpAddress& other) = default;

DclIpAddress::~DclIpAddress() = default;

DclIpAddress& DclIpAddress::operator=(const DclIpAddress& other) = default;

void DclIpAddress::Init(const unsigned char* bytes, unsigned int length) {
  std::memset(m_bytes, 0, sizeof(m_bytes));
  m_length = length;
  if (bytes != nullptr) {
    std::memcpy(m_bytes, bytes, Significant(length));
  }
}

bool DclIpAddress::Ip4AddrFromString(const char* text) {
  Ip4Addr address;
  if (!ParseAddress(address, text)) {
    return false;
  }
  Init(address.GetBytes(), IP4_LENGTH);
  return true;
}

bool DclIpAddress::Ip6AddrFromString(const char* text) {
  Ip6Addr address;
  if (!ParseIp6Address(address, text)) {
    return false;
  }
  Init(address.GetBytes(), IP6_LENGTH);
  return true;
}

bool DclIpAddress::operator==(const DclIpAddress& other) const {
  return m_length == other.m_length &&
         std::memcmp(m_bytes, other.m_bytes, Significant(m_length)) == 0;
}

bool DclIpAddress::operator==(const Ip4Addr& other) const {
  return m_length == IP4_LENGTH && ToIp4Addr() == other;
}

Ip4Addr DclIpAddress::ToIp4Addr() const { return Ip4Addr::FromBytes(m_bytes); }

Ip6Addr DclIpAddress::ToIp6Addr() const { return Ip6Addr::FromBytes(m_bytes); }

string DclIpAddress::ToString() const {
  if (m_length <= IP4_LENGTH) {
    return FormatIp4Addr(m_bytes);
  }
  return m_length <= IP6_LENGTH ? FormatIp6Addr(m_bytes) : string();
}

}  // namespace Tarsel
