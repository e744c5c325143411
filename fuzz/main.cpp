// The entry of a fuzzer; RASTELO_FUZZ_TARGET names what it runs.
#include "fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::RASTELO_FUZZ_TARGET(data, size);
  return 0;
}
