// Files as only POSIX systems have them, message boxes without a hook, and saves that are killed.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "testing/object_state.h"

using rastelo::Inside;

namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(PosixFiles, KeepTheStartOfALongPath) {
  std::string path = TestFolder();
  while (path.size() < 300) path += "a_long_folder_name/";
  std::filesystem::create_directories(path);
  path += "a.jpg";
  CRastelo object = ObjectWith(Noise(4, 2));
  ASSERT_EQ(object.SaveAs(path.c_str()), 1);
  EXPECT_EQ(object.OpenImage(path.c_str()), 1);
  EXPECT_EQ(ObjectState(object).fileName, path.substr(0, 259));
}

/// A host whose code throws wherever the library calls it.
struct ThrowingHost : rastelo::DeviceContext {
  ThrowingHost() {
    rastelo::SetDebugOutputHook([this](const char*) { Throw(); });
    rastelo::SetMessageBoxHook([this](const char*, const char*) { Throw(); });
  }
  ~ThrowingHost() override {
    rastelo::SetDebugOutputHook({});
    rastelo::SetMessageBoxHook({});
  }
  int SetDIBitsToDevice(int, int, DWORD, DWORD, int, int, UINT, UINT, const void*,
                        const BITMAPINFO*, UINT) override {
    return Throw();
  }
  int StretchDIBits(int, int, int, int, int, int, int, int, const void*, const BITMAPINFO*, UINT,
                    DWORD) override {
    return Throw();
  }
  int SetStretchBltMode(int) override { return Throw(); }
  int Throw() {
    errno = 0;
    throw ++calls;
  }
  int calls = 0;
};

TEST(Hooks, WhatAHostThrowsLeavesNoOperationHalfDone) {
  CRastelo object = ObjectWith(Noise(20, 20)), untold = ObjectWith(Noise(20, 20));
  untold.Segment_Graphcut();
  ThrowingHost host;
  object.Segment_Graphcut();
  EXPECT_EQ(ImageOf(object), ImageOf(untold));
  EXPECT_GT(host.calls, 3);
  host.calls = 0;
  RECT rc{0, 0, 20, 20};
  EXPECT_EQ(object.OpenImage("none.bmp"), 0);
  EXPECT_EQ(errno, ENOENT) << "which a message box does not change";
  EXPECT_EQ(object.DrawImage(&host, &rc, 3, 4, nullptr), 1);
  EXPECT_EQ(object.DrawImage(&host, &rc, true), 0);
  EXPECT_EQ(host.calls, 3);
  EXPECT_EQ(ImageOf(object), ImageOf(untold));
}

TEST(PosixFiles, APathNeedsNoEncoding) {
  CRastelo object;
  for (const char* name : {"\xFF\xFE\x80.bmp", "\xC3\x28.jpg"}) {
    const std::string path = TestFolder() + name;
    ASSERT_EQ(ObjectWith(Noise(4, 2)).SaveAs(path.c_str()), 1);
    EXPECT_EQ(object.OpenImage(path.c_str()), 1) << name;
  }
}

TEST(PosixFiles, APipeIsNoPicture) {
  const std::string path = TestFolder() + "pipe.bmp";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(CRastelo().OpenImage(path.c_str()), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "错误! 文件不存在!\n") << "no hook";
}

TEST(PosixFiles, AFullDeviceFailsASave) {
  const HookRecorder hooks;
  for (const char* name : {"full.bmp", "full.jpg"}) {
    const std::string path = TestFolder() + name;
    std::filesystem::create_symlink("/dev/full", path);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ObjectWith(Noise(5, 4)).SaveAs(path.c_str()), 0);
    const bool isJpeg = path.ends_with(".jpg");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), isJpeg ? "Can't write image\n\n" : "");
  }
  EXPECT_THAT(hooks.boxes, testing::IsEmpty());
}

TEST(KilledSaves, LeaveTheOldFileOrABeginningOfTheNewOne) {
  CRastelo old = ObjectWith(Noise(30, 20, 3)), next = ObjectWith(Noise(400, 300, 3));
  std::mt19937 random(1);
  for (const char* name : {"a.bmp", "a.jpg"}) {
    const std::string path = TestFolder() + name, copy = path + name;
    ASSERT_EQ(old.SaveAs(copy.c_str()), 1);
    const Bytes before = ReadFile(copy);
    ASSERT_EQ(next.SaveAs(copy.c_str()), 1);
    const Bytes after = ReadFile(copy);
    for (int i = 0; i < 200; ++i) {
      WriteFile(path, before);
      const pid_t child = fork();
      if (child == 0) {
        next.SaveAs(path.c_str());
        _exit(0);
      }
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
      const Bytes left = ReadFile(path);
      const bool isBeginning =
          left.size() <= after.size() && std::equal(left.begin(), left.end(), after.begin());
      ASSERT_TRUE(left == before || isBeginning) << left.size();
      CRastelo again;
      again.OpenImage(path.c_str());
      ASSERT_TRUE(IsConsistent(again));
    }
  }
}

}  // namespace
