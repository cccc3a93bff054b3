#include "play.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <sstream>

#include "library_subject.h"
#include "model.h"

namespace library_model {

namespace {

constexpr rlim_t SECONDS_PER_LIST = 10;  // of processor time
constexpr std::time_t SECONDS_OF_SHRINKING = 120;
// The model is quadratic: a list ends there. The operation that reaches it may go beyond.
constexpr std::size_t LARGEST_POPULATION = 300;
constexpr std::size_t LINES_AROUND = 6;

std::string Differing(const std::vector<std::string>& library,
                      const std::vector<std::string>& model) {
  std::size_t at = 0;
  while (at < library.size() && at < model.size() && library[at] == model[at]) {
    ++at;
  }
  std::string text;
  for (std::size_t i = at > LINES_AROUND ? at - LINES_AROUND : 0; i < at; ++i) {
    text += "  both:    " + library[i] + "\n";
  }
  for (std::size_t i = at; i < at + LINES_AROUND; ++i) {
    if (i < library.size()) text += "  library: " + library[i] + "\n";
  }
  for (std::size_t i = at; i < at + LINES_AROUND; ++i) {
    if (i < model.size()) text += "  model:   " + model[i] + "\n";
  }
  return text;
}

void PlayHere(const Operations& operations, Outcome& outcome) {
  Log libraryLog;
  Log modelLog;
  LibrarySubject library(libraryLog);
  LibraryModel model(modelLog, outcome.counts);
  ScriptedStack libraryStack(libraryLog, library, nullptr);
  ScriptedStack modelStack(modelLog, model, &outcome.counts);
  library.SetStack(&libraryStack);
  model.SetStack(&modelStack);
  library.Start(1);
  model.Start(1);
  outcome.equal = true;
  for (const Operation& operation : operations) {
    Perform(operation, library, libraryStack);
    Perform(operation, model, modelStack);
    ++outcome.operations;
    outcome.lines += modelLog.lines.size();
    outcome.population = std::max(outcome.population, model.GetPopulation());
    if (libraryLog.lines != modelLog.lines) {
      outcome.equal = false;
      outcome.difference = "at operation " + std::to_string(outcome.operations) + ": " +
                           ToLine(operation) + "\n" + Differing(libraryLog.lines, modelLog.lines);
      return;
    }
    if (outcome.population > LARGEST_POPULATION) {
      return;
    }
    libraryLog.lines.clear();
    modelLog.lines.clear();
  }
}

// Takes out of a document what the failure does not need.
void ShrinkDocument(Operations& operations, std::size_t index, unsigned int& rounds) {
  for (bool smaller = true; smaller;) {
    smaller = false;
    for (const Operation& candidate : SmallerDocuments(operations[index])) {
      if (rounds == 0) {
        return;
      }
      --rounds;
      Operations fewer = operations;
      fewer[index] = candidate;
      if (!Play(fewer).equal) {
        operations = fewer;
        smaller = true;
        break;
      }
    }
  }
}

// The child hands its outcome over as text, which ends in a line of its own.
const std::string END = "\n.";

std::string Pack(const Outcome& outcome) {
  std::ostringstream text;
  text << outcome.equal << ' ' << outcome.operations << ' ' << outcome.lines << ' '
       << outcome.population << ' ' << outcome.counts.size() << '\n';
  for (const auto& count : outcome.counts) {
    text << count.second << ' ' << count.first << '\n';
  }
  text << outcome.difference << END;
  return text.str();
}

bool Unpack(const std::string& packed, Outcome& outcome) {
  std::istringstream text(packed);
  std::size_t counts = 0;
  text >> outcome.equal >> outcome.operations >> outcome.lines >> outcome.population >> counts;
  text.get();
  for (; counts > 0 && text; --counts) {
    unsigned long number = 0;
    std::string name;
    text >> number;
    text.get();
    std::getline(text, name);
    outcome.counts[name] = number;
  }
  const std::string rest(std::istreambuf_iterator<char>(text), {});
  if (rest.size() < END.size() || rest.substr(rest.size() - END.size()) != END) {
    return false;
  }
  outcome.difference = rest.substr(0, rest.size() - END.size());
  return true;
}

std::string ReadAll(int descriptor) {
  std::string all;
  char buffer[4096];
  for (ssize_t count = 0; (count = read(descriptor, buffer, sizeof buffer)) > 0;) {
    all.append(buffer, static_cast<std::size_t>(count));
  }
  return all;
}

[[noreturn]] void PlayAndHandOver(const Operations& operations, int descriptor) {
  const rlimit limit{SECONDS_PER_LIST, SECONDS_PER_LIST + 1};
  setrlimit(RLIMIT_CPU, &limit);  // a list that never ends
  Outcome outcome;
  PlayHere(operations, outcome);
  const std::string packed = Pack(outcome);
  std::size_t written = 0;
  while (written < packed.size()) {
    const ssize_t count = write(descriptor, packed.data() + written, packed.size() - written);
    if (count <= 0) {
      _exit(2);
    }
    written += static_cast<std::size_t>(count);
  }
  _exit(0);  // what the library still holds is not a leak
}

}  // namespace

Outcome Play(const Operations& operations) {
  int ends[2];
  if (pipe(ends) != 0) {
    std::perror("pipe");
    std::exit(2);
  }
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) {
    std::perror("fork");
    std::exit(2);
  }
  if (child == 0) {
    close(ends[0]);
    PlayAndHandOver(operations, ends[1]);
  }
  close(ends[1]);
  const std::string packed = ReadAll(ends[0]);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  Outcome outcome;
  if (!Unpack(packed, outcome)) {
    outcome = Outcome();
    outcome.difference = WIFSIGNALED(status)
                             ? "the process died of signal " + std::to_string(WTERMSIG(status))
                             : "the process ended early";
    outcome.difference += "\n";
  }
  return outcome;
}

Operations Shrink(Operations operations, unsigned int rounds) {
  const std::time_t end = std::time(nullptr) + SECONDS_OF_SHRINKING;
  for (std::size_t chunk = (operations.size() + 1) / 2; chunk > 0;) {
    bool shorter = false;
    for (std::size_t from = 0; from < operations.size() && rounds > 0;) {
      Operations fewer(operations.begin(), operations.begin() + static_cast<std::ptrdiff_t>(from));
      const std::size_t to = std::min(from + chunk, operations.size());
      fewer.insert(fewer.end(), operations.begin() + static_cast<std::ptrdiff_t>(to),
                   operations.end());
      rounds = std::time(nullptr) < end ? rounds - 1 : 0;  // lists that hang take long
      if (!Play(fewer).equal) {
        operations = fewer;
        shorter = true;
      } else {
        from = to;
      }
    }
    if (rounds == 0 || (chunk == 1 && !shorter)) {
      break;
    }
    chunk = chunk > 1 ? chunk / 2 : 1;
  }
  for (std::size_t i = 0; i < operations.size(); ++i) {
    ShrinkDocument(operations, i, rounds);
  }
  return operations;
}

}  // namespace library_model
