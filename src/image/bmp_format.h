#pragma once

#include <array>
#include <optional>
#include <span>

#include "pixels/pixel_store.h"

namespace rastelo {

// Numbers in BMP files are little-endian.
inline std::uint16_t Load16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline std::uint32_t Load32(const std::uint8_t* bytes) {
  return Load16(bytes) | std::uint32_t{Load16(bytes + 2)} << 16;
}

inline void Store16(std::uint8_t* bytes, std::uint32_t value) {
  bytes[0] = static_cast<std::uint8_t>(value);
  bytes[1] = static_cast<std::uint8_t>(value >> 8);
}

inline void Store32(std::uint8_t* bytes, std::uint32_t value) {
  Store16(bytes, value);
  Store16(bytes + 2, value >> 16);
}

/// The file header of a BMP file: "BM", the file's size, 4 bytes of 0, the place of the pixels.
inline constexpr std::size_t kBmpFileHeaderBytes = 14;
/// The info header as this library writes it, and the shortest that it reads.
inline constexpr std::size_t kBmpInfoHeaderBytes = 40;
/// 256 entries of 4 bytes: blue, green, red, 0.
inline constexpr std::size_t kBmpGrayTableBytes = 1024;

/// Whether a file that starts with these bytes calls itself a BMP file.
bool HasBmpMagic(std::span<const std::uint8_t, kBmpFileHeaderBytes> fileHeader);

/// The number of colour-table entries: `coloursUsed` if it is not 0, else what the depth can index,
/// for 1, 4 and 8 bits; 0 for others.
std::uint32_t BmpTableEntries(int bitCount, std::uint32_t coloursUsed);

/// Where the pixels stand, and how.
struct BmpLayout {
  std::int32_t width, height;  // positive
  bool topDown;                // the top row comes first
  int bitCount;                // 8 or 24
  std::size_t pixelOffset;     // from the info header on
};

/// Reads the info header at the start of `data`, of which there are `dataBytes` in all. The rows
/// stand directly behind the colour table, wherever the file header points.
/// @return nothing if the data cannot be used: fewer than 40 bytes of header, a depth other than 8
/// and 24, compression, a side that is 0 or a width below it, or rows that reach beyond the data.
std::optional<BmpLayout> ReadBmpLayout(std::span<const std::uint8_t> data, std::uint64_t dataBytes);

/// The two headers that a BMP file of these pixels starts with, little-endian. The depth is 8 or
/// 24; the image's pitch is the file's.
std::array<std::uint8_t, kBmpFileHeaderBytes> MakeBmpFileHeader(const ConstImageView& image,
                                                                int bitCount);
std::array<std::uint8_t, kBmpInfoHeaderBytes> MakeBmpInfoHeader(const ConstImageView& image,
                                                                int bitCount);
/// Entry i is (i, i, i, 0).
std::array<std::uint8_t, kBmpGrayTableBytes> MakeBmpGrayTable();

}  // namespace rastelo
