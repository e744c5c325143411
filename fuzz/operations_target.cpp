#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/scratch_file.h"
#include "fuzz/targets.h"
#include "pixels/image_view.h"
#include "rastelo.h"
#include "testing/host.h"
#include "testing/object_state.h"

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
  TestDevice& device;
  const char *bmp, *jpeg;  // paths
  int& searches;  // for thresholds over all sums, each of which costs more than all else together
};

/// Sizes over 65,536 pixels show nothing that smaller ones do not.
bool IsLarge(double width, double height) { return !(width * height < 1 << 16); }

void TakePixels(const Run& run) {
  const int width = run.input.Between(0, 40);
  const int height = run.input.Between(0, 40);
  const int bitCount = run.input.Pick(kDepths);
  std::vector<unsigned char> bits(
      static_cast<std::size_t>(rastelo::Pitch(width, bitCount) * height) + 1);
  for (unsigned char& byte : bits) byte = run.input.Take<unsigned char>();
  run.image.SetExternalImageBits(bits.data(), width, height, bitCount);
}

using Operation = void (*)(const Run&);

void Draw(const Run& run) {
  RECT rc = AnyRect(run.input);
  const int kind = run.input.Between(0, 3);
  if (kind == 0)
    run.image.DrawImage(run.device.Handle(), &rc, AnyInt(run.input), AnyInt(run.input), nullptr);
  else if (kind == 3)
    run.image.DrawImage(run.device.Handle(), nullptr, nullptr, nullptr);
  else
    run.image.DrawImage(run.device.Handle(), &rc, kind == 1);
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
  std::array<double, 49> entries;
  for (double& entry : entries) entry = AnyDouble(run.input);
  using Filter = void (*)(const Run&, double*);
  constexpr Filter kFilters[] = {
      [](const Run& r, double*) { r.image.Img_Sobel(); },
      [](const Run& r, double* e) { r.image.ImgTemplateOperator(e, r.input.Between(-1, 7)); },
      [](const Run& r, double*) {
        r.image.ImgTrans2_0_1(AnyInt(r.input), AnyInt(r.input), AnyInt(r.input));
      },
      [](const Run& r, double*) { r.image.InverseGray(); },
      [](const Run& r, double*) { r.image.ImgAverageLight(AnyInt(r.input), 0); },
      [](const Run& r, double*) { r.image.ImgAverageLight_V(AnyInt(r.input)); },
      [](const Run& r, double*) {
        r.image.ImgGray_Exceed_Probability(AnyInt(r.input), AnyDouble(r.input));
      },
      [](const Run& r, double*) { r.image.ImgAverageLight(2, 0); }};
  run.input.Pick(kFilters)(run, entries.data());
}

void Segment(const Run& run) {
  constexpr Operation kOperations[] = {[](const Run& r) { r.image.HistogramEqualization(); },
                                       [](const Run& r) { r.image.HistogramEqualization1(); },
                                       [](const Run& r) { r.image.HistogramEqualization2(); },
                                       [](const Run& r) { r.image.HistogramEqualization3(); },
                                       [](const Run& r) { r.image.Segment_Otsu(); },
                                       [](const Run& r) { r.image.Segment_Graphcut(); },
                                       [](const Run& r) { r.image.Segment_NDHM(AnyInt(r.input)); }};
  const int operation = run.input.Between(0, 6);
  const bool searches = operation >= 2 && operation <= 5;
  if (!searches || run.searches-- > 0) kOperations[operation](run);
}

void Frequencies(const Run& run) {
  constexpr Operation kOperations[] = {
      [](const Run& r) { r.image.FFT(); }, [](const Run& r) { r.image.IFFT(); },
      [](const Run& r) { r.image.ILPF(AnyDouble(r.input)); },
      [](const Run& r) {
        std::vector<unsigned char> cells(static_cast<std::size_t>(r.image.GetWidth()) *
                                         static_cast<std::size_t>(r.image.GetHeight()));
        r.image.GetSpectrum(cells.data());
      }};
  run.input.Pick(kOperations)(run);
}

void CutBlock(const Run& run, int width, int height) {
  const int bits = run.image.IsCanTrans2Gray() ? 24 : 8;
  std::vector<unsigned char> block(
      static_cast<std::size_t>(rastelo::Pitch(std::max(width, 0), bits) * std::max(height, 0)));
  const int left = AnyInt(run.input), top = AnyInt(run.input);
  run.image.GetImgBlock(left, top, width, height, bits, block.data());
}

void Blocks(const Run& run) {
  const int width = run.input.Between(-2, 50), height = run.input.Between(-2, 50);
  const int kind = run.input.Between(0, 3);
  if (kind == 0) return CutBlock(run, width, height);
  if (kind == 3) return run.image.RotateImage_Dir(AnyInt(run.input));
  if (kind == 1) {
    const RECT rc = AnyRect(run.input);
    run.image.ReserveImgBlock(rc.left, rc.top, rc.right, rc.bottom);
  } else {
    std::vector<LONG> sums(static_cast<std::size_t>(run.image.GetHeight()));
    run.image.ImgProjectionHorizon(sums.data());
  }
}

void Files(const Run& run) {
  const char* path = run.input.Flip() ? run.bmp : run.jpeg;
  const int kind = run.input.Between(0, 2);
  if (kind == 0) run.image.SaveAs(path);
  if (kind == 1) run.image.SaveAs_visible_JPG(run.jpeg);
  if (kind == 2) run.image.OpenImage(path);
}

void Share(const Run& run) {
  const CRastelo& other = run.objects[static_cast<std::size_t>(run.input.Between(0, 2))];
  const int kind = run.input.Between(0, 2);
  if (kind == 0) run.image = other;
  if (kind == 1) run.image = CRastelo(other);
  if (kind == 2) run.image.Close();
}

}  // namespace

void fuzz::RunOperations(const std::uint8_t* data, std::size_t size) {
  const ScratchFile bmp(".op.bmp"), jpeg(".op.jpg");  // gone before the next input
  const HookRecorder hooks;
  Input input(data, size);
  Objects objects;
  TestDevice device(20, 20);
  // One input in eight may search. All of its bytes say so, which no kept input passes on.
  int searches = std::accumulate(data, data + size, 0) % 8 == 0 ? 2 : 0;
  constexpr Operation kChanges[] = {Draw, Zoom, Filter, Segment, Frequencies, Blocks};
  constexpr Operation kOpens[] = {TakePixels, TakePixels, Files, Share};
  for (int steps = 0; steps < 60 && !input.AtEnd(); ++steps) {
    CRastelo& image = objects[static_cast<std::size_t>(input.Between(0, 2))];
    const Run run{input, objects, image, device, bmp.Path(), jpeg.Path(), searches};
    const auto loaded = ObjectState(image).loaded;
    const bool opens = input.Flip();
    (opens ? input.Pick(kOpens) : input.Pick(kChanges))(run);
    if (!opens && ObjectState(image).loaded != loaded) std::abort();
    for (const CRastelo& object : objects)
      if (!IsConsistent(object)) std::abort();
    if (image.GetWidth() > 4000 || image.GetHeight() > 4000) image.Close();
  }
}
