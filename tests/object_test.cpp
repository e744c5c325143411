// The object's life: opening by extension, pixels of the host, closing, copies, traces.
#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <future>
#include <optional>

#include "testing/object_state.h"
#include "tests/faults.h"

using rastelo::Inside;

namespace {

TEST(Object, StartsEmptyAndClosesAnyNumberOfTimes) {
  CRastelo object;
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(object.GetWidth() == 0 && object.GetHeight() == 0);
    EXPECT_FALSE(object.IsOpened() || object.IsCanTrans2Gray());
    EXPECT_EQ(object.Close(), 1);
  }
  EXPECT_EQ(Inside::GetImgSize(object, "any"), -1);
}

TEST(Object, RefusesOtherExtensionsAndSavesNoOtherDepthsWithoutTouchingAnything) {
  const HookRecorder hooks;
  const std::string folder = TestFolder();
  const std::vector<unsigned char> bits(64, 0x5A);
  for (const int bitCount : {-8, 0, 1, 4, 16, 24, 32}) {  // -8 stays without an image
    CRastelo object;
    object.SetExternalImageBits(bits.data(), 4, 4, bitCount);
    const auto before = ObjectState(object);
    for (const char* name :
         {"a.Jpg", "a.jpeg", "a.png", "a.Bmp", "a", "a.bmp/b", "a.bmp\\b", "", "."}) {
      EXPECT_EQ(object.OpenImage((folder + name).c_str()), 0) << name;
      EXPECT_EQ(object.SaveAs((folder + name).c_str()), 0) << name;
    }
    EXPECT_EQ(object.OpenImage(nullptr) + object.SaveAs(nullptr), 0);
    for (const char* name : {"a.bmp", "a.jpg"})
      EXPECT_TRUE(bitCount == 24 || object.SaveAs((folder + name).c_str()) == 0) << bitCount;
    EXPECT_TRUE(bitCount == 24 || object.SaveAs_visible_JPG((folder + "b.jpg").c_str()) == 0);
    EXPECT_EQ(ObjectState(object), before) << bitCount;
  }
  EXPECT_THAT(hooks.boxes, testing::IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST(Object, TakesAnImageWithoutPixels) {
  const unsigned char none = 0;
  CRastelo object = ObjectWith(Noise(5, 4));
  object.SetExternalImageBits(&none, 0, 3, 24);
  EXPECT_TRUE(object.IsOpened() && object.GetHeight() == 3 && object.RGBImg2Gray());
  object.RotateImage_Dir(1);
  EXPECT_EQ(object.GetWidth(), 3);
  object.SetExternalImageBits(&none, 0, INT32_MAX, 8);
  const long before = allocations::Count();
  EXPECT_EQ(object.FFT(), 1);
  EXPECT_LT(allocations::Count() - before, 9) << "no more for a long side without pixels";
  object.Close();
  object.Zoom_Size(5, 0);
  EXPECT_TRUE(object.GetWidth() == 0 && IsConsistent(object));
}

TEST(Object, IgnoresPixelsThatAreNoBuffer) {
  CRastelo object = ObjectWith(Noise(5, 4));
  const auto before = ObjectState(object);
  const unsigned char one = 1;
  object.SetExternalImageBits(nullptr, 1, 1, 8);
  EXPECT_EQ(ObjectState(object), before);
  const std::array<int, 3> cases[] = {{-1, 1, 8},         {1, -1, 8},
                                      {1, 1, -8},         {1 << 20, 1 << 20, 8},
                                      {INT32_MAX, 1, 24}, {INT32_MAX, INT32_MAX, INT32_MAX}};
  for (const auto& [width, height, bitCount] : cases) {
    object.SetExternalImageBits(&one, width, height, bitCount);
    EXPECT_EQ(ObjectState(object), before) << width << " x " << height;
  }
}

TEST(Object, CopiesShareTheirPixelsUntilOneTakesOthers) {
  const LiteralImage image = Noise(5, 4);
  std::optional<CRastelo> first = ObjectWith(image);
  CRastelo second(*first), third;
  third.SetExternalImageBits(image.bytes.data(), 2, 2, 8);
  third = second;
  third = *&third;
  first->ReserveImgBlock(0, 0, 0, 0);
  EXPECT_EQ(ImageOf(third), ImageOf(*first));
  EXPECT_NE(ImageOf(third), image);
  second.RotateImage_Dir(1);
  CRastelo fourth(*first);
  fourth.SetExternalImageBits(Bytes(image.bytes.size(), 7).data(), 5, 4, 8);
  first->Close();
  EXPECT_EQ(third.GetWidth(), 5);
  first.reset();
  second = CRastelo();
  EXPECT_TRUE(IsConsistent(third));
  EXPECT_EQ(ObjectState(third).loaded, image.bytes);
}

TEST(Object, FlipsWholeRows) {
  CRastelo object;
  for (int i = 0; i < 2 * 6 * 5; ++i) {
    LiteralImage image = Noise(i / 2 % 6 + 1, i / 12, i % 2 * 2 + 1);
    for (std::size_t n = 0; n < image.bytes.size(); ++n) image.bytes[n] ^= std::uint8_t(n);
    LiteralImage flipped = image;
    for (int n = 0; n < image.height * image.pitch; ++n)
      flipped.At(n % image.pitch, image.height - 1 - n / image.pitch) = image.bytes[std::size_t(n)];
    Inside::ReverseBitsY(object, image.width, image.height, image.BitCount(), image.bytes.data());
    EXPECT_EQ(image, flipped);
  }
}

TEST(Object, StaysAsItIsWithoutPixelsOfAKnownDepth) {
  for (const int bits : {0, 8, 16, 24, 32}) {  // 0: new, 8 and 24: closed
    CRastelo object = bits == 0 ? CRastelo() : ObjectWith(Noise(5, 4, bits / 8));
    if (bits % 16 == 8) object.Close();
    auto before = ObjectState(object);
    LiteralImage block = Noise(5, 4, 4);
    LONG sum = -1;
    object.Img_Sobel();
    object.ImgTemplateOperator(std::vector(9, 2.0).data(), 3);
    object.ImgTrans2_0_1(128, 1, 1);
    object.InverseGray();
    object.ImgErosion();
    EXPECT_TRUE(object.ImgAverageLight_H(1) && object.ImgAverageLight(2, 0));
    EXPECT_FALSE(object.RGBImg2Gray());
    EXPECT_EQ(object.GetImgBlock(0, 0, 4, 3, bits, block.bytes.data()), 1);
    EXPECT_EQ(object.ReserveImgBlock(0, 0, 2, 2) + object.ImgProjectionHorizon(&sum), 2);
    CImgRevokeOpr history;
    history.AddProcessImg(&object);
    history.DelProcessImg(nullptr);
    history.RevokeImgForward();
    history.RevokeImgBackward();
    EXPECT_EQ(ObjectState(object), before) << bits;
    object.RotateImage_Dir(1);
    before.hasPixels = true;  // without an image, an empty buffer
    EXPECT_EQ(ObjectState(object), before) << bits;
    EXPECT_TRUE(block == Noise(5, 4, 4) && sum == -1) << bits;
  }
}

using Operation = std::function<void(CRastelo&)>;

/// Every operation that takes memory or time, but for drawing. Files go to `folder`.
std::vector<Operation> Operations(const std::string& folder) {
  const std::string bmp = folder + "a.bmp", jpg = folder + "a.jpg";
  const LiteralImage image = Noise(40, 30, 3);
  CRastelo source = ObjectWith(image);
  EXPECT_EQ(source.SaveAs(bmp.c_str()) + source.SaveAs(jpg.c_str()), 2);
  std::vector<Operation> operations{
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
      [](CRastelo& o) { o.FFT(); },
      [](CRastelo& o) { o.IFFT(); }};
  for (const auto operation :
       {&CRastelo::Segment_Otsu, &CRastelo::Segment_Graphcut, &CRastelo::HistogramEqualization2,
        &CRastelo::HistogramEqualization3, &CRastelo::Img_Sobel})
    operations.push_back(operation);
  return operations;
}

TEST(Threads, RunObjectsOfTheirOwn) {
  const std::string folder = TestFolder();
  const auto runAll = [](const std::vector<Operation>& operations) {
    CRastelo object = ObjectWith(Noise(64, 64, 3));
    std::vector<Bytes> pixels;
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
  for (std::size_t i = 0; i < 2 * 2 * operations.size(); ++i) {
    const auto makeObject = [=] {  // of both depths, without a spectrum and with one
      CRastelo object = ObjectWith(Noise(20, 20));
      if (i % 2 == 1) object.FFT();
      object.ILPF(9.0);
      object.SetExternalImageBits(Noise(20, 20, 3).bytes.data(), 20, 20, i / 2 % 2 == 1 ? 24 : 8);
      return object;
    };
    CRastelo free = makeObject();
    const long before = allocations::Count();
    operations[i / 4](free);
    const long count = allocations::Count() - before;  // each of which is to fail once
    for (long successes = 0; successes < count; ++successes) {
      CRastelo object = makeObject();
      const auto whole = ObjectState(object);
      bool failed = false;
      try {
        const allocations::FailAfter fault(successes);
        operations[i / 4](object);
      } catch (const std::bad_alloc&) {
        failed = true;
      }
      EXPECT_TRUE(failed) << "operation " << i / 4 << ", allocation " << successes;
      EXPECT_EQ(ObjectState(object), whole)
          << "operation " << i / 4 << ", allocation " << successes;
    }
  }
}

TEST(OutOfMemory, IsReportedByTheSaveOfTheVisibleArea) {
  CRastelo object = ObjectWith(Noise(20, 20, 3));
  RECT rc{0, 0, 10, 10};
  object.DrawImage(nullptr, &rc, 0, 0, nullptr);
  const std::string path = TestFolder() + "a.jpg";
  testing::internal::CaptureStderr();
  auto fault = std::make_optional<allocations::FailAfter>(0);
  const int saved = object.SaveAs_visible_JPG(path.c_str());
  fault.reset();
  EXPECT_EQ(saved, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error storing JPEG file\n");
}

TEST(Trace, CutsATextThatIsTooLong) {
  const HookRecorder hooks;
  DebugTrace("%s-%d\n", "a", 7);
  DebugTrace("%600d", 1);
  EXPECT_EQ(hooks.trace, "a-7\n" + std::string(511, ' '));
}

}  // namespace
