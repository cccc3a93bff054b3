#include "prompt_fixture.h"

#include "shown.h"

namespace system_test {

std::string NameOfOne(const testing::TestParamInfo<Whose>& whose) {
  return whose.param == Whose::CLIENT ? "Client" : "Daemon";
}

std::unique_ptr<DaemonProcess> Prompt::OpenPrompt(const std::string& variable) const {
  const std::string environment = "env;-u;XDG_STATE_HOME;-u;HOME;" + variable + "=" + state.Path() +
                                  ";" + (IsClient() ? "" : "TERM=vt100;");
  auto opened =
      IsClient()
          ? std::make_unique<DaemonProcess>(With({}), DaemonProcess::TERMINAL,
                                            environment + VANTACORECTL_COMMAND)
          : std::make_unique<DaemonProcess>(
                Arguments{"--config", folder.Path(), "--tick-us", "100", "--socket", path, "--lab"},
                DaemonProcess::TERMINAL, environment + VANTACORED_COMMAND);
  opened->ReadUntil(PROMPT);
  return opened;
}

void Prompt::SetUp() {
  if (IsClient()) {
    StartDaemon();
  }
  terminal = OpenPrompt();
}

std::string Prompt::Type(const std::string& keys) const {
  terminal->Send(keys);
  return Shown(terminal->ReadUntil(PROMPT));
}

std::string Prompt::Recall(const std::string& keys) const {
  terminal->Send(keys + "\n");
  const std::string shown = Shown(terminal->ReadUntil("   VID"));
  terminal->ReadUntil(PROMPT);
  return shown;
}

void Prompt::Leave(DaemonProcess& prompt) {
  prompt.Send("quit\n");
  EXPECT_EQ(prompt.Wait(), 0);
}

}  // namespace system_test
