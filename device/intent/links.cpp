#include "links.h"

#include <algorithm>
#include <tuple>

namespace intent {

using documents::Interface;
using documents::LinkSettings;

namespace {

constexpr std::uint32_t HIGHEST_VLAN = 32767;
constexpr std::size_t MOST_DIGITS = 9;  // that a number of 32 bits surely holds

bool IsPrintable(const std::string& name) {
  return !name.empty() &&
         std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

// The number after the last dot. One that is too large for any VLAN is the largest one.
std::optional<std::uint32_t> NumberOfName(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  std::string digits = dot == std::string::npos ? "" : name.substr(dot + 1);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) {
    return std::nullopt;
  }
  digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
  return digits.size() > MOST_DIGITS ? UINT32_MAX : static_cast<std::uint32_t>(std::stoul(digits));
}

LinkPlace FindVlan(const LinkSettings& settings, unsigned short defaultVlan, const Link& link) {
  const auto said = settings.vlans.find(link.name);
  if (said != settings.vlans.end()) {
    return {said->second, LinkRule::DOCUMENT};
  }
  if (link.tag) {
    return {*link.tag, LinkRule::TAG};
  }
  const auto vrf = link.vrf.empty() ? settings.vrfs.end() : settings.vrfs.find(link.vrf);
  if (vrf != settings.vrfs.end()) {
    return {vrf->second, LinkRule::VRF};
  }
  if (const auto number = NumberOfName(link.name)) {
    return {*number, LinkRule::NAME};
  }
  return {defaultVlan, LinkRule::DEFAULT};
}

}  // namespace

bool operator==(const Link& a, const Link& b) {
  return std::tie(a.index, a.name, a.flags, a.mtu, a.up, a.tag, a.ip4, a.isVrf, a.vrf) ==
             std::tie(b.index, b.name, b.flags, b.mtu, b.up, b.tag, b.ip4, b.isVrf, b.vrf) &&
         a.ip6 == b.ip6;
}

const char* DescribeRule(LinkRule rule) {
  switch (rule) {
    case LinkRule::DOCUMENT:
      return "document";
    case LinkRule::TAG:
      return "tag";
    case LinkRule::VRF:
      return "vrf";
    case LinkRule::NAME:
      return "name";
    default:
      return "default";
  }
}

std::optional<LinkPlace> FindPlace(const LinkSettings& settings, unsigned short defaultVlan,
                                   const Link& link) {
  if (!settings.Take(link.name) || (link.isVrf && settings.vlans.count(link.name) == 0)) {
    return std::nullopt;
  }
  LinkPlace place = FindVlan(settings, defaultVlan, link);
  if (!IsPrintable(link.name)) {
    place.problem = "its name has letters that no interface's may have";
  } else if (place.vlan > HIGHEST_VLAN) {
    place.problem = "its VLAN is above 32767";
  }
  return place;
}

Interface InterfaceOf(const Link& link) {
  Interface interface;
  interface.name = link.name;
  interface.flags = link.flags;
  interface.mtu = link.mtu;
  interface.up = link.up;
  interface.ip4 = link.ip4;
  interface.ip6 = link.ip6;
  interface.isLink = true;
  return interface;
}

void AddLinks(const LinkSettings& settings, unsigned short defaultVlan, const Links& links,
              documents::Interfaces& interfaces) {
  for (const auto& [index, link] : links) {
    const auto place = FindPlace(settings, defaultVlan, link);
    if (place && place->problem == nullptr) {
      interfaces.emplace(std::pair(static_cast<unsigned short>(place->vlan), index),
                         InterfaceOf(link));
    }
  }
}

}  // namespace intent
