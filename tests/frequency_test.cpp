// Fourier transforms, the cut on coefficient size, and the map that shows both.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>

#include "frequency/fourier.h"
#include "frequency/magnitudes.h"
#include "pixels/allocate_array.h"
#include "plain/frequency.h"
#include "testing/object_state.h"
#include "tests/kernel_check.h"

using rastelo::Inside;

namespace {

using Coefficients = std::vector<Complex>;

/// The map of an object, or of none, one cell of 0xEE.
Bytes MapOf(const CRastelo& object) {
  Bytes map(std::size_t(object.GetWidth() * object.GetHeight() + 1), 0xEE);
  if (object.GetSpectrum(map.data()) == 0) return {0xEE};
  EXPECT_EQ(map.back(), 0xEE) << "behind the map";
  map.pop_back();
  return map;
}

TEST(Fourier, FollowsItsDefinition) {
  using Number = std::complex<long double>;
  for (int exponent = 0; exponent < 10; ++exponent) {
    const int count = 1 << exponent;
    Coefficients in, out(std::size_t(count), {NAN, NAN});
    for (int i = 0; i < count; ++i) in.push_back({i * 91 % 256 * 1.0, 99.0 - i * 37 % 199});
    plain::RunTransform(in.data(), out.data(), exponent);
    for (int u = 0; u < count; ++u) {
      Number sum = 0;
      for (int x = 0; x < count; ++x)
        sum += Number(in[x].re, in[x].im) *
               std::polar(1.0L, -2 * std::numbers::pi_v<long double> * (u * x % count) / count);
      ASSERT_LE(std::abs(Number(out[u].re, out[u].im) - sum), count * 1e-13L)
          << u << " of " << count;
    }
  }
  for (int side = 1; side < 5000; ++side) {
    const int power = 1 << rastelo::TransformExponent(side);
    EXPECT_TRUE(power <= side && side < 2 * power) << side;
  }
}

bool SameBits(const Coefficients& a, const Coefficients& b) {
  return a.size() == b.size() && (a.empty() || !std::memcmp(&a[0], &b[0], a.size() * sizeof a[0]));
}

/// Levels, and the same levels as elements, by both ways and on every instruction set.
void ExpectSameTransform(std::int32_t w, std::int32_t h) {
  LiteralImage picture = MakePicture(w, h, 1, w % 3 == 0 ? Content::kFlat : Content::kNoise);
  Coefficients rows;
  for (int i = 0; i < w * h; ++i) rows.push_back({picture.At(i) * 1.0, 0.0});
  const Coefficients elements = rows;
  Coefficients expected(rows.size());
  Bytes map(rows.size());
  plain::TransformPlane(rows.data(), expected.data(), w, h);
  plain::DrawMagnitudes(expected.data(), w, h, map.data());
  const auto factors = rastelo::MakeFourierFactors(rastelo::TransformExponent(std::max(w, h)));
  const rastelo::FourierPlane plane(w, h, factors.get());
  OnEveryTarget([&] {
    // Aligned, so that large ones are stored past the caches.
    const auto store = rastelo::AllocateArray<Complex>(2 * rows.size());
    Complex *ourRows = store.get(), *coefs = ourRows + rows.size();
    Bytes ourMap(map.size(), 0xEE);
    plane.Transform(picture.Pixels(), ourRows, coefs, ourMap.data());
    EXPECT_TRUE(SameBits({ourRows, coefs}, rows)) << w << " x " << h;
    EXPECT_TRUE(SameBits({coefs, coefs + rows.size()}, expected)) << w << " x " << h;
    EXPECT_TRUE(ourMap == map) << w << " x " << h;
    Coefficients inPlace = elements, otherRows(rows.size());
    plane.Transform(inPlace.data(), otherRows.data(), inPlace.data(), nullptr);
    EXPECT_TRUE(SameBits(inPlace, expected) && SameBits(otherRows, rows)) << w << " x " << h;
  });
}

TEST(Fourier, GivesThePlainDefinitionsBits) {
  for (std::int32_t i = 0; i < 20 * 20; ++i) ExpectSameTransform(i % 20 + 1, i / 20 + 1);
  const int sides[][2] = {{32, 32},  {33, 40},  {64, 37},  {130, 70},  {35, 260},   {512, 33},
                          {41, 513}, {4, 1030}, {1030, 3}, {2048, 32}, {1024, 1028}};
  for (const auto& [w, h] : sides) ExpectSameTransform(w, h);
}

TEST(CutMagnitudes, GivesThePlainDefinitionsBits) {
  const double scales[] = {0.0, 1e-200, 0.7, 100.0, 3e4, 1e9, 1e19, 1e25, 1e160, INFINITY, NAN};
  const double limits[] = {-1.0, 0.0, 5.0, 5.0000001, 1499.9999, 1500.0, INFINITY, NAN};
  for (std::int32_t h = 0; h <= 130; ++h) {
    Coefficients all;
    for (std::int32_t i = 0; i < 3 * h; ++i) {  // whole magnitudes and any
      const double scale = scales[i % 7 == 0 ? (i / 7) % 11 : 3 + i % 2];
      all.push_back({scale * (i % 5 ? 3 : 3 + 1e-9 * i), scale * -4.0});
    }
    for (const double limit : limits) {
      Coefficients expected = all;
      Bytes map(all.size());
      plain::CutMagnitudes(expected.data(), 3, h, limit, map.data());
      OnEveryTarget([&] {
        Coefficients left = all;
        Bytes cells(all.size(), 0xEE);
        rastelo::CutMagnitudes(left.data(), 3, h, limit, cells.data());
        EXPECT_TRUE(SameBits(left, expected) && cells == map) << h << ", " << limit;
      });
    }
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
    CRastelo other = object;
    EXPECT_EQ(object.IFFT(), 1);
    EXPECT_EQ(MapOf(object), reconstruction) << limit;
    EXPECT_EQ(MapOf(other), cut) << "a copy keeps its map";
    EXPECT_EQ(other.IFFT(), 1);
    EXPECT_EQ(MapOf(other), reconstruction) << "and its coefficients";
  }
}

TEST(Frequency, KeepsWhatAPlaneTransformGivesAndWhichMapItDrew) {
  CRastelo object = ObjectWith({{10, 20}, {30, 40}});
  object.FFT();
  CRastelo copy = object;
  EXPECT_FALSE(Inside::IsReconstruction(object));
  Complex first[] = {{1, 0}, {3, 0}, {5, 0}, {7000, 0}}, second[4];
  Inside::TransformPlane(object, first, second);
  const rastelo::FrequencyData kept = Inside::Frequencies(object);
  EXPECT_EQ(kept.coefficients[0].re, 7009);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(kept.rows[i].re, first[i].re);
    EXPECT_EQ(kept.coefficients[i].re, second[i].re);
  }
  EXPECT_EQ(MapOf(object), (Bytes{69, 69, 70, 70}));
  EXPECT_EQ(MapOf(copy), (Bytes{0, 0, 0, 1})) << "a copy keeps its own";
  copy = object;
  object.IFFT();
  EXPECT_TRUE(Inside::IsReconstruction(object));
  EXPECT_FALSE(Inside::IsReconstruction(copy));
  copy = object;
  EXPECT_TRUE(Inside::IsReconstruction(copy)) << "copied with its map";
  copy.ILPF(1e9);  // draws the map that both share
  EXPECT_FALSE(Inside::IsReconstruction(object));
}

TEST(Frequency, BringsThePictureBackWithQuadrantsExchanged) {
  for (int i = 0; i < 17 * 17; ++i) {
    const int w = i % 17 + 1, h = i / 17 + 1;
    LiteralImage image = Noise(w, h);
    CRastelo object = ObjectWith(image);
    EXPECT_EQ(object.FFT() + object.IFFT(), 2);
    const Bytes map = MapOf(object);
    EXPECT_EQ(ImageOf(object), image) << "pixels stay";
    for (int n = 0; w == h && (w & (w - 1)) == 0 && n < w * h; ++n) {
      const int cell = map[std::size_t(w * ((n / w + h / 2) % h) + (n % w + w / 2) % w)];
      EXPECT_TRUE(cell == image.At(n) || cell == image.At(n) - 1) << image;
    }
  }
}

TEST(Frequency, NeedsAMapOfTheCurrentSize) {
  const LiteralImage colours = Noise(6, 4, 3);
  CRastelo object = ObjectWith(colours), gray = object, other = ObjectWith(Noise(4, 4, 4)), empty;
  const auto changesNothing = [](CRastelo& o) {
    const auto before = ObjectState(o);
    o.ILPF(-1.0);
    return o.IFFT() == 1 && ObjectState(o) == before && MapOf(o) == Bytes{0xEE};
  };
  EXPECT_TRUE(changesNothing(object)) << "no map";
  gray.RGBImg2Gray();
  EXPECT_EQ(object.FFT() + gray.FFT() + other.FFT() + empty.FFT() + empty.IFFT(), 5);
  EXPECT_TRUE(changesNothing(other)) << "a depth that no operation knows";
  EXPECT_EQ(ImageOf(object), ImageOf(gray)) << "converted to gray";
  for (const auto& [w, h] : {std::pair(7, 4), {6, 5}, {4, 6}, {0, 4}}) {
    object.Zoom_Size(w, h);
    EXPECT_TRUE(changesNothing(object)) << w << " x " << h;
    object.Zoom_Size(6, 4);
    EXPECT_EQ(MapOf(object), MapOf(gray)) << "kept";
  }
  EXPECT_EQ(object.GetSpectrum(nullptr), 0);
  object.Close();
  EXPECT_TRUE(changesNothing(object)) << "closed";
  EXPECT_EQ(object.FFT(), 1);
}

}  // namespace
