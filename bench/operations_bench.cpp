// The operations on gray pixels, each beside its plain definition.
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/peak_memory.h"
#include "bench/plain/filter.h"
#include "bench/plain/frequency.h"
#include "bench/plain/geometry.h"
#include "filter/even_light.h"
#include "filter/invert.h"
#include "filter/push.h"
#include "filter/sobel.h"
#include "filter/template_operator.h"
#include "frequency/fourier.h"
#include "geometry/zoom.h"
#include "image/pixel_store.h"

using namespace rastelo;

namespace {

/// Soft shapes under fine grain, from a quarter of the levels to nearly all.
const PixelStore& Picture(std::int64_t side) {
  static PixelStore picture;
  if (picture.width == side) return picture;
  const auto s = static_cast<std::int32_t>(side);
  picture = PixelStore::Zeroed(s, s, 8);
  unsigned grain = 1;
  for (std::int32_t y = 0; y < s; ++y) {
    for (std::int32_t x = 0; x < s; ++x) {
      grain = grain * 1664525u + 1013904223u;
      picture.Pixels().Row(y)[x] = static_cast<std::uint8_t>(
          30 + (x / 11 + y / 17) % 90 + (x * 5 / s) * 20 + static_cast<int>(grain >> 28));
    }
  }
  return picture;
}

constexpr std::int64_t kSide = 4096;

/// Runs work(pixels) on a fresh copy each time; the copy is not measured.
template <class Work>
void RunInPlace(benchmark::State& state, Work work) {
  const PixelStore picture = Picture(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    const PixelStore copy = picture.Clone();
    state.ResumeTiming();
    work(copy.Pixels());
    benchmark::ClobberMemory();
  }
}

void BM_Zoom(benchmark::State& state, bool isPlain) {
  const PixelStore picture = Picture(kSide);
  const auto side = static_cast<std::int32_t>(state.range(0));
  const PixelStore target = PixelStore::Zeroed(side, side, 8);
  for (auto _ : state) {
    if (isPlain)
      plain::ZoomBilinear(picture.Pixels(), target.Pixels(), 1);
    else
      ZoomBilinear(picture.Pixels(), 1, target.Pixels(), 1);
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(BM_Zoom, ours, false)->Arg(2048)->Arg(6000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Zoom, plain, true)->Arg(2048)->Arg(6000)->Unit(benchmark::kMillisecond);

void BM_Sobel(benchmark::State& state, void (*apply)(ImageView)) { RunInPlace(state, apply); }
BENCHMARK_CAPTURE(BM_Sobel, ours, ApplySobel)->Arg(kSide)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Sobel, plain, plain::ApplySobel)->Arg(kSide)->Unit(benchmark::kMillisecond);

using Template = void (*)(ImageView, const double*, std::int32_t);
void BM_Template(benchmark::State& state, Template apply) {
  const std::vector<double> mean(9, 1.0 / 9);
  RunInPlace(state, [&](ImageView gray) { apply(gray, mean.data(), 3); });
}
BENCHMARK_CAPTURE(BM_Template, ours, ApplyTemplate)->Arg(kSide)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Template, plain, plain::ApplyTemplate)
    ->Arg(kSide)
    ->Unit(benchmark::kMillisecond);

using Push = void (*)(ImageView, int, bool, bool);
void BM_Push(benchmark::State& state, Push push) {
  RunInPlace(state, [&](ImageView gray) { push(gray, 90, true, true); });
}
BENCHMARK_CAPTURE(BM_Push, ours, PushLevels)->Arg(kSide)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Push, plain, plain::PushLevels)->Arg(kSide)->Unit(benchmark::kMillisecond);

void BM_Invert(benchmark::State& state, void (*invert)(ImageView)) { RunInPlace(state, invert); }
BENCHMARK_CAPTURE(BM_Invert, ours, InvertBytes)->Arg(kSide)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Invert, plain, plain::InvertBytes)->Arg(kSide)->Unit(benchmark::kMillisecond);

void EvenColumns(ImageView gray) {
  std::vector<ColumnLight> columns(static_cast<std::size_t>(gray.width));
  MeasureColumns(gray, 255, columns);
  LiftColumns(gray, columns);
}
void BM_EvenLight(benchmark::State& state, void (*even)(ImageView)) { RunInPlace(state, even); }
BENCHMARK_CAPTURE(BM_EvenLight, ours, EvenColumns)->Arg(kSide)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_EvenLight, plain, [](ImageView gray) { plain::EvenColumns(gray, 255); })
    ->Arg(kSide)
    ->Unit(benchmark::kMillisecond);

void BM_TransformPlane(benchmark::State& state, bool isPlain) {
  const int exponent = static_cast<int>(state.range(0)), side = 1 << exponent;
  const std::size_t count = std::size_t{1} << (2 * exponent);
  std::vector<Complex> first(count, {1.0, 0.5}), second(count);
  FourierPlane plane(side, side);
  for (auto _ : state) {
    if (isPlain)
      plain::TransformPlane(first.data(), second.data(), exponent);
    else
      plane.Transform(first.data(), second.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK_CAPTURE(BM_TransformPlane, ours, false)->Arg(11)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TransformPlane, plain, true)->Arg(11)->Unit(benchmark::kMillisecond);

/// What an operation takes at its peak, in bytes a pixel of its result, beside the object it runs
/// on.
void CountPeak(benchmark::State& state, CRastelo& image, int (*work)(CRastelo&)) {
  const double idle = PeakMemory([] {});
  const double peak = PeakMemory([&] { work(image); });
  work(image);
  state.counters["bytes_a_pixel"] =
      (peak - idle) * (1 << 20) / (static_cast<double>(image.GetWidth()) * image.GetHeight());
}

CRastelo ObjectWith(const PixelStore& picture) {
  CRastelo image;
  image.SetExternalImageBits(picture.bits.get(), picture.width, picture.height, picture.bitCount);
  return image;
}

/// A transform of a new object, of one that has been transformed, and the ways back.
void BM_Fft(benchmark::State& state) {
  CRastelo image = ObjectWith(Picture(state.range(0)));
  if (state.range(1) != 0) image.FFT();
  CountPeak(state, image, [](CRastelo& object) { return object.FFT(); });
  for (auto _ : state) image.FFT();
}
BENCHMARK(BM_Fft)->Args({2048, 0})->Args({2048, 1})->Unit(benchmark::kMillisecond);

/// The cut on an object's coefficients, and the way back from them.
void BM_CutAndBack(benchmark::State& state, bool isPlain) {
  const int exponent = static_cast<int>(state.range(0));
  const std::size_t count = std::size_t{1} << (2 * exponent);
  CRastelo image = ObjectWith(Picture(1 << exponent));
  std::vector<Complex> coefficients(count);
  std::vector<std::uint8_t> cells(count);
  for (auto _ : state) {
    state.PauseTiming();
    if (isPlain)
      std::fill(coefficients.begin(), coefficients.end(), Complex{3e4, 1e4});
    else
      image.FFT();
    state.ResumeTiming();
    if (isPlain) {
      plain::CutMagnitudes(coefficients.data(), exponent, 300.0, cells.data());
      plain::InvertPlane(coefficients.data(), exponent, cells.data());
    } else {
      image.ILPF(300.0);
      image.IFFT();
    }
  }
}
BENCHMARK_CAPTURE(BM_CutAndBack, ours, false)->Arg(11)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_CutAndBack, plain, true)->Arg(11)->Unit(benchmark::kMillisecond);

void BM_Exceeds(benchmark::State& state, bool isPlain) {
  const PixelStore picture = Picture(state.range(0));
  CRastelo image = ObjectWith(picture);
  for (auto _ : state)
    benchmark::DoNotOptimize(isPlain ? plain::ExceedsShare(picture.Pixels(), 180, 0.9)
                                     : image.ImgGray_Exceed_Probability(180, 0.9));
}
BENCHMARK_CAPTURE(BM_Exceeds, ours, false)->Arg(kSide)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Exceeds, plain, true)->Arg(kSide)->Unit(benchmark::kMillisecond);

void BM_ZoomObject(benchmark::State& state) {
  CRastelo image = ObjectWith(Picture(state.range(0)));
  CountPeak(state, image, [](CRastelo& object) { return object.Zoom_Size(4000, 4000); });
  for (auto _ : state) image.Zoom_Size(4000, 4000);
}
BENCHMARK(BM_ZoomObject)->Arg(2048)->Unit(benchmark::kMillisecond);

}  // namespace
