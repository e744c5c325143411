// Steps in the frequency domain.
#include <cmath>
#include <vector>

#include "image/inside.h"
#include "steps/error.h"
#include "steps/families.h"
#include "steps/run.h"

namespace rastelo::steps {
namespace {

std::vector<unsigned char> RequireMap(const CRastelo& image) {
  std::vector<unsigned char> cells(static_cast<std::size_t>(image.GetWidth()) *
                                   static_cast<std::size_t>(image.GetHeight()));
  if (image.GetSpectrum(cells.data()) == 0)
    throw StepError("there are no coefficients of this size; put fft before it");
  return cells;
}

void RequireCoefficients(const CRastelo& image) {
  if (!Inside::HasFrequencies(image))
    throw StepError("there are no coefficients of this size; put fft before it");
  if (Inside::IsReconstruction(image)) throw StepError("ifft has used the coefficients up");
}

void ApplyFft(Run& run, const Values&) { run.image.FFT(); }

constexpr Argument kCutArguments[] = {{.name = "LIMIT",
                                       .forms = kNumber,
                                       .help = "the largest magnitude / 100 that stays",
                                       .lowest = 0,
                                       .highest = HUGE_VAL}};

void ApplyCut(Run& run, const Values& values) {
  RequireCoefficients(run.image);
  run.image.ILPF(values[0].number);
}

void ApplyIfft(Run& run, const Values&) {
  RequireCoefficients(run.image);
  run.image.IFFT();
}

/// The map as a gray picture: of magnitudes, columns along u; of a reconstruction, its quadrants
/// back in their places.
PixelStore PictureOfMap(const Run& run) {
  const std::vector<unsigned char> cells = RequireMap(run.image);
  const int width = run.image.GetWidth(), height = run.image.GetHeight();
  const bool isReconstruction = Inside::IsReconstruction(run.image);
  const auto shift = [](int place, int side) {
    return place < side / 2 ? place + side / 2 : place - side / 2;
  };
  PixelStore store = PixelStore::Zeroed(width, height, 8);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::ptrdiff_t cell = isReconstruction
                                      ? std::ptrdiff_t{width} * shift(y, height) + shift(x, width)
                                      : std::ptrdiff_t{height} * x + y;
      store.Pixels().Row(y)[x] = cells[static_cast<std::size_t>(cell)];
    }
  }
  return store;
}

constexpr Argument kSpectrumArguments[] = {{.name = "FILE",
                                            .forms = kPicture,
                                            .help = "a file to write the map to; the picture "
                                                    "stays",
                                            .otherwise = ""}};

void ApplySpectrum(Run& run, const Values& values) {
  if (values[0].IsSet()) return run.Save(values[0].text, PictureOfMap(run), {});
  run.Adopt(PictureOfMap(run));
}

constexpr std::string_view kFamily = "Frequencies";

}  // namespace

std::span<const Step> FrequencySteps() {
  static constexpr Step kSteps[] = {
      {.name = "fft",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "transform to frequencies, in gray",
       .details = "Of sides that are no powers of two, only the largest power is transformed. The "
                  "picture stays; spectrum shows the frequencies.",
       .example = "crop=0,0,256,256 fft spectrum save=spectrum.png",
       .apply = ApplyFft},
      {.name = "cut",
       .family = kFamily,
       .arguments = kCutArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "drop the coefficients of a magnitude / 100 above LIMIT",
       .details = "Needs fft before it.",
       .example = "crop=0,0,256,256 fft cut=300 ifft spectrum save=cut.png",
       .apply = ApplyCut},
      {.name = "ifft",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "transform back",
       .details = "spectrum then shows the picture again where its sides are equal and powers of "
                  "two. The coefficients are used up.",
       .example = "crop=0,0,256,256 fft ifft spectrum save=back.png",
       .apply = ApplyIfft},
      {.name = "spectrum",
       .family = kFamily,
       .arguments = kSpectrumArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "make the map of fft, cut or ifft the picture, or save it",
       .details = "The map shows magnitudes / 100, up to 255, with low frequencies in the middle; "
                  "behind ifft, what has come back.",
       .example = "crop=0,0,256,256 fft spectrum=map.png",
       .apply = ApplySpectrum},
  };
  return kSteps;
}

}  // namespace rastelo::steps
