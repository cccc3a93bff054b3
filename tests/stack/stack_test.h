// What the tests of the stack have in common: an engine in virtual time, requests from texts,
// tables as texts.
#ifndef TESTS_STACK_STACK_TEST_H
#define TESTS_STACK_STACK_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device/stack/routing_stack.h"
#include "device/stack/stack_control.h"
#include "host_double.h"
#include "stack/sms.h"

namespace stack_test {

using Lines = std::vector<std::string>;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned int kIp6Bit = 0x8000;
constexpr int kStaticPath = 0x30000;
/// What a run returns when there is nothing to do.
constexpr int kIdleMs = 1000;

/// The bytes of an address text; its type is told by the text.
struct AddressBytes {
  explicit AddressBytes(const std::string& text);

  int type;
  unsigned char bytes[16] = {};
};

/// A prefix text, "10.9.0.0/16".
struct PrefixBytes {
  explicit PrefixBytes(const std::string& text);

  AddressBytes address;
  unsigned int length;
};

class StackTest : public testing::Test {
 protected:
  StackTest();

  /// Starts the stack, lets it announce itself and forgets the calls.
  void Start();
  /// One run of the stack's scheduler, as the host makes it.
  int RunOnce();
  /// Runs until there is no work left; the last result.
  int RunAll();

  // Requests. None of them lets the stack run.

  /// A configuration that the host knows, with the distances 40, 110 (OSPF), 200, 20 (external and
  /// internal BGP) and 120 (RIP), and the entity's row.
  void AddInstance(unsigned int instance);
  void SendEntity(unsigned int instance, unsigned int rowStatus);
  /// Forgets the configuration, too, as the library does.
  void DropInstance(unsigned int instance);
  void AddInterface(unsigned int instance, unsigned int ifIndex, bool up = true);
  void SetInterface(unsigned int instance, unsigned int ifIndex, bool up);
  void RemoveInterface(unsigned int instance, unsigned int ifIndex);
  /// "10.1.2.3/24"
  void AddAddress(unsigned int instance, unsigned int ifIndex, const std::string& address);
  void RemoveAddress(unsigned int instance, unsigned int ifIndex, const std::string& address);
  void AddRoute(unsigned int instance, const std::string& prefix, const std::string& nextHop,
                unsigned int ifIndex = 0, unsigned int metric = 1);
  void Route(int rowStatus, int adminStatus, unsigned int instance, const std::string& prefix,
             const std::string& nextHop, unsigned int ifIndex, unsigned int metric);

  static routing_stack::Candidate MakeCandidate(unsigned int instance, const std::string& prefix,
                                                const std::string& nextHop, unsigned int proto,
                                                unsigned int metric, unsigned int ifIndex = 0);

  // Tables, a row a line: "> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 5"; the RIB's
  // installed ones start with '>', and a pending interface is "TBD".
  Lines Rib();
  Lines Routes();

  HostDouble& host;
  std::uint64_t now = 1000;
  routing_stack::RoutingStack stack;
  routing_stack::Control& control;
};

std::string RowText(const amb_cipr_rtm_rib& row);
std::string RowText(const amb_cipr_rtm_route& row);

}  // namespace stack_test

#endif
