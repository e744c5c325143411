#include <memory>

#include "bench/judge.h"
#include "filter/push.h"
#include "plain/filter.h"
#include "plain/segment.h"
#include "rastelo.h"
#include "segment/graph_cut.h"
#include "segment/otsu.h"
#include "segment/threshold.h"

namespace {

using judge::Content, judge::MakeWork, judge::Register, judge::Setting, judge::Work;
using rastelo::AffinityTable, rastelo::ConstImageView;

const judge::Range kRange = {.contents = {Content::kPhoto, Content::kNoise, Content::kFlat}};
/// Searches take a table, whatever the size of its picture.
const judge::Range kSearchRange = {.sides = {512}};
constexpr int kRadius = 8;

/// An operation on an object that gets its picture back before each run.
MakeWork OnObject(void (*operation)(CRastelo&)) {
  return [=](const Setting& setting) {
    const auto& picture = setting.Picture(8);
    const auto object = std::make_shared<CRastelo>();
    return Work{[=] { operation(*object); },
                [=, &picture] {
                  object->SetExternalImageBits(picture.bits.get(), picture.width, picture.height,
                                               picture.bitCount);
                }};
  };
}

MakeWork OnCounts(std::optional<int> (*find)(rastelo::LevelCounts, int, int)) {
  return [=](const Setting& setting) {
    const rastelo::Histogram counts = rastelo::CountLevels(setting.Picture(8).Pixels());
    return Work{[=] {
      const auto threshold = find(counts, 0, 255);
      judge::Keep(&threshold);
    }};
  };
}

MakeWork OnTable(int (*find)(const AffinityTable&)) {
  return [=](const Setting& setting) {
    const auto affinity = std::make_shared<AffinityTable>();
    rastelo::SumAffinities(setting.Picture(8).Pixels(), *affinity);
    return Work{[=] {
      const int threshold = find(*affinity);
      judge::Keep(&threshold);
    }};
  };
}

/// The whole search of a graph cut, in tables that are kept.
template <class Tables>
MakeWork GraphCutSearch(int (*search)(ConstImageView, Tables&)) {
  return [=](const Setting& setting) {
    const auto tables = std::make_shared<Tables>();
    const auto pixels = setting.Picture(8).Pixels();
    return Work{[=] {
      const int threshold = search(pixels, *tables);
      judge::Keep(&threshold);
    }};
  };
}

int SearchPlainly(ConstImageView gray, AffinityTable& affinity) {
  plain::SumAffinities(gray, affinity);
  return plain::FindGraphCutThreshold(affinity);
}

/// Makes two levels of a picture, by the threshold that Otsu's search finds.
template <class Find, class Push>
MakeWork TwoLevels(Find find, Push push) {
  return judge::InPlace(8, [=](rastelo::ImageView gray) {
    const std::optional<int> level = find(gray, rastelo::ThresholdSearch::kOtsu);
    if (level) push(gray, *level, true, true);
  });
}

const int kSegment =
    Register("two levels by Otsu", "ours", TwoLevels(rastelo::FindThreshold, rastelo::PushLevels)) +
    Register("two levels by Otsu", "plain", TwoLevels(plain::FindThreshold, plain::PushLevels)) +
    Register("Segment_Otsu", "ours", OnObject([](CRastelo& o) { o.Segment_Otsu(); }), kRange) +
    Register("Segment_Otsu", "plain", judge::InPlace(8, plain::SegmentOtsu), kRange) +
    Register("graph-cut search", "ours",
             GraphCutSearch<rastelo::GraphCutTables>(rastelo::FindGraphCutThreshold), kRange) +
    Register("graph-cut search", "plain", GraphCutSearch<AffinityTable>(SearchPlainly),
             {.sides = {512}, .contents = kRange.contents}) +
    Register("NDHM", "ours", OnObject([](CRastelo& o) { o.Segment_NDHM(kRadius); }), kRange) +
    Register("NDHM", "plain",
             judge::InPlace(8, [](auto gray) { plain::SegmentContrasts(gray, kRadius); }),
             {.sides = {512}, .contents = kRange.contents}) +
    Register("NDHM, radius 128", "ours", OnObject([](CRastelo& o) { o.Segment_NDHM(128); })) +
    Register("Otsu search", "ours", OnCounts(rastelo::FindOtsuThreshold), kSearchRange) +
    Register("Otsu search", "plain", OnCounts(plain::FindOtsuThreshold), kSearchRange) +
    Register("graph-cut step 5", "ours", OnTable(rastelo::FindGraphCutThreshold), kSearchRange) +
    Register("graph-cut step 5", "plain", OnTable(plain::FindGraphCutThreshold), kSearchRange);

}  // namespace
