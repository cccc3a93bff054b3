// What a device is configured to be: the state that a sequence of events leads to, and that a device
// may as well be started with.
#ifndef TESTS_CONVERGENCE_CONFIGURATION_H
#define TESTS_CONVERGENCE_CONFIGURATION_H

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/device_fixture.h"

namespace convergence {

/// The protocols whose rows and rules take part.
enum Protocol { OSPF, OSPFV3, RIPV2, BGP, PROTOCOL_KINDS };

struct Vlan {
  unsigned int distances = 0;  // 0: the document names none
  std::map<Protocol, std::map<unsigned int, unsigned int>>
      protocols;                              // the rows' keys and contents
  std::set<std::pair<bool, Protocol>> rules;  // static routes into a protocol; for IPv6 or not
};

struct Interface {
  unsigned int flags = 8;
  unsigned int mtu = 0;
  bool up = true;
  std::string address;  // IPv4; empty: none
  unsigned int length = 24;
};

struct Route {
  std::string destination;
  unsigned int length;
  std::string nextHop;
  unsigned int ifIndex;

  bool IsIp6() const { return destination.find(':') != std::string::npos; }
  bool operator<(const Route& other) const {
    return std::tie(destination, length, nextHop, ifIndex) <
           std::tie(other.destination, other.length, other.nextHop, other.ifIndex);
  }
};

struct RouteValues {
  unsigned int metric;
  bool up;
};

using InterfaceKey = std::pair<unsigned short, unsigned int>;  // VLAN, index

struct Configuration {
  std::map<unsigned short, Vlan> vlans;
  std::map<InterfaceKey, Interface> interfaces;
  /// IPv6 addresses and their lengths, of interfaces that need not be there.
  std::map<std::pair<InterfaceKey, std::string>, unsigned int> addresses6;
  std::map<std::pair<unsigned short, Route>, RouteValues> routes;

  /// The VLANs are divided among two documents.
  static constexpr unsigned int DOCUMENTS = 2;
  static unsigned int DocumentOf(unsigned short vlan) { return vlan / 10 % DOCUMENTS; }
  std::string Document(unsigned int number) const;
};

std::string NameOf(unsigned int ifIndex);

/// A device that is told one event at a time.
class Host : public test_support::Device {
 public:
  Host();

  void Load(unsigned int number, const std::string& document);
  void AddInterface(const InterfaceKey& key, const Interface& interface);
  void SetAddress(const InterfaceKey& key, const std::string& address, unsigned int length);
  void ChangeAddress(const InterfaceKey& key, const std::string& address, unsigned int length);
  void RemoveAddress(const InterfaceKey& key, const std::string& address, unsigned int length);
  void SetAddress6(const InterfaceKey& key, const std::string& address, unsigned int length);
  void RemoveAddress6(const InterfaceKey& key, const std::string& address, unsigned int length);
  void SetRoute(unsigned short vlan, const Route& route, const RouteValues& values);
  void RemoveRoute(unsigned short vlan, const Route& route);
  void SetRule(unsigned short vlan, const std::pair<bool, Protocol>& rule, bool there);
  /// Waits until every request is answered; the process ends when that does not come about.
  void Answered();

  /// Everything at once.
  void Configure(const Configuration& configuration);

  /// The stack's tables but for the router ids: the stack chooses one when an instance comes into
  /// being, from the addresses of that moment, and keeps it.
  std::string Tables();
};

}  // namespace convergence

#endif
