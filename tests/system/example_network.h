// The example network in a folder of a test's own, where it can be spoiled.
#ifndef TESTS_SYSTEM_EXAMPLE_NETWORK_H
#define TESTS_SYSTEM_EXAMPLE_NETWORK_H

#include <string>

#include "daemon_process.h"
#include "tests/support/scratch_folder.h"

namespace system_test {

class ExampleNetwork {
 public:
  ExampleNetwork();

  /// Writes all files as the example has them.
  static void WriteTo(const test_support::ScratchFolder& folder);
  void Restore() const { WriteTo(folder); }
  /// Puts `after` in the place of `before`, which stands in the file once.
  void Replace(const std::string& file, const std::string& before, const std::string& after) const;

  /// What the daemon warns of when it reads the network.
  static const char* const WARNINGS;

  test_support::ScratchFolder folder;
};

/// Commands that show everything that the network's documents bring about, a line each.
std::string ShowAll();
/// Has a daemon with pipes carry out these lines, and then those of ShowAll. Returns what these
/// print, without the ages of routes.
std::string Tables(DaemonProcess& daemon, const std::string& lines = {});
/// The text without the ages of routes.
std::string WithoutAges(const std::string& text);

}  // namespace system_test

#endif
