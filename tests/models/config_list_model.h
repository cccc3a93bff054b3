// A plain, literal model of a configuration object list: vectors, and walks from the beginning.
#ifndef TESTS_MODELS_CONFIG_LIST_MODEL_H
#define TESTS_MODELS_CONFIG_LIST_MODEL_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/models/config_list_script.h"

namespace config_list {

/// How often the things happened that are easy to get wrong.
struct Counts {
  std::map<std::string, unsigned long> of;
};

class Model {
 public:
  /// Where the real counterpart of an object lies: vanished objects are visited in this order.
  using AddressOf = std::function<std::uintptr_t(unsigned int serial)>;

  Model(const std::string& label, AddressOf addressOf);
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  ~Model() { Clear(); }

  void SetRouterVlan(unsigned int vlan) { m_routerVlan = vlan; }

  // The list's operations.
  void Parse(const std::vector<Group>& document, const std::string& name, int type);
  int ParseOptions(const std::vector<Group>& document, const std::string& name, int type);
  int ParseGroup(const Group& group, const std::string& name, int type);
  int FindNewObjectAndUpdate(const Group& group);
  void CommitToMib();
  void SetDestroy();
  void DeleteOptions();
  void Clear();
  void Clear(unsigned int vlan);
  void Clear(unsigned int vlan, bool suspend);
  bool CheckInMib(unsigned int vlan, unsigned int id) const;
  void DisplayList(unsigned int vlan, unsigned int id);
  int ForEach(unsigned int stopAt);

  // What happens to a list from outside.
  void AppendNull() { m_objects.push_back(nullptr); }
  void SetFlags(std::size_t position, bool inMib, bool actionReq);

  std::size_t Size() const { return m_objects.size(); }
  /// Everything since the last call; `result` is the caller's.
  Outcome Take();
  const Counts& GetCounts() const { return m_counts; }

 private:
  struct Object {
    unsigned int vlan = 0;
    unsigned int id = 0;
    std::string name;
    int type = 0;
    bool inMib = false;
    bool actionReq = true;
    bool suspended = false;
    Concrete concrete;
  };

  bool ParseObjectFromOption(Object& object, const Group& group, const std::string& name, int type);
  int Find(const Object& parsed);
  void Claim(Object* object);
  void Drop();
  void DeleteAt(std::size_t position);
  void Dump(const Object& object);
  bool CommitObject(Object& object);
  void Note(Event::Kind kind, const Object& object, int a = 0, int b = 0);

  std::string m_label;
  AddressOf m_addressOf;
  unsigned int m_routerVlan = 0;
  unsigned int m_lastSerial = 0;
  std::vector<Object*> m_objects;
  std::vector<Object*> m_unclaimed;
  Outcome m_outcome;
  Counts m_counts;
};

}  // namespace config_list

#endif
