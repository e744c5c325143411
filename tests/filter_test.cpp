// Pixel filters, light measures and evening, and the undo history that keeps nothing.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "filter/convolve.h"
#include "filter/edges.h"
#include "filter/even_light.h"
#include "filter/invert.h"
#include "filter/push.h"
#include "filter/sobel.h"
#include "filter/template_operator.h"
#include "plain/filter.h"
#include "testing/object_state.h"
#include "tests/kernel_check.h"

namespace {

/// What an operation makes of an image. The pixels as they came in must stay.
LiteralImage After(const LiteralImage& image, auto operation) {
  CRastelo object = ObjectWith(image);
  operation(object);
  EXPECT_EQ(ObjectState(object).loaded, image.bytes);
  EXPECT_TRUE(IsConsistent(object));
  return ImageOf(object);
}

LiteralImage Gray(const LiteralImage& image) {
  return After(image, [](auto& o) { o.RGBImg2Gray(); });
}

/// What a plain definition makes of an image.
LiteralImage Plainly(LiteralImage image, auto apply) {
  apply(image.Pixels());
  return image;
}

TEST(PixelFilters, ReadWhatTheyHaveWritten) {
  const auto sobel = [](auto& o) { o.Img_Sobel(); };
  const Bytes dark(5, 0), lit(5, 10);
  EXPECT_EQ(After({dark, dark, lit, lit}, sobel),
            LiteralImage({dark, {0, 40, 89, 182, 0}, {10, 156, 255, 255, 10}, lit}));
  const std::tuple<std::vector<double>, std::uint8_t, std::uint8_t> cases[] = {
      {std::vector(9, 1.0 / 9), 100, 99},
      {{0, 0, 0, 0, -2, 0, 0, 0, 0}, 50, 100},
      {{0, -1, 0, -1, 4, -1, 0, -1, 0}, 77, 0},
      {{-1.5, 0, 0, 0, 0.25, 0, 0, 0, 0}, 1, 0},          // -1.5 becomes -1, and -0.75 then 0
      {{4294967296.0, 0, 0, 0, 0, 0, 0, 0, 0.5}, 14, 7},  // the low 32 bits
      {{2147483648.0, 0, 0, 0, 0, 0, 0, 0, 0}, 1, 255},   // -2^31
      {{NAN, 7, INFINITY, 7, -1e30, 0, 0, 0, 1}, 5, 5},
      {{65793, 4, 0, 0, 0, 0, 0, -65793, -4}, 255, 0},      // whole, and odd above 2^24
      {{8000, 0.9999, 0, 0, 0, 0, 0, 0, -8000}, 255, 254},  // too fine for single precision
      // 1 - 2^-52 is all but 1: added to 120, it rounds to 121.
      {{40, 0x1.5555555555554p-2, 0, 0, 0, 0, 0, 0, 0}, 3, 121},
  };
  for (auto [entries, level, centre] : cases) {
    const std::vector row(3, level);
    const auto apply = [values = entries.data()](auto& o) { o.ImgTemplateOperator(values, 3); };
    EXPECT_EQ(After({row, row, row}, apply), LiteralImage({row, {level, centre, level}, row}));
  }
  std::mt19937 random(7);
  for (int i = 0; i < 4 * 2 * 81; ++i) {
    const int size = i % 4 * 2 + 1, w = i / 8 % 9 + 1, h = i / 72 + 1;
    LiteralImage image = Noise(w, h, i / 4 % 2 * 2 + 1);
    if (i % 5 == 0)  // dim, so that less than 255 comes out
      for (int n = 0; n < image.Count(); ++n) image.At(n) /= 16;
    ASSERT_EQ(After(image, sobel), Plainly(Gray(image), plain::ApplySobel));
    std::vector<double> entries(std::size_t(size * size));
    for (double& entry : entries) entry = (int(random() % 4001) - 2000) / (i % 5 ? 8000.0 : 8e-7);
    if (i % 7 == 0) entries[random() % entries.size()] = i % 2 ? 1e30 : NAN;
    ASSERT_EQ(After(image, [&](auto& o) { o.ImgTemplateOperator(entries.data(), size); }),
              Plainly(Gray(image), [&](auto v) { plain::ApplyTemplate(v, entries.data(), size); }));
    for (int refused : {INT32_MIN, -1, 0, 2, 4, INT32_MAX - 1, INT32_MAX, 11, size}) {
      double* values = refused == size ? nullptr : entries.data();
      const auto refuse = [&](auto& o) { o.ImgTemplateOperator(values, refused); };
      ASSERT_EQ(After(image, refuse), Gray(image)) << refused;
    }
  }
}

TEST(PixelFilters, PushAndComplementLevels) {
  const int thresholds[] = {INT32_MIN, 0, 1, 127, 128, 255, 256, INT32_MAX};
  for (int i = 0; i < 8 * 8; ++i) {
    const int low = i % 2 * -7, high = i / 2 % 2 * 2, threshold = thresholds[i / 8];
    const LiteralImage image = Noise(33 + i % 5, 21, i / 4 % 2 * 2 + 1);
    EXPECT_EQ(After(image, [&](auto& o) { o.ImgTrans2_0_1(threshold, low, high); }),
              Plainly(Gray(image), [=](auto v) { plain::PushLevels(v, threshold, low, high); }));
    EXPECT_EQ(After(image, [](auto& o) { o.InverseGray(); }), Plainly(image, plain::InvertBytes));
  }
}

/// Of pictures whose rows lie so many above each other that a wave of rows passes several times.
void ExpectSameWaves(auto ours, auto plain) {
  ExpectSameInPlace(1, ours, plain);
  for (const auto& [width, height] : {std::pair(530, 300), {701, 270}, {452, 133}})
    ExpectSameInPlace(MakePicture(width, height, 1, Content::kSoft), ours, plain);
}

TEST(PixelFilters, AreThePlainOnesOnEveryTarget) {
  ExpectSameWaves(rastelo::ApplySobel, plain::ApplySobel);
  ExpectSameInPlace(1, rastelo::InvertBytes, plain::InvertBytes);
  for (const int threshold : {INT32_MIN, 0, 1, 128, 255, 256, INT32_MAX})
    for (const auto& ends : {std::pair(true, true), {true, false}, {false, true}})
      ExpectSameInPlace(
          1, [&](auto gray) { rastelo::PushLevels(gray, threshold, ends.first, ends.second); },
          [&](auto gray) { plain::PushLevels(gray, threshold, ends.first, ends.second); });
  const double steps[][2] = {{0, 1.0 / 81}, {1, 1},       {-3, 1},       {-0.55, 0.3},
                             {-0.29, 0.58}, {-1e-3, 0.1}, {0.0004, 0.01}};  // first, difference
  for (const auto& [first, step] : steps)
    for (const int size : {3, 5, 7}) {
      std::vector<double> entries;
      for (int i = 0; i < size * size; ++i) entries.push_back(first + i * 5 % 7 * step);
      ExpectSameWaves([&](auto gray) { rastelo::ApplyTemplate(gray, entries.data(), size); },
                      [&](auto gray) { plain::ApplyTemplate(gray, entries.data(), size); });
    }
}

LiteralImage SameSize(const LiteralImage& image) {
  return Noise(image.width, image.height, image.pixelBytes);
}

TEST(DetectEdges, MeasuresUnchangedNeighbours) {
  const std::pair<LiteralImage, LiteralImage> cases[] = {
      {{{7}}, {{0}}},
      {{{0, 10, 10}}, {{40, 40, 0}}},
      {{{0}, {63}, {64}}, {{252}, {255}, {4}}},
      {{{0, 0, 0}, {0, 9, 0}, {0, 0, 0}}, {{13, 18, 13}, {18, 0, 18}, {13, 18, 13}}},
      {{{1, 1}, {1, 0}}, {{1, 3}, {3, 4}}}};  // from the roots of 2, 10, 10 and 18
  for (const auto& [gray, edges] : cases) {
    LiteralImage found = SameSize(gray);
    rastelo::DetectEdges(gray.Pixels(), found.Pixels());
    EXPECT_EQ(found, edges) << found;
  }
  ExpectSameTarget(1, SameSize, rastelo::DetectEdges, plain::DetectEdges);
}

TEST(Convolve, RoundsHalvesUpAndCorrelates) {
  const std::tuple<std::vector<double>, Bytes, Bytes> ofOne[] = {
      {{0.5}, {0, 1, 2, 3, 255}, {0, 1, 1, 2, 128}},
      {{0x1.FFFFFFFFFFFFFp-2}, {0, 1, 2, 3, 255}, {0, 0, 1, 1, 127}},
      {{0x1.0000000000001p-1}, {0, 1, 2, 3, 255}, {0, 1, 1, 2, 128}},
      {{-0.5}, {0, 1, 2, 3, 255}, {0, 0, 0, 0, 0}},
      {{100}, {0, 1, 2, 3, 255}, {0, 100, 200, 255, 255}},
      {{1e300}, {0, 1, 2, 3, 255}, {0, 255, 255, 255, 255}},
      {{INFINITY}, {0, 1, 2, 3, 255}, {0, 255, 255, 255, 255}},
      {{NAN}, {0, 1, 2, 3, 255}, {0, 0, 0, 0, 0}}};
  for (const auto& [entries, before, after] : ofOne) {
    const LiteralImage row = {before};
    LiteralImage sums = SameSize(row);
    rastelo::Convolve(row.Pixels(), 1, entries, 1, sums.Pixels());
    EXPECT_EQ(sums, LiteralImage({after})) << entries[0];
  }
  // Entry 0 weighs the lower left pixel, entry 5 the right one.
  const LiteralImage colours({{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}}, 3);
  LiteralImage sums = SameSize(colours);
  rastelo::Convolve(colours.Pixels(), 3, std::vector<double>{10, 0, 0, 0, 0, 1, 0, 0, 0}, 3,
                    sums.Pixels());
  EXPECT_EQ(sums, LiteralImage({{14, 25, 36, 14, 25, 36}, {20, 31, 42, 20, 31, 42}}, 3)) << sums;
}

TEST(Convolve, IsThePlainOneOnEveryTarget) {
  // First entry, what is added for each of seven, and the centre's own: whole numbers, quarters,
  // any, tenths whose sums are often halves, rounded factors of all sizes, too large ones, none.
  const double kinds[][3] = {{-1, 0, 25},          {0.25, -0.25, 3},   {0.007, 0.0113, 0},
                             {0.1, 0, 0.4},        {-0.37, 0.2, 1.31}, {3e-9, 1e-12, 0.5},
                             {0.5, 0, 0x1p-60},    {900.3, -300, 1},   {7e8, -2.4e8, 1},
                             {1e300, -4e299, 7e3}, {NAN, 0, 0}};
  int number = 0;
  for (const auto& [first, step, centre] : kinds)
    for (const int size : {1, 3, 5, 7, 9, 23}) {
      std::vector<double> entries;
      for (int i = 0; i < size * size; ++i) entries.push_back(first + i * 5 % 7 * step);
      entries[entries.size() / 2] += centre;
      for (const int bytes : {1, 3}) {
        const auto ours = [&](auto source, auto target) {
          rastelo::Convolve(source, bytes, entries, size, target);
        };
        const auto plain = [&](auto source, auto target) {
          plain::Convolve(source, bytes, entries, size, target);
        };
        for (int i = 0; i < 9; ++i) {
          const int width = (++number * 37 + i * 17) % 131, height = number % 8 + 1;
          const LiteralImage picture = MakePicture(width, height, bytes, Content(number % 4));
          ExpectSameTarget(picture, SameSize(picture), ours, plain);
        }
        if (size != 3) continue;
        if (&first == &kinds[2][0] || &first == &kinds[3][0])
          ExpectSameTarget(bytes, SameSize, ours, plain);
        const LiteralImage wide = Noise(12345, 3, bytes);  // of several strips
        ExpectSameTarget(wide, SameSize(wide), ours, plain);
      }
    }
}

TEST(ImgGrayExceedProbability, ComparesTheShareAbove) {
  const LiteralImage gray = {{100, 100}, {200, 200}}, colour({{9, 99, 99, 99, 9, 9}}, 3);
  const std::tuple<LiteralImage, int, double, bool> cases[] = {
      {gray, 100, 0.5, false},  {gray, 100, 0.49, true},  {gray, 99, 1.0, false},
      {gray, 255, 0.0, false},  {gray, 255, -0.1, true},  {gray, -1, 0.99, true},
      {gray, 0, NAN, false},    {gray, 200, 0.0, false},  {gray, INT32_MAX, 0.0, false},
      {colour, 50, 0.49, true}, {colour, 50, 0.5, false}, {Noise(2, 2, 2), -1, -1, false}};
  for (const auto& [image, level, probability, exceeds] : cases) {
    CRastelo object = ObjectWith(image);
    EXPECT_EQ(object.ImgGray_Exceed_Probability(level, probability), exceeds) << level;
    object.Close();
    EXPECT_FALSE(object.ImgGray_Exceed_Probability(level, probability));
  }
}

LiteralImage PlainPass(const LiteralImage& image, int limit) {
  return Plainly(image, [=](auto view) { plain::EvenColumns(view, limit); });
}

TEST(ImgAverageLight, LiftsDarkColumns) {
  const LiteralImage evening = {
      {20, 60, 100, 180, 200}, {30, 70, 120, 140, 250}, {40, 60, 110, 100, 220}};
  const std::pair<LiteralImage, LiteralImage> cases[] = {
      {evening, {{211, 255, 255, 221, 200}, {241, 255, 255, 181, 250}, {255, 255, 255, 141, 220}}},
      {{{10, 20, 30, 40}}, {{40, 40, 40, 40}}},  // of an even width, the upper middle
      {{{5, 240, 1, 250}, {5, 242, 3, 250}}, {{250, 249, 249, 250}, {250, 242, 251, 250}}},
      {{{200, 200}, {100, 100}}, {{200, 200}, {100, 100}}}};  // no column above the median
  for (const auto& [before, after] : cases)
    for (int mode : {INT32_MIN, -1, 0, 1, 3})
      EXPECT_EQ(After(before, [&](auto& o) { EXPECT_TRUE(o.ImgAverageLight(mode, 2)); }),
                mode == 0 ? after : before);
  for (int i = 0; i < 2 * 9 * 131; ++i) {
    LiteralImage image =
        i < 12 ? Noise(512 + i, 67, 1) : Noise(i / 2 % 131 + 1, i / 262 + 1, i % 2 * 2 + 1);
    for (int n = 0; i % 3 != 0 && n < image.Count(); ++n) {
      const int column = n % image.width;  // of its own level and spread, some of one level
      image.At(n) = std::uint8_t(image.At(n) % (column * i % 4 * 20 + 1) + column * 77 % 190);
    }
    for (int limit : {-1, 0, 100, 200, INT32_MAX}) {
      const LiteralImage expected = PlainPass(image, limit);
      OnEveryTarget([&] {
        const auto even = [=](auto& o) { EXPECT_TRUE(o.ImgAverageLight_V(limit)); };
        ASSERT_EQ(After(image, even), expected) << limit << ": " << image;
      });
    }
  }
}

TEST(EvenLight, AddsUpSquaresBeyond32Bits) {
  LiteralImage white(65, 66100, 1);
  white.bytes.assign(white.bytes.size(), 255);
  OnEveryTarget([&] {
    std::vector<rastelo::ColumnLight> columns(65);
    rastelo::MeasureColumns(white.Pixels(), 255, columns);
    for (const auto& column : columns) EXPECT_EQ(column.squares, std::int64_t{66100} * 255 * 255);
  });
}

TEST(ImgAverageLight, RepeatsUntilItIsBrightOrStays) {
  for (int i = 0; i < 60; ++i) {
    const int w = i % 8 * 3, kind = i % 6;
    LiteralImage before = Noise(w, i % 9 * 2 + 1, kind == 5 ? 3 : 1);
    for (int n = 0; kind < 4 && n < before.Count(); ++n) {
      const int x = n % w, lit = 182 + x + n / w % 2 * 4;
      const int levels[] = {i * 4, x == w - 1 ? 178 + i / 6 : x, x == 0 ? 5 : lit,
                            x <= w / 2 ? 5 : lit};  // flat, at the limit, near the share, below it
      before.At(n) = std::uint8_t(levels[kind]);
    }
    CRastelo object = ObjectWith(before), measure;
    LiteralImage after = before;
    int passes = 0;
    do {
      before = after;
      after = PlainPass(before, 255);
      measure = ObjectWith(after);
      ++passes;
    } while (!measure.ImgGray_Exceed_Probability(180, 0.9) && !(after == before));
    const HookRecorder hooks;
    EXPECT_TRUE(object.ImgAverageLight(2, 0));
    EXPECT_EQ(hooks.trace,
              "\xB4\xB9\xD6\xB1\xCD\xB6\xD3\xB0\xBE\xF9\xB9\xE2\xB5\xC4\xB4\xCE\xCA\xFD\xCE\xAA: " +
                  std::to_string(passes));
    EXPECT_EQ(ImageOf(object).bytes, after.bytes);
  }
}

}  // namespace
