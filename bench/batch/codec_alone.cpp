// What the JPEG codec takes for a batch by itself: codec_alone JOBS WIDTH HEIGHT PICTURE...
// Decodes each picture and encodes a gray one of the size that comes out, with nothing between.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "steps/pictures/picture.h"

namespace {

std::vector<std::uint8_t> ReadAll(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The first pixels of a picture's green plane, to encode: as rough as the photograph is.
rastelo::PixelStore GreenPart(const rastelo::PixelStore& picture, int width, int height) {
  rastelo::PixelStore part = rastelo::PixelStore::Zeroed(width, height, 8);
  for (int y = 0; y < std::min(height, picture.height); ++y)
    for (int x = 0; x < std::min(width, picture.width); ++x)
      part.Pixels().Row(y)[x] = picture.Pixels().Row(y)[x * picture.bitCount / 8 + 1];
  return part;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 2;
  const int jobs = std::atoi(argv[1]);
  const std::vector<const char*> pictures(argv + 4, argv + argc);
  const auto sample = rastelo::steps::ReadPicture(ReadAll(pictures[0]), {}).pixels;
  const auto result = GreenPart(sample, std::atoi(argv[2]), std::atoi(argv[3]));
  std::atomic<std::size_t> next = 0, bytes = 0;
  std::vector<std::jthread> workers;
  workers.reserve(static_cast<std::size_t>(jobs));
  for (int job = 0; job < jobs; ++job)
    workers.emplace_back([&] {
      for (std::size_t i = next++; i < pictures.size(); i = next++) {
        rastelo::steps::ReadPicture(ReadAll(pictures[i]), {});
        bytes += rastelo::steps::WritePicture(result.Pixels(), 8, {}, {}).size();
      }
    });
  workers.clear();
  std::printf("%zu bytes encoded\n", bytes.load());
}
