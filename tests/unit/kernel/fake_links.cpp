#include "fake_links.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "fake_kernel.h"

namespace test_kernel {

using kernel::FoundAddress;
using kernel::FoundLink;
using kernel::LinkAddress;
using kernel::Message;
using kernel::Received;

LinkAddress LinkAddressOf(const std::string& text, bool isSecondary) {
  const kernel::RouteKey key = Key(text);
  return {key.isIp6, key.destination, key.destination, key.length, isSecondary, 0};
}

void FakeLinks::Tell(Message message) {
  if (!isSilent) {
    tell(std::move(message));
  }
}

void FakeLinks::Set(std::uint32_t index, const std::string& name, bool isUp) {
  kernel::Link& link = links[index];
  link.index = index;
  link.name = name;
  link.isUp = isUp;
  link.mtu = 1500;
  kernel::Link told = link;
  told.addresses.clear();
  Tell(FoundLink{told, false, 0});
}

// As the kernel does: the addresses go first.
void FakeLinks::Remove(std::uint32_t index) {
  const kernel::Link link = links.at(index);
  for (const LinkAddress& address : link.addresses) {
    RemoveAddress(index, address);
  }
  links.erase(index);
  kernel::Link told = link;
  told.addresses.clear();
  Tell(FoundLink{told, true, 0});
}

void FakeLinks::AddAddress(std::uint32_t index, const LinkAddress& address) {
  links.at(index).addresses.push_back(address);
  Tell(FoundAddress{index, address, false, 0});
}

void FakeLinks::RemoveAddress(std::uint32_t index, const LinkAddress& address) {
  auto& addresses = links.at(index).addresses;
  addresses.erase(std::find(addresses.begin(), addresses.end(), address));
  Tell(FoundAddress{index, address, true, 0});
}

FakeLinkChannel::FakeLinkChannel(FakeLinks& links) : m_links(links) {
  m_links.tell = [this](Message message) {
    if (m_isFull) {
      return;
    }
    Received received;
    received.messages.push_back(std::move(message));
    Tell(Outcome::MESSAGES, std::move(received));
  };
}

FakeLinkChannel::~FakeLinkChannel() {
  m_links.tell = [](const Message&) {};
}

void FakeLinkChannel::Tell(Outcome outcome, Received received) {
  m_waiting.emplace_back(outcome, std::move(received));
  eventfd_write(GetDescriptor(), 1);
}

int FakeLinkChannel::Send(const std::vector<char>& bytes) {
  nlmsghdr header;
  std::memcpy(&header, bytes.data(), sizeof header);
  beforeDump();
  ++dumps;
  Accident accident = Accident::NONE;
  if (!accidents.empty()) {
    accident = accidents.back();
    accidents.pop_back();
  }
  if (accident == Accident::UNSENT) {
    return ENOBUFS;
  }
  const std::uint32_t sequence = header.nlmsg_seq;
  Received data;
  for (const auto& [index, link] : m_links.links) {
    if (header.nlmsg_type == RTM_GETLINK) {
      kernel::Link told = link;
      told.addresses.clear();
      data.messages.emplace_back(FoundLink{told, false, sequence});
      continue;
    }
    for (const LinkAddress& address : link.addresses) {
      data.messages.emplace_back(FoundAddress{index, address, false, sequence});
    }
  }
  data.isInterrupted = accident == Accident::INTERRUPTED;
  if (accident != Accident::REFUSED) {
    Tell(Outcome::MESSAGES, std::move(data));
  }
  Received end;
  end.messages.emplace_back(kernel::DumpEnd{sequence, accident == Accident::REFUSED ? ENOMEM : 0});
  Tell(Outcome::MESSAGES, std::move(end));
  return 0;
}

kernel::Channel::Outcome FakeLinkChannel::Receive(Received& received) {
  received = Received();
  if (m_waiting.empty()) {
    m_isFull = false;
    eventfd_t value;
    eventfd_read(GetDescriptor(), &value);
    return Outcome::NOTHING;
  }
  const Outcome outcome = m_waiting.front().first;
  received = std::move(m_waiting.front().second);
  m_waiting.pop_front();
  return outcome;
}

void FakeLinkChannel::Overrun() {
  m_isFull = true;
  m_waiting.emplace_front(Outcome::OVERRUN, Received());
  eventfd_write(GetDescriptor(), 1);
}

}  // namespace test_kernel
