// Routing Table Manager instances, static routes and redistribution.
#ifndef VANTACORE_DC_RTM_MGR_H
#define VANTACORE_DC_RTM_MGR_H

#include <cstdint>
#include <map>

#include "stack/rows.h"
#include "tarsel/address.h"
#include "tarsel/options.h"
#include "vantacore/dcl_config_object.h"
#include "vantacore/export.h"

namespace Tarsel {

/// The process-wide manager of the stack's RTM entities: two instances for each VLAN, IPv4 and
/// IPv6. It is also the entry for static routes and redistribution rules and the place where the
/// stack's answers to them arrive.
class VANTACORE_API DcRtmMgr {
 public:
  /// Set in the protocol instance id of a VLAN's IPv6 instance; the IPv4 instance id is the vid.
  static constexpr unsigned short IP6_INSTANCE_BIT = 0x8000;
  /// Selects IPv4 in an argument called `proto` or `family`. (An argument called `type` selects it
  /// by 1, and IPv6 by 2.)
  static constexpr int PROTO_IPV4 = 0;
  /// Selects IPv6 in such an argument: IPv6's protocol number.
  static constexpr int PROTO_IPV6 = 41;
  /// The class label of traces.
  static const char* const __class__;  // NOLINT(bugprone-reserved-identifier): a published name

  /// The settings of one instance.
  struct RTMData {
    bool ready = false;  ///< set by the stack only
    /// The stack's timer for a routing protocol that has died, in seconds; passed on unchanged.
    std::uint32_t dead_rpm_timer = 60;
    /// Administrative distance of OSPFv2's internal routes.
    std::uint32_t ospfv2_internal = 40;
    /// The same of OSPFv3.
    std::uint32_t ospfv3_internal = 40;
    /// Administrative distance of OSPFv2's external routes.
    std::uint32_t ospfv2_external = 110;
    /// The same of OSPFv3.
    std::uint32_t ospfv3_external = 110;
    /// Administrative distance of RIPv2's routes.
    std::uint32_t ripv2 = 120;
    /// Administrative distance of RIPng's routes.
    std::uint32_t ripng = 120;
    /// Administrative distance of external BGP routes.
    std::uint32_t ebgp = 200;
    /// Administrative distance of internal BGP routes.
    std::uint32_t ibgp = 20;
  };

  /// The singleton, created on first use and never destroyed. Null when it cannot be allocated;
  /// callers then go on without an RTM manager.
  static DcRtmMgr* GetInstance();

  /// The instance id of a VLAN's family: the vid with IP6_INSTANCE_BIT for PROTO_IPV6, the vid
  /// itself for any other protocol.
  static unsigned short GetDclProtocolInstanceIdFromVlan(unsigned short vlan, int proto);

  // --- instances ---

  /// Creates or changes both instances of a VLAN from its document entry; a document that is not of
  /// type VLAN_OPTIONS changes nothing. Returns true on success.
  bool UpdateRtmConfig(unsigned short vlan, OptionsNode const& node,
                       DclConfigObject::OptionType type);
  /// Destroys both instances, known or not.
  void DeleteRtmConfig(unsigned short vlan);
  /// Reads the member "RTM" of a VLAN entry into `data`. A setting that it does not name keeps its
  /// value. Exception: if it has an object "ADMIN_DISTANCE", every distance that this object does
  /// not name becomes 0. Returns whether there is a non-empty "RTM" object.
  bool GetRTMConfig(OptionsNode const& node, RTMData* data);
  /// Sends the instance's row unless its settings are unchanged. Any protocol except PROTO_IPV4
  /// gives the row the IPv6 distances. Returns true.
  bool CreateRTMInstance(unsigned short vlan, int proto, RTMData const& data);
  /// Sends the destruction of one instance and forgets its record, known or not.
  void DeleteRTMInstance(unsigned short vlan, int proto);
  /// Fills the row of a known instance for the stack; false, the row untouched, for an unknown one.
  bool GetRTMConfig(unsigned short instance, amb_cipr_rtm_entity* entity);

  /// Whether the instance (id taken as it is) has a record.
  bool HasRtmRecord(unsigned short instance) const;
  /// Its ready flag; false if there is no record.
  bool IsRtmReady(unsigned short instance) const;
  /// Sets its ready flag; makes a record of defaults if there is none.
  void SetRtmReady(unsigned short instance);

  // --- static routes ---

  /// Queues a route request. `type` 1 is IPv4 (4 address bytes), 2 IPv6 (16). Row status 1 active,
  /// 6 destroy; admin status 1 up, 2 down. The addresses are copied; a null address is all zero. If
  /// memory is short, nothing is queued, and that is traced.
  void UpdateStaticRoute(unsigned int vlan, int type, const unsigned char* dest, int prefixLen,
                         const unsigned char* nexthop, unsigned int ifIndex, unsigned int metric,
                         int pathType, int rowStatus, int adminStatus);
  /// The same for an IPv4 route.
  void UpdateStaticRoute(unsigned short vlan, const Ip4Addr& dest, int prefixLen,
                         const Ip4Addr& nexthop, unsigned int ifIndex, unsigned short metric,
                         int pathType, unsigned int rowStatus, unsigned int adminStatus);
  /// The same for an IPv6 route.
  void UpdateStaticRoute(unsigned short vlan, const Ip6Addr& dest, int prefixLen,
                         const Ip6Addr& nexthop, unsigned int ifIndex, unsigned short metric,
                         int pathType, unsigned int rowStatus, unsigned int adminStatus);
  /// The stack's answer to a route request. Status 1 is success; 6 is success for a destroy. Status
  /// 5, and any failure of a destroy, is tried again. Any other status is final.
  void UpdateRouteCallback(unsigned short vlan, int type, const unsigned char* dest,
                           unsigned int prefixLen, const unsigned char* nexthop,
                           unsigned int ifIndex, int metric, int pathType, int rowStatus,
                           int adminStatus, unsigned int unused, unsigned int status);

  // --- redistribution ---

  /// Queues a redistribution rule. `vlan` may carry the IPv6 instance bit; source and destination
  /// are the stack's protocol codes. If memory is short, nothing is queued, and that is traced.
  void Redistribute(unsigned int rowStatus, unsigned int adminStatus, unsigned int source,
                    unsigned int destination, unsigned short vlan);
  /// Queues the rule's addition if it has become enabled, its removal if it has become disabled,
  /// otherwise nothing.
  void HandleRedistributionStatusChange(unsigned short vlan, unsigned int source,
                                        unsigned int destination, bool wasEnabled, bool isEnabled);
  /// The stack's answer to a rule, judged like a route's.
  void UpdateRedistributionCallback(unsigned short vlan, unsigned int source,
                                    unsigned int destination, unsigned int adminStatus,
                                    unsigned int rowStatus, unsigned int extra,
                                    unsigned int status);

 protected:
  DcRtmMgr();
  ~DcRtmMgr();

 private:
  static DcRtmMgr* m_instance;

  std::map<unsigned short, RTMData> m_rtmData;  // by protocol instance id
};

/// The VLAN of a protocol instance of either family: the low 16 bits without IP6_INSTANCE_BIT.
constexpr unsigned short VlanOfInstance(unsigned int instance) {
  return static_cast<unsigned short>(instance & ~unsigned{DcRtmMgr::IP6_INSTANCE_BIT});
}

}  // namespace Tarsel

#endif
