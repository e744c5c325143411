// Steps that count levels, measure and equalise.
#include <cmath>
#include <nlohmann/json.hpp>

#include "histogram/histogram.h"
#include "steps/error.h"
#include "steps/families.h"
#include "steps/run.h"

namespace rastelo::steps {
namespace {

constexpr Argument kHistogramArguments[] = {{.name = "FILE",
                                             .forms = kPicture,
                                             .help = "a plot to write instead of numbers",
                                             .otherwise = ""}};

struct PlaneCounts {
  const char* name;
  Colour colour;
  Histogram counts;
};

std::vector<PlaneCounts> CountPlanes(const Run& run) {
  const PixelStore pixels = run.Pixels();
  if (run.BitCount() == 8) return {{"gray", {90, 75, 65}, CountLevels(pixels.Pixels())}};
  const auto planes = CountPlaneLevels(pixels.Pixels());
  return {{"blue", {200, 90, 30}, planes[0]},
          {"green", {60, 150, 50}, planes[1]},
          {"red", {50, 50, 210}, planes[2]}};
}

void PlotHistogram(const Run& run, const std::string& path) {
  const std::vector<PlaneCounts> planes = CountPlanes(run);
  HistogramPlot plot;
  plot.title = std::to_string(run.image.GetWidth()) + " x " +
               std::to_string(run.image.GetHeight()) + " pixels";
  for (const PlaneCounts& plane : planes)
    plot.curves.push_back({plane.name, plane.colour, plane.counts});
  plot.mark = run.level;
  run.Save(path, DrawHistogram(plot), {});
}

void ApplyHistogram(Run& run, const Values& values) {
  if (values[0].IsSet()) return PlotHistogram(run, values[0].text);
  const std::vector<PlaneCounts> planes = CountPlanes(run);
  nlohmann::ordered_json json;
  std::string text = "level";
  for (const PlaneCounts& plane : planes) {
    text.append("\t").append(plane.name);
    json["histogram"][plane.name] = plane.counts;
  }
  text += '\n';
  for (std::size_t level = 0; level < 256; ++level) {
    text += std::to_string(level);
    for (const PlaneCounts& plane : planes) text += '\t' + std::to_string(plane.counts[level]);
    text += '\n';
  }
  run.Print(text, json);
}

/// What is told of the levels of a picture.
struct Brightness {
  double mean, deviation;
  int darkest, median, brightest;
};

Brightness Measure(const Histogram& counts) {
  double pixels = 0, sum = 0, squares = 0;
  for (int level = 0; level < 256; ++level) {
    const double count = counts[static_cast<std::size_t>(level)];
    pixels += count;
    sum += count * level;
    squares += count * level * level;
  }
  const auto levelOf = [&](double rank) {  // of the pixel so many places behind the darkest
    std::size_t level = 0;
    for (double below = counts[0]; below <= rank && level < 255;) below += counts[++level];
    return static_cast<int>(level);
  };
  const double mean = sum / pixels;
  return {mean, std::sqrt(std::max(0.0, squares / pixels - mean * mean)), levelOf(0),
          levelOf(std::floor((pixels - 1) / 2)), levelOf(pixels - 1)};
}

void ApplyBrightness(Run& run, const Values&) {
  const Brightness found = Measure(CountLevels(run.Pixels().Pixels()));
  char text[160];
  std::snprintf(text, sizeof text,
                "mean %.2f, deviation %.2f, darkest %d, median %d, brightest %d\n", found.mean,
                found.deviation, found.darkest, found.median, found.brightest);
  run.Print(text, {{"mean", found.mean},
                   {"deviation", found.deviation},
                   {"darkest", found.darkest},
                   {"median", found.median},
                   {"brightest", found.brightest}});
}

constexpr Argument kExceedsArguments[] = {
    {.name = "LEVEL", .forms = kWhole, .help = "a gray level", .lowest = 0, .highest = 255},
    {.name = "SHARE",
     .forms = kNumber,
     .help = "a share of all pixels",
     .lowest = 0,
     .highest = 1}};

void ApplyExceeds(Run& run, const Values& values) {
  const int level = values[0].Whole();
  const double share = values[1].number;
  const bool exceeds = run.image.ImgGray_Exceed_Probability(level, share);
  run.Print((exceeds ? "more than " : "no more than ") + values[1].text +
                " of the pixels above level " + values[0].text + "\n",
            {{"level", level}, {"share", share}, {"exceeds", exceeds}});
}

constexpr std::string_view kVariants[] = {"0", "1", "2", "3"};
constexpr Argument kEqualizeArguments[] = {
    {.name = "VARIANT",
     .forms = kWord,
     .help = "0 for all levels together, 1 for the same with another mean, 2 for three ranges of "
             "levels each on its own, 3 for two",
     .words = kVariants,
     .otherwise = "0"}};

void ApplyEqualize(Run& run, const Values& values) {
  using Equalize = void (CRastelo::*)();
  constexpr Equalize kEqualize[] = {
      &CRastelo::HistogramEqualization, &CRastelo::HistogramEqualization1,
      &CRastelo::HistogramEqualization2, &CRastelo::HistogramEqualization3};
  const int variant = values[0].text[0] - '0';
  if (variant >= 2 && run.image.IsCanTrans2Gray())
    throw StepError("variants 2 and 3 need a gray picture; put gray before it");
  (run.image.*kEqualize[variant])();
}

constexpr std::string_view kFamily = "Levels";

}  // namespace

std::span<const Step> HistogramSteps() {
  static constexpr Step kSteps[] = {
      {.name = "histogram",
       .family = kFamily,
       .arguments = kHistogramArguments,
       .effect = Effect::kPrint,
       .needsGray = false,
       .help = "tell how many pixels show each level, or plot it",
       .details = "Colours are counted each on its own. A plot marks the level that level=... has "
                  "found before.",
       .example = "gray level=otsu histogram=plot.png",
       .apply = ApplyHistogram},
      {.name = "brightness",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kPrint,
       .needsGray = true,
       .help = "tell mean, deviation, darkest, median and brightest level",
       .details = "All levels are from 0, black, to 255, white. --json gives them in full "
                  "precision.",
       .example = "gray brightness",
       .apply = ApplyBrightness},
      {.name = "exceeds",
       .family = kFamily,
       .arguments = kExceedsArguments,
       .effect = Effect::kPrint,
       .needsGray = true,
       .help = "tell whether more than SHARE of the pixels are above LEVEL",
       .details = "light=2 goes on until exceeds=180,0.9 holds.",
       .example = "gray exceeds=180,0.9",
       .apply = ApplyExceeds},
      {.name = "equalize",
       .family = kFamily,
       .arguments = kEqualizeArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "equalise the histogram",
       .details = "Levels of gray pictures are lifted beyond what the textbook gives, those that "
                  "many pixels share less than others. Colours are equalised each on its own, "
                  "without a lift. Variants 2 and 3 need a gray picture.",
       .example = "gray equalize=3 save=equalized.jpg",
       .apply = ApplyEqualize},
  };
  return kSteps;
}

}  // namespace rastelo::steps
