#include "netlink_socket.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace kernel {

namespace {

// The kernel packs a dump into packets of up to 32 KiB if the reader offers as much.
constexpr std::size_t BUFFER_BYTES = 32u << 10;
// Each answer takes the kernel's accounting about a kilobyte, so this holds those of a batch of
// which every message is refused.
constexpr int RECEIVE_BYTES = 4 << 20;

int OpenSocket() {
  const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
  if (fd < 0) {
    throw std::runtime_error(std::string("no socket to the kernel's routing: ") +
                             std::strerror(errno));
  }
  return fd;
}

// What this kernel or this user may not have, the socket does without: an option only makes
// messages shorter or clearer, or a loss less likely.
void SetOptions(int fd) {
  const int on = 1;
  setsockopt(fd, SOL_NETLINK, NETLINK_CAP_ACK, &on, sizeof on);
  setsockopt(fd, SOL_NETLINK, NETLINK_EXT_ACK, &on, sizeof on);
  setsockopt(fd, SOL_NETLINK, NETLINK_GET_STRICT_CHK, &on, sizeof on);
  if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &RECEIVE_BYTES, sizeof RECEIVE_BYTES) != 0) {
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &RECEIVE_BYTES, sizeof RECEIVE_BYTES);
  }
}

}  // namespace

NetlinkSocket::NetlinkSocket(Subscription subscription)
    : m_descriptor(OpenSocket()), m_buffer(BUFFER_BYTES / sizeof(std::uint32_t)) {
  SetOptions(GetDescriptor());
  sockaddr_nl self{};
  self.nl_family = AF_NETLINK;
  if (subscription == Subscription::LINKS_AND_ADDRESSES) {
    self.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
  }
  if (bind(GetDescriptor(), reinterpret_cast<const sockaddr*>(&self), sizeof self) != 0) {
    throw std::runtime_error(std::string("no address for a socket to the kernel's routing: ") +
                             std::strerror(errno));
  }
}

int NetlinkSocket::Send(const std::vector<char>& bytes) {
  sockaddr_nl kernel{};
  kernel.nl_family = AF_NETLINK;
  ssize_t sent = -1;
  do {
    sent = sendto(GetDescriptor(), bytes.data(), bytes.size(), 0,
                  reinterpret_cast<const sockaddr*>(&kernel), sizeof kernel);
  } while (sent < 0 && errno == EINTR);
  return sent < 0 ? errno : 0;
}

// Anybody on the machine may send to the socket: only what the kernel sends counts.
Channel::Outcome NetlinkSocket::Receive(Received& received) {
  received = Received();
  sockaddr_nl sender{};
  socklen_t length = sizeof sender;
  const ssize_t size =
      recvfrom(GetDescriptor(), m_buffer.data(), m_buffer.size() * sizeof m_buffer[0], 0,
               reinterpret_cast<sockaddr*>(&sender), &length);
  if (size < 0) {
    switch (errno) {
      case EAGAIN:
      case EINTR:
        return Outcome::NOTHING;
      case ENOBUFS:
        return Outcome::OVERRUN;
      default:
        return Outcome::FAILED;
    }
  }
  if (length == sizeof sender && sender.nl_pid == 0) {
    received = ReadMessages(m_buffer.data(), static_cast<std::size_t>(size));
  }
  return Outcome::MESSAGES;
}

std::unique_ptr<Channel> OpenNetlinkSocket(Subscription subscription) {
  return std::make_unique<NetlinkSocket>(subscription);
}

}  // namespace kernel
