#include "prompt.h"

// readline's headers need stdio's.
#include <cstdio>
//
#include <readline/history.h>
#include <readline/readline.h>

#include <cstdlib>
#include <iostream>

namespace client {

std::optional<std::string> Prompt(unsigned short vlan) {
  rl_readline_name = "vantacorectl";
  rl_bind_key('\t', rl_insert);  // file names are of no use here
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
