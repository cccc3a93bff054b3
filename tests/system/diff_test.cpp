// Comparisons of two folders by the command line, which needs no device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "daemon_process.h"
#include "example_network.h"
#include "tests/support/scratch_folder.h"

namespace {

using system_test::ExampleNetwork;
using system_test::Result;
using system_test::RunDaemon;
using testing::HasSubstr;

class Diff : public testing::Test {
 protected:
  static Result Run(const std::string& before, const std::string& after,
                    const std::string& streams = {}) {
    return RunDaemon({"--config", before, "--diff", after}, "",
                     streams.empty() ? VANTACORED_COMMAND
                                     : system_test::WithStreams(streams, VANTACORED_COMMAND));
  }
  // The example's warnings, as those of a folder.
  static std::string WarningsOf(const std::string& folder) {
    std::string warnings;
    std::string rest = ExampleNetwork::WARNINGS;
    while (!rest.empty()) {
      const std::size_t end = rest.find('\n') + 1;
      warnings += folder + "/" + rest.substr(0, end);
      rest.erase(0, end);
    }
    return warnings;
  }

  const ExampleNetwork one;
  const ExampleNetwork two;
  const std::string from = one.folder.Path();
  const std::string to = two.folder.Path();
};

TEST_F(Diff, FindsNothingInTheSameFolder) {
  const Result result = Run(from, to);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "no change\n");
  EXPECT_EQ(result.errors, WarningsOf(from) + WarningsOf(to));
}

TEST_F(Diff, TellsTheWayFromOneToTheOther) {
  const test_support::ScratchFolder small;
  small.Write("device.json", R"({"default_vlan": 1, "interfaces": []})");
  small.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": [\n {\"vid\": 7}]}");
  const test_support::ScratchFolder other;
  other.Write("device.json", R"({"default_vlan": 1, "interfaces": []})");
  other.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": [\n {\"vid\": 7},\n {\"vid\": 8}]}");
  const Result there = Run(small.Path(), other.Path());
  EXPECT_EQ(there.status, 1);
  EXPECT_EQ(there.output, "VLAN 8\n  + VLAN (vlans.json:3:2)\n1 VLAN added; 2 requests\n");
  EXPECT_EQ(there.errors, "");
  const Result back = Run(other.Path(), small.Path());
  EXPECT_EQ(back.status, 1);
  EXPECT_EQ(back.output, "VLAN 8\n  - VLAN\n1 VLAN removed; 2 requests\n");
}

TEST_F(Diff, TellsWhichFolderHasErrors) {
  two.Replace("vlans.json", "\"vid\": 20", "\"vid\": true");
  const std::string error =
      to +
      "/vlans.json:54:14: VLAN_CONFIGURATIONS.plant.vid: wrong kind of value, expected a whole "
      "number from 0 to 32767, found true\n";
  const Result there = Run(from, to);
  EXPECT_EQ(there.status, 2);
  EXPECT_EQ(there.output, "");
  EXPECT_EQ(there.errors, WarningsOf(from) + error + WarningsOf(to));
  const Result back = Run(to, from);
  EXPECT_EQ(back.status, 2);
  EXPECT_EQ(back.output, "");
  EXPECT_EQ(back.errors, error + WarningsOf(to) + WarningsOf(from));
}

TEST_F(Diff, CountsTheFindingsOfAFolderThatAreTooMany) {
  std::string entries;
  for (int i = 0; i < 150; ++i) entries += std::string(i == 0 ? "" : ",") + "{}";
  two.folder.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": [" + entries + "]}");
  EXPECT_THAT(Run(from, to).errors, HasSubstr("\n" + to + ": and "));
}

TEST_F(Diff, NeedsTwoFolders) {
  const std::string nowhere = one.folder.PathOf("nowhere");
  for (const Result& result : {Run(from, nowhere), Run(nowhere, from)}) {
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, nowhere + ": No such file or directory\n");
  }
}

// Nobody must take changes that were lost for none.
TEST_F(Diff, FailsWhenItsLinesAreLost) {
  const Result result = Run(from, to, ">/dev/full");
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.errors, HasSubstr("standard output: No space left on device\n"));
  EXPECT_EQ(Run(from, to, "2>/dev/full").status, 2);
}

}  // namespace
