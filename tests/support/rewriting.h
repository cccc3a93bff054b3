// Expectations that a test may write anew.
#ifndef TESTS_SUPPORT_REWRITING_H
#define TESTS_SUPPORT_REWRITING_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace test_support {

/// With VANTACORE_REWRITE=1 the file at `path` becomes `text`, to be reviewed, and the test fails:
/// a run that compares nothing must not look like one that has passed. False without it.
inline bool Rewrite(const std::filesystem::path& path, const std::string& text) {
  const char* const value = std::getenv("VANTACORE_REWRITE");
  if (value == nullptr || std::string(value) != "1") {
    return false;
  }
  std::ofstream(path, std::ios::binary) << text;
  ADD_FAILURE() << path << " is rewritten; review it, and run again without VANTACORE_REWRITE";
  return true;
}

}  // namespace test_support

#endif
