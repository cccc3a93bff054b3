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
#include "tests/support/reported_lines.h"
#include "tests/support/scratch_folder.h"

namespace {

enum class Listing { WHOLE, UNTIL_A_DOCUMENT, BROKEN };

Listing g_listing = Listing::WHOLE;

bool IsDocument(const char* name) {
  const std::size_t size = std::strlen(name);
  return size > 5 && std::strcmp(name + size - 5, ".json") == 0;
}

template <typename Entry>
Entry* ReadNext(DIR* folder, const char* function) {
  if (g_listing == Listing::BROKEN) {
    errno = EIO;
    return nullptr;
  }
  const auto next = reinterpret_cast<Entry* (*)(DIR*)>(dlsym(RTLD_NEXT, function));
  Entry* entry = next(folder);
  if (g_listing == Listing::UNTIL_A_DOCUMENT && entry && IsDocument(entry->d_name)) {
    g_listing = Listing::BROKEN;
  }
  return entry;
}

}  // namespace

// Which of the two the standard library calls depends on the machine.
extern "C" dirent* readdir(DIR* folder) { return ReadNext<dirent>(folder, "readdir"); }
extern "C" dirent64* readdir64(DIR* folder) { return ReadNext<dirent64>(folder, "readdir64"); }

namespace {

using testing::ElementsAre;

TEST(BrokenListing, LeavesTheRemotesOfTheLastReading) {
  test_support::ScratchFolder files;
  files.Write("device.json", "{\"default_vlan\": 10}");
  files.Write("vlans.json", R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 10}}})");
  files.Write("remote/a.json", R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 11}}})");
  files.Write("remote/b.json", R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 12}}})");
  test_support::ReportedLines reported;
  const documents::ConfigFolder reader(files.Path(), reported.report);
  const documents::Folder before = reader.Read({});
  // The third is not among those of the last reading, and one of the three comes before the error.
  files.Write("remote/c.json", R"({"VLAN_CONFIGURATIONS": {"v": {"vid": 13}}})");

  g_listing = Listing::UNTIL_A_DOCUMENT;
  const documents::Folder folder = reader.Read(before);
  EXPECT_EQ(g_listing, Listing::BROKEN) << "the listing went on";
  g_listing = Listing::WHOLE;

  std::vector<std::string> names;
  for (const auto& file : folder.files) {
    names.push_back(file->name);
  }
  EXPECT_THAT(names, ElementsAre("vlans.json", "remote/a.json", "remote/b.json"));
  EXPECT_THAT(reported.lines, ElementsAre("remote: cannot be listed: Input/output error"));
}

}  // namespace
