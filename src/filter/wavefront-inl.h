// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_FILTER_WAVEFRONT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FILTER_WAVEFRONT_INL_H_
#undef RASTELO_FILTER_WAVEFRONT_INL_H_
#else
#define RASTELO_FILTER_WAVEFRONT_INL_H_
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "pixels/image_view.h"
#include "simd/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Applies an operation to the pixels of an 8-bit image of which each reads what has been written
/// below it and to its left, and does so for kRows rows side by side: a row is kLag pixels behind
/// the one below it, so that all that it reads from there has been written, and nothing that is
/// still to be read as it was.
///
/// The pixels lie in a window of steps. Its slot s of step t holds position t - kLag * s of a line
/// of rows kRows apart, one behind the other, so that the pixels that are worked on together lie in
/// a step side by side, and the wave goes on from one band of rows to the next one.
///
/// Rows come and go through parts of steps_ pixels, which are turned into the window and back.
/// @tparam Operation  has a type Cell, which holds a pixel, and constants kHalf, kRows and
/// kVectors;
///     tells what kVectors vectors of cells from an address on become, each cell reading its
///     neighbours up to kHalf rows and columns away at distances that Neighbour tells.
template <class Operation>
class Wavefront {
 public:
  using Cell = typename Operation::Cell;
  static constexpr std::ptrdiff_t kHalf = Operation::kHalf;
  static constexpr std::ptrdiff_t kLag = kHalf + 2;  // one more than needed, to wait for no store
  static constexpr std::ptrdiff_t kRows = Operation::kRows;

  /// How far behind a cell that of a pixel `up` rows above and `right` columns to the right lies.
  static constexpr std::ptrdiff_t Neighbour(std::ptrdiff_t up, std::ptrdiff_t right) {
    return (kLag * up + right) * kPitch + up;
  }

  Wavefront(ImageView gray, const Operation& operation) : gray_(gray), operation_(operation) {}

  /// Changes the pixels whose neighbourhood is inside and that are not in row 0 or column 0.
  void Run() {
    const std::ptrdiff_t rows = gray_.height - kHalf - kFirst;
    if (rows <= 0 || gray_.width <= kFirst + kHalf) return;
    // A tall picture has more steps than 32 bits count.
    const std::int64_t bands = (rows - 1) / kRows,
                       end = bands * turn_ + gray_.width + kLag * (kHalf + rows - bands * kRows);
    column_ = turn_ - kReach - kLag * kHalf;
    for (std::int64_t t = -kReach; t < end; t += steps_) {
      TakeIn(t + kReach);
      for (std::ptrdiff_t i = 0; i < steps_ && t + i < end; i += kChunk) {
        std::memcpy(window_, window_ + kChunk * kPitch, (kKept * kPitch + kPad) * sizeof(Cell));
        Load(i);
        for (std::ptrdiff_t step = 0; step < kChunk; ++step) Work(Row0(kReach + step));
        Store(i);
      }
      PutBack(t);
    }
  }

 private:
  static constexpr std::ptrdiff_t kFirst = std::max<std::ptrdiff_t>(1, kHalf);
  static constexpr std::ptrdiff_t kReach = (kLag + 1) * kHalf;  // steps that a cell looks around
  static constexpr std::ptrdiff_t kKept = 2 * kReach;
  static constexpr std::ptrdiff_t kFewestSteps = 128, kMostSteps = 256;  // taken in at once
  static constexpr std::ptrdiff_t kChunk = 64;  // moved to the window at once
  static constexpr std::ptrdiff_t kTile = 16;
  static constexpr std::ptrdiff_t kSlots = kRows + kTile;  // of them kRows + 2 * kHalf in use
  // From step to step, in cells: the slots behind a band are followed by those before the next one.
  static constexpr std::ptrdiff_t kPad = 64 / sizeof(Cell), kPitch = kRows + kPad;
  static_assert(2 * kHalf <= kPad && 2 * kHalf <= kTile && kKept < kChunk);
  using Cells = hn::ScalableTag<Cell>;
  using Bytes = hn::CappedTag<std::uint8_t, 64>;
  using TileBytes = hn::CappedTag<std::uint8_t, kTile>;
  static constexpr std::ptrdiff_t kTurned = std::max<std::ptrdiff_t>(hn::MaxLanes(Bytes()), kTile);

  /// The cell of a band's row 0, which vectors are aligned to.
  Cell* Row0(std::ptrdiff_t step) { return window_ + step * kPitch + kPad; }

  /// Fills the parts with what the slots meet in steps_ steps from t on.
  void TakeIn(std::int64_t t) {
    ForParts(t, 0, kRows + 2 * kHalf, [&](auto slot, auto row, auto column) {
      if (row < 0 || row >= gray_.height) return;
      const Part part = PartOf(row, column);
      for (std::ptrdiff_t i = 0; i < steps_; i += 64) hwy::Prefetch(part.pixels + steps_ + i);
      Copy(part.pixels, parts_[slot] + part.from, part.count);
    });
  }
  void PutBack(std::int64_t t) {
    ForParts(t, kHalf, kHalf + kRows, [&](auto slot, auto row, auto column) {
      if (row < kFirst || row >= gray_.height - kHalf) return;
      const Part part = PartOf(row, column);
      Copy(parts_[slot] + part.from, part.pixels, part.count);
    });
  }

  /// Moves kChunk steps of the parts, from `first` on, to the window.
  void Load(std::ptrdiff_t first) {
    for (std::ptrdiff_t i = 0; i < kChunk; i += kTile) {
      for (std::ptrdiff_t slot = 0; slot < kRows; slot += kTurned)
        Transpose16(Bytes(), parts_[slot] + first + i, kMostSteps, bytes_[i] + slot, kSlots);
      Transpose16(TileBytes(), parts_[kRows] + first + i, kMostSteps, bytes_[i] + kRows, kSlots);
    }
    const Cells d;
    const hn::CappedTag<Cell, 1> one;
    for (std::ptrdiff_t i = 0; i < kChunk; ++i) {
      const std::uint8_t* bytes = bytes_[i] + kHalf;
      Cell* cells = Row0(kKept + i);
      for (std::ptrdiff_t s = -kHalf; s < 0; ++s)
        hn::StoreU(Operation::FromBytes(one, bytes + s), one, cells + s);
      for (std::ptrdiff_t s = 0; s < kRows; s += Lanes())
        hn::StoreU(Operation::FromBytes(d, bytes + s), d, cells + s);
      for (std::ptrdiff_t s = kRows; s < kRows + kHalf; ++s)
        hn::StoreU(Operation::FromBytes(one, bytes + s), one, cells + s);
    }
  }

  /// Works on all rows' pixels of a step. Those in columns that are not to be changed are kept: of
  /// the rows before `from`, whose band is done, and of those from `to` on up to `later`, the first
  /// row that is still in the band before.
  void Work(Cell* cells) {
    const std::ptrdiff_t right = column_ - (gray_.width - kHalf), left = column_ - kFirst,
                         from = right < 0 ? 0 : right / kLag + 1,
                         to = left < 0 ? 0 : left / kLag + 1, later = (right + turn_) / kLag + 1;
    if (++column_ == turn_) column_ = 0;
    const Cells d;
    const auto limit = [&](std::ptrdiff_t row) {
      return hn::Set(d, static_cast<Cell>(std::min(row, kRows)));
    };
    constexpr std::ptrdiff_t kVectors = Operation::kVectors;
    for (std::ptrdiff_t s = 0; s < kRows; s += kVectors * Lanes()) {
      hn::Vec<Cells> changed[kVectors];
      operation_(d, cells + s, changed);
      for (std::ptrdiff_t v = 0; v < kVectors; ++v) {
        Cell* at = cells + s + v * Lanes();
        if (from > 0 || to < kRows) {
          const auto row = hn::Iota(d, static_cast<Cell>(s + v * Lanes()));
          const auto isKept = hn::Or(hn::Lt(row, limit(from)),
                                     hn::AndNot(hn::Lt(row, limit(to)), hn::Lt(row, limit(later))));
          changed[v] = hn::IfThenElse(isKept, hn::LoadU(d, at), changed[v]);
        }
        hn::StoreU(changed[v], d, at);
      }
    }
  }

  /// Moves what has become of them back, to where they were in the parts.
  void Store(std::ptrdiff_t first) {
    const Cells d;
    for (std::ptrdiff_t i = 0; i < kChunk; ++i)
      for (std::ptrdiff_t s = 0; s < kRows; s += Lanes())
        Operation::ToBytes(d, hn::LoadU(d, Row0(kReach + i) + s), bytes_[i] + s);
    for (std::ptrdiff_t i = 0; i < kChunk; i += kTile)
      for (std::ptrdiff_t s = 0; s < kRows; s += kTurned)
        TransposeFrom16(Bytes(), bytes_[i] + s, kSlots, parts_[kHalf + s] + first + i, kMostSteps);
  }

  /// What a row has of steps_ pixels from `column` on.
  struct Part {
    std::uint8_t* pixels;
    std::ptrdiff_t from, count;
  };
  Part PartOf(std::ptrdiff_t row, std::ptrdiff_t column) const {
    const std::ptrdiff_t from = std::max<std::ptrdiff_t>(-column, 0),
                         to = std::min<std::ptrdiff_t>(gray_.width - column, steps_);
    return {gray_.Row(static_cast<std::int32_t>(row)) + column + from, from, to - from};
  }
  /// Nearly all parts have one of two lengths, for which no call is needed.
  static void Copy(const std::uint8_t* from, std::uint8_t* to, std::ptrdiff_t count) {
    if (count % kFewestSteps != 0) {
      if (count > 0) std::memcpy(to, from, static_cast<std::size_t>(count));
      return;
    }
    for (std::ptrdiff_t i = 0; i < count; i += kFewestSteps)
      std::memcpy(to + i, from + i, kFewestSteps);
  }
  /// Calls `copy` with the slots [slot, end) and the rows and columns that they meet in steps_
  /// steps from t on.
  template <class Function>
  void ForParts(std::int64_t t, std::ptrdiff_t slot, std::ptrdiff_t end,
                const Function& copy) const {
    const std::int64_t position = t - kLag * slot;
    const auto band = static_cast<std::ptrdiff_t>((position + turn_) / turn_ - 1);
    auto column = static_cast<std::ptrdiff_t>(position - std::int64_t{turn_} * band);
    std::ptrdiff_t row = kFirst - kHalf + band * kRows + slot;
    for (; slot < end; ++slot, ++row) {
      copy(slot, row, column);
      if (column + steps_ > turn_) copy(slot, row + kRows, column - turn_);
      column -= kLag;
      if (column < 0) {
        column += turn_;
        row -= kRows;
      }
    }
  }

  static std::ptrdiff_t Lanes() { return static_cast<std::ptrdiff_t>(hn::Lanes(Cells())); }

  const ImageView gray_;
  const Operation& operation_;
  // Steps from one row of a slot to its next one: what the band before has written must be stored
  // when a band takes it in.
  const std::ptrdiff_t steps_ =
      gray_.width < kLag * kRows + kReach + kMostSteps ? kFewestSteps : kMostSteps;
  const std::ptrdiff_t turn_ = std::max<std::ptrdiff_t>(gray_.width, kLag* kRows + kReach + steps_);
  std::ptrdiff_t column_ = 0;  // of a band's row 0 in the step to be worked on
  alignas(64) std::uint8_t parts_[kSlots][kMostSteps] = {}, bytes_[kChunk][kSlots] = {};
  alignas(64) Cell window_[(kKept + kChunk + 1) * kPitch] = {};
};

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
