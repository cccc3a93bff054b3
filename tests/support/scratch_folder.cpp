#include "tests/support/scratch_folder.h"

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace test_support {

namespace {

[[noreturn]] void Die(const std::string& path) {
  std::perror(path.c_str());
  std::abort();
}

}  // namespace

ScratchFolder::ScratchFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "vantacore-test-XXXXXX").string();
  if (!mkdtemp(&name[0])) {
    Die(name);
  }
  m_path = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

void ScratchFolder::Write(const std::string& name, const std::string& text) const {
  const std::filesystem::path path = PathOf(name);
  std::error_code problem;
  std::filesystem::create_directories(path.parent_path(), problem);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (problem || !file) {
    Die(path.string());
  }
}

void ScratchFolder::Remove(const std::string& name) const {
  std::error_code problem;
  if (!std::filesystem::remove_all(PathOf(name), problem) || problem) {
    Die(PathOf(name));
  }
}

}  // namespace test_support
