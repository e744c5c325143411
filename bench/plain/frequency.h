#ifndef RASTELO_BENCH_PLAIN_FREQUENCY_H
#define RASTELO_BENCH_PLAIN_FREQUENCY_H

#include <cstdint>

#include "rastelo.h"

namespace plain {

void RunTransform(const Complex* in, Complex* out, int exponent);
/// Of a square whose sides are powers of two.
void TransformPlane(Complex* first, Complex* second, int exponent);
void CutMagnitudes(Complex* coefficients, int exponent, double limit, std::uint8_t* cells);
/// The low bytes that the coefficients give back, with exchanged quadrants.
void InvertPlane(const Complex* coefficients, int exponent, std::uint8_t* cells);

}  // namespace plain

#endif  // RASTELO_BENCH_PLAIN_FREQUENCY_H
