// The socket that a service manager has opened for this process (sd_listen_fds(3)).
#ifndef DEVICE_DAEMON_PASSED_SOCKETS_H
#define DEVICE_DAEMON_PASSED_SOCKETS_H

namespace vantacored {

/// Returns the descriptor of the console's socket that $LISTEN_PID, $LISTEN_FDS and $LISTEN_FDNAMES
/// pass to this process; negative if they pass none. It is the caller's. Throws std::runtime_error
/// if anything else is passed: a manager that means something that nobody does is to hear of it.
int TakePassedConsole();

}  // namespace vantacored

#endif
