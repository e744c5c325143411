#include <algorithm>
#include <memory>

#include <libexif/exif-data.h>

#include "steps/pictures/picture.h"

namespace rastelo::steps {
namespace {

struct Release {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};
using Data = std::unique_ptr<ExifData, Release>;

Data Load(std::span<const std::uint8_t> exif) {
  constexpr std::uint8_t kStart[] = {'E', 'x', 'i', 'f', 0, 0};
  std::vector<std::uint8_t> bytes(std::begin(kStart), std::end(kStart));
  bytes.insert(bytes.end(), exif.begin(), exif.end());
  Data data(exif_data_new());
  if (!data) throw std::bad_alloc();
  exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
  exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
  exif_data_load_data(data.get(), bytes.data(), static_cast<unsigned>(bytes.size()));
  return data;
}

/// How many bytes a character takes whose first byte this is; 0 if it starts none.
std::size_t CharacterBytes(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first < 0xE0) return 2;
  if (first >= 0xE0 && first < 0xF0) return 3;
  return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t bytes = CharacterBytes(static_cast<unsigned char>(text[0]));
    if (bytes == 0 || bytes > text.size()) return false;
    for (const char c : text.substr(1, bytes - 1))
      if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) return false;
    text.remove_prefix(bytes);
  }
  return true;
}

/// A text of one line: bytes that are no UTF-8 count as ISO 8859-1, control characters as spaces.
std::string Printable(std::string_view text) {
  const bool isUtf8 = IsUtf8(text);
  std::string printable;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80 && !isUtf8) {
      printable += static_cast<char>(0xC0 | byte >> 6);
      printable += static_cast<char>(0x80 | (byte & 0x3F));
    } else {
      printable += byte < ' ' || byte == 0x7F ? ' ' : c;
    }
  }
  printable.erase(printable.find_last_not_of(' ') + 1);
  return printable;
}

std::string NameOf(ExifTag tag, ExifIfd directory) {
  const char* title = exif_tag_get_title_in_ifd(tag, directory);
  if (title && *title) return Printable(title);
  char number[16];
  std::snprintf(number, sizeof number, "Tag 0x%04X", static_cast<unsigned>(tag));
  return number;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> DescribeExif(std::span<const std::uint8_t> exif) {
  std::vector<std::pair<std::string, std::string>> lines;
  if (exif.empty()) return lines;
  const Data data = Load(exif);
  for (const ExifIfd directory :
       {EXIF_IFD_0, EXIF_IFD_EXIF, EXIF_IFD_GPS, EXIF_IFD_INTEROPERABILITY}) {
    const ExifContent* content = data->ifd[directory];
    for (unsigned i = 0; i < content->count; ++i) {
      ExifEntry* entry = content->entries[i];
      char value[1024] = "";
      exif_entry_get_value(entry, value, sizeof value);
      lines.emplace_back(NameOf(entry->tag, directory), Printable(value));
    }
  }
  return lines;
}

}  // namespace rastelo::steps
