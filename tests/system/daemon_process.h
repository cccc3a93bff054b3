// The real daemon as a process of a test's own.
#ifndef TESTS_SYSTEM_DAEMON_PROCESS_H
#define TESTS_SYSTEM_DAEMON_PROCESS_H

#include <sys/types.h>
#include <termios.h>

#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace system_test {

using Arguments = std::vector<std::string>;

/// Runs the daemon, or its client, with its standard streams in the test's hands. Whatever is
/// waited for fails the test after half a minute. A process that still runs when this ends is
/// killed. It keeps its revisions in a folder of its own, which goes with this, unless an argument
/// says otherwise.
class DaemonProcess {
 public:
  enum Streams {
    PIPES,    // standard input, output and error are three pipes
    TERMINAL  // all three are one terminal; Output() has everything
  };

  DaemonProcess(const Arguments& arguments, Streams streams,
                const std::string& command = VANTACORED_COMMAND);
  DaemonProcess(const DaemonProcess&) = delete;
  DaemonProcess& operator=(const DaemonProcess&) = delete;
  ~DaemonProcess();

  void Send(const std::string& text);
  void CloseInput();
  /// Types keys at a terminal in raw mode and waits until the process has read them.
  void SendAndAwaitReading(const std::string& keys);
  /// Sends a signal.
  void Kill(int number);
  /// Sends a signal and waits until it has reached the process.
  void KillAndAwaitDelivery(int number);

  /// Waits until the output (or the errors) since the last such call contain `text`; returns that
  /// output up to the end of `text`.
  std::string ReadUntil(const std::string& text);
  std::string ReadErrorsUntil(const std::string& text);
  /// Waits until the terminal takes no more output. The test reads nothing meanwhile.
  void AwaitFullTerminal();
  /// Waits until a command that was typed is under way: the process has given its terminal back and
  /// sleeps. It does not sleep between the two.
  void AwaitCommandUnderWay();
  /// Waits for the end of the process: its exit status, or minus the signal that ended it.
  int Wait();

  /// Gives the terminal a size; it has none before.
  void Resize(unsigned short rows, unsigned short columns) const;
  /// How the terminal is set now; it stays when the process has ended.
  termios Terminal() const;
  pid_t Id() const { return m_pid; }

  /// Everything so far.
  const std::string& Output() const { return m_output.text; }
  const std::string& Log() const { return m_errors.text; }
  /// The same without the lines that tell of starts, stops, changes, commands of the lab, and lines
  /// that were not done.
  std::string Errors() const;

 private:
  struct Stream {
    int fd = -1;
    std::string text;
    std::size_t read = 0;  // how much of it has been returned
  };

  std::string ReadUntil(Stream& stream, const std::string& text);
  void Stop();
  bool Pump();
  void Take(Stream& stream);

  const test_support::ScratchFolder m_state;
  pid_t m_pid = -1;
  int m_input = -1;
  int m_terminal = -1;  // stays open when the output has ended
  Stream m_output;
  Stream m_errors;
};

struct Result {
  int status;
  std::string output;
  std::string errors;  // as DaemonProcess's
  std::string log;     // with them
};

/// Runs the daemon, or its client, to its end with this standard input.
Result RunDaemon(const Arguments& arguments, const std::string& input,
                 const std::string& command = VANTACORED_COMMAND);

/// The command with its standard streams as a shell's redirections make them.
std::string WithStreams(const std::string& redirections, const std::string& command);

}  // namespace system_test

#endif
