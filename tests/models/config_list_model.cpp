#include "tests/models/config_list_model.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace config_list {

Model::Model(const std::string& label, AddressOf addressOf)
    : m_label(label), m_addressOf(std::move(addressOf)) {}

// ---- parsing

void Model::Parse(const std::vector<Group>& document, const std::string& name, int type) {
  m_unclaimed.clear();
  for (Object* object : m_objects) {
    if (std::find(m_unclaimed.begin(), m_unclaimed.end(), object) == m_unclaimed.end()) {
      m_unclaimed.push_back(object);
    }
    if (object != nullptr) {
      object->actionReq = false;
    }
  }
  ParseOptions(document, name, type);
  std::sort(m_unclaimed.begin(), m_unclaimed.end(), [this](const Object* a, const Object* b) {
    const std::uintptr_t addressA = a == nullptr ? 0 : m_addressOf(a->concrete.serial);
    const std::uintptr_t addressB = b == nullptr ? 0 : m_addressOf(b->concrete.serial);
    return addressA < addressB;
  });
  m_counts.of["several objects vanish together"] += m_unclaimed.size() > 1;
  m_counts.of["nothing changes"] += m_unclaimed.empty() && !m_objects.empty();
  for (Object* object : m_unclaimed) {
    if (object == nullptr) {
      m_outcome.assertions.push_back("dclco|dcl_config_object");
      continue;
    }
    object->concrete.destroyed = true;
    Note(Event::DESTROYED, *object);
    object->actionReq = true;
  }
  m_unclaimed.clear();
  CommitToMib();
}

int Model::ParseOptions(const std::vector<Group>& document, const std::string& name, int type) {
  for (const Group& group : document) {
    if (group.kind != Group::SKIPPED) {
      ParseGroup(group, name, type);
    }
  }
  return 1;
}

bool Model::ParseObjectFromOption(Object& object, const Group& group, const std::string& name,
                                  int type) {
  if (group.kind == Group::NOT_CREATED) {
    m_outcome.assertions.push_back("new_obj|dcl_config_object");
    ++m_counts.of["no object is created"];
    return false;
  }
  object.name = name;
  object.type = type;
  object.vlan = m_routerVlan;
  object.id = group.id;
  object.concrete.content = group.content;
  object.concrete.oddAnswer = group.oddAnswer;
  const bool accepted = group.kind != Group::REJECTED;
  Note(Event::PARSED, object, static_cast<int>(group.id), accepted);
  if (!accepted) {
    Drop();
    ++m_counts.of["a group is rejected"];
  }
  return accepted;
}

int Model::ParseGroup(const Group& group, const std::string& name, int type) {
  Object parsed;
  if (!ParseObjectFromOption(parsed, group, name, type)) {
    return 1;
  }
  const int answer = Find(parsed);
  if (answer == 2) {
    if (group.kind == Group::NOT_CLONED) {
      m_outcome.assertions.push_back("obj|dcl_config_object");
      ++m_counts.of["no clone is made"];
    } else {
      auto* object = new Object;
      object->vlan = parsed.vlan;
      object->id = parsed.id;
      object->name = parsed.name;
      object->type = parsed.type;
      object->concrete.content = parsed.concrete.content;
      object->concrete.serial = ++m_lastSerial;
      Note(Event::CLONED, *object, static_cast<int>(object->id));
      m_objects.push_back(object);
    }
  } else if (answer != 0 && answer != 1) {
    ++m_counts.of["the last answer is neither a match nor 2"];
  }
  Drop();
  return 1;
}

int Model::FindNewObjectAndUpdate(const Group& group) {
  Object parsed;
  parsed.vlan = m_routerVlan;
  parsed.id = group.id;
  parsed.concrete.content = group.content;
  parsed.concrete.oddAnswer = group.oddAnswer;
  const int answer = Find(parsed);
  Drop();
  return answer;
}

int Model::Find(const Object& parsed) {
  int answer = 2;
  for (Object* object : m_objects) {
    if (object == nullptr) {
      m_outcome.assertions.push_back("obj|dcl_config_object");
      ++m_counts.of["a walk meets a missing object"];
      continue;
    }
    const bool sameKey = object->vlan == parsed.vlan && object->id == parsed.id;
    answer = Compare(object->concrete, sameKey, parsed.concrete);
    Note(Event::COMPARED, *object, answer);
    if (answer == 0) {
      Claim(object);
      return 0;
    }
    if (answer == 1) {
      m_counts.of["a destroyed object returns"] += object->concrete.destroyed;
      Claim(object);
      object->concrete.content = parsed.concrete.content;
      object->concrete.destroyed = false;
      Note(Event::UPDATED, *object, object->concrete.content);
      object->actionReq = true;
      ++m_counts.of["an object is updated"];
      return 1;
    }
  }
  return answer;
}

void Model::Claim(Object* object) {
  const auto found = std::find(m_unclaimed.begin(), m_unclaimed.end(), object);
  if (found == m_unclaimed.end()) {
    m_outcome.assertions.push_back("res == 1|dcl_config_object");
    ++m_counts.of["an object is claimed twice"];
    return;
  }
  m_unclaimed.erase(found);
}

// ---- committing

void Model::CommitToMib() {
  std::size_t i = 0;
  while (i < m_objects.size()) {
    Object* object = m_objects[i];
    if (object == nullptr || !object->actionReq) {
      ++i;
      continue;
    }
    Dump(*object);
    if (!CommitObject(*object)) {
      ++i;
      continue;
    }
    DeleteAt(i);
    m_counts.of["a commit starts again with earlier objects"] += i > 0;
    i = 0;
  }
}

bool Model::CommitObject(Object& object) {
  const CommitEffect effect = Commit(object.concrete);
  Note(Event::COMMITTED, object, object.actionReq, object.suspended);
  ++object.concrete.commits;
  if (effect.clearsActionReq) {
    object.actionReq = false;
  }
  object.inMib = effect.inMib;
  for (Object* other : m_objects) {
    if (other != nullptr && other->concrete.serial == effect.wakes) {
      other->actionReq = true;
      ++m_counts.of["a commit gives another object something to do"];
    }
  }
  return effect.finished;
}

void Model::SetDestroy() {
  for (Object* object : m_objects) {
    if (object != nullptr) {
      object->concrete.destroyed = true;
      Note(Event::DESTROYED, *object);
      object->actionReq = true;
    }
  }
}

void Model::DeleteOptions() {
  SetDestroy();
  CommitToMib();
}

// ---- clearing

void Model::Clear() {
  while (!m_objects.empty()) {
    DeleteAt(0);
  }
}

void Model::Clear(unsigned int vlan) {
  std::size_t i = 0;
  while (i < m_objects.size()) {
    if (m_objects[i] == nullptr || m_objects[i]->vlan != vlan) {
      ++i;
      continue;
    }
    DeleteAt(i);
    if (i == m_objects.size()) {
      i = 0;
      m_counts.of["clearing a VLAN goes on from the head"] += !m_objects.empty();
    } else {
      m_counts.of["clearing a VLAN steps over one of it"] +=
          m_objects[i] != nullptr && m_objects[i]->vlan == vlan;
      ++i;
    }
  }
}

void Model::Clear(unsigned int vlan, bool suspend) {
  for (std::size_t i = 0; i < m_objects.size(); ++i) {
    Object* object = m_objects[i];
    if (object == nullptr || object->vlan != vlan) {
      continue;
    }
    if (suspend) {
      object->suspended = true;
      continue;
    }
    object->suspended = false;
    object->actionReq = true;
    Dump(*object);
    m_counts.of["a resumed object is finished and stays"] += CommitObject(*object);
  }
}

// ---- queries

bool Model::CheckInMib(unsigned int vlan, unsigned int id) const {
  for (const Object* object : m_objects) {
    if (object != nullptr && object->vlan == vlan && object->id == id && object->inMib) {
      return true;
    }
  }
  return false;
}

void Model::DisplayList(unsigned int vlan, unsigned int id) {
  for (const Object* object : m_objects) {
    if (object != nullptr && (vlan == 0 || object->vlan == vlan) && (id == 0 || object->id == id)) {
      Note(Event::DISPLAYED, *object, static_cast<int>(id));
    }
  }
}

int Model::ForEach(unsigned int stopAt) {
  for (const Object* object : m_objects) {
    if (object == nullptr) {
      continue;
    }
    Note(Event::VISITED, *object);
    if (object->concrete.serial == stopAt) {
      return 0;
    }
  }
  return 1;
}

void Model::SetFlags(std::size_t position, bool inMib, bool actionReq) {
  if (Object* object = m_objects[position]) {
    object->inMib = inMib;
    object->actionReq = actionReq;
  }
}

// ---- the record

Outcome Model::Take() {
  for (const Object* object : m_objects) {
    State state;
    if (object != nullptr) {
      state.serial = object->concrete.serial;
      state.vlan = object->vlan;
      state.id = object->id;
      state.name = object->name;
      state.type = object->type;
      state.inMib = object->inMib;
      state.actionReq = object->actionReq;
      state.suspended = object->suspended;
    }
    m_outcome.objects.push_back(state);
  }
  return std::exchange(m_outcome, {});
}

void Model::Drop() { m_outcome.events.push_back({Event::DROPPED, 0}); }

void Model::DeleteAt(std::size_t position) {
  Object* object = m_objects[position];
  m_objects.erase(m_objects.begin() + static_cast<std::ptrdiff_t>(position));
  if (object != nullptr) {
    Note(Event::DELETED, *object);
    delete object;
  }
}

void Model::Dump(const Object& object) {
  static const char letters[] = "UMUUCUD";
  const int status = object.concrete.destroyed ? 6 : object.inMib ? 1 : 4;
  char line[256];
  std::snprintf(line, sizeof line,
                "5:%s:: ActionReq: %d InMib: %d  Vlan: %u   ID: %u RowStatus %c\n", m_label.c_str(),
                object.actionReq, object.inMib, object.vlan, object.id, letters[status]);
  m_outcome.traces.push_back(line);
}

void Model::Note(Event::Kind kind, const Object& object, int a, int b) {
  m_outcome.events.push_back({kind, object.concrete.serial, a, b});
}

}  // namespace config_list
