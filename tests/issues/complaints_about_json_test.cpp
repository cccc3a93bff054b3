// A complaint about a document is read on a terminal: nothing in it may act on one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "device/documents/json_file.h"

namespace {

std::string ComplaintAbout(const std::string& text) {
  std::string complaint;
  Json::Value document;
  EXPECT_FALSE(documents::ParseJson(text, "device.json", document,
                                    [&](const std::string& line) { complaint += line; }));
  return complaint;
}

TEST(ComplaintsAboutJson, ShowControlCharactersOfADuplicateName) {
  const std::string name = "a\x1B[2J\x07";
  EXPECT_THAT(ComplaintAbout("{\"" + name + "\": 1, \"" + name + "\": 2}"),
              testing::EndsWith(": not JSON: Duplicate key: 'a\\x1b[2J\\x07'"));
}

TEST(ComplaintsAboutJson, AreCutWhenANameIsLong) {
  const std::string name(5000, 'n');
  const std::string complaint = ComplaintAbout("{\"" + name + "\": 1, \"" + name + "\": 2}");
  EXPECT_THAT(complaint, testing::HasSubstr("Duplicate key: 'nnnn"));
  EXPECT_LT(complaint.size(), 250U);
}

TEST(ComplaintsAboutJson, ShowControlCharactersOfAnUnreadableNumber) {
  const std::string complaint = ComplaintAbout("{\"a\": 1\x01\x02}");
  EXPECT_TRUE(std::none_of(complaint.begin(), complaint.end(), [](unsigned char c) {
    return c < ' ' || c == 0x7F;
  })) << complaint;
}

}  // namespace
