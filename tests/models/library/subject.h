// What a host can do with the library. A run does it to the library itself and to the model.
#ifndef TESTS_MODELS_LIBRARY_SUBJECT_H
#define TESTS_MODELS_LIBRARY_SUBJECT_H

#include <json/value.h>

#include <string>
#include <vector>

#include "scripted_stack.h"

namespace library_model {

struct Route {
  unsigned short vlan = 1;
  bool ipv6 = false;
  unsigned char dest[16] = {};
  unsigned int prefixLen = 0;
  unsigned char nexthop[16] = {};
  unsigned int ifIndex = 0;
  unsigned char hostBits = 0;  // by which an IPv6 prefix differs from the address
};

enum RouteRequest { ADD_ROUTE, REMOVE_ROUTE, ENABLE_ROUTE, DISABLE_ROUTE, ROUTE_REQUEST_COUNT };

enum InterfaceEvent { IF_ADD, IF_REMOVE, IF_UP, IF_DOWN, IF_EVENT_COUNT };
enum AddressEvent { ADDRESS_ADD, ADDRESS_DELETE, ADDRESS_CHANGE, ADDRESS_EVENT_COUNT };
enum NetworkEvent { NET_STATUS, NET_ADDRESS, NET_JOIN, NET_LEAVE, NET_EVENT_COUNT };
enum Command { IP_PROTOCOL, IP6_PROTOCOL, RTM_ROUTE, RTM_ROUTE6, INTERFACES, COMMAND_COUNT };

class Subject : public Upcalls {
 public:
  virtual bool IsModel() const = 0;
  virtual void Start(unsigned short defaultVlan) = 0;
  virtual void Reload(const Json::Value& document, const std::string& name, int type) = 0;
  virtual void DeleteOptions(const std::string& name, int type) = 0;
  virtual void CreateVlan(unsigned short vid, const Json::Value& entry, int type) = 0;
  virtual void DeleteVlan(unsigned short vid) = 0;
  virtual void AskRoute(RouteRequest request, const Route& route, unsigned int metric, int type,
                        int adminStatus) = 0;
  virtual void ChangeRedistribution(unsigned short vlan, unsigned int source,
                                    unsigned int destination, bool was, bool is) = 0;
  virtual void ResetScheduler() = 0;
  virtual void ResetSerializer() = 0;
  virtual void Interface(InterfaceEvent event, unsigned short vlan, unsigned int ifIndex,
                         const char* name, unsigned int type, unsigned int flags,
                         unsigned int extra, unsigned int status) = 0;
  virtual void Address4(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                        const unsigned char* address, const unsigned char* mask) = 0;
  virtual void Address6(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                        const unsigned char* address, unsigned int prefixLen) = 0;
  virtual void SetPrimary(unsigned short vlan, const char* name) = 0;
  virtual void Network(NetworkEvent event, unsigned short vlan, unsigned int ifIndex,
                       unsigned int value) = 0;
  virtual void SetBgpStatus(unsigned short vlan, int status) = 0;
  /// What the scripted routers answer when they are asked whether they are ready.
  virtual void SetRouterReady(unsigned short vlan, int protocol, bool ready) = 0;
  /// Whether IGMP routers refuse sources.
  virtual void SetRefusing(bool refusing) = 0;
  /// Asks everything that can be asked about a VLAN and an interface, and writes down the answers.
  virtual void Query(unsigned short vlan, unsigned int ifIndex, const char* name) = 0;
  virtual void Console(Command command, unsigned short vlan,
                       const std::vector<std::string>& words) = 0;
  virtual void RunStackNow() = 0;
  virtual void Advance(unsigned int milliseconds) = 0;
};

/// Display names and document members of the protocols, by type.
extern const char* const PROTOCOL_MEMBERS[7];

}  // namespace library_model

#endif
