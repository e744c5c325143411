#ifndef RASTELO_BENCH_PLAIN_H
#define RASTELO_BENCH_PLAIN_H

#include <vector>

#include "histogram/class_pair.h"
#include "image/image_view.h"
#include "rastelo.h"
#include "segment/graph_cut.h"

/// The definitions of operations as one would write them down first, to measure and to test
/// against. Each gives what the library's function of the similar name gives, every sum made
/// afresh.
namespace plain {

std::optional<rastelo::ThresholdPair> FindClassPair(rastelo::LevelCounts counts);
void SumAffinities(rastelo::ConstImageView gray, rastelo::AffinityTable& affinity);
std::array<std::int32_t, 256> SumContrasts(rastelo::ConstImageView gray, std::int32_t radius);
void ZoomBilinear(rastelo::ConstImageView source, rastelo::ImageView target, int pixelBytes);
void ApplySobel(rastelo::ImageView gray);
void ApplyTemplate(rastelo::ImageView gray, const double* entries, std::int32_t size);
void PushLevels(rastelo::ImageView gray, int threshold, bool clearLow, bool raiseHigh);
void InvertBytes(rastelo::ImageView image);
void EvenColumns(rastelo::ImageView gray, int limit);
void RunTransform(const Complex* in, Complex* out, int exponent);
/// Of a square whose sides are powers of two.
void TransformPlane(Complex* first, Complex* second, int exponent);
void CutMagnitudes(Complex* coefficients, int exponent, double limit, std::uint8_t* cells);
/// The low bytes that the coefficients give back, with exchanged quadrants.
void InvertPlane(const Complex* coefficients, int exponent, std::uint8_t* cells);
bool ExceedsShare(rastelo::ConstImageView gray, int level, double share);

}  // namespace plain

#endif  // RASTELO_BENCH_PLAIN_H
