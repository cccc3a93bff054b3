#include "fake_rules.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cerrno>
#include <cstring>

namespace test_kernel {

using kernel::Answer;
using kernel::FoundRule;
using kernel::Rule;

namespace {

/// The rule that a message asks for, or whose end, read as if the kernel told of it.
Rule RuleIn(std::vector<std::uint32_t>& message, std::size_t size) {
  auto& header = *reinterpret_cast<nlmsghdr*>(message.data());
  header.nlmsg_type = RTM_NEWRULE;
  return std::get<FoundRule>(kernel::ReadMessages(message.data(), size).messages.at(0)).rule;
}

}  // namespace

Rule RuleFor(const std::string& interface, std::uint32_t table, bool isIp6) {
  return {isIp6, interface, table, {}};
}

// As the reader makes one of a rule of ours with another priority.
Rule OddRule(std::uint32_t priority, bool isIp6) {
  kernel::RuleBatch batch;
  batch.Add(RuleFor("odd", 5, isIp6), 1);
  const std::vector<char>& bytes = batch.Finish();
  std::vector<std::uint32_t> message(bytes.size() / 4);
  std::memcpy(message.data(), bytes.data(), bytes.size());
  for (std::uint32_t& word : message) {
    word = word == kernel::LOOKUP_PRIORITY ? priority : word;
  }
  return RuleIn(message, bytes.size());
}

std::vector<Answer> FakeRules::Work(const std::vector<char>& bytes) {
  std::vector<Answer> answers;
  for (std::size_t at = 0; at < bytes.size();) {
    nlmsghdr header;
    std::memcpy(&header, &bytes[at], sizeof header);
    std::vector<std::uint32_t> message((header.nlmsg_len + 3) / 4);
    std::memcpy(message.data(), &bytes[at], header.nlmsg_len);
    const bool isDeletion = header.nlmsg_type == RTM_DELRULE;
    const Rule rule = RuleIn(message, header.nlmsg_len);
    requests.push_back((isDeletion ? "- " : "+ ") + kernel::DescribeRule(rule));
    int error = refuse ? refuse(rule, isDeletion) : 0;
    if (error == 0 && isDeletion) {
      error = ours.erase(rule) != 0 ? 0 : ENOENT;
    } else if (error == 0) {
      error = ours.insert(rule).second ? 0 : EEXIST;
    }
    if (error != 0 || (header.nlmsg_flags & NLM_F_ACK) != 0) {
      answers.push_back({header.nlmsg_seq, error, {}});
    }
    at += NLMSG_ALIGN(header.nlmsg_len);
  }
  return answers;
}

std::vector<FoundRule> FakeRules::Dump(bool isIp6) const {
  std::vector<FoundRule> found;
  for (const Rule& rule : ours) {
    if (rule.isIp6 == isIp6) {
      found.push_back({rule});
    }
  }
  return found;
}

}  // namespace test_kernel
