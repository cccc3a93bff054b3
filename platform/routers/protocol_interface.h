// What the protocol routers' configurations have in common.
#ifndef ROUTERS_PROTOCOL_INTERFACE_H
#define ROUTERS_PROTOCOL_INTERFACE_H

#include <map>

#include "tarsel/export.h"
#include "vantacore/dc_router_base.h"

namespace Tarsel {

/// The configuration of one protocol of one VLAN. Several documents may configure it: the protocol is
/// enabled while any of them says so, and a document that names the protocol without "enabled" does.
/// It is ready while it is enabled and the VLAN's RTM instance of its family is; an interface is ready
/// while the protocol is enabled and the interface is up.
///
/// It is created with the router that is being built, so the constructor only keeps the reference.
class TARSEL_API ProtocolInterface : public DcProtoInterfaceBase {
 public:
  /// `ipProto` is the family: 0 IPv4, 41 IPv6.
  ProtocolInterface(DcRouterBase& router, int ipProto);
  ~ProtocolInterface() override;

  void ParseOptions(const OptionsNode& node, const string& name,
                    DclConfigObject::OptionType type) override;
  void DeleteOptions(const string& name, DclConfigObject::OptionType type) override;
  bool IsEnabled() override;
  /// One line: VLAN, enabled, ready, and the interfaces that are up among those that are known.
  void Display(DcConsole* console) override;
  bool IsReady() override;
  bool IsReady(unsigned int ifIndex) override;
  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override;
  void ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) override;

 private:
  struct Interface {
    bool up = false;
    Ip4Addr address;
  };

  DcRouterBase& m_router;
  int m_ipProto;
  std::map<string, bool> m_enabledBy;  // by source
  std::map<unsigned int, Interface> m_interfaces;
};

}  // namespace Tarsel

#endif
