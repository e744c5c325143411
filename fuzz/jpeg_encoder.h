#ifndef RASTELO_FUZZ_JPEG_ENCODER_H
#define RASTELO_FUZZ_JPEG_ENCODER_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

namespace fuzz {

/// A JPEG file in any of the ways that the codec can write one: 1 channel gray, 3 blue, green, red,
/// 4 inks. `choose(codec)` changes the defaults, `fill(y, row)` gives the rows from the top.
template <class Choose, class Fill>
std::vector<std::uint8_t> EncodeJpeg(int width, int height, int channels, Choose choose,
                                     Fill fill) {
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

}  // namespace fuzz

#endif  // RASTELO_FUZZ_JPEG_ENCODER_H
