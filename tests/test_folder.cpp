#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "testing/object_state.h"

std::string TestFolder() {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string(test->test_suite_name()) + "." + test->name();
  for (char& c : name)
    if (c == '/') c = '_';
  const auto folder = std::filesystem::path(testing::TempDir()) / "rastelo_tests" / name;
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  return folder.string() + "/";
}
