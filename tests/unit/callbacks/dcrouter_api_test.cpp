// The C functions through which the stack calls the library.

#include "vantacore/dcrouter_api.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

// One of the types that a C compiler has checked; naming it takes that file into the program.
extern "C" {
extern int (*const type_is_ipv6)(unsigned int);
}

namespace {

using Tarsel::DcInterfaceMgr;
using Tarsel::DcRtmMgr;
using Tarsel::Ip4Addr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

const unsigned char DESTINATION[4] = {10, 9, 0, 0};
const unsigned char NEXT_HOP[4] = {10, 1, 2, 1};

class Callbacks : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start();
    Control().Hold();
    TakeCalls();
    traces.Take();
  }

  void Tick() { loop.AdvanceMilliseconds(100); }

  std::string Items() {
    const auto log = test_support::NewConsoleLog();
    test_support::RecordingConsole console(log);
    Manager().GetCfgSched().Print(&console);
    return log->output;
  }

  DcRtmMgr& rtm = *DcRtmMgr::GetInstance();
  DcInterfaceMgr& registry = *DcInterfaceMgr::GetInstance();
};

// --- scheduling ---

TEST_F(Callbacks, RescheduleAsksTheManagersScheduler) {
  Tick();
  EXPECT_EQ(cIsNBaseRescheduled(), 0);
  traces.Take();
  cRescheduleNBase();
  EXPECT_EQ(cIsNBaseRescheduled(), 1);
  EXPECT_TRUE(Manager().GetScheduler().IsRescheduled());
  EXPECT_EQ(traces.Take(),
            (Lines{"10:Rescheduling Metaswitch\n", "10:Starting Scheduler Timer for 5 ms\n"}));
}

TEST_F(Callbacks, ExpiryEndsTheRequest) {
  EXPECT_EQ(cIsNBaseRescheduled(), 1);
  loop.AdvanceMilliseconds(5);
  EXPECT_EQ(cIsNBaseRescheduled(), 0);
  loop.AdvanceMilliseconds(1000);
  EXPECT_EQ(cIsNBaseRescheduled(), 0);
}

// --- instance ids ---

TEST_F(Callbacks, Ipv6InstancesHaveTheBit) {
  EXPECT_EQ(cIsIpv6Instance(0x8005), 1);
  EXPECT_EQ(cIsIpv6Instance(5), 0);
  EXPECT_EQ(cIsIpv6Instance(0x10005), 0);
  EXPECT_EQ(cIsIpv6Instance(0xFFFF8005), 1);
  EXPECT_EQ(type_is_ipv6(0x8005), 1);
}

TEST_F(Callbacks, InstancesOfAVlanAreFoundFromEitherOfThem) {
  EXPECT_EQ(cGetIp4Instance(5), 5U);
  EXPECT_EQ(cGetIp4Instance(0x8005), 5U);
  EXPECT_EQ(cGetIp6Instance(5), 0x8005U);
  EXPECT_EQ(cGetIp6Instance(0x8005), 0x8005U);
}

TEST_F(Callbacks, InstanceIdsAreCutToSixteenBits) {
  EXPECT_EQ(cGetIp4Instance(0x10005), 5U);
  EXPECT_EQ(cGetIp4Instance(0xFFFF8005), 5U);
  EXPECT_EQ(cGetIp6Instance(0x10005), 0x8005U);
}

// --- answers ---

class RouteStates : public Callbacks {
 protected:
  void SetUp() override {
    Callbacks::SetUp();
    rtm.SetRtmReady(10);
    rtm.UpdateStaticRoute(10, 1, DESTINATION, 16, NEXT_HOP, 3, 5, 0x30000, 1, 1);
    Tick();
    ASSERT_THAT(Items(), HasSubstr("ActionState(Issued) ReasonCode(0)"));
    traces.Take();
  }
};

TEST_F(RouteStates, AnswerReachesTheRouteInItsOrder) {
  cSetRouteState(10, 1, DESTINATION, 16, NEXT_HOP, 3, 5, 0x30000, 1, 1, 77, 9);
  EXPECT_EQ(traces.Take(),
            (Lines{"10:Route Update Response from Metaswitch: vlan = 10, dest= 10.9.0.0/16 "
                   "nexthop: 10.1.2.1\n",
                   "10:Unable to set route. No retry!!!\n"}));
  EXPECT_THAT(Items(), HasSubstr("ActionState(Issued) ReasonCode(9)"));
}

TEST_F(RouteStates, RowStatusIsTheTenthAndStatusTheLast) {
  cSetRouteState(10, 1, DESTINATION, 16, NEXT_HOP, 3, 6, 6, 1, 6, 6, 5);
  EXPECT_EQ(traces.Take()[1], "10:Route Not programmed!!! Retrying...\n");
  EXPECT_THAT(Items(), HasSubstr("ActionState(New) ReasonCode(5)"));
  Tick();
  traces.Take();
  cSetRouteState(10, 1, DESTINATION, 16, NEXT_HOP, 3, 1, 1, 6, 1, 1, 3);
  EXPECT_EQ(traces.Take()[1], "10:Route Not programmed!!! Retrying...\n");
}

TEST_F(RouteStates, Ipv6BitOfTheInstanceIsCleared) {
  cSetRouteState(0xFFFF800A, 1, DESTINATION, 16, NEXT_HOP, 3, 5, 0x30000, 1, 1, 0, 1);
  EXPECT_EQ(traces.Take()[0],
            "10:Route Update Response from Metaswitch: vlan = 10, dest= 10.9.0.0/16 nexthop: "
            "10.1.2.1\n");
  EXPECT_EQ(Items(), "");
}

TEST_F(Callbacks, RedistributionTakesItsVlanFromTheSixthArgument) {
  cSetRedistState(101, 102, 103, 104, 105, 106, 107, 108);
  EXPECT_EQ(traces.Take(),
            (Lines{"10:Redistribution Response from Metaswitch: vlan=106 src=103 dst=104 "
                   "status=101\n",
                   "10:Unable to set redistribution. No retry!!!\n"}));
}

TEST_F(Callbacks, RedistributionVlanKeepsTheIpv6BitAndSixteenBits) {
  cSetRedistState(6, 102, 103, 104, 105, 0x1800A, 107, 6);
  EXPECT_EQ(traces.Take(),
            (Lines{"10:Redistribution Response from Metaswitch: vlan=32778 src=103 dst=104 "
                   "status=6\n",
                   "10:Redistribution Request Success\n"}));
}

// The first two arguments change places on the way: the first is the row status, which decides.
TEST_F(Callbacks, FirstArgumentOfRedistributionIsTheRowStatus) {
  cSetRedistState(6, 1, 103, 104, 105, 106, 107, 3);
  EXPECT_EQ(traces.Take()[1], "10:Redistribution Request Not success!! Retrying...\n");
  cSetRedistState(1, 6, 103, 104, 105, 106, 107, 3);
  EXPECT_EQ(traces.Take()[1], "10:Unable to set redistribution. No retry!!!\n");
}

// --- RTM ---

TEST_F(Callbacks, ReadinessKeepsTheIpv6BitAndSixteenBits) {
  EXPECT_EQ(cIsRtmReady(10), 0);
  cSetRtmReady(0x1800A);
  EXPECT_EQ(cIsRtmReady(10), 0);
  EXPECT_EQ(cIsRtmReady(0x800A), 1);
  EXPECT_EQ(cIsRtmReady(0x1800A), 1);
  EXPECT_TRUE(rtm.IsRtmReady(0x800A));
  EXPECT_FALSE(rtm.HasRtmRecord(10));
}

TEST_F(Callbacks, ReadinessOfAKnownInstanceKeepsItsSettings) {
  DcRtmMgr::RTMData data;
  data.ripv2 = 99;
  rtm.CreateRTMInstance(10, 0, data);
  EXPECT_EQ(cIsRtmReady(10), 0);
  cSetRtmReady(10);
  EXPECT_EQ(cIsRtmReady(10), 1);
  amb_cipr_rtm_entity row;
  ASSERT_EQ(cGetRtmConfig(10, &row), 1);
  EXPECT_EQ(row.word[14], 99U);
}

TEST_F(Callbacks, ReadinessOfAnUnknownInstanceMakesADefaultRecord) {
  cSetRtmReady(10);
  amb_cipr_rtm_entity row;
  ASSERT_EQ(cGetRtmConfig(10, &row), 1);
  EXPECT_EQ(row.word[0], 10U);
  EXPECT_EQ(row.word[8], 200U);
  EXPECT_EQ(row.word[28], 60U);
}

TEST_F(Callbacks, ConfigOfAnUnknownInstanceIsTwoAndUntouched) {
  amb_cipr_rtm_entity row;
  row.word[0] = 77;
  EXPECT_EQ(cGetRtmConfig(10, &row), 2);
  EXPECT_EQ(row.word[0], 77U);
  EXPECT_EQ(cGetRtmConfig(10, nullptr), 2);
}

TEST_F(Callbacks, ConfigIsAskedByExactInstance) {
  rtm.CreateRTMInstance(10, 41, DcRtmMgr::RTMData());
  amb_cipr_rtm_entity row;
  EXPECT_EQ(cGetRtmConfig(10, &row), 2);
  EXPECT_EQ(cGetRtmConfig(0x800A, &row), 1);
  EXPECT_EQ(cGetRtmConfig(0x1800A, &row), 1);
  EXPECT_EQ(row.word[0], 0x800AU);
  EXPECT_EQ(cGetRtmConfig(0x800A, nullptr), 2);
}

// --- addresses ---

class InterfaceAddresses : public Callbacks {
 protected:
  void AddInterface(unsigned short vlan, unsigned int ifIndex, const char* name, Ip4Addr ip) {
    registry.AddInterface(vlan, ifIndex, name, DcInterfaceMgr::INTF_TYPE_NONE, 0, 0, 1);
    registry.AddIpAddress(vlan, ifIndex, ip, Ip4Addr(255, 255, 255, 0));
  }

  unsigned int address = 77;
};

TEST_F(InterfaceAddresses, PrimaryInterfaceGivesTheAddressAsItLiesInMemory) {
  AddInterface(10, 3, "eth3", Ip4Addr(10, 1, 2, 3));
  registry.SetPrimaryInterface(10, "eth3");
  EXPECT_EQ(cGetAddress(10, &address), 1);
  const unsigned char expected[4] = {10, 1, 2, 3};
  EXPECT_EQ(std::memcmp(&address, expected, sizeof expected), 0);
  address = 77;
  EXPECT_EQ(cGetAddress(0xFFFF800A, &address), 1);
  EXPECT_EQ(std::memcmp(&address, expected, sizeof expected), 0);
  EXPECT_THAT(traces.Assertions(), IsEmpty());
}

TEST_F(InterfaceAddresses, MissingPrimaryInterfaceIsAssertedAndNoAddress) {
  AddInterface(10, 3, "eth3", Ip4Addr(10, 1, 2, 3));
  EXPECT_EQ(cGetAddress(10, &address), 0);
  EXPECT_EQ(address, 77U);
  EXPECT_THAT(traces.Assertions(), ElementsAre("intf_name != 0|dcrouter_api|95"));
}

TEST_F(InterfaceAddresses, PrimaryInterfaceThatDoesNotExistIsNoAddress) {
  AddInterface(10, 3, "eth3", Ip4Addr(10, 1, 2, 3));
  registry.SetPrimaryInterface(10, "eth4");
  EXPECT_EQ(cGetAddress(10, &address), 0);
  registry.SetPrimaryInterface(11, "eth3");
  EXPECT_EQ(cGetAddress(11, &address), 0);
  EXPECT_EQ(address, 77U);
  EXPECT_THAT(traces.Assertions(), IsEmpty());
}

TEST_F(InterfaceAddresses, InterfaceWithoutAddressAnswersZero) {
  registry.AddInterface(10, 3, "eth3", DcInterfaceMgr::INTF_TYPE_NONE, 0, 0, 1);
  registry.SetPrimaryInterface(10, "eth3");
  EXPECT_EQ(cGetAddress(10, &address), 1);
  EXPECT_EQ(address, 0U);
}

TEST_F(InterfaceAddresses, VlanAddressIsThatOfEth0) {
  AddInterface(10, 3, "eth3", Ip4Addr(10, 1, 2, 3));
  registry.SetPrimaryInterface(10, "eth3");
  EXPECT_EQ(cGetVlanAddress(10, &address), 0);
  EXPECT_EQ(address, 77U);
  AddInterface(10, 4, "eth0", Ip4Addr(10, 1, 9, 9));
  EXPECT_EQ(cGetVlanAddress(10, &address), 1);
  EXPECT_EQ(Ip4Addr(address), Ip4Addr(10, 1, 9, 9));
  address = 77;
  EXPECT_EQ(cGetVlanAddress(0x800A, &address), 1);
  EXPECT_EQ(Ip4Addr(address), Ip4Addr(10, 1, 9, 9));
  EXPECT_THAT(traces.Assertions(), IsEmpty());
}

TEST_F(InterfaceAddresses, NoPlaceForTheAnswerIsNothing) {
  EXPECT_EQ(cGetAddress(10, nullptr), 0);
  EXPECT_EQ(cGetVlanAddress(10, nullptr), 0);
  EXPECT_THAT(traces.Assertions(), IsEmpty());
}

// --- row requests ---

class RowRequests : public Callbacks {
 protected:
  void AddInterface(unsigned int ifIndex) {
    registry.AddInterface(10, ifIndex, "eth0", DcInterfaceMgr::INTF_TYPE_NONE, 0, 0, 1);
  }
};

TEST_F(RowRequests, ReadySignalReleasesWhatWaits) {
  EXPECT_EQ(cI3Ready(), 0);
  AddInterface(3);
  EXPECT_EQ(TakeCalls().size(), 2U);
}

TEST_F(RowRequests, ReadySignalAnswersWhetherTheLastRowHadARequest) {
  AddInterface(3);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_NE(cI3Ready(), 0);
  EXPECT_THAT(TakeCalls(), ElementsAre(HasSubstr("sms_bld_amb_test_i3_ei(4, 1, 10, 3"),
                                       HasSubstr("sms_bld_amb_test_i3_ei(4, 1, 32778, 3")));
  EXPECT_EQ(cI3Ready(), 0);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(RowRequests, FinishedRowIssuesItsNextRequest) {
  cI3Ready();
  AddInterface(3);
  registry.SetInterfaceDown(10, 3, "eth0");
  TakeCalls();
  unsigned int key[SMS_OID_MAX];
  const unsigned int length = sms_set_i3_ei_oid(key, 10, 3);
  cRunPendingAction(nullptr, 4);
  cRunPendingAction(key, 0);
  EXPECT_THAT(Calls(), IsEmpty());
  cRunPendingAction(key, length);
  EXPECT_THAT(TakeCalls(), ElementsAre(R"(sms_bld_amb_test_i3_ei(1, 2, 10, 3, "eth0", 0, 0, 0))"));
  cRunPendingAction(key, length);
  cRunPendingAction(key, length);
  EXPECT_THAT(Calls(), IsEmpty());
}

// --- descriptors ---

class DescriptorCallbacks : public Callbacks {
 protected:
  int RegisteredMode(unsigned int mask) {
    sockets.calls.clear();
    cRegisterWorkWithEventloop(5, 7, mask);
    return ModeIn("register fd=5 mode=%d id=7");
  }

  int ChangedMode(unsigned int mask) {
    sockets.calls.clear();
    cChangeMask(5, mask);
    return ModeIn("change fd=5 mode=%d");
  }

  // The mode of the one call that there was.
  int ModeIn(const char* pattern) {
    if (sockets.calls.size() != 1) {
      return -1;
    }
    for (int mode = 0; mode <= 8; ++mode) {
      char expected[64];
      std::snprintf(expected, sizeof expected, pattern, mode);
      if (sockets.calls[0] == expected) {
        return mode;
      }
    }
    return -1;
  }
};

TEST_F(DescriptorCallbacks, RegistrationModeLooksAtTwoBits) {
  const int modes[8] = {0, 1, 2, 1, 0, 1, 2, 1};
  for (unsigned int mask = 0; mask < 8; ++mask) {
    EXPECT_EQ(RegisteredMode(mask), modes[mask]) << mask;
    EXPECT_EQ(RegisteredMode(mask | 0xFFFFFFF8), modes[mask]) << mask;
  }
}

TEST_F(DescriptorCallbacks, ChangedModeIsTheFirstRuleThatMatches) {
  const int modes[8] = {0, 1, 2, 1, 3, 1, 2, 1};
  for (unsigned int mask = 0; mask < 8; ++mask) {
    EXPECT_EQ(ChangedMode(mask), modes[mask]) << mask;
    EXPECT_EQ(ChangedMode(mask | 0xFFFFFFF8), modes[mask]) << mask;
  }
}

TEST_F(DescriptorCallbacks, DescriptorsReachTheHostUnchanged) {
  cRegisterWorkWithEventloop(-1, -2, 1);
  cChangeMask(9, 4);
  cUnregisterWorkWithEventloop(8, 6);
  EXPECT_THAT(sockets.calls,
              ElementsAre("register fd=-1 mode=1 id=-2", "change fd=9 mode=3", "remove fd=8 id=6"));
}

}  // namespace
