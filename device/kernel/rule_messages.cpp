#include "rule_messages.h"

#include <linux/fib_rules.h>
#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstring>

#include "message_reading.h"

namespace kernel {

namespace {

constexpr std::uint32_t NO_SUPPRESSION = 0xFFFFFFFF;

unsigned char FamilyOf(const Rule& rule) { return rule.isIp6 ? AF_INET6 : AF_INET; }

std::uint32_t PriorityOf(const Rule& rule) {
  return rule.EndsLookup() ? END_PRIORITY : LOOKUP_PRIORITY;
}

/// What a message says of a rule.
struct RuleAttributes {
  std::uint8_t protocol = 0;
  std::uint32_t priority = 0;
  std::uint32_t table = 0;
  std::string interface;
  bool isOdd = false;  // there is something that no rule of ours has
};

template <typename Number>
void TakeSized(const nlattr& attribute, Number& number, RuleAttributes& found) {
  if (mnl_attr_get_payload_len(&attribute) == sizeof number) {
    std::memcpy(&number, mnl_attr_get_payload(&attribute), sizeof number);
  } else {
    found.isOdd = true;
  }
}

RuleAttributes FindAttributes(const nlmsghdr& header) {
  RuleAttributes found;
  std::uint32_t suppressed = NO_SUPPRESSION;
  ForEachAttribute(header, sizeof(fib_rule_hdr), [&](const nlattr& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case FRA_PROTOCOL:
        TakeSized(attribute, found.protocol, found);
        break;
      case FRA_PRIORITY:
        TakeSized(attribute, found.priority, found);
        break;
      case FRA_TABLE:
        TakeSized(attribute, found.table, found);
        break;
      case FRA_SUPPRESS_PREFIXLEN:
        TakeSized(attribute, suppressed, found);
        break;
      case FRA_IIFNAME: {
        const auto* const text = static_cast<const char*>(mnl_attr_get_payload(&attribute));
        found.interface.assign(text, strnlen(text, mnl_attr_get_payload_len(&attribute)));
        break;
      }
      default:
        found.isOdd = true;
    }
  });
  found.isOdd = found.isOdd || suppressed != NO_SUPPRESSION;
  return found;
}

// The kernel notes whether the interface is there.
bool IsOfOurForm(const fib_rule_hdr& header, const RuleAttributes& found) {
  const bool isPlain = !found.isOdd && header.dst_len == 0 && header.src_len == 0 &&
                       header.tos == 0 &&
                       (header.flags & ~std::uint32_t{FIB_RULE_IIF_DETACHED}) == 0 &&
                       !found.interface.empty() && found.interface.size() < IFNAMSIZ;
  const bool isLookup =
      header.action == FR_ACT_TO_TBL && found.table != 0 && found.priority == LOOKUP_PRIORITY;
  const bool isEnd =
      header.action == FR_ACT_UNREACHABLE && found.table == 0 && found.priority == END_PRIORITY;
  return isPlain && (isLookup || isEnd);
}

// What tells a rule of another form apart from all others is all in the kernel's own message.
std::string DeletionLike(const nlmsghdr& found) {
  nlmsghdr header{};
  header.nlmsg_len = found.nlmsg_len;
  header.nlmsg_type = RTM_DELRULE;
  header.nlmsg_flags = NLM_F_REQUEST;
  std::string message(reinterpret_cast<const char*>(&found), found.nlmsg_len);
  std::memcpy(message.data(), &header, sizeof header);
  message.resize(NLMSG_ALIGN(message.size()));
  return message;
}

}  // namespace

std::optional<FoundRule> ReadRule(const nlmsghdr& header) {
  if (mnl_nlmsg_get_payload_len(&header) < sizeof(fib_rule_hdr)) {
    return std::nullopt;
  }
  const auto& rule = *static_cast<const fib_rule_hdr*>(mnl_nlmsg_get_payload(&header));
  const RuleAttributes found = FindAttributes(header);
  if ((rule.family != AF_INET && rule.family != AF_INET6) || found.protocol != OUR_PROTOCOL) {
    return std::nullopt;
  }
  const bool isIp6 = rule.family == AF_INET6;
  if (IsOfOurForm(rule, found)) {
    return FoundRule{{isIp6, found.interface, found.table, {}}};
  }
  return FoundRule{{isIp6, {}, 0, DeletionLike(header)}};
}

void RuleBatch::Add(const Rule& rule, std::uint32_t sequence) {
  AppendOwn(RTM_NEWRULE, NLM_F_CREATE | NLM_F_EXCL, rule, sequence);
}

void RuleBatch::Delete(const Rule& rule, std::uint32_t sequence) {
  if (rule.oddMessage.empty()) {
    AppendOwn(RTM_DELRULE, 0, rule, sequence);
    return;
  }
  std::string message = rule.oddMessage;
  nlmsghdr header;
  std::memcpy(&header, message.data(), sizeof header);
  header.nlmsg_seq = sequence;
  std::memcpy(message.data(), &header, sizeof header);
  Append(message.data(), message.size());
}

void RuleBatch::AppendOwn(unsigned short type, unsigned short flags, const Rule& rule,
                          std::uint32_t sequence) {
  alignas(nlmsghdr) char bytes[MOST_MESSAGE_BYTES] = {};
  nlmsghdr& header = *mnl_nlmsg_put_header(bytes);
  header.nlmsg_type = type;
  header.nlmsg_flags = static_cast<unsigned short>(NLM_F_REQUEST | flags);
  header.nlmsg_seq = sequence;
  auto& own =
      *static_cast<fib_rule_hdr*>(mnl_nlmsg_put_extra_header(&header, sizeof(fib_rule_hdr)));
  own.family = FamilyOf(rule);
  own.table = RT_TABLE_UNSPEC;  // a number of more than a byte stands in an attribute
  own.action = rule.EndsLookup() ? FR_ACT_UNREACHABLE : FR_ACT_TO_TBL;
  mnl_attr_put_strz(&header, FRA_IIFNAME, rule.interface.c_str());
  mnl_attr_put_u32(&header, FRA_PRIORITY, PriorityOf(rule));
  mnl_attr_put_u8(&header, FRA_PROTOCOL, OUR_PROTOCOL);
  if (!rule.EndsLookup()) {
    mnl_attr_put_u32(&header, FRA_TABLE, rule.table);
  }
  Append(bytes, header.nlmsg_len);  // a multiple of four
}

std::vector<char> MakeRuleDump(bool isIp6, std::uint32_t sequence) {
  alignas(nlmsghdr) char bytes[MOST_MESSAGE_BYTES] = {};
  nlmsghdr& header = *mnl_nlmsg_put_header(bytes);
  header.nlmsg_type = RTM_GETRULE;
  header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  header.nlmsg_seq = sequence;
  auto& rule =
      *static_cast<fib_rule_hdr*>(mnl_nlmsg_put_extra_header(&header, sizeof(fib_rule_hdr)));
  rule.family = isIp6 ? AF_INET6 : AF_INET;
  return {bytes, bytes + header.nlmsg_len};
}

}  // namespace kernel
