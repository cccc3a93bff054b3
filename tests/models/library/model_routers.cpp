// The protocol routers of the model and the lists of objects that they keep for each source.
#include "model.h"
#include "model_json.h"

namespace library_model {

const char* const PROTOCOL_MEMBERS[7] = {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"};

namespace {

bool IsIpv6Protocol(int protocol) { return protocol == 2 || protocol == 4 || protocol == 6; }

}  // namespace

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

}  // namespace library_model
