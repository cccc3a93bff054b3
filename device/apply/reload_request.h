// How a reload is asked for.
#ifndef DEVICE_APPLY_RELOAD_REQUEST_H
#define DEVICE_APPLY_RELOAD_REQUEST_H

namespace apply {

struct ReloadRequest {
  /// Not guarded: it is applied however much of what is installed it takes away.
  bool isForced = false;
  /// For how many seconds it waits to be confirmed, 1 to 86,400; 0 for one that needs no
  /// confirmation.
  unsigned int confirmSeconds = 0;
  /// Not by an operator's word but by SIGHUP: a folder that has been undone is not applied again.
  bool isBySignal = false;
  /// Not by a word but because the folder has changed: so too, and nobody waits for what it says. If
  /// it is refused, the log has one line, with the first of the reasons or all of the guard's.
  bool isByChange = false;

  friend bool operator==(const ReloadRequest& a, const ReloadRequest& b) {
    return a.isForced == b.isForced && a.confirmSeconds == b.confirmSeconds &&
           a.isBySignal == b.isBySignal && a.isByChange == b.isByChange;
  }
};

constexpr unsigned int MAX_CONFIRM_SECONDS = 86400;

}  // namespace apply

#endif
