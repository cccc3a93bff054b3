// The managers of the model: RTM instances, documents and the VLANs that they keep.
#include "model.h"
#include "model_json.h"

namespace library_model {

// --- RTM instances ---

const RtmRecord* LibraryModel::FindRtm(unsigned int instance) const {
  const auto found = m_rtm.find(static_cast<unsigned short>(instance));
  return found != m_rtm.end() ? &found->second : nullptr;
}

void LibraryModel::SetRtmReady(unsigned int instance) {
  const auto id = static_cast<unsigned short>(instance);
  if (m_rtm.count(id) == 0) {
    Count("readiness of an instance that nobody made");
  }
  m_rtm[id].ready = true;
}

RtmRecord LibraryModel::ReadRtm(const Json::Value& entry) {
  RtmRecord data;
  const Json::Value rtm = Child(entry, "RTM");
  if (!rtm.isObject() || rtm.empty()) {
    return data;
  }
  ReadUnsigned(rtm, "dead_rpm_timer", data.dead);
  const Json::Value distances = Child(rtm, "ADMIN_DISTANCE");
  if (!distances.isObject()) {
    return data;
  }
  const std::pair<const char*, unsigned int*> fields[] = {{"ospfv2_internal", &data.v2in},
                                                          {"ospfv2_external", &data.v2ex},
                                                          {"ospfv3_internal", &data.v3in},
                                                          {"ospfv3_external", &data.v3ex},
                                                          {"ripv2", &data.ripv2},
                                                          {"ripng", &data.ripng},
                                                          {"ebgp", &data.ebgp},
                                                          {"ibgp", &data.ibgp}};
  for (const auto& field : fields) {
    *field.second = 0;
    ReadUnsigned(distances, field.first, *field.second);
  }
  return data;
}

void LibraryModel::UpdateRtmConfig(unsigned short vid, const Json::Value& entry, int type) {
  Trace(10, Text("DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan %u\n", vid));
  if (type != 0) {
    return;
  }
  const RtmRecord data = ReadRtm(entry);
  CreateRtm(vid, false, data);
  Trace(10, Text("Creating IPv6 Unicast RTM for vlan %u\n", vid));
  CreateRtm(vid, true, data);
}

void LibraryModel::CreateRtm(unsigned short vid, bool ipv6, const RtmRecord& data) {
  const auto instance = static_cast<unsigned short>(ipv6 ? vid | 0x8000 : vid);
  const auto found = m_rtm.find(instance);
  const std::string creating = Text("Creating RTM Instance %u\n", instance);
  if (found != m_rtm.end()) {
    RtmRecord& old = found->second;
    RtmRecord other = data;
    other.ready = old.ready;
    const bool same = old.dead == other.dead && old.v2in == other.v2in && old.v3in == other.v3in &&
                      old.v2ex == other.v2ex && old.v3ex == other.v3ex &&
                      old.ripv2 == other.ripv2 && old.ripng == other.ripng &&
                      old.ebgp == other.ebgp && old.ibgp == other.ibgp;
    if (same) {
      Count(m_vlans.count(vid) == 0 ? "a new VLAN finds its instance made already"
                                    : "an instance is unchanged");
      Trace(10, creating);
      return;
    }
    Count("an instance changes");
    old = other;
  } else {
    m_rtm[instance] = data;
  }
  Trace(10, creating);
  amb_cipr_rtm_entity row = {};
  row.word[0] = instance;
  row.word[1] = 1;
  row.word[2] = 1;
  row.word[6] = ipv6 ? data.v3in : data.v2in;
  row.word[7] = ipv6 ? data.v3ex : data.v2ex;
  row.word[14] = ipv6 ? data.ripng : data.ripv2;
  row.word[30] = ipv6 ? 2 : 1;
  row.word[8] = data.ibgp;
  row.word[9] = data.ebgp;
  row.word[28] = data.dead;
  m_stack->ActRtm(row);
}

void LibraryModel::DeleteRtm(unsigned short vid, bool ipv6) {
  const auto instance = static_cast<unsigned short>(ipv6 ? vid | 0x8000 : vid);
  Trace(10, Text("Deleting RTM Instance %u\n", instance));
  amb_cipr_rtm_entity row = {};
  row.word[0] = instance;
  row.word[1] = 6;
  row.word[2] = 2;
  m_stack->ActRtm(row);
  m_rtm.erase(instance);
}

void LibraryModel::DeleteRtmConfig(unsigned short vid) {
  DeleteRtm(vid, false);
  DeleteRtm(vid, true);
}

// --- life, documents ---

LibraryModel::LibraryModel(Log& log, Counts& counts) : m_log(log), m_counts(counts) {}

void LibraryModel::Start(unsigned short defaultVlan) {
  Trace(10, "Creating new Instance of Manager\n");
  Trace(10, "Creating DC Scheduler\n");
  Trace(10, "Creating DcRouterMgr\n");
  Trace(10, "Initializing Manager\n");
  Trace(10, Text("in DcRouterMgr::Initialize vlan = %d \n", defaultVlan));
  Trace(10, "Starting Metaswitch\n");
  m_stack->Init("ripv2 ripng bgp ospf ospfv3 igmp pim");
}

void LibraryModel::Reload(const Json::Value& document, const std::string& name, int type) {
  const Json::Value group = Child(document, "VLAN_CONFIGURATIONS");
  if (IsNothing(group)) {
    Count("a document withdraws itself");
    DeleteOptions(name, type);
    return;
  }
  std::set<unsigned short> stale = m_files[name];
  Trace(10, "Reloading Configuration in all VLANs\n");
  for (auto position = group.begin(); position != group.end(); ++position) {
    const Json::Value& entry = *position;
    if (IsNothing(entry)) {
      Count("an entry without contents");
      continue;
    }
    int number = 0;
    if (!ReadInt(entry, "vid", number)) {
      Count("an entry without a usable VLAN id");
      Trace(-1, "Unable to Get VLAN ID:\n");
      continue;
    }
    const auto vid = static_cast<unsigned short>(number);
    if (m_vlans.count(vid) != 0) {
      if (type == 0) {
        UpdateRtmConfig(vid, entry, 0);
      }
    } else if (type != 0) {
      Count("a remote document comes before its VLAN");
      Trace(-1,
            Text("Loaded Remote %s Options with VLAN %u before loading VLAN options... Skipping\n",
                 name.c_str(), static_cast<unsigned int>(number)));
      continue;
    } else {
      MakeVlan(vid, entry, 0);
    }
    m_files[name].insert(vid);
    stale.erase(vid);
    ModelVlan& vlan = *m_vlans[vid];
    vlan.files.insert(name);
    for (ModelRouter& router : vlan.routers) {
      if (type != 1 || RouterEnabled(router)) {
        RouterReload(router, entry, name, type);
      } else {
        Count("a router that is not enabled is left out");
      }
    }
  }
  for (const unsigned short vid : stale) {
    Count("a document no longer names a VLAN");
    if (!Withdraw(vid, name, type)) {
      Count("a VLAN to withdraw from is gone");
    }
    m_files[name].erase(vid);
  }
}

void LibraryModel::DeleteOptions(const std::string& name, int type) {
  const auto file = m_files.find(name);
  if (file == m_files.end()) {
    return;
  }
  const std::set<unsigned short> vids = file->second;
  for (const unsigned short vid : vids) {
    if (!Withdraw(vid, name, type)) {
      Count("a VLAN to withdraw from is gone");
      Trace(-1, Text("Invalid VLAN %u Record found for Config File %s\n", vid, name.c_str()));
    }
  }
  m_files.erase(name);
}

bool LibraryModel::Withdraw(unsigned short vid, const std::string& name, int type) {
  const auto found = m_vlans.find(vid);
  if (found == m_vlans.end()) {
    return false;
  }
  for (ModelRouter& router : found->second->routers) {
    RouterDeleteOptions(router, name, type);
  }
  found->second->files.erase(name);
  if (found->second->files.empty()) {
    RemoveVlan(vid);
  } else {
    Count("another document keeps a VLAN");
  }
  return true;
}

void LibraryModel::CreateVlan(unsigned short vid, const Json::Value& entry, int type) {
  MakeVlan(vid, entry, type);
}

bool LibraryModel::MakeVlan(unsigned short vid, const Json::Value& entry, int type) {
  Trace(10, Text("Creating VLAN %u\n", vid));
  if (m_deletedVlans.count(vid) != 0) {
    Count("a VLAN returns");
    for (const auto& bucket : m_buckets) {
      if ((bucket.first.first & 0x7fffu) == vid) {
        Count("a VLAN returns to requests that waited for it");
      }
    }
  }
  UpdateRtmConfig(vid, entry, type);
  auto vlan = std::make_unique<ModelVlan>();
  for (int protocol = 0; protocol < 7; ++protocol) {
    m_log.Add("router %s created", PROTOCOL_MEMBERS[protocol]);
    ModelRouter router;
    router.protocol = protocol;
    router.vlan = vid;
    vlan->routers.push_back(router);
  }
  if (m_vlans.count(vid) != 0) {
    Count("a VLAN is made twice");
    for (int protocol = 0; protocol < 7; ++protocol) {
      m_log.Add("router %s deleted", PROTOCOL_MEMBERS[protocol]);
    }
    return false;
  }
  m_vlans[vid] = std::move(vlan);
  return true;
}

void LibraryModel::DeleteVlan(unsigned short vid) { RemoveVlan(vid); }

void LibraryModel::RemoveVlan(unsigned short vid) {
  Trace(10, Text("Deleting VLAN %u\n", vid));
  if (m_vlans.count(vid) == 0) {
    Trace(1, Text("Trying to delete VLAN %u which does not exist\n", vid));
    return;
  }
  if (m_stack->HasRequestsOf(vid)) {
    Count("a VLAN is deleted with rows in flight");
  }
  m_deletedVlans.insert(vid);
  DeleteRtmConfig(vid);
  for (int protocol = 0; protocol < 7; ++protocol) {
    m_log.Add("router %s deleted", PROTOCOL_MEMBERS[protocol]);
  }
  Trace(10, "Deleting the Routers Map\n");
  m_vlans.erase(vid);
  Trace(10, Text("Deleted VLAN %u\n", vid));
}

}  // namespace library_model
