#include "hang_up.h"

#include <csignal>

namespace vantacored {

namespace {

void Mask(int how) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGHUP);
  pthread_sigmask(how, &signals, nullptr);
}

}  // namespace

void HoldHangUp() { Mask(SIG_BLOCK); }

void AdmitHangUp() { Mask(SIG_UNBLOCK); }

}  // namespace vantacored
