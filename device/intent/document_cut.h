// Documents of which something is left out, as trees for the library.
//
// What is handed to the library is a copy only where something has to be left out. A copy is what
// can be read of the original through the library's own nodes.
#ifndef DEVICE_INTENT_DOCUMENT_CUT_H
#define DEVICE_INTENT_DOCUMENT_CUT_H

#include <memory>
#include <string>
#include <vector>

#include "device/documents/folder.h"
#include "vantacore/dc_router_mgr.h"

namespace intent {

/// What the documents of a folder may configure: the VLANs of its VLAN document, and in each the
/// protocols that it enables. Borrowed from the files.
struct Scope {
  explicit Scope(const documents::ConfigFiles& files);

  /// The protocols of a VLAN for which the document is handed to routers that run.
  unsigned int ProtocolsOf(const documents::ConfigFile& file, unsigned short vlan) const;
  bool HasVlan(unsigned short vlan) const { return vlans.count(vlan) != 0; }
  /// The protocols that run in the VLAN.
  unsigned int Running(unsigned short vlan) const;

  const documents::VlanIds& vlans;
  const documents::ProtocolSets& protocols;
};

/// The document without its entries for VLANs that do not exist, and without members for protocols
/// that do not run. Null if there are none of these, so that the document itself can be handed over,
/// and for the VLAN document.
std::shared_ptr<const Tarsel::Options> CutDocument(const documents::ConfigFile& file,
                                                   const Scope& scope);

/// One router's member of a document, with its lists empty. Handed to that router, it makes the
/// router take the document's rows away.
struct EmptiedMember {
  unsigned short vlan = 0;
  Tarsel::DcRouterMgr::ProtocolType router = Tarsel::DcRouterMgr::PROTOCOL_BGP;
  std::string document;  // its name
  Tarsel::DclConfigObject::OptionType type = Tarsel::DclConfigObject::VLAN_OPTIONS;
  std::shared_ptr<const Tarsel::Options> entry;  // has nothing but the member
};

/// Of each of these protocols for which the document has a member with anything to empty. In the
/// order of its entries. A remote document's member does not keep a protocol that is stopping: it
/// does not enable it any more, so that the VLAN document alone does.
std::vector<EmptiedMember> EmptyMembers(const documents::ConfigFile& file,
                                        const documents::ProtocolSets& protocols, bool areStopping);

}  // namespace intent

#endif
