#include "device/views/json.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace views {
namespace {

std::string TakeFrom(Json& json) {
  std::string text;
  json.Take(text);
  return text;
}

TEST(Json, WritesADocument) {
  Json json;
  json.BeginObject().Key("a").Number(-1).Key("b").BeginArray().Bool(true).Null().Text("c");
  json.EndArray().EndObject().EndDocument();
  EXPECT_EQ(TakeFrom(json), "{\"a\":-1,\"b\":[true,null,\"c\"]}\n");
}

TEST(Json, IsTakenInPieces) {
  Json json;
  json.BeginArray().Number(1);
  EXPECT_EQ(TakeFrom(json), "[1");
  json.Number(UINT64_MAX).EndArray().EndDocument();
  EXPECT_EQ(TakeFrom(json), ",18446744073709551615]\n");
  EXPECT_EQ(TakeFrom(json), "");
}

TEST(Json, WritesOneDocumentAfterAnother) {
  Json json;
  for (int i = 0; i < 2; ++i) {
    json.BeginObject().EndObject().EndDocument();
  }
  EXPECT_EQ(TakeFrom(json), "{}\n{}\n");
}

TEST(Json, QuotesWhatCouldDoHarm) {
  Json json;
  json.BeginArray().Text("\"\\\n\t").Text("\x1b[2J").Text("\xff").Text("\xe2\x80\xae").Text("ü");
  json.EndArray().EndDocument();
  EXPECT_EQ(TakeFrom(json),
            "[\"\\\"\\\\\\n\\t\",\"\\\\x1b[2J\",\"\\\\xff\",\"\\\\xe2\\\\x80\\\\xae\",\"ü\"]\n");
}

}  // namespace
}  // namespace views
