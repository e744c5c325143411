#include "fuzz/targets.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <random>
#include <span>

#include "rastelo_device.h"
#include "testing/object_state.h"

namespace {

/// Values read off the front of an input, one after the other; zeros behind its end.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

  bool AtEnd() const { return bytes_.empty(); }

  /// A value of any bits.
  template <class Number>
  Number Take() {
    Number number{};
    const std::size_t count = bytes_.size() < sizeof number ? bytes_.size() : sizeof number;
    std::memcpy(&number, bytes_.data(), count);
    bytes_ = bytes_.subspan(count);
    return number;
  }
  bool Flip() { return (Take<std::uint8_t>() & 1) != 0; }
  /// A whole number from `low` to `high`, at most 65,536 of them.
  int Between(int low, int high) { return low + Take<std::uint16_t>() % (high - low + 1); }
  template <class Value, std::size_t kCount>
  Value OneOf(const Value (&values)[kCount]) {
    return values[std::size_t(Between(0, int(kCount) - 1))];
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

/// A file of this process, in memory where the system has a place for that, for libraries that
/// open paths.
class ScratchFile {
 public:
  /// `ending` is the file's extension.
  explicit ScratchFile(const char* ending) {
    std::filesystem::path folder = "/dev/shm";
    if (!exists(folder)) folder = std::filesystem::temp_directory_path();
    path_ = (folder / ("rastelo_fuzz_" + std::to_string(std::random_device()()) + ending)).string();
  }
  ~ScratchFile() { std::remove(path_.c_str()); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const char* Path() const { return path_.c_str(); }

 private:
  std::string path_;
};

const unsigned char kPixels[] = {1, 2, 3, 4, 5, 6, 7, 8};

/// Opens a file over an image that is there already, and checks what the object holds afterwards.
void Open(const ScratchFile& file, bool keepsOnFailure) {
  const HookRecorder hooks;
  CRastelo image;
  image.SetExternalImageBits(kPixels, 4, 2, 8);
  const bool opened = image.OpenImage(file.Path()) != 0;
  if (!IsConsistent(image)) std::abort();
  const auto state = ObjectState(image);
  if (opened && (state.pixels.size() != state.loaded.size() || state.width < 1 || state.height < 1))
    std::abort();
  if (!opened && (state.loaded.size() != 8 || (keepsOnFailure && state.pixels.size() != 8)))
    std::abort();
  image.RGBImg2Gray();
  image.RotateImage_Dir(1);
  image.Close();
}

/// Any value, or one that is close to the device.
int Number(Input& input) { return input.Flip() ? input.Take<int>() : input.Between(-20, 40); }

int AnyInt(Input& input) { return input.Flip() ? input.Take<int>() : input.Between(-4, 300); }

double AnyDouble(Input& input) {
  constexpr double kSpecial[] = {0.0, -1.0, 1e300, INFINITY, NAN};
  if (input.Flip()) return input.OneOf(kSpecial);
  return input.Between(-200, 400) / 100.0;
}

struct Run {
  Input& input;
  CRastelo (&objects)[3];
  CRastelo& image;
  TestDevice& device;
  const char *bmp, *jpeg;  // paths
  int& searches;  // for thresholds over all sums, each of which costs more than all else together
};

/// Sizes over 65,536 pixels show nothing that smaller ones do not.
bool IsLarge(double width, double height) { return !(width * height < 1 << 16); }

void TakePixels(const Run& run) {
  const int width = run.input.Between(0, 40), height = run.input.Between(0, 40);
  const int bitCount = run.input.OneOf({8, 8, 24, 24, 0, 1, 16, 32});
  std::vector<unsigned char> bits(std::size_t(rastelo::Pitch(width, bitCount) * height) + 1);
  for (unsigned char& byte : bits) byte = run.input.Take<unsigned char>();
  run.image.SetExternalImageBits(bits.data(), width, height, bitCount);
}

using Operation = void (*)(const Run&);

void Draw(const Run& run) {
  RECT rc{AnyInt(run.input), AnyInt(run.input), AnyInt(run.input), AnyInt(run.input)};
  const int kind = run.input.Between(0, 3);
  const HDC hdc = run.device.Handle();
  if (kind == 0) run.image.DrawImage(hdc, &rc, AnyInt(run.input), AnyInt(run.input), nullptr);
  if (kind == 1 || kind == 2) run.image.DrawImage(hdc, &rc, kind == 1);
  if (kind == 3) run.image.DrawImage(hdc, nullptr, nullptr, nullptr);
}

void Zoom(const Run& run) {
  if (run.input.Flip()) {
    const LONG width = AnyInt(run.input), height = AnyInt(run.input);
    if (!IsLarge(width, height) || width >= 100'000'000) run.image.Zoom_Size(width, height);
    return;
  }
  const double factor = AnyDouble(run.input);
  if (IsLarge(run.image.GetWidth() * factor, run.image.GetHeight() * factor) && factor < 100)
    return;
  run.input.Flip() ? run.image.Zoom_In(factor) : run.image.Zoom_Out(factor - 1);
}

void Filter(const Run& run) {
  double entries[49];
  for (double& entry : entries) entry = AnyDouble(run.input);
  CRastelo& image = run.image;
  const int kind = run.input.Between(0, 7);
  if (kind == 0) image.Img_Sobel();
  if (kind == 1) image.ImgTemplateOperator(entries, run.input.Between(-1, 7));
  if (kind == 2) image.ImgTrans2_0_1(AnyInt(run.input), AnyInt(run.input), AnyInt(run.input));
  if (kind == 3) image.InverseGray();
  if (kind == 4) image.ImgAverageLight(AnyInt(run.input), 0);
  if (kind == 5) image.ImgAverageLight_V(AnyInt(run.input));
  if (kind == 6) image.ImgGray_Exceed_Probability(AnyInt(run.input), AnyDouble(run.input));
  if (kind == 7) image.ImgAverageLight(2, 0);
}

void Segment(const Run& run) {
  const int kind = run.input.Between(0, 6);
  if (kind == 0) run.image.HistogramEqualization();
  if (kind == 1) run.image.HistogramEqualization1();
  if (kind == 6) run.image.Segment_NDHM(AnyInt(run.input));
  if (kind < 2 || kind > 5 || run.searches-- <= 0) return;
  if (kind == 2) run.image.HistogramEqualization2();
  if (kind == 3) run.image.HistogramEqualization3();
  if (kind == 4) run.image.Segment_Otsu();
  if (kind == 5) run.image.Segment_Graphcut();
}

void Frequencies(const Run& run) {
  std::vector<unsigned char> cells(std::size_t(run.image.GetWidth()) *
                                   std::size_t(run.image.GetHeight()));
  const int kind = run.input.Between(0, 3);
  if (kind == 0) run.image.FFT();
  if (kind == 1) run.image.IFFT();
  if (kind == 2) run.image.ILPF(AnyDouble(run.input));
  if (kind == 3) run.image.GetSpectrum(cells.data());
}

void Blocks(const Run& run) {
  const int width = run.input.Between(-2, 50), height = run.input.Between(-2, 50);
  const int kind = run.input.Between(0, 3), bits = run.image.IsCanTrans2Gray() ? 24 : 8;
  std::vector<unsigned char> block(
      std::size_t(rastelo::Pitch(std::max(width, 0), bits) * std::max(height, 0)));
  std::vector<LONG> sums(std::size_t(run.image.GetHeight()));
  if (kind == 2) run.image.ImgProjectionHorizon(sums.data());
  if (kind == 3) run.image.RotateImage_Dir(AnyInt(run.input));
  if (kind >= 2) return;
  const int left = AnyInt(run.input), top = AnyInt(run.input);
  if (kind == 0) run.image.GetImgBlock(left, top, width, height, bits, block.data());
  if (kind == 1) run.image.ReserveImgBlock(left, top, AnyInt(run.input), AnyInt(run.input));
}

void Files(const Run& run) {
  const char* path = run.input.Flip() ? run.bmp : run.jpeg;
  const int kind = run.input.Between(0, 2);
  if (kind == 0) run.image.SaveAs(path);
  if (kind == 1) run.image.SaveAs_visible_JPG(run.jpeg);
  if (kind == 2) run.image.OpenImage(path);
}

void Share(const Run& run) {
  const CRastelo& other = run.objects[run.input.Between(0, 2)];
  const int kind = run.input.Between(0, 2);
  if (kind == 0) run.image = other;
  if (kind == 1) run.image = CRastelo(other);
  if (kind == 2) run.image.Close();
}

}  // namespace

void fuzz::OpenBmp(const std::uint8_t* data, std::size_t size) {
  static const ScratchFile file(".bmp");
  WriteFile(file.Path(), {data, data + size});
  Open(file, true);
  if (size >= 40) GetPaletteSize(data);
}

void fuzz::OpenJpeg(const std::uint8_t* data, std::size_t size) {
  static const ScratchFile file(".jpg");
  WriteFile(file.Path(), {data, data + size});
  CRastelo image;
  LONG width = 0, height = 0;
  int bitCount = 0;
  // Very large pictures only cost time here: the coder's own memory is the codec's affair.
  if (image.GetSizeJPG(file.Path(), &width, &height, &bitCount) &&
      width * std::int64_t{height} > 1 << 22)
    return;
  Open(file, false);
}

void fuzz::DrawOnDevice(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  rastelo::MemoryDeviceContext device(input.Between(-1, 33), input.Between(-1, 33));
  for (int draws = 0; draws < 20 && !input.AtEnd(); ++draws) {
    const int width = input.Between(0, 9), height = input.Between(0, 9);
    const int bitCount = input.OneOf({8, 24, 1, 32});
    std::vector<unsigned char> bits(std::size_t(rastelo::Pitch(width, bitCount) * height));
    BITMAPINFO* info = BuildBitmapInfo(width, height, WORD(bitCount));
    if (input.Between(0, 9) == 0) info->bmiHeader.biHeight = Number(input);
    // Heights beyond the rows that there are would be the host's own fault.
    if (info->bmiHeader.biHeight > height) info->bmiHeader.biHeight = height;
    int n[8];
    for (int& number : n) number = Number(input);
    device.SetStretchBltMode(Number(input));
    // A stretch of a side of 2^31 pixels to few is read in full by the averaging modes.
    if (input.Flip()) {
      device.StretchDIBits(n[0], n[1], n[2], n[3], n[4], n[5], n[6], n[7], bits.data(), info,
                           DIB_RGB_COLORS, SRCCOPY);
    } else {
      const auto first = UINT(input.Between(0, height));
      device.SetDIBitsToDevice(
          n[0], n[1], DWORD(n[2]), DWORD(n[3]), n[4], n[5], first, UINT(height) - first,
          bits.data() + rastelo::Pitch(width, bitCount) * first, info, DIB_RGB_COLORS);
    }
  }
}

void fuzz::RunOperations(const std::uint8_t* data, std::size_t size) {
  const ScratchFile bmp(".op.bmp"), jpeg(".op.jpg");  // gone before the next input
  const HookRecorder hooks;
  Input input(data, size);
  CRastelo objects[3];
  TestDevice device(20, 20);
  // One input in eight may search. All of its bytes say so, which no kept input passes on.
  int searches = std::accumulate(data, data + size, 0) % 8 == 0 ? 2 : 0;
  constexpr Operation kChanges[] = {Draw, Zoom, Filter, Segment, Frequencies, Blocks};
  constexpr Operation kOpens[] = {TakePixels, TakePixels, Files, Share};
  for (int steps = 0; steps < 60 && !input.AtEnd(); ++steps) {
    CRastelo& image = objects[input.Between(0, 2)];
    const Run run{input, objects, image, device, bmp.Path(), jpeg.Path(), searches};
    const auto loaded = ObjectState(image).loaded;
    const bool opens = input.Flip();
    (opens ? input.OneOf(kOpens) : input.OneOf(kChanges))(run);
    if (!opens && ObjectState(image).loaded != loaded) std::abort();
    for (const CRastelo& object : objects)
      if (!IsConsistent(object)) std::abort();
    if (image.GetWidth() > 4000 || image.GetHeight() > 4000) image.Close();
  }
}
