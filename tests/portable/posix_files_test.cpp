// Files as only POSIX systems have them, message boxes without a hook, and saves that are killed.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "testing/object_state.h"

using rastelo::Inside;

namespace {

TEST(PosixFiles, HavePathsOfAnyLengthAndBytes) {
  std::string folder;
  while (folder.size() < 300) folder += "a_long_folder_name/";
  for (const std::string& name :
       {folder + "a.jpg", std::string("\xFF\xFE\x80.bmp"), std::string("\xC3\x28.jpg")}) {
    const std::string path = TestFolder() + name;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    CRastelo object = ObjectWith(Noise(4, 2));
    EXPECT_EQ(object.SaveAs(path.c_str()) + object.OpenImage(path.c_str()), 2) << name;
    EXPECT_EQ(ObjectState(object).fileName, path.ends_with(".jpg") ? path.substr(0, 259) : "");
  }
}

/// A host whose code throws wherever the library calls it.
struct ThrowingHost : rastelo::DeviceContext {
  ThrowingHost() {
    rastelo::SetDebugOutputHook([this](const char*) { Throw(); });
    rastelo::SetMessageBoxHook([this](const char*, const char*) { Throw(); });
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
  HookRecorder hooks;  // takes them back at the end
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

TEST(PosixFiles, APipeIsNoPicture) {
  const std::string path = TestFolder() + "pipe.bmp";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(CRastelo().OpenImage(path.c_str()), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "错误! 文件不存在!\n") << "no hook";
}

TEST(KilledSaves, LeaveTheOldFileOrABeginningOfTheNewOne) {
  CRastelo next = ObjectWith(Noise(400, 300, 3)), again;
  for (int i = 0; i < 2 * 200; ++i) {
    static Bytes after;
    const char* name = i < 200 ? "a.bmp" : "a.jpg";
    if (i % 200 == 0) after = ReadFile(PictureFile(name, ImageOf(next)));
    const std::string path = PictureFile(name, Noise(30, 20, 3));
    const Bytes before = ReadFile(path);
    const pid_t child = fork();
    if (child == 0) _exit(next.SaveAs(path.c_str()));
    usleep(unsigned(i * 2654435761u % 4000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const Bytes left = ReadFile(path);
    const auto [end, other] = std::mismatch(left.begin(), left.end(), after.begin(), after.end());
    ASSERT_TRUE(left == before || end == left.end()) << left.size();
    again.OpenImage(path.c_str());
    ASSERT_TRUE(IsConsistent(again));
  }
}

}  // namespace
