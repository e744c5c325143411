#include "steps/platform/interrupt.h"

#include <windows.h>

#include <atomic>
#include <csignal>
#include <cstdlib>

#include "steps/platform/windows/console.h"

namespace rastelo::steps::platform {
namespace {

std::atomic<int>& Noted() {
  static constinit std::atomic<int> noted = 0;
  return noted;
}

/// Runs in a thread of the system's.
BOOL WINAPI Note(DWORD event) {
  const bool isKey = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  const int signal = isKey ? SIGINT : SIGTERM;
  int none = 0;
  if (!Noted().compare_exchange_strong(none, signal)) DieBySignal(signal);
  // The console goes, and the process with it as soon as this returns: main() gets what time the
  // system grants, a few seconds.
  if (!isKey) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

// A process that was started with Ctrl-C ignored is not told of it.
void CatchInterrupts() { SetConsoleCtrlHandler(Note, TRUE); }

int Interrupted() { return Noted(); }

void DieBySignal(int signal) {
  GiveConsoleBack();
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(128 + signal));
  std::abort();
}

}  // namespace rastelo::steps::platform
