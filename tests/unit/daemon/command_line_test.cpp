#include "device/daemon/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/support/argument_vector.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using vantacored::CommandLine;

class ParseCommandLine : public testing::Test {
 protected:
  std::optional<program::Ending> Parse(std::vector<std::string> words) {
    words.insert(words.begin(), "vantacored");
    test_support::ArgumentVector argv(std::move(words));
    return vantacored::ParseCommandLine(argv.GetCount(), argv.GetPointers(), line);
  }
  void ExpectError(const std::vector<std::string>& words, const std::string& problem) {
    const auto ending = Parse(words);
    ASSERT_TRUE(ending);
    EXPECT_TRUE(ending->isError);
    EXPECT_EQ(ending->text, "vantacored: " + problem + "\nvantacored --help tells more.\n");
  }

  CommandLine line;
};

TEST_F(ParseCommandLine, HasDefaults) {
  EXPECT_FALSE(Parse({"--config", "there"}));
  EXPECT_EQ(line.configDirectory, "there");
  EXPECT_EQ(line.logLevel, 1);
  EXPECT_FALSE(line.isDaemon);
  EXPECT_FALSE(line.isPartial);
  EXPECT_FALSE(line.reloadsOnChange);
  EXPECT_EQ(line.checkDirectory, "");
  EXPECT_EQ(line.tickMicroseconds, std::nullopt);
  EXPECT_EQ(line.socketPath, "");
  EXPECT_EQ(line.viewSocketPath, "");
  EXPECT_EQ(line.socketAccess.GetMode(), 0600u);
  EXPECT_EQ(line.viewSocketAccess.GetMode(), 0600u);
  EXPECT_FALSE(line.hasLab);
  EXPECT_FALSE(line.flushesOnExit);
  EXPECT_EQ(line.metricsPath, "");
}

TEST_F(ParseCommandLine, TakesEveryOption) {
  EXPECT_FALSE(Parse({"--config=there", "--log", "10", "--daemon", "--tick-us=100", "--socket", "s",
                      "--metrics", "m", "--partial"}));
  EXPECT_TRUE(line.isPartial);
  EXPECT_EQ(line.socketPath, "s");
  EXPECT_EQ(line.metricsPath, "m");
  EXPECT_EQ(line.configDirectory, "there");
  EXPECT_EQ(line.logLevel, 10);
  EXPECT_TRUE(line.isDaemon);
  EXPECT_EQ(line.tickMicroseconds, 100u);
}

TEST_F(ParseCommandLine, TakesTheSmallestAndTheLargestNumbers) {
  EXPECT_FALSE(Parse({"--config=there", "--log", "0", "--tick-us", "10"}));
  EXPECT_EQ(line.logLevel, 0);
  EXPECT_EQ(line.tickMicroseconds, 10u);
  EXPECT_FALSE(Parse({"--config=there", "--tick-us", "1000000"}));
  EXPECT_EQ(line.tickMicroseconds, 1000000u);
}

TEST_F(ParseCommandLine, TakesTheLogsFormats) {
  using Kind = logging::LogFormat::Kind;
  EXPECT_FALSE(Parse({"--config=there"}));
  EXPECT_EQ(line.logFormat, std::nullopt);
  for (const auto& [word, kind] :
       {std::pair{"plain", Kind::PLAIN}, {"full", Kind::FULL}, {"journal", Kind::JOURNAL}}) {
    EXPECT_FALSE(Parse({"--config=there", "--log-format", word}));
    EXPECT_EQ(line.logFormat, kind);
  }
}

TEST_F(ParseCommandLine, TakesWhoMayOpenItsSockets) {
  EXPECT_FALSE(
      Parse({"--config=there", "--socket=s", "--socket-owner", "daemon", "--socket-group", "root",
             "--view-socket=v", "--view-group=daemon", "--lab", "--flush-on-exit"}));
  EXPECT_EQ(line.socketAccess.owner, 1u);
  EXPECT_EQ(line.socketAccess.group, 0u);
  EXPECT_EQ(line.socketAccess.GetMode(), 0660u) << "a group that is named is let in";
  EXPECT_EQ(line.viewSocketPath, "v");
  EXPECT_EQ(line.viewSocketAccess.owner, std::nullopt);
  EXPECT_EQ(line.viewSocketAccess.group, 1u);
  EXPECT_EQ(line.viewSocketAccess.GetMode(), 0660u);
  EXPECT_TRUE(line.hasLab);
  EXPECT_TRUE(line.flushesOnExit);
}

TEST_F(ParseCommandLine, TakesModesInOctalDigits) {
  const std::pair<const char*, mode_t> modes[] = {{"0", 0},       {"6", 06},     {"600", 0600},
                                                  {"0640", 0640}, {"777", 0777}, {"0777", 0777}};
  for (const auto& [text, mode] : modes) {
    line = {};
    EXPECT_FALSE(Parse({"--config=there", "--socket=s", "--socket-mode", text, "--socket-group",
                        "daemon", "--view-socket=v", "--view-mode", text}));
    EXPECT_EQ(line.socketAccess.GetMode(), mode);
    EXPECT_EQ(line.viewSocketAccess.GetMode(), mode);
  }
  for (const std::string text : {"", "8", "u=rw", "1000", "4755", "00600", "-1", " 600", "0x7"}) {
    line = {};
    ExpectError({"--config=there", "--socket=s", "--socket-mode", text},
                "--socket-mode takes an octal number from 0 to 0777, not \"" + text + "\"");
    ExpectError({"--config=there", "--view-socket=v", "--view-mode", text},
                "--view-mode takes an octal number from 0 to 0777, not \"" + text + "\"");
  }
}

TEST_F(ParseCommandLine, TakesACheckAlone) {
  EXPECT_FALSE(Parse({"--check", "there"}));
  EXPECT_EQ(line.checkDirectory, "there");
  EXPECT_EQ(line.configDirectory, "");
  EXPECT_FALSE(line.isStrict);
}

TEST_F(ParseCommandLine, TakesAStrictCheck) {
  EXPECT_FALSE(Parse({"--strict", "--check=there"}));
  EXPECT_EQ(line.checkDirectory, "there");
  EXPECT_TRUE(line.isStrict);
}

TEST_F(ParseCommandLine, TakesAComparison) {
  EXPECT_FALSE(Parse({"--diff", "other", "--config", "there"}));
  EXPECT_EQ(line.configDirectory, "there");
  EXPECT_EQ(line.diffDirectory, "other");
  line = {};
  EXPECT_FALSE(Parse({"--config", "there"}));
  EXPECT_EQ(line.diffDirectory, "");
}

TEST_F(ParseCommandLine, ExplainsItself) {
  const auto ending = Parse({"--help"});
  ASSERT_TRUE(ending);
  EXPECT_FALSE(ending->isError);
  EXPECT_THAT(ending->text, StartsWith("Usage: vantacored --config DIR [OPTION...]\n"));
  for (const char* option :
       {"--config DIR", "--log LEVEL", "--daemon", "--socket PATH", "--metrics PATH", "--tick-us N",
        "--partial", "--check DIR", "--strict", "--diff OTHER", "--socket-owner USER",
        "--socket-group GROUP", "--socket-mode MODE", "--view-socket PATH", "--view-group GROUP",
        "--view-mode MODE", "--lab", "--help", "--version"}) {
    EXPECT_THAT(ending->text, HasSubstr(option));
  }
}

TEST_F(ParseCommandLine, TellsItsVersion) {
  const auto ending = Parse({"--version"});
  ASSERT_TRUE(ending);
  EXPECT_FALSE(ending->isError);
  EXPECT_THAT(ending->text, StartsWith("vantacored 1."));
}

TEST_F(ParseCommandLine, SaysWhatIsWrong) {
  ExpectError({}, "--config DIR is missing");
  ExpectError({"--config"}, "a value is missing after \"--config\"");
  ExpectError({"--colour"}, "no such option: \"--colour\"");
  ExpectError({"-x"}, "no such option: \"-x\"");
  ExpectError({"-xyz"}, "no such option: \"-x\"");
  ExpectError({"--config", "a", "-xyz"}, "no such option: \"-x\"");
  ExpectError({"--daemon=yes"}, "no value belongs to \"--daemon=yes\"");
  ExpectError({"--config", "a", "--socket", ""}, "--socket takes a path");
  ExpectError({"--config", "a", "--socket="}, "--socket takes a path");
  ExpectError({"--config", "a", "--metrics="}, "--metrics takes a path");
  ExpectError({"--config", "a", "--view-socket="}, "--view-socket takes a path");
  for (const char* option :
       {"--socket-owner=daemon", "--socket-group=daemon", "--socket-mode=600"}) {
    line = {};
    ExpectError({"--config", "a", "--view-socket=v", option},
                "--socket-owner, --socket-group and --socket-mode go with --socket only");
  }
  for (const char* option : {"--view-group=daemon", "--view-mode=600"}) {
    line = {};
    ExpectError({"--config", "a", "--socket=s", option},
                "--view-group and --view-mode go with --view-socket only");
  }
  line = {};
  ExpectError({"--socket-owner", "nobody-by-this-name"},
              "--socket-owner takes a user's name, not \"nobody-by-this-name\"");
  ExpectError({"--socket-group", ""}, "--socket-group takes a group's name, not \"\"");
  ExpectError({"--view-group", "no-such-group"},
              "--view-group takes a group's name, not \"no-such-group\"");
  ExpectError({"--config", "a", "b"}, "not an option: \"b\"");
  ExpectError({"--check"}, "a value is missing after \"--check\"");
  ExpectError({"--check", ""}, "--check takes a folder");
  ExpectError({"--strict", "--config", "a"}, "--strict goes with --check only");
  ExpectError({"--strict"}, "--strict goes with --check only");
  for (const char* option :
       {"--config=a", "--log=1", "--daemon", "--socket=s", "--tick-us=10", "--partial", "--lab",
        "--reload-on-change", "--view-socket=v", "--socket-mode=600"}) {
    line = {};
    ExpectError({option, "--check", "a"}, "--check goes with --strict only");
    ExpectError({"--check", "a", "--strict", option}, "--check goes with --strict only");
  }
  ExpectError({"--diff"}, "a value is missing after \"--diff\"");
  ExpectError({"--config", "a", "--diff", ""}, "--diff takes a folder");
  line = {};
  ExpectError({"--diff", "b"}, "--config DIR is missing");
  for (const char* option :
       {"--check=a", "--strict", "--log=1", "--daemon", "--socket=s", "--tick-us=10", "--partial",
        "--lab", "--reload-on-change", "--view-mode=600"}) {
    line = {};
    ExpectError({option, "--config", "a", "--diff", "b"}, "--diff goes with --config only");
    ExpectError({"--config", "a", "--diff", "b", option}, "--diff goes with --config only");
  }
  ExpectError({"--log-format", "json"}, "--log-format takes plain, full or journal, not \"json\"");
  ExpectError({"--log-format", ""}, "--log-format takes plain, full or journal, not \"\"");
  ExpectError({"--log", "11"}, "--log takes a level from 0 to 10, not \"11\"");
  ExpectError({"--log", ""}, "--log takes a level from 0 to 10, not \"\"");
  ExpectError({"--log", "1x"}, "--log takes a level from 0 to 10, not \"1x\"");
  ExpectError({"--keep-old", "86401"}, "--keep-old takes a number from 0 to 86400, not \"86401\"");
  ExpectError({"--sweep-after", "86401"},
              "--sweep-after takes a number from 0 to 86400, not \"86401\"");
  line = {};
  ExpectError({"--kernel-clean", "--config", "a"}, "--kernel-clean stands alone");
  line = {};
  ExpectError({"--log=1", "--kernel-clean"}, "--kernel-clean stands alone");
  line = {};
  ExpectError({"--check", "a", "--flush-on-exit"}, "--check goes with --strict only");
  line = {};
  ExpectError({"--tick-us", "9"}, "--tick-us takes a number from 10 to 1000000, not \"9\"");
  ExpectError({"--tick-us", "1000001"},
              "--tick-us takes a number from 10 to 1000000, not \"1000001\"");
  ExpectError({"--tick-us", "99999999999999999999"},
              "--tick-us takes a number from 10 to 1000000, not \"99999999999999999999\"");
}

}  // namespace
