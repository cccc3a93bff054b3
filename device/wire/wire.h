// What the daemon and a console client say to each other over a stream socket.
//
// Everything is a line: a letter, a space, and what the letter asks for.
//
//     client:  C <command>       carry this out
//              W <begun>         which words may stand where this line ends
//              I                 print no more of it, and do not wait for its effect
//     daemon:  O <text>          a line of output
//              P <text>          output that does not end its line yet
//              R <code> <vlan>   the reply: the command is over, the next one may come
//              Q <code> <vlan>   the reply, and the last: the daemon closes the connection
//
// The words that may stand there come as lines of output, with a reply behind them as if to a command.
// The daemon begins with a reply, as if to a command, when it is ready to take the first. A client
// sends a command when the reply to the last one has come; an interrupt without a command in progress
// means nothing. <code> is one of reply_codes.h, <vlan> the VLAN that the session is bound to.
#ifndef DEVICE_WIRE_WIRE_H
#define DEVICE_WIRE_WIRE_H

#include <cstddef>
#include <optional>
#include <string>

#include "device/wire/reply_codes.h"

namespace wire {

/// The longest command, and the longest piece of output in one line, in bytes.
constexpr std::size_t MAX_TEXT = 4096;

struct Message {
  enum Kind { COMMAND, COMPLETION, INTERRUPT, OUTPUT, REPLY };
  Kind kind = COMMAND;
  std::string text;  // of a command; what is begun; output, with the end of its line if it has one
  Code code = Code::DONE;
  unsigned short vlan = 0;
  bool isLast = false;  // of a reply: the daemon closes the connection behind it
};

/// Ends of lines in `words` become spaces, which separate words as well. At most MAX_TEXT bytes.
std::string EncodeCommand(std::string words);
/// The same for what an operator has begun; the word at its end, or the empty one, is to be completed.
std::string EncodeCompletion(std::string begun);
std::string EncodeInterrupt();
/// One or several messages; long lines go in pieces.
std::string EncodeOutput(const std::string& text);
std::string EncodeReply(Code code, unsigned short vlan, bool isLast = false);

/// Puts messages together from what a socket delivers.
class Decoder {
 public:
  void Feed(const char* bytes, std::size_t size);
  /// The next message, as soon as its line is complete. After bytes that are no message, or a line that
  /// is too long, there is none any more: see IsBroken().
  std::optional<Message> Next();
  bool IsBroken() const { return m_isBroken; }
  /// How much has been fed and not yet been taken.
  std::size_t CountWaiting() const { return m_bytes.size() - m_taken; }

 private:
  std::string m_bytes;
  std::size_t m_taken = 0;  // how many of m_bytes have been read
  bool m_isBroken = false;
};

}  // namespace wire

#endif
