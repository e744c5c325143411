// Fourier transforms and the cut on coefficient size.
#include <algorithm>

#include "frequency/fourier.h"
#include "frequency/magnitudes.h"
#include "pixels/allocate_array.h"
#include "pixels/pixel_store.h"
#include "rastelo.h"

namespace {

std::size_t Count(LONG width, LONG height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

}  // namespace

/// What one transform works in and leaves.
struct CRastelo::FrequencyArrays {
  std::shared_ptr<Complex[]> rows, coefs, factors;
  std::shared_ptr<unsigned char[]> map;
};

/// Arrays of the current size: those that are there, unless a copy has a share in them, else new
/// ones. Coefficients and map keep what they hold until the transform has all its memory. Factors
/// never change.
CRastelo::FrequencyArrays CRastelo::TakeFrequencyArrays() const {
  const auto factors = FrequencyFactors();
  if (HasFrequencies() && m_pFreqRows.use_count() == 1 && m_pFreqCoefs.use_count() == 1 &&
      m_pSpectrumBits.use_count() == 1)
    return {m_pFreqRows, m_pFreqCoefs, factors, m_pSpectrumBits};
  const std::size_t count = Count(m_lWidth, m_lHeight);
  return {rastelo::AllocateArray<Complex>(count), rastelo::AllocateArray<Complex>(count), factors,
          std::make_shared<unsigned char[]>(
              static_cast<std::size_t>(rastelo::Pitch(m_lWidth, 8) * m_lHeight))};
}

std::shared_ptr<Complex[]> CRastelo::FrequencyFactors() const {
  if (HasFrequencies()) return m_pFreqFactors;
  if (m_lWidth == 0 || m_lHeight == 0) return rastelo::MakeFourierFactors(0);
  return rastelo::MakeFourierFactors(rastelo::TransformExponent(std::max(m_lWidth, m_lHeight)));
}

void CRastelo::AdoptFrequencies(const FrequencyArrays& arrays) noexcept {
  m_pFreqRows = arrays.rows;
  m_pFreqCoefs = arrays.coefs;
  m_pFreqFactors = arrays.factors;
  m_pSpectrumBits = arrays.map;
  m_lFreqWidth = m_lWidth;
  m_lFreqHeight = m_lHeight;
}

/// Whether there are coefficients and a map of the current size.
bool CRastelo::HasFrequencies() const {
  return m_pFreqCoefs && m_lFreqWidth == m_lWidth && m_lFreqHeight == m_lHeight;
}

int CRastelo::FFT() {
  if (HasPixels() && !HasKnownDepth()) return 1;
  const rastelo::PixelStore gray = GrayCopy();
  const rastelo::ConstImageView levels = gray.bits ? gray.Pixels() : RowBytes();
  const FrequencyArrays arrays = TakeFrequencyArrays();
  if (levels.width > 0 && levels.height > 0)
    rastelo::FourierPlane(m_lWidth, m_lHeight, arrays.factors.get())
        .Transform(levels, arrays.rows.get(), arrays.coefs.get(), arrays.map.get());
  if (gray.bits) Adopt(gray);
  AdoptFrequencies(arrays);
  return 1;
}

int CRastelo::IFFT() {
  if (HasFrequencies()) ImgIFFT_2D();
  return 1;
}

void CRastelo::ILPF(double limit) {
  if (HasFrequencies())
    rastelo::CutMagnitudes(m_pFreqCoefs.get(), m_lWidth, m_lHeight, limit, m_pSpectrumBits.get());
}

int CRastelo::GetSpectrum(unsigned char* buffer) const {
  if (!buffer || !HasFrequencies()) return 0;
  std::copy_n(m_pSpectrumBits.get(), Count(m_lWidth, m_lHeight), buffer);
  return 1;
}

void CRastelo::ImgFFT_2D(Complex* first, Complex* second) {
  if (m_lWidth == 0 || m_lHeight == 0) return;
  const auto factors = FrequencyFactors();
  const rastelo::FourierPlane plane(m_lWidth, m_lHeight, factors.get());
  std::copy_n(first, Count(m_lWidth, m_lHeight), second);
  plane.Transform(second, first, second);
}

/// The inverse by way of the forward transform: of the conjugates, taken in plain order, and
/// divided by their number.
void CRastelo::ImgIFFT_2D() {
  const FrequencyArrays arrays = TakeFrequencyArrays();
  std::transform(m_pFreqCoefs.get(), m_pFreqCoefs.get() + Count(m_lWidth, m_lHeight),
                 arrays.rows.get(), [](const Complex& z) {
                   return Complex{z.re, -z.im};
                 });
  ImgFFT_2D(arrays.rows.get(), arrays.coefs.get());
  rastelo::DrawReconstruction(arrays.coefs.get(), m_lWidth, m_lHeight, arrays.map.get());
  AdoptFrequencies(arrays);
}

void CRastelo::FFT_1D(Complex* in, Complex* out, LONG exponent) {
  const auto r = static_cast<int>(exponent);
  const auto factors = rastelo::MakeFourierFactors(r);
  rastelo::FourierLines(r, 1, factors.get(), r).TransformRows(in, LONG{1} << r, 1, out);
}

void CRastelo::IFFT_1D(Complex* /*in*/, Complex* /*out*/, LONG /*exponent*/) {}
