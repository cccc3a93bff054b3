// One character of the first network's folder is changed. Then either the check finds an error, and
// a reload changes nothing, or a reload ends as a start with that folder does.
//
// Nothing is excepted: a VLAN that only a remote document goes on naming goes, as after a start.
//
// A change's seed is the run's seed plus its number, so the first change of a run with the seed
// that a failure names is the failed one: VANTACORE_SEED=... VANTACORE_RANDOM_SCALE=1. The long
// form is VANTACORE_RANDOM_SCALE=4000, with 10,000 changes.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/convergence/folder_host.h"
#include "tests/models/random_run.h"
#include "tests/support/forked_text.h"
#include "tests/support/scratch_folder.h"

namespace {

using convergence::FolderHost;
using test_support::ScratchFolder;
using test_support::TextOfChild;

constexpr unsigned int CHANGES = 250;
const char* const FOLDER = "examples/first-network";

using Files = std::map<std::string, std::string>;

Files ReadFiles() {
  Files files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(FOLDER)) {
    if (entry.is_regular_file() && entry.path().extension() == ".json") {
      std::ifstream stream(entry.path(), std::ios::binary);
      files[std::filesystem::relative(entry.path(), FOLDER).string()] = {
          std::istreambuf_iterator<char>(stream), {}};
    }
  }
  return files;
}

/// One file with one character changed.
struct Change {
  std::string file;
  std::string text;
  std::string what;
};

const char* const ALPHABETS[] = {"0123456789", "abcdefvxzABEFVZ", "{}[]:,\"./\\_-+", " \t\n",
                                 "\x01\x7F\x80\xC3\xFF"};

class Draw {
 public:
  explicit Draw(unsigned int seed) : m_engine(seed) {}

  unsigned int Below(std::size_t below) {
    return std::uniform_int_distribution<unsigned int>(
        0, static_cast<unsigned int>(below) - 1)(m_engine);
  }
  // A NUL is as likely as the others of the bytes that no text has.
  char Character(unsigned int kind) {
    const std::string alphabet = ALPHABETS[kind];
    const std::size_t count = alphabet.size() + (kind + 1 == std::size(ALPHABETS) ? 1 : 0);
    return alphabet.c_str()[Below(count)];
  }

 private:
  std::mt19937 m_engine;
};

std::size_t DrawDigit(Draw& draw, const std::string& text) {
  std::vector<std::size_t> digits;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] >= '0' && text[i] <= '9') digits.push_back(i);
  }
  return digits[draw.Below(digits.size())];
}

// Most changes at any place end as an error, so every second is one of a digit.
Change DrawChange(unsigned int seed, const Files& files) {
  Draw draw(seed);
  const auto file = std::next(files.begin(), draw.Below(files.size()));
  std::string text = file->second;
  const bool isOfDigit = draw.Below(2) == 0;
  const std::size_t at = isOfDigit ? DrawDigit(draw, text) : draw.Below(text.size());
  const std::string place = " at " + std::to_string(at) + " of " + file->first;
  const char character =
      draw.Character(isOfDigit ? 0 : draw.Below(static_cast<unsigned int>(std::size(ALPHABETS))));
  const unsigned int byte = static_cast<unsigned char>(character);
  switch (draw.Below(3)) {
    case 0:
      text.erase(at, 1);
      return {file->first, text, "a character is deleted" + place};
    case 1:
      text.insert(at, 1, character);
      return {file->first, text, "byte " + std::to_string(byte) + " is inserted" + place};
    default:
      text[at] = character;
      return {file->first, text, "byte " + std::to_string(byte) + " replaces another" + place};
  }
}

/// What came of a folder.
struct Outcome {
  std::string verdict;  // with all findings
  std::string state;    // empty if it was refused, a problem of the test's if there is no verdict
};

constexpr const char* SEPARATOR = "--- state\n";

Outcome OutcomeOf(const std::string& text) {
  const std::size_t end = text.find(SEPARATOR);
  if (end == std::string::npos) return {"", text};
  return {text.substr(0, end), text.substr(end + std::strlen(SEPARATOR))};
}

std::string Verdict(const FolderHost::Answer& answer) {
  std::string text = answer.hasPassed ? "taken\n" : "refused\n";
  for (const std::string& line : answer.lines) text += line;
  return text;
}

Outcome StartWith(const ScratchFolder& folder, std::uint64_t turn) {
  return OutcomeOf(TextOfChild([&] {
    FolderHost host(folder.Path(), turn);
    const FolderHost::Answer answer = host.Start();
    return Verdict(answer) + SEPARATOR + (answer.hasPassed ? host.State() : "");
  }));
}

// What a check tells, a reload does; what a reload refuses leaves no trace.
Outcome ReloadWith(const ScratchFolder& folder, const Change& change, std::uint64_t turn) {
  return OutcomeOf(TextOfChild([&]() -> std::string {
    FolderHost host(folder.Path(), turn);
    if (!host.Start().hasPassed) return "the first network is refused";
    const std::string before = host.State();
    folder.Write(change.file, change.text);
    host.TakeCalls();
    const FolderHost::Answer check = host.Check();
    const FolderHost::Answer reload = host.Reload();
    if (Verdict(check) != Verdict(reload)) {
      return "the check says\n" + Verdict(check) + "and the reload\n" + Verdict(reload);
    }
    if (reload.hasPassed) return Verdict(reload) + SEPARATOR + host.State();
    const std::vector<std::string> calls = host.TakeCalls();
    if (!calls.empty()) return "refused, but the stack hears\n" + calls.front();
    if (host.State() != before) return "refused, but the state is\n" + host.State();
    return Verdict(reload) + SEPARATOR;
  }));
}

class ChangedFolder : public testing::Test {
 protected:
  ChangedFolder() : m_files(ReadFiles()) {
    for (const auto& [name, text] : m_files) m_folder.Write(name, text);
    m_original = StartWith(m_folder, 1);
  }
  void SetUp() override {
    ASSERT_EQ(m_files.size(), 3u);
    ASSERT_EQ(m_original.verdict.compare(0, 6, "taken\n"), 0) << m_original.verdict;
  }

  /// Fails unless all is as it has to be. The folder is as it was afterwards.
  void Try(const Change& change, unsigned int seed) {
    SCOPED_TRACE("VANTACORE_SEED=" + std::to_string(seed) + ": " + change.what);
    const std::uint64_t turn = seed % 2 == 0 ? 1 : 10;
    const Outcome after = ReloadWith(m_folder, change, turn);
    const Outcome fresh = StartWith(m_folder, turn);
    EXPECT_EQ(after.verdict, fresh.verdict) << after.state;
    const bool isRefused = fresh.verdict.compare(0, 8, "refused\n") == 0;
    EXPECT_EQ(after.state, fresh.state);
    m_folder.Write(change.file, m_files.at(change.file));
    m_count(isRefused                         ? "refused"
            : fresh.state == m_original.state ? "taken, says the same"
                                              : "taken, says something else");
  }

  const Files m_files;
  const ScratchFolder m_folder;
  Outcome m_original;
  test_models::Occurrences m_count;
};

TEST_F(ChangedFolder, IsRefusedOrEndsAsAFreshStart) {
  const test_models::Random random;
  const unsigned int changes = test_models::Scaled(CHANGES);
  for (unsigned int i = 0; i < changes; ++i) {
    const unsigned int seed = random.GetSeed() + i;
    Try(DrawChange(seed, m_files), seed);
  }
  m_count.ExpectAtLeast(50, "refused");
  m_count.ExpectAtLeast(5, "taken, says the same");
  m_count.ExpectAtLeast(30, "taken, says something else");
}

// Rare among all changes.
TEST_F(ChangedFolder, KeepsNoVlanThatOnlyARemoteDocumentNames) {
  std::string text = m_files.at("vlans.json");
  const std::string vid = "\"vid\": 30";
  ASSERT_NE(text.find(vid), std::string::npos);
  Try({"vlans.json", text.replace(text.find(vid), vid.size(), "\"vid\": 31"), "VLAN 30 goes"}, 0);
  EXPECT_EQ(StartWith(m_folder, 1).state, m_original.state) << "the mistake has been mended";
}

}  // namespace
