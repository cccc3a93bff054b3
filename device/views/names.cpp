#include "names.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>

#include "vantacore/dc_router_mgr.h"

namespace views {

namespace {

// inet_ntop takes three times as long, and most addresses are these.
void AppendIp4(const unsigned char* bytes, std::string& text) {
  for (int i = 0; i < 4; ++i) {
    if (i > 0) {
      text += '.';
    }
    AppendNumber(bytes[i], text);
  }
}

}  // namespace

const char* NameOf(Protocol protocol) {
  constexpr const char* NAMES[PROTOCOLS] = {"connected", "static", "rip", "ospf", "bgp"};
  return NAMES[static_cast<std::size_t>(protocol)];
}

const char* NameOfFamily(bool ip6) { return ip6 ? "ipv6" : "ipv4"; }

void AppendNumber(std::uint64_t number, std::string& text) {
  char buffer[20];
  const char* const end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
  text.append(buffer, static_cast<std::size_t>(end - buffer));
}

void AppendAddress(bool ip6, const std::array<unsigned char, 16>& address, std::string& text) {
  if (!ip6) {
    AppendIp4(address.data(), text);
    return;
  }
  char buffer[INET6_ADDRSTRLEN] = "";
  inet_ntop(AF_INET6, address.data(), buffer, sizeof buffer);
  text += buffer;
}

void AppendPrefix(const documents::RouteTarget& target, std::string& text) {
  AppendAddress(target.ip6, target.destination, text);
  text += '/';
  AppendNumber(target.length, text);
}

bool IsZero(const std::array<unsigned char, 16>& address) {
  return std::all_of(address.begin(), address.end(), [](unsigned char byte) { return byte == 0; });
}

Prefix PrefixOf(const documents::RouteTarget& target) {
  return {{target.ip6, target.destination}, target.length};
}

Prefix PrefixOf(const documents::Ip4Network& network) {
  Prefix prefix;
  std::copy_n(network.address.GetBytes(), 4, prefix.address.bytes.begin());
  prefix.length = static_cast<unsigned char>(Tarsel::DcRouterMgr::bitcount(network.mask));
  return Cut(prefix);
}

Prefix PrefixOf(const Tarsel::Ip6Prefix& network) {
  Prefix prefix;
  prefix.address.ip6 = true;
  std::copy_n(network.GetAddress().GetBytes(), 16, prefix.address.bytes.begin());
  prefix.length = static_cast<unsigned char>(network.GetLength());
  return Cut(prefix);
}

documents::RouteTarget TargetOf(unsigned short vlan, const Prefix& prefix) {
  return {vlan, prefix.address.ip6, prefix.length, prefix.address.bytes, {}};
}

void AppendBent(std::string_view words, std::size_t indent, std::string& text) {
  AppendBent(words, indent, indent, text);
}

void AppendBent(std::string_view words, std::size_t first, std::size_t rest, std::string& text) {
  std::size_t indent = first;
  while (!words.empty()) {
    std::size_t end = words.size();
    if (indent + end > WIDTH) {
      const std::size_t space = words.rfind(' ', WIDTH - indent);
      end = space != std::string_view::npos ? space : std::min(words.find(' '), end);
    }
    text.append(indent, ' ').append(words.substr(0, end)) += '\n';
    words.remove_prefix(std::min(end + 1, words.size()));
    indent = rest;
  }
}

}  // namespace views
