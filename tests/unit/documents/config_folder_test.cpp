#include "device/documents/config_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/reported_lines.h"
#include "tests/support/scratch_folder.h"

namespace {

using Tarsel::DclConfigObject;
using test_support::ReportedLines;
using testing::ElementsAre;
using testing::IsEmpty;

class ConfigFolder : public testing::Test {
 protected:
  ConfigFolder() {
    files.Write("device.json", "{\"default_vlan\": 10}");
    files.Write("vlans.json", Vlan(10));
  }

  static std::string Vlan(int vid, const std::string& members = "") {
    return "{\"VLAN_CONFIGURATIONS\": {\"v\": {\"vid\": " + std::to_string(vid) +
           (members.empty() ? "" : ", ") + members + "}}}";
  }
  static std::string Route(const std::string& metric) {
    return R"("STATIC_ROUTES": {"r": {"network": "10.9.0.0", "netmask": "255.255.0.0",
              "gateway": "10.1.2.1", "metric": ")" +
           metric + "\"}}";
  }
  void Read() { folder = reader.Read(folder); }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& file : folder.files) {
      names.push_back(file->name);
    }
    return names;
  }

  test_support::ScratchFolder files;
  ReportedLines reported;
  documents::ConfigFolder reader{files.Path(), reported.report};
  documents::Folder folder;
};

TEST_F(ConfigFolder, ReadsTheVlanDocumentFirstAndRemotesByName) {
  files.Write("remote/b.json", Vlan(11));
  files.Write("remote/a.json", Vlan(12));
  files.Write("remote/notes.txt", "no document");
  files.Write("remote/.hidden.json", "no document");
  Read();
  EXPECT_THAT(reported.lines, IsEmpty());
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json", "remote/b.json"));
  EXPECT_EQ(folder.files[0]->type, DclConfigObject::VLAN_OPTIONS);
  EXPECT_EQ(folder.files[1]->type, DclConfigObject::REMOTE_OPTIONS);
  EXPECT_THAT(folder.files[1]->vlans, ElementsAre(12));
  EXPECT_EQ(folder.device.defaultVlan, 10);
}

TEST_F(ConfigFolder, NeedsNoRemotes) {
  Read();
  EXPECT_THAT(Names(), ElementsAre("vlans.json"));
}

TEST_F(ConfigFolder, ReportsMissingDocuments) {
  files.Remove("device.json");
  files.Remove("vlans.json");
  Read();
  EXPECT_THAT(reported.lines, ElementsAre("device.json: cannot be read: No such file or directory",
                                          "vlans.json: cannot be read: No such file or directory"));
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_EQ(folder.device.defaultVlan, 1);
}

TEST_F(ConfigFolder, KeepsWhatItReadFromAFileThatIsBrokenNow) {
  files.Write("remote/a.json", Vlan(10));
  Read();
  files.Write("device.json", "{");
  files.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": 5}");
  files.Write("remote/a.json", "x");
  Read();
  EXPECT_EQ(reported.lines.size(), 3u);
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json"));
  EXPECT_THAT(folder.files[0]->vlans, ElementsAre(10));
  EXPECT_EQ(folder.device.defaultVlan, 10);
}

TEST_F(ConfigFolder, DropsARemoteThatHasGone) {
  files.Write("remote/a.json", Vlan(10));
  Read();
  files.Remove("remote/a.json");
  Read();
  EXPECT_THAT(Names(), ElementsAre("vlans.json"));
  EXPECT_THAT(reported.lines, IsEmpty());
}

TEST_F(ConfigFolder, KeepsTheRemotesWhenTheyCannotBeListed) {
  files.Write("remote/a.json", Vlan(10));
  Read();
  files.Remove("remote");
  files.Write("remote", "a file");
  Read();
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json"));
  EXPECT_THAT(reported.lines, ElementsAre("remote: cannot be listed: Not a directory",
                                          "remote/a.json: cannot be read: Not a directory"));
}

TEST_F(ConfigFolder, KeepsEverythingWhileTheFolderIsAway) {
  test_support::ScratchFolder elsewhere;
  files.Write("remote/a.json", Vlan(10));
  Read();
  std::filesystem::rename(files.Path(), elsewhere.PathOf("it"));
  Read();
  std::filesystem::rename(elsewhere.PathOf("it"), files.Path());
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json"));
  EXPECT_THAT(reported.lines,
              ElementsAre("device.json: cannot be read: No such file or directory",
                          "vlans.json: cannot be read: No such file or directory",
                          "remote: cannot be listed: No such file or directory",
                          "remote/a.json: cannot be read: No such file or directory"));
}

TEST_F(ConfigFolder, TakesNoNameThatCannotBePrinted) {
  files.Write("remote/a\nb\x1b.json", Vlan(10));
  files.Write("remote/\xFF.json", Vlan(10));
  files.Write("remote/\xC3\xA4.json", Vlan(10));
  Read();
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/\xC3\xA4.json"));
  EXPECT_THAT(reported.lines,
              testing::UnorderedElementsAre("remote/a\\x0ab\\x1b.json: is not printable as a name",
                                            "remote/\\xff.json: is not printable as a name"));
}

}  // namespace
