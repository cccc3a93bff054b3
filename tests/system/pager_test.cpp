// The client on a terminal of 24 rows and 80 columns, with pagers that the test has written.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "device/wire/wire.h"
#include "prompt_fixture.h"
#include "shown.h"
#include "socket_ends.h"

namespace {

using system_test::Arguments;
using system_test::Client;
using system_test::DaemonProcess;
using system_test::PROMPT;
using system_test::SlowDaemon;
using testing::HasSubstr;
using testing::Not;

const std::string REPLY = wire::EncodeReply(wire::Code::DONE, 10);

// With a first line that tells which pager it is, and its words.
std::string ScriptOf(const std::string& name, const std::string& rest) {
  return "#!/bin/sh\necho \"" + name + " begins: $*\"\n" + rest + "\necho " + name + " ends\n";
}

std::string Lines(int count) {
  std::string lines;
  for (int i = 1; i <= count; ++i) {
    lines += "line " + std::to_string(i) + "\n";
  }
  return lines;
}

class Pager : public Client {
 protected:
  Pager() { Provide("less", ScriptOf("less", "/bin/sed 's/^/| /'")); }

  void Provide(const std::string& name, const std::string& script) const {
    tools.Write(name, script);
    chmod(tools.PathOf(name).c_str(), 0755);
  }
  std::string CommandWith(const std::string& environment, const std::string& client) const {
    return "/usr/bin/env;-u;PAGER;PATH=" + tools.Path() + ";" + environment + client;
  }
  // Opens the client on a terminal, and takes it in.
  void OpenWith(const Arguments& words, const std::string& environment = "TERM=vt100;",
                const std::string& client = Command()) {
    slow = std::make_unique<SlowDaemon>(path);
    chmod(path.c_str(), 0777);
    terminal = std::make_unique<DaemonProcess>(With(words), DaemonProcess::TERMINAL,
                                               CommandWith(environment, client));
    slow->Accept();
    slow->Send(REPLY);
  }
  void OpenPrompt() {
    OpenWith({});
    terminal->ReadUntil(PROMPT);
  }
  // Types a command, which the daemon answers with these messages, and returns what is shown of it
  // up to the next prompt.
  std::string Ask(const std::string& answer) {
    Begin();
    slow->Send(answer);
    return terminal->ReadUntil(PROMPT);
  }
  void Begin() {
    terminal->Send("help\n");
    const std::string command = wire::EncodeCommand("help");
    EXPECT_EQ(slow->Read(command.size()), command);
  }
  // What a client shows that is given the command, when the answer is longer than the terminal.
  std::string ShowLong() {
    slow->Send(wire::EncodeOutput(Lines(24)) + REPLY);
    EXPECT_EQ(terminal->Wait(), 0);
    return terminal->Output();
  }
  void ExpectInterrupt() const {
    EXPECT_EQ(slow->Read(wire::EncodeInterrupt().size()), wire::EncodeInterrupt());
  }

  test_support::ScratchFolder tools;
  std::unique_ptr<SlowDaemon> slow;
  std::unique_ptr<DaemonProcess> terminal;
};

TEST_F(Pager, ShowsWhatIsLongerThanTheTerminal) {
  OpenPrompt();
  const std::string shown = Ask(wire::EncodeOutput(Lines(24)) + REPLY);
  EXPECT_THAT(shown, HasSubstr("less begins: -FRX\r\n| line 1\r\n"));
  EXPECT_THAT(shown, HasSubstr("| line 24\r\nless ends\r\n"));
}

TEST_F(Pager, IsNotNeededForWhatFits) {
  OpenPrompt();
  const std::string shown = Ask(wire::EncodeOutput(Lines(23)) + REPLY);
  EXPECT_THAT(shown, HasSubstr("line 1\r\n"));
  EXPECT_THAT(shown, HasSubstr("line 23\r\n"));
  EXPECT_THAT(shown, Not(HasSubstr("less")));
}

TEST_F(Pager, HeedsTheWidthOfLines) {
  OpenPrompt();
  const std::string euros = "\xe2\x82\xac\xe2\x82\xac";  // two columns, six bytes
  for (const std::string& full :
       {std::string(80, 'x'), "\t" + std::string(72, 'x'), euros + std::string(78, 'x')}) {
    EXPECT_THAT(Ask(wire::EncodeOutput(Lines(22) + full + "\n") + REPLY), Not(HasSubstr("less")));
    EXPECT_THAT(Ask(wire::EncodeOutput(Lines(22) + full + "y\n") + REPLY), HasSubstr("less"));
  }
}

TEST_F(Pager, HeedsTheSizeOfTheTerminal) {
  const std::string full(40, 'x');
  const struct {
    unsigned short rows;
    unsigned short columns;
    std::string output;
    bool isPaged;
  } cases[] = {{10, 40, Lines(9), false},
               {10, 40, Lines(10), true},
               {10, 40, Lines(8) + full + "\n", false},
               {10, 40, Lines(8) + full + "y\n", true},
               {50, 132, Lines(49), false},
               {50, 132, Lines(50), true},
               {0, 0, Lines(23), false},
               {0, 0, Lines(24), true}};
  for (const auto& one : cases) {
    OpenWith({"help"});
    terminal->Resize(one.rows, one.columns);
    slow->Send(wire::EncodeOutput(one.output) + REPLY);
    EXPECT_EQ(terminal->Wait(), 0);
    EXPECT_EQ(terminal->Output().find("less begins") != std::string::npos, one.isPaged)
        << one.rows << "x" << one.columns << "\n"
        << one.output;
    unlink(path.c_str());
  }
}

TEST_F(Pager, EndsTheCommandWhenItIsQuit) {
  Provide("less", ScriptOf("less", "read line; echo \"| $line\""));
  OpenPrompt();
  Begin();
  slow->Send(wire::EncodeOutput(Lines(24)));
  ExpectInterrupt();
  slow->Send(wire::EncodeOutput("too late\n") + REPLY);
  EXPECT_THAT(terminal->ReadUntil(PROMPT),
              testing::AllOf(HasSubstr("| line 1\r\nless ends\r\n"), Not(HasSubstr("too late"))));
  EXPECT_THAT(Ask(wire::EncodeOutput("next\n") + REPLY), HasSubstr("next\r\n"));
}

TEST_F(Pager, IsNoErrorWhenItIsQuit) {
  Provide("less", ScriptOf("less", "read line; echo \"| $line\""));
  OpenWith({"help"});
  const std::string command = wire::EncodeSingle() + wire::EncodeCommand("help");
  EXPECT_EQ(slow->Read(command.size()), command);
  // More than a pipe holds, so the client finds it gone while it writes.
  slow->Send(wire::EncodeOutput(Lines(100000)));
  ExpectInterrupt();
  slow->Send(REPLY);
  EXPECT_EQ(terminal->Wait(), 0);
  EXPECT_THAT(terminal->Output(), HasSubstr("less ends"));
}

TEST_F(Pager, OutlivesAnInterrupt) {
  Provide("less", ScriptOf("less", "trap '' INT\n/bin/sed -u 's/^/| /'"));
  OpenPrompt();
  Begin();
  slow->Send(wire::EncodeOutput(Lines(24)));
  terminal->ReadUntil("| line 24\r\n");
  for (int i = 0; i < 2; ++i) {
    terminal->Send("\x03");
    ExpectInterrupt();
  }
  slow->Send(REPLY);
  terminal->ReadUntil("less ends");
  terminal->ReadUntil(PROMPT);
  EXPECT_THAT(Ask(wire::EncodeOutput("next\n") + REPLY), HasSubstr("next\r\n"));
}

// The client waits for nothing but the pager then.
TEST_F(Pager, KeepsAnInterruptThatComesAfterTheReply) {
  Provide("less", ScriptOf("less",
                           "trap 'echo trapped' INT\n/bin/sed 's/^/| /'\n"
                           "(/bin/sleep 0.3; echo waiting) &\n"
                           "until read key </dev/tty; do :; done"));
  OpenPrompt();
  Begin();
  slow->Send(wire::EncodeOutput(Lines(24)) + REPLY);
  terminal->ReadUntil("waiting");  // for the key: a signal before that would not end the wait
  terminal->Send("\x03");
  terminal->ReadUntil("trapped");
  terminal->Send("\n");
  terminal->ReadUntil("less ends");
  terminal->ReadUntil(PROMPT);
  EXPECT_THAT(Ask(wire::EncodeOutput("next\n") + REPLY), HasSubstr("next\r\n"));
}

TEST_F(Pager, LeavesTheTerminalAsItWas) {
  Provide("less", ScriptOf("less", "/bin/cat\n/bin/stty raw -echo </dev/tty"));
  OpenWith({"help"});
  const termios before = terminal->Terminal();
  EXPECT_THAT(ShowLong(), HasSubstr("less begins"));
  const termios after = terminal->Terminal();
  EXPECT_NE(after.c_lflag & ECHO, 0u);
  EXPECT_EQ(after.c_lflag, before.c_lflag);
  EXPECT_EQ(after.c_oflag, before.c_oflag);
}

TEST_F(Pager, KeepsNobodyWaitingForASlowCommand) {
  OpenPrompt();
  Begin();
  slow->Send(wire::EncodeOutput(Lines(3)));
  terminal->ReadUntil("line 3\r\n");
  slow->Send(wire::EncodeOutput(Lines(30)) + REPLY);
  EXPECT_THAT(terminal->ReadUntil(PROMPT), Not(HasSubstr("less")));
}

TEST_F(Pager, IsNotForWhatComesAsThingsHappen) {
  OpenPrompt();
  for (const std::string& sign : {wire::EncodeLive(), wire::EncodeProgress(1, 2)}) {
    Begin();
    slow->Send(wire::EncodeOutput("first\n") + sign);
    terminal->ReadUntil("first\r\n");
    slow->Send(wire::EncodeOutput(Lines(30)) + REPLY);
    EXPECT_THAT(terminal->ReadUntil(PROMPT), Not(HasSubstr("less")));
    EXPECT_THAT(Ask(wire::EncodeOutput(Lines(30)) + REPLY), HasSubstr("less"));
  }
}

TEST_F(Pager, IsNotForWhoeverWantsNone) {
  OpenWith({"--no-pager", "help"});
  EXPECT_THAT(ShowLong(), Not(HasSubstr("less")));
  unlink(path.c_str());
  OpenWith({"help"}, "TERM=dumb;");
  EXPECT_THAT(ShowLong(), Not(HasSubstr("less")));
}

TEST_F(Pager, IsNotForAPipe) {
  slow = std::make_unique<SlowDaemon>(path);
  DaemonProcess client(With({"help"}), DaemonProcess::PIPES, CommandWith("TERM=vt100;", Command()));
  slow->Accept();
  slow->Send(REPLY + wire::EncodeOutput(Lines(30)) + REPLY);
  EXPECT_EQ(client.Wait(), 0);
  EXPECT_EQ(client.Output(), Lines(30));
}

TEST_F(Pager, IsNotForCommandsFromElsewhere) {
  place.Write("commands", "help\n");
  slow = std::make_unique<SlowDaemon>(path);
  terminal = std::make_unique<DaemonProcess>(
      With({}), DaemonProcess::TERMINAL,
      CommandWith("TERM=vt100;",
                  "/bin/" + system_test::WithStreams("<" + place.PathOf("commands"), Command())));
  slow->Accept();
  slow->Send(REPLY);
  EXPECT_EQ(system_test::Shown(ShowLong()), Lines(24));
}

// What an empty variable says does not count for root either.
TEST_F(Pager, IsNotForAnEmptyVariable) {
  OpenWith({"help"}, "TERM=vt100;PAGER=;");
  const bool isPaged = ShowLong().find("less begins") != std::string::npos;
  EXPECT_EQ(isPaged, geteuid() == 0);
}

TEST_F(Pager, ShowsViewsOfTheRealDaemon) {
  folder.Write("vlans.json", WithRoutes(30));
  StartDaemon();
  terminal = std::make_unique<DaemonProcess>(With({}), DaemonProcess::TERMINAL,
                                             CommandWith("TERM=vt100;", Command()));
  terminal->ReadUntil(PROMPT);
  const auto Show = [this](const std::string& line) {
    terminal->Send(line + "\n");
    return terminal->ReadUntil(PROMPT);
  };
  const std::string shown = Show("route6");
  EXPECT_THAT(shown, HasSubstr("less begins: -FRX\r\n| "));
  EXPECT_THAT(shown, HasSubstr("2001:db8:100:1d::/64 "));
  EXPECT_THAT(shown, HasSubstr("less ends\r\n"));
  EXPECT_THAT(Show("rtm rib ipv6"), HasSubstr("less begins"));
  EXPECT_THAT(Show("version"), Not(HasSubstr("less")));
  EXPECT_THAT(Show("route6 | count"), Not(HasSubstr("less")));
}

TEST_F(Pager, IsAnotherWhereThereIsNoFirst) {
  tools.Remove("less");
  Provide("more", ScriptOf("more", "/bin/sed 's/^/| /'"));
  OpenWith({"help"});
  EXPECT_THAT(ShowLong(), HasSubstr("more begins: \r\n| line 1\r\n"));
}

TEST_F(Pager, IsNotMissedWhereThereIsNone) {
  tools.Remove("less");
  OpenWith({"help"});
  EXPECT_EQ(system_test::Shown(ShowLong()), Lines(24));
}

TEST_F(Pager, OfTheOperatorIsNotForRoot) {
  Provide("own", ScriptOf("own", "/bin/sed 's/^/| /'"));
  const std::string environment = "TERM=vt100;PAGER=own -x;";
  if (geteuid() != 0) {
    OpenWith({"help"}, environment);
    EXPECT_THAT(ShowLong(), HasSubstr("own begins: -x\r\n| line 1\r\n"));
    return;
  }
  Provide("less", ScriptOf("less", "echo \"secure $LESSSECURE\"; /bin/sed 's/^/| /'"));
  OpenWith({"help"}, environment);
  EXPECT_THAT(ShowLong(), HasSubstr("less begins: -FRX\r\nsecure 1\r\n| line 1\r\n"));

  unlink(path.c_str());
  std::string client = Command();
  const std::size_t end = client.rfind(';') + 1;  // after an emulator; 0 if there is none
  std::filesystem::copy_file(client.substr(end), tools.PathOf("client"));
  client.replace(end, std::string::npos, tools.PathOf("client"));
  chmod(place.Path().c_str(), 0755);
  chmod(tools.Path().c_str(), 0755);
  OpenWith({"help"}, environment + "/usr/bin/setpriv;--reuid;1;--regid;1;--clear-groups;--;",
           client);
  EXPECT_THAT(ShowLong(), HasSubstr("own begins: -x\r\n| line 1\r\n"));
}

}  // namespace
