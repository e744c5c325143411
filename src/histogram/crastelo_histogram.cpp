// Histogram statistics and the four equalisations.
#include <algorithm>
#include <initializer_list>

#include "histogram/class_pair.h"
#include "histogram/gray_map.h"
#include "histogram/histogram.h"
#include "image/inside.h"
#include "rastelo.h"

using rastelo::Inside;
using rastelo::LevelCounts;

namespace {

/// A host's table as the library counts.
rastelo::Histogram ToHistogram(const LONG* table) {
  rastelo::Histogram counts;
  std::copy_n(table, counts.size(), counts.begin());
  return counts;
}

bool HasDepth(const CRastelo& image, int bitCount) {
  return Inside::HasPixels(image) && Inside::BitCount(image) == bitCount;
}

void EqualizeSegments(CRastelo& image, LevelCounts counts, std::initializer_list<int> bounds) {
  rastelo::ApplyMap(Inside::Pixels(image),
                    rastelo::MakeSegmentMap(counts, {bounds.begin(), bounds.size()}));
}

void EqualizeLifted(CRastelo& image, LevelCounts counts) {
  rastelo::ApplyMap(Inside::Pixels(image), rastelo::MakeLiftedMap(counts));
}

void EqualizePlanes(CRastelo& image, const std::array<rastelo::Histogram, 3>& counts) {
  rastelo::ApplyPlaneMaps(Inside::Pixels(image), {rastelo::MakeCumulativeMap(counts[0]),
                                                  rastelo::MakeCumulativeMap(counts[1]),
                                                  rastelo::MakeCumulativeMap(counts[2])});
}

void EqualizeThreeClasses(CRastelo& image, LevelCounts counts) {
  const auto pair = rastelo::FindClassPair(counts);
  if (pair) EqualizeSegments(image, counts, {0, pair->low, pair->high, 255});
}

void EqualizeTwoSides(CRastelo& image, LevelCounts counts) {
  int threshold = 0;
  Inside::SearchGraphCut(image, &threshold);
  EqualizeSegments(image, counts, {0, threshold, 255});
}

}  // namespace

void CRastelo::HistogramStatic(LONG* const first, LONG* const second, LONG* const third) {
  if (!first || !second || !third) return;
  std::array<rastelo::Histogram, 3> counts{};
  if (m_nBitCount == 8) counts[0] = rastelo::CountLevels(Inside::Pixels(*this));
  if (m_nBitCount == 24) counts = rastelo::CountPlaneLevels(Inside::Pixels(*this));
  std::copy(counts[0].begin(), counts[0].end(), first);
  std::copy(counts[1].begin(), counts[1].end(), second);
  std::copy(counts[2].begin(), counts[2].end(), third);
}

void CRastelo::HistogramEqualization() {
  const rastelo::ConstImageView pixels = Inside::Pixels(*this);
  if (HasDepth(*this, 8)) EqualizeSegments(*this, rastelo::CountLevels(pixels), {0, 255});
  if (HasDepth(*this, 24)) EqualizePlanes(*this, rastelo::CountPlaneLevels(pixels));
}

void CRastelo::HistogramEqualization1() {
  const rastelo::ConstImageView pixels = Inside::Pixels(*this);
  if (HasDepth(*this, 8)) EqualizeLifted(*this, rastelo::CountLevels(pixels));
  if (HasDepth(*this, 24)) EqualizePlanes(*this, rastelo::CountPlaneLevels(pixels));
}

void CRastelo::HistogramEqualization2() {
  if (HasDepth(*this, 8)) EqualizeThreeClasses(*this, rastelo::CountLevels(Inside::Pixels(*this)));
}

void CRastelo::HistogramEqualization3() {
  if (HasDepth(*this, 8)) EqualizeTwoSides(*this, rastelo::CountLevels(Inside::Pixels(*this)));
}

void CRastelo::InitHistogramEqGrayMap(LONG* const counts, int first, int last, unsigned char* map) {
  rastelo::FillSegmentMap(ToHistogram(counts), first, last, std::span<std::uint8_t, 256>(map, 256));
}

// The steps of the equalisations for a host's own counts, as they are declared.

void CRastelo::HistogramEqualization_8(LONG* const counts) {
  if (HasDepth(*this, 8)) EqualizeSegments(*this, ToHistogram(counts), {0, 255});
}

void CRastelo::HistogramEqualization_24(LONG* const blue, LONG* const green, LONG* const red) {
  if (HasDepth(*this, 24))
    EqualizePlanes(*this, {ToHistogram(blue), ToHistogram(green), ToHistogram(red)});
}

void CRastelo::HistogramEqualization_8_1(LONG* const counts) {
  if (HasDepth(*this, 8)) EqualizeLifted(*this, ToHistogram(counts));
}

void CRastelo::HistogramEqualization_8_2(LONG* const counts) {
  if (HasDepth(*this, 8)) EqualizeThreeClasses(*this, ToHistogram(counts));
}

void CRastelo::HistogramEqualization_8_3(LONG* const counts) {
  if (HasDepth(*this, 8)) EqualizeTwoSides(*this, ToHistogram(counts));
}
