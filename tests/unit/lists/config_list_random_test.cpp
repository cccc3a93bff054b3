// Random sequences of operations run through a configuration list and its literal model: the calls
// on the objects, the results, the traces, the assertions and the objects' states must be the same
// after each one.
#include <gtest/gtest.h>
#include <json/json.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "test_objects.h"
#include "tests/models/config_list_model.h"
#include "tests/models/random_run.h"
#include "tests/support/trace_capture.h"
#include "vantacore/dcl_config_object.h"

namespace config_list {

void PrintTo(const Event& event, std::ostream* out) {
  static const char* const kinds[] = {"parsed",  "dropped",   "cloned",    "compared", "updated",
                                      "destroy", "committed", "displayed", "visited",  "deleted"};
  *out << kinds[event.kind] << " #" << event.serial << " " << event.a << " " << event.b;
}

void PrintTo(const State& state, std::ostream* out) {
  *out << "#" << state.serial << " vlan " << state.vlan << " id " << state.id << " " << state.name
       << "/" << state.type << " inMib " << state.inMib << " actionReq " << state.actionReq
       << " suspended " << state.suspended;
}

}  // namespace config_list

namespace {

using config_list::Concrete;
using config_list::Event;
using config_list::Group;
using config_list::Model;
using config_list::Outcome;
using config_list::State;
using namespace Tarsel;

const char LABEL[] = "Random";
const char KEY[] = "GROUPS";

class RandomObject;

// What the real list's objects share.
struct Stage {
  std::vector<Event> events;
  std::map<unsigned int, RandomObject*> alive;  // by serial
  std::vector<std::uintptr_t> addresses = {0};  // of every clone that was ever made, by serial
};

class RandomObject : public DclConfigObject {
 public:
  // The temporary object of a group.
  RandomObject(DcRouterBase& owner, Stage& stage) : DclConfigObject(owner), m_stage(stage) {}
  // A copy of one, to be kept.
  explicit RandomObject(const RandomObject* parsed)
      : DclConfigObject(parsed), m_stage(parsed->m_stage) {
    concrete.content = parsed->concrete.content;
    concrete.serial = static_cast<unsigned int>(m_stage.addresses.size());
    m_stage.addresses.push_back(
        reinterpret_cast<std::uintptr_t>(static_cast<DclConfigObject*>(this)));
    m_stage.alive[concrete.serial] = this;
    Note(Event::CLONED, static_cast<int>(id));
  }
  ~RandomObject() override {
    if (concrete.serial == 0) {
      Note(Event::DROPPED);
    } else {
      Note(Event::DELETED);
      m_stage.alive.erase(concrete.serial);
    }
  }

  int Compare(DclConfigObject* object) override {
    const int answer = config_list::Compare(concrete, KeyMatch(object),
                                            static_cast<RandomObject*>(object)->concrete);
    Note(Event::COMPARED, answer);
    return answer;
  }
  void Update(DclConfigObject* object) override {
    concrete.content = static_cast<RandomObject*>(object)->concrete.content;
    concrete.destroyed = false;
    Note(Event::UPDATED, concrete.content);
  }
  unsigned short GetRowStatus() override { return concrete.destroyed ? 6 : GetInMib() ? 1 : 4; }
  void SetDestroy() override {
    concrete.destroyed = true;
    Note(Event::DESTROYED);
  }
  void Display(DcConsole*, unsigned int filter) override {
    Note(Event::DISPLAYED, static_cast<int>(filter));
  }
  bool CommitToMib() override {
    const config_list::CommitEffect effect = config_list::Commit(concrete);
    Note(Event::COMMITTED, GetActionReq(), GetSuspended());
    ++concrete.commits;
    if (effect.clearsActionReq) {
      SetActionReq(false);
    }
    SetInMib(effect.inMib);
    const auto other = m_stage.alive.find(effect.wakes);
    if (other != m_stage.alive.end()) {
      other->second->SetActionReq(true);
    }
    return effect.finished;
  }
  bool ParseOption(const OptionsNode& node, unsigned short) override {
    node.AsVal(id, "id");
    node.AsVal(concrete.content, "content");
    node.AsVal(concrete.oddAnswer, "odd");
    int kind = Group::NORMAL;
    node.AsVal(kind, "kind");
    notCloned = kind == Group::NOT_CLONED;
    Note(Event::PARSED, static_cast<int>(id), kind != Group::REJECTED);
    return kind != Group::REJECTED;
  }

  void SetUp(unsigned short vid, const Group& group) {
    vlan = vid;
    id = group.id;
    concrete.content = group.content;
    concrete.oddAnswer = group.oddAnswer;
  }

  Concrete concrete;
  bool notCloned = false;

 private:
  void Note(Event::Kind kind, int a = 0, int b = 0) {
    m_stage.events.push_back({kind, concrete.serial, a, b});
  }

  Stage& m_stage;
};

class RandomList : public DCLConfigList {
 public:
  RandomList(DcRouterBase* owner, Stage& stage)
      : DCLConfigList(owner, LABEL, KEY), m_stage(stage) {}

  void ProcessInterfaceStatusChange(unsigned int, unsigned int) override {}
  DclConfigObject* CreateObject(const OptionsNode& node, const string&,
                                DclConfigObject::OptionType) override {
    int kind = Group::NORMAL;
    node.AsVal(kind, "kind");
    return kind == Group::NOT_CREATED ? nullptr : new RandomObject(*router, m_stage);
  }
  DclConfigObject* CloneObject(DclConfigObject* parsed) override {
    const auto* object = static_cast<RandomObject*>(parsed);
    return object->notCloned ? nullptr : new RandomObject(object);
  }

  void SetRouter(DcRouterBase* owner) { router = owner; }
  DcRouterBase& GetRouter() { return *router; }
  void AppendNull() { objects.push_back(nullptr); }
  void SetFlags(std::size_t position, bool inMib, bool actionReq) {
    auto it = objects.begin();
    std::advance(it, static_cast<std::ptrdiff_t>(position));
    if (*it != nullptr) {
      (*it)->SetInMib(inMib);
      (*it)->SetActionReq(actionReq);
    }
  }
  std::vector<State> GetStates() const {
    std::vector<State> states;
    for (DclConfigObject* object : objects) {
      State state;
      if (object != nullptr) {
        state.serial = static_cast<RandomObject*>(object)->concrete.serial;
        state.vlan = object->GetVlan();
        state.id = object->GetId();
        state.name = object->GetName().c_str();
        state.type = object->GetType();
        state.inMib = object->GetInMib();
        state.actionReq = object->GetActionReq();
        state.suspended = object->GetSuspended();
      }
      states.push_back(state);
    }
    return states;
  }

 private:
  Stage& m_stage;
};

class Visitor : public DclConfigListIteratorFunc {
 public:
  Visitor(Stage& stage, unsigned int stopAt) : m_stage(stage), m_stopAt(stopAt) {}
  bool operator()(DclConfigObject* object) override {
    const unsigned int serial = static_cast<RandomObject*>(object)->concrete.serial;
    m_stage.events.push_back({Event::VISITED, serial});
    return serial != m_stopAt;
  }

 private:
  Stage& m_stage;
  unsigned int m_stopAt;
};

Json::Value ToJson(const Group& group) {
  Json::Value value;
  value["id"] = group.id;
  value["content"] = group.content;
  value["odd"] = group.oddAnswer;
  value["kind"] = static_cast<int>(group.kind);
  return value;
}

class ConfigListAtRandom : public testing::Test {
 protected:
  static constexpr unsigned int VLANS = 3;

  unsigned int Below(unsigned int limit) { return m_random() % limit; }
  bool OneIn(unsigned int n) { return Below(n) == 0; }

  Group RandomGroup() {
    Group group;
    group.id = 1 + Below(10);
    group.content = static_cast<int>(Below(3));
    if (OneIn(6)) {
      static constexpr int odd[] = {3, -1, 4711};
      group.oddAnswer = odd[Below(3)];
    }
    if (OneIn(8)) {
      group.kind = static_cast<Group::Kind>(1 + Below(4));
    }
    return group;
  }
  // Mostly what the list has been given last, so that objects are found again.
  std::vector<Group> RandomDocument() {
    if (OneIn(4)) {
      m_document.clear();
      for (unsigned int i = Below(12); i > 0; --i) {
        m_document.push_back(RandomGroup());
      }
    }
    for (unsigned int i = Below(3); i > 0 && !m_document.empty(); --i) {
      m_document[Below(static_cast<unsigned int>(m_document.size()))] = RandomGroup();
    }
    return m_document;
  }

  // The document as JSON: an array, or an object whose member names put the groups in order.
  Options ToDocument(const std::vector<Group>& groups) {
    Json::Value root;
    const bool asObject = OneIn(2);
    unsigned int name = 100;
    for (const Group& group : groups) {
      Json::Value value = group.kind != Group::SKIPPED ? ToJson(group)
                          : OneIn(2)                   ? Json::Value(Json::objectValue)
                                                       : Json::Value();
      if (asObject) {
        root[KEY]["g" + std::to_string(name++)] = value;
      } else {
        root[KEY].append(value);
      }
    }
    return Options(root);
  }

  // One random operation on both; the result of the real one.
  int RunBoth(int& expected);
  void RunParse();
  int RunGroups(int& expected);
  int RunQuery(int& expected);
  void RunFromOutside();

  std::mt19937 m_random;
  std::vector<Group> m_document;
  Stage m_stage;
  config_test::TestRouter m_routers[VLANS] = {
      config_test::TestRouter(3), config_test::TestRouter(4), config_test::TestRouter(65535)};
  unsigned int m_router = 0;
  std::unique_ptr<RandomList> m_list = std::make_unique<RandomList>(&m_routers[0], m_stage);
  Model m_model{LABEL, [this](unsigned int serial) { return m_stage.addresses.at(serial); }};
};

void ConfigListAtRandom::RunParse() {
  const std::vector<Group> groups = RandomDocument();
  const Options document = ToDocument(groups);
  const char* const names[] = {"a", "b"};
  const char* name = names[Below(2)];
  const int type = static_cast<int>(Below(3));
  m_list->Parse(document.GetRootNode(), name, static_cast<DclConfigObject::OptionType>(type));
  m_model.Parse(groups, name, type);
}

// Parts of a parse on their own.
int ConfigListAtRandom::RunGroups(int& expected) {
  const Group group = RandomGroup();
  switch (Below(3)) {
    case 0: {
      const std::vector<Group> groups = {group, RandomGroup()};
      const Options document = ToDocument(groups);
      expected = m_model.ParseOptions({}, "", 0);
      const int result =
          m_list->ParseOptions(document.GetRootNode(), "c", DclConfigObject::REMOTE_OPTIONS);
      m_model.ParseOptions(groups, "c", 1);
      return result;
    }
    case 1: {
      const Options document(ToJson(group));
      const int result =
          m_list->ParseGroup(document.GetRootNode(), "d", DclConfigObject::VLAN_OPTIONS);
      expected = m_model.ParseGroup(group, "d", 0);
      return result;
    }
    default: {
      int result;
      {
        RandomObject parsed(m_list->GetRouter(), m_stage);
        parsed.SetUp(m_list->GetRouter().GetVlan(), group);
        result = m_list->FindNewObjectAndUpdate(&parsed);
      }
      expected = m_model.FindNewObjectAndUpdate(group);
      return result;
    }
  }
}

int ConfigListAtRandom::RunQuery(int& expected) {
  const unsigned short vlan = m_routers[Below(VLANS)].GetVlan();
  const unsigned int id = 1 + Below(10);
  switch (Below(3)) {
    case 0:
      expected = m_model.CheckInMib(vlan, id);
      return m_list->CheckInMib(vlan, id);
    case 1: {
      DclConfigDisplayFilter filter;
      filter.vlan = OneIn(2) ? 0 : vlan;
      filter.id = OneIn(2) ? 0 : id;
      m_list->DisplayList(nullptr, filter);
      m_model.DisplayList(filter.vlan, filter.id);
      return expected = 0;
    }
    default: {
      const unsigned int stopAt =
          OneIn(2) ? ~0u : Below(static_cast<unsigned int>(m_stage.addresses.size()));
      Visitor visitor(m_stage, stopAt);
      expected = m_model.ForEach(stopAt);
      return m_list->ForEach(&visitor);
    }
  }
}

void ConfigListAtRandom::RunFromOutside() {
  switch (Below(20)) {
    case 0:
      m_list->AppendNull();
      m_model.AppendNull();
      break;
    case 1:
    case 2:
    case 3:
    case 4:
      m_router = Below(VLANS);
      m_list->SetRouter(&m_routers[m_router]);
      m_model.SetRouterVlan(m_routers[m_router].GetVlan());
      break;
    default:
      if (m_model.Size() > 0) {
        const unsigned int position = Below(static_cast<unsigned int>(m_model.Size()));
        const bool inMib = OneIn(2);
        const bool actionReq = OneIn(2);
        m_list->SetFlags(position, inMib, actionReq);
        m_model.SetFlags(position, inMib, actionReq);
      }
  }
}

int ConfigListAtRandom::RunBoth(int& expected) {
  const unsigned int vlan = m_routers[Below(VLANS)].GetVlan();
  const unsigned int dice = Below(100);
  if (dice < 36) {
    RunParse();
  } else if (dice < 55) {
    return RunGroups(expected);
  } else if (dice < 64) {
    return RunQuery(expected);
  } else if (dice < 76) {
    RunFromOutside();
  } else if (dice < 80) {
    m_list->CommitToMib();
    m_model.CommitToMib();
  } else if (dice < 86) {
    m_list->Clear(vlan);
    m_model.Clear(vlan);
  } else if (dice < 97) {
    const bool suspend = OneIn(2);
    m_list->Clear(vlan, suspend);
    m_model.Clear(vlan, suspend);
  } else if (dice < 98) {
    m_list->SetDestroy();
    m_model.SetDestroy();
  } else if (dice < 99) {
    m_list->DeleteOptions("any", DclConfigObject::VLAN_OPTIONS);
    m_model.DeleteOptions();
  } else {
    m_list->Clear();
    m_model.Clear();
  }
  return expected = 0;
}

// The reports without their line numbers.
std::vector<std::string> WithoutLines(std::vector<std::string> assertions) {
  for (std::string& assertion : assertions) {
    assertion.resize(assertion.rfind('|'));
  }
  return assertions;
}

TEST_F(ConfigListAtRandom, BehavesLikeTheModel) {
  const unsigned int seed = test_models::Random().GetSeed();
  const unsigned int operations = test_models::Scaled(200000);
  m_random.seed(seed);
  m_model.SetRouterVlan(m_routers[0].GetVlan());

  test_support::TraceCapture capture;
  for (unsigned int i = 0; i < operations; ++i) {
    SCOPED_TRACE("operation " + std::to_string(i) + " of seed " + std::to_string(seed));
    int expectedResult = 0;
    const int result = RunBoth(expectedResult);
    const Outcome expected = m_model.Take();
    ASSERT_EQ(result, expectedResult);
    ASSERT_EQ(m_stage.events, expected.events);
    ASSERT_EQ(capture.Take(), expected.traces);
    ASSERT_EQ(WithoutLines(capture.TakeAssertions()), expected.assertions);
    ASSERT_EQ(m_list->GetStates(), expected.objects);
    m_stage.events.clear();
  }

  // The end of the list.
  m_list.reset();
  m_model.Clear();
  ASSERT_EQ(m_stage.events, m_model.Take().events);
  EXPECT_TRUE(m_stage.alive.empty());

  for (const auto& [what, count] : m_model.GetCounts().of) {
    test_models::ExpectAtLeast(count, test_models::Scaled(1000), what);
  }
  test_models::ExpectAtLeast(m_model.GetCounts().of.size(), 15, "kinds of these");
}

}  // namespace
