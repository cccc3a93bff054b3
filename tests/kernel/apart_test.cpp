// Packets of two VLANs that use the same addresses: where do they come out?

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "device/program/owned_descriptor.h"
#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using program::OwnedDescriptor;

constexpr unsigned short PORT = 4000;
constexpr int LONGEST_WAIT = 30000;  // milliseconds

int OpenOwnNamespace() { return open("/proc/self/ns/net", O_RDONLY); }

void Enter(const OwnedDescriptor& network) {
  ASSERT_EQ(0, setns(network.Get(), CLONE_NEWNET)) << std::strerror(errno);
}

/// A network namespace beside the device's own; it goes with the object and what is in it.
class Neighbour {
 public:
  Neighbour() {
    const OwnedDescriptor own(OpenOwnNamespace());
    EXPECT_EQ(0, unshare(CLONE_NEWNET)) << std::strerror(errno);
    m_network = std::make_unique<OwnedDescriptor>(OpenOwnNamespace());
    Enter(own);
  }

  /// As iproute2 takes it.
  std::string Path() const {
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_network->Get());
  }
  void Within(const std::function<void()>& work) const {
    const OwnedDescriptor own(OpenOwnNamespace());
    Enter(*m_network);
    work();
    Enter(own);
  }
  OwnedDescriptor OpenUdp() const {
    int fd = -1;
    Within([&fd] { fd = socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0); });
    EXPECT_GE(fd, 0) << std::strerror(errno);
    return OwnedDescriptor(fd);
  }

 private:
  std::unique_ptr<OwnedDescriptor> m_network;
};

sockaddr_in6 SocketAddress(const char* text) {
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(PORT);
  EXPECT_EQ(1, inet_pton(AF_INET6, text, &address.sin6_addr)) << text;
  return address;
}

/// VLAN 10, the default one, has r1 and r4, and VLAN 20 has r2 and r3. Behind r1 and r2 is a host
/// each, both with the same addresses; r3 and r4 lead to the third one, which has all targets.
class KernelApart : public KernelTest {
 protected:
  void SetUp() override {
    KernelTest::SetUp();
    for (const char* const number : {"3", "4"}) {
      const std::string link = std::string("r") + number;
      const std::string peer = std::string("p") + number;
      Ip("link add " + link + " type veth peer name " + peer);
      for (const std::string& end : {link, peer}) {
        Ip("link set dev " + end + " addrgenmode none");
      }
      Ip("link set " + link + " up");
      Ip("address add 10.3.0.1/24 dev " + link);
      Ip("address add 2001:db8:3::1/64 dev " + link + " nodad");
      Ip("address add fe80::1/64 dev " + link + " nodad");  // from which neighbours are looked for
      Ip("link set " + peer + " netns " + target.Path());
    }
    Ip("address add 2001:db8:1::1/64 dev r2 nodad");
    Ip("link set p1 netns " + host10.Path());
    Ip("link set p2 netns " + host20.Path());
    host10.Within([] { SetUpHost("p1"); });
    host20.Within([] { SetUpHost("p2"); });
    target.Within([] { SetUpTarget(); });
    BindReceiver();
    WriteRoutes({{"10.8.0.0/16", "10.3.0.2"},
                 {"10.9.0.0/16", "10.3.0.2"},
                 {"2001:db8:8::/48", "2001:db8:3::2"},
                 {"2001:db8:9::/48", "2001:db8:3::2"}},
                {{"10.9.0.0/16", "10.3.0.2"}, {"2001:db8:9::/48", "2001:db8:3::2"}});
  }

  static void SetUpHost(const std::string& link) {
    Ip("link set " + link + " up");
    Ip("address add 10.1.0.2/24 dev " + link);
    Ip("address add 2001:db8:1::2/64 dev " + link + " nodad");
    Ip("route add default via 10.1.0.1");
    Ip("-6 route add default via 2001:db8:1::1");
  }
  static void SetUpTarget() {
    for (const char* const filter : {"ipv4/conf/all/rp_filter", "ipv4/conf/default/rp_filter"}) {
      Switch(filter, 0);
    }
    Ip("link set lo up");
    for (const char* const address :
         {"10.8.0.5/32", "10.9.0.5/32", "2001:db8:8::5/128", "2001:db8:9::5/128"}) {
      Ip(std::string("address add ") + address + " dev lo");
    }
    for (const std::string link : {"p3", "p4"}) {
      Switch("ipv4/conf/" + link + "/rp_filter", 0);
      Ip("link set " + link + " up");
      Ip("address add 10.3.0.2/24 dev " + link);
      Ip("address add 2001:db8:3::2/64 dev " + link + " nodad");
    }
  }
  void BindReceiver() {
    const int on = 1;
    ASSERT_EQ(0, setsockopt(receiver.Get(), IPPROTO_IPV6, IPV6_RECVPKTINFO, &on, sizeof on));
    const sockaddr_in6 any = SocketAddress("::");
    ASSERT_EQ(0, bind(receiver.Get(), reinterpret_cast<const sockaddr*>(&any), sizeof any));
  }

  /// Sends a packet with this text, of IPv4 for "::ffff:10.9.0.5".
  static void Send(const OwnedDescriptor& from, const std::string& text, const char* address) {
    const sockaddr_in6 to = SocketAddress(address);
    EXPECT_EQ(static_cast<ssize_t>(text.size()),
              sendto(from.Get(), text.data(), text.size(), 0,
                     reinterpret_cast<const sockaddr*>(&to), sizeof to))
        << std::strerror(errno);
  }
  /// Waits for the next packet: "its text on p3".
  std::string Receive() {
    pollfd waiting{receiver.Get(), POLLIN, 0};
    if (poll(&waiting, 1, LONGEST_WAIT) != 1) {
      return "nothing has come";
    }
    char text[64];
    alignas(cmsghdr) char control[256];
    iovec part{text, sizeof text};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t size = recvmsg(receiver.Get(), &message, 0);
    std::string result(text, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    for (cmsghdr* found = CMSG_FIRSTHDR(&message); found != nullptr;
         found = CMSG_NXTHDR(&message, found)) {
      if (found->cmsg_level == IPPROTO_IPV6 && found->cmsg_type == IPV6_PKTINFO) {
        in6_pktinfo information;
        std::memcpy(&information, CMSG_DATA(found), sizeof information);
        target.Within([&] {
          char name[IF_NAMESIZE] = "?";
          if_indextoname(information.ipi6_ifindex, name);
          result += std::string(" on ") + name;
        });
      }
    }
    return result;
  }

  void WriteLinks(const std::string& rules) {
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "r2", "vlan": 20, "index": 3}, {"name": "r3", "vlan": 20, "index": 4}],
      "kernel": {"interfaces": ["r?"], "routes": true, "rules": )" +
                                    rules + "}}");
  }

  Neighbour host10;
  Neighbour host20;
  Neighbour target;
  OwnedDescriptor from10 = host10.OpenUdp();
  OwnedDescriptor from20 = host20.OpenUdp();
  OwnedDescriptor receiver = target.OpenUdp();
};

constexpr const char* KNOWN_TO_10[] = {"::ffff:10.8.0.5", "2001:db8:8::5"};
constexpr const char* KNOWN_TO_BOTH[] = {"::ffff:10.9.0.5", "2001:db8:9::5"};

TEST_F(KernelApart, WithoutRulesTheMainTableIsEverybodys) {
  WriteLinks("false");
  Start();
  AwaitPass();
  for (const int family : {0, 1}) {
    Send(from20, "leaked", KNOWN_TO_10[family]);
    EXPECT_EQ("leaked on p4", Receive());
    Send(from20, "astray", KNOWN_TO_BOTH[family]);
    EXPECT_EQ("astray on p4", Receive());
  }
}

// A packet that is to come nowhere is followed by others over the same links, which come.
TEST_F(KernelApart, WithRulesEachVlanHasItsOwn) {
  WriteLinks("true");
  Start();
  AwaitPass();
  for (const int family : {0, 1}) {
    Send(from20, "leaked", KNOWN_TO_10[family]);
    Send(from20, "of 20", KNOWN_TO_BOTH[family]);
    EXPECT_EQ("of 20 on p3", Receive());
    Send(from10, "of 10", KNOWN_TO_BOTH[family]);
    EXPECT_EQ("of 10 on p4", Receive());
    Send(from10, "of 10 alone", KNOWN_TO_10[family]);
    EXPECT_EQ("of 10 alone on p4", Receive());
  }
}

// Nothing is looked up elsewhere when a VLAN knows nothing at all.
TEST_F(KernelApart, AVlanWithoutRoutesIsKeptApartAsWell) {
  WriteLinks("true");
  WriteRoutes({{"10.9.0.0/16", "10.3.0.2"}, {"2001:db8:9::/48", "2001:db8:3::2"}});
  Start();
  AwaitPass();
  for (const int family : {0, 1}) {
    Send(from20, "leaked", KNOWN_TO_BOTH[family]);
    Send(from10, "of 10", KNOWN_TO_BOTH[family]);
    EXPECT_EQ("of 10 on p4", Receive());
  }
}

}  // namespace
