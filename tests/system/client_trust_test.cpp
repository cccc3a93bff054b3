// Whom a client talks to: a listener that its operator trusts, and nobody else.
//
// Only root can play several users. Where the tests run as somebody else, the client is tried with the
// two users that are left: its own, and the one of its command line.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>

#include "client_fixture.h"
#include "device/wire/wire.h"
#include "socket_ends.h"

namespace {

using system_test::Arguments;
using system_test::Client;
using system_test::DaemonProcess;
using system_test::Result;
using system_test::SlowDaemon;
using testing::HasSubstr;

constexpr uid_t ROOT = 0;
constexpr uid_t DAEMON = 1;  // a user that every system has, under this name

class Trust : public Client {
 protected:
  // The emulator, if there is one, and a copy of the client, which every user may run.
  Trust() {
    const std::size_t end = m_client.rfind(';') + 1;  // 0 if there is none
    const std::string copy = place.PathOf("client");
    std::filesystem::copy_file(m_client.substr(end), copy);
    m_client.replace(end, std::string::npos, copy);
    chmod(copy.c_str(), 0755);
    chmod(place.Path().c_str(), 0755);
  }

  static bool IsRoot(const char* what) {
    if (geteuid() != ROOT) {
      std::cout << "This did not run, since the tests are not run by root: " << what << '\n';
    }
    return geteuid() == ROOT;
  }

  // What a client says that another user than root runs, `daemon` or `nobody`, when `listener` listens.
  // The listener answers all that a command needs, whether or not it is asked.
  Result Talk(uid_t listener, const std::string& user, const Arguments& more = {}) {
    unlink(path.c_str());
    SlowDaemon slow(path, listener);
    chmod(path.c_str(), 0777);
    Arguments words = more;
    words.emplace_back("help");
    const std::string become =
        user == "root" ? "" : "setpriv;--reuid;" + user + ";--regid;nogroup;--clear-groups;--;";
    DaemonProcess client(With(words), DaemonProcess::PIPES, become + m_client);
    slow.AcceptUngreeted();
    slow.Offer(wire::EncodeGreeting() + wire::EncodeReply(wire::Code::DONE, 10) +
               wire::EncodeOutput("heard\n") + wire::EncodeReply(wire::Code::DONE, 10));
    const int status = client.Wait();
    m_heard = slow.Read(1000);
    return {status, client.Output(), client.Errors(), client.Log()};
  }

  void ExpectTalk(uid_t listener, const std::string& user, const Arguments& more = {}) {
    const Result result = Talk(listener, user, more);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "heard\n");
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(m_heard, HasSubstr("C help\n"));
  }

  void ExpectRefusal(uid_t listener, const std::string& user, const Arguments& more,
                     const std::string& who) {
    const Result result = Talk(listener, user, more);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "vantacorectl: " + path + ": the user " + who + "; --daemon-user names another\n");
    EXPECT_EQ(m_heard, "") << "something was sent before the listener was looked at";
  }

 private:
  std::string m_client = Command();
  std::string m_heard;
};

TEST_F(Trust, IsInTheOperatorsOwnUser) {
  const Result unknown = Run({"--daemon-user", "nobody-by-this-name", "help"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.errors,
            "vantacorectl: --daemon-user takes a user's name, not \"nobody-by-this-name\"\n"
            "vantacorectl --help tells more.\n");
  StartDaemon();
  EXPECT_EQ(Run({"--daemon-user", "daemon", "help"}).status, 0);
  ExpectHealthyDaemon();
}

TEST_F(Trust, IsInRootAndTheDaemonsUserOnly) {
  if (!IsRoot("a client finds out that somebody else listens")) {
    return;
  }
  ExpectTalk(ROOT, "nobody");
  ExpectTalk(DAEMON, "daemon");
  ExpectTalk(DAEMON, "nobody", {"--daemon-user", "daemon"});
  ExpectRefusal(DAEMON, "nobody", {},
                "\"daemon\" listens there, who is not you, root or \"vantacore\"");
  ExpectRefusal(DAEMON, "nobody", {"--daemon-user", "bin"},
                "\"daemon\" listens there, who is not you, root or \"bin\"");
  ExpectRefusal(123456789, "nobody", {},
                "with the id 123456789 listens there, who is not you, root or \"vantacore\"");
}

TEST_F(Trust, IsInEverybodyWhereRootAsks) {
  if (!IsRoot("root talks to any listener")) {
    return;
  }
  ExpectTalk(DAEMON, "root");
}

}  // namespace
