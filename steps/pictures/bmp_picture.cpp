#include <algorithm>
#include <cmath>
#include <cstring>

#include "image/bmp_format.h"
#include "image/key_colour.h"
#include "steps/pictures/formats.h"
#include "steps/pictures/levels.h"

namespace rastelo::steps {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kPaletteEntryBytes = 4;
constexpr std::size_t kMaxPaletteEntries = 256;

/// What a file says of its pixels. Places are counted from the start of the file.
struct Header {
  std::size_t bytes;  // of the info header
  std::uint32_t width, height;
  bool topDown;
  int bitCount;
  std::uint32_t paletteEntries;

  std::size_t PalettePlace() const { return kBmpFileHeaderBytes + bytes; }
  std::uint64_t PaletteEnd() const {
    return PalettePlace() + kPaletteEntryBytes * std::uint64_t{paletteEntries};
  }
  std::uint64_t RowBytes() const {
    return static_cast<std::uint64_t>(Pitch(std::int64_t{width}, bitCount));
  }
  std::uint64_t PixelBytes() const { return RowBytes() * height; }
};

PictureError Refused(const std::string& kind) {
  return PictureError("it is a BMP " + kind + ", which is not read; save it with 24 bits first");
}

void CheckCompression(std::uint32_t compression) {
  if (compression == 0) return;
  if (compression == 1 || compression == 2) throw Refused("compressed by RLE");
  if (compression == 3 || compression == 6) throw Refused("with colour masks");
  if (compression == 4 || compression == 5) throw Refused("around a JPEG or PNG file");
  throw Refused("with compression " + std::to_string(compression));
}

void CheckHeaderLength(Bytes file) {
  constexpr std::size_t kLengthEnd = kBmpFileHeaderBytes + 4, kCoreHeaderBytes = 12;
  if (file.size() < kLengthEnd) throw PictureError("it is cut off within its header");
  const std::uint32_t bytes = Load32(&file[kBmpFileHeaderBytes]);
  if (bytes == kCoreHeaderBytes) throw Refused("with an OS/2 header");
  if (bytes < kBmpInfoHeaderBytes)
    throw Damaged("an info header of " + std::to_string(bytes) + " bytes");
  if (file.size() < kBmpFileHeaderBytes + kBmpInfoHeaderBytes || file.size() < bytes)
    throw PictureError("it is cut off within its header");
}

Header ReadHeader(Bytes file) {
  CheckHeaderLength(file);
  const std::uint8_t* info = &file[kBmpFileHeaderBytes];
  Header header{};
  header.bytes = Load32(info);
  const auto width = static_cast<std::int32_t>(Load32(info + 4));
  const auto height = static_cast<std::int32_t>(Load32(info + 8));
  header.bitCount = Load16(info + 14);
  if (!IsKnownDepth(header.bitCount))
    throw Refused("of " + std::to_string(header.bitCount) + " bits a pixel");
  CheckCompression(Load32(info + 16));
  if (width <= 0 || height == 0 || height == INT32_MIN) throw Damaged("sides that make no picture");
  header.width = static_cast<std::uint32_t>(width);
  header.height = static_cast<std::uint32_t>(height < 0 ? -height : height);
  header.topDown = height < 0;
  header.paletteEntries = BmpTableEntries(header.bitCount, Load32(info + 32));
  return header;
}

/// Where the pixels start: where the file header points, unless that is amid the headers, or where
/// they have no room and directly behind the palette they have.
std::uint64_t PixelPlace(Bytes file, const Header& header) {
  const std::uint64_t named = Load32(&file[10]), behind = header.PaletteEnd();
  const auto holds = [&](std::uint64_t place) {
    return place + header.PixelBytes() <= file.size();
  };
  const bool plausible = named >= header.PalettePlace() && named <= file.size();
  return plausible && (holds(named) || !holds(behind)) ? named : behind;
}

/// The rows of a file; throws where there are too few of them.
Bytes RowsOf(Bytes file, const Header& header) {
  const std::uint64_t place = PixelPlace(file, header);
  const std::uint64_t there = place < file.size() ? file.size() - place : 0;
  if (there < header.PixelBytes())
    throw CutOffAt(static_cast<std::int64_t>(there / header.RowBytes()), header.height);
  return file.subspan(static_cast<std::size_t>(place),
                      static_cast<std::size_t>(header.PixelBytes()));
}

Palette ReadPalette(Bytes file, const Header& header) {
  Palette palette;
  const std::size_t entries = std::min<std::size_t>(header.paletteEntries, kMaxPaletteEntries);
  for (std::size_t i = 0; i < entries; ++i) {
    const std::size_t place = header.PalettePlace() + kPaletteEntryBytes * i;
    if (place + kPaletteEntryBytes > file.size()) throw PictureError("its palette is cut off");
    std::copy_n(&file[place], palette.colours[i].size(), palette.colours[i].begin());
  }
  return palette;
}

std::optional<Resolution> ReadResolution(Bytes file) {
  const auto number = [&](std::size_t place) {
    return static_cast<std::int32_t>(Load32(&file[kBmpFileHeaderBytes + place]));
  };
  if (number(24) <= 0 || number(28) <= 0) return std::nullopt;
  return Resolution{double(number(24)), double(number(28))};
}

std::string StoredAs(const Header& header, bool isGray) {
  std::string stored = "24 bits";
  if (header.bitCount == 8) {
    const std::size_t entries = std::min<std::size_t>(header.paletteEntries, kMaxPaletteEntries);
    stored = "8 bits, palette of " + std::to_string(entries) + (isGray ? " grays" : " colours");
  }
  return stored + (header.topDown ? ", top row first" : "");
}

/// Row y of the picture, counted from the bottom, in a file's rows.
const std::uint8_t* RowOf(Bytes rows, const Header& header, std::int32_t y) {
  const auto row = static_cast<std::uint32_t>(y);
  return &rows[static_cast<std::size_t>(header.RowBytes()) *
               (header.topDown ? header.height - 1 - row : row)];
}

/// The picture of a file whose palette is to be applied.
Picture ReadTrueColours(Bytes file) {
  const Header header = ReadHeader(file);
  const bool hasPalette = header.bitCount == 8;
  const Palette palette = hasPalette ? ReadPalette(file, header) : Palette();
  const bool isGray = hasPalette && palette.IsGray();
  const Bytes rows = RowsOf(file, header);
  Picture picture;
  picture.stored = StoredAs(header, isGray);
  picture.pixels = MakePixels(header.width, header.height, isGray ? 8 : 24);
  const ImageView pixels = picture.pixels.Pixels();
  for (std::int32_t y = 0; y < pixels.height; ++y) {
    const std::uint8_t* row = RowOf(rows, header, y);
    if (hasPalette)
      palette.Apply(row, pixels.width, picture.pixels.bitCount, pixels.Row(y));
    else
      std::memcpy(pixels.Row(y), row, 3 * static_cast<std::size_t>(pixels.width));
  }
  return picture;
}

/// The picture of a file as the class opens it.
Picture ReadKeyColours(Bytes file) {
  const Header header = ReadHeader(file);  // says why if it is not read
  const Bytes data = file.subspan(kBmpFileHeaderBytes);
  const auto layout = ReadBmpLayout(data, data.size());
  if (!layout) {
    RowsOf(file, header);
    throw Damaged("its palette and pixels do not fit");
  }
  Picture picture;
  picture.stored = StoredAs(header, false);
  picture.pixels = MakePixels(header.width, header.height, layout->bitCount);
  std::memcpy(picture.pixels.bits.get(), &data[layout->pixelOffset], picture.pixels.Bytes());
  if (layout->topDown) ReverseRows(picture.pixels.Pixels());
  if (layout->bitCount == 24) ReduceToKeyColour(picture.pixels.Pixels());
  return picture;
}

/// Pixels a metre as the header holds them, 0 for unknown.
std::uint32_t StoredResolution(double pixels) {
  return pixels >= 0.5 && pixels < INT32_MAX ? static_cast<std::uint32_t>(std::lround(pixels)) : 0;
}

}  // namespace

Picture ReadBmp(Bytes file, bool keyColour) {
  Picture picture = keyColour ? ReadKeyColours(file) : ReadTrueColours(file);
  picture.format = Format::kBmp;
  picture.metadata.resolution = ReadResolution(file);
  return picture;
}

std::vector<std::uint8_t> WriteBmp(ConstImageView pixels, int bitCount, const Metadata& metadata) {
  if (!FitsBuffer(pixels.width, pixels.height, bitCount))
    throw PictureError("its pixels take more than 2 GB");
  ConstImageView rows = pixels;
  rows.pitch = static_cast<std::int32_t>(Pitch(pixels.width, bitCount));
  const auto fileHeader = MakeBmpFileHeader(rows, bitCount);
  auto infoHeader = MakeBmpInfoHeader(rows, bitCount);
  if (const auto& resolution = metadata.resolution) {
    Store32(&infoHeader[24], StoredResolution(resolution->x));
    Store32(&infoHeader[28], StoredResolution(resolution->y));
  }
  const std::size_t start = Load32(&fileHeader[10]);
  std::vector<std::uint8_t> file(start);
  const auto behind =
      std::ranges::copy(infoHeader, std::ranges::copy(fileHeader, file.begin()).out);
  if (bitCount == 8) std::ranges::copy(MakeBmpGrayTable(), behind.out);
  file.reserve(Load32(&fileHeader[2]));
  const std::int32_t rowBytes = pixels.width * (bitCount / 8);
  for (std::int32_t y = 0; y < pixels.height; ++y) {
    file.insert(file.end(), pixels.Row(y), pixels.Row(y) + rowBytes);
    file.insert(file.end(), static_cast<std::size_t>(rows.pitch - rowBytes), 0);
  }
  return file;
}

}  // namespace rastelo::steps
