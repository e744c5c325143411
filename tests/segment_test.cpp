// Otsu's threshold, the graph cut, the contrast threshold, and the segmentations that apply them.
#include <gmock/gmock.h>

#include <cmath>

#include "plain/segment.h"
#include "segment/graph_cut.h"
#include "segment/ndhm.h"
#include "segment/otsu.h"
#include "segment/threshold.h"
#include "testing/object_state.h"
#include "tests/kernel_check.h"

using rastelo::AffinityTable, rastelo::Inside;

namespace {

/// The image with the first `width` bytes of each row changed.
LiteralImage Changed(LiteralImage image, auto change) {
  for (int i = 0; i < image.Count(); ++i) image.At(i) = std::uint8_t(change(image.At(i)));
  return image;
}
int OneOfFive(int level) { return level % 5 * 255 / 4; }

/// What the operation traces: a pass as "mean " or "mean<threshold>mean ", the duration as "end".
std::string Trace(CRastelo& object, auto operation, auto... arguments) {
  const HookRecorder hooks;
  (object.*operation)(arguments...);
  std::string trace = hooks.trace;
  const std::pair<std::string, std::string> briefs[] = {
      {"otsu__average gray: ", ""}, {"before graphCut__average gray: ", ""},
      {"\nthreshold: ", "<"},       {"\nafter graphCut__average gray: ", ">"},
      {"graph cut times: ", "end"}, {"\n", " "}};
  for (const auto& [text, brief] : briefs)
    for (std::size_t at; (at = trace.find(text)) != trace.npos;)
      trace.replace(at, text.size(), brief);
  if (trace.ends_with("ms "))
    trace.resize(trace.find_last_not_of("0123456789", trace.size() - 4) + 1);
  return trace;
}

std::string Times(int count, const std::string& text) {
  return count == 0 ? "" : text + Times(count - 1, text);
}

TEST(Otsu, WantsOnePercentOnEitherSide) {
  const std::array<int, 5> cases[] = {{0, 60, 40, 51, 51}, {0, 99, 1, 51, 51},  {0, 1, 99, 51, 51},
                                      {0, 199, 1, -7, -7}, {0, 1, 199, -7, -7}, {900, 5, 5, 51, 1}};
  for (const auto& [black, dark, bright, aboveBlack, ofAll] : cases) {
    const auto level = [=, i = 0](int) mutable {
      return ++i <= black ? 0 : i <= black + dark ? 50 : 200;
    };
    CRastelo object = ObjectWith(Changed({1, black + dark + bright, 1}, level));
    std::array found = {-7, -7};
    Inside::SearchOtsu(object, 1, 200, &found[0]);
    Inside::SearchOtsu(object, &found[1]);
    EXPECT_EQ(found, (std::array{aboveBlack, ofAll})) << black << ", " << dark;
  }
}

TEST(Otsu, IsTheFirstWithTheLargestVariance) {
  for (unsigned n = 0; n < 1000; ++n) {
    const rastelo::Histogram counts = AwkwardCounts(n, 255);
    const int low = int(n % 4 * (n / 16 % 86)), high = n % 8 < 6 ? 255 : 254;
    ASSERT_EQ(rastelo::FindOtsuThreshold(counts, low, high),
              plain::FindOtsuThreshold(counts, low, high))
        << n;
  }
}

TEST(GraphCut, IsTheFirstWithTheSmallestNormalisedCut) {
  static AffinityTable table;
  static rastelo::GraphCutTables tables;
  for (int i = 0; i < 40; ++i) {
    // Mirrored with opposite levels, the right half makes cuts nearly tie.
    LiteralImage image = Noise(2 * (i % 7 + 3), i % 9 + 1);
    for (int j = 0; j < image.Count(); ++j) {
      const int x = j % image.width, right = image.width - 1 - x;
      if (i % 4 == 0) image.At(j) = std::uint8_t(image.At(j) % (i / 4 + 2) * 9 + i);
      if (i % 2 == 0 && x > right) image.At(j) = std::uint8_t(254 - image.At(j - x + right));
    }
    plain::SumAffinities(image.Pixels(), table);
    const int threshold = plain::FindGraphCutThreshold(table);
    EXPECT_EQ(rastelo::FindGraphCutThreshold(table), threshold) << image;
    EXPECT_EQ(rastelo::FindGraphCutThreshold(image.Pixels(), tables), threshold) << image;
  }
}

TEST(FindThreshold, SeparatesAPictureOrFindsNothing) {
  using enum rastelo::ThresholdSearch;
  const std::tuple<LiteralImage, std::optional<int>, std::optional<int>> cases[] = {
      {{{10, 10, 11, 11}, {10, 12, 200, 201}, {10, 200, 200, 201}, {10, 12, 201, 201}}, 13, 13},
      {{{60, 120, 122, 200}}, 123, 120},
      {{{7, 7}, {7, 7}}, std::nullopt, std::nullopt},
      {{{255, 255}, {255, 255}}, std::nullopt, std::nullopt},
      {{0, 3, 1}, std::nullopt, std::nullopt},
      {{3, 0, 1}, std::nullopt, std::nullopt}};
  for (const auto& [gray, otsu, cut] : cases) {
    EXPECT_EQ(rastelo::FindThreshold(gray.Pixels(), kOtsu), otsu) << gray;
    EXPECT_EQ(rastelo::FindThreshold(gray.Pixels(), kGraphCut), cut) << gray;
  }
  for (int i = 0; i < 60; ++i) {
    const LiteralImage gray = MakePicture(i * 7 % 40 + 1, i % 9 + 1, 1, Content(i % 4));
    for (const auto search : {kOtsu, kGraphCut})
      EXPECT_EQ(rastelo::FindThreshold(gray.Pixels(), search),
                plain::FindThreshold(gray.Pixels(), search))
          << gray;
  }
}

TEST(Contrasts, AreThePlainOnesOnEveryTarget) {
  ForAwkwardPictures(1, [](const LiteralImage& gray) {
    const std::int32_t radius = gray.width % 6;
    const auto totals = plain::SumContrasts(gray.Pixels(), radius);
    std::vector<std::uint32_t> work(std::size_t(gray.width), 0xDEADBEEF);
    OnEveryTarget(
        [&] { ASSERT_EQ(rastelo::SumContrasts(gray.Pixels(), radius, work), totals) << gray; });
  });
}

TEST(Segment, ClearsWhatIsDarkAndComplementsTheGraphCut) {
  constexpr auto kOtsu = &CRastelo::Segment_Otsu, kCut = &CRastelo::Segment_Graphcut;
  const LiteralImage gray = {
      {10, 10, 11, 11}, {10, 12, 200, 201}, {10, 200, 200, 201}, {10, 12, 201, 201}};
  const LiteralImage colours({{10, 200, 201, 250, 5, 6, 7, 8, 9}}, 3);
  // Of each image the lowest level that is not cleared, and the trace.
  const std::tuple<void (CRastelo::*)(), LiteralImage, int, std::string> cases[] = {
      {kOtsu, {{50, 50, 50, 200, 200}}, 200, "110 " + Times(9, "80 ")},
      {kOtsu, {{10, 200}, {200, 10}}, 200, "105 100 "},
      {kOtsu, {{19, 200}}, 200, "109 100 "},  // 9 less ends it, 10 does not
      {kOtsu, {{20, 200}}, 200, "110 " + Times(9, "100 ")},
      {kOtsu, {{93, 94}, {94, 94}}, 94, "93 " + Times(9, "70 ")},
      {kOtsu, {{254, 255}}, 255, "254 " + Times(9, "127 ")},
      {kOtsu, {{52, 113, 113, 127, 141, 141, 202}}, 202, "127 " + Times(9, "28 ")},  // nearly a tie
      {kOtsu, {{8, 8, 12, 12, 127, 242, 242, 246, 246}}, 246, "127 108 " + Times(8, "54 ")},
      {kOtsu, {{0, 0}}, 0, Times(10, "0 ")},
      {kOtsu, {{128, 128}}, 0, Times(10, "128 ")},
      {kOtsu, {{255, 255}}, 0, Times(10, "255 ")},
      {kOtsu, colours, 0, Times(10, "0 ")},
      {kCut, gray, 13, "93<13>87 87<200 "},
      {kCut, {{60, 120, 122, 200}}, 122, "125<120>110 110<122>80 " + Times(8, "80<122>80 ")},
      {kCut, {{49, 60, 42, 99, 155, 212, 194, 205}}, 156, "127<156>76 " + Times(9, "76<0>76 ")},
      {kCut,
       {{69, 122, 75, 118, 136, 179, 132, 185}},
       118,
       "127<118>109 " + Times(9, "109<118>109 ")},
      {kCut, {{29, 255, 255}}, 255, "179<255>170 170<255 "},
      {kCut, {{30, 255, 255}}, 255, "180<255>170 " + Times(9, "170<255>170 ")},
      {kCut, {{20, 20, 254, 254}}, 0, Times(10, "137<0>137 ")},
      {kCut, {{255, 20, 255}}, 0, Times(10, "176<0>176 ")},  // no two touch
      {kCut, {{0, 0}}, 0, "0<0 "},
      {kCut, {{7, 7}}, 0, "7<0 "},
      {kCut, {{8, 8}}, 0, Times(10, "8<0>8 ")},
      {kCut, {{128, 128}}, 0, Times(10, "128<0>128 ")},
      {kCut, {{255, 255}, {255, 255}}, 0, Times(10, "255<0>255 ")},
      {kCut, colours, 0, "0<200 "}};
  for (const auto& [segment, image, kept, trace] : cases) {
    const int toggle = segment == kCut ? 255 : 0;
    CRastelo object = ObjectWith(image);
    auto expected = ObjectState(object);
    expected.pixels = Changed(image, [&](int v) { return (v < kept ? 0 : v) ^ toggle; }).bytes;
    EXPECT_EQ(Trace(object, segment), trace + "end");
    EXPECT_EQ(ObjectState(object), expected) << image << ImageOf(object);
  }
}

/// A square in the middle, a third as wide as the image.
LiteralImage Spot(int width, int level, int spotLevel) {
  return Changed({width, width, 1}, [=, i = 0](int) mutable {
    const int x = i % width * 3 / width, y = i++ / width * 3 / width;
    return x == 1 && y == 1 ? spotLevel : level;
  });
}

TEST(Segment, SplitsAtTheLevelThatStandsOut) {
  const std::array<int, 6> cases[] = {
      {6, 200, 50, 1, -1050, 1050},         {6, 200, 50, 2, 0, 7200},
      {6, 200, 50, INT32_MAX, 0, 0},        {6, 200, 255, 2, 0, -2640},
      {135, 255, 0, 45, 0, -1'157'989'171}, {180, 255, 0, 60, 0, 1'324'465'408}};
  for (const auto& [width, level, spot, r, around, inside] : cases) {
    CRastelo object = ObjectWith(Spot(width, level, spot));
    std::string trace;
    for (int i = 255; i >= 0; --i)
      trace += std::to_string(i == level ? around : i == spot ? inside : 0) + " ";
    EXPECT_EQ(Trace(object, &CRastelo::Segment_NDHM, r), trace);
    EXPECT_EQ(ImageOf(object), Spot(width, inside > 0 ? 0 : 255, 255)) << r;
  }
}

TEST(Segment, SplitsBothDepthsAsThePlainRule) {
  for (int i = 0; i < 2 * 81 * 6; ++i) {
    const int w = i / 12 % 9 + 1, h = i / 108 + 1, r = i / 2 % 6;
    LiteralImage image = Noise(w, h, i % 2 * 2 + 1);
    if ((w + h) % 3 == 0) image = Changed(image, OneOfFive);
    CRastelo object = ObjectWith(image), gray = ObjectWith(image);
    // Of a colour image, the first bytes of each row are searched, and the gray levels split.
    LiteralImage complement = Changed(image, [](int level) { return 255 - level; });
    const auto totals = plain::SumContrasts(complement.Pixels(), r);
    const auto largest = std::max_element(totals.begin(), totals.end());
    const int threshold = *largest > 0 ? int(largest - totals.begin()) : 0;
    gray.InverseGray();
    gray.RGBImg2Gray();
    auto expected = ObjectState(gray);
    expected.pixels =
        Changed(ImageOf(gray), [=](int level) { return level < threshold ? 0 : 255; }).bytes;
    EXPECT_EQ(Trace(object, &CRastelo::Segment_NDHM, r % 2 ? -r : INT32_MIN), "");
    object.Segment_NDHM(r);
    EXPECT_EQ(ObjectState(object), expected) << r << ", " << image;
  }
}

TEST(Segment, LeavesOtherDepthsAndEmptyImagesAsTheyAre) {
  const unsigned char none = 0;
  CRastelo objects[] = {{}, ObjectWith(Noise(5, 4)),    {},
                        {}, ObjectWith(Noise(5, 4, 2)), ObjectWith(Noise(5, 4, 4))};
  objects[1].Close();
  objects[2].SetExternalImageBits(&none, 0, 3, 8);
  objects[3].SetExternalImageBits(&none, 3, 0, 24);
  CRastelo gray = ObjectWith({{10, 20, 30}, {40, 50, 61}});
  int average = -7;
  EXPECT_TRUE(Inside::GetImgAvgGray(gray, &average) == 1 && average == 35);
  for (CRastelo& object : objects) {
    const auto before = ObjectState(object);
    EXPECT_TRUE(Inside::GetImgAvgGray(object, &average) == 0 && average == 35);
    EXPECT_EQ(Trace(object, &CRastelo::Segment_Otsu), Times(10, "0 ") + "end");
    EXPECT_EQ(Trace(object, &CRastelo::Segment_Graphcut), "0<0 end");
    EXPECT_EQ(ObjectState(object), before);
    for (const int r : {0, 1, INT32_MAX})
      EXPECT_EQ(Trace(object, &CRastelo::Segment_NDHM, r), Times(256, "0 "));
    EXPECT_EQ(ObjectState(object).pixels, before.pixels);
  }
}

}  // namespace
