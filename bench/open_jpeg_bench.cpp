// Opening a JPEG file, beside the codec alone that decodes it into a buffer.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "bench/peak_memory.h"
#include "image/image_view.h"
#include "rastelo.h"

namespace {

constexpr int kWidth = 4093, kHeight = 3001;

/// A picture file of soft shapes under fine grain, about as hard to decode as a photograph.
const std::string& PictureFile() {
  static const std::string path = [] {
    const auto pitch = static_cast<std::size_t>(rastelo::Pitch(kWidth, 24));
    std::vector<unsigned char> bits(pitch * kHeight);
    unsigned grain = 1;
    for (std::size_t y = 0; y < kHeight; ++y) {
      for (std::size_t i = 0; i < 3 * kWidth; ++i) {
        grain = grain * 1664525u + 1013904223u;
        const std::size_t shape = (i / 3 * (i / 3) / 900 + y * y / 700 + 40 * (i % 3)) % 400;
        bits[y * pitch + i] =
            static_cast<unsigned char>((shape < 200 ? shape : 400 - shape) + (grain >> 28));
      }
    }
    CRastelo image;
    image.SetExternalImageBits(bits.data(), kWidth, kHeight, 24);
    std::string file = std::filesystem::temp_directory_path() / "rastelo_bench.jpg";
    if (!image.SaveAs(file.c_str())) std::abort();
    return file;
  }();
  return path;
}

void Open() {
  CRastelo image;
  if (!image.OpenImage(PictureFile().c_str())) std::abort();
  benchmark::DoNotOptimize(image.GetWidth());
}

void Decode(unsigned char* buffer) {
  std::FILE* file = std::fopen(PictureFile().c_str(), "rb");
  jpeg_decompress_struct codec{};
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&codec);
  jpeg_stdio_src(&codec, file);
  jpeg_read_header(&codec, TRUE);
  codec.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&codec);
  const auto pitch = static_cast<std::size_t>(rastelo::Pitch(kWidth, 24));
  while (codec.output_scanline < codec.output_height) {
    JSAMPROW row = buffer + pitch * codec.output_scanline;
    jpeg_read_scanlines(&codec, &row, 1);
  }
  jpeg_finish_decompress(&codec);
  jpeg_destroy_decompress(&codec);
  std::fclose(file);
  benchmark::DoNotOptimize(buffer[0]);
}

std::unique_ptr<unsigned char[]> NewBuffer() {
  return std::make_unique_for_overwrite<unsigned char[]>(
      static_cast<std::size_t>(rastelo::Pitch(kWidth, 24) * kHeight));
}

void DecodeToNewBuffer() { Decode(NewBuffer().get()); }

void DecodeToKeptBuffer() {
  static const auto buffer = NewBuffer();
  Decode(buffer.get());
}

void BM_OpenJpeg(benchmark::State& state, void (*work)()) {
  PictureFile();
  const double idle = PeakMemory([] {});
  for (auto _ : state) work();
  const double stores = static_cast<double>(rastelo::Pitch(kWidth, 24) * kHeight) / (1 << 20);
  state.counters["stores"] = (PeakMemory(work) - idle) / stores;
}
BENCHMARK_CAPTURE(BM_OpenJpeg, ours, Open)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_OpenJpeg, codec_alone, DecodeToNewBuffer)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_OpenJpeg, codec_alone_kept_buffer, DecodeToKeptBuffer)
    ->Unit(benchmark::kMillisecond);

}  // namespace
