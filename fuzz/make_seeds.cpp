// make_seeds FOLDER: small pictures and scripts for the fuzzers to start from, in a folder a
// target.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "pixels/image_view.h"
#include "rastelo.h"
#include "testing/jpeg_samples.h"
#include "testing/object_state.h"

namespace {

namespace fs = std::filesystem;

std::vector<unsigned char> Pattern(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(i * i * 7 + i / 5);
  return bytes;
}

void WriteJpeg(const fs::path& path, const fuzz::JpegCoding& coding, int width, int height) {
  const auto file =
      fuzz::EncodeJpeg(width, height, coding.channels, coding.choose,
                       [](int, std::vector<std::uint8_t>& row) { row = Pattern(row.size()); });
  WriteFile(path, file);
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
    for (const fuzz::JpegCoding& coding : fuzz::kJpegCodings)
      WriteJpeg(folder / "OpenJpeg" / (coding.name + size + ".jpg"), coding, side, side + 2);
  }
  for (const std::size_t length : {20u, 200u, 2000u}) {
    const auto script = Pattern(length);
    for (const char* target : {"DrawOnDevice", "RunOperations"})
      WriteFile(folder / target / std::to_string(length), script);
  }
}
