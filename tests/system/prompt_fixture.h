// A prompt on a terminal: of the client, or of the daemon's own terminal.
#ifndef TESTS_SYSTEM_PROMPT_FIXTURE_H
#define TESTS_SYSTEM_PROMPT_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "client_fixture.h"

namespace system_test {

constexpr const char* PROMPT = "vantacore[10]> ";
constexpr const char* CONTROL_C = "\x03";

enum class Whose { CLIENT, DAEMON };
constexpr Whose BOTH[] = {Whose::CLIENT, Whose::DAEMON};
/// For the names of tests.
std::string NameOfOne(const testing::TestParamInfo<Whose>& whose);

/// The same keys at both prompts. The daemon has a socket in both cases, so that a test can change
/// something from elsewhere. What is kept of lines goes into a folder of the test's own. The
/// terminal of the daemon is a vt100; that of the client is dumb, so it shows no pages.
class Prompt : public Client, public testing::WithParamInterface<Whose> {
 protected:
  bool IsClient() const { return GetParam() == Whose::CLIENT; }

  /// Opens one, for which the variable names the folder of the test's own.
  std::unique_ptr<DaemonProcess> OpenPrompt(const std::string& variable = "XDG_STATE_HOME") const;
  void SetUp() override;

  /// What is shown of these keys, up to the next prompt.
  std::string Type(const std::string& keys) const;
  /// Enters a line of the history, a summary: the keys draw the prompt again.
  std::string Recall(const std::string& keys) const;
  static void Leave(DaemonProcess& prompt);
  std::string FileOf(const std::string& below) const {
    return state.PathOf(below + "vantacore/history");
  }

  test_support::ScratchFolder state;
  std::unique_ptr<DaemonProcess> terminal;
};

}  // namespace system_test

#endif
