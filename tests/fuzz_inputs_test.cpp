// Every input in fuzz/inputs once more: those that a fuzzer has found fault with, and a few others.
#include <gtest/gtest.h>

#include <filesystem>

#include "fuzz/targets.h"
#include "tests/object_probe.h"

namespace {

TEST(FuzzInputs, BreakNoPromise) {
  constexpr std::pair<const char*, void (*)(const std::uint8_t*, std::size_t)> kTargets[] = {
      {"OpenBmp", fuzz::OpenBmp},
      {"OpenJpeg", fuzz::OpenJpeg},
      {"DrawOnDevice", fuzz::DrawOnDevice},
      {"RunOperations", fuzz::RunOperations}};
  for (const auto& [name, run] : kTargets) {
    int inputs = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(RASTELO_FUZZ_INPUTS) + "/" + name)) {
      const auto bytes = ReadFile(entry.path().string());
      run(bytes.data(), bytes.size());
      ++inputs;
    }
    EXPECT_GT(inputs, 0) << name;
  }
}

}  // namespace
