// What a walk over a table of the stack answers, and what it is answered.
#ifndef VANTACORE_SRC_COMMANDS_WALK_ANSWERS_H
#define VANTACORE_SRC_COMMANDS_WALK_ANSWERS_H

namespace Tarsel {

/// The result of a response. Any other number is an error.
enum WalkResult : unsigned int { RESULT_ROW = 1, RESULT_END_OF_TABLE = 7 };
/// The answer of DcConsoleCommand::Display.
enum DisplayAnswer : unsigned int { END_COMMAND = 0, NEXT_ROW = 1, END_WALK = 256 };

}  // namespace Tarsel

#endif
