// Fourier transforms and the cut on coefficient size.
#include <algorithm>

#include "frequency/fourier.h"
#include "image/pixel_store.h"
#include "rastelo.h"

namespace {

/// The arrays of one transform, all taken before anything changes.
struct FrequencyArrays {
  FrequencyArrays(LONG width, LONG height)
      : count(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
        rows(std::make_shared_for_overwrite<Complex[]>(count)),
        coefs(std::make_shared_for_overwrite<Complex[]>(count)),
        map(std::make_shared<unsigned char[]>(
            static_cast<std::size_t>(rastelo::Pitch(width, 8) * height))) {}

  std::size_t count;
  std::shared_ptr<Complex[]> rows, coefs;
  std::shared_ptr<unsigned char[]> map;
};

}  // namespace

int CRastelo::FFT() {
  if (m_pImgBits && !HasKnownDepth()) return 1;
  const rastelo::PixelStore gray = GrayCopy();
  const rastelo::ConstImageView levels = gray.bits ? gray.Pixels() : RowBytes();
  const FrequencyArrays arrays(m_lWidth, m_lHeight);
  Complex* element = arrays.rows.get();
  for (LONG y = 0; y < levels.height; ++y)
    for (LONG x = 0; x < levels.width; ++x)
      *element++ = {static_cast<double>(levels.Row(y)[x]), 0.0};
  ImgFFT_2D(arrays.rows.get(), arrays.coefs.get());
  rastelo::DrawMagnitudes(arrays.coefs.get(), m_lWidth, m_lHeight, arrays.map.get());
  if (gray.bits) Adopt(gray);
  AdoptFrequencies(arrays.rows, arrays.coefs, arrays.map);
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
  std::copy_n(m_pSpectrumBits.get(),
              static_cast<std::size_t>(m_lWidth) * static_cast<std::size_t>(m_lHeight), buffer);
  return 1;
}

void CRastelo::ImgFFT_2D(Complex* first, Complex* second) {
  rastelo::FourierPlane(m_lWidth, m_lHeight).Transform(first, second);
}

/// The inverse by way of the forward transform: of the conjugates, taken in plain order, and
/// divided by their number.
void CRastelo::ImgIFFT_2D() {
  const FrequencyArrays arrays(m_lWidth, m_lHeight);
  std::transform(m_pFreqCoefs.get(), m_pFreqCoefs.get() + arrays.count, arrays.rows.get(),
                 [](const Complex& z) {
                   return Complex{z.re, -z.im};
                 });
  ImgFFT_2D(arrays.rows.get(), arrays.coefs.get());
  rastelo::DrawReconstruction(arrays.coefs.get(), m_lWidth, m_lHeight, arrays.map.get());
  AdoptFrequencies(arrays.rows, arrays.coefs, arrays.map);
}

void CRastelo::FFT_1D(Complex* in, Complex* out, LONG exponent) {
  rastelo::FourierTransform(static_cast<int>(exponent)).Run(in, out);
}

void CRastelo::IFFT_1D(Complex* /*in*/, Complex* /*out*/, LONG /*exponent*/) {}

/// Whether there are coefficients and a map of the current size.
bool CRastelo::HasFrequencies() const {
  return m_pFreqCoefs && m_lFreqWidth == m_lWidth && m_lFreqHeight == m_lHeight;
}

void CRastelo::AdoptFrequencies(const std::shared_ptr<Complex[]>& rows,
                                const std::shared_ptr<Complex[]>& coefs,
                                const std::shared_ptr<unsigned char[]>& map) noexcept {
  m_pFreqRows = rows;
  m_pFreqCoefs = coefs;
  m_pSpectrumBits = map;
  m_lFreqWidth = m_lWidth;
  m_lFreqHeight = m_lHeight;
}
