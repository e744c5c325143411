// Pictures in and out of memory: every kind that is read, every refusal, and what goes along.
#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <future>

#include <zlib.h>

#include "fuzz/targets.h"
#include "image/bmp_format.h"
#include "steps/pictures/picture.h"
#include "testing/jpeg_samples.h"
#include "testing/object_state.h"
#include "testing/picture_samples.h"

namespace {

using rastelo::steps::Format;
using rastelo::steps::Metadata;
using rastelo::steps::Picture;
using rastelo::steps::PictureError;
using rastelo::steps::ReadPicture;
using rastelo::steps::Resolution;
using rastelo::steps::WriteOptions;
using rastelo::steps::WritePicture;
using samples::PngKind;
using samples::Samples;
using samples::TiffKind;
using testing::HasSubstr;

Picture Read(const Bytes& file, bool keyColour = false) { return ReadPicture(file, {keyColour}); }

/// The reason that reading fails for; empty if it does not.
std::string Refusal(const Bytes& file, int page = 0) try {
  ReadPicture(file, {.page = page});
  return "";
} catch (const PictureError& error) {
  return error.what();
}

/// The pixels, with 0xEE behind each row as a literal image has it.
LiteralImage PixelsOf(const Picture& picture) {
  const rastelo::ImageView from = picture.pixels.Pixels();
  LiteralImage image(from.width, from.height, picture.pixels.bitCount / 8);
  for (int y = 0; y < from.height; ++y)
    std::copy_n(from.Row(y), from.width * image.pixelBytes, &image.At(0, y));
  return image;
}

Bytes Write(const LiteralImage& image, Format format, const Metadata& metadata = {},
            bool strip = false) {
  return WritePicture(image.Pixels(), image.BitCount(), metadata,
                      WriteOptions{.format = format, .strip = strip});
}

/// A pixel of a file, counted from its top: gray, or blue, green, red.
using Colour = std::vector<int>;

LiteralImage ImageOfColours(int width, int height, auto colourAt) {
  LiteralImage image(width, height, int(Colour(colourAt(0, 0)).size()));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Colour colour = colourAt(x, y);
      for (int c = 0; c < image.pixelBytes; ++c)
        image.At(x * image.pixelBytes + c, height - 1 - y) = std::uint8_t(colour[std::size_t(c)]);
    }
  return image;
}

/// A sample in 8 bits.
int Level(const Samples& s, int x, int y, int channel) {
  return int(std::lround(s.At(x, y, channel) * 255.0 / ((1 << s.bits) - 1)));
}

int OnWhite(int level, int alpha) { return (level * alpha + 255 * (255 - alpha) + 127) / 255; }

/// Samples of gray or red, green, blue as they are to be seen, with the last one as alpha.
LiteralImage Seen(const Samples& s, bool hasAlpha, bool isInverted = false) {
  const int colours = s.channels - (hasAlpha ? 1 : 0);
  return ImageOfColours(s.width, s.height, [&](int x, int y) {
    Colour colour;
    const int alpha = hasAlpha ? Level(s, x, y, colours) : 255;
    for (int c = colours; c-- > 0;) {
      const int level = Level(s, x, y, c);
      colour.push_back(OnWhite(isInverted ? 255 - level : level, alpha));
    }
    return colour;
  });
}

struct ChannelKind {
  int colours, channels;
};

TEST(ReadPng, EveryDepthAndKindOfChannels) {
  constexpr ChannelKind kKinds[] = {{PNG_COLOR_TYPE_GRAY, 1},
                                    {PNG_COLOR_TYPE_GRAY_ALPHA, 2},
                                    {PNG_COLOR_TYPE_RGB, 3},
                                    {PNG_COLOR_TYPE_RGB_ALPHA, 4}};
  for (const auto& [colours, channels] : kKinds)
    for (const int bits : {1, 2, 4, 8, 16}) {
      if (bits < 8 && channels > 1) continue;
      for (const bool isInterlaced : {false, true}) {
        const Samples s(11, 9, channels, bits);
        const bool hasAlpha = channels % 2 == 0;
        const Picture picture =
            Read(EncodePng(s, {.colours = colours, .isInterlaced = isInterlaced}));
        EXPECT_EQ(PixelsOf(picture), Seen(s, hasAlpha)) << channels << " channels of " << bits;
        EXPECT_EQ(picture.notes.size(), std::size_t(bits == 16) + std::size_t(hasAlpha));
      }
    }
}

TEST(ReadPng, EveryLevelOf16BitsIsRounded) {
  Samples s(256, 256, 1, 16);
  for (std::size_t i = 0; i < s.rows.size(); ++i) s.rows[i] = std::uint8_t(i % 2 ? i / 2 : i / 512);
  EXPECT_EQ(PixelsOf(Read(EncodePng(s, {}))), Seen(s, false));
}

TEST(ReadPng, PalettesAndTransparentColours) {
  const std::vector<png_color> colourful = {{1, 2, 3}, {200, 100, 50}, {0, 0, 0}, {9, 9, 8}};
  const std::vector<png_color> grays = {{7, 7, 7}, {200, 200, 200}, {0, 0, 0}, {90, 90, 90}};
  const std::vector<png_byte> alphas = {255, 128, 0};
  const Samples s(9, 5, 1, 2);
  for (const bool isColourful : {false, true})
    for (const auto& transparency : {std::vector<png_byte>(), alphas}) {
      const auto& palette = isColourful ? colourful : grays;
      const Picture picture = Read(EncodePng(
          s,
          {.colours = PNG_COLOR_TYPE_PALETTE, .palette = palette, .paletteAlphas = transparency}));
      EXPECT_EQ(PixelsOf(picture), ImageOfColours(9, 5, [&](int x, int y) {
                  const unsigned index = s.At(x, y, 0);
                  const int alpha = index < transparency.size() ? transparency[index] : 255;
                  const png_color& entry = palette[index];
                  Colour colour = {OnWhite(entry.blue, alpha)};
                  if (isColourful) {
                    colour.push_back(OnWhite(entry.green, alpha));
                    colour.push_back(OnWhite(entry.red, alpha));
                  }
                  return colour;
                }));
      EXPECT_EQ(picture.stored, "2 bits, palette of 4 colours");
      EXPECT_EQ(picture.notes.empty(), transparency.empty());
    }
  png_color_16 transparent{};
  transparent.gray = 2;
  EXPECT_EQ(PixelsOf(Read(EncodePng(s, {.transparent = &transparent}))),
            ImageOfColours(9, 5, [&](int x, int y) {
              return Colour{s.At(x, y, 0) == 2 ? 255 : Level(s, x, y, 0)};
            }));
}

TEST(ReadTiff, EveryDepthKindOfChannelsAndArrangement) {
  struct Case {
    TiffKind kind;
    int channels, bits;
  };
  std::vector<Case> cases;
  for (const bool isTiled : {false, true})
    for (const bool isPlanar : {false, true})
      for (const int compression :
           {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS}) {
        const auto add = [&](int photometric, int channels, int bits, int extra = -1) {
          cases.push_back({{photometric, compression, isPlanar, isTiled, extra, 1, [](TIFF*) {}},
                           channels,
                           bits});
        };
        for (const int bits : {1, 2, 4, 8, 16}) {
          add(PHOTOMETRIC_MINISBLACK, 1, bits);
          add(PHOTOMETRIC_MINISWHITE, 1, bits);
          if (bits < 8) continue;
          add(PHOTOMETRIC_MINISBLACK, 2, bits, EXTRASAMPLE_UNASSALPHA);
          add(PHOTOMETRIC_RGB, 3, bits);
          add(PHOTOMETRIC_RGB, 4, bits, EXTRASAMPLE_UNASSALPHA);
        }
      }
  for (const auto& [kind, channels, bits] : cases) {
    const Samples s(21, 19, channels, bits);
    const Picture picture = Read(EncodeTiff(s, kind));
    const bool isInverted = kind.photometric == PHOTOMETRIC_MINISWHITE;
    EXPECT_EQ(PixelsOf(picture), Seen(s, kind.extra >= 0, isInverted))
        << picture.stored << ", " << channels << " channels, planar " << kind.isPlanar;
    EXPECT_EQ(picture.notes.size(), std::size_t(bits == 16) + std::size_t(kind.extra >= 0));
  }
}

TEST(ReadTiff, FaxJpegSubsampledAndPalettes) {
  const Samples bilevel(37, 12, 1, 1);
  for (const int compression : {COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4})
    EXPECT_EQ(PixelsOf(Read(EncodeTiff(
                  bilevel, {.photometric = PHOTOMETRIC_MINISWHITE, .compression = compression}))),
              Seen(bilevel, false, true));
  std::uint16_t red[16], green[16], blue[16];
  for (int i = 0; i < 16; ++i) {
    red[i] = std::uint16_t(i * 4000);
    green[i] = std::uint16_t(65535 - i);
    blue[i] = std::uint16_t(i * 129);
  }
  const Samples indices(10, 7, 1, 4);
  const auto palette = [&](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_COLORMAP, red, green, blue); };
  EXPECT_EQ(
      PixelsOf(Read(EncodeTiff(indices, {.photometric = PHOTOMETRIC_PALETTE, .set = palette}))),
      ImageOfColours(10, 7, [&](int x, int y) {
        const unsigned i = indices.At(x, y, 0);
        const auto scaled = [](int level) { return int(std::lround(level / 257.0)); };
        return Colour{scaled(blue[i]), scaled(green[i]), scaled(red[i])};
      }));

  // One colour all over, in ways that lose some of it: Y, Cb, Cr 128 are a gray.
  Samples plain(32, 16, 3, 8);
  std::fill(plain.rows.begin(), plain.rows.end(), 128);
  const LiteralImage gray = ImageOfColours(32, 16, [](int, int) { return Colour{128, 128, 128}; });
  const auto whole = [](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 16);
    TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
  };
  const auto coded = [](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 16);
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  };
  for (const auto& [compression, set] :
       {std::pair<int, std::function<void(TIFF*)>>{COMPRESSION_LZW, whole},
        {COMPRESSION_JPEG, coded}}) {
    TiffKind kind{.photometric = PHOTOMETRIC_YCBCR, .compression = compression};
    const Bytes file = samples::EncodeTiff([&](TIFF* tiff) {
      kind.set = set;
      samples::WriteTiffPage(tiff, plain, kind);
    });
    EXPECT_EQ(PixelsOf(Read(file)), gray) << compression;
  }
}

TEST(ReadTiff, ColoursMultipliedByTheirAlphaAreFilledUpWithWhite) {
  Samples s(9, 4, 4, 8);
  for (std::size_t i = 0; i < s.rows.size(); i += 4)
    for (std::size_t c = 0; c < 3; ++c) s.rows[i + c] = std::min(s.rows[i + c], s.rows[i + 3]);
  for (const bool isPlanar : {false, true})
    EXPECT_EQ(PixelsOf(Read(EncodeTiff(s, {.photometric = PHOTOMETRIC_RGB,
                                           .isPlanar = isPlanar,
                                           .extra = EXTRASAMPLE_ASSOCALPHA}))),
              ImageOfColours(9, 4, [&](int x, int y) {
                const int white = 255 - Level(s, x, y, 3);
                return Colour{Level(s, x, y, 2) + white, Level(s, x, y, 1) + white,
                              Level(s, x, y, 0) + white};
              }));
  const Picture unknown =
      Read(EncodeTiff(s, {.photometric = PHOTOMETRIC_RGB, .extra = EXTRASAMPLE_UNSPECIFIED}));
  EXPECT_THAT(unknown.notes, testing::ElementsAre(HasSubstr("unknown meaning")));
}

TEST(ReadTiff, PagesAreCounted) {
  const Samples first(5, 4, 1, 8), second(3, 2, 3, 8);
  const Bytes file = samples::EncodeTiff([&](TIFF* tiff) {
    samples::WriteTiffPage(tiff, first, {});
    TIFFWriteDirectory(tiff);
    samples::WriteTiffPage(tiff, second, {.photometric = PHOTOMETRIC_RGB});
  });
  EXPECT_EQ(PixelsOf(ReadPicture(file, {.page = 0})), Seen(first, false));
  EXPECT_EQ(PixelsOf(ReadPicture(file, {.page = 1})), Seen(second, false));
  EXPECT_EQ(Read(file).pages, 2);
  for (const int page : {-1, 2}) EXPECT_EQ(Refusal(file, page), "it has only 2 pages");
  EXPECT_EQ(Refusal(Write(Noise(2, 2), Format::kPng), 1), "it has only 1 page");
}

/// Where the pixel at (x, y) of an upright picture of W x H pixels, counted from the top, stands in
/// the file.
std::pair<int, int> Stored(int orientation, int x, int y, int width, int height) {
  const int right = width - 1 - x, bottom = height - 1 - y;
  const std::pair<int, int> places[] = {{x, y}, {right, y}, {right, bottom}, {x, bottom},
                                        {y, x}, {y, right}, {bottom, right}, {bottom, x}};
  return places[orientation - 1];
}

/// What a file that holds `stored` upright is to show.
LiteralImage Upright(const LiteralImage& stored, int orientation) {
  const bool turns = orientation >= 5;
  const int width = turns ? stored.height : stored.width;
  const int height = turns ? stored.width : stored.height;
  return ImageOfColours(width, height, [&](int x, int y) {
    const auto [column, row] = Stored(orientation, x, y, width, height);
    Colour colour;
    LiteralImage from = stored;
    for (int c = 0; c < stored.pixelBytes; ++c)
      colour.push_back(from.At(column * stored.pixelBytes + c, stored.height - 1 - row));
    return colour;
  });
}

TEST(Orientations, AreCarriedOut) {
  const LiteralImage colours = Noise(5, 3, 3);
  const Bytes jpeg = Write(colours, Format::kJpeg);
  const LiteralImage decoded = PixelsOf(Read(jpeg));
  for (int orientation = 1; orientation <= 8; ++orientation) {
    for (const bool isBigEndian : {false, true}) {
      const Bytes exif = samples::MakeExif(isBigEndian, orientation);
      const Bytes turned = samples::WithMarker(jpeg, 0xE1, std::string("Exif\0\0", 6), exif);
      EXPECT_EQ(PixelsOf(Read(turned)), Upright(decoded, orientation)) << orientation;
      const Samples s(6, 4, 1, 8);
      EXPECT_EQ(PixelsOf(Read(EncodePng(s, {.exif = exif}))), Upright(Seen(s, false), orientation));
    }
    const Samples s(4, 7, 3, 8);
    const Picture picture = Read(EncodeTiff(
        s, {.photometric = PHOTOMETRIC_RGB, .orientation = orientation, .set = [](TIFF* tiff) {
              TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 100.0);
              TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 50.0);
              TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
            }}));
    EXPECT_EQ(PixelsOf(picture), Upright(Seen(s, false), orientation)) << orientation;
    ASSERT_TRUE(picture.metadata.resolution);
    EXPECT_DOUBLE_EQ(picture.metadata.resolution->x, orientation < 5 ? 10000 : 5000);
  }
}

/// A BMP file of these rows from its first on.
Bytes MakeBmp(int width, int height, int bitCount, const Bytes& palette, const Bytes& rows) {
  const auto size = std::int32_t(rastelo::Pitch(width, bitCount));
  const rastelo::ConstImageView view{nullptr, width, height, size};
  const auto fileHeader = rastelo::MakeBmpFileHeader(view, bitCount);
  const auto infoHeader = rastelo::MakeBmpInfoHeader(view, bitCount);
  Bytes file(fileHeader.size() + infoHeader.size() + palette.size() + rows.size());
  auto end = std::ranges::copy(infoHeader, std::ranges::copy(fileHeader, file.begin()).out).out;
  std::ranges::copy(rows, std::ranges::copy(palette, end).out);
  rastelo::Store32(&file[46], std::uint32_t(palette.size() / 4));
  rastelo::Store32(&file[10], std::uint32_t(file.size() - rows.size()));
  return file;
}

TEST(ReadBmp, PalettesGapsAndTopDownFiles) {
  const Bytes rows = {0, 1, 2, 0, 2, 1, 1, 0};
  const Bytes grays = {9, 9, 9, 0, 80, 80, 80, 0, 255, 255, 255, 0};
  const Bytes colours = {9, 8, 7, 0, 80, 70, 60, 0, 255, 254, 253, 0};
  EXPECT_EQ(PixelsOf(Read(MakeBmp(3, 2, 8, grays, rows))),
            (LiteralImage{{9, 80, 255}, {255, 80, 80}}));
  const LiteralImage coloured(
      {{9, 8, 7, 80, 70, 60, 255, 254, 253}, {255, 254, 253, 80, 70, 60, 80, 70, 60}}, 3);
  Bytes file = MakeBmp(3, 2, 8, colours, rows);
  EXPECT_EQ(PixelsOf(Read(file)), coloured);
  file.insert(file.begin() + 54 + 12, 5, 0xCC);  // between palette and pixels
  file[10] += 5;
  EXPECT_EQ(PixelsOf(Read(file)), coloured);
  rastelo::Store32(&file[22], std::uint32_t(-2));
  EXPECT_EQ(PixelsOf(Read(file)), LiteralImage({{255, 254, 253, 80, 70, 60, 80, 70, 60},
                                                {9, 8, 7, 80, 70, 60, 255, 254, 253}},
                                               3));
  const LiteralImage image = Noise(5, 4, 3);
  for (const std::uint32_t place : {0u, 20u, 0xFFFFFFFFu}) {  // nowhere that pixels could be
    Bytes bmp = Write(image, Format::kBmp);
    rastelo::Store32(&bmp[10], place);
    EXPECT_EQ(PixelsOf(Read(bmp)), image);
  }
}

TEST(ReadBmp, KeyColoursAreThoseOfTheClass) {
  LiteralImage image = Noise(6, 5, 3);
  for (const int x : {3, 5}) image.At(x, 2) = 255;
  image.At(4, 2) = 0;
  const Bytes palette(1024, 0x33);
  for (const Bytes& file : {Write(image, Format::kBmp), MakeBmp(3, 1, 8, palette, {1, 2, 3, 0})}) {
    CRastelo object;
    ASSERT_EQ(Open(object, file, "a.bmp"), 1);
    EXPECT_EQ(ZeroTails(PixelsOf(Read(file, true))), ZeroTails(ImageOf(object)));
  }
}

TEST(ReadJpeg, GivesThePixelsThatTheClassOpens) {
  for (const fuzz::JpegCoding& coding : fuzz::kJpegCodings) {
    const LiteralImage noise = Noise(37, 23, coding.channels);
    const Bytes file =
        fuzz::EncodeJpeg(37, 23, coding.channels, coding.choose, [&](int y, Bytes& row) {
          std::copy_n(noise.bytes.begin() + noise.pitch * y, row.size(), row.begin());
        });
    if (coding.channels == 4) {
      EXPECT_EQ(Refusal(file), "it is a CMYK JPEG; convert it to RGB first");
      continue;
    }
    CRastelo object;
    ASSERT_EQ(Open(object, file, "a.jpg"), 1);
    EXPECT_EQ(ZeroTails(PixelsOf(Read(file))), ZeroTails(ImageOf(object))) << coding.name;
  }
}

TEST(WritePicture, WithoutMetadataGivesTheFilesOfTheClass) {
  for (const int pixelBytes : {1, 3}) {
    const LiteralImage image = Noise(13, 9, pixelBytes);
    for (const auto& [format, name] :
         {std::pair(Format::kBmp, "a.bmp"), std::pair(Format::kJpeg, "a.jpg")})
      EXPECT_EQ(Write(image, format), ReadFile(PictureFile(name, image))) << name;
    const Bytes png = Write(image, Format::kPng);
    EXPECT_EQ(PixelsOf(Read(png)), image);
    EXPECT_EQ(png, Write(image, Format::kPng));
  }
}

std::string ValueOf(const Bytes& exif, const std::string& name) {
  for (const auto& [key, value] : rastelo::steps::DescribeExif(exif))
    if (key == name) return value;
  return "";
}

TEST(Exif, GoesAlongUprightAndWithoutItsThumbnail) {
  const LiteralImage image = Noise(6, 4, 3);
  for (const bool isBigEndian : {false, true}) {
    const Bytes exif = samples::MakeExif(isBigEndian, 6);
    EXPECT_EQ(ValueOf(exif, "Orientation"), "Right-top");
    for (const Format format : {Format::kJpeg, Format::kPng}) {
      const Picture picture = Read(Write(image, format, {exif, {}, {}}));
      EXPECT_EQ(picture.pixels.width, 6);  // not turned again
      const Bytes& kept = picture.metadata.exif;
      EXPECT_EQ(kept.size(), 240u);  // the thumbnail is away
      EXPECT_TRUE(std::equal(exif.begin() + 180, exif.begin() + 196, kept.begin() + 180));
      for (const auto& [name, value] : {std::pair("Orientation", "Top-left"),
                                        {"Manufacturer", "Smith & Son"},
                                        {"Image Width", "6"},
                                        {"Pixel X Dimension", "6"},
                                        {"Pixel Y Dimension", "4"},
                                        {"North or South Latitude", "N"}})
        EXPECT_EQ(ValueOf(kept, name), value) << name;
    }
    EXPECT_EQ(Write(image, Format::kPng, {exif, {}, {}}, true), Write(image, Format::kPng));
  }
}

TEST(Exif, OfATiffFileHoldsWhatIsSaidOfThePicture) {
  const Samples s(7, 5, 3, 8);
  const Bytes file = samples::EncodeTiff([&](TIFF* tiff) {
    const auto describe = [](TIFF* page) {
      TIFFSetField(page, TIFFTAG_MAKE, "Smith & Son");
      TIFFSetField(page, TIFFTAG_ARTIST, "Zo\xC3\xAB");
    };
    samples::WriteTiffPage(tiff, s, {.photometric = PHOTOMETRIC_RGB, .set = describe});
    TIFFWriteDirectory(tiff);
    TIFFCreateEXIFDirectory(tiff);
    TIFFSetField(tiff, EXIFTAG_PIXELXDIMENSION, 900);
    TIFFSetField(tiff, EXIFTAG_EXPOSURETIME, 0.004);
    std::uint64_t place = 0;
    TIFFWriteCustomDirectory(tiff, &place);
    TIFFSetDirectory(tiff, 0);
    TIFFSetField(tiff, TIFFTAG_EXIFIFD, place);
    TIFFRewriteDirectory(tiff);
  });
  const Picture picture = Read(file);
  const Picture copy = Read(Write(PixelsOf(picture), Format::kJpeg, picture.metadata));
  for (const auto& [name, value] : {std::pair("Manufacturer", "Smith & Son"),
                                    {"Artist", "Zo\xC3\xAB"},
                                    {"Exposure Time", "1/250 sec."},
                                    {"Pixel X Dimension", "7"}})
    EXPECT_EQ(ValueOf(copy.metadata.exif, name), value) << name;
  EXPECT_EQ(ValueOf(copy.metadata.exif, "Compression"), "");
  EXPECT_TRUE(Read(EncodeTiff(s, {.photometric = PHOTOMETRIC_RGB})).metadata.exif.empty());
}

TEST(Exif, ThatIsTooLongOrNonsenseStaysBehind) {
  const LiteralImage image = Noise(3, 3);
  Bytes longest = samples::MakeExif(false, 1), cut = longest;
  longest.resize(65528);
  cut.resize(20);
  EXPECT_EQ(Write(image, Format::kJpeg, {longest, {}, {}}), Write(image, Format::kJpeg));
  EXPECT_FALSE(Read(Write(image, Format::kPng, {longest, {}, {}})).metadata.exif.empty());
  for (const Bytes& nonsense : {cut, Bytes{}, Bytes{'M', 'M'}, Bytes(100, 0xFF)}) {
    EXPECT_EQ(Write(image, Format::kJpeg, {nonsense, {}, {}}), Write(image, Format::kJpeg));
    EXPECT_TRUE(rastelo::steps::DescribeExif(nonsense).empty());
  }
}

TEST(Profiles, GoAlongWhereTheirColoursAreThoseOfThePicture) {
  const Bytes rgb = samples::MakeProfile("RGB ", 70000), gray = samples::MakeProfile("GRAY", 300);
  for (const Format format : {Format::kJpeg, Format::kPng})
    for (const int pixelBytes : {1, 3})
      for (const Bytes& icc : {rgb, gray}) {
        const LiteralImage image = Noise(4, 4, pixelBytes);
        const bool fits = (pixelBytes == 3) == (icc == rgb);
        EXPECT_EQ(Read(Write(image, format, {{}, icc, {}})).metadata.icc, fits ? icc : Bytes());
      }
  const auto set = [&](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_ICCPROFILE, std::uint32_t(gray.size()), gray.data());
  };
  EXPECT_EQ(Read(EncodeTiff(Samples(2, 2, 1, 8), {.set = set})).metadata.icc, gray);
}

TEST(Resolutions, GoAlongAsExactlyAsTheFormatCan) {
  struct Case {
    Format format;
    double in, out;
  };
  const Case cases[] = {{Format::kBmp, 11811, 11811},
                        {Format::kPng, 11811, 11811},
                        {Format::kPng, 300 / 0.0254, 11811},
                        {Format::kJpeg, 11811, 300 / 0.0254},
                        {Format::kJpeg, 10000, 10000},
                        {Format::kJpeg, 72 / 0.0254, 72 / 0.0254},
                        {Format::kJpeg, 1e9, 0},
                        {Format::kPng, 1e10, 0},
                        {Format::kBmp, 0.1, 0}};
  for (const auto& [format, in, out] : cases) {
    const Bytes file = Write(Noise(3, 2), format, {{}, {}, Resolution{in, in}});
    const auto resolution = Read(file).metadata.resolution;
    EXPECT_DOUBLE_EQ(resolution ? resolution->x : 0, out) << NameOf(format) << " of " << in;
    EXPECT_DOUBLE_EQ(resolution ? resolution->y : 0, out);
  }
  EXPECT_EQ(Read(EncodePng(Samples(2, 2, 1, 8), {.pixelsAMetre = 40})).metadata.resolution->y, 80);
}

TEST(Refusals, NameTheKindAndWhatToDo) {
  const auto text = [](std::string_view bytes) { return Bytes(bytes.begin(), bytes.end()); };
  const auto bmp = [](std::size_t place, std::uint32_t value) {
    Bytes file = Write(Noise(4, 4), Format::kBmp);
    rastelo::Store16(&file[place], value);
    return file;
  };
  const auto jpeg = [](int offset, int value) {
    Bytes file = Write(Noise(40, 40), Format::kJpeg);
    *(fuzz::FrameOf(file) + offset) = std::uint8_t(value);
    return file;
  };
  const auto tiff = [](int channels, int bits, int photometric, int format) {
    return samples::EncodeTiff(Samples(4, 4, channels, bits),
                               {.photometric = photometric, .set = [=](TIFF* file) {
                                  TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, format);
                                }});
  };
  using std::string_view_literals::operator""sv;
  const std::pair<Bytes, const char*> cases[] = {
      {{}, "it is empty"},
      {text("GIF89a\1\0\1\0"sv), "a GIF picture, which is not read; save it as JPEG"},
      {text("RIFF\20\0\0\0WEBPVP8 "sv), "WebP"},
      {text("%PDF-1.7\n"), "PDF"},
      {text("\0\0\0\x18"
            "ftypheic\0\0\0\0"sv),
       "HEIC"},
      {text("\0\0\0\x0CJXL \r\n\x87\n"sv), "JPEG XL"},
      {text("PK\3\4\24\0\0\0"sv), "ZIP"},
      {text("BMW is no picture.\n"), "it is a text, not a picture"},
      {text("P6\n2 2\n255\n"), "PNM"},
      {text("\1\2\3\4\5"sv), "it is not a picture"},
      {bmp(28, 1), "a BMP of 1 bits a pixel"},
      {bmp(28, 4), "a BMP of 4 bits a pixel"},
      {bmp(28, 16), "a BMP of 16 bits a pixel"},
      {bmp(28, 32), "a BMP of 32 bits a pixel"},
      {bmp(30, 1), "RLE"},
      {bmp(30, 3), "colour masks"},
      {bmp(14, 12), "OS/2"},
      {bmp(14, 13), "an info header of 13 bytes"},
      {bmp(18, 0), "sides that make no picture"},
      {bmp(22, 200), "it is cut off at row 4 of 200"},
      {bmp(20, 0x7FFF), "it is cut off at row 0 of 4"},
      {jpeg(1, 0xC3), "a JPEG of a rare kind"},
      {jpeg(4, 12), "a JPEG of a rare kind"},
      {jpeg(5, 0xFF), "it announces more pixels than it can hold"},
      {tiff(4, 8, PHOTOMETRIC_SEPARATED, SAMPLEFORMAT_UINT), "a TIFF in CMYK"},
      {tiff(3, 8, PHOTOMETRIC_CIELAB, SAMPLEFORMAT_UINT), "in Lab colours"},
      {tiff(1, 32, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_IEEEFP), "floating-point"},
      {tiff(1, 32, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_UINT), "of 32 bits a channel"},
      {tiff(1, 16, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_INT), "of signed numbers"},
      {tiff(1, 16, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_COMPLEXINT), "of complex numbers"},
      {tiff(1, 12, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_UINT), "of 12 bits a channel"},
      {tiff(3, 4, PHOTOMETRIC_RGB, SAMPLEFORMAT_UINT), "of 4 bits a channel"}};
  for (const auto& [file, reason] : cases) EXPECT_THAT(Refusal(file), HasSubstr(reason));
  EXPECT_THROW(Write(Noise(2, 2), Format::kTiff), PictureError);
  EXPECT_THROW(Write(LiteralImage(65501, 1, 1), Format::kJpeg), PictureError);
  EXPECT_THROW(WritePicture(Noise(2, 2).Pixels(), 8, {}, {.quality = 0}), PictureError);
}

TEST(Refusals, OfShortFilesThatPromiseMuch) {
  Bytes png = Write(Noise(2, 2), Format::kPng);
  png[16] = png[20] = 0;
  png[17] = png[21] = 1;  // 65,538 x 65,538 pixels, with a checksum that is right
  const auto sum = crc32(0, &png[12], 17);
  for (int i = 0; i < 4; ++i) png[29 + std::size_t(i)] = std::uint8_t(sum >> (24 - 8 * i));
  EXPECT_THAT(Refusal(png), HasSubstr("more than its bytes can hold"));
  const Bytes tiff = samples::EncodeTiff([](TIFF* file) {
    samples::WriteTiffPage(file, Samples(4, 4, 1, 8),
                           {.compression = COMPRESSION_LZW, .set = [](TIFF* page) {
                              TIFFSetField(page, TIFFTAG_IMAGEWIDTH, 40000);
                              TIFFSetField(page, TIFFTAG_IMAGELENGTH, 40000);
                              TIFFSetField(page, TIFFTAG_ROWSPERSTRIP, 40000);
                            }});
  });
  EXPECT_THAT(Refusal(tiff), HasSubstr("more than its bytes can hold"));
}

TEST(CutOff, FilesAreRefusedAtEveryLength) {
  const LiteralImage image = Noise(9, 7, 3);
  const Bytes exif = samples::MakeExif(true, 3);
  const Bytes files[] = {
      Write(image, Format::kJpeg, {exif, {}, {}}), Write(image, Format::kPng, {exif, {}, {}}),
      Write(Noise(4, 3), Format::kBmp), EncodePng(Samples(9, 8, 4, 16), {.isInterlaced = true})};
  for (const Bytes& file : files)
    for (std::size_t length = 0; length < file.size(); ++length)
      EXPECT_NE(Refusal({file.begin(), file.begin() + std::ptrdiff_t(length)}), "") << length;
  // What a TIFF file ends with may be of no use.
  const Bytes tiff = EncodeTiff(Samples(9, 8, 3, 8), {.photometric = PHOTOMETRIC_RGB});
  for (std::size_t length = 0; length < tiff.size(); ++length) {
    const Bytes cut(tiff.begin(), tiff.begin() + std::ptrdiff_t(length));
    if (!Refusal(cut).empty()) continue;
    EXPECT_EQ(PixelsOf(Read(cut)), PixelsOf(Read(tiff))) << length;
  }
}

TEST(CutOff, FilesTellHowFarTheyGo) {
  const LiteralImage image = Noise(100, 400, 3);
  for (const Format format : {Format::kJpeg, Format::kPng, Format::kBmp}) {
    Bytes file = Write(image, format);
    file.resize(file.size() / 2);
    const std::string reason = Refusal(file);
    ASSERT_THAT(reason, testing::MatchesRegex("it is cut off at row .+ of 400"));
    EXPECT_NEAR(std::stoi(reason.substr(21)), 200, 40) << NameOf(format);
  }
}

TEST(Formats, FollowFromContentAndFromNames) {
  using rastelo::steps::FormatOfContent;
  using rastelo::steps::FormatOfName;
  for (const Format format : {Format::kJpeg, Format::kPng, Format::kBmp})
    EXPECT_EQ(FormatOfContent(Write(Noise(2, 2), format)), format);
  EXPECT_EQ(FormatOfContent(Bytes{'M', 'M', 0, 42}), Format::kTiff);
  EXPECT_EQ(FormatOfContent({}), std::nullopt);
  for (const char* name : {"a.jpg", "b/a.JPEG", ".jpg", "a.png.jpg"})
    EXPECT_EQ(FormatOfName(name), Format::kJpeg) << name;
  EXPECT_EQ(FormatOfName("A.Tiff"), Format::kTiff);
  for (const char* name : {"", "jpg", "a.jpg/b", "a.gif", "a.jpg "})
    EXPECT_EQ(FormatOfName(name), std::nullopt) << name;
}

TEST(Threads, ReadAndWritePicturesOfTheirOwn) {
  const Bytes exif = samples::MakeExif(false, 8);
  const Bytes files[] = {Write(Noise(40, 30, 3), Format::kJpeg, {exif, {}, {}}),
                         Write(Noise(40, 30, 3), Format::kPng, {exif, {}, {}}),
                         EncodeTiff(Samples(40, 30, 3, 8), {.photometric = PHOTOMETRIC_RGB,
                                                            .compression = COMPRESSION_LZW}),
                         Bytes(200, 0xFF), Bytes{'I', 'I', 42, 0, 8, 0, 0, 0, 9, 0, 1, 2, 3}};
  const auto work = [&] {
    std::vector<std::string> results;
    for (const Bytes& file : files) {
      results.push_back(Refusal(file));
      if (!results.back().empty()) continue;
      const Picture picture = Read(file);
      const Bytes copy = Write(PixelsOf(picture), Format::kPng, picture.metadata);
      results.emplace_back(copy.begin(), copy.end());
      results.push_back(ValueOf(picture.metadata.exif, "Manufacturer"));
    }
    return results;
  };
  const auto expected = work();
  std::vector<std::future<std::vector<std::string>>> results;
  for (int i = 0; i < 8; ++i) results.push_back(std::async(std::launch::async, work));
  for (auto& result : results) EXPECT_EQ(result.get(), expected);
}

TEST(FuzzInputs, OfPicturesBreakNoPromise) {
  int inputs = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(RASTELO_FUZZ_INPUTS "/ReadPicture")) {
    const Bytes bytes = ReadFile(entry.path().string());
    fuzz::ReadPicture(bytes.data(), bytes.size());
    ++inputs;
  }
  EXPECT_GT(inputs, 0);
}

}  // namespace
