// Configuration object lists: the difference between a document and what the stack already has.
//
// A list holds one object per row, in the order in which the rows were first configured; that order
// is also the order of commits. Parsing a document goes through three phases. First every object
// becomes unclaimed and loses its pending change. Then each group of the document is read into a
// temporary object and compared with the objects in list order: an equal one is claimed and stays
// quiet, one with the same key is claimed and updated, and when there is neither a copy of the
// temporary is appended. What is unclaimed at the end has vanished and is marked for destruction.
// Finally the pending changes are committed.
//
// A vanished object stays in the list until its own commit reports that it is finished: its destroy
// request may have to wait for the stack. Clearing a list, in contrast, forgets the objects and
// leaves the rows where they are.
//
// The comparisons are linear per group on purpose: only the objects know their keys, and which of
// them are asked, and in which order, is part of the contract with the protocol routers. So is that
// a commit starts again from the head after each object that finished, since an object's commit may
// have given an earlier object something to do.
#include "tarsel/trace.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dcl_config_object.h"

namespace Tarsel {

namespace {

const char SOURCE[] = "dcl_config_object";

enum Match : int { UNCHANGED = 0, CHANGED = 1, OTHER = 2 };

}  // namespace

DclConfigListIteratorFunc::~DclConfigListIteratorFunc() = default;

DCLConfigList::DCLConfigList(DcRouterBase* owner, const char* traceLabel, const char* member)
    : router(owner), label(traceLabel), key(member) {}

DCLConfigList::~DCLConfigList() {
  unclaimed.clear();
  Clear();
}

bool DCLConfigList::CheckInMib(unsigned short vlan, unsigned int id) const {
  for (const DclConfigObject* object : objects) {
    if (object != nullptr && object->vlan == vlan && object->id == id && object->InMib) {
      return true;
    }
  }
  return false;
}

// ---- parsing

void DCLConfigList::Parse(const OptionsNode& node, const string& name,
                          DclConfigObject::OptionType type) {
  unclaimed.clear();
  for (DclConfigObject* object : objects) {
    unclaimed.insert(object);
    if (object != nullptr) {
      object->ActionReq = false;
    }
  }
  ParseOptions(node, name, type);
  for (DclConfigObject* dclco : unclaimed) {
    if (dclco == nullptr) {
      OnAssert("dclco", SOURCE, __LINE__);
      continue;
    }
    dclco->SetDestroy();
    dclco->ActionReq = true;
  }
  // The commit may delete objects, and nothing may remember them afterwards.
  unclaimed.clear();
  CommitToMib();
}

int DCLConfigList::ParseOptions(const OptionsNode& node, const string& name,
                                DclConfigObject::OptionType type) {
  const OptionsNode groups = node.GetChildNode(key);
  for (OptionsNodeIterator it = groups.begin(); it != groups.end(); ++it) {
    const OptionsNode group = *it;
    if (!group.IsEmpty()) {
      ParseGroup(group, name, type);
    }
  }
  return 1;
}

int DCLConfigList::ParseGroup(const OptionsNode& group, const string& name,
                              DclConfigObject::OptionType type) {
  DclConfigObject* parsed = ParseObjectFromOption(group, name, type);
  if (parsed == nullptr) {
    return 1;
  }
  if (FindNewObjectAndUpdate(parsed) == OTHER) {
    DclConfigObject* obj = CloneObject(parsed);
    if (obj == nullptr) {
      OnAssert("obj", SOURCE, __LINE__);
    } else {
      obj->name = parsed->name;
      obj->type = parsed->type;
      obj->vlan = parsed->vlan;
      objects.push_back(obj);
    }
  }
  delete parsed;
  return 1;
}

DclConfigObject* DCLConfigList::ParseObjectFromOption(const OptionsNode& group, const string& name,
                                                      DclConfigObject::OptionType type) {
  DclConfigObject* new_obj = CreateObject(group, name, type);
  if (new_obj == nullptr) {
    OnAssert("new_obj", SOURCE, __LINE__);
    return nullptr;
  }
  new_obj->name = name;
  new_obj->type = type;
  new_obj->vlan = router->GetVlan();
  if (!new_obj->ParseOption(group, new_obj->vlan)) {
    delete new_obj;
    return nullptr;
  }
  return new_obj;
}

int DCLConfigList::FindNewObjectAndUpdate(DclConfigObject* parsed) {
  int answer = OTHER;
  for (DclConfigObject* obj : objects) {
    if (obj == nullptr) {
      OnAssert("obj", SOURCE, __LINE__);
      continue;
    }
    answer = obj->Compare(parsed);
    if (answer != UNCHANGED && answer != CHANGED) {
      continue;
    }
    // A second group with the same key finds its object already claimed. It is taken, too.
    const std::size_t res = unclaimed.erase(obj);
    if (res != 1) {
      OnAssert("res == 1", SOURCE, __LINE__);
    }
    if (answer == CHANGED) {
      obj->Update(parsed);
      obj->ActionReq = true;
    }
    return answer;
  }
  return answer;
}

// ---- committing

void DCLConfigList::CommitToMib() {
  for (auto it = objects.begin(); it != objects.end();) {
    DclConfigObject* object = *it;
    if (object == nullptr || !object->ActionReq) {
      ++it;
      continue;
    }
    object->DebugDump(label);
    if (!object->CommitToMib()) {
      ++it;
      continue;
    }
    objects.erase(it);
    delete object;
    it = objects.begin();
  }
}

void DCLConfigList::SetDestroy() {
  for (DclConfigObject* object : objects) {
    if (object != nullptr) {
      object->SetDestroy();
      object->ActionReq = true;
    }
  }
}

void DCLConfigList::DeleteOptions(const string&, DclConfigObject::OptionType) {
  SetDestroy();
  CommitToMib();
}

// ---- clearing

void DCLConfigList::Clear() {
  while (!objects.empty()) {
    DclConfigObject* object = objects.front();
    objects.pop_front();
    delete object;
  }
}

void DCLConfigList::Clear(unsigned int vlan) {
  for (auto it = objects.begin(); it != objects.end();) {
    DclConfigObject* object = *it;
    if (object == nullptr || object->vlan != vlan) {
      ++it;
      continue;
    }
    // The stepping is part of the behaviour: past the follower of a removed object, and on from the
    // head when there is none.
    it = objects.erase(it);
    delete object;
    if (it == objects.end()) {
      it = objects.begin();
    } else {
      ++it;
    }
  }
}

void DCLConfigList::Clear(unsigned int vlan, bool suspend) {
  for (DclConfigObject* object : objects) {
    if (object == nullptr || object->vlan != vlan) {
      continue;
    }
    object->Suspended = suspend;
    if (!suspend) {
      object->ActionReq = true;
      object->DebugDump(label);
      // An object that reports itself finished here stays, to be committed again later.
      object->CommitToMib();
    }
  }
}

// ---- visiting

void DCLConfigList::DisplayList(DcConsole* console, const DclConfigDisplayFilter& filter) const {
  for (DclConfigObject* object : objects) {
    if (object != nullptr && (filter.vlan == 0 || filter.vlan == object->vlan) &&
        (filter.id == 0 || filter.id == object->id)) {
      object->Display(console, filter.id);
    }
  }
}

int DCLConfigList::ForEach(DclConfigListIteratorFunc* f) {
  if (f == nullptr) {
    return 0;
  }
  for (DclConfigObject* object : objects) {
    if (object != nullptr && !(*f)(object)) {
      return 0;
    }
  }
  return 1;
}

}  // namespace Tarsel
