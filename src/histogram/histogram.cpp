#include "histogram/histogram.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>
#include <span>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "histogram/histogram.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "simd/planes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Levels are counted by their bits where an instruction counts bits. Bit i of each byte of eight
// vectors goes to one vector, bit plane i:
//     bytes   76543210 76543210 ...      plane 7   77...
//             76543210 76543210 ...  ->  plane 6   66...
//             ...                        ...
// From the four lower planes follows, for each of the 16 numbers that four bits can make, a vector
// of bits which bytes have it there, and from the four upper planes the same. A level is one lower
// and one upper number: the bits that both vectors have in common are its count.

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::ScalableTag<std::uint64_t>;
using Bits = hn::Vec<Words>;

/// Whether an instruction counts the bits of a vector. Without it, CountBytes is faster.
constexpr bool kCountsBits = HWY_TARGET <= HWY_AVX3_DL;

/// Exchanges the bits that `mask` lacks in `a` with those of `b` that it has, `kShift` higher.
template <int kShift>
HWY_INLINE void ExchangeBits(Bits mask, Bits& a, Bits& b) {
  const Bits kept = hn::IfVecThenElse(mask, a, hn::ShiftLeft<kShift>(b));
  b = hn::IfVecThenElse(mask, hn::ShiftRight<kShift>(a), b);
  a = kept;
}

/// Makes eight vectors of bytes the bit planes of these bytes.
HWY_INLINE void SplitBits(Bits* planes) {
  const Words d64;
  const Bits fours = hn::Set(d64, 0x0F0F0F0F0F0F0F0F), twos = hn::Set(d64, 0x3333333333333333),
             ones = hn::Set(d64, 0x5555555555555555);
  for (const int i : {0, 1, 2, 3}) ExchangeBits<4>(fours, planes[i], planes[i + 4]);
  for (const int i : {0, 1, 4, 5}) ExchangeBits<2>(twos, planes[i], planes[i + 2]);
  for (const int i : {0, 2, 4, 6}) ExchangeBits<1>(ones, planes[i], planes[i + 1]);
}

/// For each number of four bits, which bytes have it in the four planes.
HWY_INLINE void FindNumbers(const Bits* planes, Bits* found) {
  const auto twoBits = [](Bits low, Bits high, Bits* numbers) HWY_ATTR {
    numbers[0] = hn::Not(hn::Or(low, high));
    numbers[1] = hn::AndNot(high, low);
    numbers[2] = hn::AndNot(low, high);
    numbers[3] = hn::And(low, high);
  };
  Bits low[4], high[4];
  twoBits(planes[0], planes[1], low);
  twoBits(planes[2], planes[3], high);
  for (int i = 0; i < 16; ++i) found[i] = hn::And(low[i % 4], high[i / 4]);
}

constexpr std::size_t kVector = hn::MaxLanes(Bytes()), kWords = hn::MaxLanes(Words());

/// How many chunks of eight vectors are counted together: enough to pay for adding their sums to
/// memory, few enough for all of it to stay in L1.
constexpr std::size_t kChunks = 8;
constexpr std::size_t kBatch = 8 * kChunks * kVector;

/// Which bytes of a batch have each number in their lower and in their upper four bits.
struct NumberBits {
  HWY_INLINE explicit NumberBits(const std::uint8_t* bytes) {
    for (std::size_t chunk = 0; chunk < kChunks; ++chunk) AddChunk(bytes, chunk);
  }

  HWY_INLINE void AddChunk(const std::uint8_t* bytes, std::size_t chunk) {
    const Words d64;
    Bits planes[8], found[16];
    for (std::size_t i = 0; i < 8; ++i)
      planes[i] = hn::BitCast(d64, hn::Load(Bytes(), bytes + (8 * chunk + i) * kVector));
    SplitBits(planes);
    FindNumbers(planes, found);
    for (std::size_t i = 0; i < 16; ++i) hn::Store(found[i], d64, lower[chunk][i]);
    FindNumbers(planes + 4, found);
    for (std::size_t i = 0; i < 16; ++i) {
      hn::Store(found[i], d64, upper[i][chunk]);
      chunks[i][chunkCounts[i]] = static_cast<std::uint8_t>(chunk);
      chunkCounts[i] += hn::AllTrue(d64, hn::Eq(found[i], hn::Zero(d64))) ? 0 : 1;
    }
  }

  HWY_ALIGN std::uint64_t lower[kChunks][16][kWords], upper[16][kChunks][kWords];
  /// The chunks that have an upper number: the others are passed over.
  std::uint8_t chunks[16][kChunks];
  std::size_t chunkCounts[16] = {};
};

/// Counts levels by their bits, a batch at a time.
class BitCounter {
 public:
  /// @param next bytes that come soon: they are prefetched while others are counted.
  HWY_INLINE void Add(hn::Vec<Bytes> levels, std::span<const std::uint8_t> next) {
    hn::Store(levels, Bytes(), waiting_ + filled_);
    filled_ += kVector;
    if (filled_ == kBatch) CountBatch(next);
  }

  /// Adds what was counted to `counts`.
  void Finish(Histogram& counts) {
    const std::size_t missing = kBatch - filled_;
    std::memset(waiting_ + filled_, 0, missing);
    CountBatch({});
    for (std::size_t level = 0; level < 256; ++level) {
      std::uint32_t count = 0;
      for (std::size_t i = level % 2; i < 2 * kWords; i += 2) count += sums_[level / 2][i];
      counts[level] += static_cast<std::int32_t>(count);
    }
    counts[0] -= static_cast<std::int32_t>(missing);
  }

 private:
  HWY_NOINLINE HWY_ATTR void CountBatch(std::span<const std::uint8_t> next) {
    const NumberBits bits(waiting_);
    for (std::size_t upper = 0; upper < 16; ++upper) {
      for (std::size_t at = kBatch / 16 * upper; at < kBatch / 16 * (upper + 1); at += 64)
        if (at < next.size()) hwy::Prefetch(&next[at]);
      if (bits.chunkCounts[upper] != 0) CountLevelsWith(bits, upper);
    }
    filled_ = 0;
  }

  /// Counts the 16 levels that have this upper number.
  HWY_INLINE void CountLevelsWith(const NumberBits& bits, std::size_t upper) {
    const Words d64;
    Bits sums[16];
    for (Bits& sum : sums) sum = hn::Zero(d64);
    for (std::size_t n = 0; n < bits.chunkCounts[upper]; ++n) {
      const std::size_t chunk = bits.chunks[upper][n];
      const Bits uppers = hn::Load(d64, bits.upper[upper][chunk]);
      for (std::size_t lower = 0; lower < 16; ++lower) {
        const Bits common = hn::And(uppers, hn::Load(d64, bits.lower[chunk][lower]));
        sums[lower] = hn::Add(sums[lower], hn::PopulationCount(common));
      }
    }
    const hn::Repartition<std::uint32_t, Words> d32;
    for (std::size_t i = 0; i < 8; ++i) {
      std::uint32_t* pair = sums_[8 * upper + i];
      const auto both = hn::BitCast(d32, hn::Or(sums[2 * i], hn::ShiftLeft<32>(sums[2 * i + 1])));
      hn::Store(hn::Add(hn::Load(d32, pair), both), d32, pair);
    }
  }

  HWY_ALIGN std::uint8_t waiting_[kBatch];
  std::size_t filled_ = 0;
  /// Modulo 2^32, of two levels that alternate.
  HWY_ALIGN std::uint32_t sums_[128][2 * kWords] = {};
};

/// @param image has a row.
template <std::size_t kPlanes>
std::array<Histogram, kPlanes> CountBits(ConstImageView image) {
  const Bytes d8;
  const std::size_t step = kPlanes * kVector, width = static_cast<std::size_t>(image.width);
  const std::uint8_t* end = image.Row(image.height - 1) + kPlanes * width;
  std::array<Histogram, kPlanes> counts{};
  BitCounter counters[kPlanes];
  for (std::int32_t y = 0; y < image.height; ++y) {
    const std::uint8_t* pixel = image.Row(y);
    std::size_t left = width;
    for (; left >= kVector; left -= kVector, pixel += step) {
      const std::span<const std::uint8_t> rest(pixel, end);
      const auto next = [&](std::size_t i) {
        return rest.subspan(std::min(rest.size(), step + kBatch * i));
      };
      if constexpr (kPlanes == 1) {
        counters[0].Add(hn::LoadU(d8, pixel), next(0));
      } else {
        auto blue = hn::Zero(d8), green = blue, red = blue;
        LoadPlanes(d8, pixel, blue, green, red);
        counters[0].Add(blue, next(0));
        counters[1].Add(green, next(1));
        counters[2].Add(red, next(2));
      }
    }
    for (; left > 0; --left, pixel += kPlanes)
      for (std::size_t i = 0; i < kPlanes; ++i) ++counts[i][pixel[i]];
  }
  for (std::size_t i = 0; i < kPlanes; ++i) counters[i].Finish(counts[i]);
  return counts;
}

/// Counts the levels of `kPlanes` planes whose bytes alternate. Neighbouring bytes count into
/// tables of their own: an equal neighbour would wait for the last count to be stored. Blocks of
/// one colour, as margins of scanned pages are full of, count at once.
template <std::size_t kPlanes>
std::array<Histogram, kPlanes> CountBytes(ConstImageView image) {
  constexpr std::size_t kBlock = 48, kTables = kPlanes == 1 ? 4 : 2 * kPlanes;
  constexpr std::ptrdiff_t kAhead = 2048;  // how far rows are prefetched
  static_assert(kTables % kPlanes == 0 && kBlock % kTables == 0);
  std::array<std::array<std::uint32_t, 256>, kTables> tables{};
  for (std::int32_t y = 0; y < image.height; ++y) {
    const std::uint8_t* byte = image.Row(y);
    auto left = static_cast<std::ptrdiff_t>(kPlanes) * image.width;
    for (; left >= static_cast<std::ptrdiff_t>(kBlock); left -= kBlock, byte += kBlock) {
      hwy::Prefetch(byte + std::min(left, kAhead));
      if (std::memcmp(byte, byte + kPlanes, kBlock - kPlanes) == 0) {
        for (std::size_t i = 0; i < kPlanes; ++i) tables[i][byte[i]] += kBlock / kPlanes;
        continue;
      }
      for (std::size_t from = 0; from < kBlock; from += kTables)
        for (std::size_t i = 0; i < kTables; ++i) ++tables[i][byte[from + i]];
    }
    for (std::size_t i = 0; left > 0; --left, ++i) ++tables[i % kTables][byte[i]];
  }
  std::array<Histogram, kPlanes> counts{};
  for (std::size_t i = 0; i < kTables; ++i)
    for (std::size_t level = 0; level < 256; ++level)
      counts[i % kPlanes][level] += static_cast<std::int32_t>(tables[i][level]);
  return counts;
}

template <std::size_t kPlanes>
std::array<Histogram, kPlanes> Count(ConstImageView image) {
  if constexpr (kCountsBits)
    if (image.width >= 64 && image.height > 0) return CountBits<kPlanes>(image);
  return CountBytes<kPlanes>(image);
}

Histogram CountLevels(ConstImageView gray) { return Count<1>(gray)[0]; }

std::array<Histogram, 3> CountPlaneLevels(ConstImageView bgr) { return Count<3>(bgr); }

std::uint64_t SumLevels(ConstImageView gray) {
  const hn::ScalableTag<std::uint8_t> d8;
  const hn::Repartition<std::uint64_t, decltype(d8)> d64;
  const auto lanes = static_cast<std::ptrdiff_t>(hn::Lanes(d8));
  auto sums = hn::Zero(d64);
  std::uint64_t rest = 0;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    const std::uint8_t* row = gray.Row(y);
    std::ptrdiff_t x = 0;
    for (; x + lanes <= gray.width; x += lanes)
      sums = hn::Add(sums, hn::SumsOf8(hn::LoadU(d8, row + x)));
    for (; x < gray.width; ++x) rest += row[x];
  }
  return rest + hn::GetLane(hn::SumOfLanes(d64, sums));
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(CountLevels);
HWY_EXPORT(CountPlaneLevels);
HWY_EXPORT(SumLevels);

Histogram CountLevels(ConstImageView gray) { return HWY_DYNAMIC_DISPATCH(CountLevels)(gray); }

std::array<Histogram, 3> CountPlaneLevels(ConstImageView bgr) {
  return HWY_DYNAMIC_DISPATCH(CountPlaneLevels)(bgr);
}

std::uint64_t SumLevels(ConstImageView gray) { return HWY_DYNAMIC_DISPATCH(SumLevels)(gray); }

int MeanLevel(ConstImageView gray) {
  const auto pixels = std::uint64_t{1} * static_cast<std::uint32_t>(gray.width) *
                      static_cast<std::uint32_t>(gray.height);
  return static_cast<int>(SumLevels(gray) / pixels);
}

int MeanOfCounts(LevelCounts counts) {
  std::int64_t pixels = 0, sum = 0;
  for (std::size_t level = 0; level < counts.size(); ++level) {
    pixels += counts[level];
    sum += static_cast<std::int64_t>(level) * counts[level];
  }
  return pixels == 0 ? 0 : static_cast<int>(sum / pixels);
}

}  // namespace rastelo

#endif  // HWY_ONCE
