// How a command of the library went, as its output tells: its handlers return nothing.
#ifndef DEVICE_CONSOLE_LIBRARY_SIGNS_H
#define DEVICE_CONSOLE_LIBRARY_SIGNS_H

#include <string>
#include <string_view>

namespace console {

/// Looks at the first two lines of the output, which are all that the texts of a refusal have.
class LibrarySigns {
 public:
  void Add(std::string_view text);
  /// Signs of exit_rules.h.
  unsigned int Get() const;

 private:
  std::string m_begin;
  unsigned int m_lines = 0;  // that have ended
};

}  // namespace console

#endif
