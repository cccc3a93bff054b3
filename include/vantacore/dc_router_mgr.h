// The router manager: VLANs, their protocol routers, configuration documents, network events.
#ifndef VANTACORE_DC_ROUTER_MGR_H
#define VANTACORE_DC_ROUTER_MGR_H

#include <map>
#include <set>

#include "host/dc_host_interfaces.h"
#include "tarsel/address.h"
#include "tarsel/options.h"
#include "tarsel/string.h"
#include "vantacore/cfg_sched.h"
#include "vantacore/dc_scheduler.h"
#include "vantacore/dcl_config_object.h"
#include "vantacore/export.h"
#include "vantacore/serializer.h"

namespace Tarsel {

class DcConsole;
class DcRouterBase;

/// A console handler and its line in the help. `argv[0]` is the word under which it is registered;
/// the context is the host's own.
struct VANTACORE_API DcRouterCmdHandler {
  /// Carries out a command. The words are valid, and may be changed, during the call.
  typedef void (*Handler)(void* context, DcConsole* console, int argc, char** argv);

  /// Copies the description; null is the empty text.
  DcRouterCmdHandler(Handler handler_, const char* description_)
      : handler(handler_), description(description_) {}

  /// What carries out the command.
  Handler handler;
  /// Its line in the help.
  string description;
};

/// The process-wide object at the top of the library. It owns the VLANs, one router per protocol
/// and VLAN, the stack scheduler, the configuration scheduler and the serializer. Everything runs
/// on the host's event-loop thread. It is never destroyed.
class VANTACORE_API DcRouterMgr {
 public:
  /// The protocols, in the order in which a VLAN's routers are created and visited.
  enum ProtocolType : int {
    PROTOCOL_BGP = 0,
    PROTOCOL_OSPFV2 = 1,
    PROTOCOL_OSPFV3 = 2,
    PROTOCOL_RIPV2 = 3,
    PROTOCOL_RIPNG = 4,
    PROTOCOL_IGMP = 5,
    PROTOCOL_MLD = 6
  };
  /// How many protocols there are.
  static constexpr int PROTOCOL_COUNT = 7;

  /// One VLAN. The manager owns the record and the routers.
  struct VlanRouters {
    std::set<string> configFiles;  ///< the documents that configure the VLAN
    /// One of each type; null while one is being deleted.
    std::multimap<ProtocolType, DcRouterBase*> routers;
  };
  /// VLANs by id.
  typedef std::map<unsigned short, VlanRouters*> VlanMap;
  /// Handlers by their word.
  typedef std::map<string, DcRouterCmdHandler> CmdHandlers;

  /// A visitor of routers; its result is not looked at.
  class VANTACORE_API DcRouterIteratorFunc {
   public:
    virtual ~DcRouterIteratorFunc();
    /// Called once for each router, which stays the manager's.
    virtual void Invoke(DcRouterBase* router) = 0;
  };

  // --- life ---

  /// The singleton, created on first use. Null when it cannot be allocated.
  static DcRouterMgr* GetInstance();
  /// One-time start-up with the default VLAN: hands `ipIf` (borrowed for the life of the process)
  /// to the routers and starts the stack.
  void Initialize(unsigned short vid, DcIpInterface* ipIf);
  /// Changes the default VLAN that GetVlanId returns; that of commands
  /// (DcConsoleCommand::m_default_vlan) stays.
  void SetVlanId(unsigned short vid) { m_vlanId = vid; }
  /// The default VLAN, 0 before Initialize.
  unsigned short GetVlanId() const { return m_vlanId; }

  // --- configuration documents ---

  /// Applies a document under a name. Reload itself reads two members: "VLAN_CONFIGURATIONS" of the
  /// document and "vid" of each entry in it, whose low 16 bits are the VLAN id. Each entry is
  /// passed to the routers of its VLAN; then the document is withdrawn from the VLANs that it no
  /// longer names. If the first member is missing or empty, the whole document is withdrawn.
  ///
  /// A VLAN document (VLAN_OPTIONS) creates the VLANs that do not exist yet, updates the RTM
  /// instances of the others, and reaches every router. A remote document (any other type) reaches
  /// only VLANs that exist: their enabled routers for REMOTE_OPTIONS, every router for other types.
  /// A VLAN lives while a document names it.
  ///
  /// The document is only read during the call. Returns true; entries that cannot be used are
  /// traced and skipped. A router that is called from here may query the manager and load
  /// documents. It must not withdraw this document or delete its own VLAN.
  bool Reload(Options const& doc, string const& fileName, DclConfigObject::OptionType type);
  /// Withdraws a document. Nothing happens for a name that was never loaded. The rules for a router
  /// that is called from Reload hold here, too.
  void DeleteOptions(string const& fileName, DclConfigObject::OptionType type);

  // --- VLANs and routers ---

  /// Creates a VLAN with its RTM instances (VLAN_OPTIONS only) and seven routers; a VLAN that
  /// exists keeps its routers. Returns the VLAN's place in GetVlans(). If memory is short,
  /// everything is undone and GetVlans().end() is returned. A VLAN created by this call belongs to
  /// no document; it lives until DeleteVlan, or until the last document that has named it since is
  /// withdrawn.
  VlanMap::iterator CreateVlan(unsigned short vid, OptionsNode const& node,
                               DclConfigObject::OptionType type);
  /// Deletes the RTM instances, then the routers. Items of the VLAN that have not been sent go on
  /// waiting in the configuration scheduler until the VLAN is created again. A VLAN that does not
  /// exist is traced.
  void DeleteVlan(unsigned short vid);
  /// The VLANs in ascending order. The reference is valid for the life of the manager; loading and
  /// withdrawing documents changes the map. The records belong to the manager: do not change them.
  const VlanMap& GetVlans() const { return m_vlans; }
  /// The VLAN's router, or null. Valid until the VLAN is deleted.
  DcRouterBase* GetDcRouterByVID(unsigned short vid, ProtocolType type);
  /// The same by stack instance id, IPv4 or IPv6. For a type above 6 it returns null, and that is
  /// traced.
  DcRouterBase* GetDcRouterByInstanceID(unsigned int instanceId, ProtocolType type);
  /// Visits every router of the type, VLANs in ascending order; a router that is being deleted is
  /// skipped. `fn` must not create or delete VLANs. Nothing happens if it is null.
  void ForEachDcRouter(DcRouterIteratorFunc* fn, ProtocolType type);
  /// The display name; "" for a value that is not a protocol.
  static const char* RouterName(ProtocolType type);
  /// The number of one bits of a mask.
  static unsigned int bitcount(Ip4Addr mask);

  // --- network events ---

  // A router that is told of an event may query the manager. It must not delete its own VLAN.

  /// The interface's operational status, 1 up or 2 down, has changed: every router of the VLAN is
  /// told. Ignored if the VLAN does not exist.
  void ProcessInterfaceStatusChange(unsigned short vid, unsigned int ifIndex,
                                    unsigned short status);
  /// The interface's IPv4 address has changed, 0.0.0.0 being none: every router of the VLAN is
  /// told. Ignored if the VLAN does not exist.
  void ProcessIPAddressChange(unsigned short vid, unsigned int ifIndex, Ip4Addr const& addr);
  /// A remote has joined on the interface: the interface is added to the VLAN's IGMP router if that
  /// router is enabled. A VLAN that does not exist is traced.
  void JoinNetwork(unsigned short vid, unsigned int ifIndex);
  /// A remote has left. The IGMP router keeps the interface.
  void LeaveNetwork(unsigned short vid, unsigned int ifIndex);
  /// Binds the host's event loop for the stack's descriptors; borrowed for the life of the process.
  void SckInterfaceInitialize(DcSckInterface* sck);
  /// Announces the device's peer: the call is traced, the pointer is not kept.
  void QuorpInterfaceInitialize(DcQuorpInterface* peer);
  /// The stack registers a descriptor under its own `id`; nothing happens while there is no event
  /// loop. `mode` is that of DcSckInterface.
  void SetFiledescriptors(int fd, int id, int mode);
  /// The stack ends that registration.
  void RemoveFiledescriptors(int fd, int id);
  /// The stack wants other events of a registered descriptor.
  void ChangeMask(int fd, int mode);
  /// A registered descriptor is ready: runs the stack's handler. `events` is a set of 1 read, 2
  /// write and 4 urgent.
  void SocketCallback(int fd, int events);
  /// Switches the stack's tracing.
  void TripsControl(bool on);
  /// Sets a filter of the stack's trace of the messages between its components: `value` 1 type in,
  /// 2 type out, 5 process in, 6 process out. The stack takes a writable text, which is passed on
  /// unchanged; the empty one clears the filter.
  void SetIPSFilter(char* filter, unsigned short value);
  /// Whether the stack traces, as last switched by TripsControl.
  bool GetIPSTracing() const;
  /// Passes console words to DcBgpRouter::DummyConsoleCommand of the VLAN's BGP router (low 16 bits
  /// of `vid`); nothing happens without that router.
  void BgpPeerAct(unsigned int vid, int argc, char** argv);

  // --- console ---

  /// Registers a handler under a word of the `ip` tree. The first registration of a word stays.
  /// Word and description are copied; null is the empty text.
  void AddIp4RouterCmdHandler(const char* name, DcRouterCmdHandler::Handler handler,
                              const char* description);
  /// The same for the `ip6` tree.
  void AddIp6RouterCmdHandler(const char* name, DcRouterCmdHandler::Handler handler,
                              const char* description);
  /// The words of the `ip` tree.
  const CmdHandlers& GetIp4ConCmdHandlers() const { return m_ip4CmdHandlers; }
  /// The words of the `ip6` tree.
  const CmdHandlers& GetIp6ConCmdHandlers() const { return m_ip6CmdHandlers; }

  /// The handler of `ip protocol`. Afterwards the console belongs to a running command (see
  /// DcConsoleCommand::Owns), has been deleted, or is still the caller's.
  static void ConCmdIp4Rtm(void* context, DcConsole* console, int argc, char** argv);
  /// The handler of `ip6 protocol`; the same holds for its console.
  static void ConCmdIp6Rtm(void* context, DcConsole* console, int argc, char** argv);
  /// Prints which IPv4 protocols are enabled in each VLAN, and deletes the console.
  void ConCmdIp4RtmSummary(DcConsole* console);
  /// The same for the IPv6 protocols.
  void ConCmdIp6RtmSummary(DcConsole* console);
  /// The `ips` command; `argv` begins after that word. The console stays the caller's.
  void ConCmdIpsTrace(DcConsole* console, int argc, char** argv);

  // --- engines ---

  /// The timer that runs the stack; lives as long as the manager.
  DcScheduler& GetScheduler() { return m_scheduler; }
  /// The configuration scheduler; lives as long as the manager.
  CfgSched& GetCfgSched() { return m_cfgSched; }
  /// The request serializer; lives as long as the manager.
  Serializer& GetSerializer() { return m_serializer; }

 protected:
  DcRouterMgr();
  ~DcRouterMgr();

 private:
  VlanRouters* PrepareVlan(const OptionsNode& entry, int number, const string& file,
                           DclConfigObject::OptionType type);
  bool WithdrawFromVlan(unsigned short vid, const string& file, DclConfigObject::OptionType type);

  static DcRouterMgr* m_instance;

  const char* m_vlanConfigKey;
  VlanMap m_vlans;
  std::map<string, std::set<unsigned short>> m_configVlans;  // the mirror of configFiles
  DcScheduler m_scheduler;
  CfgSched m_cfgSched;
  Serializer m_serializer;
  CmdHandlers m_ip4CmdHandlers;
  CmdHandlers m_ip6CmdHandlers;
  unsigned short m_vlanId;
};

}  // namespace Tarsel

#endif
