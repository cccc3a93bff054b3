#include "multicast_row.h"

#include <tuple>

#include "tarsel/address.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_rtm_mgr.h"

namespace routers {

using Tarsel::DcRtmMgr;
using Tarsel::Ip4Addr;
using Tarsel::Ip6Addr;
using Tarsel::OptionsNode;
using Tarsel::ParseAddress;
using Tarsel::ParseIp6Address;
using Tarsel::string;

namespace {

constexpr unsigned int IGMP_VERSION = 3;
constexpr unsigned int MLD_VERSION = 2;
constexpr unsigned int MAX_QUERY_INTERVAL = 31744;  // the longest that a version 3 query can tell

const char GROUPS_HOLD[] = "objects with a multicast \"address\" each";

unsigned int LatestVersion(int ipProto) {
  return ipProto == DcRtmMgr::PROTO_IPV6 ? MLD_VERSION : IGMP_VERSION;
}

}  // namespace

string ParseGroupAddress(const char* text, int ipProto) {
  if (ipProto == DcRtmMgr::PROTO_IPV6) {
    Ip6Addr group;
    const bool isGroup = ParseIp6Address(group, text) && group.GetBytes()[0] == 0xFF;
    return isGroup ? group.ToString() : string();
  }
  Ip4Addr group;
  const bool isGroup = ParseAddress(group, text) && (group.GetBytes()[0] & 0xF0) == 0xE0;
  return isGroup ? group.ToString() : string();
}

MulticastRow::MulticastRow(int proto) : version(LatestVersion(proto)), ipProto(proto) {}

void MulticastRow::Read(GroupReader& reader) {
  reader.ReadNumber("version", version, 1, LatestVersion(ipProto));
  reader.ReadNumber("query_interval", queryInterval, 1, MAX_QUERY_INTERVAL);
  ReadGroups(reader);
  reader.ReadFlag("enabled", enabled);
}

void MulticastRow::ReadGroups(GroupReader& reader) {
  const OptionsNode list = reader.GetNode().GetChildNode("GROUPS");
  if (!list.IsEmpty() && list.begin() == list.end()) {
    reader.Reject("GROUPS", GROUPS_HOLD);
  }
  for (const OptionsNode& entry : list) {
    string text;
    entry.GetAsString(text, "address");
    const string group = ParseGroupAddress(text.c_str(), ipProto);
    if (group.empty()) {
      reader.Reject("GROUPS", GROUPS_HOLD);
      return;
    }
    groups.insert(group);
  }
}

string MulticastRow::GetContents() const {
  string text;
  text.Format("version=%u query_interval=%u", version, queryInterval);
  const char* separator = " groups=";
  for (const string& group : groups) {
    text += separator;
    text += group;
    separator = ",";
  }
  return text;
}

bool operator==(const MulticastRow& a, const MulticastRow& b) {
  return std::tie(a.version, a.queryInterval, a.groups, a.enabled) ==
         std::tie(b.version, b.queryInterval, b.groups, b.enabled);
}

}  // namespace routers
