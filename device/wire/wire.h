// What the daemon and a console client say to each other over a stream socket.
//
// Every message is a line: a letter, a space, and the rest that the letter takes.
//
//     each:    V <version>       the greeting: which version of this protocol it speaks
//     client:  C <command>       carry this out
//              W <begun>         which words may stand where this line ends
//              H <begun>         help for what may stand there, for the operator (version 3)
//              I                 print no more of it, and do not wait for its effect
//              N                 do not wait for the effect of any command (version 2)
//              S                 the next command is the only one of this session (version 2)
//     daemon:  O <text>          a line of output
//              P <text>          output that does not end its line yet
//              R <code> <vlan>   the reply: the command is over, the next one may come
//              Q <code> <vlan>   the reply, and the last: the daemon closes the connection
//              G <done> <total>  how far the running command has come (version 2)
//              L                 the output that follows comes as things happen (version 3)
//
// The client sends its greeting first. The daemon answers with its own greeting; when it is ready
// for the first command, it sends a reply, as if to a command. An end that does not know the
// other's version, or gets none, says in words which version it knows, and closes: the client says
// it to its operator, the daemon sends it as output with a last reply. Output and last reply mean
// the same in every version, so a daemon may also refuse a client before any greeting.
//
// A client sends a command when the reply to the last one has come; an interrupt without a running
// command is ignored. N and S are said before the command that they are about, and have no reply.
// Progress comes while a command makes any, at least once a second; a client may take it as a sign
// of the daemon, or ignore it. A client that closes its sending side has hung up, and gets no more
// output of a running command. The answer to W is the words as lines of output, and a reply after
// them as if to a command. The answer to H is text in the same way. After L a client shows output
// at once; other output it may hold until the reply, to show it a page at a time. A command whose
// output comes as things happen makes no progress: while it is silent, progress of 0 in 0 comes at
// least once a second, and nothing else is meant by it. <code> is one of reply_codes.h, <vlan> the
// VLAN that the session is bound to, <version> a number up to 65535; <done> and <total> count
// requests, in up to ten digits, and <total> may grow.
//
// A daemon serves a client of an earlier version as that version says. It greets with the client's
// version. To a client of version 1 it tells no progress, and its replies have no code above 4
// (code 5 is told as 0); to one of version 1 or 2 it sends no L.
#ifndef DEVICE_WIRE_WIRE_H
#define DEVICE_WIRE_WIRE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "device/wire/reply_codes.h"

namespace wire {

/// The longest command, and the longest piece of output in one line, in bytes.
constexpr std::size_t MAX_TEXT = 4096;

/// The version that is described here, which clients speak. It changes when an end of an earlier
/// version would no longer understand the messages.
constexpr unsigned short VERSION = 3;
/// The earliest version that a daemon serves as well, so that a client that has not been replaced
/// yet goes on working.
constexpr unsigned short EARLIEST_VERSION = 1;

struct Message {
  enum Kind {
    GREETING,
    COMMAND,
    COMPLETION,
    HELP,
    INTERRUPT,
    NO_WAIT,
    SINGLE,
    OUTPUT,
    REPLY,
    PROGRESS,
    LIVE
  };
  Kind kind = COMMAND;
  std::string text;  // of a command; what is begun; output, with the end of its line if it has one
  unsigned short version = 0;  // of a greeting
  Code code = Code::DONE;
  unsigned short vlan = 0;
  bool isLast = false;     // of a reply: the daemon closes the connection after it
  std::uint32_t done = 0;  // of progress
  std::uint32_t total = 0;
};

std::string EncodeGreeting(unsigned short version = VERSION);
/// Ends of lines in `words` become spaces, which separate words as well. `words` has at most
/// MAX_TEXT bytes.
std::string EncodeCommand(std::string words);
/// The same for a line that an operator has begun. The word at its end, which may be empty, is to
/// be completed.
std::string EncodeCompletion(std::string begun);
/// The same for a line about whose end the operator asks.
std::string EncodeHelp(std::string begun);
std::string EncodeInterrupt();
std::string EncodeNoWait();
std::string EncodeSingle();
/// Returns one or several messages; a long line is split into pieces.
std::string EncodeOutput(std::string_view text);
/// The same, appended to `lines`.
void AppendOutput(std::string& lines, std::string_view text);
std::string EncodeReply(Code code, unsigned short vlan, bool isLast = false);
std::string EncodeProgress(std::uint32_t done, std::uint32_t total);
std::string EncodeLive();

/// Assembles messages from the bytes of a socket.
class Decoder {
 public:
  void Feed(const char* bytes, std::size_t size);
  /// Returns the next message, once its line is complete. After bytes that are not a message, or a
  /// line that is too long, IsBroken() is true and there are no further messages.
  std::optional<Message> Next();
  bool IsBroken() const { return m_isBroken; }
  /// The number of bytes that were fed and not taken yet.
  std::size_t CountWaiting() const { return m_bytes.size() - m_taken; }

 private:
  std::string m_bytes;
  std::size_t m_taken = 0;  // how many of m_bytes have been read
  bool m_isBroken = false;
};

}  // namespace wire

#endif
