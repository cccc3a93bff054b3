// Applying and withdrawing configuration documents.
//
// Two relations mirror each other: m_configVlans (document to VLANs) and each record's configFiles
// (VLAN to documents). A reload adds to both while it walks the document. Then it removes from both
// the VLANs that the document named before and no longer names; the routers withdraw the document's
// options first. A VLAN is deleted with the last document that names it.
//
// A device may reload thousands of unchanged VLANs, so the walk itself allocates nothing per VLAN:
// known ids and names are found in the sets without a copy.
#include <bitset>
#include <vector>

#include "tarsel/trace.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {

namespace {

typedef DclConfigObject::OptionType OptionType;

constexpr std::size_t VLAN_IDS = 0x10000;

void UpdateRtmInstances(unsigned short vid, const OptionsNode& entry) {
  DcRtmMgr* const rtm = DcRtmMgr::GetInstance();
  if (rtm != nullptr) {
    rtm->UpdateRtmConfig(vid, entry, DclConfigObject::VLAN_OPTIONS);
  }
}

// A remote document is for enabled protocols; other kinds of documents are for every router.
void ReloadRouters(const DcRouterMgr::VlanRouters& record, const OptionsNode& entry,
                   const string& fileName, OptionType type) {
  for (const auto& [protocol, router] : record.routers) {
    if (router == nullptr) {
      continue;
    }
    if (type != DclConfigObject::REMOTE_OPTIONS || router->IsEnabled()) {
      router->Reload(entry, fileName, type);
    }
  }
}

// Removes the document's name from the record; whether that was the VLAN's last document.
bool WasLastDocument(DcRouterMgr::VlanRouters& record, const string& fileName) {
  record.configFiles.erase(fileName);
  return record.configFiles.empty();
}

void WithdrawFromRouters(const DcRouterMgr::VlanRouters& record, const string& fileName,
                         OptionType type) {
  for (const auto& [protocol, router] : record.routers) {
    if (router != nullptr) {
      router->DeleteOptions(fileName, type);
    }
  }
}

}  // namespace

bool DcRouterMgr::Reload(Options const& doc, string const& fileName, OptionType type) {
  const OptionsNode group = doc.GetRootNode().GetChildNode(m_vlanConfigKey);
  if (group.IsEmpty()) {
    DeleteOptions(fileName, type);
    return true;
  }
  const string file(fileName);  // the caller's text may be erased below
  std::set<unsigned short>& named = m_configVlans[file];
  const std::vector<unsigned short> before(named.begin(), named.end());
  std::bitset<VLAN_IDS> seen;

  TRACE(10, "Reloading Configuration in all VLANs\n");
  const OptionsNodeIterator end = group.end();
  for (OptionsNodeIterator position = group.begin(); position != end; ++position) {
    const OptionsNode entry = *position;
    if (entry.IsEmpty()) {
      continue;
    }
    int number = 0;
    if (!entry.AsVal(number, "vid")) {
      // The error text is that of a node fresh from the iterator, not of the one that failed: it is
      // empty, and scripts rely on the line as it is.
      TRACE("Unable to Get VLAN ID:%s\n", (*position).GetErrorText());
      continue;
    }
    const unsigned short vid = static_cast<unsigned short>(number);
    VlanRouters* const record = PrepareVlan(entry, number, file, type);
    if (record == nullptr) {
      continue;
    }
    named.insert(vid);
    seen.set(vid);
    record->configFiles.insert(file);
    ReloadRouters(*record, entry, file, type);
  }

  for (const unsigned short vid : before) {
    if (seen.test(vid)) {
      continue;
    }
    const VlanMap::iterator vlan = m_vlans.find(vid);
    if (vlan == m_vlans.end()) {
      named.erase(vid);
      continue;
    }
    // The routers are told while both relations still hold the document.
    WithdrawFromRouters(*vlan->second, file, type);
    named.erase(vid);
    if (WasLastDocument(*vlan->second, file)) {
      DeleteVlan(vid);
    }
  }
  return true;
}

// The record that an entry is for, with the VLAN's RTM instances as the entry wants them; null if
// the entry is to be skipped. `number` is the entry's "vid" as read.
DcRouterMgr::VlanRouters* DcRouterMgr::PrepareVlan(const OptionsNode& entry, int number,
                                                   const string& file, OptionType type) {
  const unsigned short vid = static_cast<unsigned short>(number);
  VlanMap::iterator vlan = m_vlans.find(vid);
  if (vlan != m_vlans.end()) {
    if (type == DclConfigObject::VLAN_OPTIONS) {
      UpdateRtmInstances(vid, entry);
    }
    return vlan->second;
  }
  if (type != DclConfigObject::VLAN_OPTIONS) {
    TRACE("Loaded Remote %s Options with VLAN %u before loading VLAN options... Skipping\n",
          file.c_str(), static_cast<unsigned int>(number));
    return nullptr;
  }
  vlan = CreateVlan(vid, entry, type);
  return vlan != m_vlans.end() ? vlan->second : nullptr;
}

// Removes a document that is withdrawn as a whole from one VLAN; false if the VLAN does not exist.
bool DcRouterMgr::WithdrawFromVlan(unsigned short vid, const string& file, OptionType type) {
  const VlanMap::iterator vlan = m_vlans.find(vid);
  if (vlan == m_vlans.end()) {
    return false;
  }
  WithdrawFromRouters(*vlan->second, file, type);
  if (WasLastDocument(*vlan->second, file)) {
    DeleteVlan(vid);
  }
  return true;
}

void DcRouterMgr::DeleteOptions(string const& fileName, OptionType type) {
  const auto entry = m_configVlans.find(fileName);
  if (entry == m_configVlans.end()) {
    return;
  }
  const string file(fileName);  // the caller's text may be erased below
  for (const unsigned short vid : entry->second) {
    if (!WithdrawFromVlan(vid, file, type)) {
      TRACE("Invalid VLAN %u Record found for Config File %s\n", vid, file.c_str());
    }
  }
  m_configVlans.erase(entry);
}

}  // namespace Tarsel
