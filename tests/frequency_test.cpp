// Fourier transforms, the cut on coefficient size, and the map that shows both.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "frequency/fourier.h"
#include "tests/allocations.h"
#include "tests/object_probe.h"

using rastelo::ObjectProbe;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Coefficients = std::vector<Complex>;

int Shift(int i, int n) { return i < n / 2 ? i + n / 2 : i - n / 2; }

Coefficients Elements(LiteralImage image) {
  Coefficients elements;
  for (int i = 0; i < image.width * image.height; ++i)
    elements.push_back({double(image.Pixels().Row(i / image.width)[i % image.width]), 0.0});
  return elements;
}

Coefficients Transformed(Coefficients elements, int w, int h) {
  Coefficients result(elements.size(), {NAN, NAN});
  rastelo::FourierPlane(w, h).Transform(elements.data(), result.data());
  return result;
}

/// The map of an object, or of none, one cell of 0xEE.
Bytes MapOf(const CRastelo& object) {
  Bytes map(std::size_t(object.GetWidth() * object.GetHeight() + 1), 0xEE);
  if (object.GetSpectrum(map.data()) == 0) return {0xEE};
  EXPECT_EQ(map.back(), 0xEE) << "behind the map";
  map.pop_back();
  return map;
}

TEST(Fourier, FollowsItsDefinition) {
  const int sides[][2] = {{1, 1},  {2, 1},   {4, 1},  {8, 1}, {32, 1}, {128, 1},
                          {2, 2},  {8, 4},   {4, 16}, {3, 5}, {7, 6},  {257, 5},
                          {1, 16}, {5, 257}, {1, 64}, {9, 8}, {1, 3},  {255, 3}};
  for (const auto& [w, h] : sides) {
    const int w2 = 1 << rastelo::TransformExponent(w), h2 = 1 << rastelo::TransformExponent(h);
    EXPECT_TRUE(w2 <= w && w < 2 * w2 && h2 <= h && h < 2 * h2);
    const int count = w2 * h2;
    std::vector<std::complex<long double>> roots;
    for (int i = 0; i < count; ++i)
      roots.push_back(std::polar(1.0L, -2 * std::numbers::pi_v<long double> * i / count));
    Coefficients elements = Elements(Noise(w, h));
    for (std::size_t i = 0; i < elements.size(); ++i) elements[i].im = 99.0 - double(i * 37 % 199);
    const Coefficients result = Transformed(elements, w, h);
    for (int i = 0; i < w * h; ++i) {
      const int u = i / h, v = i % h;
      std::complex<long double> sum = 0;
      long double bound = 0;
      for (int n = 0; u < w2 && v < h2 && n < count; ++n) {
        const int x = n % w2, y = n / w2;
        const Complex& z = elements[std::size_t(w * y + x)];
        const std::complex<long double> element(z.re, z.im);
        sum += element * roots[std::size_t((u * x * h2 + v * y * w2) % count)];
        bound += std::abs(element) * 3e-16L;
      }
      const std::complex<long double> f(result[std::size_t(i)].re, result[std::size_t(i)].im);
      ASSERT_LE(std::abs(f - sum), bound) << w << " x " << h << ": F(" << u << ", " << v << ")";
    }
  }
}

TEST(CutMagnitudes, ComparesEachCoefficientWithTheLimit) {
  // Magnitudes 280.9, 300, a little more, 50, 0 and 255; the cells begin with the fourth.
  const Coefficients all = {{28090, 0},    {0, -30000}, {30000.01, 0},
                            {-3000, 4000}, {0, 0},      {25500, 0}};
  Bytes cells(6, 0xEE);
  rastelo::DrawMagnitudes(all.data(), 6, 1, cells.data());
  EXPECT_EQ(cells, (Bytes{50, 0, 255, 255, 255, 255}));
  const std::tuple<double, Bytes, Bytes> cases[] = {
      {INFINITY, {1, 1, 1, 1, 1, 1}, {50, 0, 255, 24, 44, 44}},
      {300.0, {1, 1, 0, 1, 1, 1}, {50, 0, 255, 24, 44, 0}},
      {280.9, {1, 0, 0, 1, 1, 1}, {50, 0, 255, 24, 0, 0}},
      {49.99, {0, 0, 0, 0, 1, 0}, Bytes(6, 0)},
      {0.0, {0, 0, 0, 0, 1, 0}, Bytes(6, 0)},
      {-1.0, Bytes(6, 0), Bytes(6, 0)},
      {NAN, Bytes(6, 0), Bytes(6, 0)}};
  for (const auto& [limit, stays, map] : cases) {
    Coefficients left = all;
    rastelo::CutMagnitudes(left.data(), 6, 1, limit, cells.data());
    for (std::size_t i = 0; i < all.size(); ++i)
      EXPECT_TRUE(left[i].re == all[i].re * stays[i] && left[i].im == all[i].im * stays[i]) << i;
    EXPECT_EQ(cells, map) << limit;
  }
}

TEST(Frequency, GivesTheMapsWorkedOutByHand) {
  const std::tuple<double, Bytes, Bytes> cases[] = {{0.5, {0, 0, 0, 0}, {15, 5, 251, 241}},
                                                    {1.0, {0, 0, 0, 1}, {40, 30, 20, 10}},
                                                    {NAN, {0, 0, 0, 0}, {0, 0, 0, 0}}};
  for (const auto& [limit, cut, reconstruction] : cases) {
    CRastelo object = ObjectWith({{10, 20}, {30, 40}});
    EXPECT_EQ(object.FFT() + object.FFT(), 2);
    EXPECT_EQ(MapOf(object), (Bytes{0, 0, 0, 1}));
    object.ILPF(limit);
    EXPECT_EQ(MapOf(object), cut) << limit;
    const CRastelo other = object;
    EXPECT_EQ(object.IFFT(), 1);
    EXPECT_EQ(MapOf(object), reconstruction) << limit;
    EXPECT_EQ(MapOf(other), cut) << "a copy keeps its map";
  }
}

TEST(Frequency, DrawsAsDescribedForAllSides) {
  for (int i = 0; i < 17 * 9; ++i) {
    const int w = i % 17 + 1, h = i / 17 == 8 ? w : i / 17 + 1;
    LiteralImage image = Noise(w, h);
    const Coefficients coefs = Transformed(Elements(image), w, h);
    Bytes spectrum(coefs.size(), 0);
    for (int n = 0; n < w * h; ++n) {  // on an odd side, one cell is drawn twice and one is not
      const Complex& z = coefs[std::size_t(h * (n % w) + n / w)];
      const double magnitude = std::sqrt(z.re * z.re + z.im * z.im) / 100.0;
      spectrum[std::size_t(h * Shift(n % w, w) + Shift(n / w, h))] =
          std::uint8_t(std::min(magnitude, 255.0));
    }
    CRastelo object = ObjectWith(image);
    object.FFT();
    EXPECT_EQ(MapOf(object), spectrum) << w << " x " << h;
    object.IFFT();
    const Bytes map = MapOf(object);
    for (int n = 0; w == h && (w & (w - 1)) == 0 && n < w * h; ++n) {
      const int level = image.Pixels().Row(n / w)[n % w];
      const int cell = map[std::size_t(w * Shift(n / w, h) + Shift(n % w, w))];
      EXPECT_TRUE(cell == level || cell == level - 1) << cell << ", " << level;
    }
    EXPECT_EQ(ImageOf(object), image) << "pixels stay";
  }
}

TEST(Frequency, NeedsAMapOfTheCurrentSize) {
  CRastelo object = ObjectWith(Noise(6, 4, 3)), gray = object, empty,
           other = ObjectWith(Noise(4, 4, 4));
  const auto changesNothing = [](CRastelo& o) {
    const auto before = ObjectProbe::Of(o);
    o.ILPF(-1.0);
    EXPECT_EQ(o.IFFT(), 1);
    return ObjectProbe::Of(o) == before && MapOf(o) == Bytes{0xEE};
  };
  EXPECT_TRUE(changesNothing(object)) << "no map";
  gray.RGBImg2Gray();
  EXPECT_EQ(object.FFT() + gray.FFT() + other.FFT(), 3);
  EXPECT_TRUE(changesNothing(other)) << "a depth that no operation knows";
  EXPECT_EQ(ImageOf(object), ImageOf(gray)) << "turned gray";
  EXPECT_EQ(object.GetSpectrum(nullptr), 0);
  object.RotateImage_Dir(1);
  EXPECT_TRUE(changesNothing(object)) << "sizes changed places";
  object.RotateImage_Dir(0);
  EXPECT_EQ(MapOf(object), MapOf(gray)) << "kept";
  object.Close();
  EXPECT_TRUE(changesNothing(object)) << "closed";
  for (CRastelo* none : {&object, &empty}) {
    EXPECT_EQ(none->FFT(), 1);
    none->ILPF(1.0);
    EXPECT_EQ(none->IFFT() + none->GetWidth() + none->GetHeight(), 1);
  }
}

TEST(Frequency, RunsOutOfMemoryWithoutAChange) {
  for (int i = 0; i < 2 * 2; ++i) {
    bool failed = true;
    for (long successes = 0; failed; ++successes) {
      CRastelo object = ObjectWith(Noise(8, 6));
      if (i / 2 == 1) object.FFT();
      if (i % 2 == 1) object.SetExternalImageBits(Noise(8, 6, 3).bytes.data(), 8, 6, 24);
      const auto before = ObjectProbe::Of(object);
      const Bytes map = MapOf(object);
      failed = false;
      try {
        const allocations::FailAfter fault(successes);
        i / 2 == 1 ? object.IFFT() : object.FFT();
      } catch (const std::bad_alloc&) {
        failed = true;
      }
      EXPECT_TRUE(!failed || (ObjectProbe::Of(object) == before && MapOf(object) == map));
      EXPECT_TRUE(failed || successes > 2) << "memory is taken";
    }
  }
}

}  // namespace
