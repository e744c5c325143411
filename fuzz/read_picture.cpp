#include <algorithm>
#include <cstdlib>
#include <new>

#include "fuzz/targets.h"
#include "steps/pictures/picture.h"

using namespace rastelo::steps;

namespace {

/// Writes a picture with all that it came with, and expects the file to hold it.
void WriteAndReadBack(const Picture& picture, Format format) {
  const rastelo::PixelStore& pixels = picture.pixels;
  const auto file =
      WritePicture(pixels.Pixels(), pixels.bitCount, picture.metadata, {.format = format});
  const Picture copy = ReadPicture(file, {});
  if (copy.pixels.width != pixels.width || copy.pixels.height != pixels.height) std::abort();
  if (copy.pixels.bitCount != pixels.bitCount || !copy.notes.empty()) std::abort();
  if (format == Format::kJpeg) return;
  for (std::int32_t y = 0; y < pixels.height; ++y)
    if (!std::equal(pixels.Pixels().Row(y),
                    pixels.Pixels().Row(y) + pixels.width * (pixels.bitCount / 8),
                    copy.pixels.Pixels().Row(y)))
      std::abort();
}

void Read(std::span<const std::uint8_t> bytes, const ReadOptions& options) try {
  const Picture picture = ReadPicture(bytes, options);
  if (picture.pixels.width < 1 || picture.pixels.height < 1) std::abort();
  DescribeExif(picture.metadata.exif);
  // Larger ones only cost time.
  if (picture.pixels.Bytes() > 1 << 16) return;
  WriteAndReadBack(picture, Format::kPng);
  if (std::max(picture.pixels.width, picture.pixels.height) <= 65500)
    WriteAndReadBack(picture, Format::kJpeg);
} catch (const PictureError& error) {
  if (!*error.what()) std::abort();
} catch (const std::bad_alloc&) {
}

}  // namespace

void fuzz::ReadPicture(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  Read(bytes, {});
  if (FormatOfContent(bytes) == Format::kBmp) Read(bytes, {.keyColour = true});
  if (FormatOfContent(bytes) == Format::kTiff) Read(bytes, {.page = 1});
}
