#pragma once

#include <functional>
#include <string>
#include <vector>

#include <tiffio.h>

#include <png.h>

#include "testing/literal_image.h"

/// Files of pictures made in memory by the formats' own libraries.
namespace samples {

/// Samples of `bits` bits, as the formats pack them: rows from the top, each from a byte of its
/// own on, samples of 16 bits high byte first.
struct Samples {
  /// Noise.
  Samples(int sampleWidth, int sampleHeight, int sampleChannels, int sampleBits);
  unsigned At(int x, int y, int channel) const;
  /// Rows of one of the channels alone.
  Samples Plane(int channel) const;

  int width, height, channels, bits;
  std::size_t rowBytes;
  Bytes rows;
};

struct PngKind {
  int colours = PNG_COLOR_TYPE_GRAY;
  bool isInterlaced = false;
  std::vector<png_color> palette{};
  std::vector<png_byte> paletteAlphas{};
  const png_color_16* transparent = nullptr;
  Bytes exif{}, icc{};
  unsigned pixelsAMetre = 0;
};
Bytes EncodePng(const Samples& samples, const PngKind& kind);

/// A file that `write` writes the pages of.
Bytes EncodeTiff(const std::function<void(TIFF*)>& write);

struct TiffKind {
  int photometric = PHOTOMETRIC_MINISBLACK;
  int compression = COMPRESSION_NONE;
  bool isPlanar = false, isTiled = false;
  int extra = -1;  // what the samples behind the colours are
  int orientation = 1;
  std::function<void(TIFF*)> set = [](TIFF*) {};
};
void WriteTiffPage(TIFF* tiff, const Samples& samples, const TiffKind& kind);
Bytes EncodeTiff(const Samples& samples, const TiffKind& kind);

/// EXIF data of an orientation, with a name of the maker, notes of the maker, a position, wrong
/// sizes and a thumbnail.
Bytes MakeExif(bool isBigEndian, int orientation);

/// A colour profile's header with its colour space, and some bytes.
Bytes MakeProfile(const std::string& space, std::size_t bytes);

/// A JPEG file with these markers put in behind its start.
Bytes WithMarker(const Bytes& jpeg, int marker, const std::string& start, const Bytes& content);

}  // namespace samples
