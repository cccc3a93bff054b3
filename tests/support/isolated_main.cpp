// A main() for googletest that gives each test a process of its own.
//
// The library's singletons are built on first use and never destroyed, so a second test in the same
// process would find what the first one left. Here every selected test runs in a forked child whose
// output goes to a temporary file; the file is shown when the test fails, or always with -v or with
// VANTACORE_TEST_VERBOSE set. A child that exceeds the time limit (VANTACORE_TEST_TIMEOUT seconds,
// 120 by default) is killed together with the processes that it started.
//
// With exactly one test selected, or with --gtest_list_tests, nothing is forked, so that a debugger
// sees the test itself.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// What a child leaves for its parent beside its exit status. Without it a test that calls exit(0)
// would count as passed.
struct Progress {
  bool finished;
};

[[noreturn]] void Die(const char* what) {
  std::perror(what);
  std::exit(1);
}

std::string ReadAll(std::FILE* file) {
  std::string text;
  char buffer[4096];
  std::rewind(file);
  while (size_t count = std::fread(buffer, 1, sizeof buffer, file)) {
    text.append(buffer, count);
  }
  return text;
}

void SendOutputTo(std::FILE* file) {
  std::fflush(nullptr);
  if (dup2(fileno(file), STDOUT_FILENO) < 0 || dup2(fileno(file), STDERR_FILENO) < 0) {
    Die("dup2");
  }
}

std::FILE* OpenCapture() {
  std::FILE* file = std::tmpfile();
  if (file == nullptr) {
    Die("tmpfile");
  }
  return file;
}

// googletest applies its filter inside RUN_ALL_TESTS only, so a child is asked for the list.
std::string ListSelected() {
  std::FILE* capture = OpenCapture();
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) {
    Die("fork");
  }
  if (pid == 0) {
    SendOutputTo(capture);
    GTEST_FLAG_SET(list_tests, true);
    const int result = RUN_ALL_TESTS();
    std::fflush(nullptr);
    _exit(result);
  }
  int status = 0;
  if (waitpid(pid, &status, 0) != pid || status != 0) {
    std::fputs("the list of tests could not be read\n", stderr);
    std::exit(1);
  }
  std::string text = ReadAll(capture);
  std::fclose(capture);
  return text;
}

// The list has a line "Suite." for each suite and below it a line "  Test" for each test, both
// possibly followed by a comment that starts with '#'.
std::vector<std::string> SelectedTests() {
  std::vector<std::string> names;
  std::istringstream list(ListSelected());
  std::string line;
  std::string suite;
  while (std::getline(list, line)) {
    std::istringstream words(line);
    std::string word;
    words >> word;
    if (line.compare(0, 2, "  ") == 0) {
      names.push_back(suite + word);
    } else if (!word.empty() && word.back() == '.') {
      suite = word;
    }
  }
  return names;
}

[[noreturn]] void RunInChild(const std::string& name, std::FILE* capture, Progress* progress) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  SendOutputTo(capture);
  GTEST_FLAG_SET(filter, name);
  GTEST_FLAG_SET(output, "");
  int result = RUN_ALL_TESTS();
  if (testing::UnitTest::GetInstance()->test_to_run_count() != 1) {
    std::printf("%s did not run\n", name.c_str());
    result = 1;
  }
  progress->finished = true;
  std::exit(result);
}

int LimitInSeconds() {
  const char* text = std::getenv("VANTACORE_TEST_TIMEOUT");
  const int seconds = text != nullptr ? std::atoi(text) : 0;
  return seconds > 0 ? seconds : 120;
}

// Waits for the child's end. False: the limit passed first, and the child was killed.
bool WaitFor(pid_t pid, int limit, int* status) {
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(limit);
  sigset_t child;
  sigemptyset(&child);
  sigaddset(&child, SIGCHLD);
  for (;;) {
    if (waitpid(pid, status, WNOHANG) == pid) {
      return true;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - Clock::now()).count();
    if (left <= 0) {
      kill(-pid, SIGKILL);
      kill(pid, SIGKILL);
      waitpid(pid, status, 0);
      return false;
    }
    timespec wait{};
    wait.tv_sec = static_cast<time_t>(left / 1000000000);
    wait.tv_nsec = static_cast<long>(left % 1000000000);
    sigtimedwait(&child, nullptr, &wait);
  }
}

// Empty when the test passed, otherwise the reason.
std::string Verdict(bool ended, int limit, int status, const Progress& progress) {
  if (!ended) {
    return "killed after the time limit of " + std::to_string(limit) + " seconds";
  }
  if (WIFSIGNALED(status)) {
    const int number = WTERMSIG(status);
    return "killed by signal " + std::to_string(number) + " (" + strsignal(number) + ")";
  }
  if (!progress.finished) {
    return "its process ended before the test did, with exit status " +
           std::to_string(WEXITSTATUS(status));
  }
  if (WEXITSTATUS(status) != 0) {
    return "exit status " + std::to_string(WEXITSTATUS(status));
  }
  return {};
}

bool RunOne(const std::string& name, bool verbose, int limit, Progress* progress) {
  std::FILE* capture = OpenCapture();
  progress->finished = false;
  std::fflush(nullptr);
  const Clock::time_point start = Clock::now();
  const pid_t pid = fork();
  if (pid < 0) {
    Die("fork");
  }
  if (pid == 0) {
    RunInChild(name, capture, progress);
  }
  int status = 0;
  const bool ended = WaitFor(pid, limit, &status);
  const std::string reason = Verdict(ended, limit, status, *progress);
  const auto ms =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  if (verbose || !reason.empty()) {
    std::fputs(ReadAll(capture).c_str(), stdout);
  }
  std::fclose(capture);
  std::printf("%s %s (%lld ms)%s%s\n", reason.empty() ? "ok    " : "FAILED", name.c_str(),
              static_cast<long long>(ms), reason.empty() ? "" : ": ", reason.c_str());
  return reason.empty();
}

bool IsVerbose(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "-v") == 0) {
      return true;
    }
  }
  return std::getenv("VANTACORE_TEST_VERBOSE") != nullptr;
}

int RunAll(const std::vector<std::string>& names, bool verbose) {
  void* shared =
      mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) {
    Die("mmap");
  }
  sigset_t child;
  sigemptyset(&child);
  sigaddset(&child, SIGCHLD);
  sigprocmask(SIG_BLOCK, &child, nullptr);

  const int limit = LimitInSeconds();
  std::vector<std::string> failed;
  std::size_t passed = 0;
  for (const std::string& name : names) {
    if (RunOne(name, verbose, limit, static_cast<Progress*>(shared))) {
      ++passed;
      continue;
    }
    failed.push_back(name);
    if (GTEST_FLAG_GET(fail_fast)) {
      break;
    }
  }
  for (const std::string& name : failed) {
    std::printf("failed: %s\n", name.c_str());
  }
  std::printf("%zu passed, %zu failed\n", passed, failed.size());
  return failed.empty() && !names.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (GTEST_FLAG_GET(list_tests)) {
    return RUN_ALL_TESTS();
  }
  const std::vector<std::string> names = SelectedTests();
  if (names.size() == 1) {
    return RUN_ALL_TESTS();
  }
  return RunAll(names, IsVerbose(argc, argv));
}
