// Gray conversion, quarter turns, blocks and projections.
#include <gtest/gtest.h>

#include <climits>
#include <set>

#include "geometry/gray.h"
#include "plain/geometry.h"
#include "simd/byte_pairs-inl.h"
#include "testing/object_state.h"
#include "tests/kernel_check.h"

namespace {

using Place = std::pair<std::int64_t, std::int64_t>;  // column, row
/// `target` with each pixel of `source` put to `place(x, y)`; those that fall outside are left out.
LiteralImage Scatter(LiteralImage source, LiteralImage target, auto place) {
  const int bytes = source.pixelBytes;
  for (int i = 0; i < source.width * source.height; ++i) {
    const int x = i % source.width, y = i / source.width;
    const auto [column, row] = place(x, y);
    if (column < 0 || column >= target.width || row < 0 || row >= target.height) continue;
    std::copy_n(source.Pixels().Row(y) + x * bytes, bytes,
                target.Pixels().Row(static_cast<std::int32_t>(row)) + column * bytes);
  }
  return target;
}

/// The image with 0 behind each row, as one in new memory has it.
LiteralImage ZeroTails(const LiteralImage& image) {
  LiteralImage zero = image;
  zero.bytes.assign(zero.bytes.size(), 0);
  return Scatter(image, zero, [](int x, int y) { return Place{x, y}; });
}

TEST(RGBImg2Gray, WeighsTheColours) {
  const std::set<int> lowered = {23,  46,  57,  59,  92,  114, 118, 127,
                                 184, 205, 223, 228, 236, 241, 249, 254};
  for (int v = 0; v < 256; ++v) {
    const auto level = std::uint8_t(v), gray = std::uint8_t(level - lowered.count(v));
    const LiteralImage bgr({{level, level, level, 10, 20, 30}, {0, 255, 0, 0, 0, 255}}, 3);
    CRastelo object = ObjectWith(bgr), other = object;
    auto expected = ObjectState(object);
    expected.bitCount = 8;
    expected.pitch = 4;
    expected.pixels = {gray, 21, 0, 0, 149, 76, 0, 0};
    EXPECT_TRUE(object.RGBImg2Gray());
    EXPECT_FALSE(object.RGBImg2Gray()) << "is gray";
    EXPECT_EQ(ObjectState(object), expected) << v;
    EXPECT_EQ(ImageOf(other), bgr) << "a copy keeps its colours";
  }
}

TEST(BgrToGray, IsThePlainOneForEveryColourAndOnEveryTarget) {
  ExpectSameTarget(
      3, [](const TestPicture& bgr) { return bgr.Blank(bgr.width, bgr.height, 1); },
      rastelo::BgrToGray, plain::BgrToGray);
  TestPicture colours = TestPicture{}.Blank(1 << 16, 1, 3);
  TestPicture gray = colours.Blank(1 << 16, 1, 1), expected = gray;
  const auto expectSame = [&](int picture) {
    plain::BgrToGray(colours.Pixels(), expected.Pixels());
    OnEveryTarget([&] {
      rastelo::BgrToGray(colours.Pixels(), gray.Pixels());
      ASSERT_TRUE(gray.bits == expected.bits) << "picture " << picture;
    });
  };
  const auto pixel = [&](std::size_t i) { return colours.bits.data() + 3 * i; };
  for (int blue = 0; blue < 256; ++blue) {
    for (std::size_t i = 0; i < 1 << 16; ++i) {
      pixel(i)[0] = static_cast<std::uint8_t>(blue);
      pixel(i)[1] = static_cast<std::uint8_t>(i);
      pixel(i)[2] = static_cast<std::uint8_t>(i >> 8);
    }
    expectSame(blue);
  }
  for (std::size_t i = 0; i < 1 << 16; ++i)
    std::fill_n(pixel(i), 3, static_cast<std::uint8_t>(i + i / 256));
  expectSame(256);
  for (std::size_t i = 0; i < 1 << 16; i += 7) pixel(i)[2] = 90;
  expectSame(257);
}

TEST(BytePairs, ServeTheirTargetAndBetterOnes) {
  EXPECT_TRUE(RASTELO_HAS_BYTE_PAIRS(HWY_AVX3_DL) && RASTELO_HAS_BYTE_PAIRS(HWY_AVX3_DL >> 1));
  EXPECT_FALSE(RASTELO_HAS_BYTE_PAIRS(HWY_AVX3) || RASTELO_HAS_BYTE_PAIRS(HWY_NEON));
}

TEST(RotateQuarter, IsThePlainOneOnEveryTarget) {
  for (const rastelo::QuarterTurn turn :
       {rastelo::QuarterTurn::kClockwise, rastelo::QuarterTurn::kCounterClockwise}) {
    for (const int bytes : {1, 3}) {
      const auto with = [=](auto rotate) {
        return [=](rastelo::ConstImageView source, rastelo::ImageView target) {
          rotate(source, bytes, turn, target);
        };
      };
      ExpectSameTarget(
          bytes, [=](const TestPicture& p) { return p.Blank(p.height, p.width, bytes); },
          with(rastelo::RotateQuarter), with(plain::RotateQuarter));
      // Large enough to go past the caches where a row happens to be aligned.
      const TestPicture large = MakePicture(1201, 4100 / bytes, bytes, Content::kNoise);
      TestPicture ours = large.Blank(large.height, large.width, bytes), expected = ours;
      with(plain::RotateQuarter)(large.Pixels(), expected.Pixels());
      OnEveryTarget([&] {
        with(rastelo::RotateQuarter)(large.Pixels(), ours.Pixels());
        EXPECT_TRUE(ours.bits == expected.bits) << bytes;
      });
    }
  }
}

TEST(RotateImage, TurnsEveryPixel) {
  CRastelo object = ObjectWith({{1, 2, 3}, {4, 5, 6}}), other = object;
  object.RotateImage_Dir(1);
  EXPECT_EQ(ImageOf(object), ZeroTails({{4, 1}, {5, 2}, {6, 3}}));
  object.RotateImage_Dir(0);
  EXPECT_EQ(ImageOf(object), ZeroTails({{1, 2, 3}, {4, 5, 6}})) << "and back";

  for (const int bytes : {1, 3}) {
    const int w = 67, h = 45;
    const LiteralImage image = Noise(w, h, bytes), black(h, w, bytes);
    for (int direction : {1, 0, 2, -1, INT_MIN}) {
      object = other = ObjectWith(image);
      object.RotateImage_Dir(direction);
      const auto turn = [=](int x, int y) {
        return direction == 1 ? Place{h - 1 - y, x} : Place{y, w - 1 - x};
      };
      EXPECT_EQ(ImageOf(object), ZeroTails(Scatter(image, black, turn))) << direction;
      EXPECT_EQ(ObjectState(object).loaded, image.bytes);
      EXPECT_EQ(ImageOf(other), image) << "a copy stays";
    }
  }
}

TEST(ImgBlock, IsCopiedOrKeptAsFarAsItLiesInside) {
  const std::int64_t values[] = {INT_MIN, -4, -1, 0, 1, 2, 3, 6, INT_MAX};
  for (int i = 0; i < 2 * 9 * 9 * 9 * 9; ++i) {
    const auto x = values[i / 2 % 9], y = values[i / 18 % 9];
    const int w = int(values[i / 162 % 9]), h = int(values[i / 1458]), pixelBytes = i % 2 * 2 + 1;
    const LiteralImage image = Noise(5, 4, pixelBytes), black(5, 4, pixelBytes);
    SCOPED_TRACE(testing::Message() << x << ", " << y << ": " << w << " x " << h);

    const bool isSize = w >= 0 && w < INT_MAX && h >= 0 && h < INT_MAX;
    const LiteralImage before(isSize ? w : 9, isSize ? h : 9, pixelBytes);
    const auto toBlock = [=](int column, int row) { return Place{column - x, row - y}; };
    CRastelo object = ObjectWith(image);
    for (int bits : {INT_MIN, 0, 8, 16, 24, INT_MAX}) {
      LiteralImage block = before, expected = before;
      if (isSize && bits == image.BitCount()) expected = Scatter(image, before, toBlock);
      if (isSize && bits == 8 && pixelBytes == 3)  // bytes x to x + w - 1 of each row
        for (std::int64_t row = std::max<std::int64_t>(y, 0); row < std::min(y + h, INT64_C(4));
             ++row)
          for (std::int64_t at = std::max<std::int64_t>(x, 0); at < std::min(x + w, INT64_C(15));
               ++at)
            expected.Pixels().Row(int(row - y))[at - x] =
                ObjectState(object).pixels[std::size_t(16 * row + at)];
      EXPECT_EQ(object.GetImgBlock(int(x), int(y), w, h, bits, block.bytes.data()), 1);
      ASSERT_EQ(block, expected) << bits;
    }
    EXPECT_EQ(object.GetImgBlock(0, 0, 5, 4, image.BitCount(), nullptr), 1);

    EXPECT_EQ(object.ReserveImgBlock(int(x), int(y), w, h), 1);
    ASSERT_EQ(ImageOf(object), Scatter(image, black, [=](int column, int row) {
                const int fromTop = 3 - row;
                const bool stays = column > x && column < x + w && fromTop > y && fromTop < y + h;
                return stays ? Place{column, row} : Place{-1, -1};
              }));
  }
}

TEST(ImgProjection, SumsAndTracesRowsFromTheTop) {
  const std::vector<LONG> untouched(4, -1);
  const std::tuple<LiteralImage, std::vector<LONG>, std::string> cases[] = {
      {{{7}, {0}, {255}}, {255, 0, 7, -1}, "0: 255\n1: 0\n2: 7\n"},
      {{{1, 2}, {3, 4}}, {7, 3, -1, -1}, "0: 7\n1: 3\n"},
      {{{255, 255, 255}}, {765, -1, -1, -1}, "0: 765\n"},
      {LiteralImage({{1, 2, 3}, {4, 5, 6}}, 3), untouched, ""},
  };
  for (const auto& [image, sums, trace] : cases) {
    std::vector<LONG> result = untouched;
    CRastelo object = ObjectWith(image);
    const HookRecorder recorder;
    EXPECT_EQ(object.ImgProjectionHorizon(nullptr), 1);
    object.RotateImage_Angle(90);
    EXPECT_EQ(object.ImgProjectionVertical(result.data()), 1);
    EXPECT_EQ(object.ImgLocalProjectionHorizon(0, 1, result.data()), 1);
    EXPECT_EQ(result, untouched);
    EXPECT_EQ(object.ImgProjectionHorizon(result.data()), 1);
    EXPECT_EQ(result, sums);
    EXPECT_EQ(recorder.trace, trace);
    EXPECT_EQ(ImageOf(object), image) << "read only";
  }
}

TEST(Geometry, LeavesOtherDepthsAndEmptyObjectsAsTheyAre) {
  for (int bits : {0, 16, 32}) {
    CRastelo object = bits == 0 ? CRastelo() : ObjectWith(Noise(5, 3, bits / 8));
    auto before = ObjectState(object);
    before.hasPixels = true;  // without an image, an empty buffer
    LiteralImage block = Noise(5, 3, 4);
    LONG sum = -1;
    EXPECT_FALSE(object.RGBImg2Gray());
    EXPECT_EQ(object.GetImgBlock(0, 0, 4, 3, bits, block.bytes.data()), 1);
    EXPECT_EQ(object.ReserveImgBlock(0, 0, 2, 2), 1);
    EXPECT_EQ(object.ImgProjectionHorizon(&sum), 1);
    object.RotateImage_Dir(1);
    EXPECT_EQ(ObjectState(object), before) << bits;
    EXPECT_EQ(block, Noise(5, 3, 4));
    EXPECT_EQ(sum, -1);
  }
}

}  // namespace
