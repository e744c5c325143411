// Steps that count levels, equalise and segment.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "histogram/histogram.h"
#include "pixels/pixel_store.h"
#include "segment/graph_cut.h"
#include "segment/otsu.h"
#include "tools/error.h"
#include "tools/picture_file.h"
#include "tools/step_arguments.h"
#include "tools/step_families.h"

namespace rastelo::tools {
namespace {

struct LevelTables {
  LONG planes[3][256] = {};
};

LevelTables CountLevels(CRastelo& image) {
  LevelTables tables;
  image.HistogramStatic(tables.planes[0], tables.planes[1], tables.planes[2]);
  return tables;
}

Action ParseHistogram(const std::string& path) {
  if (path.empty())
    return [](RunState& state) {
      const LevelTables tables = CountLevels(state.image);
      const int planes = state.image.IsCanTrans2Gray() ? 3 : 1;
      std::puts(planes == 3 ? "level\tblue\tgreen\tred" : "level\tpixels");
      for (int level = 0; level < 256; ++level) {
        std::printf("%d", level);
        for (int plane = 0; plane < planes; ++plane)
          std::printf("\t%d", static_cast<int>(tables.planes[plane][level]));
        std::puts("");
      }
    };
  RequirePictureName(path);
  return [path](RunState& state) {
    const LevelTables tables = CountLevels(state.image);
    HistogramPlot plot;
    plot.title = std::to_string(state.image.GetWidth()) + " x " +
                 std::to_string(state.image.GetHeight()) + " pixels";
    if (state.image.IsCanTrans2Gray()) {
      plot.curves = {{"blue", {200, 90, 30}, tables.planes[0]},
                     {"green", {60, 150, 50}, tables.planes[1]},
                     {"red", {50, 50, 210}, tables.planes[2]}};
    } else {
      plot.curves = {{"gray", {90, 75, 65}, tables.planes[0]}};
    }
    if (state.threshold) plot.mark = *state.threshold;
    CRastelo picture = DrawHistogram(plot);
    SavePicture(path, [&](const char* name) { return picture.SaveAs(name); });
  };
}

Action ParseEqualize(const std::string& argument) {
  void (CRastelo::*equalize)() = nullptr;
  if (argument.empty()) equalize = &CRastelo::HistogramEqualization;
  if (argument == "1") equalize = &CRastelo::HistogramEqualization1;
  if (argument == "2") equalize = &CRastelo::HistogramEqualization2;
  if (argument == "3") equalize = &CRastelo::HistogramEqualization3;
  if (!equalize) throw UsageError("expected equalize, or equalize=1, 2 or 3");
  const bool grayOnly = argument == "2" || argument == "3";
  return [equalize, grayOnly](RunState& state) {
    if (grayOnly) RequireGray(state.image);
    (state.image.*equalize)();
  };
}

Action ParseOtsu(const std::string&) {
  return [](RunState& state) {
    RequireGray(state.image);
    state.image.Segment_Otsu();
  };
}

Action ParseGraphCut(const std::string&) {
  return [](RunState& state) {
    RequireGray(state.image);
    state.image.Segment_Graphcut();
  };
}

Action ParseNdhm(const std::string& argument) {
  int radius = 0;
  NumberReader reader(argument);
  if (!reader.Read(radius) || !reader.AtEnd() || radius < 0)
    throw UsageError("expected a whole number of pixels, 0 or more");
  return [radius](RunState& state) {
    RequireGray(state.image);
    state.image.Segment_NDHM(radius);
  };
}

/// The level that separates a gray picture, if there is one.
std::optional<int> FindThreshold(CRastelo& image, bool graphCut) {
  if (!graphCut) {
    const LevelTables tables = CountLevels(image);
    Histogram counts;
    std::copy_n(tables.planes[0], counts.size(), counts.begin());
    return FindOtsuThreshold(counts, 0, 255);
  }
  const PixelStore copy = PixelStore::Zeroed(image.GetWidth(), image.GetHeight(), 8);
  image.GetImgBlock(0, 0, copy.width, copy.height, 8, copy.bits.get());
  const auto tables = std::make_unique<GraphCutTables>();
  const int level = FindGraphCutThreshold(copy.Pixels(), *tables);
  return level == 0 ? std::nullopt : std::optional(level);
}

Action ParseThreshold(const std::string& argument) {
  if (argument != "otsu" && argument != "graph-cut")
    throw UsageError("expected threshold=otsu or threshold=graph-cut");
  return [argument](RunState& state) {
    RequireGray(state.image);
    const std::optional<int> level = FindThreshold(state.image, argument == "graph-cut");
    std::printf("%s threshold: %s\n", argument.c_str(),
                level ? std::to_string(*level).c_str() : "none separates this picture");
    state.threshold.reset();
    if (level) state.threshold = PlotMark{argument, *level};
  };
}

}  // namespace

std::span<const Step> HistogramSteps() {
  static constexpr Step kSteps[] = {
      {"histogram", "[=FILE]", "print how many pixels show each level, or plot it", ParseHistogram},
      {"equalize", "[=1|2|3]", "equalise the histogram: whole, or in one of three other ways",
       ParseEqualize},
      {"threshold", "=otsu|graph-cut", "print the level that separates a gray picture",
       ParseThreshold},
      {"otsu", "", "blacken the dark pixels of a gray picture, pass by pass", ParseOtsu},
      {"graph-cut", "", "whiten the dark pixels of a gray picture, complement the rest",
       ParseGraphCut},
      {"ndhm", "=R", "make dark details white, the rest black; R pixels around count", ParseNdhm},
  };
  return kSteps;
}

}  // namespace rastelo::tools
