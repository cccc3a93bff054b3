#include "tarsel/timer.h"

#include "timer_queue.h"

namespace Tarsel {

void TimerAccess::Start(TimerBase& timer, std::uint64_t delay, unsigned int ticks) {
  Stop(timer);
  TimerLoop* loop = TimerLoop::GetCurrent();
  if (loop == nullptr) {
    return;
  }
  SetEntry(timer, loop->m_queue->Add(&timer, AddTime(loop->Now(), delay), ticks));
  loop->DeadlineChanged();
}

void TimerAccess::Stop(TimerBase& timer) {
  Entry* entry = GetEntry(timer);
  if (entry == nullptr) {
    return;
  }
  TimerLoop* loop = entry->loop;
  SetEntry(timer, nullptr);
  loop->m_queue->Remove(entry);
  loop->DeadlineChanged();
}

void TimerAccess::Dispatch(TimerBase& timer) {
  TimerBase::Callback* callback = timer.m_callback;
  if (callback == nullptr) {
    return;
  }
  callback->AddReference();
  callback->Dispatch(0, nullptr);
  callback->Release();
}

TimerBase::TimerBase(const char* name)
    : m_name(name != nullptr ? name : ""), m_callback(nullptr), m_handle(nullptr) {}

TimerBase::~TimerBase() {
  Stop();
  SetCallback(nullptr);
}

void TimerBase::SetCallback(Callback* callback) {
  Callback* previous = m_callback;
  if (callback != nullptr) {
    callback->AddReference();
  }
  m_callback = callback;
  if (previous != nullptr) {
    previous->Release();
  }
}

void TimerBase::StartOnce(unsigned long long microseconds) {
  TimerAccess::Start(*this, microseconds, 0);
}

void TimerBase::StartPeriodic(unsigned int ticks) {
  if (ticks == 0) {
    ticks = 1;
  }
  TimerAccess::Start(*this, std::uint64_t{ticks} * TimerLoop::GetTickMicroseconds(), ticks);
}

void TimerBase::Stop() { TimerAccess::Stop(*this); }

bool TimerBase::IsRunning() const { return m_handle != nullptr; }

const char* TimerBase::GetName() const { return m_name; }

OneShotTimer::OneShotTimer(const char* name) : TimerBase(name) {}

void OneShotTimer::Start(unsigned int milliseconds) { StartOnce(1000ull * milliseconds); }

PeriodicTimer::PeriodicTimer(const char* name) : TimerBase(name) {}

void PeriodicTimer::Start(unsigned int ticks) { StartPeriodic(ticks); }

}  // namespace Tarsel
