// Messages of rules to and from the kernel, byte by byte where that matters.

#include <gmock/gmock.h>
#include <linux/fib_rules.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstring>
#include <optional>

#include "device/kernel/messages.h"
#include "fake_rules.h"

namespace {

using kernel::FoundRule;
using kernel::Rule;
using kernel::RuleBatch;
using test_kernel::RuleFor;

/// A message about a rule, aligned as what a socket hands over.
class RuleMessage {
 public:
  explicit RuleMessage(const std::vector<char>& bytes)
      : m_size(bytes.size()), m_words(bytes.size() / 4) {
    std::memcpy(m_words.data(), bytes.data(), bytes.size());
  }
  nlmsghdr& Header() { return *reinterpret_cast<nlmsghdr*>(m_words.data()); }
  fib_rule_hdr& Rule() {
    return *reinterpret_cast<fib_rule_hdr*>(reinterpret_cast<char*>(m_words.data()) + NLMSG_HDRLEN);
  }
  /// The attribute of this type; null if there is none.
  rtattr* Attribute(unsigned short type) {
    auto* attribute = reinterpret_cast<rtattr*>(reinterpret_cast<char*>(&Rule()) +
                                                NLMSG_ALIGN(sizeof(fib_rule_hdr)));
    int left = static_cast<int>(m_size - NLMSG_HDRLEN - sizeof(fib_rule_hdr));
    for (; RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left)) {
      if (attribute->rta_type == type) {
        return attribute;
      }
    }
    return nullptr;
  }
  template <typename Number>
  void Set(unsigned short type, Number number) {
    std::memcpy(RTA_DATA(Attribute(type)), &number, sizeof number);
  }
  void Append(unsigned short type, std::uint32_t number) {
    rtattr attribute{};
    attribute.rta_len = RTA_LENGTH(sizeof number);
    attribute.rta_type = type;
    m_words.resize(m_words.size() + 2);
    std::memcpy(m_words.data() + m_size / 4, &attribute, sizeof attribute);
    std::memcpy(m_words.data() + m_size / 4 + 1, &number, sizeof number);
    m_size += 8;
    Header().nlmsg_len += 8;
  }
  void Cut(std::size_t size) {
    m_size = size;
    Header().nlmsg_len = static_cast<std::uint32_t>(size);
  }
  std::size_t Size() const { return m_size; }
  /// As the kernel would tell of it.
  std::optional<kernel::Rule> Read() {
    Header().nlmsg_type = RTM_NEWRULE;
    const kernel::Received received = kernel::ReadMessages(m_words.data(), m_size);
    return received.messages.empty()
               ? std::nullopt
               : std::optional(std::get<FoundRule>(received.messages.at(0)).rule);
  }

 private:
  std::size_t m_size;
  std::vector<std::uint32_t> m_words;
};

RuleMessage Added(const Rule& rule) {
  RuleBatch batch;
  batch.Add(rule, 7);
  return RuleMessage(batch.Finish());
}

RuleMessage Deleted(const Rule& rule) {
  RuleBatch batch;
  batch.Delete(rule, 9);
  return RuleMessage(batch.Finish());
}

const Rule LOOKUP = RuleFor("eth1.20", 40020);

TEST(KernelRuleMessages, ARuleComesBackAsItWasAskedFor) {
  for (const Rule& rule : {LOOKUP, RuleFor("r2"), RuleFor("r2", 254, true),
                           RuleFor("fifteen-letters", 4294967295u), RuleFor("r2", 0, true)}) {
    EXPECT_TRUE(Added(rule).Read() == rule) << kernel::DescribeRule(rule);
    EXPECT_TRUE(Deleted(rule).Read() == rule) << kernel::DescribeRule(rule);
  }
}

TEST(KernelRuleMessages, AnAdditionIsExclusiveAndADeletionNamesEverything) {
  RuleMessage added = Added(LOOKUP);
  EXPECT_EQ(RTM_NEWRULE, added.Header().nlmsg_type);
  EXPECT_EQ(NLM_F_REQUEST | NLM_F_CREATE | NLM_F_EXCL | NLM_F_ACK, added.Header().nlmsg_flags);
  EXPECT_EQ(7u, added.Header().nlmsg_seq);
  EXPECT_EQ(FR_ACT_TO_TBL, added.Rule().action);
  EXPECT_EQ(FR_ACT_UNREACHABLE, Added(RuleFor("r2")).Rule().action);
  RuleMessage deleted = Deleted(LOOKUP);
  EXPECT_EQ(RTM_DELRULE, deleted.Header().nlmsg_type);
  EXPECT_EQ(NLM_F_REQUEST | NLM_F_ACK, deleted.Header().nlmsg_flags);
  EXPECT_EQ(9u, deleted.Header().nlmsg_seq);
  EXPECT_EQ(kernel::OUR_PROTOCOL,
            *static_cast<unsigned char*>(RTA_DATA(deleted.Attribute(FRA_PROTOCOL))));
}

TEST(KernelRuleMessages, TheEndOfALookupStandsBehindIt) {
  const auto priorityOf = [](RuleMessage message) {
    std::uint32_t priority = 0;
    std::memcpy(&priority, RTA_DATA(message.Attribute(FRA_PRIORITY)), sizeof priority);
    return priority;
  };
  EXPECT_LT(priorityOf(Added(LOOKUP)), priorityOf(Added(RuleFor("r2"))));
  EXPECT_LT(priorityOf(Added(RuleFor("r2"))), 32766u) << "the rule of the main table";
}

TEST(KernelRuleMessages, RulesOfOthersAreOfNoInterest) {
  RuleMessage message = Added(LOOKUP);
  message.Set(FRA_PROTOCOL, std::uint8_t{4});
  EXPECT_FALSE(message.Read());
  message = Added(LOOKUP);
  message.Attribute(FRA_PROTOCOL)->rta_type = FRA_PAD;
  EXPECT_FALSE(message.Read());
  message = Added(LOOKUP);
  message.Rule().family = AF_BRIDGE;
  EXPECT_FALSE(message.Read());
}

// The kernel tells whether the interface is there, and of a table that is not suppressed.
TEST(KernelRuleMessages, WhatTheKernelAddsDoesNotMatter) {
  RuleMessage message = Added(LOOKUP);
  message.Rule().flags = FIB_RULE_IIF_DETACHED;
  message.Rule().table = RT_TABLE_COMPAT;
  message.Append(FRA_SUPPRESS_PREFIXLEN, 0xFFFFFFFF);
  EXPECT_TRUE(message.Read() == LOOKUP);
}

TEST(KernelRuleMessages, ARuleOfAnotherFormIsToldApart) {
  const std::function<void(RuleMessage&)> changes[] = {
      [](RuleMessage& message) { message.Rule().dst_len = 8; },
      [](RuleMessage& message) { message.Rule().src_len = 8; },
      [](RuleMessage& message) { message.Rule().tos = 4; },
      [](RuleMessage& message) { message.Rule().flags = FIB_RULE_INVERT; },
      [](RuleMessage& message) { message.Rule().action = FR_ACT_BLACKHOLE; },
      [](RuleMessage& message) { message.Rule().action = FR_ACT_UNREACHABLE; },
      [](RuleMessage& message) { message.Set(FRA_PRIORITY, kernel::END_PRIORITY); },
      [](RuleMessage& message) { message.Set(FRA_TABLE, std::uint32_t{0}); },
      [](RuleMessage& message) { message.Append(FRA_FWMARK, 1); },
      [](RuleMessage& message) { message.Append(FRA_SUPPRESS_PREFIXLEN, 0); },
      [](RuleMessage& message) { message.Set(FRA_IIFNAME, '\0'); },
      [](RuleMessage& message) { message.Attribute(FRA_IIFNAME)->rta_type = FRA_OIFNAME; },
      [](RuleMessage& message) { message.Attribute(FRA_TABLE)->rta_type = FRA_PRIORITY; },
  };
  for (const auto& change : changes) {
    RuleMessage message = Added(LOOKUP);
    change(message);
    const auto found = message.Read();
    ASSERT_TRUE(found) << &change - changes;
    EXPECT_FALSE(found->oddMessage.empty()) << &change - changes;
    EXPECT_FALSE(found->EndsLookup());
  }
  RuleMessage end = Added(RuleFor("r2"));
  end.Append(FRA_TABLE, 5);
  EXPECT_FALSE(end.Read()->oddMessage.empty());
  EXPECT_FALSE(Added(RuleFor("sixteen--letters", 5)).Read()->oddMessage.empty());
}

// Whichever dump has told of it.
TEST(KernelRuleMessages, ARuleOfAnotherFormIsDeletedByItsOwnWords) {
  RuleMessage message = Added(LOOKUP);
  message.Append(FRA_FWMARK, 77);
  const auto found = message.Read();
  message.Header().nlmsg_seq = 4711;
  message.Header().nlmsg_pid = 4712;
  message.Header().nlmsg_flags = NLM_F_MULTI;
  EXPECT_TRUE(found == message.Read());
  EXPECT_EQ(0u, found->table) << "its own words say it";
  RuleMessage deleted = Deleted(*found);
  EXPECT_EQ(RTM_DELRULE, deleted.Header().nlmsg_type);
  EXPECT_EQ(NLM_F_REQUEST | NLM_F_ACK, deleted.Header().nlmsg_flags);
  EXPECT_EQ(9u, deleted.Header().nlmsg_seq);
  EXPECT_EQ(0u, deleted.Header().nlmsg_pid);
  EXPECT_EQ(message.Size(), deleted.Size());
  EXPECT_TRUE(deleted.Read() == found);
}

// Messages begin at multiples of four, whatever length the kernel has told.
TEST(KernelRuleMessages, WhatComesBehindTheDeletionOfAnyRuleIsRead) {
  RuleMessage message = Added(LOOKUP);
  message.Cut(message.Size() - 3);
  const auto found = message.Read();
  ASSERT_TRUE(found && !found->oddMessage.empty());
  RuleBatch batch;
  batch.Delete(*found, 1);
  batch.Add(LOOKUP, 2);
  const std::vector<char>& bytes = batch.Finish();
  nlmsghdr header;
  std::memcpy(&header, bytes.data(), sizeof header);
  const std::size_t second = NLMSG_ALIGN(header.nlmsg_len);
  ASSERT_LE(second + sizeof header, bytes.size());
  std::memcpy(&header, &bytes[second], sizeof header);
  EXPECT_EQ(RTM_NEWRULE, header.nlmsg_type);
  EXPECT_EQ(2u, header.nlmsg_seq);
  EXPECT_EQ(bytes.size(), second + header.nlmsg_len);
}

TEST(KernelRuleMessages, CutShortTheyAreNoneOrOfAnotherForm) {
  for (std::size_t size = sizeof(nlmsghdr); size < Added(LOOKUP).Size(); size += 4) {
    RuleMessage message = Added(LOOKUP);
    message.Cut(size);
    const auto found = message.Read();
    EXPECT_FALSE(found == LOOKUP) << size;
    EXPECT_FALSE(found && size < sizeof(nlmsghdr) + sizeof(fib_rule_hdr));
  }
}

TEST(KernelRuleMessages, ADumpAsksForAllRulesOfAFamily) {
  for (const bool isIp6 : {false, true}) {
    RuleMessage message(kernel::MakeRuleDump(isIp6, 5));
    EXPECT_EQ(RTM_GETRULE, message.Header().nlmsg_type);
    EXPECT_EQ(NLM_F_REQUEST | NLM_F_DUMP, message.Header().nlmsg_flags);
    EXPECT_EQ(5u, message.Header().nlmsg_seq);
    EXPECT_EQ(isIp6 ? AF_INET6 : AF_INET, message.Rule().family);
    EXPECT_EQ(NLMSG_HDRLEN + sizeof(fib_rule_hdr), message.Size()) << "the kernel refuses more";
  }
}

TEST(KernelRuleMessages, ADescriptionIsThatOfIpRule) {
  EXPECT_EQ("iif eth1.20 lookup 40020", kernel::DescribeRule(LOOKUP));
  EXPECT_EQ("iif r2 unreachable of IPv6", kernel::DescribeRule(RuleFor("r2", 0, true)));
  EXPECT_EQ("of another form", kernel::DescribeRule(test_kernel::OddRule(5)));
}

}  // namespace
