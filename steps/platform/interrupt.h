#pragma once

namespace rastelo::steps::platform {

/// From now on the first SIGINT or SIGTERM (on Windows Ctrl-C and Ctrl-Break, or the end of the
/// console or the session) is only noted, and the second ends the process at once, as
/// DieBySignal does. A signal that the parent process has had ignored stays ignored.
void CatchInterrupts();

/// The signal noted, SIGINT or SIGTERM; 0 if there was none. Any thread may ask.
int Interrupted();

/// Ends the process as that signal would have; on Windows with exit code 128 + signal. Unwritten
/// output of <cstdio> is lost.
[[noreturn]] void DieBySignal(int signal);

}  // namespace rastelo::steps::platform
