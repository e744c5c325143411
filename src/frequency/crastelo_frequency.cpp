// Fourier transforms and the cut on coefficient size.
#include <algorithm>
#include <utility>

#include "frequency/fourier.h"
#include "frequency/magnitudes.h"
#include "geometry/gray.h"
#include "image/inside.h"
#include "pixels/allocate_array.h"
#include "rastelo.h"

using rastelo::FrequencyData;
using rastelo::Inside;

namespace {

std::size_t Count(LONG width, LONG height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

/// New memory for a transform of the image's size. Factors never change, and so they are kept.
FrequencyData NewFrequencyData(const CRastelo& image) {
  const LONG width = image.GetWidth(), height = image.GetHeight();
  const std::size_t count = Count(width, height);
  const int exponent = count == 0 ? 0 : rastelo::TransformExponent(std::max(width, height));
  return {rastelo::AllocateArray<Complex>(count),
          rastelo::AllocateArray<Complex>(count),
          Inside::HasFrequencies(image) ? Inside::Frequencies(image).factors
                                        : rastelo::MakeFourierFactors(exponent),
          std::make_shared<unsigned char[]>(
              static_cast<std::size_t>(rastelo::Pitch(width, 8) * height)),
          std::make_shared<bool>(false),
          width,
          height};
}

/// The memory that is there, unless a copy of the object has a share in it, else new memory. What
/// it holds must stay until the transform has taken all of its own.
FrequencyData TakeFrequencyData(const CRastelo& image) {
  FrequencyData data = Inside::Frequencies(image);
  const auto isShared = [](const auto& array) { return array.use_count() > 2; };  // one is data's
  if (!Inside::HasFrequencies(image) || isShared(data.rows) || isShared(data.coefficients) ||
      isShared(data.map))
    return NewFrequencyData(image);
  return data;
}

/// Transforms `first` in place: it gets the rows' transforms, `second` the coefficients, and
/// `cells` their map if it is not null.
void TransformElements(const FrequencyData& data, Complex* first, Complex* second,
                       unsigned char* cells) {
  if (data.width == 0 || data.height == 0) return;
  const rastelo::FourierPlane plane(data.width, data.height, data.factors.get());
  std::copy_n(first, Count(data.width, data.height), second);
  plane.Transform(second, first, second, cells);
}

}  // namespace

void Inside::AdoptFrequencies(CRastelo& image, FrequencyData data) noexcept {
  image.m_pFreqRows = std::move(data.rows);
  image.m_pFreqCoefs = std::move(data.coefficients);
  image.m_pFreqFactors = std::move(data.factors);
  image.m_pSpectrumBits = std::move(data.map);
  image.m_lFreqWidth = data.width;
  image.m_lFreqHeight = data.height;
  image.m_pReconstructed = std::move(data.isReconstruction);
}

int CRastelo::FFT() {
  if (Inside::HasPixels(*this) && !Inside::HasKnownDepth(*this)) return 1;
  rastelo::PixelStore gray;
  if (m_bOpened && m_nBitCount == 24) gray = rastelo::ConvertToGray(Inside::Pixels(*this));
  const rastelo::ConstImageView levels = gray.bits ? gray.Pixels() : Inside::RowBytes(*this);
  FrequencyData data = TakeFrequencyData(*this);
  if (levels.width > 0 && levels.height > 0)
    rastelo::FourierPlane(m_lWidth, m_lHeight, data.factors.get())
        .Transform(levels, data.rows.get(), data.coefficients.get(), data.map.get());
  if (gray.bits) Inside::Adopt(*this, gray);
  *data.isReconstruction = false;
  Inside::AdoptFrequencies(*this, std::move(data));
  return 1;
}

int CRastelo::IFFT() {
  if (Inside::HasFrequencies(*this)) ImgIFFT_2D();
  return 1;
}

void CRastelo::ILPF(double limit) {
  if (!Inside::HasFrequencies(*this)) return;
  rastelo::CutMagnitudes(m_pFreqCoefs.get(), m_lWidth, m_lHeight, limit, m_pSpectrumBits.get());
  *m_pReconstructed = false;
}

int CRastelo::GetSpectrum(unsigned char* buffer) const {
  if (!buffer || !Inside::HasFrequencies(*this)) return 0;
  std::copy_n(m_pSpectrumBits.get(), Count(m_lWidth, m_lHeight), buffer);
  return 1;
}

void CRastelo::ImgFFT_2D(Complex* first, Complex* second) {
  const std::size_t count = Count(m_lWidth, m_lHeight);
  FrequencyData data = NewFrequencyData(*this);
  TransformElements(data, first, second, data.map.get());
  std::copy_n(first, count, data.rows.get());
  std::copy_n(second, count, data.coefficients.get());
  Inside::AdoptFrequencies(*this, std::move(data));
}

/// The inverse by way of the forward transform: of the conjugates, taken in plain order, and
/// divided by their number.
void CRastelo::ImgIFFT_2D() {
  FrequencyData data = TakeFrequencyData(*this);
  std::transform(m_pFreqCoefs.get(), m_pFreqCoefs.get() + Count(m_lWidth, m_lHeight),
                 data.rows.get(), [](const Complex& z) {
                   return Complex{z.re, -z.im};
                 });
  TransformElements(data, data.rows.get(), data.coefficients.get(), nullptr);
  rastelo::DrawReconstruction(data.coefficients.get(), m_lWidth, m_lHeight, data.map.get());
  *data.isReconstruction = true;
  Inside::AdoptFrequencies(*this, std::move(data));
}

void CRastelo::FFT_1D(Complex* in, Complex* out, LONG exponent) {
  const auto r = static_cast<int>(exponent);
  const auto factors = rastelo::MakeFourierFactors(r);
  rastelo::FourierLines(r, 1, factors.get(), r).TransformRows(in, LONG{1} << r, 1, out);
}

void CRastelo::IFFT_1D(Complex* /*in*/, Complex* /*out*/, LONG /*exponent*/) {}
