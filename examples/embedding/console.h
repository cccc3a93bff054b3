// The console: commands of one line, from standard input or from a socket.
#ifndef CONSOLE_H
#define CONSOLE_H

#include <cstdint>
#include <string>

/// Someone at a console. Commands are carried out one after the other: a table comes in pieces, while
/// the stack runs, and the next command waits for its end.
struct Session {
  int in, out;                   // -1 for an input that has ended
  std::string typed;             // not carried out yet
  int running = 0;               // commands whose output is not complete
  std::uint64_t waitsUntil = 0;  // microseconds; the word `wait`
  bool isOver = false;

  bool IsIdle(std::uint64_t now) const { return running == 0 && now >= waitsUntil; }
  bool HasLine() const { return typed.find('\n') != std::string::npos; }

  /// Takes what there is to read; the end of the input counts as `quit`.
  void Read();
  /// Carries out the next line, if there is one and its turn has come.
  void RunNext(std::uint64_t now);
};

/// A socket at which sessions may begin; a path that a killed host has left is taken over. -1 after a
/// message when there can be none.
int Listen(const char* path);

#endif
