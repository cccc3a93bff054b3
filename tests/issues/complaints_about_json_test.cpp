// A finding about a document is read on a terminal: nothing in it may act on one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "device/documents/device_document.h"

namespace {

std::string FindingAbout(const std::string& text) {
  documents::DeviceFile file;
  documents::ReadDeviceDocument(text, "device.json", file);
  const std::vector<std::string> lines = file.findings.Lines();
  return lines.empty() ? "" : lines.front();
}

TEST(ComplaintsAboutJson, ShowControlCharactersOfADuplicateName) {
  // Nothing looks into what is for others, except for names that stand twice.
  const std::string name = "a\\u001b[2J\\u0007";
  const std::string finding =
      FindingAbout("{\"default_vlan\": 1, \"x-a\": {\"" + name + "\": 1, \"" + name + "\": 2}}");
  EXPECT_THAT(finding, testing::StartsWith("device.json:1:52: x-a."));
  EXPECT_THAT(finding, testing::EndsWith("a member that stands twice, expected one, found another "
                                         "\"a\\u001b[2J\\u0007\""));
}

TEST(ComplaintsAboutJson, ShowControlCharactersOfAnUnknownName) {
  EXPECT_THAT(FindingAbout(R"({"a\u001b[2J\u0007": 1, "default_vlan": 1})"),
              testing::EndsWith("found \"a\\x1b[2J\\x07\""));
}

TEST(ComplaintsAboutJson, AreCutWhenANameIsLong) {
  const std::string name(5000, 'n');
  const std::string finding =
      FindingAbout("{\"x-a\": {\"" + name + "\": 1, \"" + name + "\": 2}, \"default_vlan\": 1}");
  EXPECT_THAT(finding, testing::HasSubstr("found another \"nnnn"));
  EXPECT_LT(finding.size(), 500U);
}

TEST(ComplaintsAboutJson, ShowControlCharactersOfAnUnreadableNumber) {
  const std::string finding = FindingAbout("{\"a\": 1\x01\x02}");
  EXPECT_THAT(finding, testing::HasSubstr("\\x01\\x02"));
  EXPECT_TRUE(std::none_of(finding.begin(), finding.end(), [](unsigned char c) {
    return c < ' ' || c == 0x7F;
  })) << finding;
}

}  // namespace
