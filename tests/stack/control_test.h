// What the tests of the control header have in common.
#ifndef TESTS_STACK_CONTROL_TEST_H
#define TESTS_STACK_CONTROL_TEST_H

#include "stack_test.h"

namespace stack_test {

using routing_stack::Answer;
using routing_stack::Call;
using routing_stack::RowType;

class ControlTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    RunAll();
    host.Take();
  }
  static Answer StatusAnswer(unsigned int status) {
    Answer answer;
    answer.status = status;
    return answer;
  }
  static Answer AnswerOf(Answer::Kind kind, std::uint64_t delayMs = 0) {
    Answer answer;
    answer.kind = kind;
    answer.delayMs = delayMs;
    return answer;
  }
  /// The statuses in the route answers since the last look.
  std::vector<unsigned long> Statuses() {
    RunAll();
    std::vector<unsigned long> statuses;
    for (const std::string& call : host.Take()) {
      if (call.rfind("cSetRouteState", 0) == 0) {
        statuses.push_back(std::stoul(call.substr(call.rfind(' ') + 1)));
      }
    }
    return statuses;
  }
  std::vector<unsigned int> RouteOid(const std::string& prefix) {
    const PrefixBytes destination(prefix);
    const AddressBytes gateway("10.1.2.1");
    std::vector<unsigned int> oid(SMS_OID_MAX);
    oid.resize(sms_get_route_oid(oid.data(), 10, 1, destination.address.bytes, destination.length,
                                 gateway.bytes, 0));
    return oid;
  }
};

}  // namespace stack_test

#endif
