#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace rastelo::platform {

/// What a codec call did: IJL_OK, or anything else for a failure.
enum IJLERR { IJL_OK = 0, IJL_FAILED = -1, IJL_OUT_OF_MEMORY = -2 };

enum IJLIOTYPE {
  IJL_JFILE_READPARAMS = 0,      // size and channels of a file
  IJL_JFILE_READWHOLEIMAGE = 2,  // all of its pixels
  IJL_JFILE_WRITEWHOLEIMAGE = 8,
};

/// One picture in memory (DIB...) and one in a file (JPG...). Pixels in memory are gray, of one
/// channel, or blue, green, red, of three. They stand top row first, or bottom row first where
/// `DIBHeight` is negative. Each row of `DIBWidth` x `DIBChannels` bytes is followed by
/// `DIBPadBytes` bytes that are neither read nor written.
struct JPEG_CORE_PROPERTIES {
  unsigned char* DIBBytes;
  int DIBWidth, DIBHeight, DIBPadBytes, DIBChannels;
  const char* JPGFile;
  int JPGWidth, JPGHeight, JPGChannels;
  int jquality;  // 1..100
};

/// Gives every field its default: 0, but for a quality of 75.
IJLERR ijlInit(JPEG_CORE_PROPERTIES* properties);

/// IJL_JFILE_READPARAMS fills `JPGWidth`, `JPGHeight` and `JPGChannels` from the header of
/// `JPGFile`; a header that promises more than the file can hold is a failure.
/// IJL_JFILE_READWHOLEIMAGE decodes the file into `DIBBytes`; size and channels must be the file's
/// (1 or 3). Data that ends early or is damaged is a failure; stray bytes between markers are not.
/// Never throws.
IJLERR ijlRead(JPEG_CORE_PROPERTIES* properties, IJLIOTYPE type);

/// IJL_JFILE_WRITEWHOLEIMAGE encodes `DIBBytes` to `JPGFile`, with as many channels, colours at
/// half the resolution in both directions. The file is created once the fields have been found
/// usable, and stays as far as it got if writing fails. Never throws.
IJLERR ijlWrite(JPEG_CORE_PROPERTIES* properties, IJLIOTYPE type);

/// Lets go of the record.
IJLERR ijlFree(JPEG_CORE_PROPERTIES* properties);

// The same coder for files in memory. Nothing below throws.

/// Why a JPEG file could not be read or made.
enum class JpegFault {
  kNone,
  kNoJpeg,      // it does not start like one
  kCutOff,      // it ends early
  kDamaged,     // it contradicts itself
  kImpossible,  // its header promises more pixels than its bytes can hold
  kScans,       // it goes over its pixels more often than any real one
  kKind,        // lossless, hierarchical, or of more than 8 bits a sample
  kChannels,    // it has neither 1 channel nor 3
  kPixels,      // the pixels are not of a size or depth that the file has or could have
  kOutOfMemory,
};

struct JpegResult {
  JpegFault fault = JpegFault::kNone;
  int rows = 0;  // how many had been decoded by the time of the fault, counted from the top
};

/// Pixels an inch (unit 1) or a centimetre (unit 2). Unit 0: a ratio of the two alone.
struct JpegDensity {
  int unit = 0, x = 0, y = 0;
};

struct JpegHeader {
  int width = 0, height = 0;
  int channels = 0;  // 1: gray, 3: colour, 4: inks; others are rare
  bool progressive = false;
  JpegDensity density;
};

/// What a file carries besides its picture; empty: none.
struct JpegMarkers {
  std::vector<std::uint8_t> exif;  // without "Exif\0\0"
  std::vector<std::uint8_t> icc;   // colour profile
};

/// Pixels of a channel, gray, or of three, blue, green, red; bottom row first.
template <class Byte>
struct JpegPixels {
  Byte* bits;         // start of the bottom row
  int width, height;  // pixels in a row, rows
  int pitch;          // bytes from the start of one row to the next
  int channels;       // 1 or 3
};

/// Reads the header of a file, its markers, too, where there is a place for them. A header that
/// promises more than the file can hold is a fault; a number of channels that cannot be decoded is
/// not.
JpegResult ReadJpegHeader(std::span<const std::uint8_t> file, JpegHeader& header,
                          JpegMarkers* markers = nullptr);

/// Decodes a file into pixels of its size and number of channels. Bytes behind the last column are
/// left alone. After a fault, the pixels are undefined.
/// Data that ends early or is damaged is a fault; stray bytes between markers are not.
JpegResult DecodeJpeg(std::span<const std::uint8_t> file, const JpegPixels<std::uint8_t>& pixels);

struct JpegCoding {
  int quality = 75;  // 1..100
  JpegDensity density{0, 1, 1};
  std::span<const std::uint8_t> exif;  // without "Exif\0\0", at most kMaxJpegExifBytes
  std::span<const std::uint8_t> icc;   // at most kMaxJpegIccBytes
};
inline constexpr std::size_t kMaxJpegExifBytes = 65527;
inline constexpr std::size_t kMaxJpegIccBytes = std::size_t{255} * 65519;

/// Encodes pixels, colours at half the resolution in both directions, and writes the file's bytes
/// to `file` in place of what it holds. Sides are 1..65500.
/// @return kNone, kPixels or kOutOfMemory. After a fault, `file` is empty.
JpegFault EncodeJpeg(const JpegPixels<const std::uint8_t>& pixels, const JpegCoding& coding,
                     std::vector<std::uint8_t>& file);

}  // namespace rastelo::platform
