// Files of the configuration folder that are missing, come and go.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "example_network.h"

namespace {

using system_test::DaemonProcess;
using system_test::ExampleNetwork;
using system_test::RunDaemon;
using system_test::Tables;
using testing::HasSubstr;
using testing::Not;

const std::string NO_DEVICE =
    "device.json: warning: missing (counts as {\"default_vlan\": 1}), expected a file, found "
    "nothing\n";
const std::string NO_VLANS =
    "vlans.json: warning: missing (counts as no VLANs), expected a file, found nothing\n";
// Of the remote document alone.
const std::string NO_VLAN_30 =
    "remote/headquarters.json:3:15: warning: VLAN_CONFIGURATIONS.branch: an entry for a VLAN that "
    "the VLAN document does not name, expected one of its VLANs, found 30\n";
// A route that only the remote document has.
const char* const REMOTE_ROUTE = "2001:db8:3000::/36";

class MissingFiles : public testing::Test {
 protected:
  void Start(const system_test::Arguments& more = {}) {
    system_test::Arguments arguments = {"--config", network.folder.Path(), "--tick-us", "100"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    daemon.emplace(arguments, DaemonProcess::PIPES);
  }
  void ExpectEnd(int status, const std::string& errors) {
    daemon->CloseInput();
    EXPECT_EQ(daemon->Wait(), status);
    EXPECT_EQ(daemon->Errors(), errors);
  }
  std::string Show() { return Tables(*daemon); }
  std::string ReloadAndShow() { return Tables(*daemon, "reload\n"); }
  // What a device prints that starts with the folder as it is.
  std::string ShowFresh() const {
    return system_test::WithoutAges(
        RunDaemon({"--config", network.folder.Path(), "--tick-us", "100"}, system_test::ShowAll())
            .output);
  }
  static std::string Missing(const char* file) {
    return std::string(file) + ": missing, expected the file that is in force, found nothing\n";
  }

  const ExampleNetwork network;
  std::optional<DaemonProcess> daemon;
};

TEST_F(MissingFiles, AreAnErrorIfTheyWereInForce) {
  for (const char* file : {"device.json", "vlans.json"}) {
    Start();
    const std::string before = Show();
    network.folder.Remove(file);
    EXPECT_EQ(ReloadAndShow(), before) << file;
    daemon->Send("check\n");
    daemon->ReadUntil(Missing(file));
    network.Restore();
    EXPECT_EQ(ReloadAndShow(), before) << file;
    daemon->CloseInput();
    EXPECT_EQ(daemon->Wait(), 1);
    EXPECT_THAT(daemon->Errors(), HasSubstr(ExampleNetwork::WARNINGS + Missing(file)));
  }
}

TEST_F(MissingFiles, StayInForceInAPartialDevice) {
  Start({"--partial"});
  const std::string before = Show();
  network.folder.Remove("device.json");
  network.folder.Remove("vlans.json");
  EXPECT_EQ(ReloadAndShow(), before);
  ExpectEnd(1, ExampleNetwork::WARNINGS + Missing("device.json") + Missing("vlans.json") +
                   ExampleNetwork::WARNINGS);
}

TEST_F(MissingFiles, AreWithdrawnIfTheyAreRemote) {
  Start();
  EXPECT_THAT(Show(), HasSubstr(REMOTE_ROUTE));
  network.folder.Remove("remote/headquarters.json");
  const std::string without = ReloadAndShow();
  EXPECT_THAT(without, Not(HasSubstr(REMOTE_ROUTE)));
  network.folder.Remove("remote");
  EXPECT_EQ(ReloadAndShow(), without);
  network.Restore();
  EXPECT_THAT(ReloadAndShow(), HasSubstr(REMOTE_ROUTE));
  const std::string warnings = ExampleNetwork::WARNINGS;
  ExpectEnd(1, warnings + warnings + warnings + warnings);  // tables of VLANs that were not there
}

TEST_F(MissingFiles, AreWarnedOfAtStart) {
  network.folder.Remove("vlans.json");
  Start();
  EXPECT_THAT(Show(), HasSubstr("VLAN 10 is not present\n"));
  ExpectEnd(1, NO_VLANS + NO_VLAN_30);

  network.Restore();
  network.folder.Remove("device.json");
  Start();
  daemon->Send("rtm rib\n");  // of the default VLAN
  daemon->ReadUntil("VLAN 1 is not present\n");
  EXPECT_THAT(Show(), HasSubstr("    10    Yes     No    Yes    Yes\n"));
  daemon->CloseInput();
  EXPECT_EQ(daemon->Wait(), 1);
  EXPECT_EQ(daemon->Errors().substr(0, NO_DEVICE.size()), NO_DEVICE);
}

// Files that come later take effect as if they had been there.
TEST_F(MissingFiles, MakeAnEmptyDeviceIfAllAre) {
  const std::string whole = ShowFresh();
  for (const char* file : {"device.json", "vlans.json", "remote"}) {
    network.folder.Remove(file);
  }
  Start();
  EXPECT_THAT(Show(), HasSubstr("VLAN 10 is not present\n"));
  daemon->Send("check\n");
  daemon->ReadUntil(NO_DEVICE + NO_VLANS + "The folder has no errors\n");
  network.Restore();
  EXPECT_EQ(ReloadAndShow().substr(0, whole.size()), whole);
  ExpectEnd(1, NO_DEVICE + NO_VLANS + ExampleNetwork::WARNINGS);
}

}  // namespace
