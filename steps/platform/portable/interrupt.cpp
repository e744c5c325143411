#include "steps/platform/interrupt.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace rastelo::steps::platform {
namespace {

static_assert(std::atomic<int>::is_always_lock_free);  // a handler touches nothing else

std::atomic<int>& Noted() {
  static constinit std::atomic<int> noted = 0;
  return noted;
}

void Note(int signal) {
  int none = 0;
  if (!Noted().compare_exchange_strong(none, signal)) DieBySignal(signal);
}

void Catch(int signal) {
  struct sigaction action {};
  if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = Note;  // and waits end with it: no SA_RESTART
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

}  // namespace

void CatchInterrupts() {
  for (const int signal : {SIGINT, SIGTERM}) Catch(signal);
}

int Interrupted() { return Noted(); }

void DieBySignal(int signal) {
  ::signal(signal, SIG_DFL);
  sigset_t set{};
  sigemptyset(&set);
  sigaddset(&set, signal);
  ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);  // in its handler, a signal is held back
  ::raise(signal);
  ::_exit(128 + signal);  // where it does not end a process
}

}  // namespace rastelo::steps::platform
