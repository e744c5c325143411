// Threshold searches and the segmentations that apply them.
#include <memory>
#include <utility>

#include "filter/invert.h"
#include "filter/push.h"
#include "geometry/gray.h"
#include "histogram/histogram.h"
#include "image/inside.h"
#include "platform/clock.h"
#include "rastelo.h"
#include "segment/graph_cut.h"
#include "segment/ndhm.h"
#include "segment/otsu.h"

using rastelo::Inside;

namespace {

constexpr int kMaxPasses = 10;

/// Whether the mean gray has changed from one pass to the next, and by so little, or upwards, that
/// a further pass is of no use.
bool HasSettled(int before, int now) { return before != now && before - now < 10; }

/// What setting pixels below the threshold to 0 does to the counts of their levels.
/// @return whether a pixel changes.
bool ClearBelow(rastelo::Histogram& counts, int threshold) {
  const std::int32_t black = counts[0];
  for (int level = 1; level < threshold; ++level)
    counts[0] += std::exchange(counts[static_cast<std::size_t>(level)], 0);
  return counts[0] != black;
}

void ClearBelow(CRastelo& image, int threshold) {
  rastelo::PushLevels(Inside::RowBytes(image), threshold, true, false);
}

void TraceDuration(std::uint32_t start) {
  const std::uint32_t milliseconds = rastelo::platform::TickCount() - start;
  DebugTrace("graph cut times: %d%s\n", static_cast<int>(milliseconds), "ms");
}

}  // namespace

int CRastelo::GetImgAvgGray(int* average) {
  if (m_nBitCount != 8 || !Inside::HasPixels(*this)) return 0;
  *average = rastelo::MeanLevel(Inside::Pixels(*this));
  return 1;
}

void CRastelo::SearchOptimalThreshold_Otsu(int low, int high, int* result) {
  const auto counts = rastelo::CountFirstPlane(Inside::Pixels(*this), m_nBitCount);
  const auto threshold = rastelo::FindOtsuThreshold(counts, low, high);
  if (threshold) *result = *threshold;
}

void CRastelo::SearchOptimalThreshold_Otsu(int* result) {
  SearchOptimalThreshold_Otsu(0, 255, result);
}

void CRastelo::Segment_Otsu() {
  const std::uint32_t start = rastelo::platform::TickCount();
  // What a pass does to the pixels is known from their counts, so they change only once.
  rastelo::Histogram counts{};
  if (m_nBitCount == 8) counts = rastelo::CountLevels(Inside::Pixels(*this));
  int threshold = 0, cleared = 0, previous = 0;
  for (int pass = 0; pass < kMaxPasses; ++pass) {
    threshold = rastelo::FindOtsuThreshold(counts, threshold, 255).value_or(threshold);
    const int average = rastelo::MeanOfCounts(counts);
    if (pass == 0) previous = average;
    DebugTrace("otsu__average gray: %d\n", average);
    if (HasSettled(previous, average)) break;
    ClearBelow(counts, threshold);
    cleared = threshold;
    previous = average;
  }
  if (m_nBitCount == 8) ClearBelow(*this, cleared);
  TraceDuration(start);
}

void CRastelo::SearchOptimalThreshold_GraphCut(int* result) {
  const auto tables = std::make_unique<rastelo::GraphCutTables>();
  *result = rastelo::FindGraphCutThreshold(Inside::RowBytes(*this), *tables);
}

void CRastelo::Segment_Graphcut() {
  const std::uint32_t start = rastelo::platform::TickCount();
  const auto tables = std::make_unique<rastelo::GraphCutTables>();  // before any pixel changes
  rastelo::Histogram counts{};
  if (m_nBitCount == 8) counts = rastelo::CountLevels(Inside::Pixels(*this));
  int threshold = 0, previous = 0;
  bool hasChanged = true;  // else the search would find what it has found
  for (int pass = 0; pass < kMaxPasses; ++pass) {
    const int average = rastelo::MeanOfCounts(counts);
    DebugTrace("before graphCut__average gray: %d\n", average);
    if (hasChanged) threshold = rastelo::FindGraphCutThreshold(Inside::RowBytes(*this), *tables);
    DebugTrace("threshold: %d\n", threshold);
    if (pass != 0 && HasSettled(previous, average)) break;
    if (average < 8) break;
    previous = average;
    hasChanged = ClearBelow(counts, threshold);
    if (hasChanged) ClearBelow(*this, threshold);
    DebugTrace("after graphCut__average gray: %d\n", rastelo::MeanOfCounts(counts));
  }
  TraceDuration(start);
  rastelo::InvertBytes(Inside::RowBytes(*this));
}

void CRastelo::SearchOptimalThreshold_NDHM(int radius, int* result) {
  if (radius < 0) return;
  const rastelo::ImageView bytes = Inside::RowBytes(*this);
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
    rastelo::BgrToGray(Inside::Pixels(*this), gray.Pixels());
    Inside::Adopt(*this, gray);
  }
  rastelo::PushLevels(Inside::RowBytes(*this), threshold, true, true);
}
