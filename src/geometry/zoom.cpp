#include "geometry/zoom.h"

#include <algorithm>
#include <cstring>

#include "geometry/gray.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/zoom.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "simd/even_odd-inl.h"
#include "simd/gather_bytes-inl.h"
#include "simd/non_temporal-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::ScalableTag<std::uint16_t>;
using Floats = hn::ScalableTag<float>;

/// Bytes of a strip of columns: all that is kept of one fits into L1. Divisible by the bytes of a
/// pixel and of a vector.
constexpr std::int32_t kStripBytes = 4032;

/// The 1 of weights in fixed point, which are sixteenths.
constexpr std::uint16_t kOne = 16;

constexpr std::uint16_t FixedPoint(float weight) {
  return static_cast<std::uint16_t>(weight * kOne);
}
constexpr bool HasFixedPoint(float weight) {
  return static_cast<float>(FixedPoint(weight)) == weight * kOne;
}

/// Where a target column or row falls on the source: on `pixel`, or between it and `next`.
struct Sample {
  std::int32_t pixel, next;
  float pixelWeight, nextWeight;
};

Sample Place(std::int32_t target, float scale, std::int32_t sourceSide) {
  const float place = static_cast<float>(target) * scale;
  const auto whole = static_cast<std::int64_t>(place);
  const float fraction = place - static_cast<float>(whole);
  // Single precision may carry the last places of a very long side beyond it.
  const auto pixel = static_cast<std::int32_t>(std::min<std::int64_t>(whole, sourceSide - 1));
  const std::int32_t next = pixel == sourceSide - 1 ? std::max(pixel - 1, 0) : pixel + 1;
  return {pixel, next, 1.0f - fraction, fraction};
}

/// The pixels of a source row in the columns `pixels`, in the depth of the target.
template <int kSourceBytes, int kTargetBytes>
void GatherPixels(const std::uint8_t* row, const std::int32_t* pixels, std::int32_t count,
                  std::uint8_t* gathered) {
  for (std::int32_t i = 0; i < count; ++i, gathered += kTargetBytes) {
    const std::uint8_t* pixel = row + std::ptrdiff_t{pixels[i]} * kSourceBytes;
    if constexpr (kSourceBytes == kTargetBytes)
      std::memcpy(gathered, pixel, kTargetBytes);
    else if constexpr (kSourceBytes == 3)
      *gathered = GrayLevel(pixel[0], pixel[1], pixel[2]);
    else
      std::memset(gathered, *pixel, kTargetBytes);
  }
}

/// One source pixel for each target column of a strip.
template <int kSourceBytes, int kTargetBytes>
class StripGather {
 public:
  std::int32_t pixels[kStripBytes];

  void Plan(std::int32_t count, std::int32_t sourceWidth) {
    count_ = count;
    if constexpr (kSourceBytes == kTargetBytes)
      PlanGather(
          count * kTargetBytes, sourceWidth * kSourceBytes,
          [this](std::int32_t byte) {
            return pixels[byte / kTargetBytes] * kSourceBytes + byte % kTargetBytes;
          },
          plan_);
  }

  /// Fetches ahead what target byte `byte` and those behind it in a vector come from.
  HWY_INLINE void Prefetch(const std::uint8_t* row, std::size_t byte) const {
    const auto group = static_cast<std::int32_t>(byte / kGatherGroup);
    if (group < plan_.groups) PrefetchGroup(plan_, group, row);
  }

  void Gather(const std::uint8_t* row, std::uint8_t* gathered) const {
    const auto same = [](std::int32_t, auto bytes) HWY_ATTR { return bytes; };
    const std::int32_t done = GatherBytes(plan_, row, same, gathered) / kTargetBytes;
    if (done < count_)
      GatherPixels<kSourceBytes, kTargetBytes>(row, pixels + done, count_ - done,
                                               gathered + std::ptrdiff_t{done} * kTargetBytes);
  }

 private:
  std::int32_t count_ = 0;
  GatherPlan<kStripBytes> plan_;
};

/// Makes the rows of a strip of target columns. A target byte lies between two source rows and in
/// each between two pixels. What a source row gives to all bytes is gathered once and kept while
/// target rows need it; then the four levels of each byte are mixed.
template <int kSourceBytes, int kTargetBytes>
class Strip {
 public:
  Strip(std::int32_t first, std::int32_t count, float scale, std::int32_t sourceWidth)
      : bytes_(count * kTargetBytes) {
    for (std::int32_t i = 0; i < count; ++i) SetColumn(i, Place(first + i, scale, sourceWidth));
    pixels_.Plan(count, sourceWidth);
    if (!copies_) nexts_.Plan(count, sourceWidth);
  }

  /// The target row at `v`. The source rows of the `following` one are fetched meanwhile: those of
  /// a strip are too short for the processor to foresee.
  const std::uint8_t* Zoom(ConstImageView source, const Sample& v, const Sample& following) {
    ahead_[0] = following.pixel > v.next ? source.Row(following.pixel) : nullptr;
    ahead_[1] = following.next > v.next ? source.Row(following.next) : nullptr;
    const Levels& row = Load(source, v.pixel, v.next);
    if (copies_ && v.nextWeight == 0.0f) return row.pixels;
    if (isFixedPoint_ && HasFixedPoint(v.nextWeight))
      MixFixedPoint(row, Load(source, v.next, v.pixel), FixedPoint(v.nextWeight));
    else if (v.nextWeight == 0.0f)
      Mix(row);
    else
      Mix(row, Load(source, v.next, v.pixel), v);
    return mixed_;
  }

  std::size_t Count() const { return static_cast<std::size_t>(bytes_); }

 private:
  /// What a source row gives: for each target byte the level of its pixel and of the next one.
  struct Levels {
    std::int32_t row = -1;
    HWY_ALIGN std::uint8_t pixels[kStripBytes] = {}, nexts[kStripBytes] = {};
  };

  void SetColumn(std::int32_t i, const Sample& sample) {
    pixels_.pixels[i] = sample.pixel;
    nexts_.pixels[i] = sample.next;
    copies_ = copies_ && sample.nextWeight == 0.0f;
    isFixedPoint_ = isFixedPoint_ && HasFixedPoint(sample.nextWeight);
    const std::int32_t byte = i * kTargetBytes;
    std::fill_n(pixelWeights_ + byte, kTargetBytes, sample.pixelWeight);
    std::fill_n(nextWeights_ + byte, kTargetBytes, sample.nextWeight);
    std::fill_n(fixedWeights_ + byte, kTargetBytes,
                static_cast<std::uint8_t>(FixedPoint(sample.nextWeight)));
  }

  /// The levels of a row, from before or gathered in place of those of a row that is not `kept`.
  const Levels& Load(ConstImageView source, std::int32_t row, std::int32_t kept) {
    for (const Levels& levels : rows_)
      if (levels.row == row) return levels;
    Levels& levels = rows_[rows_[0].row == kept ? 1 : 0];
    levels.row = row;
    pixels_.Gather(source.Row(row), levels.pixels);
    if (!copies_) nexts_.Gather(source.Row(row), levels.nexts);
    return levels;
  }

  static auto Widen(const std::uint8_t* levels) {
    const Floats df;
    const hn::Rebind<std::int32_t, Floats> d32;
    const hn::Rebind<std::uint8_t, Floats> d8;
    return hn::ConvertTo(df, hn::PromoteTo(d32, hn::LoadU(d8, levels)));
  }

  /// Adds up in the order of the definition, every product and sum rounded; a row of weight 0 adds
  /// nothing.
  void Mix(const Levels& row) {
    const Floats df;
    Truncate([&](std::size_t i) HWY_ATTR {
      return hn::Add(hn::Mul(Widen(row.pixels + i), hn::Load(df, pixelWeights_ + i)),
                     hn::Mul(Widen(row.nexts + i), hn::Load(df, nextWeights_ + i)));
    });
  }

  void Mix(const Levels& row, const Levels& nextRow, const Sample& v) {
    const Floats df;
    const auto rowWeight = hn::Set(df, v.pixelWeight), nextRowWeight = hn::Set(df, v.nextWeight);
    Truncate([&](std::size_t i) HWY_ATTR {
      const auto pixel = hn::Load(df, pixelWeights_ + i), next = hn::Load(df, nextWeights_ + i);
      auto sum = hn::Add(hn::Mul(Widen(row.pixels + i), hn::Mul(pixel, rowWeight)),
                         hn::Mul(Widen(row.nexts + i), hn::Mul(next, rowWeight)));
      sum = hn::Add(sum, hn::Mul(Widen(nextRow.pixels + i), hn::Mul(pixel, nextRowWeight)));
      return hn::Add(sum, hn::Mul(Widen(nextRow.nexts + i), hn::Mul(next, nextRowWeight)));
    });
  }

  /// Truncates the values below 256 that `mix` gives for the bytes from i on.
  template <class Mixing>
  void Truncate(Mixing mix) {
    const Floats df;
    const hn::Rebind<std::uint32_t, Floats> d32;
    const hn::Rebind<std::uint8_t, Floats> d8;
    ForEachVector([&](std::size_t first) HWY_ATTR {
      for (std::size_t i = first; i < first + hn::Lanes(Bytes()); i += hn::Lanes(df)) {
        // Beyond 2^23, the lowest bits of a float count ones.
        const auto whole = hn::Add(hn::Floor(mix(i)), hn::Set(df, 8388608.0f));
        const auto levels = hn::And(hn::BitCast(d32, whole), hn::Set(d32, 255));
        hn::StoreU(hn::U8FromU32(levels), d8, mixed_ + i);
      }
    });
  }

  /// Where all weights have a fixed point, every product and sum of the definition is a multiple of
  /// 1/256 below 256: single precision holds it unrounded, and so do 16 bits.
  void MixFixedPoint(const Levels& row, const Levels& nextRow, std::uint16_t weight) {
    const Words d16;
    const auto one = hn::Set(d16, kOne), nextRowWeight = hn::Set(d16, weight),
               rowWeight = hn::Sub(one, nextRowWeight);
    const auto mix = [&](auto half, std::size_t i) HWY_ATTR {
      const auto next = half(fixedWeights_ + i), pixel = hn::Sub(one, next);
      const auto across = [&](const Levels& levels) HWY_ATTR {
        return hn::Add(hn::Mul(half(levels.pixels + i), pixel),
                       hn::Mul(half(levels.nexts + i), next));
      };
      return hn::Add(hn::Mul(across(row), rowWeight), hn::Mul(across(nextRow), nextRowWeight));
    };
    const auto even = [](const std::uint8_t* bytes)
                          HWY_ATTR { return Even(hn::Load(Bytes(), bytes)); };
    const auto odd = [](const std::uint8_t* bytes)
                         HWY_ATTR { return Odd(hn::Load(Bytes(), bytes)); };
    ForEachVector([&](std::size_t i) HWY_ATTR {
      const auto evens = hn::ShiftRight<8>(mix(even, i));
      const auto odds = hn::AndNot(hn::Set(d16, 255), mix(odd, i));
      hn::Store(hn::BitCast(Bytes(), hn::Or(evens, odds)), Bytes(), mixed_ + i);
    });
  }

  /// Makes the mixed bytes, those of a vector from i on by `make(i)`.
  template <class Make>
  void ForEachVector(Make make) {
    for (std::size_t i = 0; i < Count(); i += hn::Lanes(Bytes())) {
      for (const std::uint8_t* row : ahead_)
        if (row) pixels_.Prefetch(row, i);
      make(i);
    }
  }

  std::int32_t bytes_;
  const std::uint8_t* ahead_[2] = {};
  bool copies_ = true, isFixedPoint_ = true;
  StripGather<kSourceBytes, kTargetBytes> pixels_, nexts_;
  // Of each target byte: between two pixels, and the next one's once more in fixed point.
  HWY_ALIGN float pixelWeights_[kStripBytes] = {}, nextWeights_[kStripBytes] = {};
  HWY_ALIGN std::uint8_t fixedWeights_[kStripBytes] = {}, mixed_[kStripBytes];
  Levels rows_[2];
};

template <int kSourceBytes, int kTargetBytes>
void ZoomPixels(ConstImageView source, ImageView target) {
  const float scaleX = static_cast<float>(source.width) / static_cast<float>(target.width);
  const float scaleY = static_cast<float>(source.height) / static_cast<float>(target.height);
  constexpr std::int32_t kColumns = kStripBytes / kTargetBytes;
  const bool nonTemporal = std::int64_t{target.pitch} * target.height >= kNonTemporalBytes;
  for (std::int32_t first = 0; first < target.width; first += kColumns) {
    Strip<kSourceBytes, kTargetBytes> strip(first, std::min(kColumns, target.width - first), scaleX,
                                            source.width);
    for (std::int32_t y = 0; y < target.height; ++y) {
      const std::uint8_t* row =
          strip.Zoom(source, Place(y, scaleY, source.height), Place(y + 1, scaleY, source.height));
      std::uint8_t* to = target.Row(y) + std::ptrdiff_t{first} * kTargetBytes;
      if (nonTemporal)
        CopyNonTemporal(row, strip.Count(), to);
      else
        std::memcpy(to, row, strip.Count());
    }
  }
  if (nonTemporal) hwy::FlushStream();
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
