// Steps that filter pixels and even the light.
#include <cmath>

#include "filter/convolve.h"
#include "filter/edges.h"
#include "steps/error.h"
#include "steps/families.h"
#include "steps/platform/files.h"
#include "steps/run.h"
#include "steps/template_entries.h"

namespace rastelo::steps {
namespace {

void ApplySobel(Run& run, const Values&) { run.image.Img_Sobel(); }

void ApplyEdges(Run& run, const Values&) {
  run.image.RGBImg2Gray();
  const PixelStore from = run.Pixels();
  const PixelStore edges = PixelStore::Zeroed(from.width, from.height, 8);
  DetectEdges(from.Pixels(), edges.Pixels());
  run.Adopt(edges);
}

constexpr Argument kTemplateArguments[] = {
    {.name = "FILE",
     .forms = kWord | kFile,
     .help = "a template by its name, or a text file of numbers: those of a square with odd sides, "
             "the lowest row first",
     .words = kTemplateNames}};

void ApplyTemplate(Run& run, const Values& values) {
  Template entries = FindTemplate(values[0].text);
  run.image.ImgTemplateOperator(entries.values.data(), entries.size);
}

void ApplyConvolve(Run& run, const Values& values) {
  const Template entries = FindTemplate(values[0].text);
  const PixelStore from = run.Pixels();
  const PixelStore to = PixelStore::Zeroed(from.width, from.height, from.bitCount);
  Convolve(from.Pixels(), from.bitCount / 8, entries.values, entries.size, to.Pixels());
  run.Adopt(to);
}

constexpr std::string_view kBlurs[] = {"gauss", "mean"};
constexpr Argument kBlurArguments[] = {{.name = "KIND",
                                        .forms = kWord,
                                        .help = "weights that fall with distance, or equal ones",
                                        .words = kBlurs,
                                        .otherwise = "gauss"}};

void ApplyInvert(Run& run, const Values&) { run.image.InverseGray(); }

constexpr std::string_view kLightModes[] = {"0", "2"};
constexpr Argument kLightArguments[] = {
    {.name = "MODE",
     .forms = kWord,
     .help = "0 for one pass, 2 for as many as make the picture bright",
     .words = kLightModes}};

void ApplyLight(Run& run, const Values& values) {
  run.image.ImgAverageLight(values[0].text == "0" ? 0 : 2, 0);
}

constexpr std::string_view kFamily = "Filter";

}  // namespace

std::span<const Step> FilterSteps() {
  static constexpr Step kSteps[] = {
      {.name = "edges",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "show edges: the length of the gradient, in gray",
       .details = "Each pixel looks at its neighbours as they were; sobel, which reads pixels that "
                  "it has just written, turns most of a photograph white.",
       .example = "edges save=edges.png",
       .apply = ApplyEdges},
      {.name = "sobel",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "show edges as the library's Img_Sobel does, in gray",
       .details = "Each pixel reads what has been written before it, so that edges grow towards "
                  "upper right and most of a photograph turns white. edges reads unchanged "
                  "neighbours.",
       .example = "sobel save=sobel.png",
       .apply = ApplySobel},
      {.name = "convolve",
       .family = kFamily,
       .arguments = kTemplateArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "filter by a template: each pixel becomes the weighted sum around it",
       .details = "Neighbours count as they were, beyond the border the nearest pixel, and the sum "
                  "is rounded once and cut to 0 to 255; colours are filtered each on its own. "
                  "template reads pixels that it has just written and rounds at each term. blur, "
                  "sharpen and emboss are short for convolve=gauss, sharpen and emboss.",
       .example = "convolve=sharpen save=sharp.jpg",
       .apply = ApplyConvolve},
      {.name = "blur",
       .family = kFamily,
       .arguments = kBlurArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "soften the picture",
       .details = "Stands for convolve=gauss or convolve=mean, 3 x 3 pixels; twice is softer.",
       .example = "blur blur save=soft.jpg",
       .apply = nullptr,
       .composition = "convolve={0}"},
      {.name = "sharpen",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "sharpen the picture",
       .details = "Stands for convolve=sharpen.",
       .example = "sharpen save=sharp.jpg",
       .apply = nullptr,
       .composition = "convolve=sharpen"},
      {.name = "emboss",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "show the picture as a relief that is lit from one corner",
       .details = "Stands for convolve=emboss.",
       .example = "gray emboss save=relief.jpg",
       .apply = nullptr,
       .composition = "convolve=emboss"},
      {.name = "template",
       .family = kFamily,
       .arguments = kTemplateArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "filter as the library's ImgTemplateOperator does, in gray",
       .details = "Each pixel becomes the length of a sum that reads what has been written before "
                  "it and is cut to a whole number at each term: on a photograph often far from "
                  "what the template says. convolve reads unchanged neighbours; blur, sharpen and "
                  "emboss do by it what they are named for.",
       .example = "template=mean save=mean.png",
       .apply = ApplyTemplate},
      {.name = "invert",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = true,
       .help = "make black white and white black",
       .details = "Every level v becomes 255 - v.",
       .example = "gray invert save=negative.jpg",
       .apply = ApplyInvert},
      {.name = "light",
       .family = kFamily,
       .arguments = kLightArguments,
       .effect = Effect::kChange,
       .needsGray = true,
       .help = "even the light between the columns of a picture",
       .details = "Columns that are darker than the bright ones are lifted towards them. Mode 2 "
                  "goes on until more than 0.9 of the pixels are above level 180.",
       .example = "gray light=2 save=even.jpg",
       .apply = ApplyLight},
  };
  return kSteps;
}

}  // namespace rastelo::steps
