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

const char GROUPS_HOLD[] = "objects with a multicast \"address\" each";

const documents::Member& VersionOf(int ipProto) {
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

MulticastRow::MulticastRow(int proto) : version(VersionOf(proto).standard), ipProto(proto) {}

void MulticastRow::Read(GroupReader& reader) {
  reader.ReadNumber(VersionOf(ipProto), version);
  reader.ReadNumber(QUERY_INTERVAL, queryInterval);
  ReadGroups(reader);
  reader.ReadFlag(documents::ENABLED, enabled);
}

void MulticastRow::ReadGroups(GroupReader& reader) {
  const bool isIp6 = ipProto == DcRtmMgr::PROTO_IPV6;
  const documents::Member& member = isIp6 ? GROUPS6 : GROUPS4;
  const documents::Member& address = isIp6 ? GROUP6_ADDRESS : GROUP4_ADDRESS;
  const OptionsNode list = reader.GetNode().GetChildNode(member.name);
  if (!list.IsEmpty() && list.begin() == list.end()) {
    reader.Reject(member, GROUPS_HOLD);
  }
  for (const OptionsNode& entry : list) {
    string text;
    entry.GetAsString(text, address.name);
    const string group = ParseGroupAddress(text.c_str(), ipProto);
    if (group.empty()) {
      reader.Reject(member, GROUPS_HOLD);
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
