// Entities: instances come, change and go.

#include <arpa/inet.h>

#include "stack_test.h"

namespace stack_test {
namespace {

class RtmRowsTest : public StackTest {
 protected:
  void SetUp() override { Start(); }
};

TEST_F(RtmRowsTest, ANewInstanceIsAskedForAndReportedReady) {
  AddInstance(10);
  AddInstance(10 | kIp6Bit);
  RunAll();
  EXPECT_THAT(host.Take(),
              ElementsAre("cGetRtmConfig(10)", "cGetAddress(10)", "cGetVlanAddress(10)",
                          "cSetRtmReady(10)", "cGetRtmConfig(32778)", "cGetAddress(32778)",
                          "cGetVlanAddress(32778)", "cSetRtmReady(32778)"));
  EXPECT_THAT(control.Instances(), ElementsAre(10, 10 | kIp6Bit));
}

TEST_F(RtmRowsTest, TheVlansAddressIsAskedForOnlyWithoutAPrimaryOne) {
  host.primaryAddresses[10] = htonl(0x0A010203);
  host.vlanAddresses[11] = htonl(0x0B010203);
  AddInstance(10);
  AddInstance(11);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cGetRtmConfig(10)", "cGetAddress(10)", "cSetRtmReady(10)",
                                       "cGetRtmConfig(11)", "cGetAddress(11)",
                                       "cGetVlanAddress(11)", "cSetRtmReady(11)"));
  EXPECT_EQ(
      "instance 10 ipv4 ospf 40/110 bgp 20/200 rip 120 router-id 10.1.2.3\n"
      "instance 11 ipv4 ospf 40/110 bgp 20/200 rip 120 router-id 11.1.2.3\n",
      control.Dump());
}

TEST_F(RtmRowsTest, AChangedInstanceIsAskedForButNotReportedAgain) {
  AddInstance(10);
  RunAll();
  host.Take();
  host.configurations[10].word[14] = 77;
  SendEntity(10, 1);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cGetRtmConfig(10)"));
  EXPECT_THAT(control.Dump(), testing::HasSubstr(" rip 77 "));
}

TEST_F(RtmRowsTest, DistancesAreThoseOfTheAskedRowNotOfTheSentOne) {
  AddInstance(10);
  amb_cipr_rtm_entity sent = {};
  sent.word[0] = 10;
  sent.word[1] = 1;
  for (int i = 2; i < AMB_RTM_ENTITY_WORDS; ++i) {
    sent.word[i] = 1;
  }
  sms_act_rtm(&sent);
  RunAll();
  EXPECT_THAT(control.Dump(), testing::HasSubstr("ospf 40/110 bgp 20/200 rip 120"));
}

TEST_F(RtmRowsTest, AnInstanceThatTheLibraryDoesNotKnowIsForgotten) {
  SendEntity(10, 1);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cGetRtmConfig(10)"));
  EXPECT_THAT(control.Instances(), IsEmpty());
}

TEST_F(RtmRowsTest, RowStatusFourCreatesToo) {
  AddInstance(10);
  RunAll();
  DropInstance(10);
  RunAll();
  host.configurations[10] = {};
  SendEntity(10, 4);
  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(10));
}

TEST_F(RtmRowsTest, UnknownRowStatusAndImpossibleInstanceChangeNothing) {
  host.configurations[10] = {};
  host.configurations[0x10010] = {};
  SendEntity(10, 2);
  SendEntity(0x10010, 1);
  RunAll();
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_THAT(control.Instances(), IsEmpty());
}

TEST_F(RtmRowsTest, TheFamilyIsThatOfTheSentRow) {
  host.configurations[10] = {};
  amb_cipr_rtm_entity sent = {};
  sent.word[0] = 10;
  sent.word[1] = 1;
  sent.word[30] = 2;
  sms_act_rtm(&sent);
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  AddRoute(10, "2001:db8::/32", "2001:db8::1");
  RunAll();
  EXPECT_EQ(1u, control.Rib().size());
  EXPECT_EQ(32u, control.Rib()[0].prefix_length);
}

TEST_F(RtmRowsTest, WithoutAFamilyTheInstancesBitDecides) {
  for (const unsigned int instance : {10u, 10u | kIp6Bit}) {
    host.configurations[instance] = {};
    amb_cipr_rtm_entity sent = {};
    sent.word[0] = instance;
    sent.word[1] = 1;
    sms_act_rtm(&sent);
    AddRoute(instance, "10.9.0.0/16", "10.1.2.1");
    AddRoute(instance, "2001:db8::/32", "2001:db8::1");
  }
  RunAll();
  EXPECT_THAT(Rib(), ElementsAre("  10 10.9.0.0/16 proto 3 via 10.1.2.1 if TBD metric 1",
                                 "  10 2001:db8::/32 proto 3 via 2001:db8::1 if TBD metric 1"));
}

TEST_F(RtmRowsTest, AnInstanceGoesWithItsRoutesAndRules) {
  for (const unsigned int instance : {10u, 11u}) {
    AddInstance(instance);
    AddRoute(instance, "10.9.0.0/16", "10.1.2.1");
    sms_act_cipr_redist(1, 1, 0x30000, 0xD0000, instance, 0);
  }
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  control.PutCandidate(MakeCandidate(10, "10.8.0.0/16", "10.1.2.1", 14, 1));

  DropInstance(10);
  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(11));
  EXPECT_THAT(Rib(), ElementsAre("  11 10.9.0.0/16 proto 3 via 10.1.2.1 if TBD metric 1"));
  ASSERT_EQ(1u, control.Redistributions().size());
  EXPECT_EQ(11u, control.Redistributions()[0].vlan);
}

TEST_F(RtmRowsTest, InterfacesAndAddressesStayAndTakeEffectInTheNextLife) {
  AddInstance(10);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  RunAll();
  DropInstance(10);
  RunAll();
  EXPECT_EQ(1u, control.Interfaces().size());
  EXPECT_EQ(1u, control.Addresses().size());
  EXPECT_THAT(Rib(), IsEmpty());

  AddInstance(10);
  RunAll();
  EXPECT_THAT(Rib(), ElementsAre("> 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0"));
}

TEST_F(RtmRowsTest, DestroyingAnUnknownInstanceIsSilent) {
  SendEntity(10, 6);
  RunAll();
  EXPECT_THAT(host.calls, IsEmpty());
}

// A late announcement would make the library believe in an instance that the stack does not have.
TEST_F(RtmRowsTest, ADestroyCancelsAReadinessThatWasNotAnnouncedYet) {
  AddInstance(10);
  SendEntity(10, 6);  // the host still knows a configuration, that of a VLAN created again
  RunAll();
  EXPECT_THAT(host.Take(), IsEmpty());
  EXPECT_THAT(control.Instances(), IsEmpty());
}

TEST_F(RtmRowsTest, DestroyedAndCreatedAgainInOneGoIsAnnouncedOnce) {
  AddInstance(10);
  SendEntity(10, 6);
  SendEntity(10, 1);
  RunAll();
  EXPECT_THAT(host.Take(), ElementsAre("cGetRtmConfig(10)", "cGetAddress(10)",
                                       "cGetVlanAddress(10)", "cSetRtmReady(10)"));
  EXPECT_THAT(control.Instances(), ElementsAre(10));
}

TEST_F(RtmRowsTest, ADestroyOfOneInstanceLeavesAnothersReadinessAlone) {
  AddInstance(10);
  AddInstance(11);
  SendEntity(11, 6);
  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(10));
  EXPECT_THAT(host.calls, testing::Contains("cSetRtmReady(10)"));
}

TEST_F(RtmRowsTest, ADestroyCancelsAReadinessThatWasPutOff) {
  routing_stack::Answer late;
  late.kind = routing_stack::Answer::kLate;
  late.delayMs = 100;
  control.Script(routing_stack::RowType::kRtm, late, 1);
  AddInstance(10);
  AddInstance(11);
  control.Script(routing_stack::RowType::kRtm, late, 0);
  RunAll();
  SendEntity(10, 6);
  EXPECT_EQ(kIdleMs, RunAll());
  now += 1000;
  RunAll();
  EXPECT_THAT(host.calls, testing::Not(testing::Contains("cSetRtmReady(10)")));
  EXPECT_THAT(control.Instances(), ElementsAre(11));
}

TEST_F(RtmRowsTest, ManyRoutesGoInStepsAndTheNextLifeStartsEmpty) {
  AddInstance(10);
  for (unsigned int i = 0; i < 3000; ++i) {
    AddRoute(10, "10.9.0.0/16", "10.1." + std::to_string(i / 250) + "." + std::to_string(i % 250));
  }
  RunAll();
  ASSERT_EQ(3000u, control.Rib().size());
  SendEntity(10, 6);
  SendEntity(10, 1);
  RunAll();
  EXPECT_THAT(control.Instances(), ElementsAre(10));
  EXPECT_THAT(Rib(), IsEmpty());
}

}  // namespace
}  // namespace stack_test
