// Applying and withdrawing configuration documents.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/failing_new.h"
#include "tests/unit/manager/recording_routers.h"
#include "vantacore/dc_rtm_mgr.h"

namespace Tarsel {
namespace {

using recording_routers::AllRouters;
using recording_routers::Document;
using recording_routers::Entry;
using recording_routers::GetBehaviour;
using recording_routers::ManagerFixture;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

typedef std::vector<std::string> Lines;
typedef DclConfigObject::OptionType OptionType;

constexpr OptionType VLAN = DclConfigObject::VLAN_OPTIONS;
constexpr OptionType REMOTE = DclConfigObject::REMOTE_OPTIONS;
constexpr OptionType OTHER = static_cast<OptionType>(2);
constexpr OptionType NEGATIVE = static_cast<OptionType>(-1);

const char RELOADING[] = "10:Reloading Configuration in all VLANs\n";
const char NO_GROUP[] = R"({"VLAN_CONFIGURATIONS":{}})";

Lines operator+(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

class ManagerReload : public ManagerFixture {
 protected:
  ManagerReload() { Start(); }

  // The routers' events, but for the question whether they are enabled.
  Lines TakeChanges() {
    Lines events = TakeRouterEvents();
    const auto asked = [](const std::string& event) {
      return event.find(" asked") != std::string::npos;
    };
    events.erase(std::remove_if(events.begin(), events.end(), asked), events.end());
    return events;
  }

  std::vector<unsigned int> Vlans() {
    std::vector<unsigned int> vlans;
    for (const auto& vlan : Manager().GetVlans()) {
      vlans.push_back(vlan.first);
    }
    return vlans;
  }

  Lines FilesOf(unsigned short vid) {
    Lines files;
    for (const string& file : Manager().GetVlans().at(vid)->configFiles) {
      files.push_back(file.c_str());
    }
    return files;
  }

  void Withdraw(const char* file, OptionType type = VLAN) {
    Manager().DeleteOptions(string(file), type);
  }

  // Forgets traces and stack calls so far.
  void Forget() {
    traces.Take();
    TakeCalls();
  }
};

// --- VLAN documents ---

TEST_F(ManagerReload, CreatesTheVlansOfADocumentAndHandsThemToTheirRouters) {
  traces.Take();
  EXPECT_TRUE(Reload(Document({Entry(10), Entry(20)}), "vlans.json"));
  EXPECT_EQ(1U, traces.CountOf(RELOADING));
  EXPECT_EQ(1U, traces.CountOf("10:Creating VLAN 10\n"));
  EXPECT_EQ(1U, traces.CountOf("10:Creating VLAN 20\n"));
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(10, " parse vlans.json 0") +
                                              AllRouters(20, " parse vlans.json 0")));
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
  EXPECT_THAT(FilesOf(10), ElementsAre("vlans.json"));
}

TEST_F(ManagerReload, RtmInstancesComeBeforeTheRouters) {
  traces.Take();
  Reload(Document({R"({"vid":10,"BGP":{"x":1}})"}), "vlans.json");
  const Lines lines = traces.Take();
  const auto position = [&lines](const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) - lines.begin();
  };
  const auto none = static_cast<std::ptrdiff_t>(lines.size());
  ASSERT_LT(position("10:~BGP:10 parse vlans.json 0\n"), none);
  EXPECT_LT(position("10:Creating RTM Instance 32778\n"),
            position("10:~BGP:10 parse vlans.json 0\n"));
  EXPECT_EQ(0, position(RELOADING));
}

TEST_F(ManagerReload, ARouterWithoutItsMemberIsWithdrawn) {
  Reload(Document({R"({"vid":10,"BGP":{"x":1}})"}), "vlans.json");
  EXPECT_THAT(TakeChanges(),
              ElementsAre("BGP:10 parse vlans.json 0", "OSPF:10 withdraw vlans.json 0",
                          "OSPFV3:10 withdraw vlans.json 0", "RIPV2:10 withdraw vlans.json 0",
                          "RIPNG:10 withdraw vlans.json 0", "IGMP:10 withdraw vlans.json 0",
                          "MLD:10 withdraw vlans.json 0"));
}

TEST_F(ManagerReload, AVlanThatIsNoLongerNamedIsWithdrawnAndDeleted) {
  Reload(Document({Entry(10), Entry(20)}), "vlans.json");
  traces.Take();
  Reload(Document({Entry(10)}), "vlans.json");

  Lines lines = traces.Take();
  const auto deleted = std::find(lines.begin(), lines.end(), "10:Deleting VLAN 20\n");
  ASSERT_NE(lines.end(), deleted);
  const Lines withdrawn(deleted - 7, deleted);
  Lines expected;
  for (const std::string& router : AllRouters(20, " withdraw vlans.json 0")) {
    expected.push_back("10:~" + router + "\n");
  }
  EXPECT_THAT(withdrawn, ElementsAreArray(expected));
  EXPECT_THAT(Vlans(), ElementsAre(10));
}

TEST_F(ManagerReload, StaleVlansGoInAscendingOrder) {
  Reload(Document({Entry(40), Entry(20), Entry(30), Entry(10)}), "vlans.json");
  traces.Take();
  Reload(Document({Entry(30)}), "vlans.json");
  Lines deletions;
  for (const std::string& line : traces.Take()) {
    if (line.find("10:Deleted VLAN") == 0) {
      deletions.push_back(line);
    }
  }
  EXPECT_THAT(deletions,
              ElementsAre("10:Deleted VLAN 10\n", "10:Deleted VLAN 20\n", "10:Deleted VLAN 40\n"));
}

TEST_F(ManagerReload, LoadingADocumentAgainUpdatesTheRtmConfigurationOfEachVlan) {
  const std::string document = Document({Entry(10), Entry(20)});
  Reload(document, "vlans.json");
  ASSERT_TRUE(Settle());
  Forget();
  Reload(document, "vlans.json");
  for (const unsigned int vid : {10, 20}) {
    EXPECT_EQ(1U,
              traces.CountOf("10:DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan " +
                             std::to_string(vid) + "\n"));
  }
  EXPECT_FALSE(traces.Contains("Creating VLAN"));
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(10, " parse vlans.json 0") +
                                              AllRouters(20, " parse vlans.json 0")));
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(ManagerReload, AChangedRtmConfigurationReachesTheStack) {
  Reload(Document({Entry(10)}), "vlans.json");
  TakeCalls();
  Reload(Document({Entry(10, R"(,"RTM":{"dead_rpm_timer":30})")}), "vlans.json");
  EXPECT_EQ(2U, TakeCalls().size());
}

TEST_F(ManagerReload, ASecondVlanDocumentChangesTheRtmConfigurationOfAKnownVlan) {
  Reload(Document({Entry(10)}), "vlans.json");
  TakeCalls();
  Reload(Document({Entry(10, R"(,"RTM":{"dead_rpm_timer":30})")}), "more.json");
  EXPECT_EQ(2U, TakeCalls().size());
}

TEST_F(ManagerReload, AChangedRtmConfigurationIsInPlaceBeforeTheRoutersSeeTheEntry) {
  Reload(Document({Entry(10)}), "vlans.json");
  traces.Take();
  Reload(Document({Entry(10, R"(,"RTM":{"dead_rpm_timer":30})")}), "vlans.json");
  const Lines lines = traces.Take();
  const auto sent = std::find(lines.begin(), lines.end(), "10:Creating RTM Instance 32778\n");
  ASSERT_NE(lines.end(), sent);
  EXPECT_LT(sent, std::find(lines.begin(), lines.end(), "10:~BGP:10 parse vlans.json 0\n"));
}

TEST_F(ManagerReload, EntriesComeInTheOrderOfTheirNames) {
  Reload(R"({"VLAN_CONFIGURATIONS":{"z":{"vid":1},"b":{"vid":2},"aa":{"vid":3},)"
         R"("a10":{"vid":4},"a9":{"vid":5},"B":{"vid":6}}})",
         "vlans.json");
  Lines created;
  for (const std::string& line : traces.Take()) {
    if (line.find("10:Creating VLAN") == 0) {
      created.push_back(line.substr(line.size() - 2, 1));
    }
  }
  EXPECT_THAT(created, ElementsAre("6", "4", "5", "3", "2", "1"));
}

TEST_F(ManagerReload, BothEntriesOfOneVlanAreApplied) {
  Reload(Document({Entry(10), Entry(10)}), "vlans.json");
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(10, " parse vlans.json 0") +
                                              AllRouters(10, " parse vlans.json 0")));
  EXPECT_THAT(Vlans(), ElementsAre(10));
  traces.Take();
  Reload(NO_GROUP, "vlans.json");
  EXPECT_THAT(Vlans(), IsEmpty());
}

TEST_F(ManagerReload, OnlyTheLowSixteenBitsOfAVlanIdCount) {
  Reload(Document({Entry(65536 + 10), Entry(-1), Entry(0)}), "vlans.json");
  EXPECT_THAT(Vlans(), ElementsAre(0, 10, 65535));
}

TEST_F(ManagerReload, AGroupMayBeAnArray) {
  Reload(R"({"VLAN_CONFIGURATIONS":[{"vid":20},{"vid":10}]})", "vlans.json");
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
}

// --- entries that cannot be used ---

TEST_F(ManagerReload, EmptyEntriesArePassedOverSilently) {
  traces.Take();
  Reload(R"({"VLAN_CONFIGURATIONS":{"a":null,"b":{},"c":[]}})", "vlans.json");
  EXPECT_THAT(traces.Take(), ElementsAre(RELOADING));
  EXPECT_THAT(Vlans(), IsEmpty());
}

class UnusableEntry : public ManagerReload, public testing::WithParamInterface<const char*> {};

TEST_P(UnusableEntry, IsReportedAndTheRestIsApplied) {
  Reload(Document({GetParam(), Entry(10)}), "vlans.json");
  EXPECT_EQ(1U, traces.CountOf("-:Unable to Get VLAN ID:\n"));
  EXPECT_THAT(Vlans(), ElementsAre(10));
}

INSTANTIATE_TEST_SUITE_P(Variants, UnusableEntry,
                         testing::Values("5", "\"10\"", "true", "[10]", R"({"x":1})",
                                         R"({"vid":null})", R"({"vid":"10"})", R"({"vid":{}})",
                                         R"({"vid":[1]})", R"({"vid":true})", R"({"vid":1.5})",
                                         R"({"vid":3000000000})", R"({"vid":-3000000000})"));

TEST_F(ManagerReload, AVlanThatCannotBeCreatedIsNotRemembered) {
  traces.Take();
  {
    test_support::FailingNew failing(1);  // the RTM manager, for the first entry
    Reload(Document({Entry(10), Entry(20)}), "vlans.json");
    ASSERT_TRUE(failing.HasFailed());
  }
  EXPECT_THAT(Vlans(), ElementsAre(20));
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(20, " parse vlans.json 0")));
  Withdraw("vlans.json");
  EXPECT_FALSE(traces.Contains("Invalid VLAN"));
}

// --- documents without VLANs ---

class DocumentWithoutVlans : public ManagerReload,
                             public testing::WithParamInterface<const char*> {};

TEST_P(DocumentWithoutVlans, IsAWithdrawal) {
  Reload(Document({Entry(10)}), "vlans.json");
  Reload(Document({Entry(10)}), "more.json");
  traces.Take();
  EXPECT_TRUE(Reload(GetParam(), "vlans.json"));
  EXPECT_EQ(0U, traces.CountOf(RELOADING));
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(10, " withdraw vlans.json 0")));
  EXPECT_THAT(FilesOf(10), ElementsAre("more.json"));

  EXPECT_TRUE(Reload(GetParam(), "vlans.json"));  // now as for a name that was never loaded
  EXPECT_THAT(traces.Take(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Variants, DocumentWithoutVlans,
                         testing::Values(NO_GROUP, "{}", "null", "[]", "5", "[1]", "\"text\"",
                                         R"({"VLAN_CONFIGURATIONS":null})",
                                         R"({"VLAN_CONFIGURATIONS":[]})", R"({"other":{"a":1}})"));

TEST_F(ManagerReload, ADocumentWithoutVlansIsWithdrawnUnderItsOwnType) {
  Reload(Document({Entry(10)}), "vlans.json");
  for (const OptionType type : {REMOTE, OTHER}) {
    Reload(Document({Entry(10)}), "more.json", type);
    traces.Take();
    Reload(NO_GROUP, "more.json", type);
    EXPECT_THAT(TakeChanges(),
                ElementsAreArray(AllRouters(10, " withdraw more.json " + std::to_string(type))));
  }
}

TEST_F(ManagerReload, AScalarGroupWithdrawsEveryVlanOfTheFile) {
  Reload(Document({Entry(10), Entry(20)}), "vlans.json");
  Reload(Document({Entry(20)}), "more.json");
  traces.Take();
  EXPECT_TRUE(Reload(R"({"VLAN_CONFIGURATIONS":5})", "vlans.json"));
  EXPECT_EQ(1U, traces.CountOf(RELOADING));
  EXPECT_THAT(Vlans(), ElementsAre(20));
  EXPECT_THAT(FilesOf(20), ElementsAre("more.json"));
}

// --- remote documents ---

TEST_F(ManagerReload, ARemoteEntryOfAnUnknownVlanIsDroppedAndNotRemembered) {
  traces.Take();
  EXPECT_TRUE(Reload(Document({Entry(30)}), "remote.json", REMOTE));
  EXPECT_THAT(traces.Take(),
              ElementsAre(RELOADING,
                          "-:Loaded Remote remote.json Options with VLAN 30 before loading VLAN "
                          "options... Skipping\n"));
  EXPECT_THAT(Vlans(), IsEmpty());

  GetBehaviour().enabled = {"OSPFV3:30", "IGMP:30"};
  Reload(Document({Entry(30)}), "vlans.json");
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(30, " parse vlans.json 0")));
  Reload(Document({Entry(30)}), "remote.json", REMOTE);
  EXPECT_THAT(TakeChanges(),
              ElementsAre("OSPFV3:30 parse remote.json 1", "IGMP:30 parse remote.json 1"));
  EXPECT_THAT(FilesOf(30), ElementsAre("remote.json", "vlans.json"));
}

TEST_F(ManagerReload, EveryRouterIsAskedBeforeARemoteDocument) {
  Reload(Document({Entry(30)}), "vlans.json");
  traces.Take();
  Reload(Document({Entry(30)}), "remote.json", REMOTE);
  EXPECT_THAT(TakeRouterEvents(), ElementsAreArray(AllRouters(30, " asked")));
}

TEST_F(ManagerReload, TheReportOfADroppedEntryShowsTheWholeNumber) {
  Reload(Document({Entry(65546), Entry(-1)}), "", REMOTE);
  EXPECT_EQ(1U, traces.CountOf("-:Loaded Remote  Options with VLAN 65546 before loading VLAN "
                               "options... Skipping\n"));
  EXPECT_EQ(1U, traces.CountOf("-:Loaded Remote  Options with VLAN 4294967295 before loading VLAN "
                               "options... Skipping\n"));
}

TEST_F(ManagerReload, ARemoteDocumentLeavesTheRtmConfigurationAlone) {
  Reload(Document({Entry(30)}), "vlans.json");
  Forget();
  for (const OptionType type : {REMOTE, OTHER, NEGATIVE}) {
    Reload(Document({Entry(30, R"(,"RTM":{"dead_rpm_timer":30})")}), "remote.json", type);
    EXPECT_FALSE(traces.Contains("RTM"));
    EXPECT_THAT(TakeCalls(), IsEmpty());
  }
}

TEST_F(ManagerReload, AnotherKindOfDocumentReachesEveryRouterOfAKnownVlan) {
  Reload(Document({Entry(30)}), "vlans.json");
  for (const OptionType type : {OTHER, NEGATIVE}) {
    traces.Take();
    Reload(Document({Entry(30), Entry(31)}), "other.json", type);
    EXPECT_EQ(1U, traces.CountOf("-:Loaded Remote other.json Options with VLAN 31 before loading "
                                 "VLAN options... Skipping\n"));
    EXPECT_THAT(TakeChanges(),
                ElementsAreArray(AllRouters(30, " parse other.json " + std::to_string(type))));
    EXPECT_THAT(Vlans(), ElementsAre(30));
  }
}

TEST_F(ManagerReload, AVlanLivesUntilItsLastDocumentGoes) {
  Reload(Document({Entry(10)}), "vlans.json");
  Reload(Document({Entry(10)}), "remote.json", REMOTE);
  traces.Take();
  Withdraw("vlans.json");
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(10, " withdraw vlans.json 0")));
  EXPECT_THAT(Vlans(), ElementsAre(10));

  Withdraw("remote.json", REMOTE);
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(10, " withdraw remote.json 1") +
                                              AllRouters(10, " destroyed")));
  EXPECT_THAT(Vlans(), IsEmpty());
}

TEST_F(ManagerReload, ARemoteDocumentKeepsAVlanThatTheVlanDocumentDrops) {
  Reload(Document({Entry(10), Entry(20)}), "vlans.json");
  Reload(Document({Entry(20)}), "remote.json", REMOTE);
  Reload(Document({Entry(10)}), "vlans.json");
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
  EXPECT_THAT(FilesOf(20), ElementsAre("remote.json"));
  // and the remote document still applies
  GetBehaviour().enabled = {"BGP:20"};
  traces.Take();
  Reload(Document({Entry(20)}), "remote.json", REMOTE);
  EXPECT_THAT(TakeChanges(), ElementsAre("BGP:20 parse remote.json 1"));
}

TEST_F(ManagerReload, AStaleRemoteVlanIsWithdrawnWithTheDocumentsType) {
  Reload(Document({Entry(10), Entry(20)}), "vlans.json");
  Reload(Document({Entry(10), Entry(20)}), "remote.json", REMOTE);
  traces.Take();
  Reload(Document({Entry(10)}), "remote.json", REMOTE);
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(20, " withdraw remote.json 1")));
  EXPECT_THAT(Vlans(), ElementsAre(10, 20));
}

// --- withdrawal ---

TEST_F(ManagerReload, WithdrawingAnUnknownDocumentDoesNothing) {
  Reload(Document({Entry(10)}), "vlans.json");
  traces.Take();
  Withdraw("other.json");
  EXPECT_THAT(traces.Take(), IsEmpty());
  EXPECT_THAT(Vlans(), ElementsAre(10));
}

TEST_F(ManagerReload, WithdrawalVisitsTheVlansInAscendingOrder) {
  Reload(Document({Entry(20), Entry(10)}), "vlans.json");
  traces.Take();
  Withdraw("vlans.json");
  EXPECT_THAT(
      TakeChanges(),
      ElementsAreArray(AllRouters(10, " withdraw vlans.json 0") + AllRouters(10, " destroyed") +
                       AllRouters(20, " withdraw vlans.json 0") + AllRouters(20, " destroyed")));
}

TEST_F(ManagerReload, AVlanThatHasGoneIsReportedByTheWithdrawalAndPassedOver) {
  Reload(Document({Entry(40000), Entry(65535)}), "vlans.json");
  Manager().DeleteVlan(40000);
  traces.Take();
  Withdraw("vlans.json");
  EXPECT_EQ(1U, traces.CountOf("-:Invalid VLAN 40000 Record found for Config File vlans.json\n"));
  EXPECT_THAT(Vlans(), IsEmpty());
  traces.Take();
  Withdraw("vlans.json");
  EXPECT_THAT(traces.Take(), IsEmpty());
}

TEST_F(ManagerReload, AStaleVlanThatHasGoneIsForgottenSilently) {
  Reload(Document({Entry(10), Entry(20)}), "vlans.json");
  Manager().DeleteVlan(20);
  traces.Take();
  Reload(Document({Entry(10)}), "vlans.json");
  EXPECT_FALSE(traces.Contains("VLAN 20"));
  Withdraw("vlans.json");
  EXPECT_FALSE(traces.Contains("Invalid VLAN"));
}

// A remote entry of a VLAN that has gone is dropped, so the document no longer names the VLAN.
TEST_F(ManagerReload, ADroppedRemoteEntryIsForgottenLikeOneThatIsNotThere) {
  Reload(Document({Entry(10), Entry(20)}), "vlans.json");
  Reload(Document({Entry(10), Entry(20)}), "remote.json", REMOTE);
  Manager().DeleteVlan(20);
  Reload(Document({Entry(10), Entry(20)}), "remote.json", REMOTE);
  traces.Take();
  Withdraw("remote.json", REMOTE);
  EXPECT_FALSE(traces.Contains("Invalid VLAN"));
  EXPECT_THAT(Vlans(), ElementsAre(10));
}

TEST_F(ManagerReload, AVlanThatHasGoneIsCreatedAgain) {
  Reload(Document({Entry(10)}), "vlans.json");
  Manager().DeleteVlan(10);
  Reload(Document({Entry(10)}), "vlans.json");
  EXPECT_THAT(Vlans(), ElementsAre(10));
  EXPECT_THAT(FilesOf(10), ElementsAre("vlans.json"));
}

// The document still names the VLAN, though the one that the host made anew knows of no document.
TEST_F(ManagerReload, AWithdrawalReachesAVlanThatTheHostMadeAnewAndDeletesIt) {
  Reload(Document({Entry(10)}), "vlans.json");
  Manager().DeleteVlan(10);
  Manager().CreateVlan(10, NoOptions(), VLAN);
  EXPECT_THAT(FilesOf(10), IsEmpty());
  traces.Take();
  Withdraw("vlans.json");
  EXPECT_THAT(TakeChanges(), ElementsAreArray(AllRouters(10, " withdraw vlans.json 0") +
                                              AllRouters(10, " destroyed")));
  EXPECT_THAT(Vlans(), IsEmpty());
}

TEST_F(ManagerReload, AVlanOfTheHostLivesUntilADocumentThatNamesItIsWithdrawn) {
  Manager().CreateVlan(10, NoOptions(), VLAN);
  Manager().CreateVlan(20, NoOptions(), VLAN);
  Reload(Document({Entry(10)}), "vlans.json");
  Withdraw("vlans.json");
  EXPECT_THAT(Vlans(), ElementsAre(20));
}

// --- what a router finds while it is told of a document ---

TEST_F(ManagerReload, ADocumentStandsWithTheVlanWhileItsRoutersAreToldOfIt) {
  std::vector<Lines> files;
  GetBehaviour().onDocument = [this, &files](const std::string& name) {
    if (name == "MLD:10") {
      files.push_back(FilesOf(10));
    }
  };
  Reload(Document({Entry(10)}), "b.json");
  Reload(Document({Entry(10)}), "a.json");
  Reload(Document({Entry(20)}), "a.json");
  Withdraw("b.json");
  GetBehaviour().onDocument = nullptr;
  EXPECT_THAT(files, ElementsAre(ElementsAre("b.json"), ElementsAre("a.json", "b.json"),
                                 ElementsAre("a.json", "b.json"), ElementsAre("b.json")));
}

TEST_F(ManagerReload, AVlanMayGoWhileTheDocumentIsTakenOutOfAnother) {
  GetBehaviour().onDocument = [this](const std::string& name) {
    if (name == "BGP:10" && traces.Lines().back() == "10:~BGP:10 withdraw vlans.json 0\n") {
      Manager().DeleteVlan(20);
    }
  };
  Reload(Document({Entry(10), Entry(20), Entry(30)}), "vlans.json");
  Reload(Document({Entry(30)}), "vlans.json");
  EXPECT_FALSE(traces.Contains("Invalid VLAN"));
  EXPECT_THAT(Vlans(), ElementsAre(30));

  Reload(Document({Entry(10), Entry(20), Entry(30)}), "vlans.json");
  Withdraw("vlans.json");
  GetBehaviour().onDocument = nullptr;
  EXPECT_EQ(1U, traces.CountOf("-:Invalid VLAN 20 Record found for Config File vlans.json\n"));
  EXPECT_THAT(Vlans(), IsEmpty());
}

// Documents and VLANs are kept in two relations that mirror each other. A document that a router
// loads again while it leaves the VLAN is in both of them until the withdrawal takes it out of
// both.
TEST_F(ManagerReload, ADocumentLoadedAgainWhileItLeavesAVlanLeavesBothRelations) {
  Reload(Document({Entry(10), Entry(20)}), "vlans.json");
  bool loadedAgain = false;
  GetBehaviour().onDocument = [this, &loadedAgain](const std::string&) {
    if (!loadedAgain && traces.Lines().back() == "10:~BGP:20 withdraw vlans.json 0\n") {
      loadedAgain = true;
      Reload(Document({Entry(10), Entry(20)}), "vlans.json");
    }
  };
  Reload(Document({Entry(10)}), "vlans.json");
  GetBehaviour().onDocument = nullptr;
  ASSERT_TRUE(loadedAgain);
  EXPECT_THAT(Vlans(), ElementsAre(10));

  traces.Take();
  Withdraw("vlans.json");
  EXPECT_FALSE(traces.Contains("Invalid VLAN"));
  EXPECT_THAT(Vlans(), IsEmpty());
}

// --- names ---

// The caller may well hand in a name that the manager itself keeps.
TEST_F(ManagerReload, ANameOfTheManagersOwnMayBeHandedIn) {
  Reload(Document({Entry(10), Entry(20)}), "a file name that is kept on the heap.json");
  traces.Take();
  const string& name = *Manager().GetVlans().at(10)->configFiles.begin();
  Manager().DeleteOptions(name, VLAN);
  EXPECT_THAT(Vlans(), IsEmpty());
  EXPECT_THAT(TakeChanges(),
              testing::Contains("MLD:20 withdraw a file name that is kept on the heap.json 0"));
}

TEST_F(ManagerReload, ANameOfTheManagersOwnMayBeReloaded) {
  Reload(Document({Entry(10), Entry(20)}), "a file name that is kept on the heap.json");
  traces.Take();
  Json::Value document;
  document["VLAN_CONFIGURATIONS"]["a"]["vid"] = 30;
  const Options options(document);
  Manager().Reload(options, *Manager().GetVlans().at(10)->configFiles.begin(), VLAN);
  EXPECT_THAT(Vlans(), ElementsAre(30));
  EXPECT_THAT(FilesOf(30), ElementsAre("a file name that is kept on the heap.json"));
}

}  // namespace
}  // namespace Tarsel
