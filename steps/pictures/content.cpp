// What a file is, by its first bytes.
#include "steps/pictures/content.h"

#include <algorithm>
#include <array>

namespace rastelo::steps {
namespace {

using namespace std::string_view_literals;

std::string_view TextOf(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

struct Kind {
  std::size_t place;
  std::string_view magic;
  const char* name;
};
constexpr Kind kOtherKinds[] = {
    {0, "GIF8"sv, "a GIF picture"},
    {8, "WEBP"sv, "a WebP picture"},
    {0, "%PDF"sv, "a PDF document"},
    {4, "ftypavi"sv, "an AVIF picture"},
    {4, "ftyphei"sv, "a HEIC picture"},
    {4, "ftyphev"sv, "a HEIC picture"},
    {4, "ftypmif"sv, "a HEIF picture"},
    {4, "ftypmsf"sv, "a HEIF picture"},
    {4, "ftypcrx"sv, "a raw picture of a camera"},
    {4, "ftyp"sv, "a film"},
    {0, "\xFF\x0A"sv, "a JPEG XL picture"},
    {4, "JXL \r\n"sv, "a JPEG XL picture"},
    {4, "jP  \r\n"sv, "a JPEG 2000 picture"},
    {0, "\xFF\x4F\xFF\x51"sv, "a JPEG 2000 picture"},
    {0, "8BPS"sv, "a layered picture (PSD)"},
    {0, "\0\0\1\0"sv, "an icon (ICO)"},
    {0, "\x76\x2F\x31\x01"sv, "an OpenEXR picture"},
    {0, "qoif"sv, "a QOI picture"},
    {0, "PK\3\4"sv, "a ZIP archive"},
    {0, "\x1F\x8B"sv, "a gzip archive"},
    {0, "7z\xBC\xAF"sv, "a 7-Zip archive"},
    {0, "Rar!"sv, "a RAR archive"},
    {0, "<svg"sv, "an SVG drawing"},
    {0, "\xD7\xCD\xC6\x9A"sv, "a Windows metafile"},
};

/// Whether there are letters, digits and line ends alone, as far as one looks.
bool IsText(std::string_view text) {
  return std::ranges::none_of(text.substr(0, 512), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < ' ' && c != '\n' && c != '\r' && c != '\t') || byte == 0x7F;
  });
}

bool IsPortableMap(std::string_view text) {
  return text.size() > 2 && text[0] == 'P' && text[1] >= '1' && text[1] <= '7' &&
         (text[2] == '\n' || text[2] == ' ' || text[2] == '\r');
}

const char* NameOfOther(std::string_view text) {
  for (const Kind& kind : kOtherKinds)
    if (text.size() > kind.place && text.substr(kind.place).starts_with(kind.magic))
      return kind.name;
  if (IsPortableMap(text)) return "a portable map (PNM)";
  if (!IsText(text)) return nullptr;
  return text.substr(0, 512).find("<svg") != text.npos ? "an SVG drawing" : "a text";
}

bool EndsWith(std::string_view path, std::string_view ending) {
  if (path.size() < ending.size()) return false;
  return std::ranges::equal(path.substr(path.size() - ending.size()), ending, [](char a, char b) {
    return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b;
  });
}

}  // namespace

std::optional<Format> FormatOfContent(std::span<const std::uint8_t> bytes) {
  const std::string_view text = TextOf(bytes);
  if (text.starts_with("\xFF\xD8\xFF"sv)) return Format::kJpeg;
  if (text.starts_with("\x89PNG\r\n\x1A\n"sv)) return Format::kPng;
  for (const std::string_view magic : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv})
    if (text.starts_with(magic)) return Format::kTiff;
  // Two letters may start a text, too, which has none of the zeros of a header.
  if (text.starts_with("BM") && !IsText(text)) return Format::kBmp;
  return std::nullopt;
}

std::optional<Format> FormatOfName(std::string_view path) {
  constexpr std::pair<std::string_view, Format> kEndings[] = {
      {".jpg", Format::kJpeg}, {".jpeg", Format::kJpeg}, {".bmp", Format::kBmp},
      {".png", Format::kPng},  {".tif", Format::kTiff},  {".tiff", Format::kTiff}};
  for (const auto& [ending, format] : kEndings)
    if (EndsWith(path, ending)) return format;
  return std::nullopt;
}

std::string_view NameOf(Format format) {
  constexpr std::array<std::string_view, 4> kNames = {"JPEG", "BMP", "PNG", "TIFF"};
  return kNames[static_cast<std::size_t>(format)];
}

PictureError NoReadableContent(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return PictureError("it is empty");
  const char* name = NameOfOther(TextOf(bytes));
  if (!name) return PictureError("it is not a picture of a kind that is known here");
  const std::string what = std::string("it is ") + name;
  if (what.ends_with("text")) return PictureError(what + ", not a picture");
  return PictureError(what + ", which is not read; save it as JPEG, PNG, TIFF or BMP first");
}

}  // namespace rastelo::steps
