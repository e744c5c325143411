#pragma once

#include <string>
#include <vector>

#include "image/inside.h"
#include "rastelo.h"
#include "testing/host.h"
#include "testing/literal_image.h"

/// Every member of an object but the pan offsets and the drawn area, buffers by content.
struct ObjectState {
  explicit ObjectState(const CRastelo& object);
  bool operator==(const ObjectState&) const = default;

  std::string fileName;
  Bytes pixels, loaded, bmpHeader, map, coefficients;
  LONG width, height, pitch, loadedWidth, loadedHeight;
  int bitCount, loadedBitCount;
  bool opened, hasPixels;
};
/// Whether sizes, depths, pitch and buffers agree.
bool IsConsistent(const CRastelo& object);

/// The current image, tails included.
LiteralImage ImageOf(const CRastelo& object);
/// An object that was handed this image.
CRastelo ObjectWith(const LiteralImage& image);
/// The bytes of a file; empty if there is none.
Bytes ReadFile(const std::string& path);
void WriteFile(const std::string& path, const Bytes& bytes);
/// A folder of the test's own, empty at its start. Ends in "/".
std::string TestFolder();
/// A file there with this picture in the format of its name.
std::string PictureFile(const std::string& name, const LiteralImage& image);
/// Opens a file there of these bytes.
int Open(CRastelo& object, const Bytes& bytes, const std::string& name);
