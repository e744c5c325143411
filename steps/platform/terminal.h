#pragma once

namespace rastelo::steps::platform {

enum class Stream { kInput, kOutput, kError };

/// Readies the standard streams, once, at the start of main(): texts are UTF-8 and bytes pass as
/// they are (no line ends are translated); a write to a pipe without a reader or beyond a limit of
/// size fails instead of ending the process; a stream that is closed refuses all reads and writes,
/// instead of becoming the first file that is opened. What belongs to the console is given back
/// when the process exits. Cannot fail.
/// What goes to a console of Windows waits in <cstdio>, standard error as well, until std::fflush()
/// or the end: bytes of one character that go out one by one show as garbage.
void PrepareStreams();

/// Whether a person sits at the other end.
bool IsTerminal(Stream stream);

/// Columns of the terminal; 80 where that is unknown.
int TerminalWidth(Stream stream);

/// Whether a variable of the environment is set and not empty.
bool EnvironmentHas(const char* name);

}  // namespace rastelo::steps::platform
