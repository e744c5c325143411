#pragma once

#include <cstddef>

/// The test program's own operator new: counts what a thread asks for, and fails when that thread
/// tells it to.
namespace allocations {

/// How many there have been, and how many bytes they asked for.
long Count();
std::size_t Bytes();

/// Lets `successes` more succeed and the one behind them fail, for as long as it lives.
struct FailAfter {
  explicit FailAfter(long successes);
  ~FailAfter();
};

}  // namespace allocations

/// Which of this thread's calls on files to come fails: 0 the next one, -1 none. The test program
/// leads the library's calls through functions of its own.
struct FileFaults {
  int read = -1, endOfFile = -1, write = -1, close = -1;
  int kind = -1;  // asked of a file that is being opened
  int size = -1;  // asked of one that is open
  bool shortReads = false, isOpen = false;

  static bool Strikes(int& countdown) { return countdown >= 0 && countdown-- == 0; }
};
extern constinit thread_local FileFaults fileFaults;

/// What this thread's calls have read.
extern constinit thread_local std::size_t fileBytesRead;
