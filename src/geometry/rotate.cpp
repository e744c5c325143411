#include "geometry/rotate.h"

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/rotate.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "simd/non_temporal-inl.h"
#include "simd/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::FixedTag<std::uint8_t, 16>;

void TransposeBytes(const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                    std::ptrdiff_t toPitch) {
  Transpose16(Bytes(), from, fromPitch, to, toPitch);
}

/// Transposes 4 x 4 pixels of 3 bytes. Reads 4 bytes behind each row, and writes as many.
void TransposePixels(const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                     std::ptrdiff_t toPitch) {
  const Bytes d;
  const hn::Repartition<std::uint32_t, Bytes> words;
  const hn::Repartition<std::uint64_t, Bytes> pairs;
  alignas(16) constexpr std::uint8_t kSpread[16] = {0, 1, 2, 0, 3, 4,  5,  0,
                                                    6, 7, 8, 0, 9, 10, 11, 0};
  alignas(16) constexpr std::uint8_t kPack[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14};
  const auto spread = hn::Load(d, kSpread), pack = hn::Load(d, kPack);
  const auto load = [&](int row) {
    return hn::BitCast(words, hn::TableLookupBytes(hn::LoadU(d, from + row * fromPitch), spread));
  };
  const auto store = [&](int row, auto pixels) {
    hn::StoreU(hn::TableLookupBytes(hn::BitCast(d, pixels), pack), d, to + row * toPitch);
  };
  const auto a = load(0), b = load(1), c = load(2), e = load(3);
  const auto left = hn::BitCast(pairs, hn::InterleaveLower(words, a, b));
  const auto right = hn::BitCast(pairs, hn::InterleaveUpper(words, a, b));
  const auto leftAbove = hn::BitCast(pairs, hn::InterleaveLower(words, c, e));
  const auto rightAbove = hn::BitCast(pairs, hn::InterleaveUpper(words, c, e));
  store(0, hn::InterleaveLower(pairs, left, leftAbove));
  store(1, hn::InterleaveUpper(pairs, left, leftAbove));
  store(2, hn::InterleaveLower(pairs, right, rightAbove));
  store(3, hn::InterleaveUpper(pairs, right, rightAbove));
}

/// Copies `bytes` of at most kMost, all of them mostly.
template <std::size_t kMost>
void CopyRun(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) {
  if (bytes == kMost)
    std::memcpy(to, from, kMost);
  else
    std::memcpy(to, from, bytes);
}

/// Turns tiles of `kRows` x 64 pixels through two small ones in the near cache, so that each line
/// of a picture is touched once for each tile, whatever the rows' distance: rows a power of two
/// apart would drive each other out of the cache.
template <int kPixelBytes, int kRows, int kBlock, auto kTranspose, bool kPastCaches>
void RotateTiles(ConstImageView source, Turn turn, ImageView target) {
  constexpr std::int32_t kColumns = 64;
  constexpr std::size_t kReadRun = std::size_t{kColumns} * kPixelBytes;
  constexpr std::size_t kTurnedRun = std::size_t{kRows} * kPixelBytes;
  constexpr std::ptrdiff_t kReadPitch = kReadRun + 16, kTurnedPitch = kTurnedRun + 16;
  alignas(64) std::uint8_t read[kRows * kReadPitch] = {}, turned[kColumns * kTurnedPitch];
  const bool counter = turn == Turn::kCounterClockwise;
  // The rows' order in the target's columns is upwards or, counter-clockwise, downwards.
  for (std::int32_t column = 0; column < target.width; column += kRows) {
    const std::int32_t rows = std::min(kRows, target.width - column);
    for (std::int32_t left = 0; left < source.width; left += kColumns) {
      const std::int32_t columns = std::min(kColumns, source.width - left);
      for (std::int32_t i = 0; i < rows; ++i) {
        const std::int32_t row = counter ? source.height - 1 - column - i : column + i;
        const std::uint8_t* from = source.Row(row) + std::ptrdiff_t{left} * kPixelBytes;
        for (std::size_t k = 0; k < kReadRun; k += 64) hwy::Prefetch(from + kReadRun + k);
        CopyRun<kReadRun>(read + i * kReadPitch, from,
                          static_cast<std::size_t>(columns) * kPixelBytes);
      }
      for (int i = 0; i < rows; i += kBlock)
        for (int j = 0; j < columns; j += kBlock)
          kTranspose(read + i * kReadPitch + j * kPixelBytes, kReadPitch,
                     turned + j * kTurnedPitch + i * kPixelBytes, kTurnedPitch);
      for (std::int32_t j = 0; j < columns; ++j) {
        const std::int32_t row = counter ? left + j : source.width - 1 - left - j;
        std::uint8_t* to = target.Row(row) + std::ptrdiff_t{column} * kPixelBytes;
        if (kPastCaches && rows == kRows && reinterpret_cast<std::uintptr_t>(to) % 64 == 0)
          CopyVectorsNonTemporal(turned + j * kTurnedPitch, kTurnedRun, to);
        else
          CopyRun<kTurnedRun>(to, turned + j * kTurnedPitch,
                              static_cast<std::size_t>(rows) * kPixelBytes);
      }
    }
  }
  if (kPastCaches) hwy::FlushStream();
}

/// Tiles that go past the caches are twice as high: more lines of each row follow one another.
template <int kPixelBytes, int kBlock, auto kTranspose>
void RotatePixels(ConstImageView source, Turn turn, ImageView target) {
  if (std::int64_t{target.pitch} * target.height < kNonTemporalBytes)
    RotateTiles<kPixelBytes, 64, kBlock, kTranspose, false>(source, turn, target);
  else
    RotateTiles<kPixelBytes, 128, kBlock, kTranspose, true>(source, turn, target);
}

void RotateQuarter(ConstImageView source, int pixelBytes, Turn turn, ImageView target) {
  if (pixelBytes == 1) RotatePixels<1, 16, TransposeBytes>(source, turn, target);
  if (pixelBytes == 3) RotatePixels<3, 4, TransposePixels>(source, turn, target);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(RotateQuarter);

void RotateQuarter(ConstImageView source, int pixelBytes, Turn turn, ImageView target) {
  HWY_DYNAMIC_DISPATCH(RotateQuarter)(source, pixelBytes, turn, target);
}

}  // namespace rastelo

#endif  // HWY_ONCE
