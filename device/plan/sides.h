// What the two configurations say of one VLAN.
#ifndef DEVICE_PLAN_SIDES_H
#define DEVICE_PLAN_SIDES_H

#include <map>
#include <vector>

#include "device/intent/intent.h"
#include "tarsel/options.h"

namespace plan {

/// A document's entry for the VLAN.
struct Entry {
  std::shared_ptr<const documents::ConfigFile> file;
  Tarsel::OptionsNode node;
};

/// One configuration's part. A VLAN exists if and only if the VLAN document names it: without that
/// there are no entries, whatever remote documents say.
struct VlanSide {
  const intent::Intent* intent = nullptr;
  unsigned short vlan = 0;
  std::vector<Entry> entries;  // the VLAN document's first, then in the order of the documents

  bool Exists() const { return !entries.empty(); }
  const documents::Interfaces& GetInterfaces() const { return intent->GetDevice().interfaces; }
  documents::Place PlaceOf(const Entry& entry) const { return entry.file->entries.at(vlan); }
};

struct VlanPair {
  unsigned short vlan = 0;
  VlanSide now;
  VlanSide then;
};

/// Returns the VLANs that may differ: all that do are among them. Documents that both have are not
/// looked at.
documents::VlanIds FindChangedVlans(const intent::Intent& now, const intent::Intent& then);

/// The parts of one configuration, of some VLANs. The configuration must outlive the object.
class Sides {
 public:
  Sides(const intent::Intent& intent, const documents::VlanIds& vlans);

  VlanSide Get(unsigned short vlan) const;

 private:
  void Add(const std::shared_ptr<const documents::ConfigFile>& file,
           const documents::VlanIds& vlans);

  const intent::Intent& m_intent;
  std::map<unsigned short, std::vector<Entry>> m_entries;
};

}  // namespace plan

#endif
