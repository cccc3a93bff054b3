// Whatever happened to a device, it ends as one that was started with the final configuration.
//
// A sequence's seed is the run's seed plus its number, so the first sequence of a run with the seed
// that a failure names is the failed one: VANTACORE_SEED=... VANTACORE_RANDOM_SCALE=1. The long form
// is VANTACORE_RANDOM_SCALE=2400, with 12,000 sequences.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>

#include "tests/convergence/sequence.h"
#include "tests/models/random_run.h"
#include "tests/support/forked_text.h"

namespace {

using convergence::Host;
using convergence::Sequence;
using convergence::Step;
using test_support::TextOfChild;

constexpr unsigned int SEQUENCES = 500;

std::string TablesAfter(const Sequence& sequence) {
  return TextOfChild([&sequence] {
    Host host;
    for (const Step& step : sequence.Steps()) {
      step.apply(host);
    }
    host.Answered();
    return host.Tables();
  });
}

std::string TablesOfAFreshStart(const Sequence& sequence) {
  return TextOfChild([&sequence] {
    Host host;
    host.Configure(sequence.Final());
    return host.Tables();
  });
}

bool HasStaticRoute(const std::string& tables) {
  std::istringstream lines(tables);
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, 6, "route ") == 0 && line.find(" proto 3 ") != std::string::npos) {
      return true;
    }
  }
  return false;
}

void Count(const Sequence& sequence, const std::string& tables, test_models::Occurrences& count) {
  for (const Step& step : sequence.Steps()) {
    count(step.kind);
  }
  const std::pair<const char*, const char*> kinds[] = {
      {"address ", "addresses"}, {"redistribution ", "rules"}, {"protocol ", "protocol rows"}};
  for (const auto& [row, kind] : kinds) {
    if (tables.find(row) != std::string::npos) {
      count(std::string("ends with ") + kind);
    }
  }
  if (HasStaticRoute(tables)) {
    count("ends with installed static routes");
  }
}

void ExpectAllKinds(test_models::Occurrences& count) {
  for (const char* const kind : {"VLAN comes",
                                 "VLAN goes",
                                 "distances change",
                                 "protocol row comes or changes",
                                 "protocol row goes",
                                 "rule comes",
                                 "rule goes",
                                 "interface comes",
                                 "interface goes",
                                 "interface changes",
                                 "status changes",
                                 "status of no interface",
                                 "address comes",
                                 "address changes",
                                 "address goes",
                                 "IPv6 address comes",
                                 "IPv6 address goes",
                                 "route comes or changes",
                                 "route goes",
                                 "refusal",
                                 "delay",
                                 "wait",
                                 "synchronous"}) {
    count.ExpectAtLeast(50, kind);
  }
  for (const char* const kind :
       {"installed static routes", "addresses", "rules", "protocol rows"}) {
    count.ExpectAtLeast(50, std::string("ends with ") + kind);
  }
}

TEST(Convergence, EverySequenceEndsAsAFreshStart) {
  const test_models::Random random;
  test_models::Occurrences count;
  const unsigned int sequences = test_models::Scaled(SEQUENCES);
  for (unsigned int i = 0; i < sequences; ++i) {
    const unsigned int seed = random.GetSeed() + i;
    const Sequence sequence(seed);
    const std::string fresh = TablesOfAFreshStart(sequence);
    ASSERT_NE(fresh.compare(0, 6, "child "), 0) << fresh << "\nVANTACORE_SEED=" << seed;
    ASSERT_EQ(TablesAfter(sequence), fresh) << "VANTACORE_SEED=" << seed << "\n" << sequence.Text();
    Count(sequence, fresh, count);
  }
  ExpectAllKinds(count);
}

}  // namespace
