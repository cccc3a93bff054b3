// How views write what occurs in many of them.
#ifndef DEVICE_VIEWS_NAMES_H
#define DEVICE_VIEWS_NAMES_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "device/documents/device.h"
#include "tables.h"

namespace views {

/// Of a terminal, in columns: what people read goes no further where that can be.
constexpr std::size_t WIDTH = 80;
/// What is shown of an interface's name, which may have any length.
constexpr std::size_t MOST_OF_AN_INTERFACE = 32;

/// "connected", "static", "rip", "ospf", "bgp".
const char* NameOf(Protocol protocol);
/// "ipv6" or "ipv4", as machines read it.
const char* NameOfFamily(bool ip6);

void AppendNumber(std::uint64_t number, std::string& text);
/// An address in network order, an IPv4 one in the first four bytes.
void AppendAddress(bool ip6, const std::array<unsigned char, 16>& address, std::string& text);
/// The destination and length.
void AppendPrefix(const documents::RouteTarget& target, std::string& text);

bool IsZero(const std::array<unsigned char, 16>& address);
Prefix PrefixOf(const documents::RouteTarget& target);
/// The network that an interface is in by its address.
Prefix PrefixOf(const documents::Ip4Network& network);
Prefix PrefixOf(const Tarsel::Ip6Prefix& network);
/// Without a gateway.
documents::RouteTarget TargetOf(unsigned short vlan, const Prefix& prefix);

/// Appends `words`, and breaks the line before one that would go beyond WIDTH. The lines
/// begin with `indent` spaces, and each has its end.
void AppendBent(std::string_view words, std::size_t indent, std::string& text);
/// The same, and all lines but the first begin with `rest` spaces.
void AppendBent(std::string_view words, std::size_t first, std::size_t rest, std::string& text);

}  // namespace views

#endif
