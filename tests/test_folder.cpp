#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "testing/object_state.h"

std::string TestFolder() {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  const auto folder = std::filesystem::path(testing::TempDir()) / "rastelo_tests" /
                      (test->test_suite_name() + std::string(".") + test->name());
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  return folder.string() + "/";
}

std::string PictureFile(const std::string& name, const LiteralImage& image) {
  const std::string path = TestFolder() + name;
  EXPECT_EQ(ObjectWith(image).SaveAs(path.c_str()), 1);
  return path;
}

int Open(CRastelo& object, const Bytes& bytes, const std::string& name) {
  const std::string path = TestFolder() + name;
  WriteFile(path, bytes);
  return object.OpenImage(path.c_str());
}
