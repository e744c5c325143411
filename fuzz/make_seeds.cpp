// make_seeds FOLDER: small pictures and scripts for the fuzzers to start from, in a folder a
// target.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "testing/jpeg_samples.h"
#include "testing/object_state.h"
#include "testing/picture_samples.h"

namespace {

Bytes Pattern(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = std::uint8_t(i * i * 7 + i / 5);
  return bytes;
}

/// A picture of each format in some of the kinds that it knows.
void MakePictures(const std::filesystem::path& folder) {
  using samples::Samples;
  const Bytes exif = samples::MakeExif(true, 6), icc = samples::MakeProfile("RGB ", 200);
  const Bytes jpeg = fuzz::EncodeJpeg(
      5, 7, 3, [](auto&) {}, [](int, Bytes& row) { row = Pattern(row.size()); });
  WriteFile(folder / "exif.jpg", samples::WithMarker(jpeg, 0xE1, std::string("Exif\0\0", 6), exif));
  WriteFile(
      folder / "rgb16.png",
      EncodePng(Samples(5, 4, 4, 16),
                {.colours = PNG_COLOR_TYPE_RGBA, .exif = exif, .icc = icc, .pixelsAMetre = 2835}));
  const std::vector<png_color> palette(16, {1, 2, 3});
  WriteFile(folder / "palette.png",
            EncodePng(Samples(9, 4, 1, 4), {.colours = PNG_COLOR_TYPE_PALETTE,
                                            .isInterlaced = true,
                                            .palette = palette,
                                            .paletteAlphas = {3}}));
  struct TiffSeed {
    const char* name;
    int channels, bits;
    samples::TiffKind kind;
  };
  const auto coded = [](TIFF* tiff) {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 16);
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  };
  const TiffSeed kSeeds[] = {
      {"plain", 3, 8, {.photometric = PHOTOMETRIC_RGB, .orientation = 5}},
      {"planes",
       3,
       8,
       {.photometric = PHOTOMETRIC_RGB, .compression = COMPRESSION_LZW, .isPlanar = true}},
      {"tiles",
       2,
       16,
       {.compression = COMPRESSION_ADOBE_DEFLATE,
        .isTiled = true,
        .extra = EXTRASAMPLE_UNASSALPHA}},
      {"packed", 1, 4, {.compression = COMPRESSION_PACKBITS}},
      {"fax", 1, 1, {.photometric = PHOTOMETRIC_MINISWHITE, .compression = COMPRESSION_CCITTFAX4}},
      {"coded",
       3,
       8,
       {.photometric = PHOTOMETRIC_YCBCR, .compression = COMPRESSION_JPEG, .set = coded}}};
  for (const auto& [name, channels, bits, kind] : kSeeds)
    WriteFile(folder / (std::string(name) + ".tif"),
              EncodeTiff(Samples(18, 7, channels, bits), kind));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("usage: make_seeds FOLDER\n", stderr), 2;
  const std::filesystem::path folder = argv[1];
  for (const char* target : {"OpenBmp", "OpenJpeg", "ReadPicture", "DrawOnDevice", "RunOperations"})
    std::filesystem::create_directories(folder / target);
  for (const int side : {1, 5, 17}) {
    for (const int pixelBytes : {1, 3}) {
      LiteralImage image(side, side + 2, pixelBytes);
      image.bytes = Pattern(image.bytes.size());
      const std::string name = (pixelBytes == 1 ? "gray" : "colour") + std::to_string(side);
      if (!ObjectWith(image).SaveAs((folder / "OpenBmp" / (name + ".bmp")).c_str())) return 1;
    }
    for (const fuzz::JpegCoding& coding : fuzz::kJpegCodings)
      WriteFile(folder / "OpenJpeg" / (coding.name + std::to_string(side) + ".jpg"),
                fuzz::EncodeJpeg(side, side + 2, coding.channels, coding.choose,
                                 [](int, auto& row) { row = Pattern(row.size()); }));
  }
  MakePictures(folder / "ReadPicture");
  for (const std::size_t length : {20u, 200u, 2000u})
    for (const char* target : {"DrawOnDevice", "RunOperations"})
      WriteFile(folder / target / std::to_string(length), Pattern(length));
}
