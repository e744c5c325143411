#ifndef RASTELO_TESTS_ALLOCATIONS_H
#define RASTELO_TESTS_ALLOCATIONS_H

#include <cstddef>

/// The test program's own operator new: counts, and fails when it is told to.
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

#endif  // RASTELO_TESTS_ALLOCATIONS_H
