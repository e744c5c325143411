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
