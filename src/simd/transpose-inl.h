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

/// Fills the vector's blocks of 16 bytes from places that are `step` bytes apart.
template <class D>
hn::Vec<D> LoadBlocks(D d, const std::uint8_t* from, std::ptrdiff_t step) {
  if constexpr (hn::MaxLanes(D()) == 16) {
    return hn::LoadU(d, from);
  } else {
    const hn::Half<D> half;
    const auto upper = static_cast<std::ptrdiff_t>(hn::Lanes(half) / 16) * step;
    return hn::Combine(d, LoadBlocks(half, from + upper, step), LoadBlocks(half, from, step));
  }
}

/// The way back.
template <class D>
void StoreBlocks(D d, hn::Vec<D> v, std::uint8_t* to, std::ptrdiff_t step) {
  if constexpr (hn::MaxLanes(D()) == 16) {
    hn::StoreU(v, d, to);
  } else {
    const hn::Half<D> half;
    const auto upper = static_cast<std::ptrdiff_t>(hn::Lanes(half) / 16) * step;
    StoreBlocks(half, hn::LowerHalf(half, v), to, step);
    StoreBlocks(half, hn::UpperHalf(half, v), to + upper, step);
  }
}

/// Turns 16 x 16 bytes in each block. Each round interleaves rows that are 8 apart; four bring the
/// bytes of a column together.
template <class D>
void TransposeBlocks(D d, hn::Vec<D>* a) {
  hn::Vec<D> b[16];
  const auto interleave = [&](const auto* rows, auto* into) {
    for (int i = 0; i < 8; ++i) {
      into[2 * i] = InterleaveLower(d, rows[i], rows[i + 8]);
      into[2 * i + 1] = InterleaveUpper(d, rows[i], rows[i + 8]);
    }
  };
  interleave(a, b);
  interleave(b, a);
  interleave(a, b);
  interleave(b, a);
}

/// Turns 16 bytes of as many rows as `d` has lanes, at least 16: byte x of row y goes to byte y of
/// row x.
template <class D>
void Transpose16(D d, const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                 std::ptrdiff_t toPitch) {
  hn::Vec<D> a[16];
  for (int i = 0; i < 16; ++i) a[i] = LoadBlocks(d, from + i * fromPitch, 16 * fromPitch);
  TransposeBlocks(d, a);
  for (int i = 0; i < 16; ++i) hn::StoreU(a[i], d, to + i * toPitch);
}

/// Turns as many bytes of 16 rows as `d` has lanes, at least 16.
template <class D>
void TransposeFrom16(D d, const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                     std::ptrdiff_t toPitch) {
  if constexpr (hn::MaxLanes(D()) > 16) {
    hn::Vec<D> a[16];
    for (int i = 0; i < 16; ++i) a[i] = hn::LoadU(d, from + i * fromPitch);
    TransposeBlocks(d, a);
    for (int i = 0; i < 16; ++i) StoreBlocks(d, a[i], to + i * toPitch, 16 * toPitch);
  } else {
    Transpose16(d, from, fromPitch, to, toPitch);
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // RASTELO_SIMD_TRANSPOSE_INL_H_
