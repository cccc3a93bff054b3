#include "places.h"

#include <cstdint>

#include "device/apply/reload_request.h"
#include "device/documents/device_document.h"
#include "device/program/decimal.h"
#include "device/views/names.h"
#include "device/views/prefix.h"
#include "vlan_id.h"

namespace console {

namespace {

constexpr std::uint32_t MOST_TIMES = 1000000;
constexpr std::uint32_t MOST_LEVEL = 10;

bool IsVlan(const std::string& word) { return ReadVlan(word).has_value(); }

template <std::uint32_t low, std::uint32_t high>
bool IsNumber(const std::string& word) {
  return program::ReadDecimal(word, low, high).has_value();
}

bool IsAddress(const std::string& word) { return views::ReadAddress(word).has_value(); }

bool IsPrefix(const std::string& word) { return views::ReadPrefix(word).has_value(); }

bool IsAddressAndLength(const std::string& word) {
  documents::Ip4Network network;
  Tarsel::Ip6Prefix prefix;
  return documents::ReadPrefix(word, network) || documents::ReadPrefix(word, prefix);
}

template <const char* const& name>
bool IsWordOf(const std::string& word) {
  return Has(ValuesOf(name), word);
}

constexpr const char* PREFIX = "prefix";
constexpr const char* PROTOCOL = "protocol";
constexpr const char* COMPONENT = "component";

const Place PLACES[] = {
    {"vid", IsVlan, "the number of a VLAN", "A VLAN"},
    {"address", IsAddress, "an address", "The longest match of an address"},
    {"gateway", IsAddress, "an address", "The address of a gateway"},
    {PREFIX, IsPrefix, "a prefix without host bits, for example 10.0.0.0/8",
     "This prefix; 0.0.0.0/0: the default route"},
    {PROTOCOL, IsWordOf<PROTOCOL>, "a protocol", "A protocol"},
    {COMPONENT, IsWordOf<COMPONENT>, "a component", "Of this component only"},
    {"seconds", IsNumber<1, apply::MAX_CONFIRM_SECONDS>, "seconds, from 1 to 86400",
     "For how long, from 1 to 86400"},
    {"revision", IsNumber<1, UINT32_MAX>, "the number of a revision, from 1 on",
     "The number of a revision"},
    {"changes-back", IsNumber<1, UINT32_MAX>, "how many changes back, from 1 on",
     "How many changes back; not the number of a revision"},
    {"level", IsNumber<0, MOST_LEVEL>, "a level, from 0 to 10", "From 0, the least, to 10"},
    {"count", IsNumber<1, MOST_TIMES>, "a number from 1 to 1000000", "From 1 to 1000000"},
    {"address/length", IsAddressAndLength, "an address with its length, for example 10.1.0.1/16",
     "An address with its length"},
    {"interface", nullptr, "an interface", "The name of an interface"},
};

}  // namespace

const Place* FindPlace(const std::string& name) {
  for (const Place& place : PLACES) {
    if (place.name == name) {
      return &place;
    }
  }
  return nullptr;
}

bool Takes(const std::string& name, const std::string& word) {
  const Place* place = FindPlace(name);
  return place == nullptr || place->takes == nullptr || place->takes(word);
}

std::string MendedFor(const std::string& name, const std::string& word) {
  const auto prefix = name == PREFIX ? views::ReadNetwork(word) : std::nullopt;
  return prefix ? views::Describe(*prefix) : "";
}

Words ValuesOf(const std::string& name) {
  if (name == PROTOCOL) {
    Words names;
    for (std::size_t i = 0; i < views::PROTOCOLS; ++i) {
      names.emplace_back(views::NameOf(static_cast<views::Protocol>(i)));
    }
    return names;
  }
  if (name == COMPONENT) {
    return {"library", "stack", "host"};
  }
  return {};
}

}  // namespace console
