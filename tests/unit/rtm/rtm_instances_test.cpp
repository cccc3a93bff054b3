// RTM instances: their rows, records and ready flags.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/device_fixture.h"
#include "tests/support/json_text.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using Tarsel::DclConfigObject;
using Tarsel::DcRtmMgr;
using test_support::Document;
using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

const char* const DEFAULT_ROW_10 =
    "sms_act_rtm(0=10 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=60 30=1)";
const char* const DEFAULT_ROW_10_IPV6 =
    "sms_act_rtm(0=32778 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=60 30=2)";

// A settings document in which every value is another one.
const char* const ALL_DIFFERENT = R"({"RTM": {"dead_rpm_timer": 1, "ADMIN_DISTANCE": {
    "ospfv2_internal": 2, "ospfv2_external": 4, "ospfv3_internal": 3, "ospfv3_external": 5,
    "ripv2": 6, "ripng": 7, "ebgp": 8, "ibgp": 9}}})";

// The stack has asked for its first run, so later requests do not make it ask again; as no time
// goes by, it does not run either.
class RtmInstances : public test_support::DeviceFixture {
 protected:
  void SetUp() override {
    Start();
    TakeCalls();
    traces.Take();
  }

  bool Update(unsigned short vlan, const std::string& json,
              DclConfigObject::OptionType type = DclConfigObject::VLAN_OPTIONS) {
    const Tarsel::Options document = Document(json);
    return rtm.UpdateRtmConfig(vlan, document.GetRootNode(), type);
  }

  Lines AskedRow(unsigned short instance) {
    amb_cipr_rtm_entity row;
    for (std::uint32_t& word : row.word) {
      word = 0xEEEEEEEE;
    }
    if (!rtm.GetRTMConfig(instance, &row)) {
      return {};
    }
    Lines words;
    for (int i = 0; i < AMB_RTM_ENTITY_WORDS; ++i) {
      if (row.word[i] != 0) {
        words.push_back(std::to_string(i) + "=" + std::to_string(row.word[i]));
      }
    }
    return words;
  }

  // The dead timers of VLAN 10's two records, as the stack would be told them.
  std::string DeadTimers() {
    std::string text;
    for (const unsigned short instance : {10, 0x800A}) {
      amb_cipr_rtm_entity row;
      text += rtm.GetRTMConfig(instance, &row) ? " " + std::to_string(row.word[28]) : " none";
    }
    return text;
  }

  DcRtmMgr& rtm = *DcRtmMgr::GetInstance();
};

TEST_F(RtmInstances, ThereIsOneManager) {
  EXPECT_EQ(DcRtmMgr::GetInstance(), &rtm);
  EXPECT_STREQ(DcRtmMgr::__class__, "DcRtmMgr");
}

TEST_F(RtmInstances, OnlyProtocol41SetsTheIpv6Bit) {
  EXPECT_EQ(DcRtmMgr::IP6_INSTANCE_BIT, 0x8000);
  EXPECT_EQ(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(10, 0), 10);
  EXPECT_EQ(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(10, 41), 0x800A);
  EXPECT_EQ(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(10, 6), 10);
  EXPECT_EQ(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(0x800A, 0), 0x800A);
  EXPECT_EQ(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(0x800A, 41), 0x800A);
}

TEST_F(RtmInstances, DefaultsGoToBothInstances) {
  EXPECT_TRUE(Update(10, "{}"));
  EXPECT_THAT(TakeCalls(), ElementsAre(DEFAULT_ROW_10, DEFAULT_ROW_10_IPV6));
  EXPECT_EQ(traces.Take(),
            (Lines{
                "10:DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 10\n",
                "10:Creating RTM Instance 10\n",
                "10:Creating IPv6 Unicast RTM for vlan 10\n",
                "10:Creating RTM Instance 32778\n",
            }));
}

TEST_F(RtmInstances, EachFamilyTakesItsOwnDistances) {
  EXPECT_TRUE(Update(10, ALL_DIFFERENT));
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_act_rtm(0=10 1=1 2=1 6=2 7=4 8=9 9=8 14=6 28=1 30=1)",
                          "sms_act_rtm(0=32778 1=1 2=1 6=3 7=5 8=9 9=8 14=7 28=1 30=2)"));
}

TEST_F(RtmInstances, AskedRowHasTheBgpDistancesTheOtherWayRoundAndNoFamily) {
  Update(10, "{}");
  EXPECT_THAT(AskedRow(10), ElementsAre("0=10", "1=1", "2=1", "6=40", "7=110", "8=200", "9=20",
                                        "14=120", "28=60"));
  Update(10, ALL_DIFFERENT);
  EXPECT_THAT(AskedRow(10),
              ElementsAre("0=10", "1=1", "2=1", "6=2", "7=4", "8=8", "9=9", "14=6", "28=1"));
  EXPECT_THAT(AskedRow(0x800A),
              ElementsAre("0=32778", "1=1", "2=1", "6=3", "7=5", "8=8", "9=9", "14=7", "28=1"));
}

TEST_F(RtmInstances, SettingsOfAnySizeReachTheRowsWhole) {
  EXPECT_TRUE(Update(10, R"({"RTM": {"dead_rpm_timer": 65537, "ADMIN_DISTANCE": {
      "ospfv2_internal": 65538, "ospfv2_external": 65539, "ospfv3_internal": 65540,
      "ospfv3_external": 65541, "ripv2": 65542, "ripng": 65543, "ebgp": 65544, "ibgp": 65545}}})"));
  EXPECT_THAT(
      TakeCalls(),
      ElementsAre(
          "sms_act_rtm(0=10 1=1 2=1 6=65538 7=65539 8=65545 9=65544 14=65542 28=65537 30=1)",
          "sms_act_rtm(0=32778 1=1 2=1 6=65540 7=65541 8=65545 9=65544 14=65543 28=65537 30=2)"));
  EXPECT_THAT(AskedRow(10), ElementsAre("0=10", "1=1", "2=1", "6=65538", "7=65539", "8=65544",
                                        "9=65545", "14=65542", "28=65537"));
}

TEST_F(RtmInstances, Vlan0HasItsTwoInstancesToo) {
  Update(0, ALL_DIFFERENT);
  EXPECT_THAT(AskedRow(0x8000),
              ElementsAre("0=32768", "1=1", "2=1", "6=3", "7=5", "8=8", "9=9", "14=7", "28=1"));
  EXPECT_FALSE(rtm.IsRtmReady(0));
  rtm.SetRtmReady(0);
  EXPECT_TRUE(rtm.IsRtmReady(0));
  EXPECT_FALSE(rtm.IsRtmReady(0x8000));
}

TEST_F(RtmInstances, RowOfUnknownInstanceIsNotTouched) {
  Update(10, "{}");
  amb_cipr_rtm_entity row;
  row.word[0] = 77;
  EXPECT_FALSE(rtm.GetRTMConfig(11, &row));
  EXPECT_FALSE(rtm.GetRTMConfig(0x800B, &row));
  EXPECT_EQ(row.word[0], 77U);
}

TEST_F(RtmInstances, SameSettingsAreSentOnce) {
  EXPECT_TRUE(Update(10, ALL_DIFFERENT));
  TakeCalls();
  traces.Take();
  EXPECT_TRUE(Update(10, ALL_DIFFERENT));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(traces.Take(),
            (Lines{
                "10:DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 10\n",
                "10:Creating RTM Instance 10\n",
                "10:Creating IPv6 Unicast RTM for vlan 10\n",
                "10:Creating RTM Instance 32778\n",
            }));
}

TEST_F(RtmInstances, DeadTimerAloneResendsBothAndKeepsTheReadyFlags) {
  Update(10, R"({"RTM": {"dead_rpm_timer": 60}})");
  rtm.SetRtmReady(10);
  rtm.SetRtmReady(0x800A);
  TakeCalls();
  EXPECT_TRUE(Update(10, R"({"RTM": {"dead_rpm_timer": 61}})"));
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_act_rtm(0=10 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=61 30=1)",
                          "sms_act_rtm(0=32778 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=61 30=2)"));
  EXPECT_TRUE(rtm.IsRtmReady(10));
  EXPECT_TRUE(rtm.IsRtmReady(0x800A));
}

// The record is compared as a whole: a distance of the other family counts as well.
TEST_F(RtmInstances, EveryDistanceCountsForBothFamilies) {
  std::uint32_t DcRtmMgr::RTMData::*const distances[] = {&DcRtmMgr::RTMData::ospfv2_internal,
                                                         &DcRtmMgr::RTMData::ospfv3_internal,
                                                         &DcRtmMgr::RTMData::ospfv2_external,
                                                         &DcRtmMgr::RTMData::ospfv3_external,
                                                         &DcRtmMgr::RTMData::ripv2,
                                                         &DcRtmMgr::RTMData::ripng,
                                                         &DcRtmMgr::RTMData::ebgp,
                                                         &DcRtmMgr::RTMData::ibgp};
  DcRtmMgr::RTMData data;
  rtm.CreateRTMInstance(10, 0, data);
  rtm.CreateRTMInstance(10, 41, data);
  TakeCalls();
  for (const auto distance : distances) {
    data.*distance += 1;
    EXPECT_TRUE(rtm.CreateRTMInstance(10, 0, data));
    EXPECT_TRUE(rtm.CreateRTMInstance(10, 41, data));
    EXPECT_EQ(TakeCalls().size(), 2U);
  }
}

TEST_F(RtmInstances, ReadyFlagOfTheSettingsPlaysNoPartInTheComparison) {
  DcRtmMgr::RTMData data;
  rtm.CreateRTMInstance(10, 0, data);
  TakeCalls();
  data.ready = true;
  rtm.CreateRTMInstance(10, 0, data);
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_FALSE(rtm.IsRtmReady(10));
}

TEST_F(RtmInstances, FirstRecordTakesTheReadyFlagOverAndLaterSettingsDoNot) {
  DcRtmMgr::RTMData data;
  data.ready = true;
  rtm.CreateRTMInstance(10, 0, data);
  EXPECT_TRUE(rtm.IsRtmReady(10));
  data.ready = false;
  data.ripv2 = 1;
  rtm.CreateRTMInstance(10, 0, data);
  EXPECT_TRUE(rtm.IsRtmReady(10));
}

TEST_F(RtmInstances, AnyOtherProtocolFillsAnIpv6RowWithoutTheBit) {
  EXPECT_TRUE(rtm.CreateRTMInstance(10, 6, DcRtmMgr::RTMData()));
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_act_rtm(0=10 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=60 30=2)"));
}

TEST_F(RtmInstances, RemoteDocumentCreatesNothing) {
  EXPECT_TRUE(Update(10, ALL_DIFFERENT, DclConfigObject::REMOTE_OPTIONS));
  EXPECT_TRUE(Update(10, ALL_DIFFERENT, static_cast<DclConfigObject::OptionType>(7)));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_FALSE(rtm.HasRtmRecord(10));
  EXPECT_FALSE(rtm.HasRtmRecord(0x800A));
  EXPECT_EQ(traces.Take(),
            (Lines(2, "10:DcRtmMgr::UpdateRtmConfig: Creating IPv4 Unicast RTM for vlan 10\n")));
}

TEST_F(RtmInstances, DeletingSendsDestroyRowsAndForgetsTheRecords) {
  Update(10, "{}");
  rtm.SetRtmReady(10);
  TakeCalls();
  traces.Take();
  rtm.DeleteRtmConfig(10);
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_act_rtm(0=10 1=6 2=2)", "sms_act_rtm(0=32778 1=6 2=2)"));
  EXPECT_EQ(traces.Take(),
            (Lines{"10:Deleting RTM Instance 10\n", "10:Deleting RTM Instance 32778\n"}));
  EXPECT_FALSE(rtm.HasRtmRecord(10));
  EXPECT_FALSE(rtm.HasRtmRecord(0x800A));
  EXPECT_FALSE(rtm.IsRtmReady(10));
  Update(10, "{}");
  EXPECT_THAT(TakeCalls(), ElementsAre(DEFAULT_ROW_10, DEFAULT_ROW_10_IPV6));
  EXPECT_FALSE(rtm.IsRtmReady(10));
}

TEST_F(RtmInstances, DeletingOneFamilyLeavesTheOther) {
  Update(10, "{}");
  TakeCalls();
  rtm.DeleteRTMInstance(10, 41);
  EXPECT_THAT(TakeCalls(), ElementsAre("sms_act_rtm(0=32778 1=6 2=2)"));
  EXPECT_TRUE(rtm.HasRtmRecord(10));
  EXPECT_FALSE(rtm.HasRtmRecord(0x800A));
}

TEST_F(RtmInstances, DeletingAVlanThatNeverWasStillSendsTwoDestroyRows) {
  rtm.DeleteRtmConfig(12);
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_act_rtm(0=12 1=6 2=2)", "sms_act_rtm(0=32780 1=6 2=2)"));
}

TEST_F(RtmInstances, ReadinessIsKeptByExactInstance) {
  Update(10, "{}");
  EXPECT_FALSE(rtm.IsRtmReady(10));
  rtm.SetRtmReady(0x800A);
  EXPECT_TRUE(rtm.IsRtmReady(0x800A));
  EXPECT_FALSE(rtm.IsRtmReady(10));
}

TEST_F(RtmInstances, ReadinessOfAnUnknownInstanceMakesARecordOfDefaults) {
  EXPECT_FALSE(rtm.IsRtmReady(10));
  EXPECT_FALSE(rtm.HasRtmRecord(10));
  rtm.SetRtmReady(10);
  EXPECT_TRUE(rtm.HasRtmRecord(10));
  EXPECT_TRUE(rtm.IsRtmReady(10));
  EXPECT_THAT(AskedRow(10), ElementsAre("0=10", "1=1", "2=1", "6=40", "7=110", "8=200", "9=20",
                                        "14=120", "28=60"));
  EXPECT_THAT(Calls(), IsEmpty());
}

// --- the stack calls back from inside of the row requests ---

TEST_F(RtmInstances, RecordIsInPlaceWhileItsRowIsSent) {
  Lines seen;
  Control().SetCallObserver([&](routing_stack::Call call, const std::string&) {
    if (call == routing_stack::Call::kSmsActRtm) {
      seen.push_back(DeadTimers());
    }
  });
  Update(10, "{}");
  Update(10, R"({"RTM": {"dead_rpm_timer": 61}})");
  rtm.DeleteRtmConfig(10);
  EXPECT_THAT(seen, ElementsAre(" 60 none", " 60 60", " 61 60", " 61 61", " 61 61", " none 61"));
  EXPECT_EQ(DeadTimers(), " none none");
}

TEST_F(RtmInstances, ReadinessReportedFromInsideARowStaysWithTheRecordAndGoesWithIt) {
  Control().SetCallObserver([&](routing_stack::Call call, const std::string&) {
    if (call == routing_stack::Call::kSmsActRtm) {
      rtm.SetRtmReady(10);
    }
  });
  rtm.CreateRTMInstance(10, 0, DcRtmMgr::RTMData());
  EXPECT_TRUE(rtm.IsRtmReady(10));
  rtm.DeleteRTMInstance(10, 0);
  EXPECT_FALSE(rtm.HasRtmRecord(10));
}

// Such a record equals the default settings, so an instance that the stack reported ready too late
// is not created when its VLAN comes back.
TEST_F(RtmInstances, RecordMadeByReadinessHidesTheCreationWithDefaults) {
  rtm.SetRtmReady(10);
  EXPECT_TRUE(Update(10, "{}"));
  EXPECT_THAT(TakeCalls(), ElementsAre(DEFAULT_ROW_10_IPV6));
}

// From VLAN 0x8000 on both families have the same instance.
TEST_F(RtmInstances, FamiliesCoincideFromTheIpv6BitOn) {
  EXPECT_TRUE(Update(0x800A, "{}"));
  EXPECT_THAT(TakeCalls(),
              ElementsAre("sms_act_rtm(0=32778 1=1 2=1 6=40 7=110 8=20 9=200 14=120 28=60 30=1)"));
}

}  // namespace
