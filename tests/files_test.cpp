// BMP and JPEG files, in and out, and everything that can be wrong with them.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "image/key_colour.h"
#include "image/spread_rows.h"
#include "plain/image.h"
#include "platform/file.h"
#include "platform/path.h"
#include "testing/jpeg_samples.h"
#include "testing/object_state.h"
#include "tests/allocations.h"
#include "tests/kernel_check.h"

using rastelo::Inside;
namespace platform = rastelo::platform;
using testing::ElementsAre;

namespace {

using Bytes = std::vector<std::uint8_t>;

const char* const kMissingText = "\xCE\xC4\xBC\xFE\xB2\xBB\xB4\xE6\xD4\xDA\x21";
const char* const kMissingCaption = "\xB4\xED\xCE\xF3\x21";

void Put32(Bytes& bytes, std::size_t offset, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[offset + std::size_t(i)] = std::uint8_t(value >> (8 * i));
}

/// The file that a save of this image writes.
Bytes Saved(const LiteralImage& image, const std::string& name) {
  const std::string path = TestFolder() + name;
  EXPECT_EQ(ObjectWith(image).SaveAs(path.c_str()), 1);
  return ReadFile(path);
}

/// Opens these bytes under a name and gives the result of the open.
int Open(CRastelo& object, const Bytes& bytes, const std::string& name) {
  const std::string path = TestFolder() + name;
  WriteFile(path, bytes);
  return object.OpenImage(path.c_str());
}

TEST(Bmp, WritesTheseBytes) {
  const LiteralImage gray = {{1, 2, 3, 4, 5}, {6, 7, 8, 9, 10}};
  Bytes expected(1078 + 16, 0);
  expected[0] = 'B';
  expected[1] = 'M';
  Put32(expected, 2, 1078 + 16);
  Put32(expected, 10, 1078);
  Put32(expected, 14, 40);
  Put32(expected, 18, 5);
  Put32(expected, 22, 2);
  Put32(expected, 26, 1 | 8 << 16);
  Put32(expected, 34, 16);
  for (std::uint32_t i = 0; i < 256; ++i) Put32(expected, 54 + 4 * i, i * 0x010101);
  for (std::size_t i = 0; i < 5; ++i) {
    expected[1078 + i] = std::uint8_t(1 + i);
    expected[1086 + i] = std::uint8_t(6 + i);
  }
  EXPECT_EQ(Saved(gray, "gray.bmp"), expected);

  const LiteralImage colour = Noise(5, 2, 3);
  const Bytes file = Saved(colour, "colour.BMP");
  ASSERT_EQ(file.size(), 54u + 32u);
  Bytes header(expected.begin(), expected.begin() + 54);
  Put32(header, 2, 86);
  Put32(header, 10, 54);
  Put32(header, 26, 1 | 24 << 16);
  Put32(header, 34, 32);
  Bytes rows = colour.bytes;
  rows[15] = rows[31] = 0;
  header.insert(header.end(), rows.begin(), rows.end());
  EXPECT_EQ(file, header);
}

TEST(Bmp, OpensColoursAsKeyAndFill) {
  const LiteralImage image({{255, 0, 255, 255, 0, 254}, {255, 255, 255, 0, 0, 0}}, 3);
  const LiteralImage reduced({{255, 0, 255, 70, 51, 41}, {70, 51, 41, 70, 51, 41}}, 3);
  Bytes file = Saved(image, "a.bmp");
  Put32(file, 10, 0xFFFFFFFF);  // where the pixels lie is not asked of the file header
  CRastelo object;
  object.DrawImage(nullptr, nullptr, 0, 0, nullptr);
  ASSERT_EQ(Open(object, file, "b.bmp"), 1);
  const auto state = ObjectState(object);
  Bytes pixels = reduced.bytes;
  pixels[6] = pixels[7] = pixels[14] = pixels[15] = 0;
  EXPECT_EQ(state.pixels, pixels);
  EXPECT_EQ(state.loaded, pixels);
  EXPECT_TRUE(object.IsCanTrans2Gray());
  EXPECT_TRUE(std::equal(file.begin() + 14, file.end(), state.bmpHeader.begin()));
}

void CutTable(Bytes& file, int bytes) { file.erase(file.begin() + 54, file.begin() + 54 + bytes); }

/// A BMP file with its parts changed, and the picture that comes out of it.
struct BmpVariant {
  const char* name;
  void (*change)(Bytes&);
  bool opens;
  bool topDown = false;
};
const BmpVariant kBmpVariants[] = {
    {"AsItIs", [](Bytes&) {}, true},
    {"TopDown", [](Bytes& f) { Put32(f, 22, std::uint32_t(-3)); }, true, true},
    {"LongHeader", [](Bytes& f) { Put32(f, 14, 108), f.insert(f.begin() + 54, 68, 0xCC); }, true},
    {"ShortTable", [](Bytes& f) { Put32(f, 46, 2), CutTable(f, 1016); }, true},
    {"TableSizeWraps", [](Bytes& f) { Put32(f, 46, 16385), CutTable(f, 1020); }, true},
    {"TrailingBytes", [](Bytes& f) { f.resize(f.size() + 5000); }, true},
    {"CoreHeader", [](Bytes& f) { Put32(f, 14, 12); }, false},
    {"HeaderBeyondTheFile", [](Bytes& f) { Put32(f, 14, 0xFFFFFFFF); }, false},
    {"NoWidth", [](Bytes& f) { Put32(f, 18, 0); }, false},
    {"NegativeWidth", [](Bytes& f) { Put32(f, 18, std::uint32_t(-5)); }, false},
    {"HugeWidth", [](Bytes& f) { Put32(f, 18, 0x7FFFFFFF); }, false},
    {"NoHeight", [](Bytes& f) { Put32(f, 22, 0); }, false},
    {"HugeHeight", [](Bytes& f) { Put32(f, 22, 0x7FFFFFFF); }, false},
    {"LowestHeight", [](Bytes& f) { Put32(f, 22, 0x80000000); }, false},
    {"Compressed", [](Bytes& f) { Put32(f, 30, 1); }, false},
    {"FourBits", [](Bytes& f) { f[28] = 4; }, false},
    {"ThirtyTwoBits", [](Bytes& f) { f[28] = 32; }, false},
    {"OtherMagic", [](Bytes& f) { f[1] = 'A'; }, false},
    {"OneByteShort", [](Bytes& f) { f.pop_back(); }, false},
    {"FourteenBytes", [](Bytes& f) { f.resize(14); }, false},
    {"Empty", [](Bytes& f) { f.clear(); }, false},
};
void PrintTo(const BmpVariant& variant, std::ostream* stream) { *stream << variant.name; }
class BmpFile : public testing::TestWithParam<BmpVariant> {};
INSTANTIATE_TEST_SUITE_P(Variants, BmpFile, testing::ValuesIn(kBmpVariants),
                         [](const auto& info) { return info.param.name; });

TEST_P(BmpFile, OpensToItsPixelsOrLeavesTheObjectAlone) {
  LiteralImage image = Noise(5, 3);
  Bytes file = Saved(image, "a.bmp");
  GetParam().change(file);
  CRastelo object = ObjectWith(Noise(2, 2, 3));
  const auto before = ObjectState(object);
  const HookRecorder hooks;
  EXPECT_EQ(Open(object, file, "b.bmp"), GetParam().opens ? 1 : 0);
  EXPECT_THAT(hooks.boxes, testing::IsEmpty());
  if (!GetParam().opens) {
    EXPECT_EQ(ObjectState(object), before);
    return;
  }
  if (GetParam().topDown)
    Inside::ReverseBitsY(object, image.width, image.height, image.BitCount(), image.bytes.data());
  for (std::int32_t y = 0; y < 3; ++y) std::memset(image.Pixels().Row(y) + 5, 0, 3);
  EXPECT_EQ(ImageOf(object), image);
  EXPECT_EQ(ObjectState(object).loaded, image.bytes);
}

TEST(KeyColourPass, IsThePlainOneOnEveryTarget) {
  for (const std::int32_t distance : {1, 3, 97}) {
    const auto withKeys = [=](rastelo::ImageView bgr, auto pass) {
      for (std::int32_t y = 0; y < bgr.height; ++y) {
        for (std::int32_t x = y; x < bgr.width; x += distance) {
          std::uint8_t* pixel = bgr.Row(y) + std::ptrdiff_t{3} * x;
          pixel[0] = pixel[2] = 255;
          pixel[1] = distance == 1 || x % 2 == 0 ? 0 : pixel[1];
        }
      }
      pass(bgr);
    };
    ExpectSameInPlace(
        3, [&](auto bgr) { withKeys(bgr, rastelo::ReduceToKeyColour); },
        [&](auto bgr) { withKeys(bgr, plain::ReduceToKeyColour); });
  }
}

TEST(SpreadRows, IsThePlainOneOnEveryTarget) {
  for (const int bytes : {1, 3}) {
    const auto with = [=](auto spread) {
      return
          [=](rastelo::ConstImageView from, rastelo::ImageView to) { spread(from, 8 * bytes, to); };
    };
    ExpectSameTarget(
        bytes, [](const TestPicture& p) { return p.Blank(p.width, p.height, 3); },
        with(rastelo::SpreadRowsTopFirst), with(plain::SpreadRowsTopFirst));
  }
}

TEST(Bmp, CountsColourTableEntries) {
  const struct {
    std::uint32_t headerBytes, bitCount, coloursUsed, entries;
  } cases[] = {{40, 8, 0, 256}, {40, 8, 7, 7},      {40, 4, 0, 16},   {40, 1, 0, 2},
               {40, 24, 0, 0},  {40, 24, 256, 256}, {12, 8, 99, 256}, {12, 24, 99, 0}};
  for (const auto& c : cases) {
    Bytes header(40);
    Put32(header, 0, c.headerBytes);
    header[c.headerBytes == 40 ? 14 : 10] = std::uint8_t(c.bitCount);
    Put32(header, 32, c.coloursUsed);
    EXPECT_EQ(GetPaletteSize(header.data()), c.entries) << c.headerBytes << ' ' << c.bitCount;
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
  for (const fuzz::JpegCoding& coding : fuzz::kJpegCodings) {
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
      LiteralImage image = ImageOf(object);
      ASSERT_EQ(image.pixelBytes, coding.channels) << coding.name;
      ASSERT_EQ(image.width, width);
      ASSERT_EQ(image.height, 19);
      const Bytes rows = fuzz::DecodeJpeg(file);
      const std::size_t rowBytes = rows.size() / 19;
      for (std::int32_t y = 0; y < 19; ++y)
        ASSERT_EQ(
            std::memcmp(image.Pixels().Row(18 - y), &rows[std::size_t(y) * rowBytes], rowBytes), 0)
            << coding.name << ' ' << width << ' ' << y;
    }
  }
}

TEST(Jpeg, WritesItsFormAndTheTopRowFirst) {
  LiteralImage gray(16, 16, 1), colour(16, 16, 3);
  for (std::int32_t y = 8; y < 16; ++y) {  // the upper half
    std::memset(gray.Pixels().Row(y), 180, 16);
    for (int x = 0; x < 16; ++x) colour.Pixels().Row(y)[3 * x] = 180;
  }
  for (const LiteralImage& image : {gray, colour}) {
    Bytes file = Saved(image, "a.jpg");
    const std::uint8_t* frame = fuzz::FrameOf(file);
    EXPECT_EQ(int{frame[9]}, image.pixelBytes) << "channels";
    EXPECT_EQ(int{frame[11]}, image.pixelBytes == 3 ? 0x22 : 0x11) << "chroma at half size";
    const Bytes quantisation = {0xFF, 0xDB, 0, 67, 0, 8};  // 16 at quality 50, 8 at quality 75
    EXPECT_NE(std::search(file.begin(), file.end(), quantisation.begin(), quantisation.end()),
              file.end());

    CRastelo object;
    ASSERT_EQ(Open(object, file, "b.jpg"), 1);
    EXPECT_EQ(object.IsCanTrans2Gray(), image.pixelBytes == 3);
    EXPECT_NEAR(ObjectState(object).pixels.front(), 0, 6);
    EXPECT_NEAR(Inside::Pixels(object).bits[15 * 16 * image.pixelBytes], 180, 6);
  }
}

TEST(Jpeg, TellsSizeAndDepth) {
  const std::string path = TestFolder() + "a.jpg";
  WriteFile(path, MakeJpeg(17, 9, 4));
  CRastelo object;
  LONG width = 0, height = 0;
  int bitCount = 0;
  EXPECT_EQ(object.GetSizeJPG(path.c_str(), &width, &height, nullptr), 1);
  EXPECT_EQ(object.GetSizeJPG(path.c_str(), &width, &height, &bitCount), 1);
  EXPECT_EQ(width, 17);
  EXPECT_EQ(height, 9);
  EXPECT_EQ(bitCount, 32);
  for (const char* unusable : {"/dev/null", "none.jpg", ".jpg", "", (const char*)nullptr}) {
    width = 77;
    EXPECT_EQ(object.GetSizeJPG(unusable, &width, &height, &bitCount), 0);
    EXPECT_EQ(width, 77);
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
  ASSERT_EQ(Open(object, Saved(Noise(3, 3), "b.bmp"), "c.bmp"), 1);
  EXPECT_TRUE(ObjectState(object).fileName.ends_with("a.jpg"));
  ASSERT_EQ(Open(object, MakeJpeg(5, 2, 1), "d.jpg"), 1);
  EXPECT_FALSE(ObjectState(object).bmpHeader.empty());
  EXPECT_EQ(ObjectState(object).loadedWidth, 5);
  object.Close();
  EXPECT_TRUE(ObjectState(object).bmpHeader.empty());
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
    EXPECT_THAT(hooks.boxes, ElementsAre(kMissingText, kMissingCaption)) << name;
    EXPECT_EQ(ObjectState(object), before) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(folder + "none.bmp"));
}

TEST(Files, LargerThanAnyStoreAreRefusedUnread) {
  const std::string path = TestFolder() + "a.bmp";
  for (const std::uint64_t bytes : {0x7FFFFFFFull, 0x80200000ull, 0x100000000ull, 0x140000000ull}) {
    WriteFile(path, Saved(Noise(5, 3), "b.bmp"));
    std::filesystem::resize_file(path, bytes);  // a hole, where the file system has them
    EXPECT_EQ(platform::File::OpenExisting(path.c_str()).Size(), std::int64_t(bytes));
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
                                                       {folder + "/" + folder + "\\a.bmp", ".bmp"},
                                                       {folder + "." + name + ".jpg", ".jpg"},
                                                       {"a.b." + name, "." + name},
                                                       {"a." + name + "/b", ""}};
  for (const auto& [path, extension] : cases)
    EXPECT_EQ(platform::PathExtension(path.c_str()), extension) << path;
}

TEST(Files, AreNotMadeWithoutAnImage) {
  const std::string folder = TestFolder();
  for (const char* name : {"a.bmp", "a.jpg"})
    EXPECT_EQ(CRastelo().SaveAs((folder + name).c_str()), 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST(VisibleSave, WritesTheDrawnAreaAsFarAsItLiesInTheImage) {
  LiteralImage image(300, 200, 1);
  for (std::int32_t y = 0; y < 200; ++y) std::memset(image.Pixels().Row(y), y, 300);
  const struct {
    RECT target;
    LONG width, height;
    int top, bottom;  // gray levels, which are row numbers
  } cases[] = {{{0, 0, 100, 50}, 100, 50, 124, 75}, {{5, 5, 405, 305}, 300, 200, 199, 0}};
  const std::string path = TestFolder() + "a.bmp";
  for (const auto& c : cases) {
    CRastelo object = ObjectWith(image), saved;
    RECT rc = c.target;
    object.DrawImage(nullptr, &rc, 0, 0, nullptr);
    object.DrawImage(nullptr, &rc, true);
    ASSERT_EQ(object.SaveAs_visible_JPG(path.c_str()), 1);
    ASSERT_EQ(Open(saved, ReadFile(path), "b.jpg"), 1);
    EXPECT_EQ(saved.GetWidth(), c.width);
    EXPECT_EQ(saved.GetHeight(), c.height);
    EXPECT_NEAR(Inside::Pixels(saved).bits[0], c.bottom, 3);
    EXPECT_NEAR(ObjectState(saved).pixels.back(), c.top, 3);
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
