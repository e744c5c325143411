// make_seeds FOLDER: small pictures and scripts for the fuzzers to start from, in a folder a
// target.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "fuzz/jpeg_encoder.h"
#include "image/image_view.h"
#include "rastelo.h"

namespace {

namespace fs = std::filesystem;

std::vector<unsigned char> Pattern(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(i * i * 7 + i / 5);
  return bytes;
}

void Write(const fs::path& path, const unsigned char* bytes, std::size_t count) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count));
}

/// A JPEG file in one of the codec's ways to write it.
struct Coding {
  const char* name;
  int channels;
  void (*choose)(jpeg_compress_struct&);
};
constexpr Coding kCodings[] = {
    {"gray", 1, [](jpeg_compress_struct&) {}},
    {"colour", 3, [](jpeg_compress_struct&) {}},
    {"full", 3, [](jpeg_compress_struct& c) { c.comp_info[0].h_samp_factor = 1; }},
    {"rgb", 3, [](jpeg_compress_struct& c) { jpeg_set_colorspace(&c, JCS_RGB); }},
    {"progressive", 3, [](jpeg_compress_struct& c) { jpeg_simple_progression(&c); }},
    {"arithmetic", 3, [](jpeg_compress_struct& c) { c.arith_code = TRUE; }},
    {"restarts", 3, [](jpeg_compress_struct& c) { c.restart_interval = 2; }},
    {"four", 4, [](jpeg_compress_struct&) {}},
};

void WriteJpeg(const fs::path& path, const Coding& coding, int width, int height) {
  const auto file =
      fuzz::EncodeJpeg(width, height, coding.channels, coding.choose,
                       [](int, std::vector<std::uint8_t>& row) { row = Pattern(row.size()); });
  Write(path, file.data(), file.size());
}

void WriteBmp(const fs::path& path, int width, int height, int bitCount) {
  const auto bits = Pattern(static_cast<std::size_t>(rastelo::Pitch(width, bitCount) * height));
  CRastelo image;
  image.SetExternalImageBits(bits.data(), width, height, bitCount);
  if (!image.SaveAs(path.c_str())) std::abort();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds FOLDER\n");
    return 2;
  }
  const fs::path folder = argv[1];
  for (const char* target : {"OpenBmp", "OpenJpeg", "DrawOnDevice", "RunOperations"})
    fs::create_directories(folder / target);
  for (const int side : {1, 5, 17}) {
    const std::string size = std::to_string(side);
    WriteBmp(folder / "OpenBmp" / ("gray" + size + ".bmp"), side, side + 2, 8);
    WriteBmp(folder / "OpenBmp" / ("colour" + size + ".bmp"), side, side + 2, 24);
    for (const Coding& coding : kCodings)
      WriteJpeg(folder / "OpenJpeg" / (coding.name + size + ".jpg"), coding, side, side + 2);
  }
  for (const std::size_t length : {20u, 200u, 2000u}) {
    const auto script = Pattern(length);
    for (const char* target : {"DrawOnDevice", "RunOperations"})
      Write(folder / target / std::to_string(length), script.data(), length);
  }
}
