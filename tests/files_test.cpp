// BMP and JPEG files, in and out, and everything that can be wrong with them.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "image/key_colour.h"
#include "plain/image.h"
#include "platform/file.h"
#include "platform/path.h"
#include "testing/jpeg_samples.h"
#include "testing/object_state.h"
#include "tests/faults.h"
#include "tests/kernel_check.h"

using rastelo::Inside;

namespace {

void Put32(Bytes& bytes, std::size_t offset, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[offset + std::size_t(i)] = std::uint8_t(value >> (8 * i));
}

TEST(Bmp, WritesTheseBytes) {
  for (const int pixelBytes : {1, 3}) {
    const LiteralImage image = Noise(5, 2, pixelBytes);
    const std::uint32_t start = pixelBytes == 1 ? 1078 : 54, count = pixelBytes == 1 ? 16 : 32;
    Bytes expected(start);
    expected[0] = 'B';
    expected[1] = 'M';
    const std::pair<std::size_t, std::uint32_t> fields[] = {{2, start + count},
                                                            {10, start},
                                                            {14, 40},
                                                            {18, 5},
                                                            {22, 2},
                                                            {34, count},
                                                            {26, 1 | image.BitCount() << 16}};
    for (const auto& [offset, value] : fields) Put32(expected, offset, value);
    for (std::uint32_t i = 0; 54 + 4 * i < start; ++i) Put32(expected, 54 + 4 * i, i * 0x010101);
    const Bytes rows = ZeroTails(image).bytes;
    expected.insert(expected.end(), rows.begin(), rows.end());
    EXPECT_EQ(ReadFile(PictureFile(pixelBytes == 1 ? "gray.bmp" : "colour.BMP", image)), expected);
  }
}

TEST(Bmp, OpensColoursAsKeyAndFill) {
  const LiteralImage image({{255, 0, 255, 255, 0, 254}, {255, 255, 255, 0, 0, 0}}, 3);
  const LiteralImage reduced({{255, 0, 255, 70, 51, 41}, {70, 51, 41, 70, 51, 41}}, 3);
  Bytes file = ReadFile(PictureFile("a.bmp", image));
  Put32(file, 10, 0xFFFFFFFF);  // where the pixels lie is not asked of the file header
  CRastelo object;
  object.DrawImage(nullptr, nullptr, 0, 0, nullptr);
  ASSERT_EQ(Open(object, file, "b.bmp"), 1);
  const auto state = ObjectState(object);
  EXPECT_EQ(state.pixels, ZeroTails(reduced).bytes);
  EXPECT_EQ(state.loaded, state.pixels);
  EXPECT_TRUE(object.IsCanTrans2Gray());
  EXPECT_TRUE(std::equal(file.begin() + 14, file.end(), state.bmpHeader.begin()));
}

TEST(BmpFile, OpensToItsPixelsOrLeavesTheObjectAlone) {
  LiteralImage image = ZeroTails(Noise(5, 3));
  const Bytes whole = ReadFile(PictureFile("a.bmp", image));
  const auto with = [&](std::size_t offset, std::uint32_t value, int tableBytes = 1024) {
    Bytes file = whole;
    Put32(file, offset, value);
    file.erase(file.begin() + 54 + tableBytes, file.begin() + 1078);
    return file;
  };
  Bytes longHeader = with(14, 108), trailing = whole;
  longHeader.insert(longHeader.begin() + 54, 68, 0xCC);
  trailing.resize(whole.size() + 5000);
  const HookRecorder hooks;
  CRastelo object;
  for (const Bytes& file : {whole, longHeader, trailing, with(46, 2, 8), with(46, 16385, 4)}) {
    object = CRastelo();
    EXPECT_EQ(Open(object, file, "b.bmp"), 1);
    EXPECT_EQ(ImageOf(object), image);
    EXPECT_EQ(ObjectState(object).loaded, image.bytes);
  }
  EXPECT_EQ(Open(object, with(22, std::uint32_t(-3)), "top_down.bmp"), 1);
  Inside::ReverseBitsY(object, 5, 3, 8, image.bytes.data());
  EXPECT_EQ(ImageOf(object), image);

  std::vector<Bytes> refused = {{}, {&whole[0], &whole[14]}, {&whole[0], &whole.back()}};
  const std::pair<std::size_t, std::uint32_t> fields[] = {
      // and a value that is not taken
      {0, 'B' | 'A' << 8}, {14, 12}, {14, UINT32_MAX}, {18, 0},          {18, std::uint32_t(-5)},
      {18, INT32_MAX},     {22, 0},  {22, INT32_MAX},  {22, 0x80000000}, {26, 1 | 4 << 16},
      {26, 1 | 32 << 16},  {30, 1}};
  for (const auto& [offset, value] : fields) refused.push_back(with(offset, value));
  for (const Bytes& file : refused) {
    object = ObjectWith(Noise(2, 2, 3));
    const auto before = ObjectState(object);
    EXPECT_EQ(Open(object, file, "b.bmp"), 0) << testing::PrintToString(file);
    EXPECT_EQ(ObjectState(object), before);
  }
  EXPECT_THAT(hooks.boxes, testing::IsEmpty());
}

TEST(KeyColourPass, IsThePlainOneOnEveryTarget) {
  for (const int distance : {1, 3, 97})
    ForAwkwardPictures(3, [=](LiteralImage bgr) {
      for (int i = 0; i < bgr.Count(); i += distance) {
        std::uint8_t* pixel = &bgr.At(i % bgr.width * 3, i / bgr.width);
        pixel[0] = pixel[2] = 255;
        pixel[1] = distance == 1 || i % 2 == 0 ? 0 : pixel[1];
      }
      ExpectSameInPlace(bgr, rastelo::ReduceToKeyColour, plain::ReduceToKeyColour);
    });
}

TEST(Bmp, CountsColourTableEntries) {
  const std::array<std::uint32_t, 4> cases[] = {
      {40, 8, 0, 256}, {40, 8, 7, 7},      {40, 4, 0, 16},   {40, 1, 0, 2},
      {40, 24, 0, 0},  {40, 24, 256, 256}, {12, 8, 99, 256}, {12, 24, 99, 0}};
  for (const auto& [headerBytes, bitCount, coloursUsed, entries] : cases) {
    Bytes header(40);
    Put32(header, 0, headerBytes);
    Put32(header, headerBytes == 40 ? 14 : 10, bitCount);
    Put32(header, 32, coloursUsed);
    EXPECT_EQ(GetPaletteSize(header.data()), entries) << headerBytes << ' ' << bitCount;
  }
}

/// A JPEG file of flat blocks.
Bytes MakeJpeg(int width, int height, int channels) {
  const auto choose = [](jpeg_compress_struct& codec) { jpeg_set_quality(&codec, 100, TRUE); };
  return fuzz::EncodeJpeg(width, height, channels, choose, [=](int y, Bytes& row) {
    for (std::size_t i = 0; i < row.size(); ++i)
      row[i] = std::uint8_t(y < height / 2 ? 200 - 60 * (int(i) % channels) : 30);
  });
}

TEST(Jpeg, OpensEveryCodingToTheRowsThatTheCodecAloneGives) {
  for (const fuzz::JpegCoding& coding : fuzz::kJpegCodings)
    for (const int width : {1, 5, 8, 17}) {
      if (coding.channels == 4) continue;
      const Bytes file =
          fuzz::EncodeJpeg(width, 19, coding.channels, coding.choose, [](int y, Bytes& row) {
            for (std::size_t i = 0; i < row.size(); ++i) row[i] = std::uint8_t(i * i * 5 + y * y);
          });
      CRastelo object;
      ASSERT_EQ(Open(object, file, "a.JPG"), 1) << coding.name;
      const auto state = ObjectState(object);
      EXPECT_TRUE(state.fileName.ends_with("a.JPG"));
      EXPECT_EQ(state.loaded, state.pixels);
      LiteralImage expected = ZeroTails({width, 19, coding.channels});
      const Bytes rows = fuzz::DecodeJpeg(file);
      const int rowBytes = width * coding.channels;
      for (int y = 0; y < 19; ++y)
        std::copy_n(&rows[std::size_t(y * rowBytes)], rowBytes, &expected.At(0, 18 - y));
      ASSERT_EQ(ZeroTails(ImageOf(object)), expected) << coding.name;
    }
}

TEST(Jpeg, WritesItsFormAndTheTopRowFirst) {
  for (const int pixelBytes : {1, 3}) {
    LiteralImage image(16, 16, pixelBytes);
    for (int i = 8 * 16; i < 16 * 16; ++i)  // the upper half
      image.At(i % 16 * pixelBytes, i / 16) = 180;
    Bytes file = ReadFile(PictureFile("a.jpg", image));
    const std::uint8_t* frame = fuzz::FrameOf(file);
    EXPECT_EQ(int{frame[9]}, pixelBytes) << "channels";
    EXPECT_EQ(int{frame[11]}, pixelBytes == 3 ? 0x22 : 0x11) << "chroma at half size";
    const Bytes quantisation = {0xFF, 0xDB, 0, 67, 0, 8};  // 16 at quality 50, 8 at quality 75
    EXPECT_NE(std::search(file.begin(), file.end(), quantisation.begin(), quantisation.end()),
              file.end());

    CRastelo object;
    ASSERT_EQ(Open(object, file, "b.jpg"), 1);
    LiteralImage opened = ImageOf(object);
    EXPECT_EQ(opened.pixelBytes, pixelBytes);
    EXPECT_NEAR(opened.At(0, 0), 0, 6);
    EXPECT_NEAR(opened.At(0, 15), 180, 6);
  }
}

TEST(Jpeg, TellsSizeAndDepth) {
  const std::string path = TestFolder() + "a.jpg";
  WriteFile(path, MakeJpeg(17, 9, 4));
  CRastelo object;
  for (const char* file :
       {path.c_str(), "/dev/null", "none.jpg", ".jpg", "", (const char*)nullptr}) {
    const bool isUsable = file == path.c_str();
    LONG width = 77, height = 0;
    int bitCount = 0;
    EXPECT_EQ(object.GetSizeJPG(file, &width, &height, nullptr), isUsable);
    EXPECT_EQ(object.GetSizeJPG(file, &width, &height, &bitCount), isUsable);
    EXPECT_EQ(std::tuple(width, height, bitCount),
              isUsable ? std::tuple(17, 9, 32) : std::tuple(77, 0, 0));
  }
}

TEST(Jpeg, OpensOverHarmlessOddities) {
  Bytes file = MakeJpeg(8, 8, 1);
  const std::size_t endOfFirstSegment = 4u + std::size_t(file[4] << 8 | file[5]);
  const Bytes stray = {0x12, 0x34, 0x56};
  file.insert(file.begin() + std::ptrdiff_t(endOfFirstSegment), stray.begin(), stray.end());
  CRastelo object;
  EXPECT_EQ(Open(object, file, "a.jpg"), 1);
  const Bytes startOfScan = {0xFF, 0xDA, 0, 8};
  const auto scan = std::search(file.begin(), file.end(), startOfScan.begin(), startOfScan.end());
  scan[8] = 0;  // a last coefficient that a sequential scan has no use for
  EXPECT_EQ(Open(object, file, "b.jpg"), 1);
  EXPECT_EQ(Open(object, MakeJpeg(65500, 1, 1), "c.jpg"), 1);
  EXPECT_EQ(object.GetWidth(), 65500);
}

TEST(Jpeg, RefusesWhatIsNoPictureOfOneOrThreeChannelsOfEightBits) {
  const std::string text = "just a few words";
  Bytes tooLarge = MakeJpeg(8, 8, 3), gray12 = MakeJpeg(8, 8, 1), colour12 = tooLarge;
  std::fill_n(fuzz::FrameOf(tooLarge) + 5, 4, std::uint8_t{0xFE});
  for (Bytes* file : {&gray12, &colour12}) {
    fuzz::FrameOf(*file)[4] = 12;
    fuzz::FrameOf(*file)[1] = 0xC1;  // extended, as more than eight bits need
  }
  for (const Bytes& file :
       {Bytes(text.begin(), text.end()), MakeJpeg(8, 8, 4), tooLarge, gray12, colour12}) {
    CRastelo object = ObjectWith(Noise(4, 2));
    auto expected = ObjectState(object);
    EXPECT_EQ(Open(object, file, "a.jpg"), 0);
    expected.fileName = ObjectState(object).fileName;
    EXPECT_EQ(ObjectState(object), expected);
    EXPECT_TRUE(expected.fileName.ends_with("a.jpg"));
  }
}

TEST(Files, OpensInARowKeepWhatTheOtherFormatLeft) {
  CRastelo object;
  ASSERT_EQ(Open(object, MakeJpeg(8, 8, 3), "a.jpg"), 1);
  EXPECT_TRUE(ObjectState(object).bmpHeader.empty());
  ASSERT_EQ(Open(object, ReadFile(PictureFile("b.bmp", Noise(3, 3))), "c.bmp"), 1);
  EXPECT_TRUE(ObjectState(object).fileName.ends_with("a.jpg"));
  ASSERT_EQ(Open(object, MakeJpeg(5, 2, 1), "d.jpg"), 1);
  EXPECT_FALSE(ObjectState(object).bmpHeader.empty());
  object.RotateImage_Dir(1);
  object.Close();
  const auto closed = ObjectState(object);
  EXPECT_FALSE(closed.hasPixels || closed.opened);
  EXPECT_TRUE(closed.bmpHeader.empty() && closed.loaded.empty());
  EXPECT_TRUE(closed.loadedWidth == 5 && closed.loadedHeight == 2) << "kept";
}

TEST(Files, ShowAMessageForWhatCannotBeOpened) {
  const std::string folder = TestFolder();
  std::filesystem::create_directory(folder + "folder.bmp");
  std::filesystem::create_directory(folder + "folder.jpg");
  for (const char* name : {"none.bmp", "none.jpg", "folder.bmp", "folder.jpg"}) {
    CRastelo object = ObjectWith(Noise(4, 2));
    const auto before = ObjectState(object);
    const HookRecorder hooks;
    EXPECT_EQ(object.OpenImage((folder + name).c_str()), 0) << name;
    EXPECT_THAT(hooks.boxes, testing::ElementsAre("\xCE\xC4\xBC\xFE\xB2\xBB\xB4\xE6\xD4\xDA\x21",
                                                  "\xB4\xED\xCE\xF3\x21"))
        << name;
    EXPECT_EQ(ObjectState(object), before) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(folder + "none.bmp"));
}

TEST(Files, LargerThanAnyStoreAreRefusedUnread) {
  const std::string path = TestFolder() + "a.bmp";
  for (const std::uint64_t bytes : {0x7FFFFFFFull, 0x80200000ull, 0x100000000ull, 0x140000000ull}) {
    WriteFile(path, ReadFile(PictureFile("b.bmp", Noise(5, 3))));
    std::filesystem::resize_file(path, bytes);  // a hole, where the file system has them
    EXPECT_EQ(rastelo::platform::File::OpenExisting(path.c_str()).Size(), std::int64_t(bytes));
    if (bytes < 0x80000000) continue;
    const std::size_t before = allocations::Bytes();
    EXPECT_EQ(CRastelo().OpenImage(path.c_str()), 0) << bytes;
    EXPECT_LT(allocations::Bytes() - before, 65536u);
  }
}

TEST(Files, TellTheirExtensionAtAnyLength) {
  const std::string folder(300, 'f'), name(300, 'n');
  const std::pair<std::string, std::string> cases[] = {{"a.b.jpg", ".jpg"},
                                                       {".bmp", ".bmp"},
                                                       {"a.jpg/b", ""},
                                                       {"a.jpg\\b", ""},
                                                       {"c:a.jpg", ".jpg"},
                                                       {"a.", "."},
                                                       {"", ""},
                                                       {"a." + name + "/b", ""},
                                                       {"a.b." + name, "." + name},
                                                       {folder + "/" + folder + "\\a.bmp", ".bmp"},
                                                       {folder + "." + name + ".jpg", ".jpg"}};
  for (const auto& [path, extension] : cases)
    EXPECT_EQ(rastelo::platform::PathExtension(path.c_str()), extension) << path;
}

TEST(VisibleSave, WritesTheDrawnAreaAsFarAsItLiesInTheImage) {
  LiteralImage image(300, 200, 1);
  for (int i = 0; i < image.Count(); ++i) image.At(i) = std::uint8_t(i / 300);
  const std::tuple<RECT, LONG, LONG, int, int> cases[] = {{{0, 0, 100, 50}, 100, 50, 124, 75},
                                                          {{5, 5, 405, 305}, 300, 200, 199, 0}};
  const std::string path = TestFolder() + "a.bmp";
  for (auto [target, width, height, upper, lower] : cases) {
    CRastelo object = ObjectWith(image), saved;
    object.DrawImage(nullptr, &target, 0, 0, nullptr);
    object.DrawImage(nullptr, &target, true);
    ASSERT_EQ(object.SaveAs_visible_JPG(path.c_str()), 1);
    ASSERT_EQ(Open(saved, ReadFile(path), "b.jpg"), 1);
    EXPECT_EQ(std::pair(saved.GetWidth(), saved.GetHeight()), std::pair(width, height));
    EXPECT_NEAR(ObjectState(saved).pixels.front(), lower, 3);
    EXPECT_NEAR(ObjectState(saved).pixels.back(), upper, 3);
  }
}

TEST(VisibleSave, FailsWithoutAnArea) {
  const std::string path = TestFolder() + "a.jpg";
  CRastelo object = ObjectWith(Noise(10, 10));
  testing::internal::CaptureStderr();
  EXPECT_EQ(object.SaveAs_visible_JPG(path.c_str()), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Can't write image\n\n");
  EXPECT_EQ(CRastelo().SaveAs_visible_JPG(path.c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
