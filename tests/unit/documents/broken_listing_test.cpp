// A folder of remote documents whose listing ends with an error in the middle. No file system of a
// test does that, so the readdir() of this program does.
#include <dirent.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "device/documents/config_folder.h"
#include "tests/support/scratch_folder.h"

namespace {

bool g_breaks = false;       // each listing, after the first document
bool g_hasDocument = false;  // the listing that is under way has had one
int g_broken = 0;            // listings

bool IsDocument(const char* name) {
  const std::size_t size = std::strlen(name);
  return size > 5 && std::strcmp(name + size - 5, ".json") == 0;
}

template <typename Entry>
Entry* ReadNext(DIR* folder, const char* function) {
  if (g_breaks && g_hasDocument) {
    ++g_broken;
    errno = EIO;
    return nullptr;
  }
  const auto next = reinterpret_cast<Entry* (*)(DIR*)>(dlsym(RTLD_NEXT, function));
  Entry* entry = next(folder);
  g_hasDocument = g_hasDocument || (entry && IsDocument(entry->d_name));
  return entry;
}

}  // namespace

// Which of the two the standard library calls depends on the machine.
extern "C" dirent* readdir(DIR* folder) { return ReadNext<dirent>(folder, "readdir"); }
extern "C" int closedir(DIR* folder) {
  g_hasDocument = false;
  return reinterpret_cast<int (*)(DIR*)>(dlsym(RTLD_NEXT, "closedir"))(folder);
}
extern "C" dirent64* readdir64(DIR* folder) { return ReadNext<dirent64>(folder, "readdir64"); }

namespace {

using testing::ElementsAre;

class BrokenListing : public testing::Test {
 protected:
  BrokenListing() {
    files.Write("device.json", "{\"default_vlan\": 10}");
    files.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})");
    files.Write("remote/a.json", R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})");
    files.Write("remote/b.json", R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})");
  }

  documents::Reading ReadBroken(const documents::ConfigFolder& reader,
                                const documents::Folder& before) {
    // The third is not among those of the last reading, and one of the three comes before the error.
    files.Write("remote/c.json", R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})");
    g_breaks = true;
    documents::Reading reading = reader.ReadAgain(before);
    g_breaks = false;
    EXPECT_EQ(g_broken, 2) << "when the folder is read, and when it is looked at once more";
    return reading;
  }

  static std::vector<std::string> NamesOf(const documents::Folder& folder) {
    std::vector<std::string> names;
    for (const auto& file : folder.files) {
      names.push_back(file->name);
    }
    return names;
  }

  test_support::ScratchFolder files;
};

TEST_F(BrokenListing, IsAnError) {
  const documents::ConfigFolder reader(files.Path(), {documents::DeclaredProtocols(), false});
  const documents::Folder before = reader.ReadFirst().folder;
  const documents::Reading reading = ReadBroken(reader, before);
  EXPECT_THAT(
      reading.findings.Lines(),
      ElementsAre("remote: cannot be listed, expected a folder, found \"Input/output error\""));
  EXPECT_THAT(NamesOf(reading.folder), ElementsAre("vlans.json"));
}

TEST_F(BrokenListing, LeavesTheRemotesOfTheLastReading) {
  const documents::ConfigFolder reader(files.Path(), {documents::DeclaredProtocols(), true});
  const documents::Folder before = reader.ReadFirst().folder;
  const documents::Reading reading = ReadBroken(reader, before);
  EXPECT_THAT(NamesOf(reading.folder), ElementsAre("vlans.json", "remote/a.json", "remote/b.json"));
  EXPECT_EQ(reading.findings.CountErrors(), 1u);
}

}  // namespace
