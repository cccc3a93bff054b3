// What a random configuration folder says.
#ifndef TESTS_CONVERGENCE_FOLDER_MODEL_H
#define TESTS_CONVERGENCE_FOLDER_MODEL_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>

namespace convergence {

/// The files of a folder by name.
using FolderFiles = std::map<std::string, std::string>;

/// A protocol that the documents know, with the number of the stack's table for its rows.
struct FolderProtocol {
  const char* member;
  const char* list;
  const char* prefix;  // of its rows' names
  unsigned int table;
  bool ip6;
};
constexpr FolderProtocol FOLDER_PROTOCOLS[] = {{"OSPF", "IF_LIST", "OSPF", 3, false},
                                               {"RIPV2", "IF_LIST", "RIP", 6, false},
                                               {"RIPNG", "IF_LIST", "RIP", 7, true},
                                               {"BGP", "PEERS", "BGP", 1, false}};

struct FolderRoute {
  bool ip6 = false;
  unsigned int network = 0;  // chooses the destination
  unsigned int gateway = 0;  // chooses the next hop
  bool hasInterface = false;

  friend bool operator<(const FolderRoute& a, const FolderRoute& b) {
    return std::tie(a.ip6, a.network, a.gateway, a.hasInterface) <
           std::tie(b.ip6, b.network, b.gateway, b.hasInterface);
  }
};

/// The values of a protocol's rows by their ids.
using FolderRows = std::map<unsigned int, unsigned int>;

/// What a document says of a protocol.
struct FolderMember {
  bool isEnabled = true;
  FolderRows rows;
};

/// By the protocol's place in FOLDER_PROTOCOLS.
using FolderMembers = std::map<std::size_t, FolderMember>;

struct FolderVlan {
  unsigned int distances = 0;
  /// Without a profile nothing is handed to protocols.
  bool hasProfile = false;
  std::set<std::string> closedSources;  // of the profile
  FolderMembers protocols;
  std::map<FolderRoute, unsigned int> routes;  // with their metrics
};

/// An entry of a remote document.
struct FolderRemoteEntry {
  FolderMembers protocols;
  std::map<FolderRoute, unsigned int> routes;
};

/// A remote document: its entries by VLAN, whether there is such a VLAN or not.
using FolderRemote = std::map<unsigned short, FolderRemoteEntry>;

struct FolderInterface {
  bool up = true;
  bool joined = false;
  unsigned int mtu = 1500;
  unsigned int address = 0;   // 0 for none
  unsigned int address6 = 0;  // so too
};

/// A device of three VLANs at most, of which the first, 10, is always there. The first interface of
/// a VLAN has the index vid + 1, the second vid + 2.
struct FolderModel {
  std::map<unsigned short, FolderVlan> vlans;
  std::map<std::string, FolderRemote> remotes;  // by the name of their file
  std::map<std::pair<unsigned short, unsigned int>, FolderInterface> interfaces;
  /// Shows which folder's interfaces are in force: the index of an interface of VLAN 10.
  unsigned int mark = 0;

  FolderFiles Files() const;
};

/// The name of the interface that has the mark as its index.
constexpr const char* MARK_NAME = "mark";

std::string InterfaceName(unsigned int index);
/// The interface's addresses: of the VLAN's network, by the number that chooses one.
std::string Address4(unsigned short vlan, unsigned int index, unsigned int number);
std::string Address6(unsigned short vlan, unsigned int index, unsigned int number);
constexpr unsigned int LENGTH4 = 24;
constexpr unsigned int LENGTH6 = 64;

}  // namespace convergence

#endif
