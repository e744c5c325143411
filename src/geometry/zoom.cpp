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
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "simd/even_odd-inl.h"
#include "simd/gather_bytes-inl.h"
#include "simd/non_temporal-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Bytes = hn::ScalableTag<std::uint8_t>;
using Lanes = hn::Rebind<std::uint32_t, Floats>;
using Words = hn::ScalableTag<std::uint16_t>;

// Bytes of a strip of columns: all that is kept of one fits into the near cache. Divisible by the
// bytes of a pixel and of a vector.
constexpr std::int32_t kStripBytes = 4032;
constexpr std::int32_t kParts = 16;

/// The byte of each target byte's pixel that lies at the places `pixels` of a source row.
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
class ColumnGather {
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

/// The target columns of a strip, and what a source row gives them.
template <int kSourceBytes, int kTargetBytes>
class Strip {
 public:
  Strip(std::int32_t first, std::int32_t count, float scale, std::int32_t sourceWidth)
      : bytes_(count * kTargetBytes) {
    for (std::int32_t i = 0; i < count; ++i) {
      const Sample sample = Place(first + i, scale, sourceWidth);
      pixels_.pixels[i] = sample.pixel;
      nexts_.pixels[i] = sample.next;
      copies_ = copies_ && sample.nextWeight == 0.0f;
      inParts_ = inParts_ && IsInParts(sample);
      for (std::int32_t c = 0; c < kTargetBytes; ++c) {
        const std::size_t byte =
            static_cast<std::size_t>(i) * kTargetBytes + static_cast<std::size_t>(c);
        pixelWeights_[byte] = sample.pixelWeight;
        nextWeights_[byte] = sample.nextWeight;
        nextParts_[byte] = static_cast<std::uint8_t>(sample.nextWeight * kParts);
      }
    }
    pixels_.Plan(count, sourceWidth);
    if (!copies_) nexts_.Plan(count, sourceWidth);
  }

  /// A row of the target. The rows of the `following` one are fetched meanwhile: those of a strip
  /// are too short for the processor to foresee.
  const std::uint8_t* Zoom(ConstImageView source, const Sample& v, const Sample& following) {
    ahead_[0] = following.pixel > v.next ? source.Row(following.pixel) : nullptr;
    ahead_[1] = following.next > v.next ? source.Row(following.next) : nullptr;
    const Levels& row = Load(source, v.pixel, v.next);
    if (v.nextWeight == 0.0f) {
      if (copies_) return row.pixels;
      Mix(row);
    } else if (inParts_ && IsInParts(v)) {
      MixParts(row, Load(source, v.next, v.pixel), v);
    } else {
      Mix(row, Load(source, v.next, v.pixel), v);
    }
    return mixed_;
  }

  std::size_t Count() const { return static_cast<std::size_t>(bytes_); }

 private:
  /// What one source row gives: the levels at the target bytes' pixels and at the next ones.
  struct Levels {
    std::int32_t row = -1;
    HWY_ALIGN std::uint8_t pixels[kStripBytes] = {}, nexts[kStripBytes] = {};
  };

  /// The levels of a row, from before or made anew in place of those of a row that is not `kept`.
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
    const hn::Rebind<std::int32_t, Floats> whole;
    const hn::Rebind<std::uint8_t, Floats> bytes;
    return hn::ConvertTo(Floats(), hn::PromoteTo(whole, hn::LoadU(bytes, levels)));
  }

  /// Adds up in the order of the definition, every product and sum rounded; a row of weight 0 adds
  /// nothing.
  void Mix(const Levels& row) {
    Truncate([&](std::size_t i) HWY_ATTR {
      return hn::Add(hn::Mul(Widen(row.pixels + i), Weights(pixelWeights_ + i)),
                     hn::Mul(Widen(row.nexts + i), Weights(nextWeights_ + i)));
    });
  }

  void Mix(const Levels& row, const Levels& next, const Sample& v) {
    const Floats d;
    const auto rowWeight = hn::Set(d, v.pixelWeight), nextWeight = hn::Set(d, v.nextWeight);
    Truncate([&](std::size_t i) HWY_ATTR {
      const auto left = Weights(pixelWeights_ + i), right = Weights(nextWeights_ + i);
      auto sum = hn::Add(hn::Mul(Widen(row.pixels + i), hn::Mul(left, rowWeight)),
                         hn::Mul(Widen(row.nexts + i), hn::Mul(right, rowWeight)));
      sum = hn::Add(sum, hn::Mul(Widen(next.pixels + i), hn::Mul(left, nextWeight)));
      return hn::Add(sum, hn::Mul(Widen(next.nexts + i), hn::Mul(right, nextWeight)));
    });
  }

  /// Truncates the values below 256 that `at` gives for the bytes from i on.
  template <class At>
  void Truncate(At at) {
    const Floats d;
    const hn::Rebind<std::uint8_t, Floats> bytes;
    ForEachVector([&](std::size_t first) HWY_ATTR {
      for (std::size_t i = first; i < first + hn::Lanes(Bytes()); i += hn::Lanes(d)) {
        // Beyond 2^23, the lowest bits of a float count ones.
        const auto whole = hn::Add(hn::Floor(at(i)), hn::Set(d, 8388608.0f));
        const auto levels = hn::And(hn::BitCast(Lanes(), whole), hn::Set(Lanes(), 255));
        hn::StoreU(hn::U8FromU32(levels), bytes, mixed_ + i);
      }
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

  static auto Weights(const float* weights) { return hn::Load(Floats(), weights); }

  static bool IsInParts(const Sample& sample) {
    const float parts = sample.nextWeight * kParts;
    return parts == static_cast<float>(static_cast<std::int32_t>(parts));
  }

  /// Where all weights are sixteenths, every product and sum of the definition is a multiple of
  /// 1/256 below 256: single precision holds it unrounded, and so do 16 bits.
  void MixParts(const Levels& row, const Levels& next, const Sample& v) {
    const Words d;
    const auto parts = static_cast<std::uint16_t>(v.nextWeight * kParts);
    const auto rowParts = hn::Set(d, static_cast<std::uint16_t>(kParts - parts));
    const auto nextParts = hn::Set(d, parts), all = hn::Set(d, std::uint16_t{kParts});
    const auto even = [](const std::uint8_t* bytes)
                          HWY_ATTR { return Even(hn::Load(Bytes(), bytes)); };
    const auto odd = [](const std::uint8_t* bytes)
                         HWY_ATTR { return Odd(hn::Load(Bytes(), bytes)); };
    const auto mix = [&](auto half, std::size_t i) HWY_ATTR {
      const auto right = half(nextParts_ + i), left = hn::Sub(all, right);
      const auto above =
          hn::Add(hn::Mul(half(row.pixels + i), left), hn::Mul(half(row.nexts + i), right));
      const auto below =
          hn::Add(hn::Mul(half(next.pixels + i), left), hn::Mul(half(next.nexts + i), right));
      return hn::Add(hn::Mul(above, rowParts), hn::Mul(below, nextParts));
    };
    ForEachVector([&](std::size_t i) HWY_ATTR {
      const auto low = hn::ShiftRight<8>(mix(even, i));
      const auto high = hn::AndNot(hn::Set(d, std::uint16_t{255}), mix(odd, i));
      hn::Store(hn::BitCast(Bytes(), hn::Or(low, high)), Bytes(), mixed_ + i);
    });
  }

  std::int32_t bytes_;
  const std::uint8_t* ahead_[2] = {};
  bool copies_ = true, inParts_ = true;
  ColumnGather<kSourceBytes, kTargetBytes> pixels_, nexts_;
  HWY_ALIGN float pixelWeights_[kStripBytes] = {}, nextWeights_[kStripBytes] = {};
  HWY_ALIGN std::uint8_t nextParts_[kStripBytes] = {}, mixed_[kStripBytes];
  Levels rows_[2];
};

template <int kSourceBytes, int kTargetBytes>
void ZoomPixels(ConstImageView source, ImageView target) {
  const float scaleX = static_cast<float>(source.width) / static_cast<float>(target.width);
  const float scaleY = static_cast<float>(source.height) / static_cast<float>(target.height);
  constexpr std::int32_t kColumns = kStripBytes / kTargetBytes;
  const bool streams = std::int64_t{target.pitch} * target.height >= kNonTemporalBytes;
  for (std::int32_t first = 0; first < target.width; first += kColumns) {
    Strip<kSourceBytes, kTargetBytes> strip(first, std::min(kColumns, target.width - first), scaleX,
                                            source.width);
    for (std::int32_t y = 0; y < target.height; ++y) {
      const std::uint8_t* row =
          strip.Zoom(source, Place(y, scaleY, source.height), Place(y + 1, scaleY, source.height));
      std::uint8_t* to = target.Row(y) + std::ptrdiff_t{first} * kTargetBytes;
      if (streams)
        CopyNonTemporal(row, strip.Count(), to);
      else
        std::memcpy(to, row, strip.Count());
    }
  }
  if (streams) hwy::FlushStream();
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
