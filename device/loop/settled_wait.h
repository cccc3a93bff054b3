// Waits until everything that was asked for has been answered.
#ifndef DEVICE_LOOP_SETTLED_WAIT_H
#define DEVICE_LOOP_SETTLED_WAIT_H

#include <cstdint>
#include <functional>

#include "loop_handles.h"

namespace loop {

/// How far work has come, in requests or whatever it consists of.
struct Progress {
  std::uint64_t done = 0;
  std::uint64_t total = 0;  // 0 if it is not known, or nothing is to be done
};

/// The questions that decide whether things have settled.
struct Activity {
  /// Whether something has been asked for that is not answered yet.
  std::function<bool()> isUnderWay;
  /// Returns how far things have come. May be empty: then nobody knows of any progress.
  std::function<Progress()> getProgress = {};

  /// What getProgress returns; no progress if it is empty.
  Progress FindProgress() const { return getProgress ? getProgress() : Progress(); }
};

/// Nothing announces that things have settled, so it is looked at every few milliseconds while
/// somebody waits. An object serves one wait at a time, that of its owner.
class SettledWait {
 public:
  SettledWait(uv_loop_s* loop, Activity activity);

  /// Calls `done` from the loop: with true once things have settled, or with false after
  /// `limitMilliseconds` in which there was no progress (0 for no limit). A wait that is under way
  /// is replaced; its `done` is never called.
  void Wait(std::uint64_t limitMilliseconds, std::function<void(bool settled)> done);

  /// Ends a wait early, as its limit would: `done` is called from the loop. Returns false if no
  /// wait is under way.
  bool GiveUp();

  /// Returns how far things have come, whether or not a wait is under way.
  Progress GetProgress() const { return m_activity.FindProgress(); }

  /// Ends a wait, if one is under way: its `done` is never called.
  void Stop();

 private:
  void Look();

  Timer m_timer;
  const Activity m_activity;
  std::function<void(bool)> m_done;
  std::uint64_t m_begin = 0;  // of the wait, or of the time without progress
  std::uint64_t m_limit = 0;
  std::uint64_t m_progress = 0;
};

}  // namespace loop

#endif
