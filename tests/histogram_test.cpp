// Histograms, gray maps and the four equalisations.
#include <gmock/gmock.h>

#include "histogram/class_pair.h"
#include "histogram/gray_map.h"
#include "plain/histogram.h"
#include "testing/object_state.h"
#include "tests/kernel_check.h"

using rastelo::GrayMap, rastelo::Histogram;

namespace {

constexpr void (*kEqualise[])(CRastelo&) = {[](CRastelo& o) { o.HistogramEqualization(); },
                                            [](CRastelo& o) { o.HistogramEqualization1(); },
                                            [](CRastelo& o) { o.HistogramEqualization2(); },
                                            [](CRastelo& o) { o.HistogramEqualization3(); }};

TEST(HistogramStatic, CountsPixelsAndNoTails) {
  for (int i = 0; i < 4 * 100; ++i) {
    const int w = i / 4 % 10, h = i / 40, pixelBytes = i % 4 + 1, rowBytes = w * pixelBytes;
    LiteralImage image = Noise(w, h, pixelBytes);
    image.bytes.reserve(1);  // not null, even if empty
    std::vector<LONG> expected(768), counts(768, 77);
    for (int j = 0; pixelBytes % 2 && j < h * rowBytes; ++j)
      ++expected[j % pixelBytes * 256 + image.At(j % rowBytes, j / rowBytes)];
    CRastelo object = ObjectWith(image);
    object.HistogramStatic(&counts[0], &counts[256], nullptr);
    EXPECT_THAT(counts, testing::Each(77));
    object.HistogramStatic(&counts[0], &counts[256], &counts[512]);
    EXPECT_EQ(counts, expected) << image;
    if (pixelBytes % 2 && w * h > 0) continue;
    for (const auto equalise : kEqualise) equalise(object);
    ASSERT_EQ(ImageOf(object), image) << "no pixels, or of another depth";
    object.Close();
    for (const auto equalise : kEqualise) equalise(object);
  }
}

TEST(GrayMap, FillsItsRangeAndNoMore) {
  const std::tuple<int, std::vector<int>, std::vector<int>> cases[] = {
      {0,
       {0, 0, 0, 2, 0, 2, 0, 0, 0, 1, 0, 0, 2, 0, 0, 1, 0, 0, 0, 0, 0},
       {0, 0, 0, 5, 5, 10, 10, 10, 10, 14, 12, 12, 17, 17, 17, 22, 20, 20, 20, 20, 20}},
      {0, {9, 2, 21, 0, 6, 2, 0, 0, 22}, {1, 1, 5, 4, 4, 5, 5, 5, 8}},
      {2, {0, 5, 8, 7, 0}, {2, 3, 5, 7, 6}},
      {0, {49, 49, 0, 0, 0}, {4, 6, 4, 4, 4}},  // multiplied before it is divided
      {5, {20, 0, 0, 0, 0, 30, 0, 0, 0, 0, 50}, {8, 7, 7, 7, 7, 11, 10, 10, 10, 10, 15}},
      {0, {0, 0, 1'000'000'000, 0}, {0, 0, 6, 3}},
      {7, {3}, {7}},
      {7, {0, 0, 0}, {7, 0xAB, 0xAB}}};
  for (const auto& [first, range, entries] : cases) {
    Histogram counts;
    counts.fill(77);
    std::copy(range.begin(), range.end(), counts.begin() + first);
    GrayMap map, expected;
    map.fill(0xAB);
    expected.fill(0xAB);
    std::copy(entries.begin(), entries.end(), expected.begin() + first);
    rastelo::FillSegmentMap(counts, first, first + int(range.size()) - 1, map);
    EXPECT_EQ(map, expected) << first << ": " << range[0];
  }
}

TEST(Levels, AreCountedAndMappedAsPlainly) {
  std::array<GrayMap, 3> maps;
  for (std::size_t i = 0; i < 3 * 256; ++i) maps[i / 256][i % 256] = std::uint8_t(i * i / 7 + i);
  ExpectSameInPlace(
      1, [&](auto gray) { rastelo::ApplyMap(gray, maps[0]); },
      [&](auto gray) { plain::ApplyMap(gray, maps[0]); });
  ExpectSameInPlace(
      3, [&](auto bgr) { rastelo::ApplyPlaneMaps(bgr, maps); },
      [&](auto bgr) { plain::ApplyPlaneMaps(bgr, maps); });
  ForAwkwardPictures(1, [](const LiteralImage& gray) {
    const Histogram counts = plain::CountLevels(gray.Pixels());
    OnEveryTarget([&] { ASSERT_EQ(rastelo::CountLevels(gray.Pixels()), counts) << gray; });
    if (gray.width == 0) return;
    const int mean = plain::MeanLevel(gray.Pixels());
    OnEveryTarget([&] { ASSERT_EQ(rastelo::MeanLevel(gray.Pixels()), mean) << gray; });
    ASSERT_EQ(rastelo::MeanOfCounts(counts), mean);
  });
  ForAwkwardPictures(3, [](const LiteralImage& bgr) {
    const auto counts = plain::CountPlaneLevels(bgr.Pixels());
    OnEveryTarget([&] { ASSERT_EQ(rastelo::CountPlaneLevels(bgr.Pixels()), counts) << bgr; });
  });
}

TEST(CountLevels, SeesASpotAnywhereInAFlatRow) {
  for (std::size_t place = 0; place < 144; ++place) {
    std::uint8_t row[144] = {};
    row[place] = 9;
    const rastelo::ConstImageView gray{row, 144, 1, 144}, bgr{row, 48, 1, 144};
    OnEveryTarget([&] {
      EXPECT_EQ(rastelo::CountLevels(gray), plain::CountLevels(gray)) << place;
      EXPECT_EQ(rastelo::CountPlaneLevels(bgr), plain::CountPlaneLevels(bgr)) << place;
    });
  }
}

TEST(ClassPair, IsTheFirstWithTheSmallestVariance) {
  for (unsigned n = 0; n < 40; ++n) {
    const Histogram counts = AwkwardCounts(n, 254);
    const auto found = rastelo::FindClassPair(counts), plain = plain::FindClassPair(counts);
    ASSERT_EQ(found.has_value(), plain.has_value()) << n;
    EXPECT_TRUE(!found || (found->low == plain->low && found->high == plain->high)) << n;
  }
}

TEST(HistogramEqualization, MapsTheLevelsOfAGrayImage) {
  using Levels = std::vector<std::pair<std::uint8_t, int>>;  // level, pixels
  Levels flat;
  Bytes ramp;
  for (int i = 0; i < 256; ++i) flat.push_back({std::uint8_t(i), 4}), ramp.push_back(flat[i].first);
  const Levels ties = {{25, 2}, {51, 4}, {90, 3}, {125, 4}, {129, 4}, {164, 3}, {203, 4}, {229, 2}};
  const Levels six = {{10, 10}, {20, 10}, {100, 10}, {110, 10}, {220, 10}, {230, 10}};
  const std::tuple<int, Levels, Bytes> cases[] = {
      {0, {{0, 7}, {1, 1}, {128, 3}, {255, 5}}, {111, 127, 175, 255}},
      {1, {{0, 7}, {1, 1}, {128, 3}, {255, 5}}, {111, 142, 175, 255}},
      {0, {{10, 200}, {200, 1}}, {253, 0}},  // 256 in a byte
      {1, {{10, 15}, {200, 1}}, {239, 14}},
      {1, {{10, 4}, {20, 1}, {30, 1}, {40, 10}}, {63, 94, 110, 255}},
      {1, {{10, 1}, {20, 4}, {30, 250}}, {2, 9, 255}},
      {0, flat, ramp},
      {1, flat, ramp},
      {2, flat, ramp},
      {2, ties, {20, 60, 91, 117, 144, 165, 225, 255}},
      {2, six, {10, 21, 66, 111, 183, 255}},
      {2, {{10, 30}, {100, 40}, {220, 30}}, {11, 101, 255}},
      {2, {{50, 6}, {200, 3}}, {51, 255}},
      {2, {{50, 6}, {200, 3}, {255, 4}}, {51, 138, 255}},
      {2, {{252, 1}, {253, 1}, {254, 1}}, {126, 253, 255}},
      {2, {{50, 6}, {255, 4}}, {50, 255}},  // nothing to split
      {3, {{50, 6}, {200, 3}}, {170, 255}},
      {3, {{50, 6}, {255, 3}}, {170, 255}},
      {3, {{40, 4}, {60, 9}, {80, 2}, {180, 5}, {190, 3}, {220, 7}}, {21, 70, 91, 139, 173, 255}},
      {3, {{10, 5}, {12, 2}, {13, 3}, {200, 4}, {201, 1}, {255, 6}}, {7, 11, 18, 101, 123, 255}}};
  const auto check = [](int variant, const Levels& levels, const auto& values) {
    Bytes before, after;
    for (std::size_t i = 0; i < levels.size(); ++i) {
      before.resize(before.size() + std::size_t(levels[i].second), levels[i].first);
      after.resize(before.size(), values[i]);
    }
    const int pixels = int(before.size()), width = pixels % 3 == 0 ? 3 : 2 - pixels % 2;
    LiteralImage image(width, pixels / width, 1);
    for (int i = 0; i < pixels; ++i) image.At(i) = before[i];
    CRastelo object = ObjectWith(image);
    auto expected = ObjectState(object);
    for (int i = 0; i < pixels; ++i) expected.pixels[i / width * 4 + i % width] = after[i];
    kEqualise[variant](object);
    EXPECT_EQ(ObjectState(object), expected) << variant << ImageOf(object);
  };
  for (const auto& [variant, levels, after] : cases) check(variant, levels, after);
  for (int i = 0; i < 12; ++i) {
    const auto level = std::uint8_t(i / 4 * 255 / 2);
    check(i % 4, {{level, 1024}}, std::vector{i % 4 == 2 ? level : std::uint8_t{255}});
  }
}

TEST(HistogramEqualization, MapsThePlanesOfAColourImageOnTheirOwn) {
  const LiteralImage before({{0, 9, 7, 0, 9, 8}, {100, 9, 7, 200, 9, 7}}, 3);
  const LiteralImage after({{127, 255, 191, 127, 255, 255}, {191, 255, 191, 255, 255, 191}}, 3);
  for (int variant = 0; variant < 4; ++variant) {
    CRastelo object = ObjectWith(before);
    kEqualise[variant](object);
    EXPECT_EQ(ImageOf(object), variant < 2 ? after : before) << variant;
  }
  const auto map = rastelo::MakeCumulativeMap(Histogram{20'000'000, 20'000'000, 60'000'000});
  EXPECT_THAT(std::vector(&map[0], &map[4]), testing::ElementsAre(51, 102, 255, 255));
}

}  // namespace
