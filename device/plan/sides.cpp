#include "sides.h"

#include <algorithm>

namespace plan {

using documents::ConfigFile;
using documents::VlanIds;
using Tarsel::DclConfigObject;

namespace {

constexpr const char* ENTRIES = "VLAN_CONFIGURATIONS";

bool HasAny(const ConfigFile& file, const VlanIds& vlans) {
  const auto& entries = file.entries;
  return vlans.size() < entries.size()
             ? std::any_of(vlans.begin(), vlans.end(),
                           [&](unsigned short vlan) { return entries.count(vlan) != 0; })
             : std::any_of(entries.begin(), entries.end(),
                           [&](const auto& entry) { return vlans.count(entry.first) != 0; });
}

}  // namespace

Sides::Sides(const intent::Intent& intent, const VlanIds& vlans) : m_intent(intent) {
  for (const auto& file : intent.GetDocuments()) {
    if (HasAny(*file, vlans)) {
      Add(file, vlans);
    }
  }
}

void Sides::Add(const std::shared_ptr<const ConfigFile>& file, const VlanIds& vlans) {
  for (const Tarsel::OptionsNode& node : file->document.GetRootNode().GetChildNode(ENTRIES)) {
    unsigned int id = 0;
    node.AsVal(id, "vid");
    const auto vlan = static_cast<unsigned short>(id);
    if (vlans.count(vlan) != 0 &&
        (file->type == DclConfigObject::VLAN_OPTIONS || m_entries.count(vlan) != 0)) {
      m_entries[vlan].push_back({file, node});
    }
  }
}

VlanSide Sides::Get(unsigned short vlan) const {
  const auto found = m_entries.find(vlan);
  return {&m_intent, vlan, found == m_entries.end() ? std::vector<Entry>() : found->second};
}

}  // namespace plan
