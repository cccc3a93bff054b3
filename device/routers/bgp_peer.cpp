#include "bgp_peer.h"

#include <cstring>
#include <tuple>

#include "vantacore/config_parser.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcl_config_object.h"

namespace routers {

using Tarsel::DclConfigObject;
using Tarsel::DcRtmMgr;
using Tarsel::FormatIp4Addr;
using Tarsel::FormatIp6Addr;
using Tarsel::OptionsNode;
using Tarsel::ReadDCLMibIpAddress;
using Tarsel::ReadDCLMibIpv6Address;
using Tarsel::ReadDCLMibString;
using Tarsel::string;

namespace {

constexpr int AFI_IPV6 = 2;

}  // namespace

void BgpPeer::Read(GroupReader& reader) {
  const OptionsNode& node = reader.GetNode();
  DclConfigObject::ParseAfiOption(node, afi, PEER_AFI.name);
  DclConfigObject::ParseSafiOption(node, safi, PEER_SAFI.name);
  if (afi == AFI_IPV6 ? !ReadDCLMibIpv6Address(node, PEER_ADDRESS.name, address, addressLength)
                      : !ReadDCLMibIpAddress(node, PEER_ADDRESS.name, address, addressLength)) {
    reader.Reject(PEER_ADDRESS, afi == AFI_IPV6 ? "an IPv6 address" : "an IPv4 address");
  }
  reader.ReadNumber(PEER_AS, as);
  if (as == 0) {
    reader.Reject(PEER_AS, "there");
  }
  if (!ReadDCLMibString(node, PEER_DESCRIPTION.name, description, descriptionLength)) {
    reader.Reject(PEER_DESCRIPTION, "a text that does not begin with \".*\"");
  }
  reader.ReadFlag(documents::ENABLED, enabled);
}

string BgpPeer::GetContents() const {
  string text;
  text.Format("afi=%d safi=%d address=%s as=%u description=\"%s\"", afi, safi,
              (afi == AFI_IPV6 ? FormatIp6Addr(address) : FormatIp4Addr(address)).c_str(), as,
              Printable(description, descriptionLength).c_str());
  return text;
}

int BgpPeer::GetIpProto() const {
  return afi == AFI_IPV6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4;
}

bool operator==(const BgpPeer& a, const BgpPeer& b) {
  return std::tie(a.afi, a.safi, a.addressLength, a.as, a.descriptionLength, a.enabled) ==
             std::tie(b.afi, b.safi, b.addressLength, b.as, b.descriptionLength, b.enabled) &&
         std::memcmp(a.address, b.address, a.addressLength) == 0 &&
         std::memcmp(a.description, b.description, a.descriptionLength) == 0;
}

}  // namespace routers
