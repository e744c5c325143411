// PNG files in and out, over libpng. Its error handler leaves by longjmp, so no function that
// libpng runs under may own anything with a destructor.
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <png.h>

#include "steps/pictures/exif.h"
#include "steps/pictures/formats.h"
#include "steps/pictures/levels.h"
#include "steps/pictures/orientation.h"

namespace rastelo::steps {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// Ratio of sizes that no data compressed by DEFLATE exceed.
constexpr std::uint64_t kMaxRatio = 1032;
/// Three times as fast as the customary 6, for files that are a tenth larger.
constexpr int kCompressionLevel = 4;

/// Where libpng's errors go.
struct Escape {
  std::jmp_buf place;
  char message[128];
  bool outOfMemory;
};

[[noreturn]] void LeaveWith(png_structp png, png_const_charp message) {
  auto& escape = *static_cast<Escape*>(png_get_error_ptr(png));
  std::snprintf(escape.message, sizeof escape.message, "%s", message);
  std::longjmp(escape.place, 1);
}

void Ignore(png_structp, png_const_charp) {}

/// Runs `work` until its end or its first error.
/// @return whether it came to its end.
template <class Work>
bool Guard(Escape& escape, Work work) {
  if (setjmp(escape.place) != 0) return false;
  work();
  return true;
}

struct Decoder {
  explicit Decoder(Bytes file)
      : rest(file),
        png(png_create_read_struct(PNG_LIBPNG_VER_STRING, &escape, LeaveWith, Ignore)),
        info(png ? png_create_info_struct(png) : nullptr) {
    if (!info) png_destroy_read_struct(&png, nullptr, nullptr);
    if (!info) throw std::bad_alloc();
  }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
  ~Decoder() { png_destroy_read_struct(&png, &info, nullptr); }

  Escape escape{};
  Bytes rest;  // what has not been read yet
  bool cutOff = false;
  std::uint32_t row = 0;  // that is being read
  png_structp png;
  png_infop info;
};

void Read(png_structp png, png_bytep bytes, std::size_t count) {
  auto& decoder = *static_cast<Decoder*>(png_get_io_ptr(png));
  decoder.cutOff = count > decoder.rest.size();
  if (decoder.cutOff) png_error(png, "cut off");
  std::memcpy(bytes, decoder.rest.data(), count);
  decoder.rest = decoder.rest.subspan(count);
}

struct Header {
  png_uint_32 width, height;
  int depth, colours, interlace;
  bool hasTransparentColour;  // or palette entries

  bool HasPalette() const { return colours == PNG_COLOR_TYPE_PALETTE; }
  bool HasColours() const { return (colours & PNG_COLOR_MASK_COLOR) != 0; }
  bool HasAlpha() const {
    return !HasPalette() && ((colours & PNG_COLOR_MASK_ALPHA) != 0 || hasTransparentColour);
  }
  /// As the file has them.
  int Channels() const {
    if (HasPalette()) return 1;
    return (HasColours() ? 3 : 1) + ((colours & PNG_COLOR_MASK_ALPHA) != 0 ? 1 : 0);
  }
  bool IsInterlaced() const { return interlace != PNG_INTERLACE_NONE; }
  /// Bytes of a pixel as libpng is asked for it: an index, or gray or blue, green, red, and alpha.
  int RawBytes() const { return HasPalette() ? 1 : (HasColours() ? 3 : 1) + (HasAlpha() ? 1 : 0); }
};

/// Reads up to the first pixels.
void Start(Decoder& decoder, Header& header) {
  png_structp png = decoder.png;
  png_set_read_fn(png, &decoder, Read);
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  // Texts, which may be long and many, are of no use here.
  constexpr png_byte kTexts[] = "tEXt\0zTXt\0iTXt\0sPLT";
  png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kTexts, 4);
  png_read_info(png, decoder.info);
  png_get_IHDR(png, decoder.info, &header.width, &header.height, &header.depth, &header.colours,
               &header.interlace, nullptr, nullptr);
  header.hasTransparentColour = png_get_valid(png, decoder.info, PNG_INFO_tRNS) != 0;
}

PictureError FaultOf(const Decoder& decoder, const Header& header) {
  if (!decoder.cutOff) return Damaged(decoder.escape.message);
  if (header.height == 0) return PictureError("it is cut off within its header");
  if (header.IsInterlaced() && decoder.row < header.height) return PictureError("it is cut off");
  return CutOffAt(decoder.row, header.height);
}

void CheckSize(const Header& header, std::size_t fileBytes) {
  const std::uint64_t rowBits =
      std::uint64_t{header.width} * static_cast<unsigned>(header.depth * header.Channels());
  if ((rowBits / 8 + 1) * header.height / kMaxRatio > fileBytes)
    throw AnnouncesTooMuch(header.width, header.height);
}

std::string StoredAs(const Header& header, int paletteEntries) {
  std::string stored = std::to_string(header.depth) + " bit" + (header.depth > 1 ? "s" : "");
  if (header.HasPalette())
    stored += ", palette of " + std::to_string(paletteEntries) + " colours";
  else
    stored += header.HasColours() ? " a channel" : " gray";
  if (header.HasAlpha()) stored += ", alpha";
  return stored + (header.IsInterlaced() ? ", interlaced" : "");
}

/// The palette, laid on white, and how many entries it has. Empty for other pictures.
Palette ReadPalette(const Decoder& decoder, int& entries, bool& isTransparent) {
  Palette palette;
  png_colorp colours = nullptr;
  png_bytep alphas = nullptr;
  int alphaEntries = 0;
  png_get_PLTE(decoder.png, decoder.info, &colours, &entries);
  png_get_tRNS(decoder.png, decoder.info, &alphas, &alphaEntries, nullptr);
  for (int i = 0; i < entries; ++i) {
    const png_color& colour = colours[i];
    const int alpha = i < alphaEntries && alphas ? alphas[i] : 255;
    isTransparent = isTransparent || alpha != 255;
    palette.colours[static_cast<std::size_t>(i)] = {
        OnWhite(colour.blue, alpha), OnWhite(colour.green, alpha), OnWhite(colour.red, alpha)};
  }
  return palette;
}

/// Lays `count` pixels of some levels and an alpha on white.
/// @return whether any was not opaque.
bool LayOnWhite(const std::uint8_t* raw, std::int32_t count, int levels, std::uint8_t* pixels) {
  bool isTransparent = false;
  for (; count > 0; --count) {
    const int alpha = raw[levels];
    isTransparent = isTransparent || alpha != 255;
    for (int c = 0; c < levels; ++c) *pixels++ = OnWhite(raw[c], alpha);
    raw += levels + 1;
  }
  return isTransparent;
}

/// Rows as they come from libpng, and what becomes of them.
struct Rows {
  Header header;
  Palette palette;
  ImageView raw;     // one row, or all where they come interlaced; top row first
  ImageView pixels;  // bottom row first
  int bitCount;      // of these
  bool isTransparent;

  bool AreFinal() const { return !header.HasPalette() && !header.HasAlpha(); }
  std::uint8_t* Final(std::int32_t y) const { return pixels.Row(pixels.height - 1 - y); }
  std::uint8_t* Raw(std::int32_t y) const {
    return AreFinal() ? Final(y) : raw.Row(raw.height == 1 ? 0 : y);
  }
  void Finish(std::int32_t y) {
    if (header.HasPalette())
      palette.Apply(Raw(y), pixels.width, bitCount, Final(y));
    else if (header.HasAlpha() && LayOnWhite(Raw(y), pixels.width, bitCount / 8, Final(y)))
      isTransparent = true;
  }
};

/// Asks libpng for rows of `Header::RawBytes` a pixel.
void SetTransformations(png_structp png, const Header& header) {
  if (header.depth == 16) png_set_scale_16(png);
  if (header.depth < 8 && !header.HasPalette()) png_set_expand_gray_1_2_4_to_8(png);
  if (header.depth < 8) png_set_packing(png);
  if (header.HasAlpha() && header.hasTransparentColour) png_set_tRNS_to_alpha(png);
  if (header.HasColours() && !header.HasPalette()) png_set_bgr(png);
}

void ReadRows(Decoder& decoder, Rows& rows) {
  png_structp png = decoder.png;
  SetTransformations(png, rows.header);
  const int passes = png_set_interlace_handling(png);
  png_read_update_info(png, decoder.info);
  if (png_get_rowbytes(png, decoder.info) !=
      std::size_t{rows.header.width} * static_cast<std::size_t>(rows.header.RawBytes()))
    png_error(png, "rows of another length");
  for (int pass = 0; pass < passes; ++pass) {
    for (std::int32_t y = 0; y < rows.pixels.height; ++y) {
      decoder.row = static_cast<std::uint32_t>(y);
      png_read_row(png, rows.Raw(y), nullptr);
      if (pass == passes - 1) rows.Finish(y);
    }
  }
  decoder.row = rows.header.height;
  png_read_end(png, decoder.info);
}

Metadata ReadMetadata(const Decoder& decoder) {
  Metadata metadata;
  png_structp png = decoder.png;
  png_bytep exif = nullptr, icc = nullptr;
  png_charp name = nullptr;
  png_uint_32 exifBytes = 0, iccBytes = 0, x = 0, y = 0;
  int compression = 0, unit = 0;
  if (png_get_eXIf_1(png, decoder.info, &exifBytes, &exif) != 0)
    metadata.exif.assign(exif, exif + exifBytes);
  if (png_get_iCCP(png, decoder.info, &name, &compression, &icc, &iccBytes) != 0)
    metadata.icc.assign(icc, icc + iccBytes);
  if (png_get_pHYs(png, decoder.info, &x, &y, &unit) != 0 && unit == PNG_RESOLUTION_METER &&
      x > 0 && y > 0)
    metadata.resolution = Resolution{double(x), double(y)};
  return metadata;
}

struct Encoder {
  explicit Encoder(std::vector<std::uint8_t>& output)
      : file(&output),
        png(png_create_write_struct(PNG_LIBPNG_VER_STRING, &escape, LeaveWith, Ignore)),
        info(png ? png_create_info_struct(png) : nullptr) {
    if (!info) png_destroy_write_struct(&png, nullptr);
    if (!info) throw std::bad_alloc();
  }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;
  ~Encoder() { png_destroy_write_struct(&png, &info); }

  Escape escape{};
  std::vector<std::uint8_t>* file;
  png_structp png;
  png_infop info;
};

bool Append(std::vector<std::uint8_t>& file, Bytes more) noexcept try {
  file.insert(file.end(), more.begin(), more.end());
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

void Write(png_structp png, png_bytep bytes, std::size_t count) {
  auto& encoder = *static_cast<Encoder*>(png_get_io_ptr(png));
  if (Append(*encoder.file, {bytes, count})) return;
  encoder.escape.outOfMemory = true;
  png_error(png, "out of memory");
}

void SetMetadata(const Encoder& encoder, const Metadata& metadata) {
  png_structp png = encoder.png;
  if (!metadata.icc.empty())
    png_set_iCCP(png, encoder.info, "icc", PNG_COMPRESSION_TYPE_BASE, metadata.icc.data(),
                 static_cast<png_uint_32>(metadata.icc.size()));
  if (!metadata.exif.empty())  // copied, for all that the interface says
    png_set_eXIf_1(png, encoder.info, static_cast<png_uint_32>(metadata.exif.size()),
                   const_cast<png_bytep>(metadata.exif.data()));  // NOLINT(*-const-cast)
  const auto fits = [](double pixels) { return pixels >= 0.5 && pixels < PNG_UINT_31_MAX; };
  if (const auto& r = metadata.resolution; r && fits(r->x) && fits(r->y))
    png_set_pHYs(png, encoder.info, static_cast<png_uint_32>(r->x + 0.5),
                 static_cast<png_uint_32>(r->y + 0.5), PNG_RESOLUTION_METER);
}

void WriteFile(Encoder& encoder, ConstImageView pixels, int bitCount, const Metadata& metadata) {
  png_structp png = encoder.png;
  png_set_write_fn(png, &encoder, Write, [](png_structp) {});
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_benign_errors(png, 1);  // a profile that libpng does not like stays behind
  png_set_compression_level(png, kCompressionLevel);
  png_set_IHDR(png, encoder.info, static_cast<png_uint_32>(pixels.width),
               static_cast<png_uint_32>(pixels.height), 8,
               bitCount == 8 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  SetMetadata(encoder, metadata);
  png_write_info(png, encoder.info);
  if (bitCount == 24) png_set_bgr(png);
  for (std::int32_t y = pixels.height; y-- > 0;) png_write_row(png, pixels.Row(y));
  png_write_end(png, encoder.info);
}

}  // namespace

Picture ReadPng(Bytes file) {
  Decoder decoder(file);
  Rows rows{};
  Header& header = rows.header;
  if (!Guard(decoder.escape, [&] { Start(decoder, header); })) throw FaultOf(decoder, header);
  CheckSize(header, file.size());
  Picture picture;
  picture.format = Format::kPng;
  int paletteEntries = 0;
  if (header.HasPalette()) rows.palette = ReadPalette(decoder, paletteEntries, rows.isTransparent);
  picture.stored = StoredAs(header, paletteEntries);
  const bool isGray = header.HasPalette() ? rows.palette.IsGray() : !header.HasColours();
  picture.pixels = MakePixels(header.width, header.height, isGray ? 8 : 24);
  PixelStore raw;
  if (!rows.AreFinal())
    raw =
        MakePixels(header.width, header.IsInterlaced() ? header.height : 1, 8 * header.RawBytes());
  rows.pixels = picture.pixels.Pixels();
  rows.raw = raw.Pixels();
  rows.bitCount = picture.pixels.bitCount;
  if (!Guard(decoder.escape, [&] { ReadRows(decoder, rows); })) throw FaultOf(decoder, header);
  if (header.depth == 16) picture.notes.emplace_back(k16BitsNote);
  if (rows.isTransparent) picture.notes.emplace_back(kAlphaNote);
  picture.metadata = ReadMetadata(decoder);
  TurnUpright(picture, ExifOrientation(picture.metadata.exif));
  return picture;
}

std::vector<std::uint8_t> WritePng(ConstImageView pixels, int bitCount, const Metadata& metadata) {
  std::vector<std::uint8_t> file;
  Encoder encoder(file);
  if (Guard(encoder.escape, [&] { WriteFile(encoder, pixels, bitCount, metadata); })) return file;
  if (encoder.escape.outOfMemory) throw std::bad_alloc();
  throw PictureError(std::string("it cannot be written as PNG: ") + encoder.escape.message);
}

}  // namespace rastelo::steps
