// Whatever the stack answers, and whatever happens meanwhile, a device ends as one that was started
// with the last folder and to whose interfaces the same has happened since.
//
// The faults are finite: after the last step every request is answered, and those are that have
// been lost. Then the device has three minutes of virtual time to say that everything is done, and
// what it says has to be so.
//
// Nothing of what was before stays behind: VLANs and protocols that the VLAN document named, rows of
// protocols that stopped, what remote documents said and what they say of VLANs that are not there.
//
// A sequence's seed is the run's seed plus its number, so the first sequence of a run with the seed
// that a failure names is the failed one: VANTACORE_SEED=... VANTACORE_RANDOM_SCALE=1. The long
// form is VANTACORE_RANDOM_SCALE=4000, with 20,000 sequences.

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/convergence/folder_host.h"
#include "tests/convergence/folder_sequence.h"
#include "tests/models/random_run.h"
#include "tests/support/forked_text.h"
#include "tests/support/scratch_folder.h"

namespace {

using convergence::FolderHost;
using convergence::FolderSequence;
using convergence::FolderStep;
using test_support::ScratchFolder;
using test_support::TextOfChild;

constexpr unsigned int SEQUENCES = 500;

constexpr const char* TABLES = "--- tables\n";

/// What came of a sequence.
struct Outcome {
  std::vector<std::size_t> since;  // the steps with interfaces since the last folder was applied
  std::string problem;
  std::string tables;
};

std::uint32_t MarkOf(FolderHost& host) {
  return host.GetInterfaces().IndexOf(10, convergence::MARK_NAME).value_or(0);
}

bool CanHappen(FolderHost& host, const FolderStep& step) {
  return !step.interface ||
         host.GetInterfaces().IndexOf(step.interface->first,
                                      convergence::InterfaceName(step.interface->second));
}

// The steps since the last folder's interfaces are in force, as numbers, then the tables.
std::string Play(const FolderSequence& sequence, const ScratchFolder& folder) {
  FolderHost host(folder.Path(), 1);
  if (!host.Start().hasPassed) return "the first folder is refused\n";
  std::vector<std::size_t> since;
  std::uint32_t mark = MarkOf(host);
  const std::vector<FolderStep>& steps = sequence.Steps();
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (!CanHappen(host, steps[i])) continue;
    if (mark != MarkOf(host)) since.clear();
    mark = MarkOf(host);
    if (steps[i].interface) since.push_back(i);
    steps[i].apply(host, folder);
  }
  host.EndFaults();
  std::string text = host.AwaitDone() ? "" : "not done: " + host.WhatIsNotDone();
  if (mark != MarkOf(host)) since.clear();
  if (MarkOf(host) != sequence.Mark()) text += "the last folder is not in force\n";
  text += TABLES + host.Tables();
  for (const std::size_t number : since) text = std::to_string(number) + " " + text;
  return text;
}

std::string PlayFresh(const FolderSequence& sequence, const ScratchFolder& folder,
                      const std::vector<std::size_t>& since) {
  FolderHost host(folder.Path(), 1);
  if (!host.Start().hasPassed) return "the last folder is refused\n";
  for (const std::size_t number : since) {
    sequence.Steps()[number].apply(host, folder);
    host.LetTimePass(1);
  }
  const std::string problem = host.AwaitDone() ? "" : "fresh: " + host.WhatIsNotDone();
  return problem + host.Tables();
}

Outcome OutcomeOf(const std::string& text) {
  const std::size_t begin = text.find(TABLES);
  if (begin == std::string::npos) return {{}, text, ""};
  Outcome outcome;
  std::istringstream head(text.substr(0, begin));
  for (std::size_t number = 0; head >> number;) outcome.since.insert(outcome.since.begin(), number);
  head.clear();
  std::getline(head, outcome.problem, '\0');
  outcome.tables = text.substr(begin + std::strlen(TABLES));
  return outcome;
}

std::set<std::string> LinesOf(const std::string& text) {
  std::istringstream stream(text);
  std::set<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.insert(line);
  return lines;
}

// What the device has that a fresh one does not have, with a plus, and the reverse, with a minus.
std::string Differences(const std::string& tables, const std::string& fresh) {
  const std::set<std::string> has = LinesOf(tables);
  const std::set<std::string> wants = LinesOf(fresh);
  std::string text;
  for (const std::string& line : has) {
    if (wants.count(line) == 0) text += "+" + line + "\n";
  }
  for (const std::string& line : wants) {
    if (has.count(line) == 0) text += "-" + line + "\n";
  }
  return text;
}

void Count(const FolderSequence& sequence, const std::string& tables,
           test_models::Occurrences& count) {
  for (const FolderStep& step : sequence.Steps()) count(step.kind);
  for (const std::string& change : sequence.Changes()) count(change);
  for (const char* const row : {"address", "redistribution", "protocol", "route"}) {
    if (tables.find("\n" + std::string(row) + " ") != std::string::npos) {
      count(std::string("ends with ") + row);
    }
  }
}

void ExpectAllKinds(test_models::Occurrences& count) {
  for (const char* const kind : {"reload",
                                 "status changes",
                                 "joined changes",
                                 "address comes or changes",
                                 "address goes",
                                 "IPv6 address comes or goes",
                                 "flap",
                                 "busy",
                                 "refused",
                                 "late",
                                 "twice",
                                 "never",
                                 "busy for a time",
                                 "hold",
                                 "release",
                                 "end of lost requests",
                                 "restart",
                                 "wait",
                                 "ends with address",
                                 "ends with redistribution",
                                 "ends with protocol",
                                 "ends with route"}) {
    count.ExpectAtLeast(100, kind);
  }
  for (const char* const kind :
       {"typo", "mending", "a VLAN comes", "a VLAN comes back", "a VLAN goes",
        "a protocol is named", "a protocol is named no more", "a protocol is enabled",
        "a protocol is disabled", "a protocol has other rows", "a remote document comes",
        "a remote document goes", "an entry comes", "an entry without VLAN comes",
        "an entry goes"}) {
    count.ExpectAtLeast(10, kind);
  }
}

TEST(Faults, EverySequenceEndsAsAFreshStart) {
  const test_models::Random random;
  test_models::Occurrences count;
  const unsigned int sequences = test_models::Scaled(SEQUENCES);
  for (unsigned int i = 0; i < sequences; ++i) {
    const unsigned int seed = random.GetSeed() + i;
    const FolderSequence sequence(seed);
    const ScratchFolder folder;
    convergence::WriteFiles(sequence.First(), folder);
    const Outcome outcome = OutcomeOf(TextOfChild([&] { return Play(sequence, folder); }));
    convergence::WriteFiles(sequence.Last(), folder);
    const std::string fresh =
        TextOfChild([&] { return PlayFresh(sequence, folder, outcome.since); });
    ASSERT_EQ(outcome.problem, "") << "VANTACORE_SEED=" << seed << "\n" << sequence.Text();
    ASSERT_EQ(Differences(outcome.tables, fresh), "") << "VANTACORE_SEED=" << seed << "\n"
                                                      << sequence.Text();
    Count(sequence, fresh, count);
  }
  ExpectAllKinds(count);
}

}  // namespace
