// The socket for views: every word of the grammar, at both sockets.
#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <set>
#include <sstream>
#include <vector>

#include "client_fixture.h"
#include "device/wire/wire.h"
#include "signs.h"
#include "socket_ends.h"

namespace {

using system_test::Arguments;
using system_test::DaemonProcess;
using system_test::RawClient;
using system_test::Result;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using wire::Code;

using Texts = std::vector<std::string>;

class ViewSocket : public system_test::Client {
 protected:
  void Start(const Arguments& more) {
    Arguments arguments = {"--config", folder.Path(), "--tick-us",     "100", "--daemon",
                           "--socket", path,          "--view-socket", views};
    arguments.insert(arguments.end(), more.begin(), more.end());
    daemon = std::make_unique<DaemonProcess>(arguments, DaemonProcess::PIPES);
    AwaitDaemon();
  }
  void End() {
    daemon->Kill(SIGTERM);
    EXPECT_EQ(daemon->Wait(), 0);
  }
  Result AtViews(Arguments words) const {
    words.insert(words.begin(), {"--socket", views});
    return system_test::RunDaemon(words, "", VANTACORECTL_COMMAND);
  }

  // What is printed for a line in a session of its own, which is interrupted if it would not end.
  static std::pair<std::string, Code> Say(const std::string& socket, const std::string& line) {
    RawClient client(socket);
    EXPECT_TRUE(client.ReadReply());
    client.Send(wire::EncodeCommand(line));
    if (line.rfind("watch", 0) == 0) {
      client.Send(wire::EncodeInterrupt());
    }
    const auto [text, reply] = client.Read();
    EXPECT_TRUE(reply) << line;
    return {text, reply ? reply->code : Code::UNREACHABLE};
  }
  static Texts Lines(const std::string& socket, const std::string& message) {
    RawClient client(socket);
    EXPECT_TRUE(client.ReadReply());
    client.Send(message);
    std::istringstream text(client.Read().first);
    Texts lines;
    for (std::string line; std::getline(text, line);) {
      lines.push_back(line);
    }
    return lines;
  }
  static Texts Complete(const std::string& socket, const std::string& begun) {
    return Lines(socket, wire::EncodeCompletion(begun));
  }
  static std::set<std::string> FirstWords(const Texts& lines) {
    std::set<std::string> words;
    for (const std::string& line : lines) {
      words.insert(line.substr(0, line.find(' ', 2)).substr(line.find_first_not_of(' ')));
    }
    return words;
  }
  // The words of the log that somebody at this place has said.
  int CountLogged(const char* where) const {
    std::istringstream log(daemon->Log());
    int count = 0;
    for (std::string line; std::getline(log, line);) {
      count += line.find(where) != std::string::npos ? 1 : 0;
    }
    return count;
  }

  const std::string views = place.PathOf("views");
};

const char* const NOT_HERE = " changes something, and this socket is for views only\n";

// For each word of the grammar a line that the console carries out, in an order in which it can. A
// new word has to be added here. What the log says of it tells whether it changes something, and the
// socket for views has to agree with that.
const struct {
  const char* word;
  const char* line;
  bool changes;
} WORDS[] = {
    {"route", "route", false},
    {"route6", "route6 json", false},
    {"explain", "explain 10.1.0.0/16", false},
    {"summary", "summary vrf all", false},
    {"requests", "requests", false},
    {"status", "status json", false},
    {"version", "version", false},
    {"watch", "watch vrf all", false},
    {"metrics", "metrics", false},
    {"interface", "interface vrf 10", false},
    {"interface6", "interface6", false},
    {"ip", "ip protocol summary", false},
    {"ip6", "ip6 protocol summary", false},
    {"rtm", "rtm rib", false},
    {"show", "show route", false},
    {"vrf", "vrf 20", false},
    {"check", "check", false},
    {"diff", "diff", false},
    {"history", "history", false},
    {"revision", "revision 1", false},
    {"verify", "verify stack", false},
    {"help", "help", false},
    {"?", "?", false},
    {"quit", "quit", false},
    {"exit", "exit", false},
    {"reload", "reload force confirm 600", true},
    {"confirm", "confirm 2", true},
    {"undo", "undo", true},
    {"retry", "retry", true},
    {"log", "log level 1", true},
    {"lab", "lab tick normal", true},
};

TEST_F(ViewSocket, RefusesEachWordThatChangesSomething) {
  Start({"--lab"});
  std::set<std::string> known;
  std::set<std::string> offered;
  for (const auto& one : WORDS) {
    known.insert(one.word);
    if (!one.changes) {
      offered.insert(one.word);
    }
  }
  const Texts all = Complete(path, "");
  ASSERT_EQ(std::set<std::string>(all.begin(), all.end()), known);
  const Texts here = Complete(views, "");
  EXPECT_EQ(std::set<std::string>(here.begin(), here.end()), offered);
  EXPECT_EQ(FirstWords(Lines(views, wire::EncodeHelp(""))), offered);

  folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}, "b": {"vid": 20}}})");
  for (const auto& one : WORDS) {
    for (const std::string more : {"", " ?", " json", " | count", " nonsense"}) {
      const auto [text, code] = Say(views, one.line + more);
      if (!one.changes) {
        EXPECT_THAT(text, Not(HasSubstr("views only"))) << one.line << more;
      } else if (more == " json") {
        EXPECT_THAT(text, StartsWith("{\"view\":\"" + std::string(one.word) +
                                     "\",\"passed\":false,\"refused\":\"\\\"" + one.word +
                                     "\\\" changes something"));
        EXPECT_EQ(code, Code::REFUSED) << one.line << more;
      } else {
        EXPECT_EQ(text, '"' + std::string(one.word) + '"' + NOT_HERE);
        EXPECT_EQ(code, Code::REFUSED) << one.line << more;
      }
    }
    if (!one.changes) {
      EXPECT_EQ(Say(views, one.line).second, Code::DONE) << one.line;
    }
  }
  EXPECT_THAT(Say(views, "history").first, Not(HasSubstr("reload by"))) << "it was applied";

  int changes = 0;
  for (const auto& one : WORDS) {
    EXPECT_EQ(Say(path, one.line).second, Code::DONE) << one.line;
    changes += one.changes ? 1 : 0;
  }
  End();
  EXPECT_EQ(CountLogged(" at the view socket"), 0) << daemon->Log();
  EXPECT_EQ(CountLogged(" at the socket"), changes) << daemon->Log();
  for (const char* line : {"reload by ", " is confirmed by ", "undo to revision "}) {
    EXPECT_THAT(daemon->Log(), HasSubstr(line));
  }
}

// What the library's words go on with, as far as completion knows.
TEST_F(ViewSocket, RefusesTheLibrarysWordsThatChangeSomething) {
  Start({});
  Texts begun = {"ip", "ip6", "rtm"};
  Texts refused;
  for (std::size_t i = 0; i < begun.size(); ++i) {
    const std::string line = begun[i];
    const Texts here = Complete(views, line + " ");
    for (const std::string& word : Complete(path, line + " ")) {
      const std::string longer = line + " " + word;
      const auto [text, code] = Say(views, longer);
      const bool isRefused = text == '"' + longer + '"' + NOT_HERE;
      EXPECT_EQ(std::find(here.begin(), here.end(), word) == here.end(), isRefused) << longer;
      if (isRefused) {
        EXPECT_EQ(code, Code::REFUSED) << longer;
        refused.push_back(longer);
      } else if (std::count(longer.begin(), longer.end(), ' ') < 4) {
        begun.push_back(longer);
      }
    }
  }
  EXPECT_GT(begun.size(), 30u);
  EXPECT_THAT(refused, ElementsAre("ip protocol ips on", "ip protocol ips off",
                                   "ip protocol ips set", "ip protocol ips reset"));
  for (const char* line : {"ip protocol IPS ON", "show ip protocol ips On please",
                           "ip protocol ips SET filter type in x"}) {
    EXPECT_THAT(Say(views, line).first, EndsWith(NOT_HERE)) << line;
  }
  EXPECT_EQ(Say(views, "ip protocol ips status").first, "IPS TRACE is OFF!\n");
  EXPECT_EQ(Say(views, "ip protocol ips").second, Code::USAGE);
  EXPECT_EQ(Say(views, "ip nonsense").second, Code::USAGE);
  EXPECT_EQ(Say(path, "ip protocol ips on").second, Code::DONE);
  EXPECT_EQ(Say(views, "ip protocol ips status").first, "IPS TRACE is ON!\n");
  EXPECT_EQ(Say(path, "ip protocol ips set something").second, Code::USAGE);
  End();
  EXPECT_EQ(CountLogged(" at the socket: "), 1);
  EXPECT_THAT(daemon->Log(), HasSubstr(" at the socket: ip protocol ips on\n"));
}

TEST_F(ViewSocket, ServesTheClient) {
  Start({"--lab"});
  EXPECT_EQ(AtViews({"ip", "protocol", "summary"}).output, SUMMARY);
  const Result refused = AtViews({"reload"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.output, std::string("\"reload\"") + NOT_HERE);
  EXPECT_EQ(AtViews({"lab", "stack", "hold"}).status, 1);
  EXPECT_THAT(AtViews({"help"}).output,
              testing::AllOf(HasSubstr("  verify "), Not(HasSubstr("  reload ")),
                             Not(HasSubstr("  lab ")), Not(HasSubstr("  log level "))));
  const Result json = AtViews({"--json", "status"});
  EXPECT_EQ(json.status, 0);
  EXPECT_THAT(json.output, HasSubstr("\"sessions\":1"));
  End();
}

TEST_F(ViewSocket, IsEnoughForADaemonWithoutTheOther) {
  daemon = std::make_unique<DaemonProcess>(
      Arguments{"--config", folder.Path(), "--daemon", "--view-socket", views},
      DaemonProcess::PIPES);
  system_test::Await("a daemon that listens", [this] { return AtViews({"help"}).status == 0; });
  EXPECT_EQ(AtViews({"undo"}).status, 1);
  End();
}

class WithoutLab : public ViewSocket {};

TEST_F(WithoutLab, ItsWordsAreUnknown) {
  Start({});
  const std::string says = "\"lab\" is unknown: the daemon was started without --lab\n";
  for (const std::string& socket : {path, views}) {
    for (const char* line : {"lab", "lab ?", "lab help", "lab stack hold", "lab nonsense"}) {
      const auto [text, code] = Say(socket, line);
      EXPECT_EQ(text, says) << line;
      EXPECT_EQ(code, Code::USAGE) << line;
    }
    EXPECT_THAT(Say(socket, "lab json").first, StartsWith("{\"view\":\"lab\",\"passed\":false,"));
    EXPECT_THAT(Complete(socket, "la"), ElementsAre());
    EXPECT_THAT(Complete(socket, "lab "), ElementsAre());
    EXPECT_THAT(Lines(socket, wire::EncodeHelp("la")), ElementsAre());
    EXPECT_THAT(Say(socket, "help").first, Not(HasSubstr("  lab ")));
    EXPECT_THAT(Say(socket, "nonsense").first, Not(HasSubstr(" lab ")));
  }
  const Result client = Run({"lab", "stack", "restart"});
  EXPECT_EQ(client.status, 2);
  EXPECT_EQ(client.output, says);
  ExpectHealthyDaemon();
}

}  // namespace
