// Where the client's commands come from when they are not words of its command line.
#ifndef DEVICE_CLIENT_PROMPT_H
#define DEVICE_CLIENT_PROMPT_H

#include <optional>
#include <string>

namespace client {

/// A line that the operator edits, with a history; nothing at the end of the input.
std::optional<std::string> Prompt(unsigned short vlan);
/// The next line of standard input; nothing at its end.
std::optional<std::string> NextLine();

}  // namespace client

#endif
