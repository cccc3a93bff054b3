// The common base of the protocol routers, and what it requires of a protocol's configuration.
#ifndef VANTACORE_DC_ROUTER_BASE_H
#define VANTACORE_DC_ROUTER_BASE_H

#include <map>
#include <vector>

#include "host/dc_host_interfaces.h"
#include "tarsel/address.h"
#include "tarsel/options.h"
#include "tarsel/string.h"
#include "vantacore/dcl_config_object.h"
#include "vantacore/export.h"

namespace Tarsel {

/// A protocol's configuration: what one router makes of its member of a document. Owned by the
/// router. A source is the document, known by its name and kind, that configuration comes from. The
/// order of the virtual operations is fixed.
class VANTACORE_API DcProtoConfigBase {
 public:
  virtual ~DcProtoConfigBase();
  /// Takes the router's own member of one source's VLAN entry. `node` is valid during the call. A
  /// source that is already known replaces what it configured before.
  virtual void ParseOptions(const OptionsNode& node, const string& name,
                            DclConfigObject::OptionType type) = 0;
  /// Forgets what that source configured.
  virtual void DeleteOptions(const string& name, DclConfigObject::OptionType type) = 0;
};

/// The configuration of a protocol that runs on interfaces: it decides whether its router is
/// enabled and ready, and its router keeps configuration lists.
class VANTACORE_API DcProtoInterfaceBase : public DcProtoConfigBase {
 public:
  /// The values that the router base distinguishes. Others are legal and count as enabled and not
  /// ready.
  enum ConfigStatus : int { DISABLED = 0, ENABLED = 1, READY = 2 };
  /// 0 gone, 1 present and not ready; any other value is present and ready.
  enum IfStatus : int { IF_GONE = 0, IF_NOT_READY = 1, IF_READY = 2 };

  /// Whether any source enables the protocol.
  virtual bool IsEnabled() = 0;
  /// Shows the configuration on a console. For the protocol's own console handler.
  virtual void Display(DcConsole* console) = 0;
  /// Whether the protocol can take rows now. Lists are committed even if it cannot; the protocol
  /// keeps what it cannot send yet. A redistribution rule towards the protocol is dropped if the
  /// protocol is not ready when a pass of the configuration scheduler reaches the rule.
  virtual bool IsReady() = 0;
  /// Whether the protocol can take rows of the interface now.
  virtual bool IsReady(unsigned int ifIndex) = 0;
  /// `status` is the stack's operational status: 1 up, 2 down.
  virtual void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) = 0;
  /// The interface's IPv4 address has changed; 0.0.0.0 is none.
  virtual void ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) = 0;
};

/// The configuration lists that one source fills. Owns them; deleting it deletes their objects
/// without touching the stack.
class VANTACORE_API DcConfigLists {
 public:
  /// Without lists. `name` and `type` are those of the source.
  DcConfigLists(const string& name, DclConfigObject::OptionType type);
  DcConfigLists(const DcConfigLists&) = delete;
  DcConfigLists& operator=(const DcConfigLists&) = delete;
  virtual ~DcConfigLists();

  /// Takes ownership of `list`; lists are parsed in the order in which they were added. Null, from
  /// an allocation that failed, is ignored.
  void AddList(DCLConfigList* list) {
    if (list != nullptr) lists.push_back(list);
  }
  /// The lists in the order in which they were added; owned by this object.
  const std::vector<DCLConfigList*>& GetLists() const { return lists; }
  /// The source's name.
  const string& GetName() const { return name; }
  /// The source's kind.
  DclConfigObject::OptionType GetType() const { return type; }

 private:
  std::vector<DCLConfigList*> lists;
  string name;
  DclConfigObject::OptionType type;
};

/// One protocol's router of one VLAN. The router manager creates and deletes the seven of each
/// VLAN. Any other router belongs to its creator, who also makes the calls that the manager would
/// make. The order of the virtual operations and of the fields is fixed.
///
/// Code that is called from inside Reload, DeleteOptions, ProcessInterfaceStatusChange or
/// ProcessIPAddressChange may query the router. It must not reload or withdraw a source of this
/// router, nor delete the router.
class VANTACORE_API DcRouterBase {
 public:
  /// `name` is the protocol's name and the document member that configures it. Takes ownership of
  /// `config`, which may be null and may already refer to this router.
  DcRouterBase(const string& name, unsigned short vlan, DcProtoConfigBase* config);
  DcRouterBase(const DcRouterBase&) = delete;
  DcRouterBase& operator=(const DcRouterBase&) = delete;
  /// Deletes the configuration, then the lists, one source after the other, without touching the
  /// stack. Code that runs while these are deleted may query the router: it finds no configuration
  /// (GetInterface() is null) and no lists of the source that is being deleted.
  virtual ~DcRouterBase();

  /// Calls SetStatus(status); the text is ignored.
  virtual void SetStatus(string text, DcProtoInterfaceBase::ConfigStatus status);
  /// Returns new, empty lists for a source, owned by the caller; null if memory is short.
  virtual DcConfigLists* CreateConfigLists(const string& name, DclConfigObject::OptionType type);
  /// Adds the concrete router's lists to `lists`. If it returns false, the source gets no lists;
  /// the next reload of the source asks again.
  virtual bool CreateConfigList(DcConfigLists& lists) = 0;

  /// Applies a source: `node` is the VLAN's entry. If this router's member is missing or empty, the
  /// source is withdrawn. Returns 1.
  int Reload(const OptionsNode& node, const string& name, DclConfigObject::OptionType type);
  /// Withdraws a source. Its objects are dropped without touching the stack.
  void DeleteOptions(const string& name, DclConfigObject::OptionType type);

  /// The protocol configuration when it is one of an interface protocol, else null.
  DcProtoInterfaceBase* GetInterface() const;
  /// Stores the status. IsEnabled and IsReady use it only in a router without an interface
  /// protocol's configuration.
  void SetStatus(DcProtoInterfaceBase::ConfigStatus newStatus);
  /// What the interface protocol's configuration says; without one, whether the stored status is
  /// not DISABLED.
  bool IsEnabled() const;
  /// What the interface protocol's configuration says; without one, whether the stored status is
  /// READY.
  bool IsReady() const;
  /// Whether the interface is known through SetInterfaceStatus.
  bool IsEnabled(unsigned int ifIndex) const;
  /// What the interface protocol's configuration says; without one, whether the interface is known
  /// and not IF_NOT_READY.
  bool IsReady(unsigned int ifIndex) const;
  /// Stores the interface's status; IF_GONE removes it.
  void SetInterfaceStatus(unsigned int ifIndex, DcProtoInterfaceBase::IfStatus newStatus);
  /// Tells the protocol configuration, then every list. Ignored without an interface protocol.
  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int newStatus);
  /// Tells the protocol configuration only.
  void ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address);

  /// Four address bytes as dotted decimal.
  string FormatIpv4Addr(const void* address) const;

  /// The router's VLAN.
  unsigned short GetVlan() const { return vlan; }
  /// The protocol's name, as in OSPF.
  const string& GetName() const { return name; }
  /// "NAME:VLAN", as in OSPF:12.
  const string& GetDisplayName() const { return displayName; }
  /// The lists by source name.
  const std::map<string, DcConfigLists*>& GetConfigLists() const { return configLists; }

  /// Stores the host's answers about interfaces; borrowed for the life of the process.
  static void Initialize(DcIpInterface* ipInterface);
  /// Stores the host's event loop for the stack's descriptors; borrowed for the life of the
  /// process.
  static void SocketInitialize(DcSckInterface* sckInterface);
  /// The host's interfaces, or null before Initialize.
  static DcIpInterface* GetIpInterface() { return m_ip_interface; }
  /// Registers a descriptor of the stack, under the stack's own `id`, on the host's event loop;
  /// does nothing while there is no event loop. `mode` is that of DcSckInterface: 1 read, 2 write,
  /// 3 urgent data, 0 none.
  static void SetSckDescriptor(int fd, int mode, int id);
  /// Ends the registration of `fd` under the stack's `id`.
  static void RemoveSckDescriptor(int fd, int id);
  /// Changes the mode of a registered descriptor.
  static void ChangeWorkMask(int fd, int mode);

 protected:
  /// Borrowed; null at first.
  static DcIpInterface* m_ip_interface;
  /// Borrowed; null at first.
  static DcSckInterface* m_sck_interface;

 private:
  DcConfigLists* FindOrCreateConfigLists(const string& source, DclConfigObject::OptionType type);
  void DropConfigLists(const string& source);

  std::map<string, DcConfigLists*> configLists;
  DcProtoConfigBase* protoConfig;
  std::map<unsigned int, bool> ifStatus;  // interface index to "ready"
  string name;
  string displayName;
  unsigned short vlan;
  DcProtoInterfaceBase::ConfigStatus status;
};

}  // namespace Tarsel

#endif
