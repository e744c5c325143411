#pragma once

namespace rastelo::tools {

/// What the program ends with. One that a signal ends dies by that signal: 130 for an interrupt.
enum ExitCode {
  kDone = 0,
  kSomeFailed = 1,    // a step failed, or some pictures of several did
  kWrongCall = 2,     // nothing was done
  kNothingMoved = 3,  // nothing could be read, or nothing written
};

}  // namespace rastelo::tools
