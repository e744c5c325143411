#include "steps/platform/processors.h"

#include <windows.h>

#include <algorithm>
#include <bit>

namespace rastelo::steps::platform {

int Processors() {
  DWORD_PTR allowed = 0, all = 0;
  GetProcessAffinityMask(GetCurrentProcess(), &allowed, &all);
  // Empty where the process has processors of several groups.
  const int count = allowed != 0 ? std::popcount(allowed)
                                 : static_cast<int>(GetActiveProcessorCount(ALL_PROCESSOR_GROUPS));
  return std::max(count, 1);
}

}  // namespace rastelo::steps::platform
