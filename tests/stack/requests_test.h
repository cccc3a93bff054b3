// What the tests of the stack's answers and requests have in common: a row of each kind, and what a
// listener hears.
#ifndef TESTS_STACK_REQUESTS_TEST_H
#define TESTS_STACK_REQUESTS_TEST_H

#include <cstring>

#include "control_test.h"
#include "device/stack/facts.h"
#include "device/stack/protocol_rows.h"
#include "device/stack/upkeep.h"

namespace stack_test {

using routing_stack::RowName;

/// "interface 10 3"
inline std::string TextOf(const RowName& row) {
  const char* const words[] = {"rtm", "interface", "address", "route", "rule", "protocol"};
  std::string text =
      std::string(words[static_cast<int>(row.type)]) + " " + std::to_string(row.instance);
  const auto add = [&text](const std::string& word) { text += " " + word; };
  const auto bytes = [](const unsigned char(&address)[16]) {
    return std::to_string(address[0]) + "." + std::to_string(address[3]);
  };
  switch (row.type) {
    case RowType::kRtm:
      break;
    case RowType::kInterface:
      add(std::to_string(row.ifIndex));
      break;
    case RowType::kAddress:
      add(std::to_string(row.ifIndex) + " type " + std::to_string(row.addressType));
      add(bytes(row.address));
      break;
    case RowType::kRoute:
      add(bytes(row.address) + "/" + std::to_string(row.prefixLength) + " via " +
          bytes(row.nextHop) + " if " + std::to_string(row.ifIndex));
      break;
    case RowType::kRedistribution:
      add(std::to_string(row.source) + " " + std::to_string(row.destination));
      break;
    case RowType::kProtocol:
      add(std::to_string(row.table) + " " + row.key);
      break;
  }
  return text;
}

/// Notes what it hears beside what the library hears: "interface 10 3: 4 -> 1", its row status and
/// the answer.
class AnswerLog : public routing_stack::Listener {
 public:
  explicit AnswerLog(HostDouble& host) : m_host(host) {}
  void Answered(const RowName& row, int rowStatus, unsigned int status) override {
    m_host.Note(TextOf(row) + ": " + std::to_string(rowStatus) + " -> " + std::to_string(status));
    rows.push_back(row);
  }
  void Restarted() override { m_host.Note("restarted"); }

  std::vector<RowName> rows;

 private:
  HostDouble& m_host;
};

/// The stack has instance 10. A row of each kind has its request, its name and its scripts.
class RequestsTest : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    stack.SetListener(&log);
  }
  void TearDown() override { stack.SetListener(nullptr); }

  static RowName Name(RowType type) {
    RowName row;
    row.type = type;
    row.instance = type == RowType::kRtm ? 11 : 10;
    switch (type) {
      case RowType::kRtm:
        break;
      case RowType::kInterface:
        row.ifIndex = 3;
        break;
      case RowType::kAddress:
        row.ifIndex = 3;
        row.addressType = 1;
        std::memcpy(row.address, AddressBytes("10.1.2.3").bytes, 16);
        break;
      case RowType::kRoute:
        row.addressType = 1;
        std::memcpy(row.address, AddressBytes("10.9.0.0").bytes, 16);
        row.prefixLength = 16;
        std::memcpy(row.nextHop, AddressBytes("10.1.2.1").bytes, 16);
        break;
      case RowType::kRedistribution:
        row.source = 0x20000;
        row.destination = 0xD0000;
        break;
      case RowType::kProtocol:
        row.table = 7;
        row.key = "key";
        break;
    }
    return row;
  }
  void Send(RowType type) {
    switch (type) {
      case RowType::kRtm:
        return AddInstance(11);
      case RowType::kInterface:
        return AddInterface(10, 3);
      case RowType::kAddress:
        return AddAddress(10, 3, "10.1.2.3/24");
      case RowType::kRoute:
        return AddRoute(10, "10.9.0.0/16", "10.1.2.1");
      case RowType::kRedistribution:
        return sms_act_cipr_redist(1, 1, 0x20000, 0xD0000, 10, 0);
      case RowType::kProtocol:
        return sms_act_protocol_row(1, 7, 1, 1, 10, reinterpret_cast<const unsigned char*>("key"),
                                    3, "text");
    }
  }
  /// The rows of which a request is not finished.
  Lines Unfinished() const {
    Lines lines;
    for (const RowType type : kAll) {
      if (facts.IsUnfinished(Name(type))) {
        lines.push_back(TextOf(Name(type)));
        EXPECT_TRUE(facts.UnfinishedSince(Name(type)));
      }
    }
    EXPECT_EQ(facts.HasUnfinished(), !lines.empty());
    return lines;
  }
  Lines All() const {
    Lines lines;
    for (const RowType type : kAll) {
      lines.push_back(TextOf(Name(type)));
    }
    return lines;
  }
  void SendAll() {
    for (const RowType type : kAll) {
      Send(type);
    }
  }
  void ScriptAll(const Answer& answer) {
    for (const RowType type : kAll) {
      control.Script(type, answer, 1);
    }
  }

  static constexpr RowType kAll[] = {RowType::kRtm,   RowType::kInterface,      RowType::kAddress,
                                     RowType::kRoute, RowType::kRedistribution, RowType::kProtocol};
  const routing_stack::Facts& facts = stack.GetFacts();
  routing_stack::Upkeep& upkeep = stack.GetUpkeep();
  AnswerLog log{host};
};

}  // namespace stack_test

#endif
