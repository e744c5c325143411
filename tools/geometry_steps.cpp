// Steps that give the picture another form.
#include <cmath>
#include <cstdio>
#include <vector>

#include "geometry/zoom.h"
#include "pixels/image_view.h"
#include "tools/error.h"
#include "tools/step_arguments.h"
#include "tools/step_families.h"

namespace rastelo::tools {
namespace {

constexpr int kMaxPlace = 1'000'000'000;  // of a rectangle; leaves room for a step beyond it

Action ParseGray(const std::string&) {
  return [](RunState& state) { state.image.RGBImg2Gray(); };  // leaves a gray picture as it is
}

Action ParseRotate(const std::string& argument) {
  if (argument != "ccw" && argument != "cw") throw UsageError("expected rotate=ccw or rotate=cw");
  const int direction = argument == "ccw" ? 1 : 0;
  return [direction](RunState& state) { state.image.RotateImage_Dir(direction); };
}

struct Rectangle {
  int x, y, width, height;  // from the top left corner
};

Rectangle ParseRectangle(const std::string& argument) {
  Rectangle r{};
  NumberReader reader(argument);
  const bool read = reader.Read(r.x) && reader.Skip(",") && reader.Read(r.y) && reader.Skip(",") &&
                    reader.Read(r.width) && reader.Skip(",") && reader.Read(r.height);
  const bool inRange = r.x >= 0 && r.y >= 0 && r.width > 0 && r.height > 0 && r.x <= kMaxPlace &&
                       r.y <= kMaxPlace && r.width <= kMaxPlace && r.height <= kMaxPlace;
  if (!read || !reader.AtEnd() || !inRange)
    throw UsageError("expected four whole numbers x,y,w,h, with w and h above 0");
  return r;
}

Action ParseCrop(const std::string& argument) {
  return [r = ParseRectangle(argument)](RunState& state) {
    CRastelo& image = state.image;
    if (r.x + r.width > image.GetWidth() || r.y + r.height > image.GetHeight())
      throw OperationError("the rectangle reaches outside the picture of " +
                           std::to_string(image.GetWidth()) + " x " +
                           std::to_string(image.GetHeight()) + " pixels");
    const int bits = BitCount(image);
    std::vector<unsigned char> block(static_cast<std::size_t>(Pitch(r.width, bits) * r.height));
    const int bottom = image.GetHeight() - r.y - r.height;
    image.GetImgBlock(r.x, bottom, r.width, r.height, bits, block.data());
    image.SetExternalImageBits(block.data(), r.width, r.height, bits);
  };
}

Action ParseKeep(const std::string& argument) {
  return [r = ParseRectangle(argument)](RunState& state) {
    // The library keeps what lies strictly between the sides.
    state.image.ReserveImgBlock(r.x - 1, r.y - 1, r.width + 1, r.height + 1);
  };
}

Action ParseRows(const std::string&) {
  return [](RunState& state) {
    RequireGray(state.image);
    std::vector<LONG> sums(static_cast<std::size_t>(state.image.GetHeight()));
    state.image.ImgProjectionHorizon(sums.data());
    std::puts("row from the top\tsum of its gray levels");
    for (std::size_t row = 0; row < sums.size(); ++row)
      std::printf("%zu\t%d\n", row, static_cast<int>(sums[row]));
  };
}

/// A zoom whose result the library leaves out where it has no size.
Action MakeZoom(double factor) {
  return [factor](RunState& state) {
    CRastelo& image = state.image;
    const auto width = ZoomSide(image.GetWidth(), factor);
    const auto height = ZoomSide(image.GetHeight(), factor);
    image.Zoom_In(factor);
    if (width != image.GetWidth() || height != image.GetHeight())
      throw OperationError("the picture would be too large");
    if (*width == 0 || *height == 0) throw OperationError("nothing would be left of the picture");
  };
}

double ParseFactor(const std::string& argument, double lowest) {
  double factor = 0;
  NumberReader reader(argument);
  if (!reader.Read(factor) || !reader.AtEnd() || !(factor > lowest) || !std::isfinite(factor))
    throw UsageError(lowest == 0 ? "expected a number above 0" : "expected a number above -1");
  return factor;
}

Action ParseZoom(const std::string& argument) { return MakeZoom(ParseFactor(argument, 0)); }

Action ParseZoomOut(const std::string& argument) {
  return MakeZoom(ParseFactor(argument, -1) + 1.0);  // what Zoom_Out makes of its factor
}

Action ParseSize(const std::string& argument) {
  Size size;
  NumberReader reader(argument);
  if (!ReadSize(reader, kMaxPlace, size) || !reader.AtEnd())
    throw UsageError("expected WxH, sides above 0");
  return [size](RunState& state) {
    state.image.Zoom_Size(size.width, size.height);
    if (state.image.GetWidth() != size.width || state.image.GetHeight() != size.height)
      throw OperationError("the picture would be too large");
  };
}

}  // namespace

std::span<const Step> GeometrySteps() {
  static constexpr Step kSteps[] = {
      {"gray", "", "convert a colour picture to gray", ParseGray},
      {"rotate", "=ccw|cw", "make a quarter turn, counter-clockwise or clockwise", ParseRotate},
      {"zoom", "=F", "scale the picture as it came in to F times the present size", ParseZoom},
      {"zoom-out", "=F", "the same with F + 1 times", ParseZoomOut},
      {"size", "=WxH", "scale the picture as it came in to W x H pixels", ParseSize},
      {"crop", "=x,y,w,h", "cut to w x h pixels; x and y count from the top left", ParseCrop},
      {"keep", "=x,y,w,h", "blacken all but w x h pixels; x and y from the top left", ParseKeep},
      {"rows", "", "print the sum of each row of a gray picture, from the top", ParseRows},
  };
  return kSteps;
}

}  // namespace rastelo::tools
