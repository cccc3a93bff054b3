// What a check passes a reload takes, and what it refuses leaves no trace. Whatever came before, the
// device ends as a start with the last folder that was taken.
//
// A device gets one random folder after the other: documents of the examples and of the scenarios,
// as they are or changed in a few places, and files that are missing. A group's seed is the run's
// seed plus its number: VANTACORE_SEED=... VANTACORE_RANDOM_SCALE=1 repeats the first group.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "device/documents/config_folder.h"
#include "tests/convergence/folder_host.h"
#include "tests/models/random_run.h"
#include "tests/support/forked_text.h"
#include "tests/support/scratch_folder.h"

namespace {

using convergence::FolderHost;
using test_support::ScratchFolder;

constexpr unsigned int GROUPS = 25;
constexpr unsigned int FOLDERS = 20;  // of a group, which one device gets

using Texts = std::vector<std::string>;

/// The documents of one kind that there are in the repository.
struct Pool {
  Texts device;
  Texts vlans;
  Texts remote;
};

std::string ReadText(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

bool BeginsWith(const std::string& text, const std::string& with) {
  return text.compare(0, with.size(), with) == 0;
}

// A scenario's documents have names like 00-device.json, 01-vlans.json, 02-remote.json.
Pool ReadPool() {
  std::vector<std::filesystem::path> paths;
  for (const char* const folder : {"examples", "tests/scenarios"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      if (entry.path().extension() == ".json") paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  Pool pool;
  for (const auto& path : paths) {
    std::string name = path.filename().string();
    name.erase(0, name.find_first_not_of("0123456789-"));
    const bool isRemote = BeginsWith(name, "remote") || path.parent_path().filename() == "remote";
    Texts& texts = BeginsWith(name, "device") ? pool.device : isRemote ? pool.remote : pool.vlans;
    texts.push_back(ReadText(path));
  }
  return pool;
}

class Draw {
 public:
  explicit Draw(unsigned int seed) : m_engine(seed) {}

  std::size_t Below(std::size_t below) {
    return std::uniform_int_distribution<std::size_t>(0, below - 1)(m_engine);
  }
  bool Percent(unsigned int percent) { return Below(100) < percent; }
  const std::string& From(const Texts& texts) { return texts[Below(texts.size())]; }

  /// A piece of the text is deleted, stands twice, or becomes another piece of it.
  std::string Changed(std::string text) {
    if (text.empty()) return text;
    const std::size_t at = Below(text.size());
    const std::string piece = text.substr(Below(text.size()), 1 + Below(8));
    switch (Below(3)) {
      case 0:
        return text.erase(at, 1 + Below(8));
      case 1:
        return text.insert(at, text.substr(at, 1 + Below(40)));
      default:
        return text.replace(at, piece.size(), piece);
    }
  }

 private:
  std::mt19937 m_engine;
};

// Every second one is the first network's, which is the first: most of the scenarios' have errors.
std::string DrawDocument(Draw& draw, const Texts& texts) {
  std::string text = draw.Percent(50) ? texts.front() : draw.From(texts);
  const std::size_t changes = draw.Percent(70) ? 0 : 1 + draw.Below(3);
  for (std::size_t i = 0; i < changes; ++i) text = draw.Changed(text);
  return text;
}

void WriteOrRemove(Draw& draw, const ScratchFolder& folder, const std::string& name,
                   const Texts& texts, unsigned int percent) {
  if (draw.Percent(percent)) {
    folder.Write(name, DrawDocument(draw, texts));
  } else if (std::filesystem::exists(folder.PathOf(name))) {
    folder.Remove(name);
  }
}

std::string Verdict(const FolderHost::Answer& answer) {
  std::string text = answer.hasPassed ? "passes\n" : "fails\n";
  for (const std::string& line : answer.lines) text += line;
  return text;
}

// What a check finds that knows of no device: vantacored --check.
std::string VerdictOfACheckAlone(const ScratchFolder& folder) {
  const documents::Findings findings =
      documents::ConfigFolder(folder.Path(), {documents::DeclaredProtocols(), false})
          .ReadFirst()
          .findings;
  std::string text = findings.HasErrors() ? "fails\n" : "passes\n";
  for (const std::string& line : findings.Lines()) text += line + "\n";
  return text;
}

bool HasAllFiles(const ScratchFolder& folder) {
  return std::filesystem::exists(folder.PathOf("device.json")) &&
         std::filesystem::exists(folder.PathOf("vlans.json"));
}

/// Why the device does not do with the folder what it has to do; otherwise "passes" or "fails".
std::string Try(FolderHost& host, const ScratchFolder& folder) {
  const std::string before = host.State();
  host.TakeCalls();
  const FolderHost::Answer check = host.Check();
  const FolderHost::Answer reload = host.Reload();
  if (Verdict(check) != Verdict(reload)) {
    return "the check: " + Verdict(check) + "the reload: " + Verdict(reload);
  }
  if (HasAllFiles(folder) && Verdict(check) != VerdictOfACheckAlone(folder)) {
    return "the check: " + Verdict(check) + "a check alone: " + VerdictOfACheckAlone(folder);
  }
  if (!reload.hasPassed) {
    const bool isSilent = host.TakeCalls().empty() && host.State() == before;
    return isSilent ? "fails" : "changes something although it fails: " + Verdict(reload);
  }
  const std::string after = host.State();
  host.TakeCalls();
  const FolderHost::Answer again = host.Reload();
  const bool isSilent = host.TakeCalls().empty() && host.State() == after;
  if (!isSilent || Verdict(again) != Verdict(reload)) {
    return "the same again changes something: " + Verdict(again);
  }
  return "passes";
}

const char* const FILES[] = {"device.json", "vlans.json", "remote/a.json", "remote/b.json"};

void CopyFiles(const ScratchFolder& from, const ScratchFolder& to) {
  for (const char* const name : FILES) {
    if (std::filesystem::exists(from.PathOf(name))) {
      to.Write(name, ReadText(from.PathOf(name)));
    } else if (std::filesystem::exists(to.PathOf(name))) {
      to.Remove(name);
    }
  }
}

constexpr const char* STATE = "--- state\n";

// One line for each folder, in a process of its own, then what the device ends with. `taken` has the
// last folder that was taken.
std::string TryGroup(const Pool& pool, unsigned int seed, const ScratchFolder& taken) {
  return test_support::TextOfChild([&] {
    Draw draw(seed);
    ScratchFolder folder;
    folder.Write("device.json", ReadText("examples/first-network/device.json"));
    folder.Write("vlans.json", ReadText("examples/first-network/vlans.json"));
    FolderHost host(folder.Path(), seed % 2 == 0 ? 1 : 10);
    std::string text = host.Start().hasPassed ? "" : "the first network is refused\n";
    for (unsigned int i = 0; i < FOLDERS; ++i) {
      if (draw.Percent(50)) WriteOrRemove(draw, folder, "device.json", pool.device, 95);
      if (draw.Percent(70)) WriteOrRemove(draw, folder, "vlans.json", pool.vlans, 95);
      if (draw.Percent(50)) WriteOrRemove(draw, folder, "remote/a.json", pool.remote, 60);
      if (draw.Percent(50)) WriteOrRemove(draw, folder, "remote/b.json", pool.remote, 60);
      const std::string verdict = Try(host, folder);
      if (verdict == "passes") CopyFiles(folder, taken);
      text += verdict + "\n";
    }
    if (!host.AwaitDone()) return "not done: " + host.WhatIsNotDone();
    return text + STATE + host.State();
  });
}

std::string StateOfAStart(const ScratchFolder& folder) {
  return test_support::TextOfChild([&]() -> std::string {
    FolderHost host(folder.Path(), 1);
    if (!host.Start().hasPassed) return "the folder is refused\n";
    return host.AwaitDone() ? host.State() : "not done: " + host.WhatIsNotDone();
  });
}

TEST(RandomFolders, AreTakenOrRefusedAsTheCheckSays) {
  const test_models::Random random;
  const Pool pool = ReadPool();
  ASSERT_GT(pool.device.size(), 3u);
  ASSERT_GT(pool.vlans.size(), 50u);
  ASSERT_GT(pool.remote.size(), 5u);
  test_models::Occurrences count;
  const unsigned int groups = test_models::Scaled(GROUPS);
  for (unsigned int i = 0; i < groups; ++i) {
    const unsigned int seed = random.GetSeed() + i;
    const ScratchFolder taken;
    const std::string all = TryGroup(pool, seed, taken);
    const std::string text = all.substr(0, all.find(STATE));
    std::istringstream lines(text);
    unsigned int verdicts = 0;
    for (std::string line; std::getline(lines, line);) {
      count(line);
      verdicts += line == "passes" || line == "fails" ? 1 : 0;
    }
    ASSERT_EQ(verdicts, FOLDERS) << "VANTACORE_SEED=" << seed << "\n" << text;
    if (!std::filesystem::exists(taken.PathOf("vlans.json"))) continue;
    ASSERT_EQ(all.substr(all.find(STATE) + std::strlen(STATE)), StateOfAStart(taken))
        << "VANTACORE_SEED=" << seed;
    count("ends as a start");
  }
  count.ExpectAtLeast(40, "passes");
  count.ExpectAtLeast(100, "fails");
  count.ExpectAtLeast(10, "ends as a start");
}

}  // namespace
