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

void TransposeBytes(const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                    std::ptrdiff_t toPitch) {
  Transpose16(hn::FixedTag<std::uint8_t, 16>(), from, fromPitch, to, toPitch);
}

/// Copies `bytes` of at most kMost, all of them mostly.
template <std::size_t kMost>
void CopyRun(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) {
  if (bytes == kMost)
    std::memcpy(to, from, kMost);
  else
    std::memcpy(to, from, bytes);
}

/// Rotates a picture by tiles of `kRows` x 64 pixels. A tile is copied to one buffer in L1 and
/// transposed there, in blocks of `kBlock` x `kBlock` pixels, to another one. So each line of
/// either picture is touched once a tile, whatever the rows' distance: rows a power of two apart
/// would drive each other out of the cache. Rows of a tile enter, or columns leave, in reverse.
template <int kPixelBytes, int kRows, int kBlock, auto kTranspose, bool kNonTemporal>
class TileRotation {
 public:
  // cppcheck-suppress uninitMemberVar ; each tile is written before it is read
  TileRotation(ConstImageView source, QuarterTurn turn, ImageView target)
      : source_(source), target_(target), counter_(turn == QuarterTurn::kCounterClockwise) {}

  void Run() {
    for (std::int32_t row = 0; row < source_.height; row += kRows) {
      const std::int32_t rows = std::min(kRows, source_.height - row);
      for (std::int32_t column = 0; column < source_.width; column += kColumns) {
        const std::int32_t columns = std::min(kColumns, source_.width - column);
        LoadTile(row, rows, column, columns);
        TransposeTile(rows, columns);
        StoreTile(row, rows, column, columns);
      }
    }
    if (kNonTemporal) hwy::FlushStream();
  }

 private:
  static constexpr std::int32_t kColumns = 64;
  static constexpr std::size_t kRowBytes = std::size_t{kColumns} * kPixelBytes,
                               kColumnBytes = std::size_t{kRows} * kPixelBytes;
  static constexpr std::ptrdiff_t kTilePitch = kRowBytes + 16, kTransposedPitch = kColumnBytes + 16;

  /// Rows are counted in the order of the target's columns.
  HWY_INLINE void LoadTile(std::int32_t row, std::int32_t rows, std::int32_t column,
                           std::int32_t columns) {
    const auto bytes = static_cast<std::size_t>(columns) * kPixelBytes;
    const std::ptrdiff_t step = counter_ ? -source_.pitch : source_.pitch;
    const std::uint8_t* first = source_.Row(counter_ ? source_.height - 1 - row : row) +
                                std::ptrdiff_t{column} * kPixelBytes;
    for (std::int32_t i = 0; i < rows; ++i) {
      const std::uint8_t* from = first + i * step;
      for (std::size_t k = 0; k < kRowBytes; k += 64) hwy::Prefetch(from + kRowBytes + k);
      CopyRun<kRowBytes>(tile_ + i * kTilePitch, from, bytes);
    }
  }

  HWY_INLINE void TransposeTile(std::int32_t rows, std::int32_t columns) {
    for (int i = 0; i < rows; i += kBlock)
      for (int k = 0; k < columns; k += kBlock)
        kTranspose(tile_ + i * kTilePitch + k * kPixelBytes, kTilePitch,
                   transposed_ + k * kTransposedPitch + i * kPixelBytes, kTransposedPitch);
  }

  HWY_INLINE void StoreTile(std::int32_t row, std::int32_t rows, std::int32_t column,
                            std::int32_t columns) {
    const auto bytes = static_cast<std::size_t>(rows) * kPixelBytes;
    const std::ptrdiff_t step = counter_ ? target_.pitch : -target_.pitch;
    std::uint8_t* first = target_.Row(counter_ ? column : target_.height - 1 - column) +
                          std::ptrdiff_t{row} * kPixelBytes;
    for (std::int32_t k = 0; k < columns; ++k) {
      const std::uint8_t* from = transposed_ + k * kTransposedPitch;
      std::uint8_t* to = first + k * step;
      if (kNonTemporal && rows == kRows && reinterpret_cast<std::uintptr_t>(to) % 64 == 0)
        CopyVectorsNonTemporal(from, kColumnBytes, to);
      else
        CopyRun<kColumnBytes>(to, from, bytes);
    }
  }

  ConstImageView source_;
  ImageView target_;
  bool counter_;
  alignas(64) std::uint8_t transposed_[kColumns * kTransposedPitch];
  alignas(64) std::uint8_t tile_[kRows * kTilePitch] = {};
};

/// Non-temporal stores gain by tiles twice as high, which write more lines of a row together.
template <int kPixelBytes, int kBlock, auto kTranspose>
void RotatePixels(ConstImageView source, QuarterTurn turn, ImageView target) {
  if (std::int64_t{target.pitch} * target.height < kNonTemporalBytes)
    TileRotation<kPixelBytes, 64, kBlock, kTranspose, false>(source, turn, target).Run();
  else
    TileRotation<kPixelBytes, 128, kBlock, kTranspose, true>(source, turn, target).Run();
}

void RotateQuarter(ConstImageView source, int pixelBytes, QuarterTurn turn, ImageView target) {
  if (pixelBytes == 1) RotatePixels<1, 16, TransposeBytes>(source, turn, target);
  if (pixelBytes == 3) RotatePixels<3, 4, TransposePixels>(source, turn, target);
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace rastelo {

HWY_EXPORT(RotateQuarter);

void RotateQuarter(ConstImageView source, int pixelBytes, QuarterTurn turn, ImageView target) {
  HWY_DYNAMIC_DISPATCH(RotateQuarter)(source, pixelBytes, turn, target);
}

}  // namespace rastelo

#endif  // HWY_ONCE
