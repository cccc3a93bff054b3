// Runs random operations through the whole library and through its literal model, and fails at the
// first difference, with the shortest list of operations that shows it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>

#include "play.h"

namespace library_model {
namespace {

constexpr unsigned long DEFAULT_OPERATIONS = 20000;
constexpr unsigned int OPERATIONS_PER_LIST = 400;
constexpr unsigned int SHRINKING_ROUNDS = 3000;

// What has to come about, and how often in 100,000 operations at least.
const std::pair<const char*, unsigned long> HARD_EVENTS[] = {
#include "hard_events.inc"
};

const char* const HELP =
    "library_model [--operations N] [--seed N] | --replay FILE | --self-test\n"
    "  Random operations are played on the library and on its model; what both show must be "
    "equal.\n"
    "  --operations N  how many (default 20000 at VANTACORE_RANDOM_SCALE percent)\n"
    "  --seed N        repeats a run (or VANTACORE_SEED)\n"
    "  --replay FILE   plays a list as it is printed after a failure, one operation a line\n"
    "  --self-test     plays a list in which the sides do different things, which must be found\n";

struct Options {
  unsigned long operations = DEFAULT_OPERATIONS;
  unsigned int seed = 0;
  const char* replay = nullptr;
  bool selfTest = false;
};

Options ReadOptions(int argc, char** argv) {
  Options options;
  const char* scale = std::getenv("VANTACORE_RANDOM_SCALE");
  const char* seed = std::getenv("VANTACORE_SEED");
  options.seed = seed != nullptr ? static_cast<unsigned int>(std::strtoul(seed, nullptr, 10))
                                 : std::random_device()();
  if (scale != nullptr) {
    options.operations = DEFAULT_OPERATIONS * std::strtoul(scale, nullptr, 10) / 100;
  }
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const bool hasValue = i + 1 < argc;
    if (word == "--operations" && hasValue) {
      options.operations = std::strtoul(argv[++i], nullptr, 10);
    } else if (word == "--seed" && hasValue) {
      options.seed = static_cast<unsigned int>(std::strtoul(argv[++i], nullptr, 10));
    } else if (word == "--replay" && hasValue) {
      options.replay = argv[++i];
    } else if (word == "--self-test") {
      options.selfTest = true;
    } else {
      std::printf("%s", HELP);
      std::exit(word == "--help" ? 0 : 2);
    }
  }
  return options;
}

Operations DrawList(unsigned int seed, unsigned int number) {
  std::seed_seq sequence{seed, number};
  std::mt19937 engine(sequence);
  const Draw draw = [&engine](unsigned int below) {
    return std::uniform_int_distribution<unsigned int>(0, below - 1)(engine);
  };
  Operations operations = DrawBeginning(draw);
  while (operations.size() < OPERATIONS_PER_LIST) {
    for (Operation& operation : DrawOperations(draw)) {
      operations.push_back(std::move(operation));
    }
  }
  return operations;
}

void ReportFailure(const Operations& operations, const Outcome& outcome) {
  std::printf("DIFFERENT %s\n", outcome.difference.c_str());
  const Operations shortest = Shrink(operations, SHRINKING_ROUNDS);
  std::printf("shrunk from %zu to %zu operations (play them with --replay):\n", operations.size(),
              shortest.size());
  for (const Operation& operation : shortest) {
    std::printf("%s\n", ToLine(operation).c_str());
  }
  std::printf("\nwhich differ %s\n", Play(shortest).difference.c_str());
}

int Replay(const char* file) {
  std::ifstream stream(file);
  Operations operations;
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty()) {
      operations.push_back(FromLine(line));
    }
  }
  if (operations.empty()) {
    std::printf("%s: no operations\n", file);
    return 2;
  }
  const Outcome outcome = Play(operations);
  std::printf("%zu operations: %s%s\n", operations.size(), outcome.equal ? "equal\n" : "different ",
              outcome.difference.c_str());
  for (const auto& count : outcome.counts) {
    std::printf("%9lu %s\n", count.second, count.first.c_str());
  }
  return outcome.equal ? 0 : 1;
}

// A request that only the library gets must be found, and little but it must be left.
int SelfTest() {
  Operations operations = DrawList(1, 0);
  operations.insert(operations.begin() + OPERATIONS_PER_LIST / 2, {"one-sided", {1, 7}, ""});
  operations.push_back({"console", {IP_PROTOCOL, 1}, "pending-actions"});
  const Outcome outcome = Play(operations);
  const Operations shortest = outcome.equal ? operations : Shrink(operations, SHRINKING_ROUNDS);
  for (const Operation& operation : shortest) {
    std::printf("%s\n", ToLine(operation).c_str());
  }
  const bool good = !outcome.equal && shortest.size() <= 3 &&
                    !Play({FromLine("one-sided 1 7"), FromLine("console 0 1 | pe")}).equal &&
                    Play({FromLine("route 0 1 7 1 0 1"), FromLine("console 0 1 | pe")}).equal;
  std::printf("self-test %s\n", good ? "passed" : "FAILED");
  return good ? 0 : 1;
}

bool CheckHardEvents(const Counts& counts, unsigned long operations) {
  bool good = true;
  for (const auto& event : HARD_EVENTS) {
    const auto found = counts.find(event.first);
    const unsigned long count = found != counts.end() ? found->second : 0;
    // A short run, where chance weighs more, is held to a tenth of its share.
    const unsigned long share = event.second * operations / 100000;
    const unsigned long least = operations < 500000 ? share / 10 : share;
    const bool enough = count >= (least > 0 ? least : 1);
    std::printf("%9lu %s%s\n", count, event.first, enough ? "" : "   TOO FEW");
    good = good && (enough || operations < DEFAULT_OPERATIONS);
  }
  for (const auto& count : counts) {
    bool listed = false;
    for (const auto& event : HARD_EVENTS) {
      listed = listed || count.first == event.first;
    }
    if (!listed) {
      std::printf("%9lu %s   NOT LISTED\n", count.second, count.first.c_str());
      good = false;
    }
  }
  return good;
}

int Run(const Options& options) {
  std::printf("VANTACORE_SEED=%u\n", options.seed);
  Counts counts;
  unsigned long operations = 0;
  unsigned long lines = 0;
  std::size_t largest = 0;
  unsigned long reported = 0;
  for (unsigned int list = 0; operations < options.operations; ++list) {
    const Operations drawn = DrawList(options.seed, list);
    const Outcome outcome = Play(drawn);
    if (!outcome.equal) {
      std::printf("list %u ", list);
      ReportFailure(drawn, outcome);
      return 1;
    }
    operations += outcome.operations;
    lines += outcome.lines;
    largest = std::max(largest, outcome.population);
    for (const auto& count : outcome.counts) {
      counts[count.first] += count.second;
    }
    if (operations / 100000 != reported) {
      reported = operations / 100000;
      std::printf("... %lu operations\n", operations);
      std::fflush(stdout);
    }
  }
  const bool good = CheckHardEvents(counts, operations);
  std::printf("%lu operations, %lu lines compared, at most %zu items and requests at once: %s\n",
              operations, lines, largest, good ? "equal" : "equal, BUT TOO EASY");
  return good ? 0 : 1;
}

}  // namespace
}  // namespace library_model

int main(int argc, char** argv) {
  const library_model::Options options = library_model::ReadOptions(argc, argv);
  if (options.replay != nullptr) {
    return library_model::Replay(options.replay);
  }
  return options.selfTest ? library_model::SelfTest() : library_model::Run(options);
}
