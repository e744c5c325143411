// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_FILTER_WAVEFRONT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_FILTER_WAVEFRONT_INL_H_
#undef RASTELO_FILTER_WAVEFRONT_INL_H_
#else
#define RASTELO_FILTER_WAVEFRONT_INL_H_
#endif

#include <hwy/highway.h>

#include "filter/wavefront_schedule.h"
#include "filter/wavefront_transfer-inl.h"
#include "pixels/image_view.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Which lanes of a vector of slots, from `slot` on, write their pixel.
template <class D>
HWY_INLINE hn::Mask<D> ActiveLanes(D d, std::ptrdiff_t slot, const ActiveSlots& active) {
  using Cell = hn::TFromD<D>;
  const auto slots = hn::Iota(d, static_cast<Cell>(slot));
  const auto isBelow = [&](std::ptrdiff_t limit) {
    return hn::Lt(slots, hn::Set(d, static_cast<Cell>(limit)));
  };
  return hn::Or(hn::AndNot(isBelow(active.begin), isBelow(active.end)),
                hn::Not(isBelow(active.previous)));
}

/// Puts back the cells of slots that write nothing.
template <class D, std::size_t kVectors>
HWY_INLINE void KeepInactive(D d, const hn::TFromD<D>* slot0, std::ptrdiff_t slot,
                             const ActiveSlots& active, hn::Vec<D> (&cells)[kVectors]) {
  for (hn::Vec<D>& vector : cells) {
    const auto isActive = ActiveLanes(d, slot, active);
    vector = hn::IfThenElse(isActive, vector, hn::LoadU(d, slot0 + slot));
    slot += static_cast<std::ptrdiff_t>(hn::Lanes(d));
  }
}

/// Filters an 8-bit image in place, many rows side by side, where each pixel reads what has been
/// written below it and to its left. Pixels within kHalo of a border stay.
/// @tparam Operation  has a type Cell, which holds a pixel, FromBytes and ToBytes for vectors of
///     cells, and constants kHalo and kRows, as in a WavefrontSchedule, and kVectors; calculates
///     the new pixels of kVectors vectors of cells, whose neighbours lie at the distances of
///     WavefrontWindow::Neighbour.
template <class Operation>
class Wavefront {
 public:
  Wavefront(ImageView gray, const Operation& operation)
      : operation_(operation), schedule_(gray.width, gray.height), window_(gray, schedule_) {}

  void Run() {
    if (schedule_.IsEmpty()) return;
    const std::int64_t end = schedule_.End();
    std::int64_t step = schedule_.Begin();
    column_ = schedule_.PlaceOf(step, 0).column;
    for (; step < end; step += schedule_.blockSteps) {
      window_.ReadBlocks(step + Schedule::kReach);
      for (std::ptrdiff_t i = 0; i < schedule_.blockSteps && step + i < end; i += Window::kChunk) {
        window_.LoadChunk(i);
        for (std::ptrdiff_t s = 0; s < Window::kChunk; ++s) RunStep(window_.Slot0(s));
        window_.StoreChunk(i);
      }
      window_.WriteBlocks(step);
    }
  }

 private:
  using Window = WavefrontWindow<Operation>;
  using Schedule = typename Window::Schedule;
  using Cell = typename Operation::Cell;

  void RunStep(Cell* slot0) {
    const bool areAllActive = schedule_.AreAllActive(column_);
    if (!areAllActive) active_ = schedule_.FindActive(column_);
    if (++column_ == schedule_.period) column_ = 0;
    const hn::ScalableTag<Cell> d;
    const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    for (std::ptrdiff_t slot = 0; slot < Operation::kRows; slot += Operation::kVectors * lanes) {
      hn::Vec<decltype(d)> cells[Operation::kVectors];
      operation_(d, slot0 + slot, cells);
      if (HWY_UNLIKELY(!areAllActive)) KeepInactive(d, slot0, slot, active_, cells);
      for (std::ptrdiff_t v = 0; v < Operation::kVectors; ++v)
        hn::StoreU(cells[v], d, slot0 + slot + v * lanes);
    }
  }

  const Operation& operation_;
  const Schedule schedule_;
  Window window_;
  std::ptrdiff_t column_ = 0;  // of slot 0 in the next step
  ActiveSlots active_ = {};    // in steps where not all are
};

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
