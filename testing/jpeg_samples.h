#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

namespace fuzz {

/// A JPEG file in any of the ways that the codec can write one: 1 channel gray, 3 blue, green, red,
/// 4 inks. `choose(codec)` changes the defaults, `fill(y, row)` gives the rows from the top.
inline std::vector<std::uint8_t> EncodeJpeg(int width, int height, int channels, auto choose,
                                            auto fill) {
  jpeg_compress_struct codec{};
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_compress(&codec);
  unsigned char* out = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&codec, &out, &size);
  codec.image_width = static_cast<JDIMENSION>(width);
  codec.image_height = static_cast<JDIMENSION>(height);
  codec.input_components = channels;
  codec.in_color_space = channels == 1 ? JCS_GRAYSCALE : channels == 3 ? JCS_EXT_BGR : JCS_CMYK;
  jpeg_set_defaults(&codec);
  choose(codec);
  jpeg_start_compress(&codec, TRUE);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(width * channels));
  while (codec.next_scanline < codec.image_height) {
    fill(static_cast<int>(codec.next_scanline), row);
    JSAMPROW rows = row.data();
    jpeg_write_scanlines(&codec, &rows, 1);
  }
  jpeg_finish_compress(&codec);
  std::vector<std::uint8_t> file(out, out + size);
  jpeg_destroy_compress(&codec);
  std::free(out);
  return file;
}

/// One of the codec's ways to code a picture.
struct JpegCoding {
  const char* name;
  int channels;
  void (*choose)(jpeg_compress_struct&);
};
inline constexpr JpegCoding kJpegCodings[] = {
    {"gray", 1, [](jpeg_compress_struct&) {}},
    {"colour", 3, [](jpeg_compress_struct&) {}},
    {"full", 3, [](jpeg_compress_struct& c) { c.comp_info[0].h_samp_factor = 1; }},
    {"rgb", 3, [](jpeg_compress_struct& c) { jpeg_set_colorspace(&c, JCS_RGB); }},
    {"progressive", 3, [](jpeg_compress_struct& c) { jpeg_simple_progression(&c); }},
    {"arithmetic", 3, [](jpeg_compress_struct& c) { c.arith_code = TRUE; }},
    {"restarts", 3, [](jpeg_compress_struct& c) { c.restart_interval = 2; }},
    {"four", 4, [](jpeg_compress_struct&) {}},
};

/// The rows of a JPEG file of one or three channels as the codec alone gives them, from the top.
inline std::vector<std::uint8_t> DecodeJpeg(const std::vector<std::uint8_t>& file) {
  jpeg_decompress_struct codec{};
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&codec);
  jpeg_mem_src(&codec, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&codec, TRUE);
  if (codec.num_components == 3) codec.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&codec);
  const std::size_t rowBytes = std::size_t{codec.output_width} * JDIMENSION(codec.num_components);
  std::vector<std::uint8_t> rows(rowBytes * codec.output_height);
  while (codec.output_scanline < codec.output_height) {
    JSAMPROW row = rows.data() + rowBytes * codec.output_scanline;
    jpeg_read_scanlines(&codec, &row, 1);
  }
  jpeg_destroy_decompress(&codec);
  return rows;
}

/// The frame header of a file: 0xFF and its kind, two bytes length, one precision, two each height
/// and width, one channels.
inline std::uint8_t* FrameOf(std::vector<std::uint8_t>& file) {
  return &*std::adjacent_find(file.begin(), file.end(), [](int first, int second) {
    return first == 0xFF && second >= 0xC0 && second <= 0xC2;
  });
}

}  // namespace fuzz
