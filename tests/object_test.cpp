// The object's life: opening by extension, pixels of the host, closing, copies, traces.
#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <future>
#include <memory>

#include "testing/object_state.h"
#include "tests/allocations.h"

using rastelo::Inside;

namespace {

TEST(Object, StartsEmptyAndClosesAnyNumberOfTimes) {
  CRastelo object;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(object.GetWidth(), 0);
    EXPECT_EQ(object.GetHeight(), 0);
    EXPECT_FALSE(object.IsOpened());
    EXPECT_FALSE(object.IsCanTrans2Gray());
    EXPECT_EQ(object.Close(), 1);
  }
  EXPECT_EQ(Inside::GetImgSize(object, "any"), -1);
}

TEST(Object, RefusesOtherExtensionsWithoutTouchingAnything) {
  CRastelo object = ObjectWith(Noise(5, 4, 3));
  const auto before = ObjectState(object);
  const HookRecorder hooks;
  const std::string folder = TestFolder();
  for (const char* name :
       {"a.Jpg", "a.jpeg", "a.png", "a.Bmp", "a", "a.bmp/b", "a.bmp\\b", "", "."}) {
    EXPECT_EQ(object.OpenImage((folder + name).c_str()), 0) << name;
    EXPECT_EQ(object.SaveAs((folder + name).c_str()), 0) << name;
  }
  EXPECT_EQ(object.OpenImage(nullptr), 0);
  EXPECT_EQ(object.SaveAs(nullptr), 0);
  EXPECT_EQ(ObjectState(object), before);
  EXPECT_THAT(hooks.boxes, testing::IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST(Object, KeepsTheHostsPixelsTailsIncluded) {
  for (const int pixelBytes : {1, 3}) {
    for (std::int32_t width = 1; width <= 9; ++width) {
      const LiteralImage image = Noise(width, 3, pixelBytes);
      const CRastelo object = ObjectWith(image);
      const auto state = ObjectState(object);
      EXPECT_EQ(ImageOf(object), image);
      EXPECT_EQ(state.loaded, image.bytes);
      EXPECT_EQ(state.pitch, (8 * pixelBytes * width + 31) / 32 * 4);
      EXPECT_TRUE(state.opened);
      EXPECT_TRUE(IsConsistent(object));
    }
  }
}

TEST(Object, TakesAnImageWithoutPixels) {
  const unsigned char none = 0;
  CRastelo object = ObjectWith(Noise(5, 4));
  object.SetExternalImageBits(&none, 0, 3, 24);
  EXPECT_TRUE(object.IsOpened());
  EXPECT_EQ(object.GetHeight(), 3);
  EXPECT_TRUE(object.RGBImg2Gray());
  object.RotateImage_Dir(1);
  EXPECT_EQ(object.GetWidth(), 3);
  object.SetExternalImageBits(&none, 0, INT32_MAX, 8);
  const long before = allocations::Count();
  EXPECT_EQ(object.FFT(), 1);
  EXPECT_LT(allocations::Count() - before, 9) << "no more for a long side without pixels";
  object.Close();
  object.Zoom_Size(5, 0);
  EXPECT_EQ(object.GetWidth(), 0);
  EXPECT_TRUE(IsConsistent(object));
}

TEST(Object, IgnoresPixelsThatAreNoBuffer) {
  CRastelo object = ObjectWith(Noise(5, 4));
  const auto before = ObjectState(object);
  const unsigned char one = 1;
  const struct {
    const unsigned char* bits;
    LONG width, height;
    int bitCount;
  } cases[] = {{nullptr, 1, 1, 8},
               {&one, -1, 1, 8},
               {&one, 1, -1, 8},
               {&one, 1, 1, -8},
               {&one, 1 << 20, 1 << 20, 8},
               {&one, INT32_MAX, 1, 24},
               {&one, INT32_MAX, INT32_MAX, INT32_MAX}};
  for (const auto& c : cases) {
    object.SetExternalImageBits(c.bits, c.width, c.height, c.bitCount);
    EXPECT_EQ(ObjectState(object), before) << c.width << " x " << c.height;
  }
}

TEST(Object, SavesNothingOfUnknownDepths) {
  const HookRecorder hooks;
  const std::string folder = TestFolder();
  const std::vector<unsigned char> bits(64, 0x5A);
  for (const int bitCount : {0, 1, 4, 16, 32}) {
    CRastelo object;
    object.SetExternalImageBits(bits.data(), 4, 4, bitCount);
    const auto before = ObjectState(object);
    for (const char* name : {"a.bmp", "a.jpg"})
      EXPECT_EQ(object.SaveAs((folder + name).c_str()), 0) << name;
    EXPECT_EQ(object.SaveAs_visible_JPG((folder + "b.jpg").c_str()), 0);
    EXPECT_EQ(ObjectState(object), before) << bitCount;
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST(Object, CloseDropsTheImageAndKeepsTheLoadedSize) {
  CRastelo object = ObjectWith(Noise(5, 4));
  object.RotateImage_Dir(1);
  object.Close();
  const auto state = ObjectState(object);
  EXPECT_FALSE(state.hasPixels);
  EXPECT_FALSE(object.IsOpened());
  EXPECT_EQ(state.loadedWidth, 5);
  EXPECT_EQ(state.loadedHeight, 4);
  EXPECT_TRUE(state.loaded.empty());
}

TEST(Object, CopiesShareTheirPixelsUntilOneTakesOthers) {
  const LiteralImage image = Noise(5, 4);
  auto first = std::make_unique<CRastelo>(ObjectWith(image));
  CRastelo second(*first), third;
  third.SetExternalImageBits(image.bytes.data(), 2, 2, 8);
  third = second;
  third = *&third;
  first->ReserveImgBlock(0, 0, 0, 0);
  EXPECT_EQ(ImageOf(third), ImageOf(*first));
  EXPECT_NE(ImageOf(third), image);
  second.RotateImage_Dir(1);
  CRastelo fourth(*first);
  fourth.SetExternalImageBits(std::vector<std::uint8_t>(image.bytes.size(), 7).data(), 5, 4, 8);
  first->Close();
  EXPECT_EQ(third.GetWidth(), 5);
  first.reset();
  second = CRastelo();
  EXPECT_TRUE(IsConsistent(third));
  EXPECT_EQ(ObjectState(third).loaded, image.bytes);
}

TEST(Object, TurnsRowsUpsideDown) {
  CRastelo object;
  const struct {
    LiteralImage before, after;
  } cases[] = {{{{1, 2}}, {{1, 2}}},
               {{{1, 2}, {3, 4}}, {{3, 4}, {1, 2}}},
               {{{1}, {2}, {3}}, {{3}, {2}, {1}}},
               {LiteralImage({{1, 2, 3}, {4, 5, 6}}, 3), LiteralImage({{4, 5, 6}, {1, 2, 3}}, 3)}};
  for (const auto& c : cases) {
    LiteralImage image = c.before;
    Inside::ReverseBitsY(object, image.width, image.height, image.BitCount(), image.bytes.data());
    EXPECT_EQ(image, c.after);
  }
  LiteralImage tails = {{1, 2, 3}, {4, 5, 6}};
  tails.bytes[3] = 0xAA;
  Inside::ReverseBitsY(object, tails.width, tails.height, tails.BitCount(), tails.bytes.data());
  EXPECT_EQ(tails.bytes[7], 0xAA) << "whole rows change places";
}

using Operation = std::function<void(CRastelo&)>;

/// Every operation that takes memory or time, but for drawing. Files go to `folder`.
std::vector<Operation> Operations(const std::string& folder) {
  const std::string bmp = folder + "a.bmp", jpg = folder + "a.jpg";
  const LiteralImage image = Noise(40, 30, 3);
  CRastelo source = ObjectWith(image);
  EXPECT_EQ(source.SaveAs(bmp.c_str()) + source.SaveAs(jpg.c_str()), 2);
  std::vector<Operation> operations = {
      [=](CRastelo& o) { o.OpenImage(bmp.c_str()); },
      [=](CRastelo& o) { o.OpenImage(jpg.c_str()); },
      [=](CRastelo& o) { o.SaveAs(bmp.c_str()); },
      [=](CRastelo& o) { o.SetExternalImageBits(image.bytes.data(), 9, 9, 24); },
      [](CRastelo& o) { o.RotateImage_Dir(1); },
      [](CRastelo& o) { o.RGBImg2Gray(); },
      [](CRastelo& o) { o.Segment_NDHM(2); },
      [](CRastelo& o) { o.Zoom_In(1.5); },
      [](CRastelo& o) { o.Zoom_Size(20, 20); },
      [](CRastelo& o) { o.ImgTrans2_0_1(90, 1, 1); },
      [](CRastelo& o) { o.ImgAverageLight(2, 0); },
      [](CRastelo& o) { o.FFT(); }};
  for (const auto operation :
       {&CRastelo::Segment_Otsu, &CRastelo::Segment_Graphcut, &CRastelo::HistogramEqualization2,
        &CRastelo::HistogramEqualization3, &CRastelo::Img_Sobel})
    operations.push_back([=](CRastelo& o) { (o.*operation)(); });
  return operations;
}

TEST(Threads, RunObjectsOfTheirOwn) {
  const std::string folder = TestFolder();
  const auto runAll = [](const std::vector<Operation>& operations) {
    CRastelo object = ObjectWith(Noise(64, 64, 3));
    std::vector<std::vector<std::uint8_t>> pixels;
    for (const Operation& operation : operations) {
      operation(object);
      pixels.push_back(ObjectState(object).pixels);
    }
    return pixels;
  };
  std::filesystem::create_directory(folder + "other");
  const auto here = Operations(folder), there = Operations(folder + "other/");
  const auto alone = runAll(here);
  for (int i = 0; i < 10; ++i) {
    auto beside = std::async(std::launch::async, [&] { return runAll(there); });
    EXPECT_EQ(runAll(here), alone);
    EXPECT_EQ(beside.get(), alone);
  }
}

TEST(OutOfMemory, LeavesTheObjectAsItWas) {
  const std::vector<Operation> operations = Operations(TestFolder());
  for (const int pixelBytes : {1, 3}) {
    for (std::size_t i = 0; i < operations.size(); ++i) {
      CRastelo free = ObjectWith(Noise(20, 20, pixelBytes));
      const long before = allocations::Count();
      operations[i](free);
      const long count = allocations::Count() - before;  // each of which is to fail once
      for (long successes = 0; successes < count; ++successes) {
        CRastelo object = ObjectWith(Noise(20, 20, pixelBytes));
        const auto whole = ObjectState(object);
        bool failed = false;
        {
          const allocations::FailAfter fault(successes);
          try {
            operations[i](object);
          } catch (const std::bad_alloc&) {
            failed = true;
          }
        }
        EXPECT_TRUE(failed) << "operation " << i << ", allocation " << successes;
        EXPECT_EQ(ObjectState(object), whole) << "operation " << i << ", allocation " << successes;
      }
    }
  }
}

TEST(OutOfMemory, IsReportedByTheJpegSaves) {
  const std::string path = TestFolder() + "a.jpg";
  CRastelo object = ObjectWith(Noise(20, 20, 3));
  RECT rc{0, 0, 10, 10};
  object.DrawImage(nullptr, &rc, 0, 0, nullptr);
  for (const bool visible : {false, true}) {
    testing::internal::CaptureStderr();
    int saved = 0;
    {
      const allocations::FailAfter fault(1);
      saved = visible ? object.SaveAs_visible_JPG(path.c_str()) : object.SaveAs(path.c_str());
    }
    EXPECT_EQ(saved, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error storing JPEG file\n");
  }
}

TEST(Trace, CutsATextThatIsTooLong) {
  HookRecorder hooks;
  DebugTrace("%s-%d\n", "a", 7);
  EXPECT_EQ(hooks.trace, "a-7\n");
  hooks.trace.clear();
  DebugTrace("%600d", 1);
  EXPECT_EQ(hooks.trace, std::string(511, ' '));
}

}  // namespace
