// SIGHUP, from the first instruction of the program on.
#ifndef DEVICE_DAEMON_HANG_UP_H
#define DEVICE_DAEMON_HANG_UP_H

namespace vantacored {

/// What SIGHUP is to do depends on the command line and on the event loop, and until then it would end
/// the process. Holds it back; one that comes meanwhile waits.
void HoldHangUp();
/// Lets it in, also one that has waited since before the program began.
void AdmitHangUp();

}  // namespace vantacored

#endif
