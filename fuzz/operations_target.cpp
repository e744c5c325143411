#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/scratch_file.h"
#include "fuzz/targets.h"
#include "image/image_view.h"
#include "rastelo.h"
#include "tests/object_probe.h"

namespace {

constexpr int kDepths[] = {8, 8, 24, 24, 0, 1, 16, 32};

int AnyInt(fuzz::Input& input) { return input.Flip() ? input.Take<int>() : input.Between(-4, 300); }

double AnyDouble(fuzz::Input& input) {
  constexpr double kSpecial[] = {0.0, -1.0, 1e300, std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()};
  if (input.Flip()) return input.Pick(kSpecial);
  return input.Between(-200, 400) / 100.0;
}

RECT AnyRect(fuzz::Input& input) {
  return {AnyInt(input), AnyInt(input), AnyInt(input), AnyInt(input)};
}

using Objects = std::array<CRastelo, 3>;

struct Run {
  fuzz::Input& input;
  Objects& objects;
  CRastelo& image;
  rastelo::MemoryDeviceContext& device;
  const ScratchFile& bmp;
  const ScratchFile& jpeg;
  int& searches;  // for thresholds over all sums, each of which costs more than all else together
};

/// Sizes over a million pixels show nothing that smaller ones do not.
bool IsLarge(double width, double height) { return !(width * height < 1 << 20); }

void TakePixels(const Run& run) {
  const int width = run.input.Between(0, 40);
  const int height = run.input.Between(0, 40);
  const int bitCount = run.input.Pick(kDepths);
  std::vector<unsigned char> bits(
      static_cast<std::size_t>(rastelo::Pitch(width, bitCount) * height) + 1);
  for (unsigned char& byte : bits) byte = run.input.Take<unsigned char>();
  run.image.SetExternalImageBits(bits.data(), width, height, bitCount);
}

void Draw(const Run& run) {
  RECT rc = AnyRect(run.input);
  switch (run.input.Between(0, 3)) {
    case 0:
      run.image.DrawImage(&run.device, &rc, AnyInt(run.input), AnyInt(run.input), nullptr);
      break;
    case 1:
      run.image.DrawImage(&run.device, &rc, true);
      break;
    case 2:
      run.image.DrawImage(&run.device, &rc, false);
      break;
    default:
      run.image.DrawImage(&run.device, nullptr, nullptr, nullptr);
  }
}

void Zoom(const Run& run) {
  if (run.input.Flip()) {
    const LONG width = AnyInt(run.input), height = AnyInt(run.input);
    if (IsLarge(width, height) && width < 100'000'000) return;
    run.image.Zoom_Size(width, height);
    return;
  }
  const double factor = AnyDouble(run.input);
  if (IsLarge(run.image.GetWidth() * factor, run.image.GetHeight() * factor) && factor < 100)
    return;
  run.input.Flip() ? run.image.Zoom_In(factor) : run.image.Zoom_Out(factor - 1);
}

void Filter(const Run& run) {
  std::vector<double> entries(49);
  for (double& entry : entries) entry = AnyDouble(run.input);
  switch (run.input.Between(0, 7)) {
    case 0:
      return run.image.Img_Sobel();
    case 1:
      return run.image.ImgTemplateOperator(entries.data(), run.input.Between(-1, 7));
    case 2:
      return run.image.ImgTrans2_0_1(AnyInt(run.input), AnyInt(run.input), AnyInt(run.input));
    case 3:
      return run.image.InverseGray();
    case 4:
      return static_cast<void>(run.image.ImgAverageLight(AnyInt(run.input), 0));
    case 5:
      return static_cast<void>(run.image.ImgAverageLight_V(AnyInt(run.input)));
    case 6:
      return static_cast<void>(
          run.image.ImgGray_Exceed_Probability(AnyInt(run.input), AnyDouble(run.input)));
    default:
      return static_cast<void>(run.image.ImgAverageLight(2, 0));
  }
}

void Segment(const Run& run) {
  const int operation = run.input.Between(0, 6);
  const bool searches = operation >= 2 && operation <= 5;
  if (searches && run.searches-- <= 0) return;
  switch (operation) {
    case 0:
      return run.image.HistogramEqualization();
    case 1:
      return run.image.HistogramEqualization1();
    case 2:
      return run.image.HistogramEqualization2();
    case 3:
      return run.image.HistogramEqualization3();
    case 4:
      return run.image.Segment_Otsu();
    case 5:
      return run.image.Segment_Graphcut();
    default:
      return run.image.Segment_NDHM(AnyInt(run.input));
  }
}

void Frequencies(const Run& run) {
  std::vector<unsigned char> cells(static_cast<std::size_t>(run.image.GetWidth()) *
                                   static_cast<std::size_t>(run.image.GetHeight()));
  switch (run.input.Between(0, 3)) {
    case 0:
      return static_cast<void>(run.image.FFT());
    case 1:
      return static_cast<void>(run.image.IFFT());
    case 2:
      return run.image.ILPF(AnyDouble(run.input));
    default:
      run.image.GetSpectrum(cells.data());
  }
}

void Blocks(const Run& run) {
  const int bits = run.image.IsCanTrans2Gray() ? 24 : 8;
  const int width = run.input.Between(-2, 50), height = run.input.Between(-2, 50);
  std::vector<unsigned char> block(
      static_cast<std::size_t>(rastelo::Pitch(std::max(width, 0), bits) * std::max(height, 0)));
  std::vector<LONG> sums(static_cast<std::size_t>(run.image.GetHeight()));
  switch (run.input.Between(0, 3)) {
    case 0:
      run.image.GetImgBlock(AnyInt(run.input), AnyInt(run.input), width, height, bits,
                            block.data());
      break;
    case 1:
      run.image.ReserveImgBlock(AnyInt(run.input), AnyInt(run.input), AnyInt(run.input),
                                AnyInt(run.input));
      break;
    case 2:
      run.image.ImgProjectionHorizon(sums.data());
      break;
    default:
      run.image.RotateImage_Dir(AnyInt(run.input));
  }
}

void Files(const Run& run) {
  const ScratchFile& file = run.input.Flip() ? run.bmp : run.jpeg;
  switch (run.input.Between(0, 2)) {
    case 0:
      run.image.SaveAs(file.Path());
      break;
    case 1:
      run.image.SaveAs_visible_JPG(run.jpeg.Path());
      break;
    default:
      run.image.OpenImage(file.Path());
  }
}

void Share(const Run& run) {
  CRastelo& other = run.objects[static_cast<std::size_t>(run.input.Between(0, 2))];
  switch (run.input.Between(0, 2)) {
    case 0:
      run.image = other;
      break;
    case 1: {
      const CRastelo copy(other);
      run.image = copy;
      break;
    }
    default:
      run.image.Close();
  }
}

}  // namespace

void fuzz::RunOperations(const std::uint8_t* data, std::size_t size) {
  static const ScratchFile bmp(".op.bmp"), jpeg(".op.jpg");
  rastelo::SetMessageBoxHook([](const char*, const char*) {});
  Input input(data, size);
  Objects objects;
  rastelo::MemoryDeviceContext device(20, 20);
  int searches = input.Between(0, 7) == 0 ? 2 : 0;
  for (int steps = 0; steps < 60 && !input.AtEnd(); ++steps) {
    const Run run{input,   objects, objects[static_cast<std::size_t>(input.Between(0, 2))],
                  device,  bmp,     jpeg,
                  searches};
    const auto loaded = rastelo::ObjectProbe::Of(run.image).loaded;
    constexpr void (*kChanges[])(const Run&) = {Draw, Zoom, Filter, Segment, Frequencies, Blocks};
    constexpr void (*kOpens[])(const Run&) = {TakePixels, TakePixels, Files, Share};
    const bool opens = input.Flip();
    (opens ? input.Pick(kOpens) : input.Pick(kChanges))(run);
    if (!opens && rastelo::ObjectProbe::Of(run.image).loaded != loaded) std::abort();
    for (const CRastelo& object : objects)
      if (!rastelo::ObjectProbe::IsConsistent(object)) std::abort();
    if (run.image.GetWidth() > 4000 || run.image.GetHeight() > 4000) run.image.Close();
  }
}
