#include "fake_channel.h"

#include <linux/fib_rules.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace test_kernel {

using kernel::Received;

namespace {

template <typename Rows>
Received MessagesOf(Rows rows) {
  Received received;
  for (auto& row : rows) {
    received.messages.emplace_back(std::move(row));
  }
  return received;
}

}  // namespace

void FakeChannel::Tell(Outcome outcome, Received received) {
  const std::lock_guard lock(m_mutex);
  m_waiting.emplace_back(outcome, std::move(received));
  eventfd_write(GetDescriptor(), 1);
}

FakeChannel::Accident FakeChannel::TakeAccident() {
  if (accidents.empty()) {
    return Accident::NONE;
  }
  const Accident accident = accidents.back();
  accidents.pop_back();
  return accident;
}

int FakeChannel::Send(const std::vector<char>& bytes) {
  if (!sendErrors.empty()) {
    const int error = sendErrors.back();
    sendErrors.pop_back();
    return error;
  }
  nlmsghdr header;
  std::memcpy(&header, bytes.data(), sizeof header);
  if (header.nlmsg_type == RTM_GETROUTE) {
    rtmsg route;
    std::memcpy(&route, &bytes[NLMSG_HDRLEN], sizeof route);
    SendDump(MessagesOf(m_kernel.Dump(route.rtm_family == AF_INET6)), header.nlmsg_seq);
    return 0;
  }
  if (header.nlmsg_type == RTM_GETRULE) {
    fib_rule_hdr rule;
    std::memcpy(&rule, &bytes[NLMSG_HDRLEN], sizeof rule);
    SendDump(MessagesOf(m_kernel.rules.Dump(rule.family == AF_INET6)), header.nlmsg_seq);
    return 0;
  }
  ++batches;
  const bool isOfRules = header.nlmsg_type == RTM_NEWRULE || header.nlmsg_type == RTM_DELRULE;
  Received received = MessagesOf(isOfRules ? m_kernel.rules.Work(bytes) : m_kernel.Work(bytes));
  if (TakeAccident() == Accident::OVERRUN) {
    Tell(Outcome::OVERRUN);
  } else {
    Tell(Outcome::MESSAGES, std::move(received));
  }
  return 0;
}

// Two packets, as a long dump has.
void FakeChannel::SendDump(Received rows, std::uint32_t sequence) {
  ++dumps;
  const Accident accident = TakeAccident();
  rows.isInterrupted = accident == Accident::INTERRUPTED;
  if (accident == Accident::OVERRUN) {
    Tell(Outcome::OVERRUN);
  } else if (accident != Accident::REFUSED && accident != Accident::WITHOUT_FAMILY) {
    Tell(Outcome::MESSAGES, std::move(rows));
  }
  Received end;
  if (accident == Accident::REFUSED) {
    end.messages.emplace_back(kernel::DumpEnd{sequence, ENOMEM});
  } else if (accident == Accident::WITHOUT_FAMILY) {
    end.messages.emplace_back(kernel::Answer{sequence, EOPNOTSUPP, {}});
  } else {
    end.messages.emplace_back(kernel::DumpEnd{sequence, 0});
  }
  if (accident == Accident::LATE) {
    m_late = std::move(end);
  } else {
    Tell(Outcome::MESSAGES, std::move(end));
  }
  if (afterDump) {
    afterDump();
  }
}

kernel::Channel::Outcome FakeChannel::Receive(Received& received) {
  const std::lock_guard lock(m_mutex);
  received = Received();
  if (m_waiting.empty()) {
    eventfd_t count;
    eventfd_read(GetDescriptor(), &count);
    return Outcome::NOTHING;
  }
  const Outcome outcome = m_waiting.front().first;
  received = std::move(m_waiting.front().second);
  m_waiting.pop_front();
  return outcome;
}

}  // namespace test_kernel
