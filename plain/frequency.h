#pragma once

#include <cstdint>

#include "rastelo.h"

namespace plain {

void RunTransform(const Complex* in, Complex* out, int exponent);
void TransformPlane(Complex* first, Complex* second, std::int32_t width, std::int32_t height);
void DrawMagnitudes(const Complex* coefficients, std::int32_t width, std::int32_t height,
                    std::uint8_t* cells);
void CutMagnitudes(Complex* coefficients, std::int32_t width, std::int32_t height, double limit,
                   std::uint8_t* cells);
/// The low bytes that the coefficients give back, with exchanged quadrants.
void InvertPlane(const Complex* coefficients, std::int32_t width, std::int32_t height,
                 std::uint8_t* cells);

}  // namespace plain
