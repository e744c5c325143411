#include <cstdlib>
#include <cstring>
#include <span>

#include "fuzz/scratch_file.h"
#include "fuzz/targets.h"
#include "image/bmp_format.h"
#include "rastelo.h"
#include "testing/object_state.h"

namespace {

const unsigned char kPixels[] = {1, 2, 3, 4, 5, 6, 7, 8};

/// Opens a file over an image that is there already, and checks what the object holds afterwards.
void Open(const ScratchFile& file, bool keepsOnFailure) {
  const HookRecorder hooks;
  CRastelo image;
  image.SetExternalImageBits(kPixels, 4, 2, 8);
  const bool opened = image.OpenImage(file.Path()) != 0;
  if (!IsConsistent(image)) std::abort();
  const auto state = ObjectState(image);
  if (opened && (state.pixels.size() != state.loaded.size() || state.width < 1 || state.height < 1))
    std::abort();
  if (!opened && (state.loaded.size() != 8 || (keepsOnFailure && state.pixels.size() != 8)))
    std::abort();
  image.RGBImg2Gray();
  image.RotateImage_Dir(1);
  image.Close();
}

}  // namespace

void fuzz::OpenBmp(const std::uint8_t* data, std::size_t size) {
  static const ScratchFile file(".bmp");
  WriteFile(file.Path(), {data, data + size});
  Open(file, true);
  rastelo::DecodeBmp(std::span(data, size));
  if (size >= 40) GetPaletteSize(data);
}

void fuzz::OpenJpeg(const std::uint8_t* data, std::size_t size) {
  static const ScratchFile file(".jpg");
  WriteFile(file.Path(), {data, data + size});
  CRastelo image;
  LONG width = 0, height = 0;
  int bitCount = 0;
  // Very large pictures only cost time here: the coder's own memory is the codec's affair.
  if (image.GetSizeJPG(file.Path(), &width, &height, &bitCount) &&
      width * std::int64_t{height} > 1 << 22)
    return;
  Open(file, false);
}
