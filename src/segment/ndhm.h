#pragma once

#include <array>
#include <span>

#include "pixels/image_view.h"

namespace rastelo {

/// For each level, how much the pixels of that level exceed what surrounds them:
///     total(c) = sum, over pixels (x, y) of level c, of c - v(x', y')
/// over the neighbourhood x - r <= x' < x + r, y - r <= y' < y + r, modulo 2^32. Only pixels whose
/// neighbourhood and its mirror image lie inside take part: r <= x < W - r, r <= y < H - r. The
/// cost does not grow with r.
/// @param radius  r, not negative.
/// @param work    W values to work with, of any content.
std::array<std::int32_t, 256> SumContrasts(ConstImageView gray, std::int32_t radius,
                                           std::span<std::uint32_t> work);

/// The level with the largest total above 0, the lowest among equals; 0 if there is none.
int FindContrastThreshold(const std::array<std::int32_t, 256>& totals);

}  // namespace rastelo
