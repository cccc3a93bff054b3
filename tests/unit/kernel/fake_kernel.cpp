#include "fake_kernel.h"

#include <arpa/inet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace test_kernel {

using kernel::Address;
using kernel::Answer;
using kernel::FoundRoute;
using kernel::NextHop;
using kernel::NextHops;
using kernel::RouteKey;

namespace {

Address Bytes(const std::string& text) {
  Address address{};
  const int family = text.find(':') != std::string::npos ? AF_INET6 : AF_INET;
  if (!text.empty() && inet_pton(family, text.c_str(), address.data()) != 1) {
    throw std::invalid_argument(text);
  }
  return address;
}

}  // namespace

RouteKey Key(const std::string& prefix, std::uint32_t table) {
  const std::size_t slash = prefix.find('/');
  return {table, prefix.find(':') != std::string::npos,
          static_cast<unsigned char>(std::stoi(prefix.substr(slash + 1))),
          Bytes(prefix.substr(0, slash))};
}

NextHop Hop(const std::string& gateway, std::uint32_t ifIndex) { return {Bytes(gateway), ifIndex}; }

NextHops Hops(const std::string& gateways) {
  std::vector<NextHop> hops;
  std::istringstream in(gateways);
  std::uint32_t ifIndex = 3;
  for (std::string gateway; in >> gateway; ++ifIndex) {
    hops.push_back(Hop(gateway, ifIndex));
  }
  return NextHops(hops);
}

int FakeKernel::Add(const FoundRoute& route) {
  const bool isNew = tables[route.key]
                         .try_emplace(route.priority, Route{route.protocol, *route.nextHops, false})
                         .second;
  return isNew ? 0 : EEXIST;
}

// A priority of 0 is any, in IPv4. A next hop that is named has to be the route's.
int FakeKernel::Delete(const FoundRoute& route) {
  const bool isAny = !route.key.isIp6 && route.priority == 0;
  Routes& routes = tables[route.key];
  for (auto found = routes.begin(); found != routes.end(); ++found) {
    if ((isAny || found->first == route.priority) && found->second.protocol == route.protocol &&
        (!route.nextHops || *route.nextHops == found->second.nextHops)) {
      routes.erase(found);
      return 0;
    }
  }
  return ESRCH;
}

// A message for the kernel has the form of one from it: what it asks for is read as if it were told.
std::vector<Answer> FakeKernel::Work(const std::vector<char>& bytes) {
  const std::lock_guard lock(m_mutex);
  std::vector<Answer> answers;
  for (std::size_t at = 0; at < bytes.size();) {
    nlmsghdr header;
    std::memcpy(&header, &bytes[at], sizeof header);
    std::vector<std::uint32_t> message(header.nlmsg_len / 4);
    std::memcpy(message.data(), &bytes[at], header.nlmsg_len);
    const bool isDeletion = header.nlmsg_type == RTM_DELROUTE;
    reinterpret_cast<nlmsghdr*>(message.data())->nlmsg_type = RTM_NEWROUTE;
    reinterpret_cast<rtmsg*>(message.data() + NLMSG_HDRLEN / 4)->rtm_type = RTN_UNICAST;
    const kernel::Received read = kernel::ReadMessages(message.data(), header.nlmsg_len);
    const auto& route = std::get<FoundRoute>(read.messages.at(0));
    int error = refuse ? refuse(route.key, isDeletion) : 0;
    if (error == 0) {
      error = isDeletion ? Delete(route) : Add(route);
    }
    ++requests;
    if (afterRequest) {
      afterRequest();
    }
    if (error != 0 || (header.nlmsg_flags & NLM_F_ACK) != 0) {
      answers.push_back({header.nlmsg_seq, error, {}});
    }
    at += header.nlmsg_len;
  }
  return answers;
}

std::vector<FoundRoute> FakeKernel::Dump(bool isIp6) const {
  const std::lock_guard lock(m_mutex);
  return OursOf(isIp6);
}

std::vector<FoundRoute> FakeKernel::OursOf(bool isIp6) const {
  std::vector<FoundRoute> found;
  for (const auto& [key, routes] : tables) {
    for (const auto& [priority, route] : routes) {
      if (key.isIp6 == isIp6 && route.protocol == kernel::OUR_PROTOCOL) {
        found.push_back({key, route.protocol, priority, route.nextHops, route.hasDeadNextHop});
      }
    }
  }
  return found;
}

std::map<RouteKey, NextHops, KeyOrder> FakeKernel::OurRoutes() const {
  std::map<RouteKey, NextHops, KeyOrder> ours;
  for (const auto& [key, routes] : tables) {
    for (const auto& [priority, route] : routes) {
      if (route.protocol == kernel::OUR_PROTOCOL) {
        ours.emplace(key, route.nextHops);  // the first one has the lowest priority
      }
    }
  }
  return ours;
}

std::size_t FakeKernel::CountOurs() const {
  const std::lock_guard lock(m_mutex);
  return OursOf(false).size() + OursOf(true).size();
}

}  // namespace test_kernel
