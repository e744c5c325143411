// Gray conversion, quarter turns, blocks, projections and zoom.
#include <gtest/gtest.h>

#include <cmath>

#include "geometry/gray.h"
#include "geometry/shrink.h"
#include "geometry/zoom.h"
#include "plain/geometry.h"
#include "simd/byte_pairs-inl.h"
#include "testing/object_state.h"
#include "tests/kernel_check.h"

namespace {

using Place = std::pair<std::int64_t, std::int64_t>;  // column, row
/// `target` with each pixel of `source` put to `place(x, y)`; those that fall outside are left out.
LiteralImage Scatter(LiteralImage source, LiteralImage target, auto place) {
  const int bytes = source.pixelBytes;
  for (int i = 0; i < source.Count(); ++i) {
    const int x = i % source.width, y = i / source.width;
    const auto [column, row] = place(x, y);
    if (column < 0 || column >= target.width || row < 0 || row >= target.height) continue;
    std::copy_n(&source.At(x * bytes, y), bytes, &target.At(column * bytes, row));
  }
  return target;
}

TEST(RGBImg2Gray, WeighsTheColours) {
  const LiteralImage bgr({{127, 127, 127, 10, 20, 30}, {0, 255, 0, 0, 0, 255}}, 3);
  CRastelo object = ObjectWith(bgr), other = object;
  auto expected = ObjectState(object);
  expected.bitCount = 8;
  expected.pitch = 4;
  expected.pixels = {126, 21, 0, 0, 149, 76, 0, 0};
  EXPECT_TRUE(object.RGBImg2Gray());
  EXPECT_FALSE(object.RGBImg2Gray()) << "is gray";
  EXPECT_EQ(ObjectState(object), expected);
  EXPECT_EQ(ImageOf(other), bgr) << "a copy keeps its colours";
}

TEST(BgrToGray, IsThePlainOneForEveryColourAndOnEveryTarget) {
  const auto makeGray = [](const LiteralImage& bgr) { return Noise(bgr.width, bgr.height); };
  ExpectSameTarget(3, makeGray, rastelo::BgrToGray, plain::BgrToGray);
  LiteralImage colours(1 << 16, 1, 3), gray(1 << 16, 1, 1);
  for (int picture = 0; picture < 258; ++picture) {  // each blue, all grays, most of them
    for (int i = 0; i < 1 << 16; ++i) {
      const int level = i + i / 256;
      const int green = picture < 256 ? i : level, red = picture < 256 ? i >> 8 : level;
      colours.At(3 * i, 0) = std::uint8_t(picture < 256 ? picture : level);
      colours.At(3 * i + 1, 0) = std::uint8_t(green);
      colours.At(3 * i + 2, 0) = std::uint8_t(picture == 257 && i % 7 == 0 ? 90 : red);
    }
    ExpectSameTarget(colours, gray, rastelo::BgrToGray, plain::BgrToGray);
  }
}

TEST(BytePairs, ServeTheirTargetAndBetterOnes) {
  EXPECT_TRUE(RASTELO_HAS_BYTE_PAIRS(HWY_AVX3_DL) && RASTELO_HAS_BYTE_PAIRS(HWY_AVX3_DL >> 1));
  EXPECT_FALSE(RASTELO_HAS_BYTE_PAIRS(HWY_AVX3) || RASTELO_HAS_BYTE_PAIRS(HWY_NEON));
}

TEST(RotateQuarter, IsThePlainOneOnEveryTarget) {
  using enum rastelo::QuarterTurn;
  for (const rastelo::QuarterTurn turn : {kClockwise, kCounterClockwise})
    for (const int bytes : {1, 3}) {
      const auto makeTarget = [](const LiteralImage& image) {
        return LiteralImage(image.height, image.width, image.pixelBytes);
      };
      const auto ours = [=](auto from, auto to) { rastelo::RotateQuarter(from, bytes, turn, to); };
      const auto plain = [=](auto from, auto to) { plain::RotateQuarter(from, bytes, turn, to); };
      ExpectSameTarget(bytes, makeTarget, ours, plain);
      // Large enough to go past the caches where a row happens to be aligned.
      const LiteralImage large = Noise(1201, 4100 / bytes, bytes);
      ExpectSameTarget(large, makeTarget(large), ours, plain);
    }
}

TEST(RotateImage, TakesEveryPixelToItsPlace) {
  for (int i = 0; i < 2 * 5; ++i) {
    const int direction = std::array{1, 0, 2, -1, INT32_MIN}[i / 2], w = 67, h = 45;
    const LiteralImage image = Noise(w, h, i % 2 * 2 + 1);
    CRastelo object = ObjectWith(image), other = object;
    object.RotateImage_Dir(direction);
    EXPECT_EQ(ImageOf(object),
              ZeroTails(Scatter(image, {h, w, image.pixelBytes},
                                [=](int x, int y) {
                                  return direction == 1 ? Place{h - 1 - y, x} : Place{y, w - 1 - x};
                                })))
        << direction;
    EXPECT_EQ(ObjectState(object).loaded, image.bytes);
    EXPECT_EQ(ImageOf(other), image) << "a copy stays";
  }
}

TEST(ImgBlock, IsCopiedOrKeptAsFarAsItLiesInside) {
  const std::int64_t values[] = {INT32_MIN, -4, -1, 0, 1, 2, 3, 6, INT32_MAX};
  for (int i = 0; i < 2 * 9 * 9 * 9 * 9; ++i) {
    const auto x = values[i / 2 % 9], y = values[i / 18 % 9];
    const int w = int(values[i / 162 % 9]), h = int(values[i / 1458]), pixelBytes = i % 2 * 2 + 1;
    const LiteralImage image = Noise(5, 4, pixelBytes), black(5, 4, pixelBytes);
    SCOPED_TRACE(testing::Message() << x << ", " << y << ": " << w << " x " << h);

    const bool isSize = w >= 0 && w < INT32_MAX && h >= 0 && h < INT32_MAX;
    const LiteralImage before(isSize ? w : 9, isSize ? h : 9, pixelBytes);
    const auto toBlock = [=](int column, int row) { return Place{column - x, row - y}; };
    CRastelo object = ObjectWith(image);
    for (int bits : {INT32_MIN, 0, 8, 16, 24, INT32_MAX}) {
      LiteralImage block = before, expected = before;
      if (isSize && bits == image.BitCount()) expected = Scatter(image, before, toBlock);
      if (isSize && bits == 8 && pixelBytes == 3) {  // bytes x to x + w - 1 of each row
        LiteralImage bytes = image;
        bytes.width = 15;
        bytes.pixelBytes = 1;
        expected = Scatter(bytes, before, toBlock);
      }
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
      {LiteralImage({{1, 2, 3}, {4, 5, 6}}, 3), untouched, ""},
  };
  for (const auto& [image, sums, trace] : cases) {
    std::vector<LONG> result = untouched;
    CRastelo object = ObjectWith(image);
    const HookRecorder recorder;
    object.RotateImage_Angle(90);
    EXPECT_EQ(object.ImgProjectionHorizon(nullptr) + object.ImgProjectionVertical(result.data()) +
                  object.ImgLocalProjectionHorizon(0, 1, result.data()),
              3);
    EXPECT_EQ(result, untouched);
    EXPECT_EQ(object.ImgProjectionHorizon(result.data()), 1);
    EXPECT_EQ(result, sums);
    EXPECT_EQ(recorder.trace, trace);
    EXPECT_EQ(ImageOf(object), image) << "read only";
  }
}

/// What the plain definition gives. Row tails are 0.
LiteralImage PlainZoom(LiteralImage source, int width, int height) {
  LiteralImage target = ZeroTails({width, height, source.pixelBytes});
  plain::ZoomBilinear(source.Pixels(), target.Pixels(), source.pixelBytes);
  return target;
}

TEST(Zoom, GivesTheSamplesWorkedOutByHand) {
  const LiteralImage threeByTwo = {{10, 20, 40}, {200, 100, 0}}, corner = {{0, 100}, {200, 50}};
  const LiteralImage white = {{255, 255, 255}, {255, 255, 255}, {255, 255, 255}};
  const std::tuple<LiteralImage, int, int, std::vector<int>> cases[] = {
      {threeByTwo, 6, 2, {10, 15, 20, 30, 40, 30, 0, 0, 200, 150, 100, 50, 0, 50, 0, 0}},
      {threeByTwo, 6, 4, {10,  15,  20,  30, 40, 30, 0, 0, 105, 82, 60, 40, 20, 40, 0, 0,
                          200, 150, 100, 50, 0,  50, 0, 0, 105, 82, 60, 40, 20, 40, 0, 0}},
      {corner, 4, 4, {0, 50, 100, 50, 100, 87, 75, 87, 200, 125, 50, 125, 100, 87, 75, 87}},
      {white, 7, 7, {255, 255, 255, 255, 255, 255, 255, 0, 255, 254}},
  };
  for (const auto& [source, width, height, first] : cases) {
    CRastelo object = ObjectWith(source);
    EXPECT_EQ(object.Zoom_Size(width, height), 1);
    const LiteralImage image = ImageOf(object);
    EXPECT_TRUE(std::equal(first.begin(), first.end(), image.bytes.begin())) << image;
  }
}

TEST(ZoomBilinear, IsThePlainOneOnEveryTarget) {
  for (const double factor : {2.0, 1.37, 0.5, 0.73, 0.31})
    for (const int bytes : {1, 3}) {
      const auto scaled = [=](const LiteralImage& picture) {
        return Noise(int(picture.width * factor), int(picture.height * factor), bytes);
      };
      ExpectSameTarget(
          bytes, scaled,
          [=](auto source, auto target) { rastelo::ZoomBilinear(source, bytes, target, bytes); },
          [=](auto source, auto target) { plain::ZoomBilinear(source, target, bytes); });
    }
}

TEST(ZoomBilinear, IsThePlainOneBeyondOneStripOfColumns) {
  for (const std::int32_t width : {1500, 3001, 4115, 6002})  // up to 1.03 MiB
    ExpectSameTarget(
        Noise(3001, 5, 3), LiteralImage(width, 60, 3),
        [](auto source, auto target) { rastelo::ZoomBilinear(source, 3, target, 3); },
        [](auto source, auto target) { plain::ZoomBilinear(source, target, 3); });
}

/// A target for each picture, `of` times its sides but at least a pixel.
auto Shrunk(double of) {
  return [of](const LiteralImage& picture) {
    const auto side = [of](int all) { return std::min(all, std::max(1, int(all * of))); };
    return Noise(side(picture.width), side(picture.height), picture.pixelBytes);
  };
}

TEST(ShrinkByArea, AveragesWhatAPixelCovers) {
  const std::pair<LiteralImage, LiteralImage> cases[] = {
      {{{1, 2}, {3, 4}}, {{3}}},  // 2.5
      {{{1, 2}, {3, 4}}, {{2, 3}}},
      {{{10, 20, 30}}, {{13, 27}}},
      {{{0, 0, 0, 1}}, {{0, 1}}},
      {{{0, 90}, {30, 60}, {90, 0}}, {{10, 80}, {70, 20}}},
      {{{5, 6, 7}, {8, 9, 10}}, {{5, 6, 7}, {8, 9, 10}}},
      {LiteralImage({{0, 10, 20, 1, 12, 30}}, 3), LiteralImage({{1, 11, 25}}, 3)}};
  for (const auto& [source, means] : cases) {
    LiteralImage target = Noise(means.width, means.height, means.pixelBytes);
    rastelo::ShrinkByArea(source.Pixels(), source.pixelBytes, target.Pixels());
    EXPECT_EQ(target, means) << target;
  }
}

TEST(ShrinkByArea, IsThePlainOneOnEveryTarget) {
  for (const int bytes : {1, 3}) {
    const auto ours = [=](auto source, auto target) {
      rastelo::ShrinkByArea(source, bytes, target);
    };
    const auto plain = [=](auto source, auto target) {
      plain::ShrinkByArea(source, bytes, target);
    };
    for (const double factor : {0.999, 0.73, 0.5, 0.21, 0.0})
      ExpectSameTarget(bytes, Shrunk(factor), ours, plain);
    const int sizes[][4] = {{520, 264, 130, 132}, {520, 264, 65, 33},   {390, 99, 65, 33},
                            {520, 260, 520, 65},  {260, 130, 130, 65},  {256, 130, 128, 130},
                            {96, 64, 48, 1},      {516, 600, 1, 2},     {500, 600, 250, 2},
                            {512, 600, 256, 2},   {997, 491, 641, 343}, {4999, 4201, 6, 1}};
    for (const auto& [width, height, targetWidth, targetHeight] : sizes) {
      const LiteralImage source = MakePicture(width, height, bytes, Content(width % 3));
      ExpectSameTarget(source, Noise(targetWidth, targetHeight, bytes), ours, plain);
    }
  }
}

TEST(ShrinkByArea, AddsUpColumnsBeyond32Bits) {
  LiteralImage white(1, 16'900'000, 1), target(1, 1, 1);
  white.bytes.assign(white.bytes.size(), 255);
  rastelo::ShrinkByArea(white.Pixels(), 1, target.Pixels());
  EXPECT_EQ(target.At(0), 255);
}

TEST(Zoom, SamplesThePixelsThatCameIn) {
  const int odd[][4] = {{67, 45, 131, 97}, {67, 45, 20, 31}, {45, 67, 1, 1}, {1, 300, 7, 299}};
  for (int i = 0; i < 3 * (36 * 100 + 4); ++i) {
    const int n = i / 3 - 4, small[] = {n % 6 + 1, n / 6 % 6 + 1, n / 36 % 10, n / 360};
    const auto& [w, h, width, height] = n < 0 ? odd[n + 4] : small;
    const LiteralImage image = Noise(w, h, i % 3 == 0 ? 1 : 3);
    CRastelo object = ObjectWith(image);
    if (i % 3 == 2) object.RGBImg2Gray();  // the loaded colours show as gray, too
    const LiteralImage seen = ImageOf(object);
    const bool asLoaded = width == w && height == h && i % 3 != 2;
    object.RotateImage_Dir(1);
    object.ReserveImgBlock(0, 0, 2, 2);
    CRastelo other = object;
    const auto before = ObjectState(other);
    EXPECT_EQ(object.Zoom_Size(width, height), 1);
    ASSERT_EQ(ImageOf(object), asLoaded ? image : PlainZoom(seen, width, height)) << image;
    object.InverseGray();
    EXPECT_EQ(ObjectState(object).loaded, image.bytes);
    EXPECT_TRUE(object.IsOpened() && IsConsistent(object));
    EXPECT_EQ(ObjectState(other), before) << "a copy keeps its pixels";
  }
}

TEST(Zoom, StaysInsideTheSourceWhereSinglePrecisionDoesNot) {
  CRastelo object = ObjectWith({{10, 200}});
  const LONG width = (1 << 24) + 4;  // its last column comes to lie on column 2
  EXPECT_EQ(object.Zoom_Size(width, 1), 1);
  EXPECT_EQ(rastelo::Inside::Pixels(object).bits[width - 1], 200);
}

TEST(Zoom, WorksOutSizesFromTheCurrentOne) {
  const std::tuple<double, LONG, LONG> cases[] = {
      // from 5 x 4
      {0.5, 3, 2},   {2, 10, 8},    {1.2, 6, 5},      {1, 5, 4},        {0, 0, 0},
      {0.125, 1, 1}, {-0.29, 0, 0}, {-0.31, 5, 4},    {-1, 5, 4},       {1e300, 5, 4},
      {NAN, 5, 4},   {1e9, 5, 4},   {INFINITY, 5, 4}, {-INFINITY, 5, 4}};
  for (const auto& [factor, width, height] : cases)
    for (bool out : {false, true}) {
      CRastelo object = ObjectWith(Noise(5, 4, 3));
      EXPECT_EQ(out ? object.Zoom_Out(factor - 1) : object.Zoom_In(factor), 1);
      EXPECT_TRUE(object.GetWidth() == width && object.GetHeight() == height) << factor;
      EXPECT_EQ(object.Zoom_Size(5, 4), 1);
      EXPECT_EQ(ImageOf(object), Noise(5, 4, 3)) << "and back";
    }
  CRastelo object = ObjectWith(Noise(5, 4));
  object.RotateImage_Dir(1);
  object.Zoom_In(2);
  EXPECT_EQ(ImageOf(object), PlainZoom(Noise(5, 4), 8, 10)) << "exchanged sizes, loaded pixels";
}

TEST(Zoom, ChangesNothingWithoutASizeOrASource) {
  const std::pair<LONG, LONG> sizes[] = {
      {-1, 4}, {4, -1}, {INT32_MAX, 1}, {1 << 16, 1 << 15}, {INT32_MAX, INT32_MAX}, {9, 9}, {5, 4}};
  for (int i = 0; i < 5 * 7; ++i) {
    const auto& [width, height] = sizes[i / 5];
    const int pixelBytes = i % 5;  // 0 new, 2 and 4 depths that no operation knows
    CRastelo object = pixelBytes == 0 ? CRastelo() : ObjectWith(Noise(5, 4, pixelBytes));
    if (i / 5 >= 5 && pixelBytes % 2 == 1) object.Close();
    const auto before = ObjectState(object);
    EXPECT_EQ(object.Zoom_Size(width, height), 1);
    EXPECT_EQ(ObjectState(object), before) << width << " x " << height;
    EXPECT_EQ(object.Zoom_In(pixelBytes % 2 == 0 ? 2.0 : 1.0) + object.Zoom_Out(0), 2);
    EXPECT_TRUE(object.GetWidth() == before.width && IsConsistent(object));
  }
}

}  // namespace
