// A folder of a test's own.
#ifndef TESTS_SUPPORT_SCRATCH_FOLDER_H
#define TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <string>

namespace test_support {

/// An empty folder that goes, with everything in it, when the object goes. A failure to make it or
/// to write into it ends the process: no test can go on without.
class ScratchFolder {
 public:
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  const std::string& Path() const { return m_path; }
  /// Writes a file, replacing one of that name; folders on the way are made.
  void Write(const std::string& name, const std::string& text) const;
  void Remove(const std::string& name) const;
  std::string PathOf(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

}  // namespace test_support

#endif
