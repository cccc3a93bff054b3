// Where the client's commands come from when they are not words of its command line.
#ifndef DEVICE_CLIENT_PROMPT_H
#define DEVICE_CLIENT_PROMPT_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace client {

/// The words that may stand where a line ends that the operator has begun.
using Completer = std::function<std::vector<std::string>(const std::string& begun)>;

/// A line that the operator edits, with a history and completion; nothing at the end of the input.
std::optional<std::string> Prompt(unsigned short vlan, const Completer& complete);
/// The next line of standard input; nothing at its end.
std::optional<std::string> NextLine();

}  // namespace client

#endif
