// Files as only Windows has them.
#include <gtest/gtest.h>

#include "platform/file.h"
#include "testing/object_state.h"

namespace {

TEST(WindowsFiles, AreNotSharedWhileOpen) {
  const std::string path = PictureFile("a.bmp", Noise(5, 4));
  CRastelo object = ObjectWith(Noise(5, 4));
  const HookRecorder hooks;
  for (const auto open : {rastelo::platform::File::OpenExisting, rastelo::platform::File::Create}) {
    const auto held = open(path.c_str());
    ASSERT_TRUE(held);
    EXPECT_EQ(CRastelo().OpenImage(path.c_str()), 0);
    EXPECT_EQ(object.SaveAs(path.c_str()), 0);
  }
  EXPECT_EQ(hooks.boxes.size(), 8u);
  EXPECT_EQ(object.SaveAs(path.c_str()), 1);
  EXPECT_EQ(CRastelo().OpenImage("NUL.bmp"), 0) << "a device is no picture";
}

}  // namespace
