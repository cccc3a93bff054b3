#include "link_watch.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace kernel {

namespace {

constexpr std::uint64_t PAUSE_BETWEEN_READINGS = 10 * 60 * 1000;  // milliseconds
constexpr int LONGEST_FIRST_WAIT = 1000;  // milliseconds, for the next word of the kernel

auto FindSame(std::vector<LinkAddress>& addresses, const LinkAddress& address) {
  return std::find_if(addresses.begin(), addresses.end(),
                      [&](const LinkAddress& other) { return other.IsSame(address); });
}

// A primary address that was a secondary one comes behind all others, as in the kernel.
void Replace(std::vector<LinkAddress>& addresses, std::vector<LinkAddress>::iterator which,
             const LinkAddress& address) {
  if (which->isSecondary && !address.isSecondary) {
    addresses.erase(which);
    addresses.push_back(address);
  } else {
    *which = address;
  }
}

// Of IPv6 the order means nothing.
bool HaveSameOrder(const std::vector<LinkAddress>& a, const std::vector<LinkAddress>& b) {
  const auto sorted = [](std::vector<LinkAddress> addresses) {
    std::stable_sort(addresses.begin(), addresses.end(),
                     [](const LinkAddress& one, const LinkAddress& other) {
                       return one.isIp6 != other.isIp6 ? other.isIp6
                              : one.isIp6              ? one.address < other.address
                                                       : false;
                     });
    return addresses;
  };
  return sorted(a) == sorted(b);
}

}  // namespace

LinkWatch::LinkWatch(uv_loop_s* loop, const OpenChannel& open, Log log,
                     std::function<void()> changed)
    : m_log(std::move(log)),
      m_hasChanged(std::move(changed)),
      m_channel(open(Subscription::LINKS_AND_ADDRESSES)),
      m_news(loop, *m_channel, [this] { Hear(); }),
      m_calling(loop),
      m_pause(loop) {
  BeginReading();
}

LinkWatch::~LinkWatch() = default;

void LinkWatch::ReadNow() {
  pollfd watched{m_channel->GetDescriptor(), POLLIN, 0};
  while (IsReading() && !m_hasRead) {
    const int ready = poll(&watched, 1, LONGEST_FIRST_WAIT);
    if (ready == 0 || (ready < 0 && errno != EINTR)) {
      return;  // the loop goes on with it
    }
    while (IsReading() && HearPacket()) {
    }
  }
}

std::vector<std::uint32_t> LinkWatch::TakeChanged(std::size_t most) {
  std::vector<std::uint32_t> taken;
  while (taken.size() < most && !m_changed.empty()) {
    taken.push_back(*m_changed.begin());
    m_changed.erase(m_changed.begin());
  }
  return taken;
}

void LinkWatch::Compare(Asker done) {
  m_nextAskers.push_back(std::move(done));
  if (!IsReading()) {
    BeginReading();
  }
}

// ---- what comes

void LinkWatch::Hear() {
  for (std::size_t i = 0; i < PACKETS_A_TURN && HearPacket(); ++i) {
  }
}

// Returns whether there may be more.
bool LinkWatch::HearPacket() {
  Received received;
  switch (m_channel->Receive(received)) {
    case Channel::Outcome::OVERRUN:
      ++m_overruns;
      m_isLosing = true;
      m_isInterrupted = true;
      if (!IsReading()) {
        BeginReading();
      }
      return true;
    case Channel::Outcome::NOTHING:
      if (std::exchange(m_isLosing, false) && m_isToRead) {
        Read(Reading::LINKS);
      }
      return false;
    case Channel::Outcome::FAILED:
      if (IsReading()) {
        Fail();
      } else if (!m_hasToldFailure) {
        BeginReading();  // what was lost with it, nobody knows
      }
      return false;
    case Channel::Outcome::MESSAGES:
      break;
  }
  m_isInterrupted = m_isInterrupted || received.isInterrupted;
  for (const Message& message : received.messages) {
    if (const auto* const link = std::get_if<FoundLink>(&message)) {
      Take(*link);
    } else if (const auto* const address = std::get_if<FoundAddress>(&message)) {
      Take(*address);
    } else if (const auto* const end = std::get_if<DumpEnd>(&message)) {
      End(end->sequence, end->error);
    } else if (const auto* const answer = std::get_if<Answer>(&message)) {
      End(answer->sequence, answer->error);
    }
  }
  return true;
}

void LinkWatch::Take(const FoundLink& found) {
  const std::uint32_t index = found.link.index;
  const auto known = m_links.find(index);
  if (found.isGone) {
    if (known != m_links.end()) {
      m_links.erase(known);
      m_seenLinks.erase(index);
      Change(index);
    }
    return;
  }
  m_seenLinks.insert(index);
  Link link = found.link;
  if (known != m_links.end()) {
    link.addresses = known->second.addresses;
    if (link == known->second) {
      return;
    }
  }
  m_links[index] = std::move(link);
  Untold(found.sequence != 0);
  Change(index);
}

// An address of a link that nobody has told of yet waits for the reading that this begins.
void LinkWatch::Take(const FoundAddress& found) {
  const auto known = m_links.find(found.ifIndex);
  if (known == m_links.end()) {
    return;
  }
  std::vector<LinkAddress>& addresses = known->second.addresses;
  const auto same = FindSame(addresses, found.address);
  std::vector<LinkAddress>& seen = m_seenAddresses[found.ifIndex];
  const auto alsoSeen = FindSame(seen, found.address);
  if (found.isGone) {
    if (alsoSeen != seen.end()) {
      seen.erase(alsoSeen);
    }
    if (same != addresses.end()) {
      addresses.erase(same);
      Untold(found.sequence != 0);
      Change(found.ifIndex);
    }
    return;
  }
  if (alsoSeen != seen.end()) {
    Replace(seen, alsoSeen, found.address);
  } else if (IsReading()) {
    seen.push_back(found.address);
  }
  if (same == addresses.end()) {
    addresses.push_back(found.address);
  } else if (!(*same == found.address)) {
    Replace(addresses, same, found.address);
  } else {
    return;
  }
  Untold(found.sequence != 0);
  Change(found.ifIndex);
}

// The first reading tells of everything.
void LinkWatch::Untold(bool isByDump) {
  if (isByDump && m_hasRead) {
    ++m_untold;
    ++m_allUntold;
  }
}

void LinkWatch::Change(std::uint32_t index) {
  m_changed.insert(index);
  m_calling.Post([this] { CallBack(); });
}

void LinkWatch::CallBack() {
  if (m_hasRead && (HasChanged() || !m_hasToldRead) && !IsReading()) {
    m_hasToldRead = true;
    m_hasChanged();
  }
}

// ---- readings

void LinkWatch::BeginReading() {
  m_askers.swap(m_nextAskers);
  m_interruptions = 0;
  m_untold = 0;
  Read(Reading::LINKS);
}

// A socket that has overrun loses all news until it is empty, without another word.
void LinkWatch::Read(Reading what) {
  m_readingOf = what;
  m_isToRead = m_isLosing;
  if (m_isToRead) {
    return;
  }
  m_isInterrupted = false;
  m_seenLinks.clear();
  m_seenAddresses.clear();
  ++m_dump;
  if (m_channel->Send(what == Reading::LINKS ? MakeLinkDump(m_dump) : MakeAddressDump(m_dump)) !=
      0) {
    Fail();
  }
}

// Of a dump that was given up the end has another number.
void LinkWatch::End(std::uint32_t sequence, int error) {
  if (!IsReading() || m_isToRead || sequence != m_dump) {
    return;
  }
  if (error != 0) {
    Fail();
  } else if (m_isInterrupted) {
    if (++m_interruptions > MOST_INTERRUPTIONS) {
      Fail();
    } else {
      Read(Reading::LINKS);
    }
  } else if (m_readingOf == Reading::LINKS) {
    DropUnseenLinks();
    Read(Reading::ADDRESSES);
  } else {
    TakeSeenAddresses();
    EndReading(true);
  }
}

void LinkWatch::DropUnseenLinks() {
  for (auto link = m_links.begin(); link != m_links.end();) {
    if (m_seenLinks.count(link->first) == 0) {
      Untold(true);
      Change(link->first);
      link = m_links.erase(link);
    } else {
      ++link;
    }
  }
}

// The order counts, too: a reading tells it as the kernel has it.
void LinkWatch::TakeSeenAddresses() {
  for (auto& [index, link] : m_links) {
    std::vector<LinkAddress>& seen = m_seenAddresses[index];
    const auto isSeen = [&seen](const LinkAddress& address) {
      return FindSame(seen, address) != seen.end();
    };
    if (!std::all_of(link.addresses.begin(), link.addresses.end(), isSeen)) {
      Untold(true);
    }
    if (!HaveSameOrder(link.addresses, seen)) {
      Change(index);
    }
    link.addresses = std::move(seen);
  }
}

void LinkWatch::Fail() {
  if (!std::exchange(m_hasToldFailure, true)) {
    m_log("The kernel's links cannot be read; it is tried again each second");
  }
  EndReading(false);
}

void LinkWatch::EndReading(bool isComplete) {
  m_readingOf = Reading::NOTHING;
  m_seenLinks.clear();
  m_seenAddresses.clear();
  if (isComplete) {
    m_hasRead = true;
    m_hasToldFailure = false;
    m_calling.Post([this] { CallBack(); });
    if (m_untold != 0) {
      m_log("The kernel's links had changed without a word, as a reading has shown");
    }
  }
  m_pause.Start(isComplete ? PAUSE_BETWEEN_READINGS : PAUSE_AFTER_FAILURE, [this] {
    if (!IsReading()) {
      BeginReading();
    }
  });
  const auto askers = std::exchange(m_askers, {});
  const std::size_t untold = m_untold;
  for (const Asker& asker : askers) {
    asker(isComplete ? std::optional(untold) : std::nullopt);
  }
  if (!m_nextAskers.empty() && !IsReading()) {
    BeginReading();
  }
}

}  // namespace kernel
