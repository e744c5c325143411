// Steps in the frequency domain.
#include <cmath>
#include <vector>

#include "image/inside.h"
#include "tools/error.h"
#include "tools/picture_file.h"
#include "tools/step_arguments.h"
#include "tools/step_families.h"

namespace rastelo::tools {
namespace {

std::vector<unsigned char> RequireMap(const CRastelo& image) {
  std::vector<unsigned char> cells(static_cast<std::size_t>(image.GetWidth()) *
                                   static_cast<std::size_t>(image.GetHeight()));
  if (image.GetSpectrum(cells.data()) == 0)
    throw OperationError("there are no coefficients of this size; put fft before it");
  return cells;
}

Action ParseFft(const std::string&) {
  return [](RunState& state) { state.image.FFT(); };
}

Action ParseCut(const std::string& argument) {
  double limit = 0;
  NumberReader reader(argument);
  if (!reader.Read(limit) || !reader.AtEnd() || std::isnan(limit))
    throw UsageError("expected a number: the largest magnitude / 100 to keep");
  return [limit](RunState& state) {
    RequireMap(state.image);
    if (Inside::IsReconstruction(state.image))
      throw OperationError("ifft has used the coefficients up");
    state.image.ILPF(limit);
  };
}

Action ParseIfft(const std::string&) {
  return [](RunState& state) {
    RequireMap(state.image);
    if (Inside::IsReconstruction(state.image))
      throw OperationError("ifft has used the coefficients up");
    state.image.IFFT();
  };
}

/// The map as a gray picture: of magnitudes, columns along u; of a reconstruction, its quadrants
/// back in their places.
CRastelo PictureOfMap(const RunState& state) {
  const std::vector<unsigned char> cells = RequireMap(state.image);
  const int width = state.image.GetWidth(), height = state.image.GetHeight();
  const bool isReconstruction = Inside::IsReconstruction(state.image);
  const auto shift = [](int place, int side) {
    return place < side / 2 ? place + side / 2 : place - side / 2;
  };
  const PixelStore store = PixelStore::Zeroed(width, height, 8);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::ptrdiff_t cell = isReconstruction
                                      ? std::ptrdiff_t{width} * shift(y, height) + shift(x, width)
                                      : std::ptrdiff_t{height} * x + y;
      store.Pixels().Row(y)[x] = cells[static_cast<std::size_t>(cell)];
    }
  }
  CRastelo picture;
  picture.SetExternalImageBits(store.bits.get(), width, height, 8);
  return picture;
}

Action ParseSpectrum(const std::string& path) {
  if (path.empty())
    return [](RunState& state) {
      state.image = PictureOfMap(state);
      state.hasVisibleArea = false;
    };
  RequirePictureName(path);
  return [path](RunState& state) {
    CRastelo picture = PictureOfMap(state);
    SavePicture(path, [&](const char* name) { return picture.SaveAs(name); });
  };
}

}  // namespace

std::span<const Step> FrequencySteps() {
  static constexpr Step kSteps[] = {
      {"fft", "", "transform to frequencies, in gray", ParseFft},
      {"cut", "=LIMIT", "drop the coefficients of a magnitude / 100 above LIMIT", ParseCut},
      {"ifft", "", "transform back; sides equal and powers of two show the picture again",
       ParseIfft},
      {"spectrum", "[=FILE]", "make the map of fft, cut or ifft the picture, or save it",
       ParseSpectrum},
  };
  return kSteps;
}

}  // namespace rastelo::tools
