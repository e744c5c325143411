#include "steps/pictures/exif.h"

#include <algorithm>
#include <array>
#include <optional>

namespace rastelo::steps {
namespace {

constexpr std::size_t kHeaderBytes = 8, kEntryBytes = 12, kCountBytes = 2, kLinkBytes = 4;

enum Tag : std::uint16_t {
  kImageWidth = 0x100,
  kImageLength = 0x101,
  kStripOffsets = 0x111,
  kOrientation = 0x112,
  kStripByteCounts = 0x117,
  kThumbnailPlace = 0x201,
  kThumbnailBytes = 0x202,
  kExifDirectory = 0x8769,
  kGpsDirectory = 0x8825,
  kPixelXDimension = 0xA002,
  kPixelYDimension = 0xA003,
  kInteroperabilityDirectory = 0xA005,
};
enum Type : std::uint16_t { kShort = 3, kLong = 4, kDirectory = 13 };  // the last in TIFF alone

/// Bytes of a value of each type; 0 for unknown ones.
std::size_t BytesOfType(std::uint16_t type) {
  constexpr std::array<std::size_t, 14> kBytes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
  return type < kBytes.size() ? kBytes[type] : 0;
}

struct Entry {
  std::size_t place;  // of its 12 bytes
  std::uint16_t tag, type;
  std::uint32_t count;
  std::size_t valuePlace, valueBytes;  // within the data, wherever the entry may point
};

/// Numbers in either byte order. Places beyond the end give 0.
class Structure {
 public:
  explicit Structure(std::span<const std::uint8_t> bytes)
      : bytes_(bytes), isBigEndian_(!bytes.empty() && bytes[0] == 'M') {}
  bool IsUsable() const {
    return bytes_.size() >= kHeaderBytes && bytes_[0] == bytes_[1] &&
           (bytes_[0] == 'I' || bytes_[0] == 'M') && Load(2, 2) == 42;
  }
  bool IsBigEndian() const { return isBigEndian_; }
  std::size_t Size() const { return bytes_.size(); }

  std::uint32_t Load(std::size_t place, std::size_t count) const {
    if (place > bytes_.size() || bytes_.size() - place < count) return 0;
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < count; ++i)
      number = number << 8 | bytes_[place + (isBigEndian_ ? i : count - 1 - i)];
    return number;
  }
  std::size_t FirstDirectory() const { return Load(4, 4); }
  /// The number of an entry that has one; nothing for others.
  std::optional<std::uint32_t> NumberOf(const Entry& entry) const {
    const bool isWhole = entry.type == kShort || entry.type == kLong || entry.type == kDirectory;
    if (entry.count != 1 || !isWhole) return std::nullopt;
    return Load(entry.valuePlace, entry.valueBytes);
  }
  std::span<const std::uint8_t> ValueOf(const Entry& entry) const {
    return bytes_.subspan(entry.valuePlace, entry.valueBytes);
  }
  /// How many entries the directory at `place` has; 0 if not all of it is there.
  std::size_t EntriesAt(std::size_t place) const {
    const std::size_t entries = Load(place, kCountBytes);
    const std::size_t bytes = kCountBytes + entries * kEntryBytes;
    return place < bytes_.size() && bytes <= bytes_.size() - place ? entries : 0;
  }
  std::size_t LinkPlace(std::size_t directory) const {
    return directory + kCountBytes + EntriesAt(directory) * kEntryBytes;
  }
  Entry EntryAt(std::size_t place) const {
    Entry entry{place,
                static_cast<std::uint16_t>(Load(place, 2)),
                static_cast<std::uint16_t>(Load(place + 2, 2)),
                Load(place + 4, 4),
                0,
                0};
    const std::uint64_t bytes = std::uint64_t{entry.count} * BytesOfType(entry.type);
    const std::size_t value = bytes <= 4 ? place + 8 : Load(place + 8, 4);
    if (value < bytes_.size() && bytes <= bytes_.size() - value) {
      entry.valuePlace = value;
      entry.valueBytes = static_cast<std::size_t>(bytes);
    }
    return entry;
  }
  /// The entries at `place` whose values lie within the data, up to where these together would be
  /// longer than all of it.
  std::vector<Entry> Directory(std::size_t place) const {
    std::vector<Entry> entries;
    const std::size_t count = EntriesAt(place);
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const Entry entry = EntryAt(place + kCountBytes + i * kEntryBytes);
      bytes += entry.valueBytes;
      if (bytes > bytes_.size()) break;
      if (entry.valueBytes > 0) entries.push_back(entry);
    }
    return entries;
  }
  std::optional<Entry> Find(std::size_t directory, std::uint16_t tag) const {
    for (const Entry& entry : Directory(directory))
      if (entry.tag == tag) return entry;
    return std::nullopt;
  }
  /// Where the directory starts that an entry of another one points to.
  std::optional<std::size_t> Nested(std::size_t directory, std::uint16_t tag) const {
    const auto entry = Find(directory, tag);
    const auto place = entry ? NumberOf(*entry) : std::nullopt;
    return place && EntriesAt(*place) > 0 ? std::optional<std::size_t>(*place) : std::nullopt;
  }

 private:
  std::span<const std::uint8_t> bytes_;
  bool isBigEndian_;
};

void Store(std::span<std::uint8_t> bytes, std::size_t place, std::size_t count, bool isBigEndian,
           std::uint32_t number) {
  for (std::size_t i = 0; i < count; ++i)
    bytes[place + (isBigEndian ? count - 1 - i : i)] = static_cast<std::uint8_t>(number >> 8 * i);
}

/// Gives an entry of one short or long another number; a short one becomes long where it must.
void SetNumber(std::span<std::uint8_t> exif, const Structure& structure, std::size_t directory,
               std::uint16_t tag, std::uint32_t number) {
  const auto entry = structure.Find(directory, tag);
  if (!entry || !structure.NumberOf(*entry)) return;
  const bool isBigEndian = structure.IsBigEndian(),
             isLong = entry->type != kShort || number > 0xFFFF;
  Store(exif, entry->place + 2, 2, isBigEndian, isLong ? kLong : kShort);
  Store(exif, entry->place + 8, 4, isBigEndian, 0);
  Store(exif, entry->place + 8, isLong ? 4 : 2, isBigEndian, number);
}

/// What each byte of the data is for.
enum class Use : std::uint8_t { kUnknown, kThumbnail, kPicture };
using Uses = std::vector<Use>;

void Mark(Uses& uses, std::size_t place, std::size_t bytes, Use use) {
  if (place >= uses.size()) return;
  const auto first = uses.begin() + static_cast<std::ptrdiff_t>(place);
  std::fill_n(first, std::min(bytes, uses.size() - place), use);
}

/// Marks a directory with the values of its entries.
void MarkDirectory(Uses& uses, const Structure& structure, std::size_t place, Use use) {
  Mark(uses, place, structure.LinkPlace(place) + kLinkBytes - place, use);
  for (const Entry& entry : structure.Directory(place))
    Mark(uses, entry.valuePlace, entry.valueBytes, use);
}

void MarkThumbnail(Uses& uses, const Structure& structure, std::size_t directory) {
  constexpr std::pair<Tag, Tag> kBlocks[] = {{kThumbnailPlace, kThumbnailBytes},
                                             {kStripOffsets, kStripByteCounts}};
  MarkDirectory(uses, structure, directory, Use::kThumbnail);
  for (const auto& [placeTag, bytesTag] : kBlocks) {
    const auto place = structure.Find(directory, placeTag);
    const auto bytes = structure.Find(directory, bytesTag);
    if (place && bytes)
      Mark(uses, structure.NumberOf(*place).value_or(0), structure.NumberOf(*bytes).value_or(0),
           Use::kThumbnail);
  }
}

void MarkPicture(Uses& uses, const Structure& structure) {
  const std::size_t first = structure.FirstDirectory();
  Mark(uses, 0, kHeaderBytes, Use::kPicture);
  MarkDirectory(uses, structure, first, Use::kPicture);
  if (const auto gps = structure.Nested(first, kGpsDirectory))
    MarkDirectory(uses, structure, *gps, Use::kPicture);
  const auto exif = structure.Nested(first, kExifDirectory);
  if (!exif) return;
  MarkDirectory(uses, structure, *exif, Use::kPicture);
  if (const auto other = structure.Nested(*exif, kInteroperabilityDirectory))
    MarkDirectory(uses, structure, *other, Use::kPicture);
}

/// Takes the directory of the thumbnail out of the chain, and its bytes out of the data: away at
/// their end, zeros elsewhere.
void DropThumbnail(std::vector<std::uint8_t>& exif, const Structure& structure) {
  const std::size_t link = structure.LinkPlace(structure.FirstDirectory());
  const std::size_t directory = structure.Load(link, 4);
  if (directory == 0) return;
  Uses uses(exif.size());
  MarkThumbnail(uses, structure, directory);
  MarkPicture(uses, structure);
  Store(exif, link, 4, structure.IsBigEndian(), 0);
  for (std::size_t i = 0; i < exif.size(); ++i)
    if (uses[i] == Use::kThumbnail) exif[i] = 0;
  const auto last =
      std::find_if(uses.rbegin(), uses.rend(), [](Use use) { return use != Use::kThumbnail; });
  exif.resize(static_cast<std::size_t>(uses.rend() - last));
}

/// A directory to be written.
struct NewEntry {
  std::uint16_t tag, type;
  std::uint32_t count;
  std::span<const std::uint8_t> value;
  std::vector<NewEntry> directory;  // that it points to; no value then
};

/// Writes data in one byte order, directories ahead of what they point to.
class Writer {
 public:
  explicit Writer(bool isBigEndian) : isBigEndian_(isBigEndian), bytes_(kHeaderBytes) {
    bytes_[0] = bytes_[1] = isBigEndian ? 'M' : 'I';
    Store(bytes_, 2, 2, isBigEndian, 42);
    Store(bytes_, 4, 4, isBigEndian, kHeaderBytes);
  }
  void Append(const std::vector<NewEntry>& directory) {
    std::size_t place = bytes_.size();
    bytes_.resize(place + kCountBytes + directory.size() * kEntryBytes + kLinkBytes);
    Store(bytes_, place, 2, isBigEndian_, static_cast<std::uint32_t>(directory.size()));
    place += kCountBytes;
    for (const NewEntry& entry : directory) {
      SetEntry(place, entry);
      place += kEntryBytes;
    }
  }
  std::vector<std::uint8_t> Take() { return std::move(bytes_); }

 private:
  void SetEntry(std::size_t place, const NewEntry& entry) {
    Store(bytes_, place, 2, isBigEndian_, entry.tag);
    Store(bytes_, place + 2, 2, isBigEndian_, entry.type);
    Store(bytes_, place + 4, 4, isBigEndian_, entry.count);
    if (entry.directory.empty() && entry.value.size() <= 4) {
      std::ranges::copy(entry.value, bytes_.begin() + static_cast<std::ptrdiff_t>(place + 8));
      return;
    }
    bytes_.resize(bytes_.size() + bytes_.size() % 2);
    Store(bytes_, place + 8, 4, isBigEndian_, static_cast<std::uint32_t>(bytes_.size()));
    bytes_.insert(bytes_.end(), entry.value.begin(), entry.value.end());
    if (!entry.directory.empty()) Append(entry.directory);
  }

  bool isBigEndian_;
  std::vector<std::uint8_t> bytes_;
};

constexpr std::uint16_t kNestedTags[] = {kExifDirectory, kGpsDirectory, kInteroperabilityDirectory};

/// Entries of the directory at `place` that tell of the picture, with those that they point to;
/// one of a tag.
std::vector<NewEntry> Descriptive(const Structure& tiff, std::size_t place, bool isFirst) {
  // Description, make, model, software, date, artist, computer, copyright.
  constexpr std::uint16_t kDescriptions[] = {0x10E, 0x10F, 0x110, 0x131,
                                             0x132, 0x13B, 0x13C, 0x8298};
  std::vector<NewEntry> entries;
  for (const Entry& entry : tiff.Directory(place)) {
    if (std::ranges::count(entries, entry.tag, &NewEntry::tag) > 0) continue;
    const bool isNested = std::ranges::count(kNestedTags, entry.tag) > 0;
    if (isNested && isFirst != (entry.tag == kInteroperabilityDirectory)) {
      const auto nested = tiff.Nested(place, entry.tag);
      auto directory = nested ? Descriptive(tiff, *nested, false) : std::vector<NewEntry>();
      if (!directory.empty()) entries.push_back({entry.tag, kLong, 1, {}, std::move(directory)});
    } else if (!isNested && (!isFirst || std::ranges::count(kDescriptions, entry.tag) > 0)) {
      entries.push_back({entry.tag, entry.type, entry.count, tiff.ValueOf(entry), {}});
    }
  }
  std::ranges::stable_sort(entries, {}, &NewEntry::tag);
  return entries;
}

}  // namespace

int ExifOrientation(std::span<const std::uint8_t> exif) {
  const Structure structure(exif);
  if (!structure.IsUsable()) return 1;
  const auto entry = structure.Find(structure.FirstDirectory(), kOrientation);
  const std::uint32_t orientation = entry ? structure.NumberOf(*entry).value_or(1) : 1;
  return orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 1;
}

std::vector<std::uint8_t> UprightExif(std::span<const std::uint8_t> exif, std::int32_t width,
                                      std::int32_t height) {
  const Structure structure(exif);  // of the data as they were
  const std::size_t first = structure.IsUsable() ? structure.FirstDirectory() : 0;
  if (structure.EntriesAt(first) == 0 || first == 0) return {};
  std::vector<std::uint8_t> upright(exif.begin(), exif.end());
  SetNumber(upright, structure, first, kOrientation, 1);
  SetNumber(upright, structure, first, kImageWidth, static_cast<std::uint32_t>(width));
  SetNumber(upright, structure, first, kImageLength, static_cast<std::uint32_t>(height));
  if (const auto nested = structure.Nested(first, kExifDirectory)) {
    SetNumber(upright, structure, *nested, kPixelXDimension, static_cast<std::uint32_t>(width));
    SetNumber(upright, structure, *nested, kPixelYDimension, static_cast<std::uint32_t>(height));
  }
  DropThumbnail(upright, structure);
  return upright;
}

std::vector<std::uint8_t> ExifOfTiff(std::span<const std::uint8_t> tiff, std::uint64_t place) {
  const Structure structure(tiff);
  if (!structure.IsUsable() || place > tiff.size()) return {};
  const auto entries = Descriptive(structure, static_cast<std::size_t>(place), true);
  if (entries.empty()) return {};
  Writer writer(structure.IsBigEndian());
  writer.Append(entries);
  return writer.Take();
}

}  // namespace rastelo::steps
