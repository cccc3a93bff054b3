// What the protocol routers' configurations have in common.
#ifndef ROUTERS_PROTOCOL_INTERFACE_H
#define ROUTERS_PROTOCOL_INTERFACE_H

#include <map>
#include <memory>
#include <vector>

#include "tarsel/export.h"
#include "vantacore/dc_router_base.h"

namespace Tarsel {

/// The configuration of one protocol of one VLAN. Several documents may configure it. The protocol
/// is enabled while at least one of them enables it; a document that names the protocol without
/// "enabled" enables it. Under "INTERFACES" a document may take single interfaces away from the
/// protocol. If several documents name the same interface, remote documents override the VLAN
/// document, and among documents of one kind the last by name decides.
///
/// It is ready while it is enabled and the VLAN's RTM instance of its family is ready. An interface
/// is ready while the protocol is enabled, no document has taken the interface away, the router
/// knows it and it is up. For an IPv4 protocol an interface whose reported address is 0.0.0.0 is
/// not ready.
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
  /// One line: VLAN, enabled, ready, and the interfaces that are ready among those that are known.
  void Display(DcConsole* console) override;
  bool IsReady() override;
  bool IsReady(unsigned int ifIndex) override;
  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override;
  void ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) override;

  /// Visits all rows that documents configure, document by document.
  void ForEachRow(DclConfigListIteratorFunc& visitor);

 protected:
  /// A list for the rows of one document, owned by the caller, if the protocol keeps its rows here
  /// and not in its router's lists; else null. As with the router's lists, withdrawing the document
  /// or disabling the protocol forgets the rows and leaves them in the stack.
  virtual DCLConfigList* CreateRows();

  /// The router that owns this configuration.
  DcRouterBase& GetRouter() const { return m_router; }

 private:
  struct Source {
    string name;
    DclConfigObject::OptionType type;
    bool enabled;
    std::map<unsigned int, bool> interfaces;  // the named ones: left to the protocol or not
    std::unique_ptr<DCLConfigList> rows;
  };
  struct Interface {
    bool up = false;
    bool isAddressKnown = false;
    Ip4Addr address;
  };

  Source& FindOrAddSource(const string& name, DclConfigObject::OptionType type);
  void ReadInterfaces(const OptionsNode& list, Source& source);
  void ReadRows(const OptionsNode& node, Source& source);
  bool IsTaken(unsigned int ifIndex) const;

  DcRouterBase& m_router;
  int m_ipProto;
  std::vector<Source> m_sources;  // those that count for more come later
  std::map<unsigned int, Interface> m_interfaces;
};

}  // namespace Tarsel

#endif
