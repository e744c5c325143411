// Histogram statistics and the four equalisations.
#include <algorithm>

#include "histogram/class_pair.h"
#include "histogram/gray_map.h"
#include "histogram/histogram.h"
#include "histogram/level_tables.h"
#include "rastelo.h"

void CRastelo::HistogramStatic(LONG* const first, LONG* const second, LONG* const third) {
  if (!first || !second || !third) return;
  std::array<rastelo::Histogram, 3> counts{};
  if (m_nBitCount == 8) counts[0] = rastelo::CountLevels(ConstPixels());
  if (m_nBitCount == 24) counts = rastelo::CountPlaneLevels(ConstPixels());
  std::copy(counts[0].begin(), counts[0].end(), first);
  std::copy(counts[1].begin(), counts[1].end(), second);
  std::copy(counts[2].begin(), counts[2].end(), third);
}

void CRastelo::HistogramEqualization() {
  rastelo::LevelTables t;
  HistogramStatic(t.first, t.second, t.third);
  if (m_nBitCount == 8) HistogramEqualization_8(t.first);
  if (m_nBitCount == 24) HistogramEqualization_24(t.first, t.second, t.third);
}

void CRastelo::HistogramEqualization1() {
  rastelo::LevelTables t;
  HistogramStatic(t.first, t.second, t.third);
  if (m_nBitCount == 8) HistogramEqualization_8_1(t.first);
  if (m_nBitCount == 24) HistogramEqualization_24(t.first, t.second, t.third);
}

void CRastelo::HistogramEqualization2() {
  rastelo::LevelTables t;
  HistogramStatic(t.first, t.second, t.third);
  if (m_nBitCount == 8) HistogramEqualization_8_2(t.first);
}

void CRastelo::HistogramEqualization3() {
  rastelo::LevelTables t;
  HistogramStatic(t.first, t.second, t.third);
  if (m_nBitCount == 8) HistogramEqualization_8_3(t.first);
}

void CRastelo::InitHistogramEqGrayMap(LONG* const counts, int first, int last, unsigned char* map) {
  rastelo::GrayMap segments;
  std::copy_n(map, segments.size(), segments.begin());
  rastelo::FillSegmentMap(rastelo::ToHistogram(counts), first, last, segments);
  std::copy(segments.begin(), segments.end(), map);
}

void CRastelo::HistogramEqualization_8(LONG* const counts) {
  if (!HasPixels()) return;
  rastelo::GrayMap map{};
  InitHistogramEqGrayMap(counts, 0, 255, map.data());
  rastelo::ApplyMap(Pixels(), map);
}

void CRastelo::HistogramEqualization_24(LONG* const blue, LONG* const green, LONG* const red) {
  if (!HasPixels()) return;
  rastelo::ApplyPlaneMaps(Pixels(), {rastelo::MakeCumulativeMap(rastelo::ToHistogram(blue)),
                                     rastelo::MakeCumulativeMap(rastelo::ToHistogram(green)),
                                     rastelo::MakeCumulativeMap(rastelo::ToHistogram(red))});
}

void CRastelo::HistogramEqualization_8_1(LONG* const counts) {
  if (!HasPixels()) return;
  rastelo::ApplyMap(Pixels(), rastelo::MakeLiftedMap(rastelo::ToHistogram(counts)));
}

void CRastelo::HistogramEqualization_8_2(LONG* const counts) {
  if (!HasPixels()) return;
  const auto pair = rastelo::FindClassPair(rastelo::ToHistogram(counts));
  if (!pair) return;
  rastelo::GrayMap map{};
  InitHistogramEqGrayMap(counts, 0, pair->low, map.data());
  InitHistogramEqGrayMap(counts, pair->low, pair->high, map.data());
  InitHistogramEqGrayMap(counts, pair->high, 255, map.data());
  rastelo::ApplyMap(Pixels(), map);
}

void CRastelo::HistogramEqualization_8_3(LONG* const counts) {
  if (!HasPixels()) return;
  int threshold = 0;
  SearchOptimalThreshold_GraphCut(&threshold);
  rastelo::GrayMap map{};
  InitHistogramEqGrayMap(counts, 0, threshold, map.data());
  InitHistogramEqGrayMap(counts, threshold, 255, map.data());
  rastelo::ApplyMap(Pixels(), map);
}
