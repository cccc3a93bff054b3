// What the daemon says, for the operator's terminal.
#ifndef DEVICE_CLIENT_SAFE_TEXT_H
#define DEVICE_CLIENT_SAFE_TEXT_H

#include <string>

namespace client {

/// Makes text of what comes in pieces: ends of lines, tabs and all of UTF-8 stay, and what a terminal
/// would obey, or could not show, becomes \xNN. A character may come in two pieces.
class SafeText {
 public:
  /// The next piece. A character that has only begun in it comes with the next one.
  std::string Take(const std::string& piece);
  /// Nothing follows: what has only begun. Empty as a rule.
  std::string TakeRest();

 private:
  std::string m_begun;
};

}  // namespace client

#endif
