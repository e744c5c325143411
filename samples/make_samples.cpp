// make_samples FOLDER: paints the sample pictures into an existing folder.

#include <cstdio>
#include <string>

#include "rastelo.h"
#include "samples/pictures.h"

namespace {

bool SavePicture(const rastelo::samples::Picture& picture, const std::string& path) {
  CRastelo image;
  image.SetExternalImageBits(picture.bits.data(), picture.width, picture.height, picture.bitCount);
  if (image.SaveAs(path.c_str()) == 1) return true;
  std::fprintf(stderr, "make_samples: cannot write %s\n", path.c_str());
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_samples FOLDER\n");
    return 2;
  }
  const std::string folder = std::string(argv[1]) + "/";
  using namespace rastelo::samples;
  bool written = SavePicture(PaintScene(), folder + "scene.jpg");
  written = SavePicture(PaintPage(), folder + "page.jpg") && written;
  written = SavePicture(PaintCells(), folder + "cells.jpg") && written;
  written = SavePicture(PaintSprite(), folder + "sprite.bmp") && written;
  return written ? 0 : 1;
}
