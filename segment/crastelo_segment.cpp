// Threshold searches and the segmentations that apply them.
#include <memory>
#include <numeric>

#include "filter/invert.h"
#include "geometry/gray.h"
#include "histogram/histogram.h"
#include "histogram/level_tables.h"
#include "image/pixel_store.h"
#include "platform/clock.h"
#include "rastelo.h"
#include "segment/graph_cut.h"
#include "segment/ndhm.h"
#include "segment/otsu.h"
#include "segment/two_level.h"

namespace {

constexpr int kMaxPasses = 10;

/// Whether the mean gray has changed from one pass to the next, and by so little, or upwards, that
/// a further pass is of no use.
bool HasSettled(int before, int now) { return before != now && before - now < 10; }

void TraceDuration(std::uint32_t start) {
  const std::uint32_t milliseconds = rastelo::platform::TickCount() - start;
  DebugTrace("graph cut times: %d%s\n", static_cast<int>(milliseconds), "ms");
}

}  // namespace

int CRastelo::GetImgAvgGray(int* average) {
  if (m_nBitCount != 8 || !HasPixels()) return 0;
  *average = rastelo::MeanLevel(ConstPixels());
  return 1;
}

void CRastelo::SearchOptimalThreshold_Otsu(int low, int high, int* result) {
  rastelo::LevelTables t;
  HistogramStatic(t.first, t.second, t.third);
  const std::int64_t total = std::accumulate(t.first + low, t.first + high + 1, std::int64_t{0});
  const auto threshold =
      rastelo::FindOtsuThreshold(rastelo::ToHistogram(t.first), low, high, total);
  if (threshold) *result = *threshold;
}

void CRastelo::SearchOptimalThreshold_Otsu(int* result) {
  rastelo::LevelTables t;
  HistogramStatic(t.first, t.second, t.third);
  const std::int64_t total = std::int64_t{m_lWidth} * m_lHeight;
  const auto threshold = rastelo::FindOtsuThreshold(rastelo::ToHistogram(t.first), 0, 255, total);
  if (threshold) *result = *threshold;
}

void CRastelo::Segment_Otsu() {
  const std::uint32_t start = rastelo::platform::TickCount();
  int threshold = 0, previous = 0;
  for (int pass = 0; pass < kMaxPasses; ++pass) {
    SearchOptimalThreshold_Otsu(threshold, 255, &threshold);
    int average = 0;
    GetImgAvgGray(&average);
    if (pass == 0) previous = average;
    DebugTrace("otsu__average gray: %d\n", average);
    if (HasSettled(previous, average)) break;
    if (m_nBitCount == 8) rastelo::ClearBelow(Pixels(), threshold);
    previous = average;
  }
  TraceDuration(start);
}

void CRastelo::SearchOptimalThreshold_GraphCut(int* result) {
  const auto affinity = std::make_unique<rastelo::AffinityTable>();
  rastelo::SumAffinities(RowBytes(), *affinity);
  *result = rastelo::FindGraphCutThreshold(*affinity);
}

void CRastelo::Segment_Graphcut() {
  const std::uint32_t start = rastelo::platform::TickCount();
  const auto affinity = std::make_unique<rastelo::AffinityTable>();  // before any pixel changes
  int previous = 0;
  for (int pass = 0; pass < kMaxPasses; ++pass) {
    int average = 0;
    GetImgAvgGray(&average);
    DebugTrace("before graphCut__average gray: %d\n", average);
    rastelo::SumAffinities(RowBytes(), *affinity);
    const int threshold = rastelo::FindGraphCutThreshold(*affinity);
    DebugTrace("threshold: %d\n", threshold);
    if (pass != 0 && HasSettled(previous, average)) break;
    if (average < 8) break;
    previous = average;
    if (m_nBitCount == 8) rastelo::ClearBelow(Pixels(), threshold);
    GetImgAvgGray(&average);
    DebugTrace("after graphCut__average gray: %d\n", average);
  }
  TraceDuration(start);
  rastelo::InvertBytes(RowBytes());
}

void CRastelo::SearchOptimalThreshold_NDHM(int radius, int* result) {
  if (radius < 0) return;
  const rastelo::ImageView bytes = RowBytes();
  const auto columns = static_cast<std::size_t>(bytes.width);
  const auto columnSums = std::make_unique<std::uint32_t[]>(columns);
  InverseGray();
  const auto totals = rastelo::SumContrasts(bytes, radius, {columnSums.get(), columns});
  for (const std::int32_t total : totals) DebugTrace("%d\n", static_cast<int>(total));
  *result = rastelo::FindContrastThreshold(totals);
}

void CRastelo::Segment_NDHM(int radius) {
  if (radius < 0) return;
  const bool turnsGray = m_bOpened && m_nBitCount == 24;
  rastelo::PixelStore gray;  // before any pixel changes
  if (turnsGray) gray = rastelo::PixelStore::Zeroed(m_lWidth, m_lHeight, 8);
  int threshold = 0;
  SearchOptimalThreshold_NDHM(radius, &threshold);
  if (turnsGray) {
    rastelo::BgrToGray(ConstPixels(), gray.Pixels());
    Adopt(gray);
  }
  rastelo::SplitAt(RowBytes(), threshold);
}
