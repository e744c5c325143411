#pragma once

#include <cstdint>

#include "rastelo.h"

namespace rastelo {

/// Sets to 0 each coefficient whose |F(u, v)| / 100 is above `limit`, all of them if `limit` is not
/// a number, and draws those that stay into the map: the cell of F(u, v) holds the low byte of
/// |F(u, v)| / 100, truncated, or 0. Cells that no coefficient reaches are 0.
/// @param coefficients  W columns of H elements, F(u, v) in element H * u + v.
/// @param cells         W columns of H bytes, halves exchanged both ways (FftShift), so that the
///                      zero frequency is in the middle.
void CutMagnitudes(Complex* coefficients, std::int32_t width, std::int32_t height, double limit,
                   std::uint8_t* cells);

}  // namespace rastelo
