// Checks of a folder: by the command line, which needs no device, and by the console.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "example_network.h"

namespace {

using system_test::DaemonProcess;
using system_test::ExampleNetwork;
using system_test::Result;
using system_test::RunDaemon;
using testing::HasSubstr;

class Check : public testing::Test {
 protected:
  Result Run(const system_test::Arguments& more = {}, const std::string& streams = {}) const {
    system_test::Arguments arguments = {"--check", network.folder.Path()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunDaemon(arguments, "",
                     streams.empty() ? VANTACORED_COMMAND
                                     : system_test::WithStreams(streams, VANTACORED_COMMAND));
  }
  static void ExpectResult(const Result& result, int status, const std::string& errors) {
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, errors);
  }
  // A folder without a warning.
  void Clean() const {
    network.Replace("vlans.json", "10.99.1.1", "10.1.1.1");
    network.Replace("vlans.json", "2001:db8:ffff::1", "2001:db8:10::1");
  }
  void Spoil() const { network.Replace("vlans.json", "\"vid\": 20", "\"vid\": true"); }

  const std::string ERROR =
      "vlans.json:54:14: VLAN_CONFIGURATIONS.plant.vid: wrong kind of value, expected a whole "
      "number from 0 to 32767, found true\n";
  const ExampleNetwork network;
};

TEST_F(Check, IsQuietAboutAGoodFolder) {
  Clean();
  ExpectResult(Run(), 0, "");
  ExpectResult(Run({"--strict"}), 0, "");
}

TEST_F(Check, TellsWarnings) {
  ExpectResult(Run(), 0, ExampleNetwork::WARNINGS);
  ExpectResult(Run({"--strict"}), 1, ExampleNetwork::WARNINGS);
}

TEST_F(Check, TellsErrorsBeforeWarnings) {
  Spoil();
  ExpectResult(Run(), 1, ERROR + ExampleNetwork::WARNINGS);
  ExpectResult(Run({"--strict"}), 1, ERROR + ExampleNetwork::WARNINGS);
}

TEST_F(Check, TellsWhatIsWrongWithVrfDevices) {
  Clean();
  network.folder.Write("device.json", R"({"default_vlan": 10,
    "kernel": {"routes": true, "vrfs": {"blue": 20, "red": 20, "green": 32768}}})");
  const Result result = Run();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors,
              HasSubstr("device.json:2:60: kernel.vrfs.red: a VLAN that stands twice, expected one "
                        "VRF device for VLAN 20, found another, \"red\"\n"));
  EXPECT_THAT(result.errors, HasSubstr("device.json:2:73: kernel.vrfs.green: out of range, "
                                       "expected a whole number from 0 to 32767, found 32768\n"));
  network.folder.Write("device.json", R"({"default_vlan": 10, "kernel": {"vrfs": {"blue": 20}}})");
  EXPECT_THAT(Run().errors, HasSubstr("warning: kernel.vrfs: VRF devices of no use"));
}

TEST_F(Check, NeedsAFolder) {
  const std::string nowhere = network.folder.PathOf("nowhere");
  ExpectResult(RunDaemon({"--check", nowhere}, ""), 1, nowhere + ": No such file or directory\n");
  ExpectResult(RunDaemon({"--check", "/bin/sh"}, ""), 1, "/bin/sh: Not a directory\n");
}

TEST_F(Check, TakesNoOptionOfADevice) {
  ExpectResult(Run({"--partial"}), 2,
               "vantacored: --check goes with --strict only\nvantacored --help tells more.\n");
}

// Nobody must take a warning that was lost for none.
TEST_F(Check, FailsWhenItsFindingsAreLost) {
  EXPECT_EQ(Run({}, "2>/dev/full").status, 1);
  ExpectResult(Run({}, ">&-"), 0, ExampleNetwork::WARNINGS);
  Clean();
  EXPECT_EQ(Run({}, "2>/dev/full").status, 0) << "there was nothing to say";
}

TEST_F(Check, ShowsAHundredFindingsAndCountsTheRest) {
  std::string rows;
  for (int i = 0; i < 150; ++i) {
    rows += std::string(i > 0 ? "," : "") + "\n{\"vid\": 40000}";
  }
  network.folder.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": [" + rows + "]}");
  const Result result = Run();
  EXPECT_EQ(result.status, 1);
  std::string expected;
  for (int i = 0; i < 100; ++i) {
    expected += "vlans.json:" + std::to_string(i + 2) + ":9: VLAN_CONFIGURATIONS[" +
                std::to_string(i) +
                "].vid: out of range, expected a whole number from 0 to 32767, found 40000\n";
  }
  EXPECT_EQ(result.errors, expected + "and 50 more errors, 1 more warnings\n");
}

TEST_F(Check, ChangesNothingInADevice) {
  DaemonProcess daemon({"--config", network.folder.Path(), "--tick-us", "100"},
                       DaemonProcess::PIPES);
  const std::string before = system_test::Tables(daemon);
  network.Replace("vlans.json", "10.40.0.0", "10.48.0.0");
  daemon.Send("check\n");
  daemon.ReadUntil(std::string(ExampleNetwork::WARNINGS) + "The folder has no errors\n");
  EXPECT_EQ(system_test::Tables(daemon), before);
  EXPECT_THAT(system_test::Tables(daemon, "reload\n"), HasSubstr("10.48.0.0/13"));
  daemon.CloseInput();
  EXPECT_EQ(daemon.Wait(), 1) << "tables of VLANs that are not there";
  EXPECT_EQ(daemon.Errors(), std::string(ExampleNetwork::WARNINGS) + ExampleNetwork::WARNINGS);
}

// Like everything that is refused.
TEST_F(Check, MakesTheStatusOfABatch) {
  const auto batch = [&](const std::string& lines) {
    return RunDaemon({"--config", network.folder.Path(), "--tick-us", "100"}, lines).status;
  };
  EXPECT_EQ(batch("check\nvrf 10\n"), 0);
  EXPECT_EQ(batch("check\nvrf 99\n"), 1);
  EXPECT_EQ(batch("check strict\nhelp\n"), 1);
  EXPECT_EQ(batch("check strict\nquit\n"), 1);
  EXPECT_EQ(batch("check strict\nfoo\n"), 2);
  EXPECT_EQ(batch("foo\ncheck strict\n"), 2);
}

}  // namespace
