#pragma once

#include "steps/pictures/picture.h"

namespace rastelo::steps {

// One format each. The bytes are known to start like a file of it. Metadata to be written has been
// made fit for the picture; what the format cannot hold of it stays behind.

Picture ReadJpeg(std::span<const std::uint8_t> file);
/// @param keyColour  Read as the class does.
Picture ReadBmp(std::span<const std::uint8_t> file, bool keyColour);
Picture ReadPng(std::span<const std::uint8_t> file);
/// @param page  From 0 on.
Picture ReadTiff(std::span<const std::uint8_t> file, int page);

std::vector<std::uint8_t> WriteJpeg(ConstImageView pixels, int bitCount, const Metadata& metadata,
                                    int quality);
std::vector<std::uint8_t> WriteBmp(ConstImageView pixels, int bitCount, const Metadata& metadata);
std::vector<std::uint8_t> WritePng(ConstImageView pixels, int bitCount, const Metadata& metadata);

/// Pixels to be written over, for a file that announces so many. Throws PictureError where they are
/// no buffer, and std::bad_alloc.
PixelStore MakePixels(std::uint32_t width, std::uint32_t height, int bitCount);

/// Where a file of `height` rows stopped giving any: "it is cut off at row 3 of 5".
PictureError CutOffAt(std::int64_t row, std::int64_t height);

/// What is wrong inside a file, as a library has put it.
PictureError Damaged(const std::string& what);

/// A file that announces more than its bytes can stand for.
PictureError AnnouncesTooMuch(std::uint32_t width, std::uint32_t height);

inline constexpr const char* kAlphaNote = "transparency laid on white";
inline constexpr const char* k16BitsNote = "16 bits a channel scaled to 8: round(v / 257)";

}  // namespace rastelo::steps
