#include "rule.h"

#include "device/program/printable.h"

namespace kernel {

namespace {

constexpr std::size_t MOST_OF_A_NAME = 64;

}  // namespace

std::string DescribeRule(const Rule& rule) {
  const std::string family = rule.isIp6 ? " of IPv6" : "";
  if (!rule.oddMessage.empty()) {
    return "of another form" + family;
  }
  return "iif " + program::Printable(rule.interface, MOST_OF_A_NAME) +
         (rule.EndsLookup() ? " unreachable" : " lookup " + std::to_string(rule.table)) + family;
}

}  // namespace kernel
