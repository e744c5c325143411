// make_seeds FOLDER: small pictures and scripts for the fuzzers to start from, in a folder a
// target.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "testing/jpeg_samples.h"
#include "testing/object_state.h"

namespace {

Bytes Pattern(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = std::uint8_t(i * i * 7 + i / 5);
  return bytes;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("usage: make_seeds FOLDER\n", stderr), 2;
  const std::filesystem::path folder = argv[1];
  for (const char* target : {"OpenBmp", "OpenJpeg", "DrawOnDevice", "RunOperations"})
    std::filesystem::create_directories(folder / target);
  for (const int side : {1, 5, 17}) {
    for (const int pixelBytes : {1, 3}) {
      LiteralImage image(side, side + 2, pixelBytes);
      image.bytes = Pattern(image.bytes.size());
      const std::string name = (pixelBytes == 1 ? "gray" : "colour") + std::to_string(side);
      if (!ObjectWith(image).SaveAs((folder / "OpenBmp" / (name + ".bmp")).c_str())) return 1;
    }
    for (const fuzz::JpegCoding& coding : fuzz::kJpegCodings)
      WriteFile(folder / "OpenJpeg" / (coding.name + std::to_string(side) + ".jpg"),
                fuzz::EncodeJpeg(side, side + 2, coding.channels, coding.choose,
                                 [](int, auto& row) { row = Pattern(row.size()); }));
  }
  for (const std::size_t length : {20u, 200u, 2000u})
    for (const char* target : {"DrawOnDevice", "RunOperations"})
      WriteFile(folder / target / std::to_string(length), Pattern(length));
}
