#include "device/documents/folder_content.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "device/documents/config_folder.h"
#include "tests/support/scratch_folder.h"

namespace {

using documents::Digest;

class FolderContent : public testing::Test {
 protected:
  FolderContent() {
    folder.Write("device.json", R"({"default_vlan": 10})");
    folder.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}}})");
  }
  Digest Now() { return documents::ReadContent(folder.Path() + "/").digest; }

  test_support::ScratchFolder folder;
};

TEST_F(FolderContent, HasTheDigestOfWhatIsRead) {
  folder.Write("remote/one.json", R"({"VLAN_CONFIGURATIONS": {"a": {"vid": 10}}})");
  const documents::ConfigFolder reader(folder.Path(), {});
  const documents::Reading reading = reader.ReadFirst();
  ASSERT_FALSE(reading.findings.HasErrors());
  EXPECT_EQ(Now(), documents::DigestOf(reading.folder));
}

TEST_F(FolderContent, TellsEachContentFromTheOthers) {
  std::vector<Digest> all = {Now()};
  const auto expectNew = [&](const char* what) {
    const Digest now = Now();
    for (const Digest& other : all) {
      EXPECT_NE(now, other) << what;
    }
    all.push_back(now);
  };
  folder.Write("vlans.json", "{");
  expectNew("what cannot be used is content, too");
  folder.Write("vlans.json", "}");
  expectNew("of the same size");
  std::filesystem::remove(folder.PathOf("vlans.json"));
  expectNew("without a file");
  std::filesystem::create_directory(folder.PathOf("vlans.json"));
  expectNew("that is no file");
  folder.Write("remote/one.json", "1");
  expectNew("with a remote document");
  std::filesystem::rename(folder.PathOf("remote/one.json"), folder.PathOf("remote/two.json"));
  expectNew("of another name");
  std::filesystem::remove_all(folder.Path());
  expectNew("no folder");
}

TEST_F(FolderContent, IsOfDocumentsOnly) {
  const Digest before = Now();
  folder.Write("notes.txt", "1");
  folder.Write("remote/.one.json", "1");
  folder.Write("remote/one.json~", "1");
  EXPECT_EQ(Now(), before);
}

TEST_F(FolderContent, TakesOverWhatLooksTheSame) {
  documents::FolderContent before = documents::ReadContent(folder.Path() + "/");
  before.stamps.at("vlans.json").isSettled = true;
  before.stamps.at("vlans.json").digest = {1, 2};
  const auto same = documents::ReadContent(folder.Path() + "/", before);
  EXPECT_EQ(same.stamps.at("vlans.json").digest, (Digest{1, 2})) << "it was not read";
  before.stamps.at("vlans.json").isSettled = false;
  EXPECT_EQ(documents::ReadContent(folder.Path() + "/", before).digest, Now());
}

}  // namespace
