#include "prompt.h"

// readline's headers need stdio's.
#include <cstdio>
//
#include <readline/history.h>
#include <readline/readline.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace client {

namespace {

const Completer* g_complete = nullptr;

char* NextMatch(const char*, int state) {
  static std::vector<std::string> matches;
  static std::size_t next;
  if (state == 0) {
    matches = (*g_complete)(std::string(rl_line_buffer, static_cast<std::size_t>(rl_point)));
    next = 0;
  }
  return next < matches.size() ? strdup(matches[next++].c_str()) : nullptr;
}

char** CompleteWord(const char* text, int, int) {
  rl_attempted_completion_over = 1;  // file names are of no use here
  return rl_completion_matches(text, NextMatch);
}

}  // namespace

std::optional<std::string> Prompt(unsigned short vlan, const Completer& complete) {
  rl_readline_name = "vantacorectl";
  rl_basic_word_break_characters = " ";  // as the daemon tells words
  rl_attempted_completion_function = CompleteWord;
  g_complete = &complete;
  char* line = readline(("vantacore[" + std::to_string(vlan) + "]> ").c_str());
  if (!line) {
    std::fputc('\n', stdout);
    return std::nullopt;
  }
  if (*line) {
    add_history(line);
  }
  const std::string text(line);
  std::free(line);
  return text;
}

std::optional<std::string> NextLine() {
  std::string line;
  if (!std::getline(std::cin, line)) {
    return std::nullopt;
  }
  return line;
}

}  // namespace client
