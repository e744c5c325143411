// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_FILTER_WAVEFRONT_TRANSFER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FILTER_WAVEFRONT_TRANSFER_INL_H_
#undef RASTELO_FILTER_WAVEFRONT_TRANSFER_INL_H_
#else
#define RASTELO_FILTER_WAVEFRONT_TRANSFER_INL_H_
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "filter/wavefront_schedule.h"
#include "pixels/image_view.h"
#include "simd/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// The pixels of the latest steps of a wavefront, as cells to calculate with: a row of the window
/// holds the pixels of one step, slot by slot, so that vectors work on slots side by side.
///
///                slot 0  slot 1  slot 2  slot 3
///     step  9      1, 9    2, 6    3, 3    4, 0    row, column of the image
///     step 10     1, 10    2, 7    3, 4    4, 1
///
/// Pixels go from the image to blocks, a row of some steps for each slot; these are transposed and
/// converted in chunks; and what the steps have written goes the same way back.
template <class Operation>
class WavefrontWindow {
 public:
  using Cell = typename Operation::Cell;
  static constexpr std::ptrdiff_t kHalo = Operation::kHalo, kRows = Operation::kRows;
  using Schedule = WavefrontSchedule<kHalo, kRows>;
  static constexpr std::ptrdiff_t kChunk = 64;  // steps

  /// From a cell to that of the pixel `up` rows above and `right` columns to the right.
  static constexpr std::ptrdiff_t Neighbour(std::ptrdiff_t up, std::ptrdiff_t right) {
    return (Schedule::kLag * up + right) * kPitch + up;
  }

  WavefrontWindow(ImageView gray, const Schedule& schedule) : gray_(gray), schedule_(schedule) {}

  /// The cell of slot 0, which vectors are aligned to, in a step of the chunk to be worked on.
  Cell* Slot0(std::ptrdiff_t step) { return Row(kReach + step); }

  /// Fills the blocks with what the slots, the halo among them, read from `step` on.
  void ReadBlocks(std::int64_t step) {
    ForSegments(step, kHalo, [this](std::uint8_t* pixels, std::uint8_t* block, auto count) {
      for (std::ptrdiff_t i = 0; i < schedule_.blockSteps; i += 64)
        hwy::Prefetch(pixels + schedule_.blockSteps + i);
      Copy(pixels, block, count);
    });
  }
  void WriteBlocks(std::int64_t step) {
    ForSegments(step, 0, [](std::uint8_t* pixels, std::uint8_t* block, auto count) {
      Copy(block, pixels, count);
    });
  }

  /// Moves the window on by a chunk, to end with the steps of the blocks from `first` on.
  void LoadChunk(std::ptrdiff_t first) {
    std::memcpy(window_, window_ + kChunk * kPitch, (kKept * kPitch + kPad) * sizeof(Cell));
    for (std::ptrdiff_t i = 0; i < kChunk; i += kTile) {
      for (std::ptrdiff_t slot = 0; slot < kRows; slot += kTransposed)
        Transpose16(D8(), blocks_[slot] + first + i, kBlockPitch, chunk_[i] + slot, kSlots);
      Transpose16(TileD8(), blocks_[kRows] + first + i, kBlockPitch, chunk_[i] + kRows, kSlots);
    }
    const hn::ScalableTag<Cell> d;
    const hn::CappedTag<Cell, 1> single;
    for (std::ptrdiff_t i = 0; i < kChunk; ++i) {
      ConvertToCells(single, i, -kHalo, 0);
      ConvertToCells(d, i, 0, kRows);
      ConvertToCells(single, i, kRows, kRows + kHalo);
    }
  }

  /// Moves what has been written back to the blocks, to where the chunk was loaded from: it belongs
  /// to steps that are kReach earlier.
  void StoreChunk(std::ptrdiff_t first) {
    const hn::ScalableTag<Cell> d;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (std::ptrdiff_t i = 0; i < kChunk; ++i)
      for (std::ptrdiff_t slot = 0; slot < kRows; slot += lanes)
        Operation::ToBytes(d, hn::LoadU(d, Slot0(i) + slot), chunk_[i] + slot);
    for (std::ptrdiff_t i = 0; i < kChunk; i += kTile)
      for (std::ptrdiff_t slot = 0; slot < kRows; slot += kTransposed)
        TransposeFrom16(D8(), chunk_[i] + slot, kSlots, blocks_[kHalo + slot] + first + i,
                        kBlockPitch);
  }

 private:
  static constexpr std::ptrdiff_t kReach = Schedule::kReach, kKept = 2 * kReach;
  static constexpr std::ptrdiff_t kTile = 16, kSlots = kRows + kTile;
  static constexpr std::ptrdiff_t kBlockPitch = Schedule::kLongBlock;
  // The halo above a step's slots and that below the next step's share a pad.
  static constexpr std::ptrdiff_t kPad = 64 / sizeof(Cell), kPitch = kRows + kPad;
  static_assert(2 * kHalo <= kPad && 2 * kHalo <= kTile && kKept < kChunk);
  using D8 = hn::CappedTag<std::uint8_t, 64>;
  using TileD8 = hn::CappedTag<std::uint8_t, kTile>;
  static constexpr std::ptrdiff_t kTransposed = std::max<std::ptrdiff_t>(hn::MaxLanes(D8()), kTile);

  Cell* Row(std::ptrdiff_t step) { return window_ + step * kPitch + kPad; }

  template <class D>
  void ConvertToCells(D d, std::ptrdiff_t step, std::ptrdiff_t slot, std::ptrdiff_t end) {
    for (; slot < end; slot += static_cast<std::ptrdiff_t>(hn::Lanes(d)))
      hn::StoreU(Operation::FromBytes(d, chunk_[step] + kHalo + slot), d, Row(kKept + step) + slot);
  }

  /// Calls `copy` for the segments of rows that the slots meet in the steps of a block.
  template <class Function>
  void ForSegments(std::int64_t step, std::ptrdiff_t halo, const Function& copy) {
    auto place = schedule_.PlaceOf(step, -halo);
    for (std::ptrdiff_t slot = -halo; slot < kRows + halo; ++slot) {
      std::uint8_t* block = blocks_[kHalo + slot];
      CopySegment(place, halo, block, copy);
      const std::ptrdiff_t nextBand = schedule_.period - place.column;
      if (nextBand < schedule_.blockSteps)
        CopySegment({place.row + kRows, -nextBand}, halo, block, copy);
      place = schedule_.NextSlot(place);
    }
  }
  /// The segment of a row of which a block has the pixels from a column on.
  template <class Function>
  void CopySegment(typename Schedule::Place place, std::ptrdiff_t halo, std::uint8_t* block,
                   const Function& copy) {
    if (place.row < kHalo - halo || place.row >= gray_.height - kHalo + halo) return;
    const std::ptrdiff_t from = std::max<std::ptrdiff_t>(-place.column, 0),
                         to = std::min(schedule_.width - place.column, schedule_.blockSteps);
    copy(gray_.Row(static_cast<std::int32_t>(place.row)) + place.column + from, block + from,
         to - from);
  }
  /// Nearly all segments have one of two lengths, for which no call is needed.
  static void Copy(const std::uint8_t* from, std::uint8_t* to, std::ptrdiff_t count) {
    constexpr std::ptrdiff_t kStep = Schedule::kShortBlock;
    if (count % kStep != 0) {
      if (count > 0) std::memcpy(to, from, static_cast<std::size_t>(count));
      return;
    }
    for (std::ptrdiff_t i = 0; i < count; i += kStep) std::memcpy(to + i, from + i, kStep);
  }

  const ImageView gray_;
  const Schedule& schedule_;
  alignas(64) std::uint8_t blocks_[kSlots][kBlockPitch] = {}, chunk_[kChunk][kSlots] = {};
  alignas(64) Cell window_[(kKept + kChunk + 1) * kPitch] = {};
};

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
