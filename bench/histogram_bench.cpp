#include "bench/judge.h"
#include "histogram/histogram.h"
#include "plain/histogram.h"
#include "rastelo.h"

namespace {

using judge::Content, judge::MakeWork, judge::Register, judge::Setting, judge::Work;
using rastelo::Histogram, rastelo::GrayMap;

const judge::Range kRange = {.contents = {Content::kPhoto, Content::kNoise, Content::kFlat}};
/// Searches take a histogram, whatever the size of its picture.
const judge::Range kSearchRange = {.sides = {512}};

/// Reads the picture and keeps what comes out.
template <class Read>
MakeWork Reading(int bitCount, Read read) {
  return [=](const Setting& setting) {
    const auto pixels = setting.Picture(bitCount).Pixels();
    return Work{[=] {
      const auto result = read(pixels);
      judge::Keep(&result);
    }};
  };
}

/// An operation on an object that gets its picture back before each run.
MakeWork OnObject(int bitCount, void (CRastelo::*operation)()) {
  return [=](const Setting& setting) {
    const auto& picture = setting.Picture(bitCount);
    const auto object = std::make_shared<CRastelo>();
    return Work{[=] { ((*object).*operation)(); },
                [=, &picture] {
                  object->SetExternalImageBits(picture.bits.get(), picture.width, picture.height,
                                               picture.bitCount);
                }};
  };
}

MakeWork OnCounts(std::optional<rastelo::ThresholdPair> (*find)(rastelo::LevelCounts)) {
  return [=](const Setting& setting) {
    const Histogram counts = rastelo::CountLevels(setting.Picture(8).Pixels());
    return Work{[=] {
      const auto pair = find(counts);
      judge::Keep(&pair);
    }};
  };
}

void EqualisePlainly8(rastelo::ImageView gray) {
  GrayMap map;
  rastelo::FillSegmentMap(plain::CountLevels(gray), 0, 255, map);
  plain::ApplyMap(gray, map);
}

void EqualisePlainly24(rastelo::ImageView bgr) {
  const auto counts = plain::CountPlaneLevels(bgr);
  plain::ApplyPlaneMaps(
      bgr, {rastelo::MakeCumulativeMap(counts[0]), rastelo::MakeCumulativeMap(counts[1]),
            rastelo::MakeCumulativeMap(counts[2])});
}

const int kHistogram =
    Register("histogram 8 bits", "ours", Reading(8, rastelo::CountLevels), kRange) +
    Register("histogram 8 bits", "plain", Reading(8, plain::CountLevels), kRange) +
    Register("histogram 24 bits", "ours", Reading(24, rastelo::CountPlaneLevels), kRange) +
    Register("histogram 24 bits", "plain", Reading(24, plain::CountPlaneLevels), kRange) +
    Register("mean gray", "ours", Reading(8, rastelo::MeanLevel)) +
    Register("mean gray", "plain", Reading(8, plain::MeanLevel)) +
    Register("equalise 8 bits", "ours", OnObject(8, &CRastelo::HistogramEqualization), kRange) +
    Register("equalise 8 bits", "plain", judge::InPlace(8, EqualisePlainly8), kRange) +
    Register("equalise 24 bits", "ours", OnObject(24, &CRastelo::HistogramEqualization), kRange) +
    Register("equalise 24 bits", "plain", judge::InPlace(24, EqualisePlainly24), kRange) +
    Register("pair scan", "ours", OnCounts(rastelo::FindClassPair), kSearchRange) +
    Register("pair scan", "plain", OnCounts(plain::FindClassPair), kSearchRange);

}  // namespace
