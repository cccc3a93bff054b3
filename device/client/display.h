// Where a command's output goes.
#ifndef DEVICE_CLIENT_DISPLAY_H
#define DEVICE_CLIENT_DISPLAY_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "pager.h"
#include "progress_line.h"
#include "safe_text.h"

namespace client {

/// Standard output, with text that SafeText has made safe. If pages are wanted, output is held
/// until it is longer than the terminal, and goes to a pager then; or until it is complete, or
/// nobody may wait for more of it, and is printed then. So a short answer needs no pager, and a
/// long one has all of it. SIGINT is blocked while this is used, as Pager requires.
class Display {
 public:
  /// Wants pages from now on, if standard output is a terminal on which they can be shown.
  void WantPages();

  /// Takes the next output of a command.
  void Take(std::string output);
  /// Shows how far the command has come, and what is held.
  void TakeProgress(std::uint32_t done, std::uint32_t total);
  /// Prints what is held; the rest of the command's output is not held, and gets no pager.
  void Release();
  /// The command is over: prints the rest, and waits until the operator has left the pager.
  void End();

  /// Whether output waits that nobody has seen.
  bool IsHolding() const { return !m_held.empty(); }
  /// Of the pager, as Pager::GetDescriptor(); -1 if there is none.
  int GetPager() const { return m_pager ? m_pager->GetDescriptor() : -1; }
  /// The operator has left the pager: the rest of the output is dropped.
  void Quit();
  bool HasQuit() const { return m_hasQuit; }

 private:
  void Print(const std::string& text);
  void Hold(const std::string& text);
  bool IsLongerThanTerminal();

  bool m_wantsPages = false;
  SafeText m_output;
  ProgressLine m_progress;
  // Of the running command.
  bool m_isHolding = false;
  std::string m_held;
  std::size_t m_counted = 0;  // how many bytes of m_held the next two are about
  std::size_t m_rows = 0;
  std::size_t m_column = 0;
  std::unique_ptr<Pager> m_pager;
  bool m_hasQuit = false;
};

}  // namespace client

#endif
