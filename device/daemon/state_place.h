// Where the daemon keeps its revisions.
#ifndef DEVICE_DAEMON_STATE_PLACE_H
#define DEVICE_DAEMON_STATE_PLACE_H

#include "command_line.h"
#include "device/apply/history.h"

namespace vantacored {

/// Opens the store of the configuration folder's revisions: in the folder that `--state` names,
/// else with `--daemon` in $STATE_DIRECTORY, else in the user's folder for state. If there is none,
/// the result says why.
apply::History::Place OpenHistory(const CommandLine& line);

}  // namespace vantacored

#endif
