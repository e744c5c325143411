#include "geometry/rotate.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/rotate.cpp"
#include <hwy/foreach_target.h>
// Behind foreach_target.h.
#include <hwy/highway.h>

#include "image/transpose-inl.h"

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

/// Turns squares of pixels through two small ones in the near cache, so that each line of a picture
/// is touched once for each square, whatever the rows' distance: rows a power of two apart would
/// drive each other out of the cache.
template <int kPixelBytes, int kSquare, int kBlock, auto kTranspose>
void RotateSquares(ConstImageView source, Turn turn, ImageView target) {
  constexpr std::size_t kRun = std::size_t{kSquare} * kPixelBytes;
  constexpr std::ptrdiff_t kPitch = std::ptrdiff_t{kSquare} * kPixelBytes + 16;
  alignas(64) std::uint8_t read[kSquare * kPitch] = {}, turned[kSquare * kPitch];
  const bool counter = turn == Turn::kCounterClockwise;
  for (std::int32_t bottom = 0; bottom < source.height; bottom += kSquare) {
    const std::int32_t rows = std::min(kSquare, source.height - bottom);
    // The rows' order in the target's columns is upwards or, counter-clockwise, downwards.
    const std::int32_t targetColumn = counter ? source.height - bottom - rows : bottom;
    for (std::int32_t left = 0; left < source.width; left += kSquare) {
      const std::int32_t columns = std::min(kSquare, source.width - left);
      for (std::int32_t i = 0; i < rows; ++i) {
        const std::int32_t row = counter ? bottom + rows - 1 - i : bottom + i;
        CopyRun<kRun>(read + i * kPitch, source.Row(row) + std::ptrdiff_t{left} * kPixelBytes,
                      static_cast<std::size_t>(columns) * kPixelBytes);
      }
      for (int i = 0; i < rows; i += kBlock)
        for (int j = 0; j < columns; j += kBlock)
          kTranspose(read + i * kPitch + j * kPixelBytes, kPitch,
                     turned + j * kPitch + i * kPixelBytes, kPitch);
      for (std::int32_t j = 0; j < columns; ++j) {
        const std::int32_t row = counter ? left + j : source.width - 1 - left - j;
        CopyRun<kRun>(target.Row(row) + std::ptrdiff_t{targetColumn} * kPixelBytes,
                      turned + j * kPitch, static_cast<std::size_t>(rows) * kPixelBytes);
      }
    }
  }
}

void RotateQuarter(ConstImageView source, int pixelBytes, Turn turn, ImageView target) {
  if (pixelBytes == 1) RotateSquares<1, 64, 16, TransposeBytes>(source, turn, target);
  if (pixelBytes == 3) RotateSquares<3, 64, 4, TransposePixels>(source, turn, target);
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
