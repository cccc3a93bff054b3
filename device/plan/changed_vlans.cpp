#include <string>
#include <tuple>

#include "sides.h"

namespace plan {

using documents::ConfigFile;
using documents::Device;
using documents::Interface;
using documents::VlanIds;
using Tarsel::DclConfigObject;

namespace {

// The order of a folder's documents.
bool ComesFirst(const ConfigFile& a, const ConfigFile& b) {
  const bool isRemoteA = a.type != DclConfigObject::VLAN_OPTIONS;
  const bool isRemoteB = b.type != DclConfigObject::VLAN_OPTIONS;
  return std::tie(isRemoteA, a.name) < std::tie(isRemoteB, b.name);
}

bool IsSame(const Interface& a, const Interface& b) {
  return std::tie(a.name, a.flags, a.mtu, a.up, a.joined, a.ip4, a.ip6, a.isLink) ==
         std::tie(b.name, b.flags, b.mtu, b.up, b.joined, b.ip4, b.ip6, b.isLink);
}

// Calls back with each key whose value differs, or that one of the maps does not have.
template <class Map, class Same, class Call>
void ForEachDifference(const Map& a, const Map& b, Same isSame, Call call) {
  auto i = a.begin();
  auto j = b.begin();
  while (i != a.end() || j != b.end()) {
    if (j == b.end() || (i != a.end() && i->first < j->first)) {
      call((i++)->first);
    } else if (i == a.end() || j->first < i->first) {
      call((j++)->first);
    } else {
      if (!isSame(i->second, j->second)) {
        call(i->first);
      }
      ++i;
      ++j;
    }
  }
}

class Finder {
 public:
  VlanIds Take() { return std::move(m_vlans); }

  void CompareDevices(const Device& a, const Device& b) {
    ForEachDifference(a.interfaces, b.interfaces, IsSame,
                      [this](const documents::InterfaceKey& key) { m_vlans.insert(key.first); });
    ForEachDifference(a.primaries, b.primaries, std::equal_to<std::string>(),
                      [this](unsigned short vlan) { m_vlans.insert(vlan); });
  }

  void CompareDocuments(const documents::ConfigFiles& a, const documents::ConfigFiles& b) {
    auto i = a.begin();
    auto j = b.begin();
    while (i != a.end() || j != b.end()) {
      if (j == b.end() || (i != a.end() && ComesFirst(**i, **j))) {
        AddAll(**i++);
      } else if (i == a.end() || ComesFirst(**j, **i)) {
        AddAll(**j++);
      } else {
        if (*i != *j) {
          Compare(**i, **j);
        }
        ++i;
        ++j;
      }
    }
  }

 private:
  void AddAll(const ConfigFile& file) { m_vlans.insert(file.vlans.begin(), file.vlans.end()); }

  // What is left out of a document with errors may depend on more than the entry's own text.
  void Compare(const ConfigFile& a, const ConfigFile& b) {
    if (a.findings.HasErrors() || b.findings.HasErrors()) {
      AddAll(a);
      AddAll(b);
      return;
    }
    ForEachDifference(a.digests, b.digests, std::equal_to<documents::Digest>(),
                      [this](unsigned short vlan) { m_vlans.insert(vlan); });
  }

  VlanIds m_vlans;
};

}  // namespace

VlanIds FindChangedVlans(const intent::Intent& now, const intent::Intent& then) {
  Finder finder;
  if (now.GetFolder().deviceFile != then.GetFolder().deviceFile) {
    finder.CompareDevices(now.GetDevice(), then.GetDevice());
  }
  finder.CompareDocuments(now.GetDocuments(), then.GetDocuments());
  return finder.Take();
}

}  // namespace plan
