#include <gtest/gtest.h>

#include <filesystem>

#include "device/documents/config_folder.h"
#include "tests/support/scratch_folder.h"

namespace {

const char VLANS[] = R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})";
const char OTHER[] = R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 11}}})";

class FolderDigest : public testing::Test {
 protected:
  FolderDigest() {
    files.Write("device.json", R"({"default_vlan": 10})");
    files.Write("vlans.json", VLANS);
    files.Write("remote/a.json", VLANS);
    first = Read();
  }
  documents::Digest Read() const {
    const documents::ConfigFolder folder(files.Path(), {documents::DeclaredProtocols(), false});
    return documents::DigestOf(folder.ReadFirst().folder);
  }

  test_support::ScratchFolder files;
  documents::Digest first{};
};

TEST_F(FolderDigest, IsTheSameForTheSameFiles) {
  EXPECT_EQ(Read(), first);
  files.Write("vlans.json", VLANS);
  EXPECT_EQ(Read(), first);
  const test_support::ScratchFolder elsewhere;
  std::filesystem::copy(files.Path(), elsewhere.Path(), std::filesystem::copy_options::recursive);
  const documents::ConfigFolder folder(elsewhere.Path(), {documents::DeclaredProtocols(), false});
  EXPECT_EQ(documents::DigestOf(folder.ReadFirst().folder), first);
}

TEST_F(FolderDigest, ChangesWithEveryText) {
  for (const char* name : {"vlans.json", "remote/a.json"}) {
    files.Write(name, OTHER);
    EXPECT_NE(Read(), first) << name;
    files.Write(name, VLANS);
    EXPECT_EQ(Read(), first) << name;
  }
  files.Write("device.json", R"({"default_vlan": 11})");
  EXPECT_NE(Read(), first);
}

TEST_F(FolderDigest, ChangesWithABlank) {
  files.Write("vlans.json", VLANS + std::string(" "));
  EXPECT_NE(Read(), first);
}

TEST_F(FolderDigest, ChangesWithNamesAndNumber) {
  std::filesystem::rename(files.PathOf("remote/a.json"), files.PathOf("remote/b.json"));
  EXPECT_NE(Read(), first);
  files.Write("remote/a.json", VLANS);
  EXPECT_NE(Read(), first);
  std::filesystem::remove(files.PathOf("remote/b.json"));
  EXPECT_EQ(Read(), first);
  std::filesystem::remove(files.PathOf("remote/a.json"));
  EXPECT_NE(Read(), first);
}

TEST_F(FolderDigest, ChangesWhenTwoFilesChangePlaces) {
  files.Write("remote/a.json", OTHER);
  const documents::Digest one = Read();
  files.Write("remote/a.json", VLANS);
  files.Write("vlans.json", OTHER);
  EXPECT_NE(Read(), one);
}

TEST_F(FolderDigest, LeavesOutWhatIsNoDocument) {
  files.Write("remote/b.json", "}");
  EXPECT_EQ(Read(), first);
}

TEST_F(FolderDigest, HoldsSizeAndBothHalvesOfEachDigest) {
  documents::Folder folder;
  folder.stamps["a"] = {};
  const documents::Digest plain = documents::DigestOf(folder);
  EXPECT_NE(plain, documents::DigestOf(documents::Folder()));
  folder.stamps["a"].size = std::uint64_t{1} << 56;
  EXPECT_NE(documents::DigestOf(folder), plain);
  folder.stamps["a"] = {};
  folder.stamps["a"].digest[0] = 1;
  EXPECT_NE(documents::DigestOf(folder), plain);
  folder.stamps["a"].digest = {0, 1};
  EXPECT_NE(documents::DigestOf(folder), plain);
  // When and where it was written does not count.
  folder.stamps["a"] = {1, 2, 0, 3, 4, true, {}};
  EXPECT_EQ(documents::DigestOf(folder), plain);
}

}  // namespace
