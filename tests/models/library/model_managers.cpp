// The managers of the model: RTM instances, documents, VLANs, routers with their lists, interfaces.
#include <cstring>

#include "model.h"
#include "tarsel/address.h"

namespace library_model {

const char* const PROTOCOL_MEMBERS[7] = {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"};

namespace {

bool IsNothing(const Json::Value& value) {
  return value.isNull() || ((value.isObject() || value.isArray()) && value.empty());
}

Json::Value Child(const Json::Value& value, const std::string& key) {
  return value.isObject() && value.isMember(key) ? value[key] : Json::Value();
}

bool ReadInt(const Json::Value& node, const char* key, int& value) {
  const Json::Value child = Child(node, key);
  if (child.isBool() || !child.isIntegral() || !child.isInt()) {
    return false;
  }
  value = child.asInt();
  return true;
}

bool ReadUnsigned(const Json::Value& node, const char* key, unsigned int& value) {
  const Json::Value child = Child(node, key);
  if (child.isBool() || !child.isIntegral() || !child.isUInt()) {
    return false;
  }
  value = child.asUInt();
  return true;
}

bool IsIpv6Protocol(int protocol) { return protocol == 2 || protocol == 4 || protocol == 6; }

}  // namespace

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

// --- routers ---

void LibraryModel::SetBgpStatus(unsigned short vlan, int status) {
  const auto found = m_vlans.find(vlan);
  if (found != m_vlans.end()) {
    found->second->routers[0].status = status;
  }
}

void LibraryModel::SetRouterReady(unsigned short vlan, int protocol, bool ready) {
  if (ready) {
    m_notReady.erase({vlan, protocol});
  } else {
    m_notReady.insert({vlan, protocol});
  }
}

bool LibraryModel::RouterEnabled(const ModelRouter& router) const {
  if (router.protocol == 0) {
    return router.status != 0;
  }
  for (const auto& source : router.sources) {
    if (source.second) {
      return true;
    }
  }
  return false;
}

bool LibraryModel::RouterReady(const ModelRouter& router) const {
  if (router.protocol == 0) {
    return router.status == 2;
  }
  return RouterEnabled(router) && m_notReady.count({router.vlan, router.protocol}) == 0;
}

void LibraryModel::RouterReload(ModelRouter& router, const Json::Value& entry,
                                const std::string& name, int type) {
  const char* label = PROTOCOL_MEMBERS[router.protocol];
  const Json::Value member = Child(entry, label);
  if (IsNothing(member)) {
    RouterDeleteOptions(router, name, type);
    return;
  }
  m_log.Add("configuration %s:%u takes '%s' %d", label, router.vlan, name.c_str(), type);
  if (router.protocol == 0) {
    return;
  }
  const Json::Value enabled = Child(member, "enabled");
  router.sources[name] = enabled.isBool() ? enabled.asBool() : true;
  if (!RouterEnabled(router)) {
    if (router.lists.erase(name) != 0) {
      Count("a protocol that is disabled drops its lists");
    }
    return;
  }
  if (router.lists.count(name) == 0) {
    if (router.protocol == 5 && m_refusing) {
      Count("a router refuses a source");
      return;
    }
    std::vector<ModelList> lists;
    const unsigned int table = static_cast<unsigned int>(router.protocol) * 2;
    if (router.protocol == 1 || router.protocol == 2) {
      lists.push_back({table, "Areas", "AREA_LIST", {}});
    }
    if (router.protocol != 3 && router.protocol != 4) {
      lists.push_back({table + 1, "Interfaces", "IF_LIST", {}});
    }
    router.lists[name] = lists;
  }
  for (ModelList& list : router.lists[name]) {
    ListParse(list, router, member);
  }
}

void LibraryModel::RouterDeleteOptions(ModelRouter& router, const std::string& name, int type) {
  m_log.Add("configuration %s:%u forgets '%s' %d", PROTOCOL_MEMBERS[router.protocol], router.vlan,
            name.c_str(), type);
  router.sources.erase(name);
  const auto lists = router.lists.find(name);
  if (lists == router.lists.end()) {
    return;
  }
  for (const ModelList& list : lists->second) {
    if (!list.objects.empty()) {
      Count("objects are dropped while their rows stay");
    }
  }
  router.lists.erase(lists);
}

// --- configuration lists ---

void LibraryModel::ListParse(ModelList& list, ModelRouter& router, const Json::Value& member) {
  std::set<const ModelObject*> unclaimed;
  for (ModelObject& object : list.objects) {
    unclaimed.insert(&object);
    object.actionReq = false;
  }
  const Json::Value groups = Child(member, list.key);
  for (auto position = groups.begin(); !IsNothing(groups) && position != groups.end(); ++position) {
    const Json::Value& group = *position;
    int id = 0;
    int content = 0;
    if (IsNothing(group)) {
      continue;
    }
    if (!ReadInt(group, "id", id) || !Child(group, "reject").isNull()) {
      Count("a group is rejected");
      continue;
    }
    ReadInt(group, "content", content);
    bool isNew = true;
    for (ModelObject& object : list.objects) {
      if (object.id != static_cast<unsigned int>(id)) {
        continue;
      }
      isNew = false;
      if (unclaimed.erase(&object) != 1) {
        Count("a document names a group twice");
        m_log.Assertion("res == 1", "dcl_config_object", 0);
      }
      if (object.content != content || object.destroyed) {
        Count(object.destroyed ? "a group returns while its row is destroyed" : "a group changes");
        object.content = content;
        object.destroyed = false;
        object.actionReq = true;
      } else {
        Count("a group stays the same");
      }
      break;
    }
    if (isNew) {
      ModelObject object;
      object.vlan = router.vlan;
      object.id = static_cast<unsigned int>(id);
      object.content = content;
      list.objects.push_back(object);
    }
  }
  for (ModelObject& object : list.objects) {
    if (unclaimed.count(&object) != 0) {
      Count("a group vanishes");
      object.destroyed = true;
      object.actionReq = true;
    }
  }
  ListCommit(list);
}

void LibraryModel::ListCommit(ModelList& list) {
  for (auto position = list.objects.begin(); position != list.objects.end();) {
    if (position->actionReq) {
      const int status = position->destroyed ? 6 : position->inMib ? 1 : 4;
      Trace(5, Text("%s:: ActionReq: %d InMib: %d  Vlan: %d   ID: %d RowStatus %c\n",
                    list.label.c_str(), position->actionReq, position->inMib,
                    static_cast<int>(position->vlan), static_cast<int>(position->id),
                    "?MUUCUD"[status]));
      if (CommitObject(list, *position)) {
        if (position != list.objects.begin()) {
          Count("a commit starts again from the head");
        }
        list.objects.erase(position);
        position = list.objects.begin();
        continue;
      }
    }
    ++position;
  }
}

bool LibraryModel::CommitObject(ModelList& list, ModelObject& object) {
  const int status = object.destroyed ? 6 : object.inMib ? 1 : 4;
  const unsigned int table = list.table;
  const unsigned int instance =
      IsIpv6Protocol(static_cast<int>(table / 2)) ? object.vlan | 0x8000u : object.vlan;
  const unsigned int id = object.id;
  const int content = object.content;
  SerializerInsert(ProtocolOid(table, instance, id), [=](bool shared) {
    m_stack->ActProtocol(shared, table, instance, id, status, content);
  });
  object.actionReq = content % 7 == 3 && !object.destroyed;
  object.inMib = !object.destroyed;
  return object.destroyed && content % 4 != 1;
}

// --- network events and interfaces ---

void LibraryModel::Network(NetworkEvent event, unsigned short vlan, unsigned int ifIndex,
                           unsigned int value) {
  const auto found = m_vlans.find(vlan);
  if (event == NET_STATUS) {
    Trace(10, Text("Updating Interface Status of Interface %u\n", ifIndex));
    if (found == m_vlans.end()) {
      return;
    }
    for (ModelRouter& router : found->second->routers) {
      if (router.protocol == 0) {
        continue;
      }
      m_log.Add("configuration %s:%u interface %u status %u", PROTOCOL_MEMBERS[router.protocol],
                vlan, ifIndex, value & 0xffffu);
      for (const auto& source : router.lists) {
        for (const ModelList& list : source.second) {
          m_log.Add("list %s:%u interface %u status %u", list.label.c_str(), vlan, ifIndex,
                    value & 0xffffu);
        }
      }
    }
  } else if (event == NET_ADDRESS) {
    AddressChanged(vlan, ifIndex, value);
  } else if (found == m_vlans.end()) {
    Trace(-1, Text("Connected remote to inet with VLAN %u before loading VLAN options... "
                   "Skipping\n",
                   vlan));
  } else if (event == NET_JOIN && RouterEnabled(found->second->routers[5])) {
    m_log.Add("IGMP:%u joins on %u", vlan, ifIndex);
  }
}

void LibraryModel::AddressChanged(unsigned short vlan, unsigned int ifIndex, unsigned int address) {
  Trace(10, Text("Updating IP Address Change to Interface %u\n", ifIndex));
  const auto found = m_vlans.find(vlan);
  if (found == m_vlans.end()) {
    return;
  }
  for (ModelRouter& router : found->second->routers) {
    if (router.protocol != 0) {
      m_log.Add("configuration %s:%u interface %u address %s", PROTOCOL_MEMBERS[router.protocol],
                vlan, ifIndex, Tarsel::Ip4Addr(address).ToString().c_str());
    }
  }
}

void LibraryModel::InterfaceRows(unsigned short vlan, unsigned int ifIndex, const char* name,
                                 int rowStatus, unsigned int operStatus, unsigned int flags,
                                 unsigned int extra) {
  for (const bool ipv6 : {false, true}) {
    const unsigned int instance = ipv6 ? vlan | 0x8000u : vlan;
    const unsigned int rowFlags = ipv6 ? flags & ~0x20u : flags;
    const std::string rowName = name;
    SerializerInsert(InterfaceOid(instance, ifIndex), [=](bool shared) {
      Trace(5, Text("InterfaceAction: shared_context = %d row_status = %d oper_status = %d vlan = "
                    "%d if_index = %d if_name = %s\n",
                    shared, rowStatus, static_cast<int>(operStatus), static_cast<int>(instance),
                    static_cast<int>(ifIndex), rowName.c_str()));
      m_stack->ActInterface(shared, rowStatus, operStatus, instance, ifIndex, rowName.c_str(), 0,
                            rowFlags, extra);
    });
  }
}

void LibraryModel::Interface(InterfaceEvent event, unsigned short vlan, unsigned int ifIndex,
                             const char* name, unsigned int type, unsigned int flags,
                             unsigned int extra, unsigned int status) {
  const auto found = m_interfaces.find({vlan, ifIndex});
  const bool known = found != m_interfaces.end();
  if (!known && event != IF_ADD) {
    Count("an event of an interface that is not known");
  }
  switch (event) {
    case IF_ADD:
      InterfaceRows(vlan, ifIndex, name, 4, status, flags, extra);
      if (!known) {
        m_interfaces[{vlan, ifIndex}] = {name, type, 0, 0, 0};
        m_names[name] = ifIndex;
      } else {
        Count("an interface is added again");
      }
      m_interfaces[{vlan, ifIndex}].status = status;
      break;
    case IF_REMOVE:
      InterfaceRows(vlan, ifIndex, name, 6, 2, 0, 0);
      if (known) {
        m_names.erase(found->second.name);
        m_interfaces.erase(found);
      }
      break;
    default:
      InterfaceRows(vlan, ifIndex, name, 1, event == IF_UP ? 1 : 2, 0, 0);
      if (known) {
        found->second.status = event == IF_UP ? 1 : 2;
      }
      break;
  }
}

void LibraryModel::AddressRow4(unsigned short vlan, unsigned int ifIndex, unsigned int address,
                               unsigned int mask, int rowStatus) {
  unsigned char bytes[4];
  std::memcpy(bytes, &address, 4);
  unsigned int length = 0;
  for (int bit = 0; bit < 32; ++bit) {
    length += mask >> bit & 1u;
  }
  SerializerInsert(AddressOid(vlan, ifIndex, bytes, 1), [=](bool shared) {
    Trace(5, Text("AddressAction: shared_context = %d row_status = %d vlan = %d if_index = %d "
                  "address = %u.%u.%u.%u\n",
                  shared, rowStatus, vlan, static_cast<int>(ifIndex), bytes[0], bytes[1], bytes[2],
                  bytes[3]));
    m_stack->ActAddress(rowStatus, vlan, 1, ifIndex, bytes, length);
  });
}

void LibraryModel::Address4(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                            const unsigned char* address, const unsigned char* mask) {
  unsigned int addressWord = 0;
  unsigned int maskWord = 0;
  std::memcpy(&addressWord, address, 4);
  std::memcpy(&maskWord, mask, 4);
  const auto found = m_interfaces.find({vlan, ifIndex});
  const bool known = found != m_interfaces.end();
  if (event == ADDRESS_CHANGE) {
    if (!known) {
      Count("an address change of an interface that is not known");
      return;
    }
    AddressRow4(vlan, ifIndex, found->second.address, found->second.mask, 6);
    AddressRow4(vlan, ifIndex, addressWord, maskWord, 1);
    found->second.address = addressWord;
    found->second.mask = maskWord;
    AddressChanged(vlan, ifIndex, addressWord);
    return;
  }
  AddressRow4(vlan, ifIndex, addressWord, maskWord, event == ADDRESS_ADD ? 1 : 6);
  if (known) {
    found->second.address = event == ADDRESS_ADD ? addressWord : 0;
    found->second.mask = event == ADDRESS_ADD ? maskWord : 0;
  }
}

void LibraryModel::Address6(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                            const unsigned char* address, unsigned int prefixLen) {
  const unsigned int instance = vlan | 0x8000u;
  const std::string bytes(reinterpret_cast<const char*>(address), 16);
  const int rowStatus = event == ADDRESS_ADD ? 1 : 6;
  SerializerInsert(AddressOid(instance, ifIndex, address, 2), [=](bool) {
    m_stack->ActAddress(rowStatus, instance, 2, ifIndex,
                        reinterpret_cast<const unsigned char*>(bytes.data()), prefixLen);
  });
}

void LibraryModel::SetPrimary(unsigned short vlan, const char* name) {
  if (name[0] != '\0') {
    m_primary[vlan] = name;
  }
}

std::string LibraryModel::IfName(unsigned short vlan, unsigned int ifIndex) const {
  const auto found = m_interfaces.find({vlan, ifIndex});
  return found != m_interfaces.end() ? found->second.name : "lo";
}

void LibraryModel::Query(unsigned short vlan, unsigned int ifIndex, const char* name) {
  const auto record = m_interfaces.find({vlan, ifIndex});
  const bool known = record != m_interfaces.end();
  m_log.Add("address %d %08x %08x", known, known ? record->second.address : 0,
            known ? record->second.mask : 0);
  m_log.Add("name %s", IfName(vlan, ifIndex).c_str());
  const auto index = m_names.find(name);
  m_log.Add("index %d %u", index != m_names.end(), index != m_names.end() ? index->second : 0);
  unsigned int type = 0;
  if (name[0] != '\0' && index != m_names.end() && m_interfaces.count({1, index->second}) != 0) {
    type = m_interfaces[{1, index->second}].type;
  }
  m_log.Add("type %u", type);
  const auto primary = m_primary.find(vlan);
  m_log.Add("primary %s", primary != m_primary.end() ? primary->second.c_str() : "(none)");

  if (primary == m_primary.end()) {
    m_log.Assertion("intf_name != 0", "dcrouter_api", 95);
  }
  for (const std::string& asked :
       {primary != m_primary.end() ? primary->second : std::string(), std::string("eth0")}) {
    const bool isNull = primary == m_primary.end() && asked.empty();
    const auto number = m_names.find(asked);
    const bool found =
        !isNull && number != m_names.end() && m_interfaces.count({vlan, number->second}) != 0;
    m_log.Add("stack asks address %d %08x", found,
              found ? m_interfaces[{vlan, number->second}].address : 0);
  }
  for (const unsigned int instance : {vlan & 0xffffu, vlan | 0x8000u}) {
    const RtmRecord* rtm = FindRtm(instance);
    m_log.Add("ready %d", rtm != nullptr && rtm->ready);
    if (rtm == nullptr) {
      m_log.Add("settings 2");
      continue;
    }
    const bool ipv6 = (instance & 0x8000u) != 0;
    m_log.Add("settings 1: %u 1 1 %u %u %u %u %u %u 0", instance, ipv6 ? rtm->v3in : rtm->v2in,
              ipv6 ? rtm->v3ex : rtm->v2ex, rtm->ebgp, rtm->ibgp, ipv6 ? rtm->ripng : rtm->ripv2,
              rtm->dead);
  }
  m_log.Add("rescheduled %d", m_rescheduled);
}

}  // namespace library_model
