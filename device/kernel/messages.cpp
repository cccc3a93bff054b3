#include "messages.h"

#include <linux/rtnetlink.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "message_reading.h"

namespace kernel {

namespace {

// The kernel's words are a text that ends with a zero byte, after the copy of the header that the
// answer is for.
std::string ReadReason(const nlmsghdr& header) {
  const std::size_t before = sizeof(nlmsgerr);
  if ((header.nlmsg_flags & NLM_F_ACK_TLVS) == 0 || (header.nlmsg_flags & NLM_F_CAPPED) == 0 ||
      mnl_nlmsg_get_payload_len(&header) < before) {
    return {};
  }
  std::string reason;
  ForEachAttribute(header, before, [&](const nlattr& attribute) {
    if (mnl_attr_get_type(&attribute) == NLMSGERR_ATTR_MSG) {
      const auto* const text = static_cast<const char*>(mnl_attr_get_payload(&attribute));
      reason.assign(text, strnlen(text, mnl_attr_get_payload_len(&attribute)));
    }
  });
  return reason;
}

int PositiveError(int error) { return error < 0 && error > -4096 ? -error : 0; }

std::optional<Answer> ReadAnswer(const nlmsghdr& header) {
  if (mnl_nlmsg_get_payload_len(&header) < sizeof(nlmsgerr)) {
    return std::nullopt;
  }
  const auto& answer = *static_cast<const nlmsgerr*>(mnl_nlmsg_get_payload(&header));
  return Answer{header.nlmsg_seq, PositiveError(answer.error), ReadReason(header)};
}

DumpEnd ReadEnd(const nlmsghdr& header) {
  int error = 0;
  if (mnl_nlmsg_get_payload_len(&header) >= sizeof error) {
    std::memcpy(&error, mnl_nlmsg_get_payload(&header), sizeof error);
  }
  return {header.nlmsg_seq, PositiveError(error)};
}

void TakeMessage(const nlmsghdr& header, Received& received) {
  received.isInterrupted |= (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
  if (header.nlmsg_type == RTM_NEWROUTE) {
    if (auto route = ReadRoute(header)) {
      received.messages.emplace_back(*route);
    }
  } else if (header.nlmsg_type == RTM_NEWRULE) {
    if (auto rule = ReadRule(header)) {
      received.messages.emplace_back(std::move(*rule));
    }
  } else if (header.nlmsg_type == RTM_NEWLINK || header.nlmsg_type == RTM_DELLINK) {
    if (auto link = ReadLink(header)) {
      received.messages.emplace_back(std::move(*link));
    }
  } else if (header.nlmsg_type == RTM_NEWADDR || header.nlmsg_type == RTM_DELADDR) {
    if (auto address = ReadAddress(header)) {
      received.messages.emplace_back(*address);
    }
  } else if (header.nlmsg_type == NLMSG_ERROR) {
    if (auto answer = ReadAnswer(header)) {
      received.messages.emplace_back(std::move(*answer));
    }
  } else if (header.nlmsg_type == NLMSG_DONE) {
    received.messages.emplace_back(ReadEnd(header));
  }
}

}  // namespace

Address AddressOf(const nlattr* attribute) {
  Address address{};
  if (attribute != nullptr) {
    std::memcpy(address.data(), mnl_attr_get_payload(attribute),
                mnl_attr_get_payload_len(attribute));
  }
  return address;
}

// Not with mnl_nlmsg_ok, which takes a length of more than two gigabytes for a negative one.
Received ReadMessages(const void* bytes, std::size_t size) {
  Received received;
  const auto* at = static_cast<const char*>(bytes);
  while (size >= sizeof(nlmsghdr)) {
    const auto& header = *reinterpret_cast<const nlmsghdr*>(at);
    if (header.nlmsg_len < sizeof header || header.nlmsg_len > size) {
      break;
    }
    TakeMessage(header, received);
    const std::size_t length = std::min<std::size_t>(NLMSG_ALIGN(header.nlmsg_len), size);
    at += length;
    size -= length;
  }
  return received;
}

}  // namespace kernel
