// Messages to and from the kernel, byte by byte where that matters.

#include <gmock/gmock.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <random>

#include "device/kernel/messages.h"
#include "fake_kernel.h"
#include "tests/models/random_run.h"

namespace {

using kernel::Answer;
using kernel::Batch;
using kernel::DumpEnd;
using kernel::FoundRoute;
using kernel::Received;
using test_kernel::Hop;
using test_kernel::Key;
using testing::IsEmpty;
using testing::SizeIs;

/// Aligned as what a socket hands over.
class Bytes {
 public:
  explicit Bytes(const std::vector<char>& bytes)
      : m_size(bytes.size()), m_words((bytes.size() + 3) / 4) {
    std::memcpy(m_words.data(), bytes.data(), bytes.size());
  }
  char* Get() { return reinterpret_cast<char*>(m_words.data()); }
  nlmsghdr& Header() { return *reinterpret_cast<nlmsghdr*>(Get()); }
  rtmsg& Route() { return *reinterpret_cast<rtmsg*>(Get() + NLMSG_HDRLEN); }
  /// The attribute of this type.
  rtattr& Attribute(unsigned short type) {
    auto* attribute = RTM_RTA(&Route());
    int left = static_cast<int>(RTM_PAYLOAD(&Header()));
    for (; RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left)) {
      if (attribute->rta_type == type) {
        return *attribute;
      }
    }
    throw std::out_of_range("no such attribute");
  }
  Received Read() { return kernel::ReadMessages(Get(), m_size); }
  std::vector<kernel::Message> Messages() { return Read().messages; }
  void Cut(std::size_t size) { m_size = size; }

 private:
  std::size_t m_size;
  std::vector<std::uint32_t> m_words;
};

Bytes AddMessage(const kernel::RouteKey& key, const kernel::NextHops& nextHops,
                 std::uint32_t priority = 220) {
  Batch batch;
  batch.Add(key, nextHops, priority, 7);
  return Bytes(batch.Finish());
}

FoundRoute RouteIn(Bytes bytes) { return std::get<FoundRoute>(bytes.Messages().at(0)); }

TEST(KernelMessages, ARouteComesBackAsItWasAskedFor) {
  const struct {
    kernel::RouteKey key;
    kernel::NextHops nextHops;
    std::uint32_t priority;
  } routes[] = {
      {Key("10.9.0.0/16"), Hop("10.1.2.1"), 220},
      {Key("0.0.0.0/0", 40010), Hop("10.1.2.1", 70000), 221},
      {Key("10.9.8.7/32", 4294967295u), Hop("", 3), 220},
      {Key("2001:db8:9::/48"), Hop("fe80::1"), 221},
      {Key("::/0", 300), Hop("2001:db8::1"), 220},
      {Key("2001:db8::1/128"), Hop(""), 220},
  };
  for (const auto& route : routes) {
    const FoundRoute found = RouteIn(AddMessage(route.key, route.nextHops, route.priority));
    EXPECT_EQ(kernel::DescribeKey(route.key), kernel::DescribeKey(found.key));
    EXPECT_TRUE(route.key == found.key);
    EXPECT_TRUE(found.nextHops == route.nextHops);
    EXPECT_EQ(kernel::OUR_PROTOCOL, found.protocol);
    EXPECT_EQ(route.priority, found.priority);
  }
}

TEST(KernelMessages, AnAdditionNeverReplaces) {
  Bytes bytes = AddMessage(Key("10.9.0.0/16"), Hop("10.1.2.1"));
  EXPECT_EQ(RTM_NEWROUTE, bytes.Header().nlmsg_type);
  EXPECT_EQ(NLM_F_REQUEST | NLM_F_CREATE | NLM_F_EXCL | NLM_F_ACK, bytes.Header().nlmsg_flags);
  EXPECT_EQ(7u, bytes.Header().nlmsg_seq);
  EXPECT_EQ(RT_SCOPE_UNIVERSE, bytes.Route().rtm_scope);
  EXPECT_EQ(RT_SCOPE_LINK, AddMessage(Key("10.9.0.0/16"), Hop("")).Route().rtm_scope);
}

TEST(KernelMessages, ADeletionNamesOurNumberAndThePriority) {
  Batch batch;
  batch.Delete(Key("10.9.0.0/16", 40010), {}, 221, 9);
  Bytes bytes(batch.Finish());
  EXPECT_EQ(RTM_DELROUTE, bytes.Header().nlmsg_type);
  EXPECT_EQ(NLM_F_REQUEST | NLM_F_ACK, bytes.Header().nlmsg_flags);
  bytes.Header().nlmsg_type = RTM_NEWROUTE;
  const FoundRoute named = RouteIn(bytes);
  EXPECT_TRUE(named.key == Key("10.9.0.0/16", 40010));
  EXPECT_EQ(221u, named.priority);
  EXPECT_EQ(kernel::OUR_PROTOCOL, named.protocol);
}

TEST(KernelMessages, ADeletionNamesTheNextHopIfItIsKnown) {
  Batch batch;
  const kernel::NextHop nextHop = Hop("fe80::1", 7);
  batch.Delete(Key("2001:db8:9::/48"), nextHop, 220, 9);
  Bytes bytes(batch.Finish());
  bytes.Header().nlmsg_type = RTM_NEWROUTE;
  EXPECT_FALSE(RouteIn(bytes).nextHops);  // of no type, as it may be of any
  bytes.Route().rtm_type = RTN_UNICAST;
  EXPECT_TRUE(RouteIn(bytes).nextHops == kernel::NextHops(nextHop));
}

TEST(KernelMessages, OnlyTheLastOfABatchAsksForAnAnswer) {
  Batch batch;
  EXPECT_TRUE(batch.IsEmpty());
  for (unsigned int i = 1; i <= 3; ++i) {
    batch.Add(Key("10.9.0.0/16"), Hop("10.1.2.1"), 220, i);
  }
  const std::vector<char> bytes = batch.Finish();
  std::vector<bool> asks;
  for (std::size_t at = 0; at < bytes.size();) {
    nlmsghdr header;
    std::memcpy(&header, &bytes[at], sizeof header);
    asks.push_back((header.nlmsg_flags & NLM_F_ACK) != 0);
    at += header.nlmsg_len;
  }
  EXPECT_EQ((std::vector<bool>{false, false, true}), asks);
  batch.Clear();
  EXPECT_TRUE(batch.IsEmpty());
}

TEST(KernelMessages, ADumpAsksForOurRoutesOfAFamily) {
  for (const bool isIp6 : {false, true}) {
    Bytes bytes(kernel::MakeDump(isIp6, 5));
    EXPECT_EQ(RTM_GETROUTE, bytes.Header().nlmsg_type);
    EXPECT_EQ(NLM_F_REQUEST | NLM_F_DUMP, bytes.Header().nlmsg_flags);
    EXPECT_EQ(5u, bytes.Header().nlmsg_seq);
    EXPECT_EQ(isIp6 ? AF_INET6 : AF_INET, bytes.Route().rtm_family);
    EXPECT_EQ(kernel::OUR_PROTOCOL, bytes.Route().rtm_protocol);
  }
}

// ---- what the kernel tells

Bytes AnswerMessage(int error, const std::string& reason, bool isCapped = true) {
  struct {
    nlmsghdr header;
    nlmsgerr answer;
    nlattr attribute;
    char text[64];
  } message{};
  static_assert(sizeof message == 16 + 20 + 4 + 64);
  message.header.nlmsg_type = NLMSG_ERROR;
  message.header.nlmsg_seq = 42;
  message.answer.error = error;
  message.header.nlmsg_len = sizeof message.header + sizeof message.answer;
  if (!reason.empty()) {
    message.header.nlmsg_flags = NLM_F_ACK_TLVS | (isCapped ? NLM_F_CAPPED : 0);
    message.attribute.nla_type = NLMSGERR_ATTR_MSG;
    message.attribute.nla_len = static_cast<unsigned short>(4 + reason.size() + 1);
    std::memcpy(message.text, reason.c_str(), reason.size() + 1);
    message.header.nlmsg_len += 4 + (static_cast<unsigned int>(reason.size()) + 4) / 4 * 4;
  }
  const auto* const first = reinterpret_cast<const char*>(&message);
  return Bytes({first, first + message.header.nlmsg_len});
}

Answer AnswerIn(Bytes bytes) { return std::get<Answer>(bytes.Messages().at(0)); }

TEST(KernelMessages, AnswersHaveAnErrorAndTheKernelsWords) {
  const Answer done = AnswerIn(AnswerMessage(0, ""));
  EXPECT_EQ(42u, done.sequence);
  EXPECT_EQ(0, done.error);
  const Answer refused = AnswerIn(AnswerMessage(-ENETUNREACH, "Nexthop has invalid gateway"));
  EXPECT_EQ(ENETUNREACH, refused.error);
  EXPECT_EQ("Nexthop has invalid gateway", refused.reason);
  EXPECT_EQ("", AnswerIn(AnswerMessage(-EPERM, "")).reason);
  // With a copy of the whole message in between, the words are elsewhere.
  EXPECT_EQ("", AnswerIn(AnswerMessage(-EPERM, "words", false)).reason);
}

TEST(KernelMessages, AnErrorThatIsNoneIsASuccess) {
  EXPECT_EQ(0, AnswerIn(AnswerMessage(5, "")).error);
  EXPECT_EQ(0, AnswerIn(AnswerMessage(INT_MIN, "")).error);
}

TEST(KernelMessages, ADumpEnds) {
  Bytes bytes = AnswerMessage(0, "");
  bytes.Header().nlmsg_type = NLMSG_DONE;
  EXPECT_EQ(42u, std::get<DumpEnd>(bytes.Messages().at(0)).sequence);
  EXPECT_FALSE(bytes.Read().isInterrupted);
  bytes.Header().nlmsg_flags = NLM_F_DUMP_INTR;
  EXPECT_TRUE(bytes.Read().isInterrupted);
}

TEST(KernelMessages, WhatIsNoRouteOfOursIsPassedOver) {
  const auto changed = [](auto change) {
    Bytes bytes = AddMessage(Key("10.9.0.0/16"), Hop("10.1.2.1"));
    change(bytes);
    return bytes.Messages();
  };
  EXPECT_THAT(changed([](Bytes&) {}), SizeIs(1));
  EXPECT_THAT(changed([](Bytes& b) { b.Route().rtm_family = AF_PACKET; }), IsEmpty());
  EXPECT_THAT(changed([](Bytes& b) { b.Route().rtm_flags = RTM_F_CLONED; }), IsEmpty());
  EXPECT_THAT(changed([](Bytes& b) { b.Route().rtm_dst_len = 33; }), IsEmpty());
  EXPECT_THAT(changed([](Bytes& b) { b.Route().rtm_dst_len = 15; }), IsEmpty()) << "host bits";
  EXPECT_THAT(changed([](Bytes& b) { b.Route().rtm_src_len = 8; }), IsEmpty());
  EXPECT_THAT(changed([](Bytes& b) { b.Route().rtm_tos = 4; }), IsEmpty());
  EXPECT_THAT(changed([](Bytes& b) { b.Header().nlmsg_type = RTM_NEWADDR; }), IsEmpty());
  for (const unsigned short type : {RTA_DST, RTA_GATEWAY, RTA_OIF, RTA_PRIORITY, RTA_TABLE}) {
    EXPECT_THAT(changed([type](Bytes& b) { b.Attribute(type).rta_len = 7; }), IsEmpty()) << type;
  }
}

TEST(KernelMessages, ARouteThatIsNotAsOursAreHasNoNextHop) {
  const auto changed = [](auto change) {
    Bytes bytes = AddMessage(Key("10.9.0.0/16"), Hop("10.1.2.1"));
    change(bytes);
    return RouteIn(bytes).nextHops.has_value();
  };
  EXPECT_TRUE(changed([](Bytes&) {}));
  EXPECT_FALSE(changed([](Bytes& b) { b.Route().rtm_type = RTN_BLACKHOLE; }));
  EXPECT_FALSE(changed([](Bytes& b) { b.Attribute(RTA_GATEWAY).rta_type = RTA_MULTIPATH; }));
  EXPECT_FALSE(changed([](Bytes& b) { b.Attribute(RTA_GATEWAY).rta_type = RTA_VIA; }));
  EXPECT_FALSE(changed([](Bytes& b) { b.Attribute(RTA_OIF).rta_type = RTA_IIF; }));
}

TEST(KernelMessages, MessagesThatAreCutOffAreNotRead) {
  for (std::size_t size = 0; size < 80; ++size) {
    Bytes bytes = AddMessage(Key("2001:db8:9::/48"), Hop("fe80::1"));
    ASSERT_GT(bytes.Header().nlmsg_len, size);
    bytes.Cut(size);
    EXPECT_THAT(bytes.Messages(), IsEmpty()) << size;
  }
}

// Sanitizers tell what this test does not.
TEST(KernelMessages, AnyBytesAreRead) {
  test_models::Random random;
  std::size_t understood = 0;
  const unsigned int runs = test_models::Scaled(20000);
  for (unsigned int i = 0; i < runs; ++i) {
    Bytes bytes = random.Percent(50) ? AddMessage(Key("2001:db8:9::/48"), Hop("fe80::1"))
                                     : AnswerMessage(-EPERM, "words");
    const std::size_t size = bytes.Header().nlmsg_len;
    for (unsigned int changes = random.Below(4); changes > 0; --changes) {
      bytes.Get()[random.Below(static_cast<unsigned int>(size))] =
          static_cast<char>(random.Below(256));
    }
    understood += bytes.Messages().size();
  }
  test_models::ExpectAtLeast(understood, runs / 4, "messages understood");
}

}  // namespace
