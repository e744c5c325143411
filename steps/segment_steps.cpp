// Steps that part a picture by its levels.
#include "segment/threshold.h"

#include <nlohmann/json.hpp>

#include "filter/push.h"
#include "image/inside.h"
#include "steps/error.h"
#include "steps/families.h"
#include "steps/run.h"

namespace rastelo::steps {
namespace {

constexpr std::string_view kSearches[] = {"otsu", "graph-cut"};
constexpr const char* kSearchHelp =
    "the level with the largest variance between the classes (otsu) or the smallest normalised cut "
    "(graph-cut)";

std::optional<int> Search(const Run& run, const std::string& search) {
  return FindThreshold(run.Pixels().Pixels(),
                       search == "otsu" ? ThresholdSearch::kOtsu : ThresholdSearch::kGraphCut);
}

/// The level that an argument gives, or the one that the search of this name finds.
int LevelOf(const Run& run, const Value& value) {
  if (value.isNumber) return value.Whole();
  const std::optional<int> level = Search(run, value.text);
  if (!level) throw StepError("no level separates this picture");
  return *level;
}

constexpr Argument kLevelArguments[] = {
    {.name = "SEARCH", .forms = kWord, .help = kSearchHelp, .words = kSearches}};

void ApplyLevel(Run& run, const Values& values) {
  const std::string& search = values[0].text;
  const std::optional<int> level = Search(run, search);
  run.level.reset();
  if (level) run.level = PlotMark{search, *level};
  nlohmann::ordered_json json = {{"search", search}, {"level", nullptr}};
  if (level) json["level"] = *level;
  run.Print(
      search + " level: " + (level ? std::to_string(*level) : "none separates this picture") + "\n",
      json);
}

/// A level, or how to search for it.
constexpr Argument LevelOrSearch(std::optional<std::string_view> otherwise = {}) {
  return {.name = "LEVEL",
          .forms = kWord | kWhole,
          .help = "the first level that counts as bright, or how to find it",
          .lowest = 0,
          .highest = 256,
          .words = kSearches,
          .otherwise = otherwise};
}
constexpr Argument kThresholdArguments[] = {LevelOrSearch()};

void ApplyThreshold(Run& run, const Values& values) {
  PushLevels(Inside::Pixels(run.image), LevelOf(run, values[0]), true, true);
}

constexpr Argument kPushArguments[] = {
    LevelOrSearch(),
    {.name = "low", .forms = kFlag, .help = "levels below become 0, black"},
    {.name = "high", .forms = kFlag, .help = "the others become 255, white"}};

void CheckPush(const Values& values) {
  if (!values[1].IsSet() && !values[2].IsSet())
    throw CallError("it pushes nothing without low, high or both: push=" + values[0].text +
                    ",low,high");
}

void ApplyPush(Run& run, const Values& values) {
  run.image.ImgTrans2_0_1(LevelOf(run, values[0]), values[1].IsSet(), values[2].IsSet());
}

void ApplyOtsu(Run& run, const Values&) { run.image.Segment_Otsu(); }
void ApplyGraphCut(Run& run, const Values&) { run.image.Segment_Graphcut(); }

constexpr Argument kNdhmArguments[] = {{.name = "RADIUS",
                                        .forms = kWhole,
                                        .help = "how far around a pixel others count, in pixels",
                                        .lowest = 0,
                                        .highest = 1'000'000'000}};

void ApplyNdhm(Run& run, const Values& values) { run.image.Segment_NDHM(values[0].Whole()); }

constexpr Argument kCleanPageArguments[] = {LevelOrSearch("graph-cut")};

constexpr std::string_view kFamily = "Segment";

}  // namespace

std::span<const Step> SegmentSteps() {
  static constexpr Step kSteps[] = {
      {.name = "level",
       .family = kFamily,
       .arguments = kLevelArguments,
       .effect = Effect::kPrint,
       .needsGray = true,
       .help = "tell the level that separates dark from bright",
       .details = "histogram=FILE behind it marks the level in its plot.",
       .example = "gray level=otsu",
       .apply = ApplyLevel},
      {.name = "threshold",
       .family = kFamily,
       .arguments = kThresholdArguments,
       .effect = Effect::kChange,
       .needsGray = true,
       .help = "make dark pixels black and bright ones white, by one level",
       .details = "One search, two levels, as in the textbook; otsu and graph-cut as steps of "
                  "their own clear dark pixels pass by pass and keep the levels of the rest.",
       .example = "gray threshold=otsu save=two-levels.png",
       .apply = ApplyThreshold},
      {.name = "push",
       .family = kFamily,
       .arguments = kPushArguments,
       .effect = Effect::kChange,
       .needsGray = true,
       .help = "push levels below LEVEL to black, the others to white, or both",
       .details = "What is not pushed stays as it is.",
       .example = "gray push=otsu,high save=ink.png",
       .apply = ApplyPush,
       .check = CheckPush},
      {.name = "otsu",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = true,
       .help = "blacken dark pixels pass by pass, each by the level with the largest variance",
       .details = "Each pass clears the pixels below its level and searches among the rest, until "
                  "the mean level hardly falls; bright pixels keep their levels. threshold=otsu "
                  "searches once and leaves two levels.",
       .example = "gray otsu save=segments.png",
       .apply = ApplyOtsu},
      {.name = "graph-cut",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kChange,
       .needsGray = true,
       .help = "whiten dark pixels pass by pass, each by the smallest normalised cut",
       .details = "The rest becomes its complement. threshold=graph-cut searches once and leaves "
                  "two levels.",
       .example = "gray graph-cut save=segments.png",
       .apply = ApplyGraphCut},
      {.name = "ndhm",
       .family = kFamily,
       .arguments = kNdhmArguments,
       .effect = Effect::kChange,
       .needsGray = true,
       .help = "make dark details white and the rest black, by what stands out around each pixel",
       .details =
           "The level is the one whose pixels stand out most from those around them, in sum.",
       .example = "gray ndhm=8 save=details.png",
       .apply = ApplyNdhm},
      {.name = "clean-page",
       .family = kFamily,
       .arguments = kCleanPageArguments,
       .effect = Effect::kChange,
       .needsGray = false,
       .help = "make an unevenly lit page clean: black text on white",
       .details = "Stands for gray light=2 push=LEVEL,low,high.",
       .example = "clean-page save=clean.png",
       .apply = nullptr,
       .composition = "gray light=2 push={0},low,high"},
  };
  return kSteps;
}

}  // namespace rastelo::steps
