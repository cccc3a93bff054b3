// Makes the daemon's output safe for the operator's terminal.
#ifndef DEVICE_CLIENT_SAFE_TEXT_H
#define DEVICE_CLIENT_SAFE_TEXT_H

#include <string>

namespace client {

/// Turns a stream of pieces into safe text: ends of lines, tabs and printable UTF-8 stay; what a
/// terminal would obey, or could not show, becomes \xNN. A character may be split between two
/// pieces.
class SafeText {
 public:
  /// Returns the safe text of the next piece. A character that only begins in it is returned with
  /// the next piece.
  std::string Take(std::string piece);
  /// To be called at the end: returns what is left of a character that has only begun, usually
  /// nothing.
  std::string TakeRest();

 private:
  std::string m_begun;
};

}  // namespace client

#endif
