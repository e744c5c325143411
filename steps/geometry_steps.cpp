// Steps that give the picture another form.
#include <cmath>
#include <nlohmann/json.hpp>
#include <vector>

#include "geometry/shrink.h"
#include "geometry/zoom.h"
#include "steps/error.h"
#include "steps/families.h"
#include "steps/run.h"

namespace rastelo::steps {
namespace {

constexpr int kMostPixels = 1'000'000'000;  // of a side; leaves room for a step beyond it

void ApplyGray(Run& run, const Values&) { run.image.RGBImg2Gray(); }  // gray stays as it is

constexpr std::string_view kTurns[] = {"ccw", "cw", "180"};
constexpr Argument kRotateArguments[] = {{.name = "TURN",
                                          .forms = kWord,
                                          .help = "a quarter counter-clockwise, a quarter "
                                                  "clockwise, or half a turn",
                                          .words = kTurns}};

void ApplyRotate(Run& run, const Values& values) {
  const int turns = values[0].text == "180" ? 2 : 1;
  for (int turn = 0; turn < turns; ++turn)
    run.image.RotateImage_Dir(values[0].text == "cw" ? 0 : 1);
}

/// A side or place in pixels, one of four.
constexpr Argument Place(std::string_view name, std::string_view help, int lowest) {
  return {.name = name,
          .forms = kWhole,
          .help = help,
          .lowest = static_cast<double>(lowest),
          .highest = kMostPixels};
}
constexpr Argument kRectangle[] = {Place("X", "left column, counted from 0", 0),
                                   Place("Y", "upper row, counted from 0 at the top", 0),
                                   Place("W", "columns", 1), Place("H", "rows", 1)};

void ApplyCrop(Run& run, const Values& values) {
  const int x = values[0].Whole(), y = values[1].Whole();
  const int width = values[2].Whole(), height = values[3].Whole();
  const int imageWidth = run.image.GetWidth(), imageHeight = run.image.GetHeight();
  if (x + width > imageWidth || y + height > imageHeight)
    throw StepError("the rectangle reaches outside the picture of " + std::to_string(imageWidth) +
                    " x " + std::to_string(imageHeight) + " pixels");
  const PixelStore block = PixelStore::Zeroed(width, height, run.BitCount());
  run.image.GetImgBlock(x, imageHeight - y - height, width, height, block.bitCount,
                        block.bits.get());
  run.Adopt(block);
}

void ApplyKeep(Run& run, const Values& values) {
  // The library keeps what lies strictly between the sides.
  run.image.ReserveImgBlock(values[0].Whole() - 1, values[1].Whole() - 1, values[2].Whole() + 1,
                            values[3].Whole() + 1);
}

void ApplyRows(Run& run, const Values&) {
  std::vector<LONG> sums(static_cast<std::size_t>(run.image.GetHeight()));
  run.image.ImgProjectionHorizon(sums.data());
  std::string text = "row from the top\tsum of its gray levels\n";
  for (std::size_t row = 0; row < sums.size(); ++row)
    text += std::to_string(row) + '\t' + std::to_string(sums[row]) + '\n';
  run.Print(text, {{"row sums", sums}});
}

constexpr Argument kZoomArguments[] = {{.name = "FACTOR",
                                        .forms = kNumber,
                                        .help = "sides become so many times as long",
                                        .lowest = 0,
                                        .highest = HUGE_VAL,
                                        .aboveLowest = true}};
constexpr Argument kZoomOutArguments[] = {{.name = "FACTOR",
                                           .forms = kNumber,
                                           .help = "sides become FACTOR + 1 times as long",
                                           .lowest = -1,
                                           .highest = HUGE_VAL,
                                           .aboveLowest = true}};

void CheckFinite(const Values& values) {
  if (values[0].isNumber && !std::isfinite(values[0].number))
    throw CallError("'" + values[0].text + "' is no finite number");
}

/// A zoom whose result the library leaves out where it has no size.
void Zoom(Run& run, double factor) {
  const auto width = ZoomSide(run.image.GetWidth(), factor);
  const auto height = ZoomSide(run.image.GetHeight(), factor);
  run.image.Zoom_In(factor);
  if (width != run.image.GetWidth() || height != run.image.GetHeight())
    throw StepError("the picture would be too large");
  if (*width == 0 || *height == 0) throw StepError("nothing would be left of the picture");
}

void ApplyZoom(Run& run, const Values& values) { Zoom(run, values[0].number); }

void ApplyZoomOut(Run& run, const Values& values) {
  Zoom(run, values[0].number + 1.0);  // what Zoom_Out makes of its factor
}

constexpr Argument kSizeArguments[] = {{.name = "WxH",
                                        .forms = kSize,
                                        .help = "the new sides in pixels",
                                        .lowest = 1,
                                        .highest = kMostPixels}};

void ApplySize(Run& run, const Values& values) {
  const int width = values[0].width, height = values[0].height;
  run.image.Zoom_Size(width, height);
  if (run.image.GetWidth() != width || run.image.GetHeight() != height)
    throw StepError("the picture would be too large");
}

constexpr Argument kShrinkArguments[] = {
    {.name = "FACTOR|WxH",
     .forms = kNumber | kSize,
     .help = "how many times as long sides become, or the largest size that the result may have",
     .lowest = 0,
     .highest = 1,
     .aboveLowest = true}};

/// The side that a factor leaves, at least one pixel.
int Shrunk(int side, double factor) {
  return std::max(1, static_cast<int>(std::lround(side * factor)));
}

void ApplyShrink(Run& run, const Values& values) {
  const PixelStore from = run.Pixels();
  const double factor = values[0].isSize ? std::min({1.0, 1.0 * values[0].width / from.width,
                                                     1.0 * values[0].height / from.height})
                                         : values[0].number;
  const PixelStore to =
      PixelStore::Zeroed(Shrunk(from.width, factor), Shrunk(from.height, factor), from.bitCount);
  ShrinkByArea(from.Pixels(), from.bitCount / 8, to.Pixels());
  run.Adopt(to);
}

constexpr std::string_view kFamily = "Form";

}  // namespace

std::span<const Step> GeometrySteps() {
  static constexpr Step kSteps[] = {
      {.name = "gray",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "convert a colour picture to gray",
       .details = "0.587 green + 0.114 blue + 0.299 red, cut to a whole number. A gray picture "
                  "stays as it is.",
       .example = "gray save=gray.jpg",
       .apply = ApplyGray},
      {.name = "rotate",
       .family = kFamily,
       .arguments = kRotateArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "turn the picture",
       .details = "No pixel is lost or changed.",
       .example = "rotate=cw save=turned.jpg",
       .apply = ApplyRotate},
      {.name = "crop",
       .family = kFamily,
       .arguments = kRectangle,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "cut the picture to W x H pixels",
       .details = "The rectangle must lie inside the picture.",
       .example = "crop=10,20,300,200 save=part.png",
       .apply = ApplyCrop},
      {.name = "keep",
       .family = kFamily,
       .arguments = kRectangle,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "blacken all but W x H pixels",
       .details = "The picture keeps its size. The rectangle may reach outside.",
       .example = "keep=10,20,300,200 save=part.png",
       .apply = ApplyKeep},
      {.name = "zoom",
       .family = kFamily,
       .arguments = kZoomArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "scale the picture to FACTOR times its size, bilinearly",
       .details = "Each new pixel is mixed of four old ones, so below a half most pixels take no "
                  "part and grain stays; shrink averages them all.",
       .example = "zoom=1.5 save=larger.jpg",
       .apply = ApplyZoom,
       .check = CheckFinite},
      {.name = "zoom-out",
       .family = kFamily,
       .arguments = kZoomOutArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "scale the picture to FACTOR + 1 times its size, bilinearly",
       .details = "What the library's Zoom_Out does: zoom-out=-0.5 is zoom=0.5.",
       .example = "zoom-out=-0.5 save=smaller.jpg",
       .apply = ApplyZoomOut,
       .check = CheckFinite},
      {.name = "size",
       .family = kFamily,
       .arguments = kSizeArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "scale the picture to W x H pixels, bilinearly",
       .details = "Sides are scaled each on its own. As with zoom, much smaller sizes keep grain; "
                  "shrink averages.",
       .example = "size=300x200 save=small.jpg",
       .apply = ApplySize},
      {.name = "shrink",
       .family = kFamily,
       .arguments = kShrinkArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "make the picture smaller; each new pixel is the mean of the area it covers",
       .details = "WxH is a frame that the result fits in with its sides in proportion; a picture "
                  "that fits already stays. Unlike zoom, which mixes four pixels whatever the "
                  "factor, it takes all pixels in.",
       .example = "shrink=0.25 save=small.jpg",
       .apply = ApplyShrink},
      {.name = "rows",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kPrint,
       .needsGray = true,
       .help = "tell the sum of the gray levels of each row, from the top",
       .details = "Lines of text show as valleys between the peaks of blank rows.",
       .example = "gray rows",
       .apply = ApplyRows},
  };
  return kSteps;
}

}  // namespace rastelo::steps
