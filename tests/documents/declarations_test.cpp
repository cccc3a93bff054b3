// What the check makes of the protocols' declarations: of none, of those that the device's routers
// have made, and of one protocol more.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device/documents/check.h"

namespace {

using documents::CheckDocument;
using documents::CheckResult;
using documents::DocumentKind;
using documents::Member;
using documents::Protocols;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr Protocols NONE{nullptr, 0};

CheckResult Check(const Protocols& protocols, const std::string& members,
                  DocumentKind kind = DocumentKind::VLANS) {
  return CheckDocument(kind, R"({"VLAN_CONFIGURATIONS": [{"vid": 10, )" + members + "}]}", "file",
                       protocols);
}

constexpr documents::Row TONE_ROW{"TONE", "S", 1};
constexpr Member TONE_NAME = documents::RowName(TONE_ROW);
constexpr Member TONE_MEMBERS[] = {TONE_NAME, documents::RequiredNumber("pitch", 20, 20000)};
constexpr documents::Object TONE = documents::ObjectWith("tone", TONE_MEMBERS, false);
constexpr Member MUSIC_MEMBERS[] = {documents::ENABLED, documents::ListOf("TONES", TONE)};
constexpr documents::Object MUSIC = documents::ObjectWith("MUSIC", MUSIC_MEMBERS);
constexpr Member PROTOCOLS[] = {documents::ObjectOf("MUSIC", MUSIC)};

TEST(Declarations, ThatAreMissingLetAnyObjectPassWithAWarning) {
  for (const char* protocol : {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"}) {
    for (const char* value : {"{}", R"({"anything": [{"at": 1.5}, "all"], "enabled": "x"})"}) {
      for (const DocumentKind kind : {DocumentKind::VLANS, DocumentKind::REMOTE}) {
        const CheckResult result = Check(NONE, '"' + std::string(protocol) + "\": " + value, kind);
        EXPECT_THAT(result.errors, IsEmpty());
        EXPECT_THAT(result.warnings, ElementsAre(HasSubstr("]." + std::string(protocol) + ": ")));
      }
    }
  }
}

TEST(Declarations, ThatAreMissingLetNothingElsePass) {
  for (const char* value : {"5", "[]", "\"x\"", "null", "true", R"({"a": {"b": [null]}})"}) {
    EXPECT_THAT(Check(NONE, std::string("\"BGP\": ") + value).errors, SizeIs(1)) << value;
  }
  EXPECT_THAT(Check(NONE, R"("MUSIC": {})").errors, SizeIs(1));
}

TEST(Declarations, OfTheDevicesRoutersLeaveNoneOfTheSevenOut) {
  const Protocols declared = documents::DeclaredProtocols();
  for (const char* protocol : {"BGP", "OSPF", "OSPFV3", "RIPV2", "RIPNG", "IGMP", "MLD"}) {
    const CheckResult good =
        Check(declared, '"' + std::string(protocol) + R"(": {"enabled": false})");
    EXPECT_THAT(good.errors, IsEmpty()) << protocol;
    EXPECT_THAT(good.warnings, IsEmpty()) << protocol;
    const std::string unknown = R"(": {"enabled": true, "Enabled": true})";
    EXPECT_THAT(Check(declared, '"' + std::string(protocol) + unknown).errors,
                ElementsAre(HasSubstr("Enabled")))
        << protocol;
  }
}

TEST(Declarations, OfAnotherProtocolAreBesideTheSeven) {
  const Protocols protocols = documents::ProtocolsOf(PROTOCOLS);
  for (const DocumentKind kind : {DocumentKind::VLANS, DocumentKind::REMOTE}) {
    const CheckResult good = Check(protocols,
                                   R"("MUSIC": {"TONES": {"a": {"Name": "TONE_10_1", "pitch": 440},
                                      "b": {"Name": "tones_10_1_2", "pitch": 20}}})",
                                   kind);
    EXPECT_THAT(good.errors, IsEmpty());
    EXPECT_THAT(good.warnings, IsEmpty());
  }
  EXPECT_THAT(Check(protocols, R"("MUSIC": {}, "BGP": {"any": 1})").warnings, SizeIs(1));
  const CheckResult bad = Check(protocols,
                                R"("MUSIC": {"enabled": 1, "TONES": [{"Name": "TONE_10_1_2_3"},
                                   {"Name": "TONE_10_1", "pitch": 19},
                                   {"Name": "TONE_10_65536"}]})");
  EXPECT_THAT(bad.errors, ElementsAre(HasSubstr("MUSIC.enabled: "), HasSubstr("TONES[0].pitch: "),
                                      HasSubstr("TONES[0].Name: "), HasSubstr("TONES[1].pitch: "),
                                      HasSubstr("TONES[2].pitch: "), HasSubstr("TONES[2].Name: ")));
}

TEST(Declarations, DoNotMatterToADeviceDocument) {
  const char text[] = R"({"default_vlan": 40000})";
  const CheckResult result = CheckDocument(DocumentKind::DEVICE, text, "d.json", NONE);
  EXPECT_THAT(result.errors, ElementsAre(HasSubstr("d.json:1:18: default_vlan: ")));
  EXPECT_THAT(result.warnings, IsEmpty());
}

}  // namespace
