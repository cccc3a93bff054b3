// What stands before each line of the log: the time in its zone, the level as a word, the component.
#include "device/logging/log_format.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "device/base/trace_control.h"
#include "tests/support/scratch_folder.h"

namespace {

using logging::Component;
using logging::FindLogKind;
using logging::LogFormat;
using logging::Severity;
using logging::SeverityOf;
using testing::StartsWith;
using Form = LogFormat::Kind;

constexpr int NONE = Tarsel::TRACE_NO_LEVEL;

std::timespec now{};

std::timespec ReadNow() { return now; }

// In a zone, at a moment.
class LogFormatIn : public testing::Test {
 protected:
  LogFormatIn() { Be("UTC0", 1795342500, 0); }
  ~LogFormatIn() override {
    unsetenv("TZ");
    tzset();
  }
  void Be(const char* zone, std::time_t seconds, long nanoseconds) const {
    setenv("TZ", zone, 1);
    now.tv_sec = seconds;
    now.tv_nsec = nanoseconds;
  }
  static std::string Write(Form kind, Severity severity, Component component,
                           const std::string& message) {
    return LogFormat(kind, ReadNow).Apply(severity, component, message);
  }
  static std::string Full(const std::string& message) {
    return Write(Form::FULL, Severity::WARNING, Component::LIBRARY, message);
  }
};

TEST_F(LogFormatIn, TellsTheTimeInItsZone) {
  Be("UTC0", 1795342500, 123000000);
  EXPECT_EQ(Full("TEXT\n"), "2026-11-22T10:15:00.123+00:00 warning library: TEXT\n");
  Be("CET-1", 1795342500, 123999999);
  EXPECT_EQ(Full("TEXT\n"), "2026-11-22T11:15:00.123+01:00 warning library: TEXT\n");
  Be("NPT-5:45", 1795342500, 7000000);
  EXPECT_EQ(Full("TEXT\n"), "2026-11-22T16:00:00.007+05:45 warning library: TEXT\n");
  Be("NST3:30", 1795342500, 0);
  EXPECT_EQ(Full("TEXT\n"), "2026-11-22T06:45:00.000-03:30 warning library: TEXT\n");
}

TEST_F(LogFormatIn, FollowsTheZoneThroughTheYear) {
  const char* const zone = "CET-1CEST,M3.5.0,M10.5.0/3";
  Be(zone, 1792889999, 0);  // the last second of summer
  EXPECT_THAT(Full("x\n"), StartsWith("2026-10-25T02:59:59.000+02:00 "));
  Be(zone, 1792890000, 0);
  EXPECT_THAT(Full("x\n"), StartsWith("2026-10-25T02:00:00.000+01:00 "));
}

TEST_F(LogFormatIn, NamesLevelsAndComponents) {
  const std::string time = "2026-11-22T10:15:00.000+00:00 ";
  const auto write = [](Severity severity, Component component) {
    return Write(Form::FULL, severity, component, "x\n");
  };
  EXPECT_EQ(write(Severity::ERROR, Component::HOST), time + "error host: x\n");
  EXPECT_EQ(write(Severity::NOTICE, Component::STACK), time + "notice stack: x\n");
  EXPECT_EQ(write(Severity::INFO, Component::LIBRARY), time + "info library: x\n");
  EXPECT_EQ(write(Severity::DEBUG, Component::HOST), time + "debug host: x\n");
}

TEST_F(LogFormatIn, PutsThePriorityInFrontForTheJournal) {
  const auto write = [](Severity severity) {
    return Write(Form::JOURNAL, severity, Component::STACK, "a: b\n");
  };
  EXPECT_EQ(write(Severity::ERROR), "<3>a: b\n");
  EXPECT_EQ(write(Severity::WARNING), "<4>a: b\n");
  EXPECT_EQ(write(Severity::NOTICE), "<5>a: b\n");
  EXPECT_EQ(write(Severity::INFO), "<6>a: b\n");
  EXPECT_EQ(write(Severity::DEBUG), "<7>a: b\n");
}

TEST_F(LogFormatIn, PutsThePrefixBeforeEachLine) {
  const auto write = [](Form kind, const std::string& message) {
    return Write(kind, Severity::ERROR, Component::LIBRARY, message);
  };
  EXPECT_EQ(write(Form::JOURNAL, "\nVLAN ID = 7\n"), "<3>\n<3>VLAN ID = 7\n");
  EXPECT_EQ(write(Form::JOURNAL, "one\n\ntwo"), "<3>one\n<3>\n<3>two\n");
  EXPECT_EQ(write(Form::JOURNAL, ""), "<3>\n");
  const std::string prefix = "2026-11-22T10:15:00.000+00:00 error library: ";
  EXPECT_EQ(write(Form::FULL, "one\n two \n"), prefix + "one\n" + prefix + " two \n");
}

TEST_F(LogFormatIn, LeavesPlainTextAsItIs) {
  for (const char* const message : {"", "text", "\nVLAN ID = 7\n", "one\ntwo"}) {
    EXPECT_EQ(Write(Form::PLAIN, Severity::ERROR, Component::LIBRARY, message), message);
  }
  EXPECT_STREQ(LogFormat().MakePrefix(Severity::ERROR, Component::HOST).data(), "");
}

TEST(LogSeverity, FollowsTheLevel) {
  for (const Component component : {Component::HOST, Component::LIBRARY, Component::STACK}) {
    EXPECT_EQ(SeverityOf(0, component), Severity::ERROR);
    EXPECT_EQ(SeverityOf(1, component), Severity::WARNING);
    EXPECT_EQ(SeverityOf(2, component), Severity::NOTICE);
    EXPECT_EQ(SeverityOf(4, component), Severity::NOTICE);
    EXPECT_EQ(SeverityOf(5, component), Severity::INFO);
    EXPECT_EQ(SeverityOf(9, component), Severity::INFO);
    EXPECT_EQ(SeverityOf(10, component), Severity::DEBUG);
  }
  EXPECT_EQ(SeverityOf(NONE, Component::HOST), Severity::NOTICE);
  EXPECT_EQ(SeverityOf(NONE, Component::LIBRARY), Severity::WARNING);
  EXPECT_EQ(SeverityOf(NONE, Component::STACK), Severity::WARNING);
}

TEST(FindLogKind, KnowsTheJournalByTheStreamItself) {
  const test_support::ScratchFolder folder;
  const int stream = open(folder.PathOf("stream").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const int other = open(folder.PathOf("other").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  struct stat found {};
  ASSERT_EQ(fstat(stream, &found), 0);
  const std::string device = std::to_string(found.st_dev);
  const std::string inode = std::to_string(found.st_ino);
  const std::string name = device + ":" + inode;
  EXPECT_EQ(FindLogKind(stream, name.c_str()), Form::JOURNAL);
  EXPECT_EQ(FindLogKind(other, name.c_str()), Form::PLAIN);
  EXPECT_EQ(FindLogKind(stream, nullptr), Form::PLAIN);
  for (const std::string& wrong : {std::string(), inode, name + "0", name + " ", device + ":",
                                   inode + ":" + device, "0" + name}) {
    EXPECT_EQ(FindLogKind(stream, wrong.c_str()), Form::PLAIN) << wrong;
  }
  close(other);
  close(stream);
  EXPECT_EQ(FindLogKind(stream, name.c_str()), Form::PLAIN);
}

}  // namespace
