#include "geometry/zoom.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "geometry/gray.h"
#include "geometry/zoom_sample.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/zoom.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;

// Bytes of a strip of columns: all that is kept of one fits into the near cache. Divisible by the
// bytes of a pixel and by a group of 16; behind it is room for a vector.
constexpr std::int32_t kStripBytes = 4032, kStripRoom = 4032 + 64, kGroup = 16;
constexpr std::ptrdiff_t kReach = 32;  // of two table lookups

/// The byte of each target byte's pixel that lies at the places `pixels` of a source row.
template <int kSourceBytes, int kTargetBytes>
void Pick(const std::uint8_t* row, const std::int32_t* pixels, std::int32_t count,
          std::uint8_t* picked) {
  for (std::int32_t i = 0; i < count; ++i, picked += kTargetBytes) {
    const std::uint8_t* pixel = row + std::ptrdiff_t{pixels[i]} * kSourceBytes;
    if constexpr (kSourceBytes == kTargetBytes)
      std::memcpy(picked, pixel, kTargetBytes);
    else if constexpr (kSourceBytes == 3)
      *picked = GrayLevel(pixel[0], pixel[1], pixel[2]);
    else
      std::memset(picked, *pixel, kTargetBytes);
  }
}

/// The target columns of a strip, and what a source row gives them.
template <int kSourceBytes, int kTargetBytes>
class Strip {
 public:
  Strip(std::int32_t first, std::int32_t count, float scale, std::int32_t sourceWidth)
      : count_(count), bytes_(count * kTargetBytes) {
    for (std::int32_t i = 0; i < count; ++i) {
      const Sample sample = Place(first + i, scale, sourceWidth);
      pixels_[i] = sample.pixel;
      nexts_[i] = sample.next;
      copies_ = copies_ && sample.nextWeight == 0.0f;
      for (std::int32_t c = 0; c < kTargetBytes; ++c) {
        pixelWeights_[i * kTargetBytes + c] = sample.pixelWeight;
        nextWeights_[i * kTargetBytes + c] = sample.nextWeight;
      }
    }
    if constexpr (kSourceBytes == kTargetBytes) PlanGroups(sourceWidth);
  }

  void Zoom(ConstImageView source, const Sample& v, std::uint8_t* target) {
    if (copies_ && v.nextWeight == 0.0f) {
      PickRow(source.Row(v.pixel), pixels_, 0);
      std::memcpy(target, bytesOut_, Bytes());
      return;
    }
    const Levels& row = Load(source, v.pixel, v.next);
    if (v.nextWeight == 0.0f)
      Mix(row, target);
    else
      Mix(row, Load(source, v.next, v.pixel), v, target);
  }

 private:
  /// What one source row gives: the levels at the target bytes' pixels and at the next ones.
  struct Levels {
    std::int32_t row = -1;
    HWY_ALIGN float pixels[kStripRoom], nexts[kStripRoom];
  };

  /// The levels of a row, from before or made anew in place of those of a row that is not `kept`.
  const Levels& Load(ConstImageView source, std::int32_t row, std::int32_t kept) {
    for (const Levels& levels : rows_)
      if (levels.row == row) return levels;
    Levels& levels = rows_[rows_[0].row == kept ? 1 : 0];
    levels.row = row;
    PickRow(source.Row(row), pixels_, 0);
    Widen(levels.pixels);
    PickRow(source.Row(row), nexts_, kSourceBytes);
    Widen(levels.nexts);
    return levels;
  }

  /// Finds the groups of 16 target bytes whose source bytes lie within 32 of the row, with the next
  /// pixels' just behind: those can be picked by two table lookups.
  void PlanGroups(std::int32_t sourceWidth) {
    const std::ptrdiff_t rowBytes = std::ptrdiff_t{sourceWidth} * kSourceBytes;
    const auto place = [&](std::int32_t byte) {
      return std::ptrdiff_t{pixels_[byte / kTargetBytes]} * kSourceBytes + byte % kTargetBytes;
    };
    for (; (groups_ + 1) * kGroup <= bytes_; ++groups_) {
      const std::int32_t first = groups_ * kGroup, end = first + kGroup;
      std::ptrdiff_t lowest = place(first), highest = lowest;
      for (std::int32_t i = first; i < end; ++i) {
        lowest = std::min(lowest, place(i));
        highest = std::max(highest, place(i));
      }
      if (highest - lowest >= kReach) return;
      if (lowest + kSourceBytes + kReach > rowBytes) return;
      starts_[groups_] = lowest;
      for (std::int32_t i = first; i < end; ++i) {
        const auto offset = static_cast<std::uint8_t>(place(i) - lowest);
        lows_[i] = offset < kGroup ? offset : kNone;
        highs_[i] = offset < kGroup ? kNone : static_cast<std::uint8_t>(offset - kGroup);
      }
    }
  }

  /// The bytes at the places `pixels`, which lie `shift` bytes behind the planned ones.
  void PickRow(const std::uint8_t* row, const std::int32_t* pixels, std::ptrdiff_t shift) {
    const hn::FixedTag<std::uint8_t, kGroup> d;
    for (std::int32_t group = 0; group < groups_; ++group) {
      const std::uint8_t* from = row + starts_[group] + shift;
      const std::ptrdiff_t first = std::ptrdiff_t{group} * kGroup;
      hn::Store(
          hn::Or(hn::TableLookupBytesOr0(hn::LoadU(d, from), hn::Load(d, lows_ + first)),
                 hn::TableLookupBytesOr0(hn::LoadU(d, from + kGroup), hn::Load(d, highs_ + first))),
          d, bytesOut_ + first);
    }
    const std::int32_t done = groups_ * kGroup / kTargetBytes;
    Pick<kSourceBytes, kTargetBytes>(row, pixels + done, count_ - done,
                                     bytesOut_ + std::ptrdiff_t{done} * kTargetBytes);
  }

  void Widen(float* levels) const {
    const Floats d;
    const hn::Rebind<std::int32_t, Floats> whole;
    const hn::Rebind<std::uint8_t, Floats> narrow;
    for (std::size_t i = 0; i < Bytes(); i += hn::Lanes(d))
      hn::Store(hn::ConvertTo(d, hn::PromoteTo(whole, hn::Load(narrow, bytesOut_ + i))), d,
                levels + i);
  }

  /// Adds up in the order of the definition, every product and sum rounded; a row of weight 0 adds
  /// nothing.
  void Mix(const Levels& row, std::uint8_t* target) {
    const Floats d;
    Write(target, [&](std::size_t i) {
      return hn::Add(hn::Mul(hn::Load(d, row.pixels + i), hn::Load(d, pixelWeights_ + i)),
                     hn::Mul(hn::Load(d, row.nexts + i), hn::Load(d, nextWeights_ + i)));
    });
  }

  void Mix(const Levels& row, const Levels& next, const Sample& v, std::uint8_t* target) {
    const Floats d;
    const auto rowWeight = hn::Set(d, v.pixelWeight), nextWeight = hn::Set(d, v.nextWeight);
    Write(target, [&](std::size_t i) {
      const auto left = hn::Load(d, pixelWeights_ + i), right = hn::Load(d, nextWeights_ + i);
      auto sum = hn::Add(hn::Mul(hn::Load(d, row.pixels + i), hn::Mul(left, rowWeight)),
                         hn::Mul(hn::Load(d, row.nexts + i), hn::Mul(right, rowWeight)));
      sum = hn::Add(sum, hn::Mul(hn::Load(d, next.pixels + i), hn::Mul(left, nextWeight)));
      return hn::Add(sum, hn::Mul(hn::Load(d, next.nexts + i), hn::Mul(right, nextWeight)));
    });
  }

  /// Truncates the values that `at(i)` gives for the bytes from i on.
  template <class At>
  void Write(std::uint8_t* target, At at) {
    const Floats d;
    const hn::Rebind<std::int32_t, Floats> whole;
    const hn::Rebind<std::uint8_t, Floats> narrow;
    for (std::size_t i = 0; i < Bytes(); i += hn::Lanes(d))
      hn::Store(hn::DemoteTo(narrow, hn::ConvertTo(whole, at(i))), narrow, bytesOut_ + i);
    std::memcpy(target, bytesOut_, Bytes());
  }

  std::size_t Bytes() const { return static_cast<std::size_t>(bytes_); }

  std::int32_t count_, bytes_;
  bool copies_ = true;
  std::int32_t groups_ = 0;  // planned, from the first on
  std::ptrdiff_t starts_[kStripBytes / kGroup];
  // Where in the first or the second 16 bytes of its group's source a byte lies.
  static constexpr std::uint8_t kNone = 0x80;
  HWY_ALIGN std::uint8_t lows_[kStripBytes], highs_[kStripBytes];
  std::int32_t pixels_[kStripBytes], nexts_[kStripBytes];
  HWY_ALIGN float pixelWeights_[kStripRoom] = {}, nextWeights_[kStripRoom] = {};
  Levels rows_[2];
  HWY_ALIGN std::uint8_t bytesOut_[kStripRoom] = {};
};

template <int kSourceBytes, int kTargetBytes>
void ZoomPixels(ConstImageView source, ImageView target) {
  const float scaleX = static_cast<float>(source.width) / static_cast<float>(target.width);
  const float scaleY = static_cast<float>(source.height) / static_cast<float>(target.height);
  constexpr std::int32_t kColumns = kStripBytes / kTargetBytes;
  for (std::int32_t first = 0; first < target.width; first += kColumns) {
    Strip<kSourceBytes, kTargetBytes> strip(first, std::min(kColumns, target.width - first), scaleX,
                                            source.width);
    for (std::int32_t y = 0; y < target.height; ++y)
      strip.Zoom(source, Place(y, scaleY, source.height),
                 target.Row(y) + std::ptrdiff_t{first} * kTargetBytes);
  }
}

void ZoomBilinear(ConstImageView source, int sourceBytes, ImageView target, int targetBytes) {
  if (sourceBytes == 1) {
    targetBytes == 1 ? ZoomPixels<1, 1>(source, target) : ZoomPixels<1, 3>(source, target);
  } else {
    targetBytes == 1 ? ZoomPixels<3, 1>(source, target) : ZoomPixels<3, 3>(source, target);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(ZoomBilinear);

void ZoomBilinear(ConstImageView source, int sourceBytes, ImageView target, int targetBytes) {
  HWY_DYNAMIC_DISPATCH(ZoomBilinear)(source, sourceBytes, target, targetBytes);
}

std::optional<std::int32_t> ZoomSide(std::int32_t side, double factor) {
  const double scaled = side * factor + 0.5;
  if (!(scaled > -1.0 && scaled < 2147483648.0)) return std::nullopt;
  return static_cast<std::int32_t>(scaled);
}

}  // namespace rastelo

#endif  // HWY_ONCE
