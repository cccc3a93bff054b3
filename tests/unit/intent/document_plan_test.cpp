#include "device/intent/document_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/documents/reading.h"

namespace {

using documents::ConfigFiles;
using Tarsel::OptionsNode;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::string Document(const std::string& entries) {
  return R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}";
}

std::shared_ptr<documents::ConfigFile> Vlans(const std::string& entries) {
  auto read = documents_tests::ReadVlans(Document(entries));
  EXPECT_THAT(read.Lines(), IsEmpty());
  return std::make_shared<documents::ConfigFile>(std::move(read.file));
}

std::shared_ptr<documents::ConfigFile> Remote(const std::string& name, const std::string& text) {
  auto read = documents_tests::ReadRemote(text);
  EXPECT_THAT(read.Lines(), IsEmpty());
  read.file.name = name;
  return std::make_shared<documents::ConfigFile>(std::move(read.file));
}

// What can be read of a node, in its order: objects in {}, arrays in [].
std::string TextOf(const OptionsNode& node, const OptionsNode& parent, const char* name) {
  if (node.IsNull()) return "null";
  const bool isContainer = node.IsObject() || node.IsEmpty() || node.begin() != node.end();
  if (!isContainer) {
    Tarsel::string text;
    int number = 0;
    unsigned int large = 0;
    bool flag = false;
    const std::string kinds = std::string(parent.AsVal(flag, name) ? "b" : "") +
                              (parent.AsVal(number, name) ? "i" : "") +
                              (parent.AsVal(large, name) ? "u" : "");
    parent.GetAsString(text, name);
    return kinds + text.c_str();
  }
  std::string text;
  for (auto child = node.begin(); child != node.end(); ++child) {
    const Tarsel::string member = child.GetName();
    text += (text.empty() ? "" : " ");
    if (node.IsObject()) text += member.c_str() + std::string(":");
    text += TextOf(*child, node, member.c_str());
  }
  return node.IsObject() ? "{" + text + "}" : "[" + text + "]";
}

std::string TextOf(const Tarsel::Options& document) {
  return TextOf(document.GetRootNode(), OptionsNode(), "");
}

std::string TextOf(const intent::DocumentStep& step) {
  if (const auto* const member = std::get_if<intent::EmptiedMember>(&step)) {
    return member->document + " empties " + std::to_string(member->vlan) + " " +
           TextOf(*member->entry);
  }
  if (const auto* const load = std::get_if<intent::DocumentLoad>(&step)) {
    return load->file->name + (load->cut ? " " + TextOf(*load->cut) : "");
  }
  return std::get<intent::DocumentWithdrawal>(step).name + " goes";
}

std::vector<std::string> StepsOf(const ConfigFiles& applied, const ConfigFiles& wanted) {
  std::vector<std::string> steps;
  for (const auto& step : intent::PlanDocuments(applied, wanted).steps) {
    steps.push_back(TextOf(step));
  }
  return steps;
}

const char* const RIP_ROWS =
    R"("RIPV2": {"enabled": true, "IF_LIST": {"r": {"Name": "RIP_10_3", "cost": 2}}})";
const std::string TEN = R"("a": {"vid": 10)";
const std::string RUNS = TEN + R"(, "RIPV2": {"enabled": true}})";
const std::string RUNS_NOT = TEN + "}";

std::shared_ptr<documents::ConfigFile> RemoteRows(const std::string& name = "remote/a.json") {
  return Remote(name, Document(TEN + ", " + RIP_ROWS + "}"));
}

TEST(DocumentPlan, HandsOverAllAtTheStart) {
  const ConfigFiles wanted = {Vlans(RUNS), RemoteRows()};
  EXPECT_THAT(StepsOf({}, wanted), ElementsAre("vlans.json", "remote/a.json"));
  EXPECT_THAT(intent::PlanDocuments({}, wanted).stopping, IsEmpty());
}

TEST(DocumentPlan, LeavesOutWhatTheLibraryHas) {
  const ConfigFiles applied = {Vlans(RUNS), RemoteRows()};
  EXPECT_THAT(StepsOf(applied, applied), IsEmpty());
  const auto changed = Vlans(RUNS + R"(, "b": {"vid": 20})");
  EXPECT_THAT(StepsOf(applied, {changed, applied[1]}), ElementsAre("vlans.json"))
      << "the remote document names no VLAN that comes";
}

TEST(DocumentPlan, WithdrawsDocumentsAfterAllOthersAndEmptiesThemFirst) {
  const ConfigFiles applied = {Vlans(RUNS), RemoteRows()};
  EXPECT_THAT(
      StepsOf(applied, {applied[0], Remote("remote/b.json", Document(RUNS_NOT))}),
      ElementsAre("remote/b.json", "remote/a.json empties 10 {RIPV2:{IF_LIST:{} enabled:btrue}}",
                  "remote/a.json goes"));
}

TEST(DocumentPlan, EmptiesAMemberThatGoesBeforeItsDocumentIsLoaded) {
  const ConfigFiles applied = {Vlans(RUNS), RemoteRows()};
  EXPECT_THAT(
      StepsOf(applied, {applied[0], Remote("remote/a.json", Document(RUNS_NOT))}),
      ElementsAre("remote/a.json empties 10 {RIPV2:{IF_LIST:{} enabled:btrue}}", "remote/a.json"));
}

TEST(DocumentPlan, EmptiesAllMembersOfAProtocolThatStopsBeforeAnythingElse) {
  const ConfigFiles applied = {Vlans(TEN + ", " + RIP_ROWS + "}"), RemoteRows(),
                               RemoteRows("remote/b.json")};
  const ConfigFiles wanted = {Vlans(TEN + R"(, "RIPV2": {"enabled": false}})"), applied[1],
                              Remote("remote/c.json", Document(""))};
  EXPECT_THAT(StepsOf(applied, wanted),
              ElementsAre("vlans.json empties 10 {RIPV2:{IF_LIST:{} enabled:btrue}}",
                          "remote/a.json empties 10 {RIPV2:{IF_LIST:{} enabled:bfalse}}",
                          "remote/b.json empties 10 {RIPV2:{IF_LIST:{} enabled:bfalse}}",
                          "vlans.json", "remote/a.json {VLAN_CONFIGURATIONS:{a:{vid:iu10}}}",
                          "remote/c.json", "remote/b.json goes"));
  EXPECT_THAT(intent::PlanDocuments(applied, wanted).stopping,
              ElementsAre(Pair(10, 1u << Tarsel::DcRouterMgr::PROTOCOL_RIPV2)));
}

// A VLAN document that disables a protocol may have rows for it all the same. They are read as long
// as anything enables it.
TEST(DocumentPlan, LetsNoRemoteDocumentKeepAProtocolThatStops) {
  const auto remote = Remote("remote/a.json", Document(TEN + R"(, "RIPV2": {"enabled": true}})"));
  EXPECT_THAT(StepsOf({Vlans(RUNS), remote}, {Vlans(RUNS_NOT), remote}),
              ElementsAre("remote/a.json empties 10 {RIPV2:{enabled:bfalse}}", "vlans.json",
                          "remote/a.json {VLAN_CONFIGURATIONS:{a:{vid:iu10}}}"));
}

TEST(DocumentPlan, LeavesTheMembersOfAVlanThatGoesAlone) {
  const ConfigFiles applied = {Vlans(RUNS + R"(, "b": {"vid": 20})"), RemoteRows()};
  const ConfigFiles wanted = {Vlans(R"("b": {"vid": 20})"), applied[1]};
  EXPECT_THAT(StepsOf(applied, wanted),
              ElementsAre("vlans.json", "remote/a.json {VLAN_CONFIGURATIONS:{}}"));
  EXPECT_THAT(intent::PlanDocuments(applied, wanted).stopping, IsEmpty());
}

TEST(DocumentPlan, HandsARemoteDocumentOverAgainWhenItsVlanOrProtocolComes) {
  const auto remote = RemoteRows();
  const ConfigFiles without = {Vlans(R"("b": {"vid": 20})"), remote};
  const ConfigFiles stopped = {Vlans(RUNS_NOT), remote};
  const ConfigFiles running = {Vlans(RUNS), remote};
  EXPECT_THAT(StepsOf(without, stopped),
              ElementsAre("vlans.json", "remote/a.json {VLAN_CONFIGURATIONS:{a:{vid:iu10}}}"));
  EXPECT_THAT(StepsOf(stopped, running), ElementsAre("vlans.json", "remote/a.json"));
}

TEST(DocumentPlan, GivesARemoteDocumentTheRowsOfAProtocolThatItSwitchesOff) {
  const auto remote = Remote(
      "remote/a.json",
      Document(TEN + R"(, "RIPV2": {"enabled": false, "IF_LIST": {"r": {"Name": "RIP_10_3"}}}})"));
  EXPECT_THAT(StepsOf({Vlans(RUNS), remote}, {Vlans(RUNS_NOT), remote}),
              ElementsAre("remote/a.json empties 10 {RIPV2:{IF_LIST:{} enabled:bfalse}}",
                          "vlans.json", "remote/a.json {VLAN_CONFIGURATIONS:{a:{vid:iu10}}}"));
}

// --- what a copy holds ---

TEST(DocumentCut, HasAllThatCanBeReadOfTheRest) {
  const std::string members =
      R"("BGP": {"any": [1, -2, 2.5, "t", true, null, {"a": {"b": []}}], "n": -7, "u": 4000000000,
          "d": 2.0, "e": 2.5, "big": 99999999999, "t": "5", "f": false, "nothing": null,
          "o": {}, "l": []})";
  const documents::VlanShapes shapes{documents::Protocols{nullptr, 0}};
  documents::ConfigFile file;
  file.name = "remote/a.json";
  file.type = Tarsel::DclConfigObject::REMOTE_OPTIONS;
  ASSERT_TRUE(documents::ReadVlanDocument(Document(TEN + ", " + members + R"(}, "b": {"vid": 20})"),
                                          shapes, file));
  ConfigFiles folder = {Vlans(R"("a": {"vid": 10, "BGP": {"enabled": true}})")};
  const auto cut = intent::CutDocument(file, intent::Scope(folder));
  ASSERT_NE(cut, nullptr);
  const OptionsNode whole = file.document.GetRootNode().GetChildNode("VLAN_CONFIGURATIONS");
  const OptionsNode copied = cut->GetRootNode().GetChildNode("VLAN_CONFIGURATIONS");
  EXPECT_EQ(TextOf(copied.GetChildNode("a"), copied, "a"),
            TextOf(whole.GetChildNode("a"), whole, "a"));
  EXPECT_TRUE(copied.GetChildNode("b").IsNull());
}

TEST(DocumentCut, KeepsAnArrayAnArray) {
  const auto remote = Remote("remote/a.json", R"({"VLAN_CONFIGURATIONS": [{"vid": 20},
      {"vid": 10, "RIPV2": {"IF_LIST": [{"Name": "RIP_10_3"}]}, "BGP": {"enabled": true}}]})");
  EXPECT_THAT(StepsOf({}, {Vlans(RUNS), remote}),
              ElementsAre("vlans.json",
                          "remote/a.json {VLAN_CONFIGURATIONS:[{RIPV2:{IF_LIST:[{Name:RIP_10_3}]}"
                          " vid:iu10}]}"));
}

TEST(DocumentCut, IsNoneWhereNothingHasToBeLeftOut) {
  const ConfigFiles folder = {Vlans(RUNS), RemoteRows()};
  const intent::Scope scope(folder);
  EXPECT_EQ(intent::CutDocument(*folder[0], scope), nullptr);
  EXPECT_EQ(intent::CutDocument(*folder[1], scope), nullptr);
}

}  // namespace
