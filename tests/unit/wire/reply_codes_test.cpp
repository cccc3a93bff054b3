// Scripts know the numbers, so they are written out here once more.
#include "device/wire/reply_codes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(ReplyCodes, KeepTheirNumbers) {
  std::vector<std::pair<int, std::string>> codes;
  for (const wire::CodeName& entry : wire::CODES) {
    codes.emplace_back(static_cast<int>(entry.code), entry.name);
  }
  EXPECT_THAT(codes, ElementsAre(Pair(0, "done"), Pair(1, "refused"), Pair(2, "usage"),
                                 Pair(3, "unreachable"), Pair(4, "timed out"), Pair(5, "differs")));
}

}  // namespace
