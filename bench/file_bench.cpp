// Files, beside the codec alone.
#include "bench/file_work.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <jpeglib.h>

#include "bench/peak_memory.h"
#include "rastelo.h"

namespace {

using judge::FilePath;
using judge::Register;
using judge::Setting;
using judge::Work;
using rastelo::PixelStore;

std::shared_ptr<CRastelo> ObjectOf(const Setting& setting) {
  const PixelStore& picture = setting.Picture(24);
  const auto object = std::make_shared<CRastelo>();
  object->SetExternalImageBits(picture.bits.get(), picture.width, picture.height, 24);
  return object;
}

judge::MakeWork Save(const char* extension) {
  return [=](const Setting& setting) {
    return Work{[object = ObjectOf(setting), path = FilePath(setting, extension)] {
      if (!object->SaveAs(path.c_str())) std::abort();
    }};
  };
}

judge::MakeWork Open(const char* extension) {
  return [=](const Setting& setting) {
    Save(extension)(setting).run();
    return Work{[object = std::make_shared<CRastelo>(), path = FilePath(setting, extension)] {
      if (!object->OpenImage(path.c_str())) std::abort();
    }};
  };
}

const int kBmp = Register("BMP read", "ours", Open(".bmp"), judge::kFiles) +
                 Register("BMP write", "ours", Save(".bmp"), judge::kFiles);

/// Decodes to rows that the caller keeps.
void Decode(const std::string& path, const PixelStore& pixels) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  jpeg_decompress_struct codec{};
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&codec);
  jpeg_stdio_src(&codec, file);
  jpeg_read_header(&codec, TRUE);
  codec.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&codec);
  while (codec.output_scanline < codec.output_height) {
    JSAMPROW row = pixels.Pixels().Row(static_cast<std::int32_t>(codec.output_scanline));
    jpeg_read_scanlines(&codec, &row, 1);
  }
  jpeg_finish_decompress(&codec);
  jpeg_destroy_decompress(&codec);
  std::fclose(file);
}

/// Encodes as ours does: default quality, colours at half the size.
void Encode(const std::string& path, const PixelStore& pixels) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  jpeg_compress_struct codec{};
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_compress(&codec);
  jpeg_stdio_dest(&codec, file);
  codec.image_width = static_cast<JDIMENSION>(pixels.width);
  codec.image_height = static_cast<JDIMENSION>(pixels.height);
  codec.input_components = 3;
  codec.in_color_space = JCS_EXT_BGR;
  jpeg_set_defaults(&codec);
  jpeg_start_compress(&codec, TRUE);
  while (codec.next_scanline < codec.image_height) {
    JSAMPROW row =
        pixels.Pixels().Row(pixels.height - 1 - static_cast<std::int32_t>(codec.next_scanline));
    jpeg_write_scanlines(&codec, &row, 1);
  }
  jpeg_finish_compress(&codec);
  jpeg_destroy_compress(&codec);
  std::fclose(file);
}

Work DecodeAlone(const Setting& setting) {
  Save(".jpg")(setting).run();
  return {[pixels = PixelStore::Zeroed(setting.side, setting.side, 24),
           path = FilePath(setting, ".jpg")] { Decode(path, pixels); }};
}

Work EncodeAlone(const Setting& setting) {
  return {
      [pixels = setting.Picture(24), path = FilePath(setting, ".jpg")] { Encode(path, pixels); }};
}

const int kJpeg = Register("JPEG read", "ours", Open(".jpg"), judge::kFiles) +
                  Register("JPEG read", "peer", DecodeAlone, judge::kFiles) +
                  Register("JPEG write", "ours", Save(".jpg"), judge::kFiles) +
                  Register("JPEG write", "peer", EncodeAlone, judge::kFiles);

/// How much memory opening a JPEG file takes at its peak, as a multiple of its pixels.
void BM_OpenJpegPeak(benchmark::State& state) {
  const Setting setting{4096, judge::Content::kPhoto};
  const Work work = Open(".jpg")(setting);
  const double idle = PeakMemory([] {});
  const double pixels = static_cast<double>(setting.Picture(24).Bytes()) / (1 << 20);
  for (auto _ : state) state.counters["stores"] = (PeakMemory(work.run) - idle) / pixels;
}
BENCHMARK(BM_OpenJpegPeak)->Unit(benchmark::kMillisecond);

}  // namespace
