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
constexpr unsigned int MAX_AS = 0xFFFFFFFF;

}  // namespace

void BgpPeer::Read(GroupReader& reader) {
  const OptionsNode& node = reader.GetNode();
  DclConfigObject::ParseAfiOption(node, afi, "afi");
  DclConfigObject::ParseSafiOption(node, safi, "safi");
  if (afi == AFI_IPV6 ? !ReadDCLMibIpv6Address(node, "address", address, addressLength)
                      : !ReadDCLMibIpAddress(node, "address", address, addressLength)) {
    reader.Reject("address", afi == AFI_IPV6 ? "an IPv6 address" : "an IPv4 address");
  }
  reader.ReadNumber("as", as, 1, MAX_AS);
  if (as == 0) {
    reader.Reject("as", "there");
  }
  if (!ReadDCLMibString(node, "description", description, descriptionLength)) {
    reader.Reject("description", "a text that does not begin with \".*\"");
  }
  reader.ReadFlag("enabled", enabled);
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
