// How many revisions stay, and which.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "snapshot.h"
#include "store_fixture.h"

namespace revisions_test {

namespace {

using testing::ElementsAre;

class StoreLimits : public Store {
 protected:
  std::vector<unsigned int> Numbers() const {
    std::vector<unsigned int> numbers;
    for (const revisions::Revision& revision : store->GetRevisions()) {
      numbers.push_back(revision.number);
      EXPECT_TRUE(std::filesystem::exists(store->PathOf(revision.number)));
    }
    return numbers;
  }
  std::string KeepText(const std::string& text) {
    return Keep(DocumentsOf({{"vlans.json", text}}));
  }
};

TEST_F(StoreLimits, AreFiftyRevisionsAndAQuarterOfAGigabyte) {
  EXPECT_EQ(RevisionStore::Limits().revisions, 50u);
  EXPECT_EQ(RevisionStore::Limits().bytes, 268435456u);
}

TEST_F(StoreLimits, TakeTheOldestAway) {
  Open({3, 1000});
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(KeepText(std::to_string(i)), "");
  }
  EXPECT_THAT(Numbers(), ElementsAre(1, 2, 3));
  ASSERT_EQ(KeepText("3"), "");
  EXPECT_THAT(Numbers(), ElementsAre(2, 3, 4));
  EXPECT_EQ(Listing(), "2 3 4 FOLDER LOCK STATE.json");
  EXPECT_EQ(store->Find(1), nullptr);
  const std::string before = Describe(*store);
  Open({3, 1000});
  EXPECT_EQ(Describe(*store), before);
  Open({2, 1000});  // smaller limits count from the next revision on
  EXPECT_THAT(Numbers(), ElementsAre(2, 3, 4));
  ASSERT_EQ(KeepText("4"), "");
  EXPECT_THAT(Numbers(), ElementsAre(4, 5));
  EXPECT_EQ(store->GetLast(), 5u);
}

TEST_F(StoreLimits, LeaveWhatTheStateNames) {
  Open({2, 1000});
  ASSERT_EQ(KeepText("1"), "");
  ASSERT_EQ(KeepText("2"), "");
  ASSERT_EQ(store->Set(InForce(1)), "");
  revisions::State named = InForce(3);
  named.unconfirmed = {3, 1, 0, ""};
  ASSERT_EQ(store->Keep(RevisionOf(3), {}, named), "");
  EXPECT_THAT(Numbers(), ElementsAre(1, 3));
  named = InForce(4);
  named.unconfirmed = {3, 1, 0, ""};
  ASSERT_EQ(store->Keep(RevisionOf(4), {}, named), "");
  EXPECT_THAT(Numbers(), ElementsAre(1, 3, 4)) << "more than the limit";
  named.unconfirmed = {1, 4, 0, ""};
  named.inForce = 5;
  ASSERT_EQ(store->Keep(RevisionOf(5), {}, named), "");
  EXPECT_THAT(Numbers(), ElementsAre(1, 4, 5));
  Open();
  EXPECT_THAT(Numbers(), ElementsAre(1, 4, 5));
}

TEST_F(StoreLimits, CountEqualDocumentsOnce) {
  Open({50, 30});
  ASSERT_EQ(Keep(DocumentsOf(
                {{"vlans.json", std::string(10, 'a')}, {"remote/a.json", std::string(12, 'b')}})),
            "");
  ASSERT_EQ(Keep(DocumentsOf(
                {{"vlans.json", std::string(10, 'a')}, {"remote/a.json", std::string(8, 'c')}})),
            "");
  EXPECT_THAT(Numbers(), ElementsAre(1, 2)) << "30 bytes";
  ASSERT_EQ(Keep(DocumentsOf(
                {{"vlans.json", std::string(8, 'c')}, {"remote/a.json", std::string(8, 'c')}})),
            "");
  EXPECT_THAT(Numbers(), ElementsAre(1, 2, 3)) << "still";
  ASSERT_EQ(KeepText(std::string(12, 'd')), "");
  EXPECT_THAT(Numbers(), ElementsAre(2, 3, 4)) << "without the first, 30 bytes";
  EXPECT_EQ(Read("2/vlans.json"), std::string(10, 'a'));
}

TEST_F(StoreLimits, RefuseARevisionThatIsTooLarge) {
  Open({50, 30});
  ASSERT_EQ(KeepText(std::string(20, 'a')), "");
  const std::string before = Describe(*store);
  EXPECT_EQ(KeepText(std::string(31, 'b')),
            path + ": too large, expected revisions of at most 30 bytes, found 31");
  revisions::State named = InForce(2);
  named.unconfirmed = {2, 1, 0, ""};
  EXPECT_EQ(store->Keep(RevisionOf(2), DocumentsOf({{"vlans.json", std::string(11, 'b')}}), named),
            path + ": too large, expected revisions of at most 30 bytes, found 31");
  EXPECT_EQ(Describe(*store), before);
  EXPECT_EQ(Listing(), "1 FOLDER LOCK STATE.json");
  ASSERT_EQ(store->Keep(RevisionOf(2), DocumentsOf({{"vlans.json", std::string(10, 'b')}}), named),
            "");
  EXPECT_THAT(Numbers(), ElementsAre(1, 2));
}

}  // namespace

}  // namespace revisions_test
