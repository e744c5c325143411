// Threshold searches and the segmentations that apply them.
#include <memory>

#include "filter/invert.h"
#include "geometry/gray.h"
#include "histogram/histogram.h"
#include "histogram/level_tables.h"
#include "pixels/pixel_store.h"
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
  const auto threshold = rastelo::FindOtsuThreshold(rastelo::ToHistogram(t.first), low, high);
  if (threshold) *result = *threshold;
}

void CRastelo::SearchOptimalThreshold_Otsu(int* result) {
  SearchOptimalThreshold_Otsu(0, 255, result);
}

void CRastelo::Segment_Otsu() {
  const std::uint32_t start = rastelo::platform::TickCount();
  // What a pass does to the pixels is known from their counts, so they change only once.
  rastelo::Histogram counts{};
  if (m_nBitCount == 8) counts = rastelo::CountLevels(ConstPixels());
  int threshold = 0, cleared = 0, previous = 0;
  for (int pass = 0; pass < kMaxPasses; ++pass) {
    threshold = rastelo::FindOtsuThreshold(counts, threshold, 255).value_or(threshold);
    const int average = rastelo::MeanOfCounts(counts);
    if (pass == 0) previous = average;
    DebugTrace("otsu__average gray: %d\n", average);
    if (HasSettled(previous, average)) break;
    rastelo::ClearBelow(counts, static_cast<std::uint8_t>(threshold));
    cleared = threshold;
    previous = average;
  }
  if (m_nBitCount == 8) rastelo::ClearBelow(Pixels(), static_cast<std::uint8_t>(cleared));
  TraceDuration(start);
}

void CRastelo::SearchOptimalThreshold_GraphCut(int* result) {
  const auto tables = std::make_unique<rastelo::GraphCutTables>();
  *result = rastelo::FindGraphCutThreshold(RowBytes(), *tables);
}

void CRastelo::Segment_Graphcut() {
  const std::uint32_t start = rastelo::platform::TickCount();
  const auto tables = std::make_unique<rastelo::GraphCutTables>();  // before any pixel changes
  rastelo::Histogram counts{};
  if (m_nBitCount == 8) counts = rastelo::CountLevels(ConstPixels());
  int threshold = 0, previous = 0;
  bool hasChanged = true;  // else the search would find what it has found
  for (int pass = 0; pass < kMaxPasses; ++pass) {
    const int average = rastelo::MeanOfCounts(counts);
    DebugTrace("before graphCut__average gray: %d\n", average);
    if (hasChanged) threshold = rastelo::FindGraphCutThreshold(RowBytes(), *tables);
    DebugTrace("threshold: %d\n", threshold);
    if (pass != 0 && HasSettled(previous, average)) break;
    if (average < 8) break;
    previous = average;
    const auto level = static_cast<std::uint8_t>(threshold);
    hasChanged = rastelo::ClearBelow(counts, level);
    if (hasChanged) rastelo::ClearBelow(Pixels(), level);
    DebugTrace("after graphCut__average gray: %d\n", rastelo::MeanOfCounts(counts));
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
  rastelo::SplitAt(RowBytes(), static_cast<std::uint8_t>(threshold));
}
