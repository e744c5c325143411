// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_SIMD_TRANSPOSE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_SIMD_TRANSPOSE_INL_H_
#undef RASTELO_SIMD_TRANSPOSE_INL_H_
#else
#define RASTELO_SIMD_TRANSPOSE_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Transposes 4 x 4 pixels of 3 bytes. Reads 4 bytes behind each row, and writes as many.
inline void TransposePixels(const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                            std::ptrdiff_t toPitch) {
  const hn::FixedTag<std::uint8_t, 16> d8;
  const hn::FixedTag<std::uint32_t, 4> d32;
  const hn::FixedTag<std::uint64_t, 2> d64;
  alignas(16) constexpr std::uint8_t kWiden[16] = {0, 1, 2, 0, 3, 4,  5,  0,
                                                   6, 7, 8, 0, 9, 10, 11, 0};
  alignas(16) constexpr std::uint8_t kNarrow[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14};
  const auto load = [&](int row) HWY_ATTR {
    const auto bytes = hn::LoadU(d8, from + row * fromPitch);
    return hn::BitCast(d32, hn::TableLookupBytes(bytes, hn::Load(d8, kWiden)));
  };
  const auto store = [&](int row, auto pixels) HWY_ATTR {
    const auto bytes = hn::TableLookupBytes(hn::BitCast(d8, pixels), hn::Load(d8, kNarrow));
    hn::StoreU(bytes, d8, to + row * toPitch);
  };
  // Columns 0 and 1, and columns 2 and 3, of two rows each.
  const auto left = [=](auto row, auto next)
                        HWY_ATTR { return hn::BitCast(d64, hn::InterleaveLower(d32, row, next)); };
  const auto right = [=](auto row, auto next)
                         HWY_ATTR { return hn::BitCast(d64, hn::InterleaveUpper(d32, row, next)); };
  const auto row0 = load(0), row1 = load(1), row2 = load(2), row3 = load(3);
  store(0, hn::InterleaveLower(d64, left(row0, row1), left(row2, row3)));
  store(1, hn::InterleaveUpper(d64, left(row0, row1), left(row2, row3)));
  store(2, hn::InterleaveLower(d64, right(row0, row1), right(row2, row3)));
  store(3, hn::InterleaveUpper(d64, right(row0, row1), right(row2, row3)));
}

/// Fills the vector's blocks of 16 bytes from places that are `step` bytes apart.
template <class D>
hn::Vec<D> LoadBlocks(D d8, const std::uint8_t* from, std::ptrdiff_t step) {
  if constexpr (hn::MaxLanes(D()) == 16) {
    return hn::LoadU(d8, from);
  } else {
    const hn::Half<D> half;
    const auto upper = static_cast<std::ptrdiff_t>(hn::Lanes(half) / 16) * step;
    return hn::Combine(d8, LoadBlocks(half, from + upper, step), LoadBlocks(half, from, step));
  }
}

/// The way back.
template <class D>
void StoreBlocks(D d8, hn::Vec<D> v, std::uint8_t* to, std::ptrdiff_t step) {
  if constexpr (hn::MaxLanes(D()) == 16) {
    hn::StoreU(v, d8, to);
  } else {
    const hn::Half<D> half;
    const auto upper = static_cast<std::ptrdiff_t>(hn::Lanes(half) / 16) * step;
    StoreBlocks(half, hn::LowerHalf(half, v), to, step);
    StoreBlocks(half, hn::UpperHalf(half, v), to + upper, step);
  }
}

/// Transposes 16 x 16 bytes in each block. Each round interleaves rows that are 8 apart; four bring
/// the bytes of a column together.
template <class D>
void TransposeBlocks(D d8, hn::Vec<D>* a) {
  hn::Vec<D> b[16];
  const auto interleave = [&](const auto* rows, auto* into) {
    for (int i = 0; i < 8; ++i) {
      into[2 * i] = InterleaveLower(d8, rows[i], rows[i + 8]);
      into[2 * i + 1] = InterleaveUpper(d8, rows[i], rows[i + 8]);
    }
  };
  interleave(a, b);
  interleave(b, a);
  interleave(a, b);
  interleave(b, a);
}

/// Transposes 16 bytes of as many rows as `d8` has lanes, at least 16: byte x of row y goes to byte
/// y of row x.
template <class D>
void Transpose16(D d8, const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                 std::ptrdiff_t toPitch) {
  hn::Vec<D> a[16];
  for (int i = 0; i < 16; ++i) a[i] = LoadBlocks(d8, from + i * fromPitch, 16 * fromPitch);
  TransposeBlocks(d8, a);
  for (int i = 0; i < 16; ++i) hn::StoreU(a[i], d8, to + i * toPitch);
}

/// Transposes as many bytes of 16 rows as `d8` has lanes, at least 16.
template <class D>
void TransposeFrom16(D d8, const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                     std::ptrdiff_t toPitch) {
  if constexpr (hn::MaxLanes(D()) > 16) {
    hn::Vec<D> a[16];
    for (int i = 0; i < 16; ++i) a[i] = hn::LoadU(d8, from + i * fromPitch);
    TransposeBlocks(d8, a);
    for (int i = 0; i < 16; ++i) StoreBlocks(d8, a[i], to + i * toPitch, 16 * toPitch);
  } else {
    Transpose16(d8, from, fromPitch, to, toPitch);
  }
}

/// Transposes as many vectors as they have lanes: lane i of vector k goes to lane k of vector i.
/// Each round puts the even lanes of all vectors before the odd ones; in the index of a number
/// among all, which is lanes * k + i, that takes the lowest bit to the top.
template <class D>
HWY_INLINE void TransposeLanes(D d, hn::Vec<D>* a) {
  constexpr std::size_t kLanes = hn::MaxLanes(D());
  if constexpr (kLanes > 1) {
    hn::Vec<D> b[kLanes];
    for (std::size_t round = 1; round < kLanes; round *= 2) {
      for (std::size_t i = 0; i < kLanes / 2; ++i) {
        b[i] = hn::ConcatEven(d, a[2 * i + 1], a[2 * i]);
        b[i + kLanes / 2] = hn::ConcatOdd(d, a[2 * i + 1], a[2 * i]);
      }
      for (std::size_t i = 0; i < kLanes; ++i) a[i] = b[i];
    }
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // RASTELO_SIMD_TRANSPOSE_INL_H_
