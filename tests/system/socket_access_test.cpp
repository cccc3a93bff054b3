// Who may open the daemon's sockets.
//
// Only root can play several users and give sockets away. Where the tests run as somebody else, the
// group is that user's own.
#include <gmock/gmock.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>

#include "client_fixture.h"
#include "device/program/owned_descriptor.h"
#include "device/wire/wire.h"
#include "signs.h"
#include "socket_ends.h"

namespace {

using system_test::Arguments;
using system_test::Await;
using system_test::DaemonProcess;
using system_test::RawClient;
using system_test::Result;
using testing::EndsWith;
using testing::HasSubstr;

class SocketAccess : public system_test::Client {
 protected:
  static constexpr uid_t NOBODY = 65534;
  static constexpr uid_t OWNER = 1;  // every system has a user and a group of this name and number
  static constexpr const char* OWNER_NAME = "daemon";

  // While it lives, the test is another user. Only root can be that.
  class Role {
   public:
    Role(uid_t user, gid_t group) {
      EXPECT_EQ(setegid(group), 0);
      EXPECT_EQ(seteuid(user), 0);
    }
    Role(const Role&) = delete;
    Role& operator=(const Role&) = delete;
    ~Role() {
      EXPECT_EQ(seteuid(0), 0);
      EXPECT_EQ(setegid(0), 0);
    }
  };

  static bool CanPlay(const char* what) {
    if (geteuid() != 0) {
      std::cout << "This did not run, since the tests are not run by root: " << what << '\n';
    }
    return geteuid() == 0;
  }
  // A group that the daemon may give its sockets to.
  static const group& Group() {
    const group* const found = geteuid() == 0 ? getgrnam(OWNER_NAME) : getgrgid(getegid());
    EXPECT_NE(found, nullptr);
    return *found;
  }

  Arguments WithSockets(const Arguments& more) const {
    Arguments arguments = {"--config", folder.Path(), "--tick-us",     "100", "--daemon",
                           "--socket", path,          "--view-socket", views};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }
  void Start(const Arguments& more) {
    daemon = std::make_unique<DaemonProcess>(WithSockets(more), DaemonProcess::PIPES);
    AwaitDaemon();
  }
  void End() {
    daemon->Kill(SIGTERM);
    EXPECT_EQ(daemon->Wait(), 0);
    EXPECT_FALSE(HasSocket());
    EXPECT_NE(access(views.c_str(), F_OK), 0);
  }
  static struct stat Look(const std::string& socket) {
    struct stat found {};
    EXPECT_EQ(stat(socket.c_str(), &found), 0);
    return found;
  }
  static unsigned int ModeOf(const std::string& socket) { return Look(socket).st_mode & 07777u; }
  // 0, or why nobody can connect.
  static int Connect(const std::string& socket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socket.c_str(), sizeof address.sun_path - 1);
    const program::OwnedDescriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return connect(client.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
               ? 0
               : errno;
  }

  const std::string views = place.PathOf("views");
};

TEST_F(SocketAccess, IsTheDaemonsUsersAlone) {
  Start({});
  for (const std::string& socket : {path, views}) {
    EXPECT_EQ(ModeOf(socket), 0600u);
    EXPECT_EQ(Look(socket).st_uid, geteuid());
  }
  End();
}

TEST_F(SocketAccess, IsAGroupsThatIsNamed) {
  const group& named = Group();
  Start({"--socket-group", named.gr_name});
  EXPECT_EQ(ModeOf(path), 0660u);
  EXPECT_EQ(Look(path).st_gid, named.gr_gid);
  EXPECT_EQ(Look(path).st_uid, geteuid());
  EXPECT_EQ(ModeOf(views), 0600u) << "the other socket has a group of its own";
  End();
  Start({"--view-group", named.gr_name});
  EXPECT_EQ(ModeOf(views), 0660u);
  EXPECT_EQ(Look(views).st_gid, named.gr_gid);
  EXPECT_EQ(ModeOf(path), 0600u);
  End();
}

TEST_F(SocketAccess, IsWhatTheModeSays) {
  const mode_t mask = umask(0077);  // whatever the daemon is started with
  Start({"--socket-mode", "0620", "--view-mode", "666", "--view-group", Group().gr_name});
  umask(mask);
  EXPECT_EQ(ModeOf(path), 0620u);
  EXPECT_EQ(ModeOf(views), 0666u);
  End();
}

// The next daemon finds out that nobody listens at a socket of the same kind.
TEST_F(SocketAccess, IsTheSameAfterAKill) {
  const Arguments options = {"--socket-group", Group().gr_name, "--view-mode", "0604"};
  for (int i = 0; i < 2; ++i) {
    Start(options);
    EXPECT_EQ(ModeOf(path), 0660u);
    EXPECT_EQ(Look(path).st_gid, Group().gr_gid);
    EXPECT_EQ(ModeOf(views), 0604u);
    daemon->Kill(SIGKILL);
    daemon->Wait();
  }
  Start(options);
  End();
}

TEST_F(SocketAccess, IsKeptToThoseWhoAreNamed) {
  if (!CanPlay("other users are kept out, and let in")) {
    return;
  }
  ASSERT_EQ(chmod(place.Path().c_str(), 0755), 0);
  Start({"--socket-owner", OWNER_NAME, "--socket-group", OWNER_NAME, "--view-mode", "0606"});
  EXPECT_EQ(Look(path).st_uid, OWNER);
  EXPECT_EQ(Look(views).st_uid, 0u);
  {
    const Role stranger(NOBODY, NOBODY);
    EXPECT_EQ(Connect(path), EACCES);
    EXPECT_EQ(Connect(views), 0);
  }
  {
    const Role member(NOBODY, OWNER);
    EXPECT_EQ(Connect(path), 0);
  }
  {
    const Role owner(OWNER, NOBODY);
    EXPECT_EQ(Connect(path), 0);
    RawClient client(path);
    EXPECT_TRUE(client.ReadReply());
    client.Send("C retry\n");
    EXPECT_TRUE(client.ReadReply());
  }
  daemon->ReadErrorsUntil("\ndaemon at the socket: retry\n");
  End();
}

TEST_F(SocketAccess, IsJudgedBeforeAnythingIsTouched) {
  const struct {
    Arguments options;
    const char* says;
  } wrong[] = {
      {{"--socket-owner", "nobody-by-this-name"},
       "--socket-owner takes a user's name, not \"nobody-by-this-name\""},
      {{"--socket-group", "no-such-group"},
       "--socket-group takes a group's name, not \"no-such-group\""},
      {{"--socket-mode", "888"}, "--socket-mode takes an octal number from 0 to 0777, not \"888\""},
      {{"--view-group", "no-such-group"},
       "--view-group takes a group's name, not \"no-such-group\""},
      {{"--view-mode", "7777"}, "--view-mode takes an octal number from 0 to 0777, not \"7777\""},
  };
  for (const auto& one : wrong) {
    const Result result = system_test::RunDaemon(WithSockets(one.options), "");
    EXPECT_EQ(result.status, 2) << one.says;
    EXPECT_EQ(result.errors,
              "vantacored: " + std::string(one.says) + "\nvantacored --help tells more.\n");
    EXPECT_FALSE(HasSocket());
  }
}

// Root without the capability stands for a user without rights.
TEST_F(SocketAccess, IsNotLeftHalfGiven) {
  const std::string command =
      geteuid() == 0 ? std::string("setpriv;--bounding-set;-chown;--;") + VANTACORED_COMMAND
                     : VANTACORED_COMMAND;
  const Result result = system_test::RunDaemon(
      WithSockets({"--socket-owner", geteuid() == 0 ? OWNER_NAME : "root"}), "", command);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "vantacored: " + path +
                               ": cannot be given to its owner and group: Operation not "
                               "permitted\n");
  EXPECT_FALSE(HasSocket());
  EXPECT_NE(access(views.c_str(), F_OK), 0);
}

// One that cannot have its second socket does not keep the first.
TEST_F(SocketAccess, IsGoneWhenTheOtherSocketIsTaken) {
  place.Write("views", "a file");
  const Result result = system_test::RunDaemon(WithSockets({}), "");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors, "vantacored: " + views + ": Address already in use\n");
  EXPECT_FALSE(HasSocket());
}

TEST_F(SocketAccess, IsLoggedAtADebugLevelOnly) {
  Start({"--log", "10"});
  EXPECT_EQ(Run({"version"}).status, 0);
  EXPECT_EQ(system_test::RunDaemon({"--socket", views, "version"}, "", VANTACORECTL_COMMAND).status,
            0);
  for (const char* const text : {"A session begins: ", " at the socket\n",
                                 "A session ends: ", "A session begins: ", " at the view socket\n",
                                 "A session ends: ", " at the view socket\n"}) {
    daemon->ReadErrorsUntil(text);
  }
  End();
  EXPECT_THAT(daemon->Log(), testing::Not(HasSubstr("socket: version")));
  Start({"--log", "9"});
  EXPECT_EQ(Run({"version"}).status, 0);
  End();
  EXPECT_THAT(daemon->Log(), testing::Not(HasSubstr("A session")));
}

}  // namespace
