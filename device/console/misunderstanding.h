// How a line is answered that is not understood, or not allowed.
#ifndef DEVICE_CONSOLE_MISUNDERSTANDING_H
#define DEVICE_CONSOLE_MISUNDERSTANDING_H

#include <string>

#include "grammar.h"
#include "running_command.h"
#include "words.h"

namespace console {

/// Writes `why`, which has no end of line, past a filter, which is for what a command prints. If one
/// of the `words` asks for JSON, it is one document, about the first word that `parse` understands,
/// or about the first one as it was typed.
void Misunderstand(const Words& words, const Parse& parse, const std::string& why,
                   RunningCommand& command);
/// The same about a line that is understood and may not be carried out here: it counts as refused.
void Decline(const Words& words, const Parse& parse, const std::string& why,
             RunningCommand& command);

}  // namespace console

#endif
