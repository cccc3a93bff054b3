// Concrete configuration objects, lists and routers for the tests. What a concrete class of a
// protocol would send to the stack is written down instead.
#ifndef TESTS_UNIT_CONFIG_TEST_OBJECTS_H
#define TESTS_UNIT_CONFIG_TEST_OBJECTS_H

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "vantacore/dc_router_base.h"
#include "vantacore/dcl_config_object.h"

namespace config_test {

class TestObject;

/// What the objects of a test share: their script and the record of the calls on them.
struct World {
  std::vector<std::string> calls;
  std::vector<std::string> Take() { return std::exchange(calls, {}); }

  std::set<unsigned int> pending;    // ids whose destroy request is not finished by its commit
  std::set<unsigned int> finished;   // ids whose commit finishes them without having been destroyed
  std::set<unsigned int> forgetful;  // ids whose commit leaves ActionReq set
  std::function<void(TestObject&)> onCommit;
  std::function<void(TestObject&)> onParse;  // when an object has read its group
  std::function<void()> onDelete;            // for the end of an object that is not temporary
  std::function<int(TestObject&, TestObject&)> compare;  // instead of the usual comparison
  bool createFails = false;
  bool cloneFails = false;
  bool cloneLosesVlan = false;
  bool marksAreTakenBack = false;  // an update and a destruction clear ActionReq
  int live = 0;                    // objects that exist, temporary ones included
};

/// A router with the protocol configuration that the test gives it.
class TestRouter : public Tarsel::DcRouterBase {
 public:
  explicit TestRouter(unsigned short vid, Tarsel::DcProtoConfigBase* config = nullptr,
                      const char* protocol = "TEST")
      : DcRouterBase(protocol, vid, config) {}

  Tarsel::DcConfigLists* CreateConfigLists(const Tarsel::string& source,
                                           Tarsel::DclConfigObject::OptionType type) override {
    return makeLists ? makeLists(source, type) : DcRouterBase::CreateConfigLists(source, type);
  }

  bool CreateConfigList(Tarsel::DcConfigLists& lists) override {
    return createLists ? createLists(lists) : true;
  }

  std::function<bool(Tarsel::DcConfigLists&)> createLists;
  std::function<Tarsel::DcConfigLists*(const Tarsel::string&, Tarsel::DclConfigObject::OptionType)>
      makeLists;
};

/// An object of a group {"Name": "TEST_<vlan>_<id>", "value": "..."}. A group with "reject" is
/// rejected.
class TestObject : public Tarsel::DclConfigObject {
 public:
  TestObject(Tarsel::DcRouterBase& owner, World& w) : DclConfigObject(owner), world(w) {
    ++world.live;
  }
  explicit TestObject(const TestObject* other)
      : DclConfigObject(other), value(other->value), world(other->world) {
    ++world.live;
  }
  ~TestObject() override {
    --world.live;
    if (!temporary) {
      Note("delete");
      if (world.onDelete) {
        world.onDelete();
      }
    }
  }

  int Compare(DclConfigObject* object) override {
    auto& other = static_cast<TestObject&>(*object);
    if (world.compare) {
      return world.compare(*this, other);
    }
    if (!KeyMatch(&other)) {
      return 2;
    }
    return value == other.value && !destroyed ? 0 : 1;
  }
  void Update(DclConfigObject* object) override {
    value = static_cast<TestObject*>(object)->value;
    destroyed = false;
    if (world.marksAreTakenBack) {
      SetActionReq(false);
    }
    Note("update");
  }
  unsigned short GetRowStatus() override { return destroyed ? 6 : GetInMib() ? 1 : 4; }
  void SetDestroy() override {
    destroyed = true;
    if (world.marksAreTakenBack) {
      SetActionReq(false);
    }
    Note("destroy");
  }
  void Display(Tarsel::DcConsole* console, unsigned int filter) override {
    displayedOn = console;
    Note("display(" + std::to_string(filter) + ")");
  }
  bool CommitToMib() override {
    Note("commit");
    if (world.onCommit) {
      world.onCommit(*this);
    }
    if (world.forgetful.count(id) == 0) {
      SetActionReq(false);
    }
    if (destroyed) {
      SetInMib(false);
      return world.pending.count(id) == 0;
    }
    SetInMib(true);
    return world.finished.count(id) != 0;
  }
  bool ParseOption(const Tarsel::OptionsNode& node, unsigned short vid) override {
    parsedVlan = vid;
    Tarsel::string text;
    node.GetAsString(text, "Name");
    ParseId(text.c_str());
    Tarsel::string content;
    node.GetAsString(content, "value");
    value = content.c_str();
    bool reject = false;
    node.AsVal(reject, "reject");
    if (world.onParse) {
      world.onParse(*this);
    }
    return !reject;
  }

  using DclConfigObject::GetRouter;
  /// For tests that need an object of another VLAN, source or state.
  void SetKey(unsigned short vid, unsigned int newId) {
    vlan = vid;
    id = newId;
  }
  void SetSource(const char* source, OptionType sourceType) {
    name = source;
    type = sourceType;
  }
  void SetSuspended(bool suspended) { Suspended = suspended; }

  std::string value;
  bool destroyed = false;
  bool temporary = false;  // made for one group: its end is not written down
  unsigned short parsedVlan = 0;
  Tarsel::DcConsole* displayedOn = nullptr;
  World& world;

 private:
  /// "commit 5=a": the operation, the object's id and its value.
  void Note(const std::string& operation) {
    world.calls.push_back(operation + " " + std::to_string(id) + "=" + value);
  }
};

class TestList : public Tarsel::DCLConfigList {
 public:
  TestList(Tarsel::DcRouterBase* owner, World& w, const char* traceLabel = "TestList",
           const char* member = "LIST")
      : DCLConfigList(owner, traceLabel, member), world(w) {}

  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override {
    world.calls.push_back(std::string("list ") + label + " if " + std::to_string(ifIndex) +
                          " status " + std::to_string(status));
  }
  Tarsel::DclConfigObject* CreateObject(const Tarsel::OptionsNode&, const Tarsel::string&,
                                        Tarsel::DclConfigObject::OptionType) override {
    if (world.createFails) {
      return nullptr;
    }
    auto* object = new TestObject(*router, world);
    object->temporary = true;
    return object;
  }
  Tarsel::DclConfigObject* CloneObject(Tarsel::DclConfigObject* parsed) override {
    if (world.cloneFails) {
      return nullptr;
    }
    auto* object = new TestObject(static_cast<TestObject*>(parsed));
    if (world.cloneLosesVlan) {
      object->SetKey(0, object->GetId());
    }
    return object;
  }

  /// Appends an object as it is; null for an entry without an object.
  TestObject* Append(TestObject* object) {
    objects.push_back(object);
    return object;
  }
  TestObject* Append(unsigned short vid, unsigned int id, const char* value = "") {
    auto* object = new TestObject(*router, world);
    object->SetKey(vid, id);
    object->value = value;
    return Append(object);
  }
  void AppendNull() { objects.push_back(nullptr); }
  TestObject* At(std::size_t position) const {
    auto it = objects.begin();
    std::advance(it, static_cast<std::ptrdiff_t>(position));
    return static_cast<TestObject*>(*it);
  }
  std::size_t Size() const { return objects.size(); }
  /// "5=a 7=b": id and value of the objects in list order.
  std::string Contents() const {
    std::string text;
    for (Tarsel::DclConfigObject* object : objects) {
      const auto* entry = static_cast<TestObject*>(object);
      text += (text.empty() ? "" : " ") +
              (entry == nullptr ? "null" : std::to_string(entry->GetId()) + "=" + entry->value);
    }
    return text;
  }

  World& world;
};

}  // namespace config_test

#endif
