// When what is known is held against the stack, and what an answer makes of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "device/keepers/knowledge.h"
#include "device/rows/no_protocol_rows.h"
#include "stack/sms.h"
#include "tests/unit/apply/reloader_fixture.h"
#include "tests/unit/rows/fake_keeper.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;
using rows::AddressRow;
using rows::InterfaceRow;
using rows::Row;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Knowledge : public apply_test::ReloaderFixture {
 protected:
  // VLAN 10 with routes to so many networks, 20.0.N.0.
  static std::string Entry(unsigned int count) {
    std::string routes;
    for (unsigned int i = 0; i < count; ++i) {
      routes += (i == 0 ? "\"r" : ", \"r") + std::to_string(i) +
                R"(": {"interface": "eth0", "network": "20.0.)" + std::to_string(i) +
                R"(.0", "netmask": "255.255.255.0", "gateway": "10.1.2.1"})";
    }
    return R"("a": {"vid": 10, "STATIC_ROUTES": {)" + routes + "}}";
  }
  // The stack loses it, and nobody is told.
  void Lose(unsigned char network) {
    const unsigned char destination[16] = {20, 0, network};
    const unsigned char gateway[16] = {10, 1, 2, 1};
    sms_update_route(1, 6, 1, 1, destination, 24, gateway, 0, 3, 10, 0);
  }
  bool HasRoute(unsigned int network) {
    return Dump().find("20.0." + std::to_string(network) + ".0/24") != std::string::npos;
  }
  void LetTimePass(std::uint64_t milliseconds) {
    const std::uint64_t end = loop.Now() + milliseconds * 1000;
    ASSERT_TRUE(TurnUntil([&] { return loop.Now() >= end; }));
  }
  static std::string IsMissing(unsigned int network) {
    return "route 20.0." + std::to_string(network) +
           ".0/24 via 10.1.2.1 on interface 3 eth0 is missing";
  }
};

// One request that is never answered keeps the rest from being compared for a second; from then on
// it is compared when that has been answered at last, and not before.
TEST_F(Knowledge, IsComparedOnceWhileAnAnswerIsMissing) {
  StartWith(Entry(2));
  Control().Script(RowType::kRoute, {Answer::kNever, 0, 0}, 1);
  WriteVlans(Entry(3));
  Reload();
  LetTimePass(300);
  ASSERT_FALSE(m_reloader->IsSettled());
  Lose(0);
  LetTimePass(500);
  ASSERT_FALSE(HasRoute(0));
  EXPECT_THAT(reported.lines, IsEmpty()) << "an answer may come";
  LetTimePass(400);
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr(IsMissing(0))));
  LetTimePass(1500);
  EXPECT_TRUE(HasRoute(0));
  Lose(1);
  LetTimePass(20000);
  EXPECT_THAT(reported.lines, Not(Contains(HasSubstr(IsMissing(1)))));
  EXPECT_FALSE(m_reloader->IsSettled());
  Control().EndLostRequests();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(reported.lines, Contains(HasSubstr(IsMissing(1))));
  LetTimePass(5000);
  EXPECT_TRUE(HasRoute(1));
  EXPECT_TRUE(HasRoute(2));
  EXPECT_EQ(m_reloader->GetKnowledge().GetDifferences().Count(), 0u);
}

// A change that the stack takes within the second is compared as soon as it has.
TEST_F(Knowledge, IsComparedWhenTheLastAnswerHasCome) {
  StartWith(Entry(2));
  Control().Script(RowType::kRoute, {Answer::kLate, 0, 500}, 1);
  WriteVlans(Entry(3));
  Reload();
  LetTimePass(300);
  Lose(0);
  LetTimePass(150);
  EXPECT_THAT(reported.lines, IsEmpty());
  LetTimePass(150);
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr(IsMissing(0))));
}

// What it had is asked for anew, all at once, not as a difference of each row. Nobody has said that
// the routes went with it.
TEST_F(Knowledge, OfAnInstanceThatIsMadeAnewIsForgotten) {
  StartWith(Entry(40) + R"(, "b": {"vid": 20})");
  const std::string before = Dump();
  amb_cipr_rtm_entity entity = {};
  entity.word[0] = 10;
  entity.word[1] = 6;
  entity.word[2] = 2;
  sms_act_rtm(&entity);
  ASSERT_TRUE(TurnUntil([&] { return !HasRoute(0); }));
  ASSERT_FALSE(m_port.FindInstance({10, false}));
  LetTimePass(10);
  EXPECT_THAT(reported.lines, ElementsAre(HasSubstr("is missing in the stack")));
  LetTimePass(2000);
  EXPECT_EQ(Dump(), before);
  EXPECT_THAT(reported.lines,
              ElementsAre(HasSubstr("is missing in the stack"), HasSubstr("is as wanted now")))
      << "the instance alone";
  EXPECT_TRUE(m_reloader->IsSettled());
}

/// A stack that has addresses which nobody wants, and says nothing of them.
class KnowledgeOfAddresses : public testing::Test {
 protected:
  static constexpr unsigned char NUMBERS[] = {1, 2};

  // Two of each interface, and of each of its instances.
  KnowledgeOfAddresses() {
    for (const unsigned int family : {0u, 0x8000u}) {
      for (const unsigned int vlan : {3u, 4u, 10u}) {
        for (const std::uint32_t index : {3u, 4u, 10u}) {
          for (const unsigned char number : NUMBERS) {
            amb_stubs_i3_ea row = {};
            row.instance = vlan | family;
            row.if_index = index;
            row.address_type = family == 0 ? 1 : 2;
            row.address[0] = number;
            port.addresses.push_back(row);
          }
        }
      }
    }
  }
  // The interfaces of which an address was found.
  std::vector<std::pair<unsigned int, std::uint32_t>> Found() const {
    std::vector<std::pair<unsigned int, std::uint32_t>> found;
    for (const auto& [row, difference] : knowledge.GetDifferences().GetAll()) {
      const AddressRow& address = std::get<AddressRow>(row);
      found.emplace_back(address.vlan, address.ifIndex);
      EXPECT_EQ(difference.standing.kind, rows::Standing::Kind::UNWANTED);
    }
    return found;
  }

  rows_test::Turns turns;
  rows_test::FakeStackPort port{turns.time};
  keepers::Interfaces interfaces;
  rows::NoProtocolRows protocolRows;
  std::vector<std::string> lines;
  keepers::Knowledge knowledge{turns.loop.Get(),
                               interfaces,
                               port,
                               protocolRows,
                               [this](const std::string& line) { lines.push_back(line); },
                               0};
};

// An answer for an interface, and one for an address, whatever it was.
TEST_F(KnowledgeOfAddresses, IsOfTheInterfaceThatWasHeardOf) {
  EXPECT_THAT(Found(), IsEmpty());
  for (const unsigned int status : {1u, 4u}) {
    const auto one = std::pair(10u, std::uint32_t{3});
    knowledge.Heard(InterfaceRow{10, 3}, status);
    EXPECT_FALSE(knowledge.IsSettled());
    turns.Turn();
    EXPECT_THAT(Found(), ElementsAre(one, one, one, one));
    knowledge.Forget();
    const auto other = std::pair(3u, std::uint32_t{10});
    knowledge.Heard(AddressRow{3, 10, true, {9}}, status);
    EXPECT_FALSE(knowledge.IsSettled());
    turns.Turn();
    EXPECT_THAT(Found(), ElementsAre(other, other, other, other));
    EXPECT_TRUE(knowledge.IsSettled());
    knowledge.Forget();
  }
}

// What was heard of the old stack is not looked for in the new one.
TEST_F(KnowledgeOfAddresses, IsForgottenWithTheStack) {
  knowledge.Heard(InterfaceRow{10, 3}, 1);
  knowledge.Forget();
  EXPECT_TRUE(knowledge.IsSettled());
  turns.Turn();
  EXPECT_THAT(Found(), IsEmpty());
  EXPECT_THAT(lines, IsEmpty());
}

// Each turn looks at so many interfaces that it stays short, and goes on until all are done.
TEST_F(KnowledgeOfAddresses, IsOfManyInterfacesInManyTurns) {
  port.addresses.clear();
  for (std::uint32_t index = 1; index <= 1000; ++index) {
    amb_stubs_i3_ea row = {};
    row.instance = 10;
    row.if_index = index;
    row.address_type = 1;
    row.address[0] = 1;
    port.addresses.push_back(row);
    knowledge.Heard(InterfaceRow{10, index}, 1);
  }
  std::size_t count = 0;
  for (int turn = 0; turn < 4; ++turn) {
    EXPECT_FALSE(knowledge.IsSettled());
    turns.Turn();
    EXPECT_LE(knowledge.GetDifferences().Count(), count + 250);
    count = knowledge.GetDifferences().Count();
  }
  EXPECT_EQ(count, 1000u);
  for (int turn = 0; turn < 4; ++turn) {
    turns.Turn();  // the interfaces themselves are looked at, too
  }
  EXPECT_TRUE(knowledge.IsSettled());
}

}  // namespace
