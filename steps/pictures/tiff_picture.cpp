// TIFF files in, over libtiff, which reads them from memory.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

#include <tiffio.h>

#include "pixels/allocate_array.h"
#include "steps/pictures/exif.h"
#include "steps/pictures/formats.h"
#include "steps/pictures/levels.h"
#include "steps/pictures/orientation.h"

namespace rastelo::steps {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// What libtiff reads from, and where its errors go.
struct Client {
  Bytes file;
  std::size_t place;
  char message[160];  // of the first error
};

tmsize_t Read(thandle_t handle, void* bytes, tmsize_t count) {
  auto& client = *static_cast<Client*>(handle);
  const std::size_t there = client.file.size() - std::min(client.place, client.file.size());
  const std::size_t got = std::min(there, static_cast<std::size_t>(std::max<tmsize_t>(count, 0)));
  if (got > 0) std::memcpy(bytes, &client.file[client.place], got);
  client.place += got;
  return static_cast<tmsize_t>(got);
}

tmsize_t RefuseToWrite(thandle_t, void*, tmsize_t) { return -1; }

toff_t Seek(thandle_t handle, toff_t place, int from) {
  auto& client = *static_cast<Client*>(handle);
  if (from == SEEK_CUR) place += client.place;
  if (from == SEEK_END) place += client.file.size();
  client.place = static_cast<std::size_t>(place);
  return place;
}

toff_t SizeOf(thandle_t handle) { return static_cast<Client*>(handle)->file.size(); }

int Map(thandle_t handle, void** base, toff_t* size) {
  const Bytes file = static_cast<Client*>(handle)->file;
  // Read only, for all that the interface says.
  *base = const_cast<std::uint8_t*>(file.data());  // NOLINT(*-const-cast)
  *size = file.size();
  return 1;
}

/// Keeps the first error, and libtiff from writing any to the standard error stream.
int KeepError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
  auto& client = *static_cast<Client*>(user);
  if (client.message[0] == 0)
    std::vsnprintf(client.message, sizeof client.message, format, arguments);
  return 1;
}

/// Takes a warning of the JPEG codec that tells of damage for an error.
int KeepWarning(TIFF* tiff, void* user, const char* module, const char* format, va_list arguments) {
  if (!module || std::strcmp(module, "JPEGLib") != 0) return 1;
  char text[160];
  va_list copy;
  va_copy(copy, arguments);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_copy is right above
  std::vsnprintf(text, sizeof text, format, copy);
  va_end(copy);
  return std::strstr(text, "extraneous") ? 1 : KeepError(tiff, user, module, format, arguments);
}

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

Tiff Open(Client& client) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
      TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), KeepError, &client);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), KeepWarning, &client);
  constexpr tmsize_t kMaxBytes = INT32_MAX;
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxBytes);
  return Tiff(TIFFClientOpenExt(
      "", "r", &client, Read, RefuseToWrite, Seek, [](thandle_t) { return 0; }, SizeOf, Map,
      [](thandle_t, void*, toff_t) {}, options.get()));
}

template <class Number>
Number Field(const Tiff& tiff, std::uint32_t tag) {
  Number number{};
  TIFFGetFieldDefaulted(tiff.get(), tag, &number);
  return number;
}

enum class Alpha { kNone, kUnknown, kOnColours, kBesideColours };

/// How a page holds its pixels.
struct Layout {
  std::uint32_t width, height;
  std::uint16_t bits, samples, photometric, compression, format, orientation;
  bool isPlanar, isTiled;
  Alpha alpha;
  std::uint32_t blockWidth, blockHeight;  // of a strip or tile

  bool IsGray() const {
    return photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
  }
  bool HasPalette() const { return photometric == PHOTOMETRIC_PALETTE; }
  int Channels() const { return IsGray() || HasPalette() ? 1 : 3; }
  bool HasAlpha() const { return alpha == Alpha::kOnColours || alpha == Alpha::kBesideColours; }
  /// Of a row of a block: of one channel where each has planes of its own.
  std::uint64_t RowBytes() const {
    return (std::uint64_t{blockWidth} * (isPlanar ? 1 : samples) * bits + 7) / 8;
  }
  std::uint64_t FirstRowOf(std::uint32_t block) const {
    const std::uint64_t across = (std::uint64_t{width} + blockWidth - 1) / blockWidth;
    const std::uint64_t down = (std::uint64_t{height} + blockHeight - 1) / blockHeight;
    return block % (across * down) / across * blockHeight;
  }
  /// How many whole rows so many bytes of a block hold, if that can be told.
  std::uint64_t RowsIn(std::uint64_t bytes) const {
    return compression == COMPRESSION_NONE && !isTiled ? bytes / RowBytes() : 0;
  }
};

/// What the samples behind the colours are.
Alpha AlphaOf(const Tiff& tiff, const Layout& layout) {
  if (layout.samples <= layout.Channels()) return Alpha::kNone;
  std::uint16_t count = 0;
  const std::uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds);
  if (count == 0 || !kinds) return Alpha::kUnknown;
  if (kinds[0] == EXTRASAMPLE_ASSOCALPHA) return Alpha::kOnColours;
  return kinds[0] == EXTRASAMPLE_UNASSALPHA ? Alpha::kBesideColours : Alpha::kUnknown;
}

Layout ReadLayout(const Tiff& tiff) {
  Layout layout{};
  layout.width = Field<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
  layout.height = Field<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
  layout.bits = Field<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
  layout.samples = Field<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
  layout.photometric = Field<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC);
  layout.compression = Field<std::uint16_t>(tiff, TIFFTAG_COMPRESSION);
  layout.format = Field<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT);
  layout.orientation = Field<std::uint16_t>(tiff, TIFFTAG_ORIENTATION);
  layout.isPlanar = Field<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
  layout.isTiled = TIFFIsTiled(tiff.get()) != 0;
  layout.alpha = AlphaOf(tiff, layout);
  layout.blockWidth = layout.width;
  layout.blockHeight = std::min(Field<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP), layout.height);
  if (!layout.isTiled) return layout;
  layout.blockWidth = Field<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH);
  layout.blockHeight = Field<std::uint32_t>(tiff, TIFFTAG_TILELENGTH);
  return layout;
}

PictureError Refused(const std::string& kind) {
  return PictureError("it is a TIFF " + kind +
                      ", which is not read; save it in RGB with 8 or 16 bits a channel first");
}

void CheckColours(const Layout& layout) {
  constexpr std::pair<int, const char*> kColours[] = {
      {PHOTOMETRIC_SEPARATED, "in CMYK"},      {PHOTOMETRIC_CIELAB, "in Lab colours"},
      {PHOTOMETRIC_ICCLAB, "in Lab colours"},  {PHOTOMETRIC_ITULAB, "in Lab colours"},
      {PHOTOMETRIC_LOGL, "in LogLuv colours"}, {PHOTOMETRIC_LOGLUV, "in LogLuv colours"},
      {PHOTOMETRIC_CFA, "of raw sensor data"}, {34892, "of raw sensor data"},
      {PHOTOMETRIC_MASK, "of a mask"}};
  for (const auto& [photometric, name] : kColours)
    if (layout.photometric == photometric) throw Refused(name);
  if (!layout.IsGray() && !layout.HasPalette() && layout.photometric != PHOTOMETRIC_RGB &&
      layout.photometric != PHOTOMETRIC_YCBCR)
    throw Refused("of colours of kind " + std::to_string(layout.photometric));
  if (layout.photometric == PHOTOMETRIC_YCBCR && layout.isPlanar)
    throw Refused("of YCbCr channels in planes of their own");
}

void CheckSamples(const Layout& layout) {
  if (layout.format == SAMPLEFORMAT_IEEEFP) throw Refused("of floating-point numbers");
  if (layout.format == SAMPLEFORMAT_INT) throw Refused("of signed numbers");
  if (layout.format != SAMPLEFORMAT_UINT && layout.format != SAMPLEFORMAT_VOID)
    throw Refused("of complex numbers");
  const bool isFew = layout.bits == 1 || layout.bits == 2 || layout.bits == 4;
  const bool isKnown = layout.bits == 8 || (layout.bits == 16 && !layout.HasPalette()) ||
                       (isFew && layout.Channels() == 1 && layout.samples == 1);
  if (!isKnown) throw Refused("of " + std::to_string(layout.bits) + " bits a channel");
  if (layout.HasPalette() && layout.samples > 1) throw Refused("of a palette and more channels");
  if (layout.samples < layout.Channels())
    throw Damaged("a colour picture of " + std::to_string(layout.samples) + " channels");
}

void CheckCompression(const Layout& layout) {
  if (layout.compression == COMPRESSION_OJPEG) throw Refused("of old-style JPEG compression");
  if (!TIFFIsCODECConfigured(layout.compression))
    throw Refused("of compression " + std::to_string(layout.compression));
}

/// How many times its own length a file of this compression may stand for, and some more.
std::uint64_t MaxRatio(std::uint16_t compression) {
  switch (compression) {
    case COMPRESSION_NONE:
      return 1;
    case COMPRESSION_PACKBITS:
      return 128;
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
      return 1032;
    case COMPRESSION_LZW:
    case COMPRESSION_JPEG:
      return 3000;
    default:
      return 20000;
  }
}

/// Throws where the strips or tiles do not all lie within the file.
void CheckBlocks(const Tiff& tiff, const Layout& layout, std::uint64_t fileBytes) {
  const std::uint32_t blocks =
      layout.isTiled ? TIFFNumberOfTiles(tiff.get()) : TIFFNumberOfStrips(tiff.get());
  if (blocks > fileBytes) throw AnnouncesTooMuch(layout.width, layout.height);
  std::uint64_t whole = layout.height;  // rows
  for (std::uint32_t block = 0; block < blocks; ++block) {
    const std::uint64_t start = TIFFGetStrileOffset(tiff.get(), block);
    const std::uint64_t bytes = TIFFGetStrileByteCount(tiff.get(), block);
    if (start <= fileBytes && bytes <= fileBytes - start) continue;
    const std::uint64_t there = start < fileBytes ? fileBytes - start : 0;
    whole = std::min(whole, layout.FirstRowOf(block) + layout.RowsIn(there));
  }
  if (whole < layout.height) throw CutOffAt(static_cast<std::int64_t>(whole), layout.height);
}

void CheckSize(const Tiff& tiff, const Layout& layout, std::uint64_t fileBytes) {
  const std::uint64_t block =
      layout.isTiled ? TIFFTileSize64(tiff.get()) : TIFFStripSize64(tiff.get());
  const std::uint64_t subsampling = layout.photometric == PHOTOMETRIC_YCBCR ? 3 : 1;
  const std::uint64_t most = MaxRatio(layout.compression) * fileBytes * subsampling;
  if (layout.RowBytes() > most / layout.height || block > most)
    throw AnnouncesTooMuch(layout.width, layout.height);
  if (block > INT32_MAX / (layout.isPlanar ? 4 : 1))
    throw PictureError("it is too large: its strips or tiles take more than 2 GB");
}

void Check(const Tiff& tiff, const Layout& layout, std::size_t fileBytes) {
  if (layout.width == 0 || layout.height == 0) throw Damaged("sides that make no picture");
  CheckColours(layout);
  CheckCompression(layout);
  CheckSamples(layout);
  if (layout.blockWidth == 0 || layout.blockHeight == 0) throw Damaged("strips of no rows");
  CheckBlocks(tiff, layout, fileBytes);
  CheckSize(tiff, layout, fileBytes);
}

/// Levels of 16 bits behind each index. Old files hold 8.
Palette ReadPalette(const Tiff& tiff, const Layout& layout) {
  const std::uint16_t* channels[3] = {};  // blue, green, red
  Palette palette;
  if (!TIFFGetField(tiff.get(), TIFFTAG_COLORMAP, &channels[2], &channels[1], &channels[0]))
    throw Damaged("a palette picture without a palette");
  const std::size_t entries = std::size_t{1} << layout.bits;
  const bool isOld = std::ranges::all_of(channels, [&](const std::uint16_t* levels) {
    return std::all_of(levels, levels + entries, [](std::uint16_t level) { return level < 256; });
  });
  for (std::size_t i = 0; i < entries; ++i)
    for (std::size_t c = 0; c < 3; ++c)
      palette.colours[i][c] =
          isOld ? static_cast<std::uint8_t>(channels[c][i]) : To8Bits(channels[c][i]);
  return palette;
}

/// Samples of one channel of a row: the first one, and how far it is to the next.
struct Channel {
  const std::uint8_t* first;
  std::size_t step;
};

/// What turns samples into pixels.
struct Conversion {
  Layout layout;
  Palette palette;
  int bitCount;  // of the pixels
  bool isTransparent = false;

  std::uint8_t Level(const Channel& channel, std::size_t x) const {
    const std::uint8_t* sample = channel.first + channel.step * x;
    if (layout.bits != 16) return *sample;
    std::uint16_t level = 0;
    std::memcpy(&level, sample, sizeof level);
    return To8Bits(level);
  }

  /// The level of a colour that is laid on white; one that has been multiplied by its alpha has
  /// only to be filled up with white.
  std::uint8_t Laid(std::uint8_t level, int alpha) const {
    if (layout.alpha == Alpha::kBesideColours) return OnWhite(level, alpha);
    return static_cast<std::uint8_t>(std::min(level + 255 - alpha, 255));
  }

  /// `channels` are gray or red, green, blue, then alpha.
  void Convert(const Channel* channels, std::size_t count, std::uint8_t* pixels) {
    const int colours = layout.Channels();
    const bool isInverted = layout.photometric == PHOTOMETRIC_MINISWHITE;
    for (std::size_t x = 0; x < count; ++x) {
      const int alpha = layout.HasAlpha() ? Level(channels[colours], x) : 255;
      isTransparent = isTransparent || alpha != 255;
      for (int c = colours; c-- > 0;) {
        const std::uint8_t level = Level(channels[c], x);
        const auto seen = isInverted ? static_cast<std::uint8_t>(255 - level) : level;
        *pixels++ = alpha == 255 ? seen : Laid(seen, alpha);
      }
    }
  }
};

/// Spreads samples of 1, 2 or 4 bits to a byte each, as wide as gray levels of 8 bits or, as
/// indices, as they are.
void Unpack(const std::uint8_t* packed, const Layout& layout, std::size_t count,
            std::uint8_t* bytes) {
  const unsigned mask = (1u << layout.bits) - 1, factor = layout.HasPalette() ? 1 : 255 / mask;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t bit = i * layout.bits;
    const unsigned shift = 8 - layout.bits - static_cast<unsigned>(bit % 8);
    bytes[i] = static_cast<std::uint8_t>((packed[bit / 8] >> shift & mask) * factor);
  }
}

/// Reads strips or tiles and puts their pixels in place.
class BlockReader {
 public:
  BlockReader(const Tiff& tiff, const Client& client, Conversion& conversion, ImageView pixels)
      : tiff_(tiff.get()),
        client_(client),
        conversion_(conversion),
        pixels_(pixels),
        planes_(Layout().isPlanar ? Layout().Channels() + (Layout().HasAlpha() ? 1 : 0) : 1),
        planeBytes_(static_cast<std::size_t>(Layout().isTiled ? TIFFTileSize(tiff_)
                                                              : TIFFStripSize(tiff_))),
        rowBytes_(static_cast<std::size_t>(Layout().isTiled ? TIFFTileRowSize(tiff_)
                                                            : TIFFScanlineSize(tiff_))) {
    if (rowBytes_ == 0 || rowBytes_ > planeBytes_ || rowBytes_ < Layout().RowBytes())
      throw Damaged("rows of another length");
    buffer_ = AllocateArray<std::uint8_t>(planeBytes_ * static_cast<std::size_t>(planes_));
    unpacked_ = AllocateArray<std::uint8_t>(Layout().blockWidth);
  }

  void ReadAll() {
    for (std::uint32_t y = 0; y < Layout().height; y += RowsFrom(y))
      for (std::uint32_t x = 0; x < Layout().width; x += ColumnsFrom(x)) {
        for (int plane = 0; plane < planes_; ++plane) ReadPlane(x, y, plane);
        for (std::uint32_t row = 0; row < RowsFrom(y); ++row) PutRow(x, y, row);
      }
  }

 private:
  const rastelo::steps::Layout& Layout() const { return conversion_.layout; }
  std::uint32_t RowsFrom(std::uint32_t y) const {
    return std::min(Layout().blockHeight, Layout().height - y);
  }
  std::uint32_t ColumnsFrom(std::uint32_t x) const {
    return std::min(Layout().blockWidth, Layout().width - x);
  }
  void ReadPlane(std::uint32_t x, std::uint32_t y, int plane) {
    const auto sample = static_cast<std::uint16_t>(plane);
    std::uint8_t* bytes = buffer_.get() + planeBytes_ * sample;
    const auto count = static_cast<tmsize_t>(planeBytes_);
    const std::uint32_t block = Layout().isTiled ? TIFFComputeTile(tiff_, x, y, 0, sample)
                                                 : TIFFComputeStrip(tiff_, y, sample);
    const tmsize_t got = Layout().isTiled ? TIFFReadEncodedTile(tiff_, block, bytes, count)
                                          : TIFFReadEncodedStrip(tiff_, block, bytes, count);
    const std::size_t rows = Layout().isTiled ? Layout().blockHeight : RowsFrom(y);
    if (got < 0 || client_.message[0] != 0 || static_cast<std::size_t>(got) < rows * rowBytes_)
      throw Damaged("the data break at row " + std::to_string(y) + " of " +
                    std::to_string(Layout().height));
  }

  /// Puts the pixels of row `row` of the block at (x, y) in place.
  void PutRow(std::uint32_t x, std::uint32_t y, std::uint32_t row) {
    const std::uint8_t* samples = buffer_.get() + rowBytes_ * row;
    const std::size_t count = ColumnsFrom(x);
    const int bottomUp = pixels_.height - 1 - static_cast<std::int32_t>(y + row);
    std::uint8_t* pixels = pixels_.Row(bottomUp) + std::size_t{x} * BytesAPixel();
    if (Layout().bits < 8) {
      Unpack(samples, Layout(), count, unpacked_.get());
      samples = unpacked_.get();
    }
    if (Layout().HasPalette()) {
      conversion_.palette.Apply(samples, static_cast<std::int32_t>(count), conversion_.bitCount,
                                pixels);
      return;
    }
    Channel channels[4];
    for (std::size_t c = 0; c < 4; ++c) channels[c] = ChannelOf(samples, c);
    conversion_.Convert(channels, count, pixels);
  }

  Channel ChannelOf(const std::uint8_t* samples, std::size_t channel) const {
    if (Layout().isPlanar) return {samples + planeBytes_ * channel, SampleBytes()};
    return {samples + SampleBytes() * channel, SampleBytes() * Layout().samples};
  }
  std::size_t SampleBytes() const { return Layout().bits == 16 ? 2 : 1; }
  std::size_t BytesAPixel() const { return static_cast<std::size_t>(conversion_.bitCount / 8); }

  TIFF* tiff_;
  const Client& client_;
  Conversion& conversion_;
  ImageView pixels_;
  int planes_;
  std::size_t planeBytes_, rowBytes_;
  std::shared_ptr<std::uint8_t[]> buffer_, unpacked_;  // a block, a row of it
};

/// The pixels of a page whose colours are subsampled and not those of a JPEG.
void ReadSubsampled(const Tiff& tiff, const Client& client, ImageView pixels) {
  char message[1024] = "";
  TIFFRGBAImage image;
  if (!TIFFRGBAImageBegin(&image, tiff.get(), 1, message)) throw Damaged(message);
  const std::unique_ptr<TIFFRGBAImage, decltype(&TIFFRGBAImageEnd)> owner(&image, TIFFRGBAImageEnd);
  image.req_orientation = image.orientation;  // rows as they are stored
  const auto width = static_cast<std::uint32_t>(pixels.width);
  const auto height = static_cast<std::uint32_t>(pixels.height);
  const PixelStore store = MakePixels(width, height, 32);
  auto* words = reinterpret_cast<std::uint32_t*>(store.bits.get());
  if (!TIFFRGBAImageGet(&image, words, width, height) || client.message[0] != 0)
    throw Damaged(client.message);
  for (std::int32_t y = 0; y < pixels.height; ++y) {
    std::uint8_t* pixel = pixels.Row(pixels.height - 1 - y);
    for (std::uint32_t x = 0; x < width; ++x, ++words) {
      *pixel++ = static_cast<std::uint8_t>(TIFFGetB(*words));
      *pixel++ = static_cast<std::uint8_t>(TIFFGetG(*words));
      *pixel++ = static_cast<std::uint8_t>(TIFFGetR(*words));
    }
  }
}

void OpenPage(const Tiff& tiff, Client& client, int page, int pages) {
  if (page < 0 || page >= pages)
    throw PictureError("it has only " + std::to_string(pages) + (pages == 1 ? " page" : " pages"));
  client.message[0] = 0;  // of other pages
  if (!TIFFSetDirectory(tiff.get(), static_cast<tdir_t>(page)) || client.message[0] != 0)
    throw Damaged(client.message);
}

std::optional<Resolution> ReadResolution(const Tiff& tiff) {
  const auto unit = Field<std::uint16_t>(tiff, TIFFTAG_RESOLUTIONUNIT);
  const double x = Field<float>(tiff, TIFFTAG_XRESOLUTION);
  const double y = Field<float>(tiff, TIFFTAG_YRESOLUTION);
  if (unit != RESUNIT_INCH && unit != RESUNIT_CENTIMETER) return std::nullopt;
  if (!(x > 0 && y > 0)) return std::nullopt;
  const double metres = unit == RESUNIT_INCH ? 0.0254 : 0.01;
  return Resolution{x / metres, y / metres};
}

Metadata ReadMetadata(const Tiff& tiff, Bytes file) {
  Metadata metadata;
  metadata.exif = ExifOfTiff(file, TIFFCurrentDirOffset(tiff.get()));
  metadata.resolution = ReadResolution(tiff);
  std::uint32_t count = 0;
  const std::uint8_t* icc = nullptr;
  if (TIFFGetField(tiff.get(), TIFFTAG_ICCPROFILE, &count, &icc))
    metadata.icc.assign(icc, icc + count);
  return metadata;
}

std::string StoredAs(const Layout& layout) {
  std::string stored = std::to_string(layout.bits) + (layout.bits == 1 ? " bit" : " bits");
  if (layout.HasPalette())
    stored += ", palette of " + std::to_string(1u << layout.bits) + " colours";
  else
    stored += layout.IsGray() ? " gray" : " a channel";
  if (layout.HasAlpha()) stored += ", alpha";
  const TIFFCodec* codec = TIFFFindCODEC(layout.compression);
  if (layout.compression != COMPRESSION_NONE && codec)
    stored += std::string(", ") + codec->name + " compression";
  return stored + (layout.isTiled ? ", tiles" : "");
}

std::vector<std::string> NotesOf(const Conversion& conversion) {
  std::vector<std::string> notes;
  const Layout& layout = conversion.layout;
  if (layout.bits == 16) notes.emplace_back(k16BitsNote);
  if (conversion.isTransparent) notes.emplace_back(kAlphaNote);
  if (layout.alpha == Alpha::kUnknown) notes.emplace_back("channels of unknown meaning left out");
  return notes;
}

/// The picture in the page that is open.
Picture ReadPage(const Tiff& tiff, const Client& client) {
  Conversion conversion{ReadLayout(tiff), {}, 24};
  Layout& layout = conversion.layout;
  if (layout.photometric == PHOTOMETRIC_YCBCR && layout.compression == COMPRESSION_JPEG)
    TIFFSetField(tiff.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  Check(tiff, layout, client.file.size());
  if (layout.HasPalette()) conversion.palette = ReadPalette(tiff, layout);
  if (layout.IsGray() || (layout.HasPalette() && conversion.palette.IsGray()))
    conversion.bitCount = 8;
  Picture picture;
  picture.format = Format::kTiff;
  picture.stored = StoredAs(layout);
  picture.pixels = MakePixels(layout.width, layout.height, conversion.bitCount);
  if (layout.photometric == PHOTOMETRIC_YCBCR && layout.compression != COMPRESSION_JPEG)
    ReadSubsampled(tiff, client, picture.pixels.Pixels());
  else
    BlockReader(tiff, client, conversion, picture.pixels.Pixels()).ReadAll();
  picture.notes = NotesOf(conversion);
  picture.metadata = ReadMetadata(tiff, client.file);
  TurnUpright(picture, layout.orientation);
  return picture;
}

}  // namespace

Picture ReadTiff(Bytes file, int page) {
  Client client{file, 0, {}};
  const Tiff tiff = Open(client);
  if (!tiff) throw PictureError(std::string("it is cut off or damaged: ") + client.message);
  const int pages = static_cast<int>(TIFFNumberOfDirectories(tiff.get()));
  OpenPage(tiff, client, page, pages);
  Picture picture = ReadPage(tiff, client);
  picture.pages = pages;
  return picture;
}

}  // namespace rastelo::steps
