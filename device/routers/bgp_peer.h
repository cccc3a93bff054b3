// A BGP neighbour.
#ifndef DEVICE_ROUTERS_BGP_PEER_H
#define DEVICE_ROUTERS_BGP_PEER_H

#include <string>

#include "declared_members.h"
#include "group_reader.h"
#include "tarsel/string.h"

namespace Tarsel {
class DcRouterBase;
}

namespace routers {

/// The columns of a peer, named BGP_<vlan>_<id>. The row is in the instance of its address family,
/// so the family is part of the row's key.
struct BgpPeer {
  static constexpr const char* LIST = "BgpPeers";
  static constexpr const char* MEMBER = PEERS;

  int afi = 1;   // 1 IPv4, 2 IPv6
  int safi = 1;  // 1 unicast, 2 multicast, 3 both, 128 labelled VPN
  unsigned char address[16] = {};
  unsigned int addressLength = 0;
  unsigned int as = 0;
  unsigned char description[PEER_DESCRIPTION.high] = {};
  unsigned int descriptionLength = 0;
  bool enabled = documents::ENABLED.standard != 0;

  explicit BgpPeer(int) {}
  void Read(GroupReader& reader);
  bool IsSameRow(const BgpPeer& other) const { return afi == other.afi; }
  std::string GetKey(unsigned int id) const { return std::to_string(id); }
  Tarsel::string GetContents() const;
  int GetIpProto() const;
  void Enter(Tarsel::DcRouterBase&, unsigned int) const {}
  void Leave(Tarsel::DcRouterBase&, unsigned int) const {}
};

bool operator==(const BgpPeer& a, const BgpPeer& b);

}  // namespace routers

#endif
