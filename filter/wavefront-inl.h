// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_FILTER_WAVEFRONT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FILTER_WAVEFRONT_INL_H_
#undef RASTELO_FILTER_WAVEFRONT_INL_H_
#else
#define RASTELO_FILTER_WAVEFRONT_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "image/image_view.h"
#include "image/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Applies an operation to the pixels of an 8-bit image of which each reads what has been written
/// below it and to its left, and does so for many rows side by side: a row is kLag pixels behind
/// the one below it, so that all that it reads from there has been written, and nothing that is
/// still to be read as it was.
///
/// The pixels of a band of rows lie in a window of steps. Its cell [t][s] holds column t - kLag * s
/// of the band's row s, so that the pixels that are worked on together lie in a step side by side.
/// @tparam Operation  has a type Cell, which holds a pixel, constants kHalf and kGroup, and changes
///     kGroup cells from an address on, each reading its neighbours up to kHalf rows and columns
///     away at distances that Neighbour tells.
template <class Operation>
class Wavefront {
 public:
  using Cell = typename Operation::Cell;
  static constexpr std::ptrdiff_t kHalf = Operation::kHalf;
  static constexpr std::ptrdiff_t kLag = kHalf + 2;  // one more than needed, to wait for no store
  static constexpr std::ptrdiff_t kRows = 256 / sizeof(Cell);
  static constexpr std::ptrdiff_t kSlots = kRows + 32;  // those around the band, in whole vectors

  /// How far behind a cell that of a pixel `up` rows above and `right` columns to the right lies.
  static constexpr std::ptrdiff_t Neighbour(std::ptrdiff_t up, std::ptrdiff_t right) {
    return (kLag * up + right) * kSlots + up;
  }

  Wavefront(ImageView gray, const Operation& operation) : gray_(gray), operation_(operation) {}

  /// Changes the pixels whose neighbourhood is inside and that are not in row 0 or column 0.
  void Run() {
    if (gray_.width < kFirst + kHalf + 1) return;
    for (std::ptrdiff_t y = kFirst; y < gray_.height - kHalf; y += kRows) {
      bottom_ = y - kHalf;
      rows_ = std::min(kRows, gray_.height - kHalf - y);
      RunBand();
    }
  }

 private:
  static constexpr std::ptrdiff_t kFirst = std::max<std::ptrdiff_t>(1, kHalf);
  static constexpr std::ptrdiff_t kReach = (kLag + 1) * kHalf;  // steps that a cell looks around
  static constexpr std::ptrdiff_t kTile = 16;   // steps and rows that are turned at once
  static constexpr std::ptrdiff_t kSteps = 64;  // steps that are taken in at once
  static constexpr std::ptrdiff_t kKept = 2 * kReach;
  using Bytes = hn::CappedTag<std::uint8_t, kTile>;
  using Cells = hn::CappedTag<Cell, 32>;

  void RunBand() {
    const std::ptrdiff_t begin = kLag * kHalf + kFirst - kKept - kSteps,
                         end = gray_.width + kLag * (kHalf + rows_);
    std::memset(window_, 0, sizeof window_);
    for (std::ptrdiff_t t = begin; t < end; t += kSteps) {
      for (std::ptrdiff_t i = 0; i < kKept; ++i)
        std::copy_n(window_[kSteps + i], kSlots, window_[i]);
      Load(t + kReach, window_[kKept]);
      for (std::ptrdiff_t i = 0; i < kSteps; ++i) Work(t + i, window_[kReach + i] + kHalf);
      Store(t, window_[kReach] + kHalf);
    }
  }

  /// The columns that a tile's part of a row holds: those from `column` on, the ones in the row
  /// being [from, to) of them.
  struct Part {
    std::uint8_t* pixels;  // where the first one would be
    std::ptrdiff_t from, to;
  };
  Part PartOf(std::ptrdiff_t t, std::ptrdiff_t slot) const {
    const std::ptrdiff_t column = t - kLag * slot;
    return {gray_.bits + gray_.pitch * (bottom_ + slot) + column,
            std::clamp<std::ptrdiff_t>(-column, 0, kTile),
            std::clamp<std::ptrdiff_t>(gray_.width - column, 0, kTile)};
  }
  /// Whether all columns of a tile's `rows` rows are inside.
  bool IsInside(std::ptrdiff_t t, std::ptrdiff_t slot, std::ptrdiff_t rows) const {
    return rows >= kTile && t - kLag * (slot + kTile - 1) >= 0 &&
           t - kLag * slot + kTile <= gray_.width;
  }

  void Load(std::ptrdiff_t t, Cell* steps) const {
    alignas(64) std::uint8_t bytes[kSteps][kSlots] = {};
    const std::ptrdiff_t slots = rows_ + 2 * kHalf;
    for (std::ptrdiff_t slot = 0; slot < slots; slot += kTile)
      for (std::ptrdiff_t i = 0; i < kSteps; i += kTile)
        LoadTile(t + i, slot, slots - slot, bytes[i] + slot);
    const Cells d;
    for (std::ptrdiff_t i = 0; i < kSteps; ++i)
      for (std::ptrdiff_t s = 0; s < kSlots; s += Lanes())
        hn::StoreU(Operation::FromBytes(d, bytes[i] + s), d, steps + i * kSlots + s);
  }
  void LoadTile(std::ptrdiff_t t, std::ptrdiff_t slot, std::ptrdiff_t rows,
                std::uint8_t* bytes) const {
    if (IsInside(t, slot, rows)) {
      Transpose16(Bytes(), PartOf(t, slot).pixels, gray_.pitch - kLag, bytes, kSlots);
      return;
    }
    std::uint8_t parts[kTile][kTile] = {};
    for (std::ptrdiff_t i = 0; i < std::min(kTile, rows); ++i) {
      const Part part = PartOf(t, slot + i);
      if (part.from < part.to)
        std::copy(part.pixels + part.from, part.pixels + part.to, parts[i] + part.from);
    }
    Transpose16(Bytes(), parts[0], kTile, bytes, kSlots);
  }

  void Work(std::ptrdiff_t t, Cell* cells) const {
    constexpr std::ptrdiff_t kGroup = Operation::kGroup;
    // The rows whose pixel in this step is to be changed.
    const std::ptrdiff_t first = t - kLag * kHalf - kFirst,
                         behind = t - kLag * kHalf - (gray_.width - kHalf);
    if (first < 0) return;
    const std::ptrdiff_t from = behind < 0 ? 0 : behind / kLag + 1,
                         to = std::min(first / kLag + 1, rows_);
    for (std::ptrdiff_t group = from / kGroup * kGroup; group < to; group += kGroup) {
      const std::ptrdiff_t low = std::max<std::ptrdiff_t>(from - group, 0),
                           high = std::min(to - group, kGroup);
      Cell* changed = cells + group;
      if (high - low == kGroup) {
        operation_(changed);
        continue;
      }
      Cell kept[kGroup];
      std::copy_n(changed, kGroup, kept);
      operation_(changed);
      std::copy(kept, kept + low, changed);
      std::copy(kept + high, kept + kGroup, changed + high);
    }
  }

  void Store(std::ptrdiff_t t, const Cell* steps) const {
    alignas(64) std::uint8_t bytes[kSteps][kRows];
    const Cells d;
    for (std::ptrdiff_t i = 0; i < kSteps; ++i)
      for (std::ptrdiff_t s = 0; s < kRows; s += Lanes())
        Operation::ToBytes(d, hn::LoadU(d, steps + i * kSlots + s), bytes[i] + s);
    for (std::ptrdiff_t row = 0; row < rows_; row += kTile)
      for (std::ptrdiff_t i = 0; i < kSteps; i += kTile)
        StoreTile(t + i, kHalf + row, rows_ - row, bytes[i] + row);
  }
  void StoreTile(std::ptrdiff_t t, std::ptrdiff_t slot, std::ptrdiff_t rows,
                 const std::uint8_t* bytes) const {
    if (IsInside(t, slot, rows)) {
      Transpose16(Bytes(), bytes, kRows, PartOf(t, slot).pixels, gray_.pitch - kLag);
      return;
    }
    std::uint8_t parts[kTile][kTile];
    Transpose16(Bytes(), bytes, kRows, parts[0], kTile);
    for (std::ptrdiff_t i = 0; i < std::min(kTile, rows); ++i) {
      const Part part = PartOf(t, slot + i);
      if (part.from < part.to)
        std::copy(parts[i] + part.from, parts[i] + part.to, part.pixels + part.from);
    }
  }

  static std::ptrdiff_t Lanes() { return static_cast<std::ptrdiff_t>(hn::Lanes(Cells())); }

  const ImageView gray_;
  const Operation& operation_;
  std::ptrdiff_t bottom_ = 0, rows_ = 0;  // of the band: its row 0, and how many are changed
  alignas(64) Cell window_[kKept + kSteps][kSlots];
};

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
