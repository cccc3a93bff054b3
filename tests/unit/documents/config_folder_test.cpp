#include "device/documents/config_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/scratch_folder.h"
#include "tests/unit/documents/clock.h"

namespace {

using documents_tests::Clock;
using documents_tests::SECOND;
using Tarsel::DclConfigObject;
using testing::ElementsAre;
using testing::IsEmpty;

class ConfigFolder : public testing::Test {
 protected:
  explicit ConfigFolder(bool isPartial = false)
      : reader(files.Path(), {documents::DeclaredProtocols(), isPartial}) {
    files.Write("device.json", "{\"default_vlan\": 10}");
    files.Write("vlans.json", Vlan(10));
  }

  static std::string Vlan(int vid, const std::string& members = "") {
    return "{\"VLAN_CONFIGURATIONS\": {\"v\": {\"vid\": " + std::to_string(vid) +
           (members.empty() ? "" : ", ") + members + "}}}";
  }
  void ReadFirst() { Keep(reader.ReadFirst()); }
  void Read() { Keep(reader.ReadAgain(folder)); }
  void Keep(documents::Reading&& reading) {
    folder = std::move(reading.folder);
    lines = reading.findings.Lines();
    isUnchanged = reading.isUnchanged;
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& file : folder.files) {
      names.push_back(file->name);
    }
    return names;
  }

  test_support::ScratchFolder files;
  documents::ConfigFolder reader;
  documents::Folder folder;
  std::vector<std::string> lines;
  bool isUnchanged = false;
};

class PartialFolder : public ConfigFolder {
 protected:
  PartialFolder() : ConfigFolder(true) {}
};

TEST_F(ConfigFolder, ReadsTheVlanDocumentFirstAndRemotesByName) {
  files.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": [{"vid": 11}, {"vid": 12}]})");
  files.Write("remote/b.json", Vlan(11));
  files.Write("remote/a.json", Vlan(12));
  files.Write("remote/notes.txt", "no document");
  files.Write("remote/.hidden.json", "no document");
  files.Write("remote/.json", "no document");
  files.Write("remote/json", "no document");
  ReadFirst();
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json", "remote/b.json"));
  EXPECT_EQ(folder.files[0]->type, DclConfigObject::VLAN_OPTIONS);
  EXPECT_EQ(folder.files[1]->type, DclConfigObject::REMOTE_OPTIONS);
  EXPECT_THAT(folder.files[1]->vlans, ElementsAre(12));
  EXPECT_EQ(folder.GetDevice().defaultVlan, 10);
  EXPECT_FALSE(isUnchanged);
}

// What is missed because of it would only hide the mistake.
TEST_F(ConfigFolder, MissesNothingOfAFileThatCannotBeRead) {
  const std::string members =
      R"("RIPV2": {"IF_LIST": [{"Name": "RIP_10_3"}]}, "STATIC_ROUTES": [{"network": "10.9.0.0",
      "netmask": "255.255.0.0", "gateway": "10.1.2.1", "interface": "eth0"}])";
  files.Write("vlans.json", Vlan(10, members));
  files.Write("remote/a.json", Vlan(10));
  ReadFirst();
  EXPECT_EQ(lines.size(), 2u) << "a row and a route without their interface";
  files.Write("device.json", "{");
  ReadFirst();
  EXPECT_THAT(lines, ElementsAre(testing::StartsWith("device.json:1:2: ")));
  files.Write("device.json", "{\"default_vlan\": 10}");
  files.Write("vlans.json", "{");
  ReadFirst();
  EXPECT_THAT(lines, ElementsAre(testing::StartsWith("vlans.json:1:2: ")));
  files.Remove("vlans.json");
  ReadFirst();
  EXPECT_THAT(lines, ElementsAre(testing::StartsWith("vlans.json: warning: missing"),
                                 testing::StartsWith("remote/a.json:1:31: warning: ")));
}

TEST_F(ConfigFolder, NeedsNoRemotes) {
  ReadFirst();
  EXPECT_THAT(Names(), ElementsAre("vlans.json"));
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ConfigFolder, WarnsOfMissingDocumentsAtTheStart) {
  files.Remove("device.json");
  files.Remove("vlans.json");
  ReadFirst();
  EXPECT_THAT(lines,
              ElementsAre("device.json: warning: missing (counts as {\"default_vlan\": 1}), "
                          "expected a file, found nothing",
                          "vlans.json: warning: missing (counts as no VLANs), expected a file, "
                          "found nothing"));
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_EQ(folder.GetDevice().defaultVlan, 1);
  EXPECT_THAT(folder.GetDevice().interfaces, IsEmpty());
}

TEST_F(ConfigFolder, RefusesAFileInForceThatIsMissing) {
  ReadFirst();
  files.Remove("device.json");
  files.Remove("vlans.json");
  Read();
  const std::string problem = ": missing, expected the file that is in force, found nothing";
  EXPECT_THAT(lines, ElementsAre("device.json" + problem, "vlans.json" + problem));
}

TEST_F(ConfigFolder, WarnsOfDocumentsThatAreStillMissing) {
  files.Remove("device.json");
  files.Remove("vlans.json");
  ReadFirst();
  Read();
  EXPECT_EQ(lines.size(), 2u);
  EXPECT_THAT(lines, testing::Each(testing::HasSubstr(": warning: missing (")));
  EXPECT_TRUE(isUnchanged);
}

TEST_F(ConfigFolder, TellsTheFindingsOfAllFiles) {
  files.Write("device.json", "{");
  files.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": 5}");
  files.Write("remote/a.json", "x");
  ReadFirst();
  EXPECT_THAT(lines,
              ElementsAre(testing::StartsWith("device.json:1:2: not JSON: "),
                          "vlans.json:1:25: VLAN_CONFIGURATIONS: wrong kind of value, expected an "
                          "object or an array of objects, found 5",
                          testing::StartsWith("remote/a.json:1:1: not JSON: ")));
}

TEST_F(PartialFolder, KeepsWhatItReadFromAFileThatIsBrokenNow) {
  files.Write("remote/a.json", Vlan(10));
  ReadFirst();
  files.Write("device.json", "{");
  files.Write("vlans.json", "{\"VLAN_CONFIGURATIONS\": 5}");
  files.Write("remote/a.json", "x");
  Read();
  EXPECT_EQ(lines.size(), 3u);
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json"));
  EXPECT_THAT(folder.files[0]->vlans, ElementsAre(10));
  EXPECT_EQ(folder.GetDevice().defaultVlan, 10);
}

// Neither by its stamp nor by its text a broken file is the one that is in force.
TEST_F(PartialFolder, TellsAgainOfAFileThatIsStillBroken) {
  ReadFirst();
  files.Write("vlans.json", "x");
  Read();
  const std::vector<std::string> first = lines;
  Read();
  EXPECT_EQ(lines, first);
  Clock::ahead = 10 * SECOND;
  Read();
  EXPECT_EQ(lines, first);
  EXPECT_THAT(Names(), ElementsAre("vlans.json"));
  files.Write("vlans.json", Vlan(11));
  Read();
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_THAT(folder.files[0]->vlans, ElementsAre(11));
}

TEST_F(PartialFolder, KeepsAFileThatIsMissing) {
  ReadFirst();
  files.Remove("device.json");
  files.Remove("vlans.json");
  Read();
  EXPECT_EQ(lines.size(), 2u);
  EXPECT_THAT(Names(), ElementsAre("vlans.json"));
  EXPECT_EQ(folder.GetDevice().defaultVlan, 10);
  EXPECT_TRUE(isUnchanged);
}

TEST_F(ConfigFolder, DropsARemoteThatHasGone) {
  files.Write("remote/a.json", Vlan(10));
  ReadFirst();
  files.Remove("remote/a.json");
  Read();
  EXPECT_THAT(Names(), ElementsAre("vlans.json"));
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_FALSE(isUnchanged);
}

TEST_F(ConfigFolder, DropsTheRemotesWithTheirFolder) {
  files.Write("remote/a.json", Vlan(10));
  ReadFirst();
  std::filesystem::remove_all(files.PathOf("remote"));
  Read();
  EXPECT_THAT(Names(), ElementsAre("vlans.json"));
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(PartialFolder, KeepsTheRemotesWhenTheyCannotBeListed) {
  files.Write("remote/a.json", Vlan(10));
  ReadFirst();
  std::filesystem::remove_all(files.PathOf("remote"));
  files.Write("remote", "a file");
  Read();
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json"));
  EXPECT_THAT(
      lines, ElementsAre("remote: cannot be listed, expected a folder, found \"Not a directory\""));
}

TEST_F(ConfigFolder, RefusesALinkToNoFolder) {
  std::filesystem::create_symlink("nowhere", files.PathOf("remote"));
  ReadFirst();
  EXPECT_THAT(lines,
              ElementsAre("remote: cannot be listed, expected a folder, found \"No such file or "
                          "directory\""));
}

TEST_F(PartialFolder, KeepsEverythingWhileTheFolderIsAway) {
  test_support::ScratchFolder elsewhere;
  files.Write("remote/a.json", Vlan(10));
  ReadFirst();
  std::filesystem::rename(files.Path(), elsewhere.PathOf("it"));
  Read();
  std::filesystem::rename(elsewhere.PathOf("it"), files.Path());
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json"));
  EXPECT_EQ(folder.GetDevice().defaultVlan, 10);
  EXPECT_THAT(lines,
              ElementsAre("device.json: missing, expected the file that is in force, found nothing",
                          "vlans.json: missing, expected the file that is in force, found nothing",
                          "remote: cannot be listed, expected a folder, found \"No such file or "
                          "directory\""));
}

TEST_F(ConfigFolder, TakesNoNameThatCannotBePrinted) {
  files.Write("remote/a\nb\x1b.json", Vlan(10));
  files.Write("remote/\xFF.json", Vlan(10));
  files.Write("remote/\xC3\xA4.json", Vlan(10));
  ReadFirst();
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/\xC3\xA4.json"));
  const std::string problem =
      ": a name that cannot be printed, expected printable UTF-8, found escapes";
  EXPECT_THAT(lines,
              ElementsAre("remote/\\xff.json" + problem, "remote/a\\x0ab\\x1b.json" + problem));
}

// What one document tells and what all tell together stand side by side.
TEST_F(ConfigFolder, TellsInTheOrderOfFilesAndPlaces) {
  files.Write("vlans.json", Vlan(10, R"("RIPV2": {"IF_LIST": [{"Name": "RIP_10_4"}]},
"RTM": {"ADMIN_DISTANCE": {}})"));
  files.Write("remote/a.json", Vlan(11));
  ReadFirst();
  EXPECT_THAT(
      lines,
      ElementsAre(testing::HasSubstr("vlans.json:1:74: warning: VLAN_CONFIGURATIONS.v.RIPV2"),
                  testing::HasSubstr("vlans.json:2:27: warning: VLAN_CONFIGURATIONS.v.RTM"),
                  testing::HasSubstr("remote/a.json:1:31: warning: VLAN_CONFIGURATIONS.v: ")));
}

// ---- files that have not changed

TEST_F(ConfigFolder, TakesAFileThatHasNotChanged) {
  files.Write("remote/a.json", Vlan(10));
  files.Write("vlans.json", Vlan(10, R"("RTM": {"ADMIN_DISTANCE": {}})"));
  ReadFirst();
  const documents::Folder before = folder;
  const std::vector<std::string> findings = lines;
  EXPECT_EQ(findings.size(), 1u);
  Read();
  EXPECT_TRUE(isUnchanged);
  EXPECT_EQ(folder.files, before.files);
  EXPECT_EQ(folder.deviceFile, before.deviceFile);
  EXPECT_EQ(lines, findings);
}

TEST_F(ConfigFolder, TakesEachOfManyRemotesThatHasNotChanged) {
  for (const bool hasVlans : {true, false}) {
    if (!hasVlans) {
      std::filesystem::remove(files.Path() + "/vlans.json");
    }
    for (int i = 1; i < 20; ++i) {
      files.Write("remote/" + std::to_string(i) + ".json", Vlan(i));
    }
    ReadFirst();
    const documents::ConfigFiles before = folder.files;
    files.Write("remote/5.json", Vlan(500));
    files.Write("remote/55.json", Vlan(55));
    std::filesystem::remove(files.Path() + "/remote/7.json");
    Read();
    unsigned taken = 0;
    for (const auto& file : folder.files) {
      taken += std::count(before.begin(), before.end(), file) != 0 ? 1 : 0;
    }
    EXPECT_EQ(folder.files.size(), before.size());
    EXPECT_EQ(taken, before.size() - 2) << "all except 5 and 7";
    std::filesystem::remove(files.Path() + "/remote/55.json");
  }
}

TEST_F(ConfigFolder, TakesAFileThatWasWrittenAgainWithTheSameText) {
  ReadFirst();
  const documents::Folder before = folder;
  files.Write("copy.json", Vlan(10));
  std::filesystem::rename(files.PathOf("copy.json"), files.PathOf("vlans.json"));
  Read();
  EXPECT_TRUE(isUnchanged);
  EXPECT_EQ(folder.files[0], before.files[0]);
  EXPECT_NE(folder.stamps.at("vlans.json").inode, before.stamps.at("vlans.json").inode);
}

TEST_F(ConfigFolder, ReadsWhatHasChanged) {
  files.Write("remote/a.json", Vlan(10));
  ReadFirst();
  const documents::Folder before = folder;
  Clock::ahead = 10 * SECOND;
  Read();  // all are settled
  EXPECT_TRUE(isUnchanged);
  files.Write("remote/a.json", Vlan(10, R"("RTM": {})"));
  Read();
  EXPECT_FALSE(isUnchanged);
  EXPECT_EQ(folder.files[0], before.files[0]);
  EXPECT_NE(folder.files[1], before.files[1]);
  EXPECT_THAT(lines,
              ElementsAre(testing::HasSubstr("remote/a.json:1:43: VLAN_CONFIGURATIONS.v.RTM: a "
                                             "member that does not belong here")));
  files.Write("device.json", "{\"default_vlan\": 11}");
  files.Write("remote/a.json", Vlan(10));
  Read();
  EXPECT_FALSE(isUnchanged);
  EXPECT_EQ(folder.GetDevice().defaultVlan, 11);
}

// What the texts of the folder are is not asked again: a stamp that lies shows that.
TEST_F(ConfigFolder, DoesNotReadASettledFile) {
  Clock::ahead = 10 * SECOND;
  ReadFirst();
  EXPECT_TRUE(folder.stamps.at("vlans.json").isSettled);
  const documents::Folder before = folder;
  folder.stamps.at("vlans.json").digest = {};
  Read();
  EXPECT_EQ(folder.files[0], before.files[0]);
  EXPECT_TRUE(isUnchanged);
}

TEST_F(ConfigFolder, ReadsAFileThatIsNotSettled) {
  ReadFirst();
  EXPECT_FALSE(folder.stamps.at("vlans.json").isSettled);
  const documents::Folder before = folder;
  folder.stamps.at("vlans.json").digest = {};
  Read();
  EXPECT_NE(folder.files[0], before.files[0]);
  EXPECT_FALSE(isUnchanged);
}

// ---- a folder that changes while it is read

// A look at a file asks for the time of day once, and reading it once more.
TEST_F(ConfigFolder, ReadsAFileOnceToTellWhetherItDiffers) {
  ReadFirst();
  ASSERT_FALSE(folder.stamps.at("vlans.json").isSettled);
  int asked = 0;
  Clock::onAsked = [&] { ++asked; };
  const auto asksFor = [&](bool differs, int count) {
    asked = 0;
    EXPECT_EQ(reader.DiffersFrom(folder), differs);
    EXPECT_EQ(asked, count);
  };
  asksFor(false, 4);
  asksFor(false, 4);  // they were read too soon after their last change
  Clock::ahead = 10 * SECOND;
  asksFor(false, 4);
  asksFor(false, 2);
  files.Write("vlans.json", Vlan(11));  // as long as before
  Clock::ahead = 20 * SECOND;
  asksFor(true, 3);
  asksFor(true, 2);
  files.Write("vlans.json", Vlan(10));
  asksFor(false, 3);
  Clock::onAsked = nullptr;
}

TEST_F(ConfigFolder, DoesNotRememberAFileThatCannotBeRead) {
  ReadFirst();
  Clock::ahead = 10 * SECOND;
  std::filesystem::rename(files.PathOf("vlans.json"), files.PathOf("text"));
  std::filesystem::create_directory(files.PathOf("vlans.json"));
  EXPECT_TRUE(reader.DiffersFrom(folder));
  EXPECT_TRUE(reader.DiffersFrom(folder));
  std::filesystem::remove(files.PathOf("vlans.json"));
  std::filesystem::rename(files.PathOf("text"), files.PathOf("vlans.json"));
  EXPECT_FALSE(reader.DiffersFrom(folder));
}

TEST_F(ConfigFolder, IsReadAgainIfAFileChangesMeanwhile) {
  int asked = 0;
  Clock::onAsked = [&] {
    if (++asked == 5) {  // device.json and vlans.json have been looked at and read
      files.Write("vlans.json", Vlan(11));
    }
  };
  ReadFirst();
  Clock::onAsked = nullptr;
  EXPECT_GT(asked, 6);
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_THAT(folder.files[0]->vlans, ElementsAre(11));
}

TEST_F(ConfigFolder, IsReadAgainIfARemoteComesMeanwhile) {
  int asked = 0;
  Clock::onAsked = [&] {
    if (++asked == 5) {
      files.Write("remote/a.json", Vlan(10));
    }
  };
  ReadFirst();
  Clock::onAsked = nullptr;
  EXPECT_THAT(Names(), ElementsAre("vlans.json", "remote/a.json"));
}

TEST_F(ConfigFolder, IsReadAgainIfAMissingFileComesMeanwhile) {
  files.Remove("vlans.json");
  int asked = 0;
  Clock::onAsked = [&] {
    if (++asked == 3) {  // vlans.json has not been there
      files.Write("vlans.json", Vlan(11));
    }
  };
  ReadFirst();
  Clock::onAsked = nullptr;
  EXPECT_THAT(Names(), ElementsAre("vlans.json"));
  EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ConfigFolder, IsRefusedIfItChangesAllTheTime) {
  int asked = 0;
  Clock::onAsked = [&] { files.Write("vlans.json", Vlan(++asked)); };
  ReadFirst();
  Clock::onAsked = nullptr;
  // Each reading looks at both files and reads them, and looks at both again.
  EXPECT_EQ(asked, 5 * (4 + 2));
  EXPECT_THAT(lines,
              testing::Contains(".: changes while it is read, expected a folder that stays as it "
                                "is, found a change in each of 5 readings"));
}

// It may have been read in halves.
TEST_F(PartialFolder, StaysWhatIsInForceIfItChangesAllTheTime) {
  ReadFirst();
  const documents::Folder inForce = folder;
  int asked = 0;
  Clock::onAsked = [&] { files.Write("vlans.json", Vlan(100 + ++asked)); };
  Read();
  EXPECT_THAT(lines, testing::Contains(testing::StartsWith(".: changes while it is read")));
  EXPECT_TRUE(isUnchanged);
  EXPECT_EQ(folder.files, inForce.files);
  ReadFirst();
  Clock::onAsked = nullptr;
  EXPECT_THAT(folder.files, IsEmpty());
}

// ---- limits

TEST_F(ConfigFolder, TakesNoMoreRemotesThanFiles) {
  for (std::size_t i = 0; i < documents::MAX_FOLDER_FILES - 2; ++i) {
    files.Write("remote/" + std::to_string(100000 + i) + ".json", R"({"VLAN_CONFIGURATIONS": {}})");
  }
  ReadFirst();
  EXPECT_EQ(folder.files.size(), documents::MAX_FOLDER_FILES - 1);
  EXPECT_THAT(lines, IsEmpty());
  files.Write("remote/200000.json", R"({"VLAN_CONFIGURATIONS": {}})");
  Read();
  EXPECT_EQ(folder.files.size(), documents::MAX_FOLDER_FILES - 1);
  EXPECT_THAT(lines, ElementsAre("remote: too many documents, expected at most 4094, found 4095"));
}

TEST_F(ConfigFolder, TakesNoMoreBytesThanItsLimit) {
  const std::size_t size = documents::MAX_FILE_BYTES;
  const std::size_t small = 20 + Vlan(10).size();  // device.json and vlans.json
  for (int i = 10; i < 26; ++i) {
    const std::string name = "remote/" + std::to_string(i) + ".json";
    files.Write(name, R"({"VLAN_CONFIGURATIONS": {}})" + std::string(1, ' '));
    std::filesystem::resize_file(files.PathOf(name), i == 25 ? size - small : size);
  }
  ReadFirst();
  EXPECT_EQ(lines.size(), 16u);
  // Only the last would be too much: each is refused for the NULs after its document.
  EXPECT_THAT(lines, testing::Each(testing::HasSubstr("more after the document")));
  files.Write("remote/26.json", "");
  files.Write("remote/27.json", " ");
  Read();
  EXPECT_EQ(lines.size(), 18u);
  EXPECT_THAT(lines,
              testing::Contains("remote/27.json: too much for one folder, expected at most 512 "
                                "MiB in all files, found more"));
  EXPECT_THAT(lines,
              testing::Contains(testing::StartsWith("remote/26.json:1:1: not JSON: an empty")));
}

}  // namespace
