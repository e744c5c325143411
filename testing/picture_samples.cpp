#include "testing/picture_samples.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace samples {
namespace {

struct Memory {
  Bytes bytes;
  std::size_t place = 0;
};

tmsize_t Read(thandle_t handle, void* bytes, tmsize_t count) {
  auto& memory = *static_cast<Memory*>(handle);
  const std::size_t there = memory.bytes.size() - std::min(memory.place, memory.bytes.size());
  const std::size_t got = std::min(there, std::size_t(count));
  if (got > 0) std::memcpy(bytes, memory.bytes.data() + memory.place, got);
  memory.place += got;
  return tmsize_t(got);
}

tmsize_t Write(thandle_t handle, void* bytes, tmsize_t count) {
  auto& memory = *static_cast<Memory*>(handle);
  const std::size_t end = memory.place + std::size_t(count);
  memory.bytes.resize(std::max(memory.bytes.size(), end));
  std::memcpy(memory.bytes.data() + memory.place, bytes, std::size_t(count));
  memory.place = end;
  return count;
}

toff_t Seek(thandle_t handle, toff_t place, int from) {
  auto& memory = *static_cast<Memory*>(handle);
  if (from == SEEK_CUR) place += memory.place;
  if (from == SEEK_END) place += memory.bytes.size();
  memory.place = std::size_t(place);
  return place;
}

std::size_t RowBytes(int width, int channels, int bits) {
  return std::size_t((width * channels * bits + 7) / 8);
}

/// The rows of a block, filled up with zeros, in this machine's byte order.
Bytes Block(const Samples& s, int left, int top, int width, int height) {
  const std::size_t rowBytes = RowBytes(width, s.channels, s.bits);
  const std::size_t first = RowBytes(left, s.channels, s.bits);
  Bytes block(rowBytes * std::size_t(height));
  for (int y = 0; y < height && top + y < s.height; ++y)
    std::copy_n(s.rows.begin() + std::ptrdiff_t(s.rowBytes * std::size_t(top + y) + first),
                std::min(rowBytes, s.rowBytes - first),
                block.begin() + std::ptrdiff_t(rowBytes * std::size_t(y)));
  if (s.bits == 16)
    for (std::size_t i = 0; i < block.size(); i += 2) {
      const auto level = std::uint16_t(block[i] << 8 | block[i + 1]);
      std::memcpy(&block[i], &level, 2);
    }
  return block;
}

constexpr int kTileSide = 16, kRowsPerStrip = 3;

void WriteBlocks(TIFF* tiff, const Samples& samples, bool isTiled, int plane) {
  const int width = isTiled ? kTileSide : samples.width;
  std::uint32_t rowsPerStrip = kTileSide;
  TIFFGetField(tiff, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
  const int step = int(rowsPerStrip);
  for (int y = 0; y < samples.height; y += step)
    for (int x = 0; x < samples.width; x += width) {
      const int rows = isTiled ? step : std::min(step, samples.height - y);
      Bytes block = Block(samples, x, y, width, rows);
      const auto sample = std::uint16_t(plane);
      if (isTiled)
        TIFFWriteTile(tiff, block.data(), std::uint32_t(x), std::uint32_t(y), 0, sample);
      else
        TIFFWriteEncodedStrip(tiff, TIFFComputeStrip(tiff, std::uint32_t(y), sample), block.data(),
                              tmsize_t(block.size()));
    }
}

/// Numbers in one of the byte orders, one behind the other.
struct Numbers {
  bool isBigEndian;
  Bytes bytes{};

  Numbers& Put(std::uint32_t number, int count) {
    for (int i = 0; i < count; ++i)
      bytes.push_back(std::uint8_t(number >> 8 * (isBigEndian ? count - 1 - i : i)));
    return *this;
  }
  /// An entry of a directory whose value is one number, or whose values stand elsewhere.
  Numbers& Entry(std::uint32_t tag, std::uint32_t type, std::uint32_t count, std::uint32_t value) {
    Put(tag, 2).Put(type, 2).Put(count, 4);
    return type == 3 && count == 1 ? Put(value, 2).Put(0, 2) : Put(value, 4);
  }
};

}  // namespace

Samples::Samples(int sampleWidth, int sampleHeight, int sampleChannels, int sampleBits)
    : width(sampleWidth),
      height(sampleHeight),
      channels(sampleChannels),
      bits(sampleBits),
      rowBytes(RowBytes(width, channels, bits)),
      rows(rowBytes * std::size_t(height)) {
  std::uint32_t state = 1;
  for (std::uint8_t& byte : rows) byte = std::uint8_t((state = state * 1664525 + 1013904223) >> 24);
}

unsigned Samples::At(int x, int y, int channel) const {
  const std::size_t bit = std::size_t((x * channels + channel) * bits);
  const std::uint8_t* byte = &rows[rowBytes * std::size_t(y) + bit / 8];
  if (bits == 16) return unsigned(byte[0] << 8 | byte[1]);
  return unsigned(*byte >> (8 - bits - int(bit % 8))) & ((1u << bits) - 1);
}

Samples Samples::Plane(int channel) const {
  if (channels == 1) return *this;
  Samples plane(width, height, 1, bits);
  const std::size_t bytes = std::size_t(bits / 8);
  for (std::size_t i = 0; i < plane.rows.size(); ++i)
    plane.rows[i] =
        rows[(i / bytes * std::size_t(channels) + std::size_t(channel)) * bytes + i % bytes];
  return plane;
}

Bytes EncodePng(const Samples& samples, const PngKind& kind) {
  Bytes file;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &file,
      [](png_structp writer, png_bytep bytes, std::size_t count) {
        auto& out = *static_cast<Bytes*>(png_get_io_ptr(writer));
        out.insert(out.end(), bytes, bytes + count);
      },
      nullptr);
  png_set_IHDR(png, info, png_uint_32(samples.width), png_uint_32(samples.height), samples.bits,
               kind.colours, kind.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, 0, 0);
  if (!kind.palette.empty()) png_set_PLTE(png, info, kind.palette.data(), int(kind.palette.size()));
  if (kind.transparent || !kind.paletteAlphas.empty())
    png_set_tRNS(png, info, kind.paletteAlphas.data(), int(kind.paletteAlphas.size()),
                 kind.transparent);
  Bytes exif = kind.exif;
  if (!exif.empty()) png_set_eXIf_1(png, info, png_uint_32(exif.size()), exif.data());
  if (!kind.icc.empty())
    png_set_iCCP(png, info, "icc", 0, kind.icc.data(), png_uint_32(kind.icc.size()));
  if (kind.pixelsAMetre) png_set_pHYs(png, info, kind.pixelsAMetre, 2 * kind.pixelsAMetre, 1);
  png_write_info(png, info);
  std::vector<png_bytep> rows;
  Bytes all = samples.rows;
  for (int y = 0; y < samples.height; ++y)
    rows.push_back(all.data() + samples.rowBytes * std::size_t(y));
  png_write_image(png, rows.data());
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return file;
}

Bytes EncodeTiff(const std::function<void(TIFF*)>& write) {
  Memory memory;
  TIFF* tiff = TIFFClientOpen(
      "", "w+", &memory, Read, Write, Seek, [](thandle_t) { return 0; },
      [](thandle_t handle) -> toff_t { return static_cast<Memory*>(handle)->bytes.size(); },
      nullptr, nullptr);
  write(tiff);
  TIFFClose(tiff);
  return memory.bytes;
}

void WriteTiffPage(TIFF* tiff, const Samples& samples, const TiffKind& kind) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, samples.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, samples.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, samples.bits);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples.channels);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, kind.compression);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, kind.orientation);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG,
               kind.isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
  const auto extra = std::uint16_t(kind.extra);
  if (kind.extra >= 0) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
  if (kind.isTiled) {
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kTileSide);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, kTileSide);
  } else {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kRowsPerStrip);
  }
  kind.set(tiff);
  if (!kind.isPlanar) WriteBlocks(tiff, samples, kind.isTiled, 0);
  for (int c = 0; kind.isPlanar && c < samples.channels; ++c)
    WriteBlocks(tiff, samples.Plane(c), kind.isTiled, c);
}

Bytes EncodeTiff(const Samples& samples, const TiffKind& kind) {
  return EncodeTiff([&](TIFF* tiff) { WriteTiffPage(tiff, samples, kind); });
}

Bytes MakeExif(bool isBigEndian, int orientation) {
  constexpr std::uint32_t kMaker = 100, kNested = 120, kNotes = 180, kGps = 200, kThumbnail = 240;
  Numbers exif{isBigEndian, {}};
  const auto skipTo = [&](std::size_t place) { exif.bytes.resize(place); };
  const char order = isBigEndian ? 'M' : 'I';
  exif.bytes = {std::uint8_t(order), std::uint8_t(order)};
  exif.Put(42, 2).Put(8, 4).Put(5, 2);
  exif.Entry(0x100, 3, 1, 7).Entry(0x10F, 2, 12, kMaker);
  exif.Entry(0x112, 3, 1, std::uint32_t(orientation));
  exif.Entry(0x8769, 4, 1, kNested).Entry(0x8825, 4, 1, kGps).Put(kThumbnail, 4);
  skipTo(kMaker);
  for (const char c : {'S', 'm', 'i', 't', 'h', ' ', '&', ' ', 'S', 'o', 'n'})
    exif.Put(std::uint8_t(c), 1);
  skipTo(kNested);
  exif.Put(3, 2).Entry(0x927C, 7, 16, kNotes);
  exif.Entry(0xA002, 3, 1, 70).Entry(0xA003, 4, 1, 50).Put(0, 4);
  skipTo(kNotes);
  for (std::uint32_t i = 0; i < 16; ++i) exif.Put(0xA0 + i, 1);
  skipTo(kGps);
  exif.Put(1, 2).Entry(1, 2, 2, isBigEndian ? 'N' << 24 : 'N').Put(0, 4);
  skipTo(kThumbnail);
  exif.Put(2, 2).Entry(0x201, 4, 1, kThumbnail + 30).Entry(0x202, 4, 1, 50).Put(0, 4);
  for (int i = 0; i < 50; ++i) exif.Put(0xEE, 1);
  return exif.bytes;
}

Bytes MakeProfile(const std::string& space, std::size_t bytes) {
  Bytes icc(bytes);
  const auto put = [&](std::size_t place, const std::string& text) {
    std::ranges::copy(text, icc.begin() + std::ptrdiff_t(place));
  };
  for (std::size_t i = 0; i < 4; ++i) icc[i] = std::uint8_t(bytes >> 8 * (3 - i));
  put(8, "\x02");
  put(12, "mntr");
  put(16, space);
  put(20, "XYZ ");
  put(36, "acsp");
  const std::uint8_t kWhite[] = {0, 0, 0xF6, 0xD6, 0, 1, 0, 0, 0, 0, 0xD3, 0x2D};
  std::ranges::copy(kWhite, icc.begin() + 68);
  for (std::size_t i = 132; i < bytes; ++i) icc[i] = std::uint8_t(i * 7);
  return icc;
}

Bytes WithMarker(const Bytes& jpeg, int marker, const std::string& start, const Bytes& content) {
  const std::size_t length = 2 + start.size() + content.size();
  Bytes more = {0xFF, std::uint8_t(marker), std::uint8_t(length >> 8), std::uint8_t(length)};
  more.resize(2 + length);
  std::ranges::copy(content, std::ranges::copy(start, more.begin() + 4).out);
  Bytes bytes = jpeg;
  bytes.insert(bytes.begin() + 2, more.begin(), more.end());
  return bytes;
}

}  // namespace samples
