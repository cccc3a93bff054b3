// Redistribution rules and what they hand over.

#include "device/stack/protocol_rows.h"
#include "stack_test.h"

namespace stack_test {
namespace {

constexpr unsigned int kConnectedCode = 0x20000;
constexpr unsigned int kStaticCode = 0x30000;
constexpr unsigned int kRipCode = 0x80000;
constexpr unsigned int kOspfCode = 0xD0000;

class RedistributionRowsTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    RunAll();
    host.Take();
  }

  unsigned int StatusOf(int rowStatus, int adminStatus, unsigned int source,
                        unsigned int destination, unsigned int vlan) {
    sms_act_cipr_redist(rowStatus, adminStatus, static_cast<int>(source),
                        static_cast<int>(destination), vlan, 0);
    RunAll();
    const Lines calls = host.Take();
    EXPECT_EQ(2u, calls.size());
    const std::string answer = calls.empty() ? "" : calls[0];
    EXPECT_EQ(0u, answer.rfind("cSetRedistState(", 0)) << answer;
    return static_cast<unsigned int>(std::stoul(answer.substr(answer.rfind(' ') + 1)));
  }
  Lines Handed(unsigned int instance, unsigned int destination) {
    Lines lines;
    for (const amb_cipr_rtm_route& row : control.Redistributed(instance, destination)) {
      lines.push_back(RowText(row));
    }
    return lines;
  }
};

TEST_F(RedistributionRowsTest, StatusOneAndFourCreateAndSixRemoves) {
  EXPECT_EQ(1u, StatusOf(1, 1, kStaticCode, kOspfCode, 10));
  EXPECT_EQ(1u, StatusOf(4, 1, kConnectedCode, kOspfCode, 10));
  EXPECT_EQ(1u, StatusOf(1, 2, kConnectedCode, kOspfCode, 10));
  EXPECT_EQ(2u, control.Redistributions().size());
  EXPECT_EQ(1u, StatusOf(6, 2, kStaticCode, kOspfCode, 10));
  ASSERT_EQ(1u, control.Redistributions().size());
  EXPECT_EQ(kConnectedCode, control.Redistributions()[0].source);
  EXPECT_EQ(kOspfCode, control.Redistributions()[0].destination);
  EXPECT_EQ(10u, control.Redistributions()[0].vlan);
}

TEST_F(RedistributionRowsTest, Refusals) {
  EXPECT_EQ(3u, StatusOf(2, 1, kStaticCode, kOspfCode, 10));
  EXPECT_EQ(3u, StatusOf(0, 1, kStaticCode, kOspfCode, 10));
  EXPECT_EQ(3u, StatusOf(1, 0, kStaticCode, kOspfCode, 10));
  EXPECT_EQ(5u, StatusOf(1, 1, kStaticCode, kOspfCode, 11));
  EXPECT_EQ(5u, StatusOf(1, 1, kStaticCode, kOspfCode, 10 | kIp6Bit));
  EXPECT_EQ(6u, StatusOf(6, 2, kStaticCode, kOspfCode, 10));
  EXPECT_EQ(6u, StatusOf(6, 2, kStaticCode, kOspfCode, 11));
  EXPECT_TRUE(control.Redistributions().empty());
}

TEST_F(RedistributionRowsTest, InstalledRoutesOfTheSourceAreHandedOver) {
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "10.8.0.0/16", "172.16.0.1");   // does not resolve
  AddRoute(10, "10.1.2.0/24", "10.1.2.9", 3);  // beaten by the connected route
  RunAll();
  control.PutCandidate(MakeCandidate(10, "10.7.0.0/16", "10.1.2.1", 8, 4));
  host.Take();
  EXPECT_THAT(Handed(10, kOspfCode), IsEmpty());

  StatusOf(1, 1, kStaticCode, kOspfCode, 10);
  EXPECT_THAT(Handed(10, kOspfCode),
              ElementsAre("10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 1"));
  StatusOf(1, 1, kConnectedCode, kOspfCode, 10);
  StatusOf(1, 1, kRipCode, kOspfCode, 10);
  EXPECT_THAT(Handed(10, kOspfCode),
              ElementsAre("10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                          "10 10.7.0.0/16 proto 8 via 10.1.2.1 if 3 metric 4",
                          "10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 1"));
  EXPECT_THAT(Handed(10, kRipCode), IsEmpty());
}

TEST_F(RedistributionRowsTest, WhatIsHandedOverFollowsRulesAndRoutes) {
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  RunAll();
  host.Take();
  StatusOf(1, 1, kStaticCode, kRipCode, 10);
  EXPECT_EQ(1u, Handed(10, kRipCode).size());
  SetInterface(10, 3, false);
  RunAll();
  EXPECT_THAT(Handed(10, kRipCode), IsEmpty());
  SetInterface(10, 3, true);
  RunAll();
  host.Take();
  EXPECT_EQ(1u, Handed(10, kRipCode).size());
  StatusOf(1, 2, kStaticCode, kRipCode, 10);
  EXPECT_THAT(Handed(10, kRipCode), IsEmpty());
  StatusOf(1, 1, kStaticCode, kRipCode, 10);
  EXPECT_EQ(1u, Handed(10, kRipCode).size());
  StatusOf(6, 2, kStaticCode, kRipCode, 10);
  EXPECT_THAT(Handed(10, kRipCode), IsEmpty());
}

TEST_F(RedistributionRowsTest, ARuleConcernsItsInstanceOnly) {
  AddInstance(11);
  for (const unsigned int instance : {10u, 11u}) {
    AddInterface(instance, 3);
    AddAddress(instance, 3, "10.1.2.3/24");
  }
  RunAll();
  host.Take();
  StatusOf(1, 1, kConnectedCode, kOspfCode, 11);
  EXPECT_THAT(Handed(10, kOspfCode), IsEmpty());
  EXPECT_THAT(Handed(11, kOspfCode),
              ElementsAre("11 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0"));
  EXPECT_THAT(Handed(12, kOspfCode), IsEmpty());
}

TEST_F(RedistributionRowsTest, TheRoutersGetterGivesTheSame) {
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddAddress(10, 3, "10.2.2.3/24");
  RunAll();
  host.Take();
  StatusOf(1, 1, kConnectedCode, kOspfCode, 10);
  Lines lines;
  amb_cipr_rtm_route row;
  int more = sms_get_next_redistributed(10, kOspfCode, nullptr, &row);
  while (more == 1) {
    lines.push_back(RowText(row));
    more = sms_get_next_redistributed(10, kOspfCode, &row, &row);
  }
  EXPECT_EQ(Handed(10, kOspfCode), lines);
  EXPECT_EQ(2u, lines.size());
  EXPECT_EQ(0, sms_get_next_redistributed(10, kOspfCode, nullptr, nullptr));
}

}  // namespace
}  // namespace stack_test
