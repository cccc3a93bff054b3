// Reading "RTM" of a VLAN's document entry.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/json_text.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using Tarsel::DcRtmMgr;
using test_support::Document;

std::vector<std::uint32_t> Values(const DcRtmMgr::RTMData& data) {
  return {data.dead_rpm_timer,
          data.ospfv2_internal,
          data.ospfv3_internal,
          data.ospfv2_external,
          data.ospfv3_external,
          data.ripv2,
          data.ripng,
          data.ebgp,
          data.ibgp};
}

const std::vector<std::uint32_t> DEFAULTS = {60, 40, 40, 110, 110, 120, 120, 200, 20};

// What a record of defaults becomes by reading the entry.
std::vector<std::uint32_t> Read(const std::string& json) {
  const Tarsel::Options document = Document(json);
  DcRtmMgr::RTMData data;
  DcRtmMgr::GetInstance()->GetRTMConfig(document.GetRootNode(), &data);
  return Values(data);
}

bool ReadAnswer(const std::string& json) {
  const Tarsel::Options document = Document(json);
  DcRtmMgr::RTMData data;
  return DcRtmMgr::GetInstance()->GetRTMConfig(document.GetRootNode(), &data);
}

TEST(RtmSettings, RecordStartsNotReadyWithTheDefaults) {
  const DcRtmMgr::RTMData data;
  EXPECT_FALSE(data.ready);
  EXPECT_EQ(Values(data), DEFAULTS);
  EXPECT_EQ(data.ebgp, 200U);
  EXPECT_EQ(data.ibgp, 20U);
}

TEST(RtmSettings, EveryValueIsRead) {
  EXPECT_EQ(Read(R"({"RTM": {"dead_rpm_timer": 1, "ADMIN_DISTANCE": {
                "ospfv2_internal": 2, "ospfv2_external": 4, "ospfv3_internal": 3,
                "ospfv3_external": 5, "ripv2": 6, "ripng": 7, "ebgp": 8, "ibgp": 9}}})"),
            (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(RtmSettings, NoAdminDistanceKeepsAllDistances) {
  EXPECT_EQ(Read(R"({"RTM": {"dead_rpm_timer": 7}})"),
            (std::vector<std::uint32_t>{7, 40, 40, 110, 110, 120, 120, 200, 20}));
}

TEST(RtmSettings, EmptyAdminDistanceZeroesAllDistances) {
  EXPECT_EQ(Read(R"({"RTM": {"ADMIN_DISTANCE": {}}})"),
            (std::vector<std::uint32_t>{60, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(RtmSettings, DistanceThatIsNotNamedIsZero) {
  EXPECT_EQ(Read(R"({"RTM": {"ADMIN_DISTANCE": {"ripv2": 99, "ibgp": 1}}})"),
            (std::vector<std::uint32_t>{60, 0, 0, 0, 0, 99, 0, 0, 1}));
}

TEST(RtmSettings, DistanceOfWrongTypeIsZero) {
  EXPECT_EQ(Read(R"({"RTM": {"ADMIN_DISTANCE": {"ospfv2_internal": "40", "ospfv3_internal": -1,
                "ospfv2_external": {}, "ospfv3_external": null, "ripv2": 4294967296,
                "ripng": true, "ebgp": 3}}})"),
            (std::vector<std::uint32_t>{60, 0, 0, 0, 0, 0, 0, 3, 0}));
}

TEST(RtmSettings, DistancesHaveNoRange) {
  EXPECT_EQ(Read(R"({"RTM": {"ADMIN_DISTANCE": {"ebgp": 4294967295}}})")[7], 4294967295U);
}

TEST(RtmSettings, AdminDistanceThatIsNoObjectIsNotThere) {
  for (const char* value : {"null", "[]", "[1]", "5", "\"x\"", "true"}) {
    EXPECT_EQ(
        Read(std::string(R"({"RTM": {"dead_rpm_timer": 60, "ADMIN_DISTANCE": )") + value + "}}"),
        DEFAULTS)
        << value;
  }
}

TEST(RtmSettings, DeadTimerThatIsAbsentOrWrongKeepsItsValue) {
  for (const char* rtm : {R"({"x": 1})", R"({"dead_rpm_timer": "5"})", R"({"dead_rpm_timer": -5})",
                          R"({"dead_rpm_timer": null})", R"({"dead_rpm_timer": {}})"}) {
    EXPECT_EQ(Read(std::string(R"({"RTM": )") + rtm + "}")[0], 60U) << rtm;
  }
}

TEST(RtmSettings, MissingEmptyOrForeignRtmChangesNothing) {
  for (const char* entry : {"{}", R"({"RTM": null})", R"({"RTM": {}})", R"({"RTM": []})",
                            R"({"RTM": [{"dead_rpm_timer": 1}]})", R"({"RTM": 5})", "[]", "7"}) {
    EXPECT_EQ(Read(entry), DEFAULTS) << entry;
    EXPECT_FALSE(ReadAnswer(entry)) << entry;
  }
  DcRtmMgr::RTMData data;
  EXPECT_FALSE(DcRtmMgr::GetInstance()->GetRTMConfig(Tarsel::OptionsNode(), &data));
  EXPECT_EQ(Values(data), DEFAULTS);
}

TEST(RtmSettings, ReadingIsReportedWhenThereWasAnObject) {
  EXPECT_TRUE(ReadAnswer(R"({"RTM": {"x": 1}})"));
  EXPECT_TRUE(ReadAnswer(R"({"RTM": {"ADMIN_DISTANCE": {}}})"));
}

TEST(RtmSettings, RecordThatIsNotOfDefaultsKeepsWhatTheEntryDoesNotName) {
  const Tarsel::Options document = Document(R"({"RTM": {"x": 1}})");
  DcRtmMgr::RTMData data;
  data.ready = true;
  data.dead_rpm_timer = 5;
  data.ripng = 6;
  DcRtmMgr::GetInstance()->GetRTMConfig(document.GetRootNode(), &data);
  EXPECT_TRUE(data.ready);
  EXPECT_EQ(data.dead_rpm_timer, 5U);
  EXPECT_EQ(data.ripng, 6U);
}

TEST(RtmSettings, FieldsLieInTheirFixedOrder) {
  DcRtmMgr::RTMData data;
  const std::uint32_t* fields[] = {&data.dead_rpm_timer,
                                   &data.ospfv2_internal,
                                   &data.ospfv3_internal,
                                   &data.ospfv2_external,
                                   &data.ospfv3_external,
                                   &data.ripv2,
                                   &data.ripng,
                                   &data.ebgp,
                                   &data.ibgp};
  for (std::size_t i = 1; i < sizeof fields / sizeof *fields; ++i) {
    EXPECT_LT(fields[i - 1], fields[i]) << i;
  }
  EXPECT_LT(static_cast<const void*>(&data.ready), static_cast<const void*>(fields[0]));
}

}  // namespace
