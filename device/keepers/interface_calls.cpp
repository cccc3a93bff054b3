#include "interface_calls.h"

#include <variant>

#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_router_mgr.h"

namespace keepers {

using documents::InterfaceKey;
using Tarsel::DcInterfaceMgr;
using Tarsel::DcRouterMgr;

namespace {

constexpr std::uint32_t FLAG_LOOPBACK = 2;

// The numbers that network management gives to interface types.
constexpr unsigned int TYPE_ETHERNET = 6;
constexpr unsigned int TYPE_LOOPBACK = 24;

DcInterfaceMgr::IntfType TypeOf(std::uint32_t flags) {
  return static_cast<DcInterfaceMgr::IntfType>((flags & FLAG_LOOPBACK) != 0 ? TYPE_LOOPBACK
                                                                            : TYPE_ETHERNET);
}

/// Tells the library what one action of a plan says, about one interface.
class Teller {
 public:
  explicit Teller(const InterfaceKey& key) : m_vlan(key.first), m_index(key.second) {}

  void operator()(const intent::Register& row) const {
    Registry().AddInterface(m_vlan, m_index, row.name.c_str(), TypeOf(row.flags), row.flags,
                            row.mtu, row.up ? STATUS_UP : STATUS_DOWN);
  }
  void operator()(const intent::Unregister& row) const {
    Registry().RemoveInterface(m_vlan, m_index, row.name.c_str());
  }
  void operator()(const intent::SetStatus& status) const {
    const auto set =
        status.up ? &DcInterfaceMgr::SetInterfaceUp : &DcInterfaceMgr::SetInterfaceDown;
    (Registry().*set)(m_vlan, m_index, status.name.c_str());
  }
  void operator()(const intent::AddIp4& added) const {
    Registry().AddIpAddress(m_vlan, m_index, added.network.address, added.network.mask);
  }
  void operator()(const intent::ChangeIp4& changed) const {
    Registry().ChangeIpAddress(m_vlan, m_index, changed.network.address, changed.network.mask);
  }
  void operator()(const intent::DeleteIp4& deleted) const {
    Registry().DeleteIpAddress(m_vlan, m_index, deleted.network.address, deleted.network.mask);
  }
  void operator()(const intent::AddIp6& added) const {
    Registry().AddIpAddress(m_vlan, m_index, added.prefix.GetAddress(), added.prefix.GetLength());
  }
  void operator()(const intent::DeleteIp6& deleted) const {
    Registry().DeleteIpAddress(m_vlan, m_index, deleted.prefix.GetAddress(),
                               deleted.prefix.GetLength());
  }
  void operator()(const intent::TellStatus& status) const {
    Routers().ProcessInterfaceStatusChange(
        m_vlan, m_index, static_cast<unsigned short>(status.up ? STATUS_UP : STATUS_DOWN));
  }
  void operator()(const intent::TellIp4& told) const {
    Routers().ProcessIPAddressChange(m_vlan, m_index, told.address);
  }
  void operator()(const intent::TellJoined& told) const {
    const auto tell = told.joined ? &DcRouterMgr::JoinNetwork : &DcRouterMgr::LeaveNetwork;
    (Routers().*tell)(m_vlan, m_index);
  }

 private:
  static DcInterfaceMgr& Registry() { return *DcInterfaceMgr::GetInstance(); }
  static DcRouterMgr& Routers() { return *DcRouterMgr::GetInstance(); }

  const unsigned short m_vlan;
  const std::uint32_t m_index;
};

}  // namespace

void Tell(const InterfaceKey& key, const intent::InterfaceAction& action) {
  std::visit(Teller(key), action);
}

}  // namespace keepers
