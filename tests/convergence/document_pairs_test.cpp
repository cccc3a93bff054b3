// Whatever a device's documents were before, loading new ones ends as a start with these.
//
// A pair's seed is the run's seed plus its number, so the first pair of a run with the seed that a
// failure names is the failed one: VANTACORE_SEED=... VANTACORE_RANDOM_SCALE=1. The long form is
// VANTACORE_RANDOM_SCALE=2500, with 10,000 pairs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/writer.h>

#include <string>

#include "tests/convergence/configuration.h"
#include "tests/convergence/documents.h"
#include "tests/models/random_run.h"
#include "tests/support/forked_text.h"

namespace {

using convergence::DocumentPair;
using convergence::Documents;
using convergence::Host;
using test_support::TextOfChild;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr unsigned int PAIRS = 400;

void Load(Host& host, const Documents& documents) {
  using Type = Tarsel::DclConfigObject;
  host.Reload(Json::writeString(Json::StreamWriterBuilder(), documents.vlans), "vlans.json",
              Type::VLAN_OPTIONS);
  host.Reload(Json::writeString(Json::StreamWriterBuilder(), documents.remote), "remote/one.json",
              Type::REMOTE_OPTIONS);
}

// The first documents are answered when the second ones come, or not, as `waits` says.
std::string TablesAfterBoth(const DocumentPair& pair, bool waits) {
  return TextOfChild([&] {
    Host host;
    host.Answered();
    Load(host, pair.first);
    if (waits) host.Answered();
    Load(host, pair.second);
    host.Answered();
    return host.Tables();
  });
}

std::string TablesOf(const Documents& documents) {
  return TextOfChild([&] {
    Host host;
    host.Answered();
    Load(host, documents);
    host.Answered();
    return host.Tables();
  });
}

bool Fails(const DocumentPair& pair, bool waits) {
  return TablesAfterBoth(pair, waits) != TablesOf(pair.second);
}

TEST(DocumentPairs, EndAsAStartWithTheSecondDocuments) {
  const test_models::Random random;
  test_models::Occurrences count;
  const unsigned int pairs = test_models::Scaled(PAIRS);
  for (unsigned int i = 0; i < pairs; ++i) {
    const unsigned int seed = random.GetSeed() + i;
    const DocumentPair pair =
        convergence::DrawPair(seed, [&count](const std::string& what) { count(what); });
    ASSERT_TRUE(convergence::LeavesNothingBehind(pair)) << "VANTACORE_SEED=" << seed << "\n"
                                                        << pair.Text();
    const bool waits = seed % 2 == 0;
    const std::string fresh = TablesOf(pair.second);
    ASSERT_NE(fresh.compare(0, 6, "child "), 0) << fresh << "\nVANTACORE_SEED=" << seed;
    const std::string after = TablesAfterBoth(pair, waits);
    if (after != fresh) {
      const DocumentPair smallest = convergence::Shrink(
          pair, [waits](const DocumentPair& candidate) { return Fails(candidate, waits); });
      FAIL() << "VANTACORE_SEED=" << seed << (waits ? "" : ", without waiting between the two")
             << "\n"
             << smallest.Text() << "--- tables after both\n"
             << TablesAfterBoth(smallest, waits) << "--- tables after a start with the second\n"
             << TablesOf(smallest.second);
    }
    if (fresh.find("protocol ") != std::string::npos) count("ends with protocol rows");
    if (TablesOf(pair.first) != fresh) count("the second differs from the first");
  }
  for (const char* kind : {"a VLAN stays",
                           "a VLAN comes",
                           "an entry as before",
                           "a VLAN that stands twice",
                           "an unknown VLAN",
                           "an entry that is none",
                           "an id of more bits",
                           "settings that are none",
                           "a timer of another type",
                           "distances that are none",
                           "a distance of another type",
                           "a protocol that does not run",
                           "a remote protocol that is no object",
                           "an absent list",
                           "a list that is none",
                           "an empty list",
                           "an empty row",
                           "a row that is no object",
                           "a name that is none",
                           "a name of another protocol",
                           "a name of another VLAN",
                           "no name",
                           "a column of another type",
                           "a flag that is null",
                           "ends with protocol rows",
                           "the second differs from the first"}) {
    count.ExpectAtLeast(20, kind);
  }
}

Json::Value ListWith(const char* name, const char* row) {
  Json::Value list;
  list[name]["Name"] = row;
  return list;
}

// A failure that needs one row of the first VLAN document and one of the second remote document.
TEST(DocumentPairs, ShrinkToWhatMatters) {
  const auto fails = [](const DocumentPair& pair) {
    const std::string text = pair.Text();
    const std::size_t second = text.find("--- second");
    return text.substr(0, second).find("RIP_10_7") != std::string::npos &&
           text.substr(second).find("RIP_10_8") != std::string::npos;
  };
  DocumentPair pair = convergence::DrawPair(1, [](const std::string&) {});
  for (Documents* documents : {&pair.first, &pair.second}) {
    for (Json::Value* document : {&documents->vlans, &documents->remote}) {
      Json::Value& entry = (*document)["VLAN_CONFIGURATIONS"];
      entry = Json::Value();
      entry["a"]["vid"] = 10;
      entry["a"]["RTM"]["dead_rpm_timer"] = 5;
      entry["a"]["RIPV2"]["IF_LIST"] = ListWith("x", "RIP_10_1");
      entry["b"]["vid"] = 20;
    }
  }
  pair.first.vlans["VLAN_CONFIGURATIONS"]["a"]["RIPV2"]["IF_LIST"]["y"]["Name"] = "RIP_10_7";
  pair.second.remote["VLAN_CONFIGURATIONS"]["a"]["RIPV2"]["IF_LIST"]["y"]["Name"] = "RIP_10_8";
  ASSERT_TRUE(fails(pair));
  ASSERT_TRUE(convergence::LeavesNothingBehind(pair));

  const DocumentPair smallest = convergence::Shrink(pair, fails);
  EXPECT_TRUE(fails(smallest));
  Json::Value vlans;
  vlans["VLAN_CONFIGURATIONS"]["a"]["RIPV2"]["IF_LIST"] = ListWith("y", "RIP_10_7");
  EXPECT_EQ(smallest.first.vlans, vlans);
  EXPECT_EQ(smallest.first.remote, Json::Value(Json::objectValue));
  EXPECT_EQ(smallest.second.vlans, Json::Value(Json::objectValue));
  Json::Value remote;
  remote["VLAN_CONFIGURATIONS"]["a"]["RIPV2"]["IF_LIST"] = ListWith("y", "RIP_10_8");
  EXPECT_EQ(smallest.second.remote, remote);
}

// The generator draws no such pair; what it would say of one is what the rows that stay behind are.
TEST(DocumentPairs, KnowWhatStaysBehind) {
  DocumentPair pair;
  Json::Value entry;
  entry["vid"] = 10;
  entry["RIPV2"]["IF_LIST"] = ListWith("x", "RIP_10_3");
  pair.first.vlans["VLAN_CONFIGURATIONS"]["a"] = entry;
  pair.second = pair.first;
  const std::string row = "protocol 10 6 \"3\" ";
  EXPECT_THAT(TablesOf(pair.second), HasSubstr(row));
  EXPECT_TRUE(convergence::LeavesNothingBehind(pair));
  EXPECT_FALSE(Fails(pair, true));

  pair.second.vlans["VLAN_CONFIGURATIONS"]["a"]["RIPV2"]["enabled"] = false;
  EXPECT_FALSE(convergence::LeavesNothingBehind(pair));
  EXPECT_THAT(TablesOf(pair.second), AllOf(HasSubstr("instance 10"), Not(HasSubstr(row))));
  EXPECT_THAT(TablesAfterBoth(pair, true), HasSubstr(row));
}

}  // namespace
