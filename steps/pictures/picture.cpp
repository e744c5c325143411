#include "steps/pictures/picture.h"

#include "steps/pictures/content.h"
#include "steps/pictures/exif.h"
#include "steps/pictures/formats.h"

namespace rastelo::steps {
namespace {

/// Whether a profile is for pixels of this depth. Its colour space stands in its header.
bool IsProfileFor(std::span<const std::uint8_t> icc, int bitCount) {
  constexpr std::size_t kHeaderBytes = 128;
  const std::string_view space = bitCount == 24 ? "RGB " : "GRAY";
  return icc.size() >= kHeaderBytes && std::equal(space.begin(), space.end(), icc.begin() + 16);
}

/// What of the metadata is true of a picture.
Metadata MetadataFor(ConstImageView pixels, int bitCount, const Metadata& metadata) {
  Metadata fit;
  fit.exif = UprightExif(metadata.exif, pixels.width, pixels.height);
  if (IsProfileFor(metadata.icc, bitCount)) fit.icc = metadata.icc;
  fit.resolution = metadata.resolution;
  return fit;
}

}  // namespace

PixelStore MakePixels(std::uint32_t width, std::uint32_t height, int bitCount) {
  if (width > INT32_MAX || height > INT32_MAX ||
      !FitsBuffer(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), bitCount))
    throw PictureError("it is too large: " + std::to_string(width) + " x " +
                       std::to_string(height) + " pixels take more than 2 GB");
  return PixelStore::ForOverwrite(static_cast<std::int32_t>(width),
                                  static_cast<std::int32_t>(height), bitCount);
}

PictureError CutOffAt(std::int64_t row, std::int64_t height) {
  return PictureError(row < height ? "it is cut off at row " + std::to_string(row) + " of " +
                                         std::to_string(height)
                                   : std::string("it is cut off behind its last row"));
}

PictureError Damaged(const std::string& what) { return PictureError("it is damaged: " + what); }

PictureError AnnouncesTooMuch(std::uint32_t width, std::uint32_t height) {
  return PictureError("it is cut off or damaged: it announces " + std::to_string(width) + " x " +
                      std::to_string(height) + " pixels, more than its bytes can hold");
}

Picture ReadPicture(std::span<const std::uint8_t> bytes, const ReadOptions& options) {
  const auto format = FormatOfContent(bytes);
  if (!format) throw NoReadableContent(bytes);
  if (*format == Format::kTiff) return ReadTiff(bytes, options.page);
  if (options.page != 0) throw PictureError("it has only 1 page");
  if (*format == Format::kJpeg) return ReadJpeg(bytes);
  return *format == Format::kPng ? ReadPng(bytes) : ReadBmp(bytes, options.keyColour);
}

std::vector<std::uint8_t> WritePicture(ConstImageView pixels, int bitCount,
                                       const Metadata& metadata, const WriteOptions& options) {
  if (!IsKnownDepth(bitCount) || pixels.width < 1 || pixels.height < 1)
    throw PictureError("there are no pixels of 8 or 24 bits to write");
  const Metadata fit = options.strip ? Metadata() : MetadataFor(pixels, bitCount, metadata);
  switch (options.format) {
    case Format::kJpeg:
      return WriteJpeg(pixels, bitCount, fit, options.quality);
    case Format::kBmp:
      return WriteBmp(pixels, bitCount, fit);
    case Format::kPng:
      return WritePng(pixels, bitCount, fit);
    case Format::kTiff:
      break;
  }
  throw PictureError("TIFF is read, not written; write JPEG, PNG or BMP");
}

}  // namespace rastelo::steps
