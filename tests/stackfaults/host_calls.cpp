// What the host has the library hand on to the stack: ready descriptors, and the stack's own trace.
//
// None of these calls is answered later. The library keeps nothing about them: what it says of the
// trace is what the stack says at that moment, and every report of a descriptor goes to the stack.

#include <climits>
#include <functional>

#include "tests/stackfaults/interception.h"
#include "tests/stackfaults/subject.h"
#include "tests/support/recording_console.h"
#include "vantacore/dcrouter_api.h"

namespace stackfaults {

namespace {

// --- InvokeCallback ---

class DescriptorCall : public Subject {
 protected:
  void Establish() override;

  void Busy() override;
  void Refused() override;
  void Late() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;

 private:
  static constexpr int FD = 7;
  static constexpr int ID = 70;

  void Register();
  // The host's loop has found the descriptor ready.
  void Report(int events = 1);
  void ExpectHandled(const std::vector<int>& events);

  std::vector<int> m_handled;
  std::function<void()> m_handler;
};

void DescriptorCall::Establish() {
  Subject::Establish();
  Register();
  EXPECT_EQ(sockets.calls, Lines{"register fd=7 mode=1 id=70"});
  sockets.calls.clear();
}

void DescriptorCall::Register() {
  Control().RegisterDescriptor(FD, ID, 1, [this](int events) {
    m_handled.push_back(events);
    if (m_handler) {
      m_handler();
    }
  });
  Quiet();
}

void DescriptorCall::Report(int events) {
  Take();
  Manager().SocketCallback(FD, events);
  const Lines lines = Happened();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.front(), "> InvokeCallback(7, " + std::to_string(events) + ")");
}

void DescriptorCall::ExpectHandled(const std::vector<int>& events) {
  EXPECT_EQ(m_handled, events);
  m_handled.clear();
}

// The stack leaves the descriptor ready, so the host reports it again. No report is held back.
void DescriptorCall::Busy() {
  for (int i = 0; i < 3; ++i) {
    Report();
  }
  ExpectHandled({1, 1, 1});
  ExpectSilence();
  EXPECT_EQ(sockets.calls, Lines());
  ExpectConverged();
}

// The library does not judge a descriptor.
void DescriptorCall::Refused() {
  Take();
  for (const int fd : {-1, 8, INT_MAX}) {
    Manager().SocketCallback(fd, -1);
    EXPECT_EQ(Happened(), Lines{"> InvokeCallback(" + std::to_string(fd) + ", -1)"});
  }
  ExpectHandled({});
  Report(3);
  ExpectHandled({3});
  ExpectConverged();
}

// The host has found it ready, but meanwhile the stack has given it back.
void DescriptorCall::Late() {
  Control().UnregisterDescriptor(FD, ID);
  Quiet();
  EXPECT_EQ(sockets.calls, Lines{"remove fd=7 id=70"});
  Report();
  ExpectHandled({});
  ExpectSilence();
  ExpectConverged();
}

void DescriptorCall::Twice() {
  Report(1);
  Report(1);
  Report(2);
  ExpectHandled({1, 1, 2});
  ExpectConverged();
}

// The handler works on the host's loop while that is calling it.
void DescriptorCall::Synchronous() {
  m_handler = [] {
    cChangeMask(FD, 4);
    cUnregisterWorkWithEventloop(FD, ID);
    cRegisterWorkWithEventloop(FD, ID + 1, 2);
    cRescheduleNBase();
  };
  Take();
  Manager().SocketCallback(FD, 1);
  EXPECT_EQ(Take(), Text({"> InvokeCallback(7, 1)", ASK, IN_5_MS}));
  ExpectHandled({1});
  EXPECT_EQ(sockets.calls,
            (Lines{"change fd=7 mode=3", "remove fd=7 id=70", "register fd=7 mode=2 id=71"}));
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  ExpectConverged();
}

// The stack does not remember it, and the host is not told.
void DescriptorCall::Restarted() {
  Control().Restart();
  EXPECT_TRUE(Settle());
  EXPECT_EQ(sockets.calls, Lines());
  Report();
  ExpectHandled({});
  Register();
  EXPECT_EQ(sockets.calls, Lines{"register fd=7 mode=1 id=70"});
  Report();
  ExpectHandled({1});
  Rebuild();
  ExpectConverged();
}

// --- the trace ---

class TraceCall : public Subject {
 protected:
  // `ip protocol ips` with these words; what the console shows.
  std::string Ips(std::vector<std::string> words);
  std::string Status() { return Ips({"status"}); }
};

std::string TraceCall::Ips(std::vector<std::string> words) {
  words.insert(words.begin(), {"protocol", "ips"});
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  const auto log = test_support::NewConsoleLog();
  test_support::RecordingConsole console(log);
  Tarsel::DcRouterMgr::ConCmdIp4Rtm(nullptr, &console, static_cast<int>(argv.size()), argv.data());
  return log->all;
}

const char* const ON = "IPS TRACE is ON!\n";
const char* const OFF = "IPS TRACE is OFF!\n";

// The two functions that set something: the switch, and the filters.
class TraceSetter : public TraceCall {
 protected:
  virtual const char* Function() const = 0;
  virtual const char* Arguments() const = 0;
  // Makes the call, and gives what the console shows, which is what `Said` is.
  virtual std::string Set() = 0;
  virtual const char* Said() const = 0;

  void Ask() override { Set(); }

  void Refused() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;
};

// The stack counts the failure. The count begins anew with each call; the console is told nothing.
void TraceSetter::Refused() {
  nbb_os_failures = 5;
  Intercept(Function(), [](const CallInTransit&) {
    EXPECT_EQ(nbb_os_failures, 0U);
    ++nbb_os_failures;
    return 0;
  });
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Set(), Said());
    EXPECT_EQ(nbb_os_failures, 1U);
  }
  EXPECT_FALSE(IsThere());
  EXPECT_EQ(Status(), OFF);
  EXPECT_EQ(nbb_os_failures, 0U);
  Take();
  ExpectSilence();
  ExpectOthersServed();
  EndInterception(Function());
  Ask();
  EXPECT_TRUE(IsThere());
  ExpectConverged();
}

void TraceSetter::Twice() {
  Intercept(Function(), [](const CallInTransit& call) {
    call.forward();
    return call.forward();
  });
  EXPECT_EQ(Set(), Said());
  EXPECT_TRUE(IsThere());
  EndInterception(Function());
  ExpectConverged();
}

// The stack calls back while it is being set.
void TraceSetter::Synchronous() {
  Intercept(Function(), [](const CallInTransit& call) {
    cRescheduleNBase();
    cI3Ready();
    return call.forward();
  });
  Take();
  EXPECT_EQ(Set(), Said());
  EXPECT_EQ(Take(), Text({ASK, IN_5_MS, std::string("> ") + Function() + Arguments()}));
  EXPECT_TRUE(IsThere());
  EndInterception(Function());
  EXPECT_EQ(After(5), Text({RUN, IN_1000_MS}));
  ExpectConverged();
}

void TraceSetter::Restarted() {
  EXPECT_EQ(Set(), Said());
  EXPECT_TRUE(IsThere());
  Control().Restart();
  EXPECT_TRUE(Settle());
  EXPECT_EQ(Dump(), "");
  EXPECT_EQ(Status(), OFF);
  Rebuild();
  Ask();
  ExpectConverged();
}

class SwitchCall : public TraceSetter {
 protected:
  const char* Function() const override { return "nbb_trips_control"; }
  const char* Arguments() const override { return "(1)"; }
  std::string Set() override { return Ips({"on"}); }
  const char* Said() const override { return ON; }
  std::string RowText() const override { return "trace\n"; }
};

class FilterCall : public TraceSetter {
 protected:
  const char* Function() const override { return "nbb_set_ips_filter"; }
  const char* Arguments() const override { return "(\"1,2\", 5)"; }
  std::string Set() override { return Ips({"set", "filter", "proc", "in", "1,2"}); }
  const char* Said() const override { return "IPS TRACE filter 1,2 and type 5 is set!\n"; }
  std::string RowText() const override { return "trace filter 5 \"1,2\"\n"; }
};

class StatusCall : public TraceCall {
 protected:
  void Refused() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;
};

// Whatever is not zero is "on".
void StatusCall::Refused() {
  for (const int answer : {-1, 2, 256, INT_MIN, INT_MAX}) {
    nbb_os_failures = 5;
    Intercept("nbb_get_ips_tracing", [answer](const CallInTransit&) {
      EXPECT_EQ(nbb_os_failures, 0U);
      ++nbb_os_failures;
      return answer;
    });
    EXPECT_EQ(Status(), ON) << answer;
  }
  EndInterception("nbb_get_ips_tracing");
  EXPECT_EQ(Status(), OFF);
  ExpectConverged();
}

void StatusCall::Twice() {
  EXPECT_EQ(Status(), OFF);
  EXPECT_EQ(Status(), OFF);
  Ips({"on"});
  EXPECT_EQ(Status(), ON);
  EXPECT_EQ(Status(), ON);
  Ips({"off"});
  EXPECT_EQ(Status(), OFF);
  ExpectConverged();
}

// The stack's last word before it returns counts.
void StatusCall::Synchronous() {
  Intercept("nbb_get_ips_tracing", [this](const CallInTransit& call) {
    EndInterception("nbb_get_ips_tracing");
    EXPECT_EQ(Status(), OFF);
    Ips({"on"});
    return call.forward();
  });
  EXPECT_EQ(Status(), ON);
  Ips({"off"});
  ExpectConverged();
}

void StatusCall::Restarted() {
  Ips({"on"});
  EXPECT_EQ(Status(), ON);
  Control().Restart();
  EXPECT_EQ(Status(), OFF);
  EXPECT_TRUE(Settle());
  Rebuild();
  ExpectConverged();
}

}  // namespace

testing::Test* Descriptor(Fault fault) { return new Trial<DescriptorCall>(fault); }
testing::Test* TraceSwitch(Fault fault) { return new Trial<SwitchCall>(fault); }
testing::Test* TraceFilter(Fault fault) { return new Trial<FilterCall>(fault); }
testing::Test* TraceStatus(Fault fault) { return new Trial<StatusCall>(fault); }

}  // namespace stackfaults
