// Revisions that are kept, and found again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "snapshot.h"
#include "store_fixture.h"

namespace revisions_test {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class RevisionStoreTest : public Store {
 protected:
  std::uint64_t InodeOf(const std::string& name) const {
    struct stat found {};
    EXPECT_EQ(stat((Path() + "/" + name).c_str(), &found), 0) << name;
    return found.st_ino;
  }
  unsigned int ModeOf(const std::string& name) const {
    struct stat found {};
    EXPECT_EQ(lstat((Path() + "/" + name).c_str(), &found), 0) << name;
    return found.st_mode & 07777;
  }
};

TEST_F(RevisionStoreTest, IsEmptyAtFirst) {
  Open();
  EXPECT_EQ(Describe(*store), "in force 0, last 0\n");
  EXPECT_EQ(store->Find(1), nullptr);
  EXPECT_EQ(Listing(), "FOLDER LOCK STATE.json");
  EXPECT_EQ(Read("FOLDER"), std::filesystem::canonical(config.Path()).string() + "\n");
  Open();
  EXPECT_EQ(Describe(*store), "in force 0, last 0\n");
}

TEST_F(RevisionStoreTest, KeepsAllOfARevision) {
  const Texts texts = {{"device.json", "{}"},
                       {"vlans.json", "{\"VLAN_CONFIGURATIONS\": {}}"},
                       {"remote/a.json", std::string("\xEF\xBB\xBF{}\0\r\n", 8)},
                       {"remote/\xC3\xA4 \"b\\.json", ""}};
  Open();
  ASSERT_EQ(Keep(DocumentsOf(texts)), "");
  revisions::Revision second = RevisionOf(2);
  second.time = 0;
  second.asker = "\"\\ \xC3\xA4";
  second.change = "";
  second.of = 1;
  second.digest = {0xFFFFFFFFFFFFFFFFu, 1};
  ASSERT_EQ(store->Keep(second, {}, InForce(2)), "");
  ASSERT_EQ(store->GetRevisions().size(), 2u);
  EXPECT_EQ(store->Find(2)->asker, second.asker);
  EXPECT_EQ(store->Find(2)->digest, second.digest);
  EXPECT_EQ(store->Find(3), nullptr);
  EXPECT_EQ(store->PathOf(1), Path() + "/1");

  Texts files = ReadFolder(store->PathOf(1));
  EXPECT_NE(files["revision.json"], "");
  files.erase("revision.json");
  Texts expected = texts;
  expected["remote"] = "(folder)";
  EXPECT_EQ(files, expected);
  EXPECT_EQ(ReadFolder(store->PathOf(2)).size(), 1u);

  const std::string before = Describe(*store);
  EXPECT_THAT(before,
              StartsWith("in force 2, last 2\n1: time 1700000001 cause 1 of 0 by operator 1: "
                         "1 routes added digest 1:18446744073709551614\n"));
  Open();
  EXPECT_EQ(Describe(*store), before);
}

TEST_F(RevisionStoreTest, KnowsTheStateAgain) {
  Open();
  ASSERT_EQ(Keep({}), "");
  revisions::State wanted = InForce(2);
  wanted.unconfirmed = {2, 1, 1700000123, "alice at the socket"};
  wanted.undone = documents::Digest{0x0123456789ABCDEFu, 0xFEDCBA9876543210u};
  ASSERT_EQ(store->Keep(RevisionOf(2), {}, wanted), "");
  EXPECT_EQ(Describe(store->GetState()), Describe(wanted));
  Open();
  EXPECT_EQ(Describe(store->GetState()), Describe(wanted));

  wanted.unconfirmed.reset();
  ASSERT_EQ(store->Set(wanted), "");
  EXPECT_EQ(Describe(store->GetState()), Describe(wanted));
  Open();
  EXPECT_EQ(Describe(store->GetState()), Describe(wanted));
  ASSERT_EQ(store->Set(InForce(1)), "");
  Open();
  EXPECT_EQ(Describe(store->GetState()), "in force 1");
  EXPECT_EQ(store->GetLast(), 2u);
}

TEST_F(RevisionStoreTest, SharesWhatHasNotChanged) {
  Open();
  ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "one"}, {"remote/a.json", "two"}})), "");
  ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "new"}, {"remote/b.json", "two"}})), "");
  EXPECT_EQ(InodeOf("1/remote/a.json"), InodeOf("2/remote/b.json"));
  ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "one"}, {"remote/b.json", "ten"}})), "");
  EXPECT_EQ(InodeOf("1/vlans.json"), InodeOf("3/vlans.json"));
  EXPECT_NE(InodeOf("2/remote/b.json"), InodeOf("3/remote/b.json"));
  EXPECT_EQ(Read("1/remote/a.json") + Read("2/vlans.json") + Read("3/vlans.json") +
                Read("3/remote/b.json"),
            "twonewoneten");
}

TEST_F(RevisionStoreTest, LetsNobodyElseIn) {
  const mode_t mask = umask(0);
  Open();
  ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "one"}, {"remote/a.json", "two"}})), "");
  umask(mask);
  for (const char* folder : {".", "1", "1/remote"}) {
    EXPECT_EQ(ModeOf(folder), 0700u) << folder;
  }
  for (const char* file :
       {"FOLDER", "LOCK", "STATE.json", "1/revision.json", "1/vlans.json", "1/remote/a.json"}) {
    EXPECT_EQ(ModeOf(file), 0600u) << file;
  }
}

TEST_F(RevisionStoreTest, TakesADocumentWithoutATextFromWhereItIs) {
  Open();
  ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "first"}})), "");
  config.Write("vlans.json", "second");
  config.Write("remote/a.json", "third");
  const revisions::Documents documents = WithoutTexts(DocumentsOf(
      {{"device.json", "first"}, {"vlans.json", "second"}, {"remote/a.json", "third"}}));
  ASSERT_EQ(Keep(documents), "");
  EXPECT_EQ(Read("2/device.json") + Read("2/vlans.json") + Read("2/remote/a.json"),
            "firstsecondthird");
}

TEST_F(RevisionStoreTest, RefusesADocumentThatHasChangedMeanwhile) {
  Open();
  ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "first"}})), "");
  const std::string before = Describe(*store);
  config.Write("vlans.json", "seconds");
  for (const char* text : {"second", "sEconds", "missing"}) {
    EXPECT_EQ(Keep(WithoutTexts(DocumentsOf({{"vlans.json", text}}))),
              std::filesystem::canonical(config.Path()).string() +
                  "/vlans.json: is not as it was when it was read");
  }
  EXPECT_EQ(Describe(*store), before);
  EXPECT_EQ(Listing(), "1 FOLDER LOCK STATE.json");
  Open();
  EXPECT_EQ(Describe(*store), before);
}

// An operator has edited a file in there, or it is gone.
TEST_F(RevisionStoreTest, DoesNotShareWhatHasBeenEdited) {
  Open();
  ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", "first"}, {"remote/a.json", "a"}})), "");
  Write("1/vlans.json", "FIRST");
  std::filesystem::remove(Path() + "/1/remote/a.json");
  std::filesystem::create_symlink(config.PathOf("remote/a.json"), Path() + "/1/remote/a.json");
  config.Write("remote/a.json", "a");
  revisions::Documents documents = DocumentsOf({{"vlans.json", "first"}, {"remote/a.json", "a"}});
  documents[0].text = nullptr;  // remote/a.json
  ASSERT_EQ(documents[0].name, "remote/a.json");
  ASSERT_EQ(Keep(documents), "");
  EXPECT_EQ(Read("2/vlans.json"), "first");
  EXPECT_EQ(Read("2/remote/a.json"), "a");
  EXPECT_EQ(Read("1/vlans.json"), "FIRST");
  EXPECT_FALSE(std::filesystem::is_symlink(Path() + "/2/remote/a.json"));
}

TEST_F(RevisionStoreTest, RefusesWhatItCouldNotReadAgain) {
  Open();
  ASSERT_EQ(Keep({}), "");
  const std::string before = Describe(*store);
  for (const char* name :
       {"", "revision.json", "../vlans.json", "remote", "remote/", "remote/.json", "remote/.a.json",
        "remote/a", "remote/a.JSON", "remote/../a.json", "remote/a/b.json", "remote/a\nb.json",
        "remote/\xFF.json", "/vlans.json", "vlans.json/", "Remote/a.json", "remotes/a.json"}) {
    EXPECT_THAT(Keep({DocumentOf(name, "text")}),
                EndsWith("/2: cannot be written, expected the name of a document as \"name\""))
        << name;
  }
  EXPECT_THAT(Keep({DocumentOf("remote/" + std::string(251, 'a') + ".json", "text")}),
              HasSubstr("the name of a document"));
  EXPECT_THAT(Keep({DocumentOf("vlans.json", "text"), DocumentOf("vlans.json", "other")}),
              EndsWith("/2: cannot be written, expected each name once as \"documents\""));
  const revisions::Documents tooMany(4097);
  EXPECT_THAT(Keep(tooMany), HasSubstr("expected a list of 4096 at most as \"documents\""));
  revisions::Revision early = RevisionOf(2);
  early.time = -1;
  EXPECT_THAT(store->Keep(early, {}, InForce(2)), HasSubstr("as \"time\""));
  EXPECT_EQ(Describe(*store), before);
  EXPECT_EQ(Listing(), "1 FOLDER LOCK STATE.json");
  ASSERT_EQ(Keep({DocumentOf("remote/" + std::string(250, 'a') + ".json", "text")}), "");
}

TEST_F(RevisionStoreTest, RefusesANumberThatIsNotTheNext) {
  Open();
  ASSERT_EQ(Keep({}), "");
  for (const unsigned int number : {0u, 1u, 3u}) {
    EXPECT_EQ(store->Keep(RevisionOf(number), {}, InForce(1)),
              Path() + ": expected revision 2, found " + std::to_string(number));
  }
  EXPECT_EQ(store->GetLast(), 1u);
}

TEST_F(RevisionStoreTest, RefusesAStateThatNamesWhatIsNotThere) {
  Open();
  ASSERT_EQ(Keep({}), "");
  const std::string before = Describe(*store);
  EXPECT_EQ(store->Set(InForce(2)), Path() + ": there is no revision 2");
  EXPECT_EQ(store->Keep(RevisionOf(2), {}, InForce(3)), Path() + ": there is no revision 3");
  revisions::State named = InForce(1);
  named.unconfirmed = {1, 7, 0, ""};
  EXPECT_EQ(store->Set(named), Path() + ": there is no revision 7");
  named.unconfirmed = {8, 1, 0, ""};
  EXPECT_EQ(store->Set(named), Path() + ": there is no revision 8");
  named.unconfirmed = {1, 1, -1, ""};
  EXPECT_THAT(store->Set(named), EndsWith("/STATE.json: cannot be written, expected a number from "
                                          "0 to 99999999999 as \"until\""));
  EXPECT_EQ(Describe(*store), before);
  EXPECT_EQ(Listing(), "1 FOLDER LOCK STATE.json");
  ASSERT_EQ(store->Set(InForce(0)), "");
}

TEST_F(RevisionStoreTest, MakesTextsForPeoplePrintable) {
  Open();
  revisions::Revision revision = RevisionOf(1);
  revision.asker = "a\x1B[2Jb\n";
  revision.change = std::string(5000, 'x');
  revisions::State wanted = InForce(1);
  wanted.unconfirmed = {1, 1, 0, "\x80"};
  ASSERT_EQ(store->Keep(revision, {}, wanted), "");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(store->Find(1)->asker, "a\\x1b[2Jb\\x0a");
    EXPECT_EQ(store->Find(1)->change, std::string(1000, 'x'));
    EXPECT_EQ(store->GetState().unconfirmed->asker, "\\x80");
    Open();
  }
}

// The device was stopped, and somebody has copied an older STATE.json or moved folders.
TEST_F(RevisionStoreTest, RefusesAStoreWhosePartsDoNotFit) {
  Open();
  for (int i = 0; i < 4; ++i) {
    ASSERT_EQ(Keep(DocumentsOf({{"vlans.json", std::to_string(i)}})), "");
  }
  Close();
  const std::string whole = Read("STATE.json");

  std::filesystem::rename(Path() + "/4", Path() + "/8");
  EXPECT_EQ(OpenInVain(), Path() +
                              "/STATE.json: is damaged, there is a revision 8, expected none "
                              "after 4");
  std::filesystem::rename(Path() + "/8", Path() + "/old");
  EXPECT_EQ(OpenInVain(),
            Path() + "/STATE.json: is damaged, it names revision 4, which is not there");
  std::filesystem::rename(Path() + "/3", Path() + "/4");
  EXPECT_EQ(OpenInVain(), Path() + "/4/revision.json: is damaged, expected 4 as \"number\"");
  std::filesystem::rename(Path() + "/4", Path() + "/3");
  std::filesystem::rename(Path() + "/old", Path() + "/4");

  Write("4/vlans.json", "33");
  EXPECT_EQ(OpenInVain(), Path() + "/4/vlans.json: is damaged, expected a file of 1 bytes");
  std::filesystem::remove(Path() + "/4/vlans.json");
  EXPECT_EQ(OpenInVain(), Path() + "/4/vlans.json: is damaged, expected a file of 1 bytes");
  std::filesystem::create_symlink("3", Path() + "/4/vlans.json");  // of one byte, too
  EXPECT_EQ(OpenInVain(), Path() + "/4/vlans.json: is damaged, expected a file of 1 bytes");
  Write("4/vlans.json", "3");

  std::filesystem::rename(Path() + "/STATE.json", Path() + "/away");
  EXPECT_THAT(OpenInVain(), StartsWith(Path() + "/STATE.json: cannot be read"));
  EXPECT_EQ(Listing(), "1 2 3 4 FOLDER LOCK away");
  std::filesystem::rename(Path() + "/away", Path() + "/STATE.json");

  std::filesystem::remove_all(Path() + "/2");  // one that nothing names may go
  std::filesystem::create_directory(Path() + "/007");
  std::filesystem::create_directory(Path() + "/gone-x");
  Open();
  EXPECT_EQ(store->GetRevisions().size(), 3u);
  EXPECT_EQ(Read("STATE.json"), whole);
  EXPECT_EQ(Listing(), "007 1 3 4 FOLDER LOCK STATE.json gone-x");
}

}  // namespace

}  // namespace revisions_test
