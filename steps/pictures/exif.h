#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace rastelo::steps {

// EXIF data are a small TIFF file: a byte order and directories of entries, chained and nested.
// Wherever they cannot be understood, they count as absent.

/// How the picture is to be turned, 1..8; 1 without an entry that says so.
int ExifOrientation(std::span<const std::uint8_t> exif);

/// The same data for an upright picture of this size: orientation 1, entries of the size true, no
/// thumbnail and none of its bytes. Everything else, maker notes among it, keeps bytes and place.
/// Empty if there are none that can be understood.
std::vector<std::uint8_t> UprightExif(std::span<const std::uint8_t> exif, std::int32_t width,
                                      std::int32_t height);

/// What the directory at `place` of a TIFF file says of its picture in words, of the camera and of
/// the position, as EXIF data; nothing of how its pixels are stored. Empty if it says nothing.
/// Notes of a maker who counts places from the start of the file cannot be followed any more.
std::vector<std::uint8_t> ExifOfTiff(std::span<const std::uint8_t> tiff, std::uint64_t place);

}  // namespace rastelo::steps
