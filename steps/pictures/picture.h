#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pixels/pixel_store.h"

/// Pictures out of the bytes of a file and back. Nothing here touches a file or writes to a stream,
/// and everything may run on several threads at once.
namespace rastelo::steps {

enum class Format { kJpeg, kBmp, kPng, kTiff };

/// Pixels a metre, both above 0.
struct Resolution {
  double x, y;
};

/// What a file says of its picture besides the pixels, as the file has it.
struct Metadata {
  std::vector<std::uint8_t> exif;  // from the byte order on, without "Exif\0\0"; empty: none
  std::vector<std::uint8_t> icc;   // colour profile; empty: none
  std::optional<Resolution> resolution;
};

struct Picture {
  PixelStore pixels;  // 8 bits gray or 24 bits blue, green, red; bottom row first, upright
  Metadata metadata;
  Format format = Format::kJpeg;
  std::string stored;              // how the file holds it: "8 bits, palette of 16 colours"
  std::vector<std::string> notes;  // what was changed on the way in: "16 bits a channel made 8"
  int pages = 1;                   // of the file; only a TIFF may have more
};

/// Why a picture cannot be read or written, and what to do about it: "it is a CMYK JPEG; convert it
/// to RGB first". The file's name is the caller's to add.
struct PictureError : std::runtime_error {
  explicit PictureError(const std::string& reason) : std::runtime_error(reason) {}
};

struct ReadOptions {
  bool keyColour = false;  // BMP as the class reads it: two colours of 24 bits, palettes ignored
  int page = 0;            // of a TIFF, from 0 on
};

/// The picture in a file of these bytes. What they are decides, not what the file is called.
/// Palettes are applied (one of gray entries alone gives 8 bits), gray of fewer bits is widened, 16
/// bits v become round(v / 257), colours c with alpha a are laid on white, (c * a + 255 * (255 - a)
/// + 127) / 255, and the orientation that EXIF or TIFF tags ask for is carried out.
/// Throws PictureError, also for damaged and incomplete files, and std::bad_alloc.
Picture ReadPicture(std::span<const std::uint8_t> bytes, const ReadOptions& options);

struct WriteOptions {
  Format format = Format::kJpeg;  // TIFF cannot be written
  int quality = 75;               // of a JPEG, 1..100
  bool strip = false;             // leave all metadata out
};

/// A file of this picture; the same bytes each time.
/// EXIF data goes along (JPEG, PNG) as upright, of this size and without a thumbnail; where it does
/// not fit, more than 65,527 bytes in a JPEG, it stays behind. The profile goes along (JPEG, PNG)
/// if it is one for gray on 8 bits or RGB on 24 bits, the resolution wherever it can be expressed.
/// @param pixels    W x H pixels, bottom row first, W and H above 0.
/// @param bitCount  8 for gray, 24 for blue, green, red.
/// Throws PictureError, also for pixels that the format has no room for, and std::bad_alloc.
std::vector<std::uint8_t> WritePicture(ConstImageView pixels, int bitCount,
                                       const Metadata& metadata, const WriteOptions& options);

/// The format that a file of these bytes is in; nothing if it is none of the four.
std::optional<Format> FormatOfContent(std::span<const std::uint8_t> bytes);

/// The format that a file's name asks for: .jpg .jpeg .bmp .png .tif .tiff, in any case.
std::optional<Format> FormatOfName(std::string_view path);

/// "JPEG", "BMP", "PNG", "TIFF".
std::string_view NameOf(Format format);

/// The entries of EXIF data for people to read, in UTF-8: name and value, in the order of the data.
/// Data that cannot be understood has none.
std::vector<std::pair<std::string, std::string>> DescribeExif(std::span<const std::uint8_t> exif);

}  // namespace rastelo::steps
