#pragma once

#include <cstddef>
#include <cstdint>

/// What the fuzzers run on each input. They end the process when a promise is broken, and are
/// functions, so that the ordinary tests can replay inputs as well.
namespace fuzz {

/// Opens the input as a BMP file, and as one handed over as it is.
void OpenBmp(const std::uint8_t* data, std::size_t size);
/// Opens the input as a JPEG file.
void OpenJpeg(const std::uint8_t* data, std::size_t size);
/// Draws a bitmap of the input on a device, with rectangles of any values.
void DrawOnDevice(const std::uint8_t* data, std::size_t size);
/// Runs operations drawn from the input on an object and its copies.
void RunOperations(const std::uint8_t* data, std::size_t size);

/// Reads the input as a picture of any format, and writes what it holds.
void ReadPicture(const std::uint8_t* data, std::size_t size);

}  // namespace fuzz
