// One line for each operation: its name, and a hash of everything that it makes of some pictures.
//
//     rastelo_digest
//     rastelo_digest [--targets] FILE
//
// With FILE, prints the lines that are not in it, and the instruction set that was used; the exit
// code is 1 if the lines are not those of the file. With --targets, that is done with each
// instruction set that this machine has. JPEG files are left out: their bytes are those of
// libjpeg-turbo.
#include <hwy/highway.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "filter/convolve.h"
#include "filter/edges.h"
#include "geometry/shrink.h"
#include "platform/device_context.h"
#include "segment/graph_cut.h"
#include "segment/threshold.h"
#include "testing/object_state.h"

namespace {

using rastelo::Inside;

/// Fowler, Noll and Vo's hash of 64 bits, variant 1a.
class Digest {
 public:
  void Add(const void* bytes, std::size_t count) {
    const auto* byte = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < count; ++i) hash_ = (hash_ ^ byte[i]) * 0x100000001B3u;
  }
  void Add(const auto& numbers) { Add(numbers.data(), numbers.size() * sizeof numbers[0]); }
  /// Size, depth and pixels, without the bytes behind each row.
  void Add(const CRastelo& image) {
    const int pixelBytes = image.IsCanTrans2Gray() ? 3 : 1;
    Add(std::vector<LONG>{image.GetWidth(), image.GetHeight(), pixelBytes});
    for (LONG y = 0; y < image.GetHeight(); ++y)
      Add(Inside::Pixels(image).Row(y), std::size_t(image.GetWidth() * pixelBytes));
  }
  std::uint64_t Value() const { return hash_; }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325u;
};

/// Soft shapes under some noise, and the key colour here and there.
CRastelo MakePicture(LONG width, LONG height, int pixelBytes) {
  LiteralImage picture(width, height, pixelBytes);
  std::uint32_t grain = 1;
  for (LONG i = 0; i < width * height * pixelBytes; ++i) {
    const LONG plane = i % pixelBytes, x = i / pixelBytes % width, y = i / pixelBytes / width;
    grain = grain * 1664525u + 1013904223u;
    const auto shape = std::uint32_t((x * x / 40 + y * y / 30 + 50 * plane) % 256);
    const std::uint32_t level = (shape * 7 + (grain >> 24)) / 8;
    const bool isKey = pixelBytes == 3 && (x + y) % 11 == 0;
    picture.At(x * pixelBytes + plane, y) = std::uint8_t(!isKey ? level : plane == 1 ? 0 : 255);
  }
  return ObjectWith(picture);
}

void AddSpectrum(const CRastelo& image, Digest& digest) {
  const ObjectState state(image);
  digest.Add(state.map);
  digest.Add(state.coefficients);
}

void CountHistogram(CRastelo& image, Digest& digest) {
  std::vector<LONG> counts(3 * 256);
  image.HistogramStatic(&counts[0], &counts[256], &counts[512]);
  digest.Add(counts);
}

void CopyBlocks(CRastelo& image, Digest& digest) {
  std::vector<unsigned char> block(64 * 40);
  const int bits = image.IsCanTrans2Gray() ? 24 : 8;
  for (const int place : {-3, 0, 5, 30}) image.GetImgBlock(place, place, 19, 31, bits, &block[0]);
  digest.Add(block);
}

void SumRows(CRastelo& image, Digest& digest) {
  std::vector<LONG> sums(std::size_t(image.GetHeight()));
  image.ImgProjectionHorizon(sums.data());
  digest.Add(sums);
}

void SearchThresholds(CRastelo& image, Digest& digest) {
  int found[16];
  std::fill_n(found, 16, -1);
  for (int i = 0; i < 8; ++i) {
    Inside::SearchOtsu(image, i * 30, 255, &found[i]);
    Inside::SearchNdhm(image, i * i, &found[8 + i]);
  }
  digest.Add(found, sizeof found);
}

void SumAffinities(CRastelo& image, Digest& digest) {
  if (image.IsCanTrans2Gray()) return;
  const auto table = std::make_unique<rastelo::AffinityTable>();
  rastelo::SumAffinities(Inside::Pixels(image), *table);
  digest.Add(table.get(), sizeof *table);
  digest.Add(std::vector<int>{rastelo::FindGraphCutThreshold(*table)});
}

template <int kSide>
void ApplyTemplates(CRastelo& image, Digest& digest) {
  // Edges, a soft sum of ninths, and entries whose products lie close to whole numbers.
  for (int kind = 0; kind < 3; ++kind) {
    std::vector<double> entries;
    for (int i = 0; i < kSide * kSide; ++i)
      entries.push_back(kind == 0 ? i % 5 - 2 : kind == 1 ? 1.0 / 9 : (i % 7 - 2) * 0.29);
    CRastelo copy = MakePicture(image.GetWidth(), image.GetHeight(), 1);
    copy.ImgTemplateOperator(entries.data(), kSide);
    digest.Add(copy);
  }
}

void MeasureExceeding(CRastelo& image, Digest& digest) {
  for (int level = -1; level < 256; ++level) {
    const unsigned char exceeds = image.ImgGray_Exceed_Probability(level, level / 256.0);
    digest.Add(&exceeds, 1);
  }
}

void CutAndInvert(CRastelo& image, Digest& digest) {
  for (const double limit : {300.0, 80.0, 20.0}) {
    image.FFT();
    image.ILPF(limit);
    AddSpectrum(image, digest);
    image.IFFT();
    AddSpectrum(image, digest);
  }
}

void SaveAndOpen(CRastelo& image, Digest& digest) {
  const char* path = "rastelo_digest.bmp";
  image.SaveAs(path);
  digest.Add(ReadFile(path));
  image.OpenImage(path);
  std::remove(path);
}

void Draw(CRastelo& image, Digest& digest) {
  TestDevice device(90, 75);
  for (const int mode : {BLACKONWHITE, WHITEONBLACK, COLORONCOLOR}) {
    RECT left = {-5, 3, 41, 60}, right = {41, 10, 88, 70};
    rastelo::platform::SetStretchBltMode(device.Handle(), mode);
    image.DrawImage(device.Handle(), &left, mode, 3 - mode, nullptr);
    image.DrawImage(device.Handle(), &right, true);
    for (int i = 0; i < 90 * 75; ++i) digest.Add(device.Surface() + 4 * i, 3);
  }
}

/// What work makes of a picture, at another size of the same depth.
void AddTarget(const CRastelo& image, LONG width, LONG height, auto work, Digest& digest) {
  const int pixelBytes = image.IsCanTrans2Gray() ? 3 : 1;
  LiteralImage target(width, height, pixelBytes);
  work(Inside::Pixels(image), pixelBytes, target.Pixels());
  for (LONG y = 0; y < height; ++y) digest.Add(&target.At(0, y), std::size_t(width * pixelBytes));
}

void DetectEdges(CRastelo& image, Digest& digest) {
  image.RGBImg2Gray();
  AddTarget(
      image, image.GetWidth(), image.GetHeight(),
      [](auto source, int, auto target) { rastelo::DetectEdges(source, target); }, digest);
}

void Convolve(CRastelo& image, Digest& digest) {
  for (const int size : {1, 3, 5, 7, 11})
    for (int kind = 0; kind < 4; ++kind) {
      std::vector<double> entries;
      // Whole numbers, tenths whose sums are often halves, any weights, numbers of all sizes.
      for (int i = 0; i < size * size; ++i)
        entries.push_back(kind == 0   ? i % 5 - 2
                          : kind == 1 ? 0.1
                          : kind == 2 ? (i % 7 - 2) * 0.0137
                                      : (i % 3 - 1) * 1e6 + i * 1e-3);
      AddTarget(
          image, image.GetWidth(), image.GetHeight(),
          [&](auto source, int pixelBytes, auto target) {
            rastelo::Convolve(source, pixelBytes, entries, size, target);
          },
          digest);
    }
}

void ShrinkByArea(CRastelo& image, Digest& digest) {
  const LONG width = image.GetWidth(), height = image.GetHeight();
  for (const LONG of : {1, 2, 3, 4, 7, 50})
    for (const LONG less : {0, 1})
      AddTarget(image, std::max<LONG>(width / of - less, 1), std::max<LONG>(height / of - less, 1),
                rastelo::ShrinkByArea, digest);
}

void FindThresholds(CRastelo& image, Digest& digest) {
  if (image.IsCanTrans2Gray()) return;
  using enum rastelo::ThresholdSearch;
  for (const auto search : {kOtsu, kGraphCut})
    digest.Add(
        std::vector<int>{rastelo::FindThreshold(Inside::Pixels(image), search).value_or(-1)});
}

constexpr struct {
  const char* name;
  void (*run)(CRastelo&, Digest&);
} kOperations[] = {
    {"take_pixels", [](CRastelo&, Digest&) {}},
    {"save_and_open_bmp", SaveAndOpen},
    {"draw", Draw},
    {"gray", [](CRastelo& o, Digest&) { o.RGBImg2Gray(); }},
    {"rotate_left", [](CRastelo& o, Digest&) { o.RotateImage_Dir(1); }},
    {"rotate_right", [](CRastelo& o, Digest&) { o.RotateImage_Dir(0); }},
    {"zoom_2", [](CRastelo& o, Digest&) { o.Zoom_In(2.0); }},
    {"zoom_1.37", [](CRastelo& o, Digest&) { o.Zoom_Out(0.37); }},
    {"zoom_0.73", [](CRastelo& o, Digest&) { o.Zoom_In(0.73); }},
    {"zoom_0.5", [](CRastelo& o, Digest&) { o.Zoom_In(0.5); }},
    {"zoom_to_size", [](CRastelo& o, Digest&) { o.Zoom_Size(77, 33); }},
    {"copy_block", CopyBlocks},
    {"keep_block", [](CRastelo& o, Digest&) { o.ReserveImgBlock(3, 2, 20, 25); }},
    {"row_sums", SumRows},
    {"histogram", CountHistogram},
    {"equalize", [](CRastelo& o, Digest&) { o.HistogramEqualization(); }},
    {"equalize_1", [](CRastelo& o, Digest&) { o.HistogramEqualization1(); }},
    {"equalize_2", [](CRastelo& o, Digest&) { o.HistogramEqualization2(); }},
    {"equalize_3", [](CRastelo& o, Digest&) { o.HistogramEqualization3(); }},
    {"thresholds", SearchThresholds},
    {"affinities", SumAffinities},
    {"segment_otsu", [](CRastelo& o, Digest&) { o.Segment_Otsu(); }},
    {"segment_graph_cut", [](CRastelo& o, Digest&) { o.Segment_Graphcut(); }},
    {"segment_ndhm", [](CRastelo& o, Digest&) { o.Segment_NDHM(3); }},
    {"sobel", [](CRastelo& o, Digest&) { o.Img_Sobel(); }},
    {"template_1", ApplyTemplates<1>},
    {"template_3", ApplyTemplates<3>},
    {"template_5", ApplyTemplates<5>},
    {"template_7", ApplyTemplates<7>},
    {"push", [](CRastelo& o, Digest&) { o.ImgTrans2_0_1(100, 1, 1); }},
    {"invert", [](CRastelo& o, Digest&) { o.InverseGray(); }},
    {"exceeds", MeasureExceeding},
    {"even_light", [](CRastelo& o, Digest&) { o.ImgAverageLight_V(230); }},
    {"even_light_repeatedly", [](CRastelo& o, Digest&) { o.ImgAverageLight(2, 0); }},
    {"edges", DetectEdges},
    {"convolve", Convolve},
    {"shrink", ShrinkByArea},
    {"find_threshold", FindThresholds},
    {"fft", [](CRastelo& o, Digest& d) { o.FFT(), AddSpectrum(o, d); }},
    {"cut_and_ifft", CutAndInvert},
};

std::vector<std::string> MakeLines() {
  constexpr LONG kSizes[][2] = {{64, 64}, {128, 32}, {61, 47}, {203, 131}, {1, 5}, {16384, 2}};
  std::vector<std::string> lines;
  for (const auto& operation : kOperations) {
    Digest digest;
    for (const auto& [width, height] : kSizes)
      for (const int pixelBytes : {1, 3}) {
        CRastelo image = MakePicture(width, height, pixelBytes);
        operation.run(image, digest);
        digest.Add(image);
      }
    char hash[17];
    std::snprintf(hash, sizeof hash, "%016llx", static_cast<unsigned long long>(digest.Value()));
    lines.push_back(std::string(operation.name) + ' ' + hash);
  }
  return lines;
}

}  // namespace

int main(int argc, char** argv) {
  const bool everyTarget = argc > 1 && argv[1] == std::string("--targets");
  const char* file = argc > 1 + everyTarget ? argv[1 + everyTarget] : nullptr;
  if (!file) {
    for (const std::string& line : MakeLines()) std::puts(line.c_str());
    return 0;
  }
  std::vector<std::string> expected;
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) expected.push_back(line);

  std::vector<std::int64_t> targets = hwy::SupportedAndGeneratedTargets();
  if (!everyTarget) targets.resize(1);  // the best
  bool same = true;
  std::string names;
  for (const std::int64_t target : targets) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().DeInit();
    names += names.empty() ? "" : " ";
    names += hwy::TargetName(target);
    const std::vector<std::string> lines = MakeLines();
    same = same && lines == expected;
    for (const std::string& line : lines)
      if (std::find(expected.begin(), expected.end(), line) == expected.end())
        std::printf("%s: %s\n", hwy::TargetName(target), line.c_str());
  }
  std::puts(names.c_str());
  return same ? 0 : 1;
}
