// Timers of the host's event loop.
#ifndef TARSEL_TIMER_H
#define TARSEL_TIMER_H

#include "tarsel/callback.h"
#include "tarsel/export.h"

namespace Tarsel {

/// What all timers share: a name, a callback and, while running, an entry in the loop that was
/// current at the start. Expiry calls `Dispatch(0, nullptr)` on the loop's thread. Any timer may be
/// started again, stopped or destroyed from inside its own or another's callback.
class TARSEL_API TimerBase {
 public:
  /// What an expiry calls; the arguments are 0 and null.
  typedef CallbackBuffer2<unsigned int, void*> Callback;

  TimerBase(const TimerBase&) = delete;
  TimerBase& operator=(const TimerBase&) = delete;
  virtual ~TimerBase();

  /// Takes a reference on `callback` and drops the previous one; null for none.
  void SetCallback(Callback* callback);
  /// Ends the timer: no further expiry. Does nothing if the timer does not run.
  void Stop();
  /// Whether an expiry is to come.
  bool IsRunning() const;
  /// The name that the timer was made with.
  const char* GetName() const;

 protected:
  /// `name` is for the log and is not copied.
  explicit TimerBase(const char* name);
  /// Fires once after the delay. A start of a running timer begins anew.
  void StartOnce(unsigned long long microseconds);
  /// Fires every `ticks` platform ticks; 0 is taken as 1.
  void StartPeriodic(unsigned int ticks);

 private:
  friend class TimerAccess;

  const char* m_name;
  Callback* m_callback;
  void* m_handle;  // the loop's own entry while running, else null
};

/// Fires once, `milliseconds` after its last start; a start while running moves the expiry.
class TARSEL_API OneShotTimer : public TimerBase {
 public:
  /// `name` is for the log and is not copied. Not running.
  explicit OneShotTimer(const char* name);
  /// Fires once, `milliseconds` from now.
  void Start(unsigned int milliseconds);
};

/// Fires every `ticks` ticks until stopped. A tick is one millisecond unless the host has chosen
/// another length for the platform (device/base's timer loop header).
class TARSEL_API PeriodicTimer : public TimerBase {
 public:
  /// `name` is for the log and is not copied. Not running.
  explicit PeriodicTimer(const char* name);
  /// The first expiry comes after `ticks` ticks, 0 is taken as 1; a start while running begins
  /// anew.
  void Start(unsigned int ticks);
};

}  // namespace Tarsel

#endif
