// Every input in fuzz/inputs once more: those that a fuzzer has found fault with, and a few others.
// RASTELO_FUZZ_INPUTS in the environment names another folder.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "fuzz/targets.h"
#include "testing/object_state.h"

namespace {

TEST(FuzzInputs, BreakNoPromise) {
  constexpr std::pair<const char*, void (*)(const std::uint8_t*, std::size_t)> kTargets[] = {
      {"OpenBmp", fuzz::OpenBmp},
      {"OpenJpeg", fuzz::OpenJpeg},
      {"DrawOnDevice", fuzz::DrawOnDevice},
      {"RunOperations", fuzz::RunOperations}};
  const char* other = std::getenv("RASTELO_FUZZ_INPUTS");
  const std::string folder = other ? other : RASTELO_FUZZ_INPUTS;
  for (const auto& [name, run] : kTargets) {
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder + "/" + name)) {
      const auto bytes = ReadFile(entry.path().string());
      run(bytes.data(), bytes.size());
      ++inputs;
    }
    EXPECT_GT(inputs, 0) << name;
  }
}

}  // namespace
