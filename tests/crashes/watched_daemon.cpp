#include "watched_daemon.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <regex>

#include "tests/system/signs.h"

namespace crashes {

using system_test::Arguments;
using system_test::DaemonProcess;
using system_test::Result;
using test_support::CallPlan;
using test_support::Fate;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

// Of a table of routes.
int CountStatic(const std::string& table) {
  int count = 0;
  for (std::size_t at = 0; (at = table.find(" static", at)) != std::string::npos; ++at) {
    ++count;
  }
  return count;
}

}  // namespace

std::string WatchedDaemon::Watched() const { return std::filesystem::canonical(state.Path()); }

std::unique_ptr<DaemonProcess> WatchedDaemon::Start(const CallPlan& plan) const {
  const std::string variables = std::string("LD_PRELOAD=") + WATCHED_CALLS_LIBRARY + ";" +
                                "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0;" +
                                PlanVariable(plan, saved.PathOf("calls"));
  return std::make_unique<DaemonProcess>(With({}), DaemonProcess::PIPES,
                                         "env;" + variables + ";" + VANTACORED_COMMAND);
}

Result WatchedDaemon::Run(const std::string& lines) const {
  const auto process = Start({Watched(), 0, Fate::DONE, 0});
  process->Send(lines);
  process->CloseInput();
  const int status = process->Wait();
  return {status, process->Output(), process->Errors(), process->Log()};
}

void WatchedDaemon::Take(DaemonProcess& process, const Change::Step& step) const {
  if (step.routes != 0) {
    WriteRoutes(step.routes);
  }
  if (!step.line.empty()) {
    process.Send(step.line + "\n");
  }
}

void WatchedDaemon::Prepare(const Change& change) {
  for (const Change::Step& step : change.earlier) {
    const auto process = Start({Watched(), 0, Fate::DONE, 0});
    if (!step.line.empty()) {
      process->ReadErrorsUntil("Revision ");
    }
    Take(*process, step);
    process->ReadErrorsUntil(step.sign);
    process->CloseInput();
    EXPECT_EQ(process->Wait(), 0);
  }
  std::filesystem::copy(state.Path(), saved.PathOf("state"),
                        std::filesystem::copy_options::recursive);
}

// What was there is put aside: a file that was written just now takes its time to be removed.
void WatchedDaemon::Restore() {
  for (const auto& entry : std::filesystem::directory_iterator(state.Path())) {
    std::filesystem::rename(entry.path(), saved.PathOf("aside" + std::to_string(++restored)));
  }
  std::filesystem::copy(saved.PathOf("state"), state.Path(),
                        std::filesystem::copy_options::recursive);
  std::filesystem::remove(saved.PathOf("calls"));
}

WatchedDaemon::Calls WatchedDaemon::ReadCalls() const {
  Calls calls;
  std::ifstream file(saved.PathOf("calls"));
  for (std::string line; std::getline(file, line);) {
    calls.push_back(line);
  }
  return calls;
}

std::unique_ptr<DaemonProcess> WatchedDaemon::Begin(const Change& change, const CallPlan& plan,
                                                    std::size_t* before) const {
  auto process = Start(plan);
  for (const Change::Step& step : change.before) {
    Take(*process, step);
    process->ReadErrorsUntil(step.sign);
  }
  if (before != nullptr) {
    *before = change.before.empty() ? 0 : ReadCalls().size();
  }
  Take(*process, change.step);
  return process;
}

WatchedDaemon::Calls WatchedDaemon::CountCalls(const Change& change, std::size_t& before) {
  Restore();
  WriteRoutes(change.routes);
  const auto process = Begin(change, {Watched(), 0, Fate::DONE, 0}, &before);
  process->ReadErrorsUntil(change.step.sign);
  process->CloseInput();
  EXPECT_EQ(process->Wait(), 0);
  return ReadCalls();
}

std::string WatchedDaemon::Kill(const Change& change, const CallPlan& plan) {
  Restore();
  WriteRoutes(change.routes);
  const auto process = Begin(change, plan);
  EXPECT_EQ(process->Wait(), -SIGKILL) << process->Log();
  return process->Log();
}

Failed WatchedDaemon::Fail(const Change& change, const CallPlan& plan) {
  Restore();
  WriteRoutes(change.routes);
  const auto process = Begin(change, plan);
  const auto show = [&process] {
    process->Send("rtm rib\n");
    return CountStatic(process->ReadUntil("End of table\n"));
  };
  Failed failed;
  if (change.step.line.empty() && !change.before.empty()) {  // nobody waits for its end
    process->ReadErrorsUntil("ay back to revision 1");
    system_test::Await("routes after a way back", [&] { return show() == change.applied; });
  }
  failed.routes = show();
  process->Kill(SIGKILL);
  EXPECT_EQ(process->Wait(), -SIGKILL);
  failed.log = process->Log();
  return failed;
}

// What the log of a start and `history` say of it, and a look at the stack.
Outcome WatchedDaemon::FindOutcome() {
  Spoil();
  const auto first = Run("history\nrtm rib\n");
  if (first.status == 1) {
    EXPECT_THAT(first.log, Not(HasSubstr("Revision")));
    return {};
  }
  EXPECT_EQ(first.status, 0) << first.log;
  std::smatch found;
  const std::regex chosen(
      "Revision ([0-9]+) (is in force, not the folder, which has errors: correct it and `reload`|"
      "comes back: the reload after it was not confirmed)\n"
      "Revision ([0-9]+), (start: it was in force before|way back to revision ([0-9]+)( by "
      "start)?: .*)\n");
  EXPECT_TRUE(std::regex_search(first.log, found, chosen)) << first.log;
  const unsigned int number = static_cast<unsigned int>(std::stoul("0" + found[3].str()));
  EXPECT_EQ(found[5].matched ? found[5].str() : found[3].str(), found[1].str());
  EXPECT_THAT(first.output, HasSubstr("*     " + std::to_string(number) + "  "));
  return {number, CountStatic(first.output)};
}

// Every revision that there is can be read, and says what it said.
void WatchedDaemon::ExpectRevisions(unsigned int inForce) {
  std::string lines;
  for (unsigned int number = 1; number <= inForce; ++number) {
    lines += "diff " + std::to_string(number) + "\n";
  }
  const auto second = Run(lines);
  EXPECT_EQ(second.status, 0) << second.output;
  EXPECT_THAT(second.log, HasSubstr("Revision " + std::to_string(inForce) +
                                    ", start: it was in force before\n"));
}

void WatchedDaemon::ExpectStart(const Outcomes& expected) {
  const Outcome found = FindOutcome();
  EXPECT_THAT(expected, Contains(found));
  if (found.revision != 0) {
    ExpectRevisions(found.revision);
  }
}

}  // namespace crashes
