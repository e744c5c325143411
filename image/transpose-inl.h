// Included once for each instruction set, behind hwy/foreach_target.h.
#if defined(RASTELO_IMAGE_TRANSPOSE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RASTELO_IMAGE_TRANSPOSE_INL_H_
#undef RASTELO_IMAGE_TRANSPOSE_INL_H_
#else
#define RASTELO_IMAGE_TRANSPOSE_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace rastelo::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// Turns 16 x 16 bytes: byte x of row y goes to byte y of row x.
template <class D>
void Transpose16(D d, const std::uint8_t* from, std::ptrdiff_t fromPitch, std::uint8_t* to,
                 std::ptrdiff_t toPitch) {
  if constexpr (hn::MaxLanes(D()) == 16) {
    // Each round interleaves rows that are 8 apart; four bring the bytes of a column together.
    hn::Vec<D> a[16], b[16];
    const auto interleave = [&](const auto* rows, auto* into) {
      for (int i = 0; i < 8; ++i) {
        into[2 * i] = InterleaveLower(d, rows[i], rows[i + 8]);
        into[2 * i + 1] = InterleaveUpper(d, rows[i], rows[i + 8]);
      }
    };
    for (int i = 0; i < 16; ++i) a[i] = hn::LoadU(d, from + i * fromPitch);
    interleave(a, b);
    interleave(b, a);
    interleave(a, b);
    interleave(b, a);
    for (int i = 0; i < 16; ++i) hn::StoreU(a[i], d, to + i * toPitch);
  } else {
    for (int x = 0; x < 16; ++x)
      for (int y = 0; y < 16; ++y) to[x * toPitch + y] = from[y * fromPitch + x];
  }
}

}  // namespace rastelo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // RASTELO_IMAGE_TRANSPOSE_INL_H_
