// SIGHUP, from the first instruction of the program on.
#ifndef DEVICE_DAEMON_HANG_UP_H
#define DEVICE_DAEMON_HANG_UP_H

namespace vantacored {

/// Holds SIGHUP back; one that comes meanwhile waits. Its effect depends on the command line and
/// needs the event loop; before both are there it would end the process.
void HoldHangUp();
/// Admits SIGHUP, also one that has waited, even since before the program began.
void AdmitHangUp();

}  // namespace vantacored

#endif
