// Files of a store as somebody else may leave them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cctype>
#include <filesystem>

#include "snapshot.h"
#include "store_fixture.h"
#include "tests/models/random_run.h"

namespace revisions_test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class HostileFiles : public Store {
 protected:
  HostileFiles() {
    Open();
    EXPECT_EQ(Keep(DocumentsOf({{"vlans.json", "{}"}, {"remote/a.json", "[]"}})), "");
    revisions::State wanted = InForce(2);
    wanted.unconfirmed = {2, 1, 1700000123, "alice"};
    wanted.undone = documents::Digest{1, 2};
    EXPECT_EQ(store->Keep(RevisionOf(2), DocumentsOf({{"vlans.json", "{ }"}}), wanted), "");
    Close();
    stateText = Read(STATE);
    revisionText = Read(REVISION);
  }

  static std::string Replaced(std::string text, const std::string& what, const std::string& by) {
    const std::size_t found = text.find(what);
    EXPECT_NE(found, std::string::npos) << what << " in " << text;
    return found == std::string::npos ? text : text.replace(found, what.size(), by);
  }
  void ExpectDamaged(const char* file, const std::string& text, const std::string& problem) {
    Write(file, text);
    const std::string told = OpenInVain();
    EXPECT_THAT(told, StartsWith(path + "/" + file + ": ")) << text;
    EXPECT_THAT(told, HasSubstr(problem)) << text;
    EXPECT_THAT(Listing(), testing::StartsWith("1 2 FOLDER LOCK STATE.json")) << "nothing is lost";
  }
  void ExpectDamagedState(const std::string& what, const std::string& by,
                          const std::string& problem) {
    ExpectDamaged(STATE, Replaced(stateText, what, by), problem);
    Write(STATE, stateText);
  }
  void ExpectDamagedRevision(const std::string& what, const std::string& by,
                             const std::string& problem) {
    ExpectDamaged(REVISION, Replaced(revisionText, what, by), problem);
    Write(REVISION, revisionText);
  }

  static constexpr const char* STATE = "STATE.json";
  static constexpr const char* REVISION = "1/revision.json";
  std::string stateText;
  std::string revisionText;
};

// A daemon with a trial to take back must not lose its store for a revision of last month.
TEST_F(HostileFiles, OfARevisionThatTheStateDoesNotNameLeaveItOut) {
  Open();
  EXPECT_EQ(store->Keep(RevisionOf(3), DocumentsOf({{"vlans.json", "{  }"}}), InForce(3)), "");
  Close();
  Write(REVISION, "{");
  Open();
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(store->Find(1), nullptr);
  EXPECT_NE(store->Find(2), nullptr);
  EXPECT_EQ(store->GetState().inForce, 3u);
  EXPECT_EQ(Read(REVISION), "{") << "and leave it alone";
}

TEST_F(HostileFiles, AreNotJson) {
  for (const char* file : {STATE, REVISION}) {
    const std::string whole = Read(file);
    ExpectDamaged(file, "", "is damaged, expected an object");
    ExpectDamaged(file, "[]", "expected an object");
    ExpectDamaged(file, "null", "expected an object");
    ExpectDamaged(file, whole + "}", "expected an object");
    ExpectDamaged(file, whole.substr(0, whole.size() / 2), "expected an object");
    ExpectDamaged(file, "// comment\n" + whole, "expected an object");
    ExpectDamaged(file, std::string(100000, '['), "");
    ExpectDamaged(file, std::string(60000, '['), "");
    ExpectDamaged(file, R"({"a": [[[[[[[[[[[[]]]]]]]]]]]]})", "expected an object");
    ExpectDamaged(file, std::string("\0{}", 3), "expected an object");
    ExpectDamaged(file, Replaced(whole, "{", "{\"format\": 1, "), "expected an object");
    ExpectDamaged(file, "{}", "expected a number from 1 to 1 as \"format\"");
    ExpectDamaged(file, Replaced(whole, "\"format\" : 1", "\"format\" : 2"), "as \"format\"");
    Write(file, whole);
  }
  Open();
}

TEST_F(HostileFiles, AreTooLong) {
  Write(STATE, stateText + std::string((64u << 10) - stateText.size(), ' '));
  Open();
  Close();
  ExpectDamaged(STATE, Read(STATE) + " ", "is damaged, expected at most 65536 bytes");
  Write(STATE, stateText);
  Write(REVISION, revisionText + std::string((4u << 20) - revisionText.size(), ' '));
  Open();
  Close();
  ExpectDamaged(REVISION, Read(REVISION) + " ", "is damaged, expected at most 4194304 bytes");
}

TEST_F(HostileFiles, AreNotFiles) {
  for (const char* file : {STATE, REVISION, "FOLDER"}) {
    std::filesystem::rename(path + "/" + file, path + "/away");
    std::filesystem::create_directory(path + "/" + file);
    EXPECT_EQ(OpenInVain(),
              path + "/" + file + ": not a regular file, expected one, found a folder");
    std::filesystem::remove(path + "/" + file);
    ASSERT_EQ(mkfifo((path + "/" + file).c_str(), 0600), 0);
    EXPECT_EQ(OpenInVain(), path + "/" + file + ": not a regular file, expected one, found a pipe");
    std::filesystem::remove(path + "/" + file);
    std::filesystem::rename(path + "/away", path + "/" + file);
  }
  std::filesystem::remove(path + "/" + REVISION);
  EXPECT_THAT(OpenInVain(), StartsWith(path + "/" + REVISION + ": cannot be read"));
}

TEST_F(HostileFiles, HaveTheWrongNumbers) {
  for (const char* wrong : {"-1", "1.5", "\"1\"", "null", "[]", "{}", "true", "1e3000",
                            "18446744073709551616", "4294967297", "1000000000"}) {
    ExpectDamagedState("\"last\" : 2", std::string("\"last\" : ") + wrong, "is damaged, ");
    ExpectDamagedState("\"in_force\" : 2", std::string("\"in_force\" : ") + wrong, "is damaged, ");
    ExpectDamagedState("\"revision\" : 2", std::string("\"revision\" : ") + wrong, "is damaged, ");
    ExpectDamagedState("\"back\" : 1", std::string("\"back\" : ") + wrong, "is damaged, ");
    ExpectDamagedRevision("\"number\" : 1", std::string("\"number\" : ") + wrong, "is damaged, ");
    ExpectDamagedRevision("\"of\" : 0", std::string("\"of\" : ") + wrong, "is damaged, ");
  }
  ExpectDamagedState("\"last\" : 2", "\"last\" : 1000000000",
                     "expected a number from 0 to 999999999 as \"last\"");
  ExpectDamagedState("\"back\" : 1", "\"back\" : 0",
                     "expected a number from 1 to 999999999 as \"back\"");
  ExpectDamagedState("\"back\" : 1", "\"back\" : 3", "it names revision 3, which is not there");
  ExpectDamagedState("\"in_force\" : 2", "\"in_force\" : 3", "it names revision 3");
  ExpectDamagedState("1700000123", "-1", "\"until\"");
  ExpectDamagedState("1700000123", "9223372036854775808", "\"until\"");
  ExpectDamagedState("1700000123", "100000000000", "\"until\"");
  ExpectDamagedState("\"alice\"", "7", "expected a text as \"asker\"");
  ExpectDamagedState("\"last\" : 2", "\"last\" : 0",
                     "there is a revision 2, expected none after 0");
}

TEST_F(HostileFiles, HaveTheWrongParts) {
  const std::string digits(32, '0');
  const std::string undone = "00000000000000020000000000000001";
  for (const std::string& wrong :
       {std::string(31, '0'), std::string(33, '0'), std::string(), std::string(31, '0') + "g",
        std::string(31, '0') + "A", " " + std::string(31, '0'), "-" + std::string(31, '0')}) {
    ExpectDamagedState(undone, wrong, "expected 32 hexadecimal digits as \"undone\"");
  }
  ExpectDamagedRevision("\"reload\"", "\"restart\"",
                        "expected start, reload, undo or way back as \"cause\"");
}

TEST_F(HostileFiles, HaveTheWrongDocuments) {
  ExpectDamagedRevision("\"vlans.json\"", "\"../../x.json\"",
                        "expected the name of a document as \"name\"");
  ExpectDamagedRevision("\"vlans.json\"", "\"remote/../../x.json\"", "the name of a document");
  ExpectDamagedRevision("\"vlans.json\"", "\"remote/a.json\"", "each name once");
  ExpectDamagedRevision("\"vlans.json\"", "5", "expected a text as \"name\"");
  ExpectDamagedRevision("\"size\" : 2", "\"size\" : 33554433",
                        "expected a number from 0 to 33554432 as \"size\"");
  ExpectDamagedRevision("\"documents\"", "\"document\"",
                        "expected a list of 4096 at most as \"documents\"");
  std::string many = "[0";
  for (int i = 0; i < 4096; ++i) {
    many += ",0";
  }
  const std::size_t begin = revisionText.find('[');
  const std::size_t end = revisionText.find(']');
  ExpectDamagedRevision(revisionText.substr(begin, end - begin), many, "a list of 4096 at most");
  ExpectDamagedRevision(revisionText.substr(begin, end - begin), "[0", "expected an object");
}

// Whatever the bytes, the store opens or says which file is damaged.
TEST_F(HostileFiles, AreReadWithoutHarm) {
  test_models::Random random;
  unsigned int opened = 0;
  unsigned int refused = 0;
  const unsigned int runs = test_models::Scaled(3000);
  for (unsigned int run = 0; run < runs; ++run) {
    const bool isState = random.Percent(50);
    const char* file = isState ? STATE : REVISION;
    std::string text = isState ? stateText : revisionText;
    for (unsigned int slips = 1 + random.Below(3); slips > 0 && !text.empty(); --slips) {
      const std::size_t at = random.Below(static_cast<unsigned int>(text.size()));
      switch (random.Below(6)) {
        case 0:
          text[at] = static_cast<char>(random.Below(256));
          break;
        case 1:
          text.erase(at, 1 + random.Below(8));
          break;
        case 2:
          text.insert(at, 1, "{}[]\",:0-19e\\"[random.Below(13)]);
          break;
        case 3:
          text.insert(at, text.substr(random.Below(static_cast<unsigned int>(text.size())), 20));
          break;
        case 4:
          text.resize(at + 1);
          break;
        default:  // the likeliest to be read
          text[at] = std::isdigit(static_cast<unsigned char>(text[at])) != 0
                         ? static_cast<char>('0' + random.Below(10))
                         : text[at];
      }
    }
    Write(file, text);
    std::string problem;
    store = RevisionStore::Open(state.Path(), config.Path(), {}, problem);
    if (store == nullptr) {
      ++refused;
      ASSERT_THAT(problem, HasSubstr("/")) << testing::PrintToString(text);
      ASSERT_EQ(problem.find('\n'), std::string::npos) << problem;
    } else {
      ++opened;
      for (const revisions::Revision& revision : store->GetRevisions()) {
        ASSERT_NE(Describe(*store, revision), "");
      }
      Close();
    }
    // A slip in "last" makes the second revision one that was begun; then there is none.
    if (Listing() != "1 2 FOLDER LOCK STATE.json") {
      ADD_FAILURE() << Listing() << testing::PrintToString(text);
      break;
    }
    Write(STATE, stateText);
    Write(REVISION, revisionText);
  }
  std::printf("%u opened, %u refused\n", opened, refused);
  test_models::ExpectAtLeast(refused, runs / 3, "refused");
  Open();
  EXPECT_EQ(store->GetRevisions().size(), 2u);
}

}  // namespace

}  // namespace revisions_test
