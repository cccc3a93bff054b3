#include "device/program/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "tests/support/argument_vector.h"

namespace {

using program::Usage;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

enum : int { NAME = 1, LOUD };

class ReadOptions : public testing::Test {
 protected:
  std::optional<program::Ending> Read(std::vector<std::string> words) {
    words.insert(words.begin(), "player");
    test_support::ArgumentVector argv(std::move(words));
    taken.clear();
    const auto take = [this](int number, const char* value) {
      taken.push_back(std::to_string(number) + (value ? std::string("=") + value : ""));
      return value && std::string(value) == "bad" ? "that is bad" : "";
    };
    const auto ending = program::ReadOptions(usage, argv.GetCount(), argv.GetPointers(), take);
    left.assign(argv.GetPointers() + optind, argv.GetPointers() + argv.GetCount());
    return ending;
  }
  void ExpectError(const std::vector<std::string>& words, const std::string& problem) {
    const auto ending = Read(words);
    ASSERT_TRUE(ending) << problem;
    EXPECT_TRUE(ending->isError);
    EXPECT_EQ(ending->text, "player: " + problem + "\nplayer --help tells more.\n");
  }

  Usage usage = {"player",
                 "How to play.\n",
                 {{"name", required_argument, nullptr, NAME}, {"loud", no_argument, nullptr, LOUD}},
                 false};
  std::vector<std::string> taken;
  std::vector<std::string> left;
};

TEST_F(ReadOptions, HandsOverNumbersAndValuesInOrder) {
  EXPECT_FALSE(Read({"--loud", "--name", "a", "--name=", "--na=b"}));
  EXPECT_THAT(taken, ElementsAre("2", "1=a", "1=", "1=b"));
  EXPECT_THAT(left, IsEmpty());
}

TEST_F(ReadOptions, LeavesTheWordsWhereverTheyStand) {
  EXPECT_FALSE(Read({"one", "--loud", "two", "--", "--three"}));
  EXPECT_THAT(taken, ElementsAre("2"));
  EXPECT_THAT(left, ElementsAre("one", "two", "--three"));
}

TEST_F(ReadOptions, MayEndAtTheFirstWord) {
  usage.endsAtWord = true;
  EXPECT_FALSE(Read({"--loud", "one", "--name", "-x"}));
  EXPECT_THAT(taken, ElementsAre("2"));
  EXPECT_THAT(left, ElementsAre("one", "--name", "-x"));
}

TEST_F(ReadOptions, ExplainsTheProgramAndTellsItsVersion) {
  const auto help = Read({"--loud", "--help", "--name"});
  ASSERT_TRUE(help);
  EXPECT_FALSE(help->isError);
  EXPECT_EQ(help->text, "How to play.\n");
  EXPECT_THAT(taken, ElementsAre("2"));
  const auto version = Read({"--version"});
  ASSERT_TRUE(version);
  EXPECT_FALSE(version->isError);
  EXPECT_THAT(version->text, StartsWith("player 1."));
}

TEST_F(ReadOptions, SaysWhatIsWrongWithTheFirstThatIs) {
  ExpectError({"--name"}, "a value is missing after \"--name\"");
  ExpectError({"--colour"}, "no such option: \"--colour\"");
  ExpectError({"-x"}, "no such option: \"-x\"");
  ExpectError({"-\xc3\xa9"}, "no such option: \"-\\xc3\"");
  ExpectError({"--loud", "-xyz"}, "no such option: \"-x\"");
  ExpectError({"--loud=yes"}, "no value belongs to \"--loud=yes\"");
  ExpectError({"--help=yes"}, "no value belongs to \"--help=yes\"");
  ExpectError({"--bright\x1b[2J"}, "no such option: \"--bright\\x1b[2J\"");
  ExpectError({"--name", "bad", "--colour"}, "that is bad");
  EXPECT_THAT(taken, ElementsAre("1=bad"));
}

}  // namespace
