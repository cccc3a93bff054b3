#include "device/views/folder_json.h"

#include <gtest/gtest.h>
#include <json/json.h>

#include <iterator>
#include <memory>
#include <sstream>

namespace views {
namespace {

std::string TextOf(View& view) {
  std::string text;
  for (int pieces = 0; view.Next(text) == View::Rest::MORE; ++pieces) {
    EXPECT_LT(pieces, 1000);
  }
  return text;
}

// The document, which is whole and ends with its line.
Json::Value Read(const AnyView& view) {
  const std::string text = TextOf(*view);
  EXPECT_FALSE(text.empty());
  EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
  Json::CharReaderBuilder builder;
  builder["failIfExtra"] = true;
  Json::Value value;
  std::string problem;
  std::istringstream stream(text);
  EXPECT_TRUE(Json::parseFromStream(builder, stream, &value, &problem)) << problem << text;
  return value;
}

Json::Value Read(FolderWord word, apply::Outcome outcome, std::optional<Effect> effect = {}) {
  return Read(ShowOutcome(word, std::make_shared<apply::Outcome>(std::move(outcome)), effect));
}

std::string TextOf(FolderWord word, const apply::Outcome& outcome,
                   std::optional<Effect> effect = {}) {
  return TextOf(*ShowOutcome(word, std::make_shared<apply::Outcome>(outcome), effect));
}

// Each number is another one, so that none stands in the place of another.
plan::Totals DifferentTotals() {
  plan::Totals totals;
  std::size_t number = 0;
  for (plan::Count* count :
       {&totals.vlans, &totals.interfaces, &totals.addresses, &totals.protocols, &totals.rows,
        &totals.routes, &totals.rules, &totals.settings}) {
    count->added = ++number;
    count->removed = ++number;
    count->changed = ++number;
  }
  totals.requests = ++number;
  return totals;
}
const std::string TOTALS = R"("totals":{"vlans":{"added":1,"removed":2,"changed":3},)"
                           R"("interfaces":{"added":4,"removed":5,"changed":6},)"
                           R"("addresses":{"added":7,"removed":8,"changed":9},)"
                           R"("protocols":{"added":10,"removed":11,"changed":12},)"
                           R"("protocol_rows":{"added":13,"removed":14,"changed":15},)"
                           R"("routes":{"added":16,"removed":17,"changed":18},)"
                           R"("rules":{"added":19,"removed":20,"changed":21},)"
                           R"("settings":{"added":22,"removed":23,"changed":24},"requests":25})";
const std::string NO_FINDINGS = R"("errors":0,"warnings":0,"findings":[])";

TEST(FolderJson, IsTheWholeOfADiff) {
  apply::Outcome outcome;
  outcome.hasPassed = true;
  outcome.totals = DifferentTotals();
  outcome.verdict = {{"one", "two"}, 12};
  outcome.kept = 3;
  outcome.isCut = true;
  using plan::How;
  using plan::Thing;
  const plan::Change changes[] = {{std::nullopt, Thing::VLAN, How::ADDED, "a"},
                                  {1, Thing::INTERFACE, How::REMOVED, "b"},
                                  {2, Thing::ADDRESS, How::CHANGED, "c"},
                                  {3, Thing::PROTOCOL, How::ADDED, "d"},
                                  {4, Thing::ROW, How::ADDED, "e"},
                                  {5, Thing::ROUTE, How::ADDED, "f"},
                                  {6, Thing::RULE, How::ADDED, "g"},
                                  {7, Thing::SETTING, How::ADDED, "h"}};
  outcome.changes.assign(std::begin(changes), std::end(changes));
  EXPECT_EQ(TextOf(FolderWord::DIFF, outcome),
            R"({"view":"diff","passed":true,"refused":null,)" + NO_FINDINGS + "," + TOTALS +
                R"(,"seconds":null,"prefixes_lost":12,"guard":["one","two"],"kept":3,"cut":true,)"
                R"("changes":[{"vlan":null,"how":"added","kind":"vlan","what":"a"},)"
                R"({"vlan":1,"how":"removed","kind":"interface","what":"b"},)"
                R"({"vlan":2,"how":"changed","kind":"address","what":"c"},)"
                R"({"vlan":3,"how":"added","kind":"protocol","what":"d"},)"
                R"({"vlan":4,"how":"added","kind":"protocol_row","what":"e"},)"
                R"({"vlan":5,"how":"added","kind":"route","what":"f"},)"
                R"({"vlan":6,"how":"added","kind":"rule","what":"g"},)"
                R"({"vlan":7,"how":"added","kind":"setting","what":"h"}]})"
                "\n");
}

TEST(FolderJson, IsTheWholeOfAReload) {
  apply::Outcome outcome;
  outcome.hasPassed = true;
  outcome.totals = DifferentTotals();
  outcome.verdict.reasons = {"one"};
  outcome.released = 4;
  outcome.notKept = "no room";
  outcome.revision = {0, 1795342500, revisions::Cause::RELOAD, 0, "", "no change", {}};
  const std::string revision =
      R"({"number":null,"time":"2026-11-22T10:15:00.000Z","cause":"reload","of":null,)"
      R"("asker":null,"change":"no change"})";
  EXPECT_EQ(TextOf(FolderWord::RELOAD, outcome, Effect{false, {"a"}, 2, 3, 34}),
            R"({"view":"reload","passed":true,"refused":null,)" + NO_FINDINGS + "," + TOTALS +
                R"(,"guard":["one"],"revision":)" + revision +
                R"(,"new":false,"not_kept":"no room","folder_differs":false,"unconfirmed":null,)"
                R"("released":4,"effect":{"settled":false,"count":2,"differences":["a"],"kept":3,)"
                R"("kept_seconds":34}})"
                "\n");
  outcome.totals = {};
  outcome.revision.reset();
  outcome.unconfirmed = {7, 6, 1795342560, "alice"};
  const std::string text = TextOf(FolderWord::UNDO, outcome);
  EXPECT_NE(
      text.find(
          R"("revision":null,"new":false,"not_kept":"no room",)"
          R"("folder_differs":false,"unconfirmed":{"revision":7,"back":6,)"
          R"("until":"2026-11-22T10:16:00.000Z","asker":"alice"},"released":4,"effect":null})"),
      std::string::npos)
      << text;
}

TEST(FolderJson, IsTheWholeOfAConfirmationAndOfTheHistory) {
  apply::Outcome outcome;
  outcome.hasPassed = true;
  EXPECT_EQ(TextOf(FolderWord::CONFIRM, outcome),
            "{\"view\":\"confirm\",\"passed\":true,\"refused\":null}\n");
  EXPECT_EQ(TextOf(FolderWord::HISTORY, outcome),
            R"({"view":"history","passed":true,"refused":null,"in_force":null,)"
            R"("unconfirmed":null,"folder_differs":false,"revisions":[]})"
            "\n");
  EXPECT_EQ(TextOf(FolderWord::REVISION, outcome),
            R"({"view":"revision","passed":true,"refused":null,"revision":null,)"
            R"("in_force":null,"folder":null})"
            "\n");
  EXPECT_EQ(TextOf(FolderWord::CHECK, outcome), R"({"view":"check","passed":true,"refused":null,)" +
                                                    NO_FINDINGS +
                                                    R"(,"links":[]})"
                                                    "\n");
  outcome.inForce = 4;
  outcome.isFolderOther = true;
  outcome.unconfirmed = {7, 6, 1795342560, ""};
  EXPECT_EQ(TextOf(FolderWord::HISTORY, outcome),
            R"({"view":"history","passed":true,"refused":null,"in_force":4,)"
            R"("unconfirmed":{"revision":7,"back":6,"until":"2026-11-22T10:16:00.000Z",)"
            R"("asker":null},"folder_differs":true,"revisions":[]})"
            "\n");
}

TEST(FolderJson, IsTheWholeOfAVerification) {
  EXPECT_EQ(TextOf(*ShowVerdicts({{"instances", 6, 1, {"a"}, true, 2, {"b", "c"}},
                                  {"folder", 0, 0, {}, false, 0, {}, "says so"}})),
            R"({"view":"verify","passed":false,"refused":null,"kinds":[)"
            R"({"kind":"instances","compared":true,"rows":6,"fails":1,"failed":["a"],)"
            R"("kept":2,"kept_rows":["b","c"],"note":null},)"
            R"({"kind":"folder","compared":false,"rows":0,"fails":0,"failed":[],)"
            R"("kept":0,"kept_rows":[],"note":"says so"}]})"
            "\n");
  EXPECT_EQ(TextOf(*ShowVerdicts({})),
            "{\"view\":\"verify\",\"passed\":true,\"refused\":null,\"kinds\":[]}\n");
}

TEST(FolderJson, TellsFindings) {
  apply::Outcome outcome;
  outcome.findings.Add(
      {documents::Severity::ERROR, {"a.json", {3, 7}, "A.B"}, "a number, expected a text"});
  outcome.findings.Add({documents::Severity::WARNING, {}, "what is \"known\""});
  outcome.findings.AddUntold(documents::Severity::WARNING, 7);
  const Json::Value value = Read(FolderWord::CHECK, outcome);
  EXPECT_EQ(value["view"], "check");
  EXPECT_EQ(value["passed"], false);
  EXPECT_TRUE(value["refused"].isNull());
  EXPECT_EQ(value["errors"], 1);
  EXPECT_EQ(value["warnings"], 8);
  const Json::Value& error = value["findings"][0];
  EXPECT_EQ(error["severity"], "error");
  EXPECT_EQ(error["file"], "a.json");
  EXPECT_EQ(error["line"], 3);
  EXPECT_EQ(error["column"], 7);
  EXPECT_EQ(error["member"], "A.B");
  EXPECT_EQ(error["problem"], "a number, expected a text");
  const Json::Value& warning = value["findings"][1];
  EXPECT_EQ(warning["severity"], "warning");
  for (const char* unknown : {"file", "line", "column", "member"}) {
    EXPECT_TRUE(warning.isMember(unknown) && warning[unknown].isNull()) << unknown;
  }
  EXPECT_EQ(warning["problem"], "what is \"known\"");
  EXPECT_EQ(value["findings"].size(), 2u);
}

TEST(FolderJson, TellsADiffInPieces) {
  apply::Outcome outcome;
  outcome.hasPassed = true;
  outcome.totals.routes = {2600, 1, 2};
  outcome.totals.requests = 2603;
  outcome.seconds = 4;
  outcome.verdict = {{"VLAN 10: too much"}, 12};
  outcome.kept = 3;
  outcome.changes.push_back(
      {std::nullopt, plan::Thing::SETTING, plan::How::CHANGED, "default VLAN"});
  for (unsigned int i = 0; i < 2600; ++i) {
    outcome.changes.push_back(
        {10, plan::Thing::ROUTE, plan::How::ADDED, "route " + std::to_string(i)});
  }
  const Json::Value value = Read(FolderWord::DIFF, outcome);
  EXPECT_EQ(value["totals"]["routes"]["added"], 2600);
  EXPECT_EQ(value["totals"]["routes"]["removed"], 1);
  EXPECT_EQ(value["totals"]["routes"]["changed"], 2);
  EXPECT_EQ(value["totals"]["requests"], 2603);
  EXPECT_EQ(value["seconds"], 4);
  EXPECT_EQ(value["prefixes_lost"], 12);
  EXPECT_EQ(value["guard"][0], "VLAN 10: too much");
  EXPECT_EQ(value["kept"], 3);
  EXPECT_EQ(value["cut"], false);
  ASSERT_EQ(value["changes"].size(), 2601u);
  EXPECT_TRUE(value["changes"][0]["vlan"].isNull());
  EXPECT_EQ(value["changes"][0]["kind"], "setting");
  EXPECT_EQ(value["changes"][0]["how"], "changed");
  for (unsigned int i = 0; i < 2600; ++i) {
    const Json::Value& change = value["changes"][i + 1];
    ASSERT_EQ(change["what"], "route " + std::to_string(i));
    ASSERT_EQ(change["vlan"], 10);
    ASSERT_EQ(change["how"], "added");
    ASSERT_EQ(change["kind"], "route");
  }
}

TEST(FolderJson, TellsWhatAReloadHasDone) {
  apply::Outcome outcome;
  outcome.hasPassed = true;
  outcome.isNew = true;
  outcome.revision = {7, 1795342500, revisions::Cause::UNDO, 5, "alice", "no change", {}};
  outcome.unconfirmed = {7, 6, 1795342560, "alice"};
  outcome.isFolderOther = true;
  Json::Value value = Read(FolderWord::UNDO, outcome);
  EXPECT_EQ(value["view"], "undo");
  EXPECT_EQ(value["revision"]["number"], 7);
  EXPECT_EQ(value["revision"]["time"], "2026-11-22T10:15:00.000Z");
  EXPECT_EQ(value["revision"]["cause"], "undo");
  EXPECT_EQ(value["revision"]["of"], 5);
  EXPECT_EQ(value["revision"]["asker"], "alice");
  EXPECT_EQ(value["new"], true);
  EXPECT_EQ(value["folder_differs"], true);
  EXPECT_EQ(value["unconfirmed"]["back"], 6);
  EXPECT_EQ(value["unconfirmed"]["until"], "2026-11-22T10:16:00.000Z");
  EXPECT_TRUE(value["not_kept"].isNull());
  EXPECT_TRUE(value["effect"].isNull());
  value = Read(FolderWord::RELOAD, outcome, Effect{true, {"a", "b"}, 17});
  EXPECT_EQ(value["effect"]["settled"], true);
  EXPECT_EQ(value["effect"]["count"], 17);
  EXPECT_EQ(value["effect"]["differences"][1], "b");
}

TEST(FolderJson, TellsWhyAReloadWasRefused) {
  apply::Outcome outcome;
  outcome.refusal = "that is too much";
  outcome.verdict.reasons = {"VLAN 10: 12 of 12 prefixes"};
  const Json::Value value = Read(FolderWord::RELOAD, outcome);
  EXPECT_EQ(value["passed"], false);
  EXPECT_EQ(value["refused"], "that is too much");
  EXPECT_EQ(value["guard"][0], "VLAN 10: 12 of 12 prefixes");
  EXPECT_TRUE(value["revision"].isNull());
}

TEST(FolderJson, ListsRevisions) {
  apply::Outcome outcome;
  outcome.hasPassed = true;
  outcome.inForce = 2;
  outcome.revisions = {{1, 0, revisions::Cause::START, 0, "", "1 VLAN added; 2 requests", {}},
                       {2, 60, revisions::Cause::RELOAD, 0, "SIGHUP", "no change", {}}};
  Json::Value value = Read(FolderWord::HISTORY, outcome);
  EXPECT_EQ(value["in_force"], 2);
  ASSERT_EQ(value["revisions"].size(), 2u);
  EXPECT_TRUE(value["revisions"][0]["asker"].isNull());
  EXPECT_EQ(value["revisions"][0]["change"], "1 VLAN added; 2 requests");
  EXPECT_EQ(value["revisions"][1]["cause"], "reload");
  outcome.folder = "/state/2";
  outcome.revisions.erase(outcome.revisions.begin());
  value = Read(FolderWord::REVISION, outcome);
  EXPECT_EQ(value["revision"]["number"], 2);
  EXPECT_EQ(value["folder"], "/state/2");
}

TEST(FolderJson, TellsAVerification) {
  const std::vector<rows::Verdict> verdicts = {{"instances", 6, 0, {}, true, 0, {}},
                                               {"routes", 16, 2, {"one", "two"}, true, 1, {"old"}}};
  const Json::Value value = Read(ShowVerdicts(verdicts));
  EXPECT_EQ(value["passed"], false);
  EXPECT_EQ(value["kinds"][0]["kind"], "instances");
  EXPECT_EQ(value["kinds"][0]["rows"], 6);
  EXPECT_EQ(value["kinds"][1]["fails"], 2);
  EXPECT_EQ(value["kinds"][1]["failed"][1], "two");
  EXPECT_EQ(value["kinds"][1]["kept_rows"][0], "old");
}

TEST(FolderJson, TellsWhatCannotBeCarriedOut) {
  const AnyView view = ShowRefusal("history", "This device keeps no revisions\n");
  EXPECT_TRUE(view->IsRefused());
  const Json::Value value = Read(view);
  EXPECT_EQ(value["view"], "history");
  EXPECT_EQ(value["passed"], false);
  EXPECT_EQ(value["refused"], "This device keeps no revisions");
}

}  // namespace
}  // namespace views
