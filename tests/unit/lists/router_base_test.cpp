// The base of the protocol routers.
#include "vantacore/dc_router_base.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "test_objects.h"
#include "tests/support/json_text.h"
#include "tests/support/trace_capture.h"

namespace {

using config_test::TestList;
using config_test::TestRouter;
using config_test::World;
using test_support::Node;
using test_support::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace Tarsel;

static_assert(std::is_abstract_v<DcRouterBase>);
static_assert(std::is_abstract_v<DcProtoConfigBase>);
static_assert(std::is_abstract_v<DcProtoInterfaceBase>);
static_assert(std::is_same_v<std::underlying_type_t<DcProtoInterfaceBase::ConfigStatus>, int>,
              "other values are legal");
static_assert(std::is_same_v<std::underlying_type_t<DcProtoInterfaceBase::IfStatus>, int>,
              "other values are legal");

using ConfigStatus = DcProtoInterfaceBase::ConfigStatus;
using IfStatus = DcProtoInterfaceBase::IfStatus;
constexpr auto VLAN_OPTIONS = DclConfigObject::VLAN_OPTIONS;
constexpr auto REMOTE_OPTIONS = DclConfigObject::REMOTE_OPTIONS;

std::string Tag(const OptionsNode& node) {
  string tag;
  node.GetAsString(tag, "tag");
  return tag.c_str();
}

// A protocol configuration without interfaces.
class PlainConfig : public DcProtoConfigBase {
 public:
  explicit PlainConfig(World& world) : m_world(world) {}
  ~PlainConfig() override { m_world.calls.push_back("config gone"); }
  void ParseOptions(const OptionsNode& node, const string& name,
                    DclConfigObject::OptionType type) override {
    m_world.calls.push_back("parse " + Tag(node) + " " + name.c_str() + " " + std::to_string(type));
  }
  void DeleteOptions(const string& name, DclConfigObject::OptionType type) override {
    m_world.calls.push_back(std::string("withdraw ") + name.c_str() + " " + std::to_string(type));
  }

 private:
  World& m_world;
};

class InterfaceConfig : public DcProtoInterfaceBase {
 public:
  explicit InterfaceConfig(World& world) : m_world(world) {}
  ~InterfaceConfig() override { m_world.calls.push_back("config gone"); }
  void ParseOptions(const OptionsNode& node, const string& name,
                    DclConfigObject::OptionType type) override {
    m_world.calls.push_back("parse " + Tag(node) + " " + name.c_str() + " " + std::to_string(type));
    node.AsVal(enabled, "enabled");
  }
  void DeleteOptions(const string& name, DclConfigObject::OptionType type) override {
    m_world.calls.push_back(std::string("withdraw ") + name.c_str() + " " + std::to_string(type));
  }
  bool IsEnabled() override {
    m_world.calls.push_back("enabled?");
    return enabled;
  }
  void Display(DcConsole*) override { m_world.calls.push_back("display"); }
  bool IsReady() override { return ready; }
  bool IsReady(unsigned int ifIndex) override { return readyInterfaces[ifIndex]; }
  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override {
    m_world.calls.push_back("config if " + std::to_string(ifIndex) + " status " +
                            std::to_string(status));
  }
  void ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) override {
    m_world.calls.push_back("config if " + std::to_string(ifIndex) + " address " +
                            address.ToString().c_str());
  }

  bool enabled = true;
  bool ready = false;
  std::map<unsigned int, bool> readyInterfaces;

 private:
  World& m_world;
};

// ---- a router without an interface protocol's configuration

TEST(RouterTest, NameVlanAndDisplayName) {
  const TestRouter router(12, nullptr, "OSPF");
  EXPECT_EQ(router.GetName(), "OSPF");
  EXPECT_EQ(router.GetVlan(), 12);
  EXPECT_EQ(router.GetDisplayName(), "OSPF:12");
  EXPECT_EQ(TestRouter(65535, nullptr, "").GetDisplayName(), ":65535");
}

TEST(RouterTest, StatusDecidesWithoutAnInterfaceProtocol) {
  TestRouter router(12);
  EXPECT_EQ(router.GetInterface(), nullptr);
  EXPECT_FALSE(router.IsEnabled());
  EXPECT_FALSE(router.IsReady());
  router.SetStatus(DcProtoInterfaceBase::ENABLED);
  EXPECT_TRUE(router.IsEnabled());
  EXPECT_FALSE(router.IsReady());
  router.SetStatus(DcProtoInterfaceBase::READY);
  EXPECT_TRUE(router.IsEnabled());
  EXPECT_TRUE(router.IsReady());
  for (int other : {3, -1, 4711}) {
    router.SetStatus(static_cast<ConfigStatus>(other));
    EXPECT_TRUE(router.IsEnabled()) << other;
    EXPECT_FALSE(router.IsReady()) << other;
  }
  router.SetStatus(DcProtoInterfaceBase::DISABLED);
  EXPECT_FALSE(router.IsEnabled());
}

TEST(RouterTest, TheTextOfSetStatusIsIgnored) {
  for (const char* text : {"", "OSPF", "disabled", static_cast<const char*>(nullptr)}) {
    for (int value : {0, 1, 2, 3, 2}) {
      TestRouter plain(12);
      TestRouter texted(12);
      plain.SetStatus(static_cast<ConfigStatus>(value));
      static_cast<DcRouterBase&>(texted).SetStatus(string(text), static_cast<ConfigStatus>(value));
      EXPECT_EQ(texted.IsEnabled(), plain.IsEnabled());
      EXPECT_EQ(texted.IsReady(), plain.IsReady());
      EXPECT_EQ(texted.IsEnabled(), value != 0);
    }
  }
}

TEST(RouterTest, InterfaceStatus) {
  TestRouter router(12);
  EXPECT_FALSE(router.IsEnabled(5));
  EXPECT_FALSE(router.IsReady(5));
  router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_NOT_READY);
  EXPECT_TRUE(router.IsEnabled(5));
  EXPECT_FALSE(router.IsReady(5));
  router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_READY);
  EXPECT_TRUE(router.IsEnabled(5));
  EXPECT_TRUE(router.IsReady(5));
  router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_NOT_READY);
  EXPECT_FALSE(router.IsReady(5)) << "the entry is updated";
  for (int other : {3, -1, 4711}) {
    router.SetInterfaceStatus(5, static_cast<IfStatus>(other));
    EXPECT_TRUE(router.IsReady(5)) << other;
    router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_NOT_READY);
  }
  router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_GONE);
  EXPECT_FALSE(router.IsEnabled(5));
  EXPECT_FALSE(router.IsReady(5));
}

TEST(RouterTest, RemovingAnUnknownInterfaceChangesNothing) {
  TestRouter router(12);
  router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_READY);
  router.SetInterfaceStatus(7, DcProtoInterfaceBase::IF_GONE);
  EXPECT_FALSE(router.IsEnabled(7));
  EXPECT_TRUE(router.IsReady(5));
}

TEST(RouterTest, TheRecordOfInterfacesKeepsAll32BitsOfTheirIndices) {
  TestRouter router(12);
  router.SetInterfaceStatus(65536 + 5, DcProtoInterfaceBase::IF_READY);
  EXPECT_TRUE(router.IsEnabled(65536 + 5));
  EXPECT_TRUE(router.IsReady(65536 + 5));
  EXPECT_FALSE(router.IsEnabled(5));
  EXPECT_FALSE(router.IsReady(5));
  router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_GONE);
  EXPECT_TRUE(router.IsEnabled(65536 + 5));
}

TEST(RouterTest, AWithdrawalLeavesTheStatusOfRouterAndInterfaces) {
  TestRouter router(12);
  router.SetStatus(DcProtoInterfaceBase::READY);
  router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_READY);
  router.DeleteOptions("file", VLAN_OPTIONS);
  EXPECT_TRUE(router.IsReady());
  EXPECT_TRUE(router.IsReady(5));
}

TEST(RouterTest, FormatsFourBytes) {
  const unsigned char bytes[] = {192, 0, 2, 255};
  EXPECT_EQ(TestRouter(1).FormatIpv4Addr(bytes), "192.0.2.255");
}

TEST(RouterTest, WithoutAConfigurationEverythingIsSkipped) {
  TestRouter router(12);
  const Node node(R"({"TEST": {"tag": "x"}})");
  const Node empty("{}");
  EXPECT_EQ(router.Reload(node, "file", VLAN_OPTIONS), 1);
  EXPECT_EQ(router.Reload(empty, "file", VLAN_OPTIONS), 1);
  router.DeleteOptions("file", VLAN_OPTIONS);
  router.ProcessInterfaceStatusChange(1, 1);
  router.ProcessIPAddressChange(1, IP4_ANY);
  EXPECT_THAT(router.GetConfigLists(), IsEmpty());
}

TEST(RouterTest, APlainConfigurationIsParsedAndGetsNoLists) {
  World world;
  TestRouter router(12, new PlainConfig(world));
  bool asked = false;
  router.createLists = [&asked](DcConfigLists&) { return asked = true; };
  EXPECT_EQ(router.GetInterface(), nullptr);
  router.SetStatus(DcProtoInterfaceBase::READY);
  const Node node(R"({"TEST": {"tag": "x"}})");
  EXPECT_EQ(router.Reload(node, "file", REMOTE_OPTIONS), 1);
  EXPECT_THAT(world.Take(), ElementsAre("parse x file 1"));
  EXPECT_FALSE(asked);
  EXPECT_THAT(router.GetConfigLists(), IsEmpty());
  router.ProcessInterfaceStatusChange(1, 1);
  router.ProcessIPAddressChange(1, IP4_ANY);
  EXPECT_THAT(world.calls, IsEmpty());
  router.DeleteOptions("file", static_cast<DclConfigObject::OptionType>(7));
  EXPECT_THAT(world.calls, ElementsAre("withdraw file 7"));
}

// ---- a router with an interface protocol's configuration

// The object 1 for the first list and 2 for the second.
const char ONE_FOR_EACH_LIST[] =
    R"({"TEST": {"tag": "x", "LIST1": [{"Name": "T_12_1", "value": "a"}],
                 "LIST2": [{"Name": "T_12_2", "value": "b"}]}})";

class InterfaceRouterTest : public testing::Test {
 protected:
  InterfaceRouterTest() {
    router.createLists = [this](DcConfigLists& lists) {
      world.calls.push_back(std::string("create ") + lists.GetName().c_str() + " " +
                            std::to_string(lists.GetType()));
      lists.AddList(new TestList(&router, world, "first", "LIST1"));
      lists.AddList(new TestList(&router, world, "second", "LIST2"));
      return !refuse;
    };
  }
  int Reload(const std::string& json, const char* source = "file",
             DclConfigObject::OptionType type = VLAN_OPTIONS) {
    const Node node(json);
    return router.Reload(node, source, type);
  }
  void LoadOne(const char* source) {
    Reload(ONE_FOR_EACH_LIST, source);
    world.Take();
    trace.Take();
  }
  std::vector<std::string> Sources() const {
    std::vector<std::string> sources;
    for (const auto& entry : router.GetConfigLists()) {
      sources.push_back(entry.first.c_str());
    }
    return sources;
  }
  TestList& List(const char* source, std::size_t index) {
    return static_cast<TestList&>(*router.GetConfigLists().at(source)->GetLists().at(index));
  }

  TraceCapture trace;
  World world;
  InterfaceConfig* config = new InterfaceConfig(world);
  TestRouter router{12, config};
  bool refuse = false;
};

TEST_F(InterfaceRouterTest, TheConfigurationDecides) {
  EXPECT_EQ(router.GetInterface(), config);
  router.SetStatus(DcProtoInterfaceBase::DISABLED);
  config->enabled = true;
  EXPECT_TRUE(router.IsEnabled());
  EXPECT_FALSE(router.IsReady());
  config->ready = true;
  EXPECT_TRUE(router.IsReady());
  router.SetStatus(DcProtoInterfaceBase::READY);
  config->enabled = false;
  config->ready = false;
  EXPECT_FALSE(router.IsEnabled());
  EXPECT_FALSE(router.IsReady());
}

TEST_F(InterfaceRouterTest, OnlyTheReadinessOfAnInterfaceIsTheConfigurations) {
  config->readyInterfaces[5] = true;
  EXPECT_TRUE(router.IsReady(5));
  EXPECT_FALSE(router.IsEnabled(5)) << "the router's own record is asked";
  router.SetInterfaceStatus(6, DcProtoInterfaceBase::IF_READY);
  EXPECT_TRUE(router.IsEnabled(6));
  EXPECT_FALSE(router.IsReady(6));
  config->readyInterfaces[65536 + 6] = true;
  EXPECT_TRUE(router.IsReady(65536 + 6));
}

TEST_F(InterfaceRouterTest, NeitherEventsNorDocumentsChangeTheRecordOfInterfaces) {
  LoadOne("file");
  router.SetInterfaceStatus(5, DcProtoInterfaceBase::IF_READY);
  router.ProcessInterfaceStatusChange(5, 2);
  router.ProcessInterfaceStatusChange(6, 1);
  EXPECT_TRUE(router.IsEnabled(5));
  EXPECT_FALSE(router.IsEnabled(6));
  Reload(R"({"TEST": {"enabled": false}})");
  EXPECT_TRUE(router.IsEnabled(5));
  router.DeleteOptions("file", VLAN_OPTIONS);
  EXPECT_TRUE(router.IsEnabled(5));
}

TEST_F(InterfaceRouterTest, AFirstEnablingReloadCreatesTheListsAndParsesThem) {
  EXPECT_EQ(Reload(ONE_FOR_EACH_LIST, "file", REMOTE_OPTIONS), 1);
  EXPECT_THAT(world.calls, ElementsAre("parse x file 1", "enabled?", "create file 1", "commit 1=a",
                                       "commit 2=b"));
  EXPECT_THAT(Sources(), ElementsAre("file"));
  EXPECT_EQ(router.GetConfigLists().at("file")->GetName(), "file");
  EXPECT_EQ(router.GetConfigLists().at("file")->GetType(), REMOTE_OPTIONS);
  EXPECT_EQ(List("file", 0).At(0)->GetName(), "file");
  EXPECT_EQ(List("file", 0).At(0)->GetType(), REMOTE_OPTIONS);
  EXPECT_EQ(List("file", 0).At(0)->GetVlan(), 12);
}

TEST_F(InterfaceRouterTest, TheRouterMayMakeTheListsOfASourceItself) {
  struct MoreThanLists : DcConfigLists {
    using DcConfigLists::DcConfigLists;
  };
  router.makeLists = [](const string& source, DclConfigObject::OptionType type) {
    return new MoreThanLists(source, type);
  };
  LoadOne("file");
  EXPECT_NE(dynamic_cast<MoreThanLists*>(router.GetConfigLists().at("file")), nullptr);
}

TEST_F(InterfaceRouterTest, ARouterThatMakesNoListsGetsNone) {
  router.makeLists = [](const string&, DclConfigObject::OptionType) { return nullptr; };
  LoadOne("file");
  EXPECT_THAT(Sources(), IsEmpty());
}

TEST_F(InterfaceRouterTest, ALaterReloadKeepsTheListsAndSendsDifferencesOnly) {
  LoadOne("file");
  const TestList* first = &List("file", 0);
  Reload(R"({"TEST": {"tag": "y", "LIST1": [{"Name": "T_12_1", "value": "a"}],
                      "LIST2": [{"Name": "T_12_2", "value": "B"}]}})");
  EXPECT_THAT(world.calls, ElementsAre("parse y file 0", "enabled?", "update 2=B", "commit 2=B"));
  EXPECT_EQ(&List("file", 0), first);
}

TEST_F(InterfaceRouterTest, ASourceOfAnotherKindKeepsItsListsAndSendsNothingAgain) {
  LoadOne("file");
  const DcConfigLists* lists = router.GetConfigLists().at("file");
  Reload(ONE_FOR_EACH_LIST, "file", REMOTE_OPTIONS);
  EXPECT_THAT(world.calls, ElementsAre("parse x file 1", "enabled?"));
  EXPECT_EQ(router.GetConfigLists().at("file"), lists);
}

TEST_F(InterfaceRouterTest, EachSourceHasListsOfItsOwn) {
  LoadOne("b");
  LoadOne("a");
  EXPECT_THAT(Sources(), ElementsAre("a", "b"));
  router.DeleteOptions("a", VLAN_OPTIONS);
  EXPECT_THAT(world.Take(), ElementsAre("withdraw a 0", "delete 1=a", "delete 2=b"));
  EXPECT_THAT(Sources(), ElementsAre("b"));
  EXPECT_EQ(List("b", 0).Contents(), "1=a");
}

TEST_F(InterfaceRouterTest, AReloadWithoutTheMemberWithdrawsTheSource) {
  for (const char* json : {"{}", R"({"TEST": null})", R"({"TEST": {}})", R"({"TEST": []})", "null",
                           "5", "[1]", R"({"test": {"tag": "x"}})"}) {
    LoadOne("file");
    LoadOne("other");
    EXPECT_EQ(Reload(json, "file", REMOTE_OPTIONS), 1);
    EXPECT_THAT(world.Take(), ElementsAre("withdraw file 1", "delete 1=a", "delete 2=b")) << json;
    EXPECT_THAT(Sources(), ElementsAre("other")) << json;
  }
  EXPECT_THAT(trace.Lines(), IsEmpty()) << "nothing is sent";
}

TEST_F(InterfaceRouterTest, WithdrawingAnUnknownSourceTellsTheConfigurationOnly) {
  router.DeleteOptions("file", VLAN_OPTIONS);
  EXPECT_THAT(world.calls, ElementsAre("withdraw file 0"));
}

TEST_F(InterfaceRouterTest, TheWithdrawnNameMayBeThatOfTheListsThatGo) {
  LoadOne("file");
  router.DeleteOptions(router.GetConfigLists().begin()->first, VLAN_OPTIONS);
  EXPECT_THAT(world.Take(), ElementsAre("withdraw file 0", "delete 1=a", "delete 2=b"));
  LoadOne("file");
  const Node empty("{}");
  router.Reload(empty, router.GetConfigLists().begin()->second->GetName(), VLAN_OPTIONS);
  EXPECT_THAT(world.Take(), ElementsAre("withdraw file 0", "delete 1=a", "delete 2=b"));
  EXPECT_THAT(Sources(), IsEmpty());
}

// A protocol configuration that keeps the name of its source, and forgets it when that is
// withdrawn.
class NamedConfig : public InterfaceConfig {
 public:
  using InterfaceConfig::InterfaceConfig;
  void DeleteOptions(const string&, DclConfigObject::OptionType) override { source = ""; }

  string source = "file";
};

TEST(RouterTest, TheWithdrawnNameMayBelongToTheConfiguration) {
  World world;
  auto* config = new NamedConfig(world);
  TestRouter router(12, config);
  const Node node(R"({"TEST": {"tag": "x"}})");
  router.Reload(node, "file", VLAN_OPTIONS);
  ASSERT_EQ(router.GetConfigLists().size(), 1u);
  router.DeleteOptions(config->source, VLAN_OPTIONS);
  EXPECT_THAT(router.GetConfigLists(), IsEmpty());
}

TEST_F(InterfaceRouterTest, ADisablingReloadDropsTheSourcesListsWithoutSending) {
  LoadOne("file");
  LoadOne("other");
  EXPECT_EQ(Reload(R"({"TEST": {"tag": "x", "enabled": false,
                                "LIST1": [{"Name": "T_12_1", "value": "new"}]}})"),
            1);
  EXPECT_THAT(world.calls, ElementsAre("parse x file 0", "enabled?", "delete 1=a", "delete 2=b"));
  EXPECT_THAT(Sources(), ElementsAre("other"));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(InterfaceRouterTest, ADisablingReloadOfAnUnknownSourceCreatesNothing) {
  config->enabled = false;
  EXPECT_EQ(Reload(R"({"TEST": {"tag": "x"}})"), 1);
  EXPECT_THAT(world.calls, ElementsAre("parse x file 0", "enabled?"));
  EXPECT_THAT(Sources(), IsEmpty());
}

TEST_F(InterfaceRouterTest, EnablingAgainBuildsTheListsAfresh) {
  LoadOne("file");
  Reload(R"({"TEST": {"enabled": false}})");
  world.Take();
  Reload(R"({"TEST": {"tag": "x", "enabled": true,
                      "LIST1": [{"Name": "T_12_1", "value": "a"}]}})");
  EXPECT_THAT(world.calls,
              ElementsAre("parse x file 0", "enabled?", "create file 0", "commit 1=a"));
}

TEST_F(InterfaceRouterTest, ARefusedSourceGetsNoListsAndIsAskedAgain) {
  refuse = true;
  EXPECT_EQ(Reload(R"({"TEST": {"tag": "x", "LIST1": [{"Name": "T_12_1"}]}})"), 1);
  EXPECT_THAT(world.Take(), ElementsAre("parse x file 0", "enabled?", "create file 0"));
  EXPECT_THAT(Sources(), IsEmpty());
  EXPECT_EQ(Reload(R"({"TEST": {"tag": "x", "LIST1": [{"Name": "T_12_1"}]}})"), 1);
  EXPECT_THAT(world.Take(), ElementsAre("parse x file 0", "enabled?", "create file 0"));
  refuse = false;
  EXPECT_EQ(Reload(R"({"TEST": {"tag": "x", "LIST1": [{"Name": "T_12_1"}]}})"), 1);
  EXPECT_THAT(world.Take(),
              ElementsAre("parse x file 0", "enabled?", "create file 0", "commit 1="));
  EXPECT_THAT(Sources(), ElementsAre("file"));
}

TEST_F(InterfaceRouterTest, WhatARefusedSourceHadAlreadyAddedIsDeleted) {
  router.createLists = [this](DcConfigLists& lists) {
    auto* list = new TestList(&router, world);
    list->Append(12, 1);
    lists.AddList(list);
    return false;
  };
  Reload(R"({"TEST": {"tag": "x"}})");
  EXPECT_EQ(world.live, 0);
}

TEST_F(InterfaceRouterTest, AMemberThatIsNoObjectIsParsedAllTheSame) {
  LoadOne("file");
  EXPECT_EQ(Reload(R"({"TEST": 5})"), 1);
  EXPECT_THAT(world.calls, ElementsAre("parse  file 0", "enabled?", "destroy 1=a", "commit 1=a",
                                       "delete 1=a", "destroy 2=b", "commit 2=b", "delete 2=b"));
}

TEST_F(InterfaceRouterTest, AStatusChangeReachesTheConfigurationAndThenEveryList) {
  LoadOne("b");
  LoadOne("a");
  router.ProcessInterfaceStatusChange(7, 2);
  EXPECT_THAT(world.calls, ElementsAre("config if 7 status 2", "list first if 7 status 2",
                                       "list second if 7 status 2", "list first if 7 status 2",
                                       "list second if 7 status 2"));
}

TEST_F(InterfaceRouterTest, AStatusChangeVisitsSourcesInNameOrder) {
  router.createLists = [this](DcConfigLists& lists) {
    lists.AddList(new TestList(&router, world, lists.GetName().c_str(), "LIST"));
    return true;
  };
  for (const char* source : {"b", "c", "a", "B", "a.json"}) {
    Reload(R"({"TEST": {"tag": "x"}})", source);
  }
  world.Take();
  router.ProcessInterfaceStatusChange(4294967295u, 77);
  EXPECT_THAT(world.calls,
              ElementsAre("config if 4294967295 status 77", "list B if 4294967295 status 77",
                          "list a if 4294967295 status 77", "list a.json if 4294967295 status 77",
                          "list b if 4294967295 status 77", "list c if 4294967295 status 77"));
}

TEST_F(InterfaceRouterTest, AnAddressChangeReachesTheConfigurationOnly) {
  LoadOne("file");
  router.ProcessIPAddressChange(4294967295u, Ip4Addr(10, 1, 2, 3));
  EXPECT_THAT(world.calls, ElementsAre("config if 4294967295 address 10.1.2.3"));
}

TEST_F(InterfaceRouterTest, ListsAreParsedInTheOrderInWhichTheyWereAdded) {
  router.createLists = [this](DcConfigLists& lists) {
    lists.AddList(new TestList(&router, world, "z", "LIST2"));
    lists.AddList(new TestList(&router, world, "a", "LIST1"));
    return true;
  };
  Reload(R"({"TEST": {"tag": "x", "LIST1": [{"Name": "T_12_1", "value": "a"}],
                      "LIST2": [{"Name": "T_12_2", "value": "b"}]}})");
  EXPECT_THAT(world.calls, ElementsAre("parse x file 0", "enabled?", "commit 2=b", "commit 1=a"));
}

TEST_F(InterfaceRouterTest, AListThatCouldNotBeMadeIsPassedOver) {
  router.createLists = [this](DcConfigLists& lists) {
    lists.AddList(nullptr);
    lists.AddList(new TestList(&router, world, "only", "LIST1"));
    return true;
  };
  Reload(R"({"TEST": {"tag": "x", "LIST1": [{"Name": "T_12_1", "value": "a"}]}})");
  router.ProcessInterfaceStatusChange(1, 1);
  EXPECT_THAT(world.calls, ElementsAre("parse x file 0", "enabled?", "commit 1=a",
                                       "config if 1 status 1", "list only if 1 status 1"));
}

// ---- ends

TEST(RouterEndTest, TheConfigurationGoesFirstThenTheListsAndNothingIsSent) {
  TraceCapture trace;
  World world;
  {
    TestRouter router(12, new InterfaceConfig(world));
    router.createLists = [&](DcConfigLists& lists) {
      lists.AddList(new TestList(&router, world, "list", "LIST"));
      return true;
    };
    for (const char* source : {"b", "a"}) {
      const Node node(std::string(R"({"TEST": {"LIST": [{"Name": "T_12_1", "value": ")") + source +
                      R"("}]}})");
      router.Reload(node, source, VLAN_OPTIONS);
    }
    world.Take();
    trace.Take();
  }
  EXPECT_THAT(world.calls, ElementsAre("config gone", "delete 1=a", "delete 1=b"));
  EXPECT_THAT(trace.Lines(), IsEmpty());
  EXPECT_EQ(world.live, 0);
}

// An object that asks its router for the protocol configuration while it goes.
class AskingObject : public config_test::TestObject {
 public:
  AskingObject(DcRouterBase& owner, World& w, DcProtoInterfaceBase*& answer)
      : TestObject(owner, w), m_answer(answer) {}
  ~AskingObject() override { m_answer = GetRouter().GetInterface(); }

 private:
  DcProtoInterfaceBase*& m_answer;
};

TEST(RouterEndTest, AnObjectThatGoesWithItsRouterFindsNoConfiguration) {
  World world;
  auto* config = new InterfaceConfig(world);
  DcProtoInterfaceBase* answer = config;
  {
    TestRouter router(12, config);
    router.createLists = [&](DcConfigLists& lists) {
      auto* list = new TestList(&router, world);
      list->Append(new AskingObject(router, world, answer))->SetKey(12, 0);
      lists.AddList(list);
      return true;
    };
    const Node node(R"({"TEST": {"LIST": [{"value": ""}]}})");
    router.Reload(node, "file", VLAN_OPTIONS);
    ASSERT_EQ(answer, config);
  }
  EXPECT_EQ(answer, nullptr);
}

TEST(RouterEndTest, AnObjectThatGoesWithItsRouterFindsNeitherItsSourceNorEarlierOnes) {
  World world;
  std::vector<std::string> left;
  {
    TestRouter router(12, new InterfaceConfig(world));
    router.createLists = [&](DcConfigLists& lists) {
      lists.AddList(new TestList(&router, world));
      return true;
    };
    world.onDelete = [&] {
      std::string sources;
      for (const auto& entry : router.GetConfigLists()) {
        sources += entry.first.c_str();
      }
      left.push_back(sources);
    };
    const Node node(R"({"TEST": {"LIST": [{"Name": "T_12_1"}]}})");
    for (const char* source : {"a", "b", "c"}) {
      router.Reload(node, source, VLAN_OPTIONS);
    }
  }
  EXPECT_THAT(left, ElementsAre("bc", "c", ""));
}

class EndingList : public TestList {
 public:
  using TestList::TestList;
  ~EndingList() override { world.calls.push_back("list gone"); }
};

TEST(ConfigListsTest, TheEndClearsAndDeletesTheLists) {
  TraceCapture trace;
  World world;
  TestRouter router(12);
  DcConfigLists* lists =
      static_cast<DcRouterBase&>(router).CreateConfigLists("source", REMOTE_OPTIONS);
  ASSERT_NE(lists, nullptr);
  EXPECT_EQ(lists->GetName(), "source");
  EXPECT_EQ(lists->GetType(), REMOTE_OPTIONS);
  EXPECT_THAT(lists->GetLists(), IsEmpty());
  EXPECT_THAT(router.GetConfigLists(), IsEmpty()) << "they are the caller's";
  for (unsigned int id = 1; id <= 2; ++id) {
    auto* list = new EndingList(&router, world);
    list->Append(12, id);
    lists->AddList(list);
  }
  delete lists;
  EXPECT_THAT(world.calls, ElementsAre("delete 1=", "list gone", "delete 2=", "list gone"));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

}  // namespace
