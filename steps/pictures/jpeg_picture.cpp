#include <cmath>

#include "platform/jpeg_codec.h"
#include "steps/pictures/exif.h"
#include "steps/pictures/formats.h"
#include "steps/pictures/orientation.h"

namespace rastelo::steps {
namespace {

using platform::JpegDensity;
using platform::JpegFault;
using platform::JpegHeader;
using platform::JpegResult;

constexpr double kInchMetres = 0.0254, kCentimetreMetres = 0.01;

std::optional<Resolution> ResolutionOf(const JpegDensity& density) {
  if (density.unit < 1 || density.unit > 2 || density.x < 1 || density.y < 1) return std::nullopt;
  const double metres = density.unit == 1 ? kInchMetres : kCentimetreMetres;
  return Resolution{density.x / metres, density.y / metres};
}

/// How far off a density in whole pixels a unit is, in parts.
double ErrorOf(double pixels) { return std::abs(std::round(pixels) - pixels) / pixels; }

/// The unit in which whole numbers come closer.
JpegDensity DensityOf(const Resolution& resolution) {
  const double inch = ErrorOf(resolution.x * kInchMetres) + ErrorOf(resolution.y * kInchMetres);
  const double centimetre =
      ErrorOf(resolution.x * kCentimetreMetres) + ErrorOf(resolution.y * kCentimetreMetres);
  const int unit = inch <= centimetre ? 1 : 2;
  const double metres = unit == 1 ? kInchMetres : kCentimetreMetres;
  const double x = std::round(resolution.x * metres), y = std::round(resolution.y * metres);
  const auto fits = [](double pixels) { return pixels >= 1 && pixels <= 65535; };
  if (!fits(x) || !fits(y)) return {0, 1, 1};
  return {unit, static_cast<int>(x), static_cast<int>(y)};
}

PictureError WrongChannels(int channels) {
  if (channels == 4) return PictureError("it is a CMYK JPEG; convert it to RGB first");
  return PictureError("it is a JPEG of " + std::to_string(channels) +
                      " channels; convert it to gray or RGB first");
}

/// Where a file ended early. Pixels of a progressive one come only once all of it has been read.
PictureError CutOff(const JpegHeader& header, int rows) {
  if (header.height == 0) return PictureError("it is cut off within its header");
  if (header.progressive && rows == 0)
    return PictureError("it is cut off before its last pass over the picture");
  return CutOffAt(rows, header.height);
}

/// Throws what a fault means for the user, if there is one.
void Check(const JpegResult& result, const JpegHeader& header) {
  switch (result.fault) {
    case JpegFault::kNone:
      return;
    case JpegFault::kCutOff:
      throw CutOff(header, result.rows);
    case JpegFault::kImpossible:
      throw PictureError("it is cut off or damaged: it announces more pixels than it can hold");
    case JpegFault::kScans:
      throw PictureError("it is damaged: it goes over the picture more than 500 times");
    case JpegFault::kKind:
      throw PictureError(
          "it is a JPEG of a rare kind (lossless, or of more than 8 bits a channel); save it as a "
          "baseline JPEG or as PNG first");
    case JpegFault::kChannels:
      throw WrongChannels(header.channels);
    case JpegFault::kOutOfMemory:
      throw std::bad_alloc();
    case JpegFault::kNoJpeg:
    case JpegFault::kPixels:
    case JpegFault::kDamaged:
      break;
  }
  if (header.height == 0) throw PictureError("it is damaged: its header makes no sense");
  throw Damaged("the data break at row " + std::to_string(result.rows) + " of " +
                std::to_string(header.height));
}

std::string StoredAs(const JpegHeader& header) {
  return std::string(header.channels == 1 ? "8 bits gray" : "8 bits a channel") +
         (header.progressive ? ", progressive" : "");
}

}  // namespace

Picture ReadJpeg(std::span<const std::uint8_t> file) {
  JpegHeader header;
  platform::JpegMarkers markers;
  Check(platform::ReadJpegHeader(file, header, &markers), header);
  if (header.channels != 1 && header.channels != 3) throw WrongChannels(header.channels);
  Picture picture;
  picture.format = Format::kJpeg;
  picture.stored = StoredAs(header);
  picture.metadata = {std::move(markers.exif), std::move(markers.icc),
                      ResolutionOf(header.density)};
  picture.pixels = MakePixels(static_cast<std::uint32_t>(header.width),
                              static_cast<std::uint32_t>(header.height), 8 * header.channels);
  const ImageView pixels = picture.pixels.Pixels();
  Check(platform::DecodeJpeg(
            file, {pixels.bits, pixels.width, pixels.height, pixels.pitch, header.channels}),
        header);
  TurnUpright(picture, ExifOrientation(picture.metadata.exif));
  return picture;
}

std::vector<std::uint8_t> WriteJpeg(ConstImageView pixels, int bitCount, const Metadata& metadata,
                                    int quality) {
  if (quality < 1 || quality > 100)
    throw PictureError("a JPEG has a quality of 1 to 100, not " + std::to_string(quality));
  platform::JpegCoding coding;
  coding.quality = quality;
  if (metadata.resolution) coding.density = DensityOf(*metadata.resolution);
  if (metadata.exif.size() <= platform::kMaxJpegExifBytes) coding.exif = metadata.exif;
  if (metadata.icc.size() <= platform::kMaxJpegIccBytes) coding.icc = metadata.icc;
  std::vector<std::uint8_t> file;
  const JpegFault fault = platform::EncodeJpeg(
      {pixels.bits, pixels.width, pixels.height, pixels.pitch, bitCount / 8}, coding, file);
  if (fault == JpegFault::kOutOfMemory) throw std::bad_alloc();
  if (fault != JpegFault::kNone)
    throw PictureError("a JPEG is at most 65,500 pixels wide and high; write PNG or BMP");
  return file;
}

}  // namespace rastelo::steps
