#pragma once

namespace rastelo::platform {

/// What a codec call did: IJL_OK, or anything else for a failure.
enum IJLERR { IJL_OK = 0, IJL_FAILED = -1, IJL_OUT_OF_MEMORY = -2 };

enum IJLIOTYPE {
  IJL_JFILE_READPARAMS = 0,      // size and channels of a file
  IJL_JFILE_READWHOLEIMAGE = 2,  // all of its pixels
  IJL_JFILE_WRITEWHOLEIMAGE = 8,
};

/// One picture in memory (DIB...) and one in a file (JPG...). Pixels in memory are gray, of one
/// channel, or blue, green, red, of three. They stand top row first, or bottom row first where
/// `DIBHeight` is negative. Each row of `DIBWidth` x `DIBChannels` bytes is followed by
/// `DIBPadBytes` bytes that are neither read nor written.
struct JPEG_CORE_PROPERTIES {
  unsigned char* DIBBytes;
  int DIBWidth, DIBHeight, DIBPadBytes, DIBChannels;
  const char* JPGFile;
  int JPGWidth, JPGHeight, JPGChannels;
  int jquality;  // 1..100
};

/// Gives every field its default: 0, but for a quality of 75.
IJLERR ijlInit(JPEG_CORE_PROPERTIES* properties);

/// IJL_JFILE_READPARAMS fills `JPGWidth`, `JPGHeight` and `JPGChannels` from the header of
/// `JPGFile`; a header that promises more than the file can hold is a failure.
/// IJL_JFILE_READWHOLEIMAGE decodes the file into `DIBBytes`; size and channels must be the file's
/// (1 or 3). Data that ends early or is damaged is a failure; stray bytes between markers are not.
/// Never throws.
IJLERR ijlRead(JPEG_CORE_PROPERTIES* properties, IJLIOTYPE type);

/// IJL_JFILE_WRITEWHOLEIMAGE encodes `DIBBytes` to `JPGFile`, with as many channels, colours at
/// half the resolution in both directions. The file is created once the fields have been found
/// usable, and stays as far as it got if writing fails. Never throws.
IJLERR ijlWrite(JPEG_CORE_PROPERTIES* properties, IJLIOTYPE type);

/// Lets go of the record.
IJLERR ijlFree(JPEG_CORE_PROPERTIES* properties);

}  // namespace rastelo::platform
