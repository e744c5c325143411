#include "tools/steps.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <vector>

#include "histogram/histogram.h"
#include "image/pixel_store.h"
#include "segment/graph_cut.h"
#include "segment/otsu.h"
#include "tools/error.h"
#include "tools/picture_file.h"
#include "tools/screen.h"

namespace rastelo::tools {
namespace {

constexpr int kMaxSide = 32767;           // of a screen
constexpr int kMaxPlace = 1'000'000'000;  // of a rectangle; leaves room for a step beyond it

/// Reads whole numbers off the front of a text.
class NumberReader {
 public:
  explicit NumberReader(std::string_view text) : text_(text) {}

  bool Read(int& number) {
    const auto [end, error] = std::from_chars(text_.data(), text_.data() + text_.size(), number);
    if (error != std::errc()) return false;
    text_.remove_prefix(static_cast<std::size_t>(end - text_.data()));
    return true;
  }
  bool Skip(char expected) {
    if (text_.empty() || text_.front() != expected) return false;
    text_.remove_prefix(1);
    return true;
  }
  /// A number with its sign, which may be "+".
  bool ReadSigned(int& number) {
    if (text_.starts_with("+") && !text_.starts_with("+-")) return Skip('+') && Read(number);
    return text_.starts_with("-") && Read(number);
  }
  bool AtEnd() const { return text_.empty(); }

 private:
  std::string_view text_;
};

int BitCount(const CRastelo& image) { return image.IsCanTrans2Gray() ? 24 : 8; }

void RequireGray(const CRastelo& image) {
  if (image.IsCanTrans2Gray()) throw OperationError("it needs a gray picture; put gray before it");
}

Action ParseInfo(const std::string&) {
  return [](Session& session) {
    const CRastelo& image = session.image;
    std::printf("%d x %d pixels, %d bits a pixel (%s)\n", static_cast<int>(image.GetWidth()),
                static_cast<int>(image.GetHeight()), BitCount(image),
                image.IsCanTrans2Gray() ? "colour" : "gray");
  };
}

Action ParseGray(const std::string&) {
  return [](Session& session) { session.image.RGBImg2Gray(); };  // leaves a gray picture as it is
}

Action ParseRotate(const std::string& argument) {
  if (argument != "ccw" && argument != "cw") throw UsageError("expected rotate=ccw or rotate=cw");
  const int direction = argument == "ccw" ? 1 : 0;
  return [direction](Session& session) { session.image.RotateImage_Dir(direction); };
}

struct Rectangle {
  int x, y, width, height;  // from the top left corner
};

Rectangle ParseRectangle(const std::string& argument) {
  Rectangle r{};
  NumberReader reader(argument);
  const bool read = reader.Read(r.x) && reader.Skip(',') && reader.Read(r.y) && reader.Skip(',') &&
                    reader.Read(r.width) && reader.Skip(',') && reader.Read(r.height);
  const bool inRange = r.x >= 0 && r.y >= 0 && r.width > 0 && r.height > 0 && r.x <= kMaxPlace &&
                       r.y <= kMaxPlace && r.width <= kMaxPlace && r.height <= kMaxPlace;
  if (!read || !reader.AtEnd() || !inRange)
    throw UsageError("expected four whole numbers x,y,w,h, with w and h above 0");
  return r;
}

Action ParseCrop(const std::string& argument) {
  return [r = ParseRectangle(argument)](Session& session) {
    CRastelo& image = session.image;
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
  return [r = ParseRectangle(argument)](Session& session) {
    // The library keeps what lies strictly between the sides.
    session.image.ReserveImgBlock(r.x - 1, r.y - 1, r.width + 1, r.height + 1);
  };
}

Action ParseRows(const std::string&) {
  return [](Session& session) {
    RequireGray(session.image);
    std::vector<LONG> sums(static_cast<std::size_t>(session.image.GetHeight()));
    session.image.ImgProjectionHorizon(sums.data());
    std::puts("row from the top\tsum of its gray levels");
    for (std::size_t row = 0; row < sums.size(); ++row)
      std::printf("%zu\t%d\n", row, static_cast<int>(sums[row]));
  };
}

struct ScreenSize {
  int width, height, dx = 0, dy = 0;
};

ScreenSize ParseScreenSize(const std::string& argument, bool withOffsets) {
  ScreenSize size{};
  NumberReader reader(argument);
  bool read = reader.Read(size.width) && reader.Skip('x') && reader.Read(size.height);
  if (read && withOffsets && !reader.AtEnd())
    read = reader.ReadSigned(size.dx) && reader.ReadSigned(size.dy);
  if (!read || !reader.AtEnd() || size.width < 1 || size.height < 1 || size.width > kMaxSide ||
      size.height > kMaxSide)
    throw UsageError(std::string("expected WxH") + (withOffsets ? " or WxH+DX+DY" : "") +
                     ", sides from 1 to " + std::to_string(kMaxSide));
  return size;
}

Action ParseDraw(const std::string& argument) {
  return [size = ParseScreenSize(argument, true)](Session& session) {
    session.screen.emplace(size.width, size.height);
    RECT all{0, 0, size.width, size.height};
    session.image.DrawImage(&*session.screen, &all, size.dx, size.dy, nullptr);
    session.hasVisibleArea = true;
  };
}

Action ParseStretch(const std::string& argument) {
  return [size = ParseScreenSize(argument, false)](Session& session) {
    session.screen.emplace(size.width, size.height);
    session.screen->SetStretchBltMode(HALFTONE);
    RECT all{0, 0, size.width, size.height};
    if (session.image.DrawImage(&*session.screen, &all, true) == 0)
      throw OperationError("the picture could not be drawn");
  };
}

void RequirePictureName(const std::string& path) {
  if (!HasPictureExtension(path))
    throw UsageError("expected a file name that ends in .bmp, .BMP, .jpg or .JPG");
}

struct LevelTables {
  LONG planes[3][256];
};

LevelTables CountLevels(CRastelo& image) {
  LevelTables tables;
  image.HistogramStatic(tables.planes[0], tables.planes[1], tables.planes[2]);
  return tables;
}

Action ParseHistogram(const std::string& path) {
  if (path.empty())
    return [](Session& session) {
      const LevelTables tables = CountLevels(session.image);
      const int planes = session.image.IsCanTrans2Gray() ? 3 : 1;
      std::puts(planes == 3 ? "level\tblue\tgreen\tred" : "level\tpixels");
      for (int level = 0; level < 256; ++level) {
        std::printf("%d", level);
        for (int plane = 0; plane < planes; ++plane)
          std::printf("\t%d", static_cast<int>(tables.planes[plane][level]));
        std::puts("");
      }
    };
  RequirePictureName(path);
  return [path](Session& session) {
    const LevelTables tables = CountLevels(session.image);
    HistogramPlot plot;
    plot.title = std::to_string(session.image.GetWidth()) + " x " +
                 std::to_string(session.image.GetHeight()) + " pixels";
    if (session.image.IsCanTrans2Gray()) {
      plot.curves = {{"blue", {200, 90, 30}, tables.planes[0]},
                     {"green", {60, 150, 50}, tables.planes[1]},
                     {"red", {50, 50, 210}, tables.planes[2]}};
    } else {
      plot.curves = {{"gray", {90, 75, 65}, tables.planes[0]}};
    }
    if (session.threshold) plot.mark = *session.threshold;
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
  return [equalize, grayOnly](Session& session) {
    if (grayOnly) RequireGray(session.image);
    (session.image.*equalize)();
  };
}

Action ParseOtsu(const std::string&) {
  return [](Session& session) {
    RequireGray(session.image);
    session.image.Segment_Otsu();
  };
}

Action ParseGraphCut(const std::string&) {
  return [](Session& session) {
    RequireGray(session.image);
    session.image.Segment_Graphcut();
  };
}

Action ParseNdhm(const std::string& argument) {
  int radius = 0;
  NumberReader reader(argument);
  if (!reader.Read(radius) || !reader.AtEnd() || radius < 0)
    throw UsageError("expected a whole number of pixels, 0 or more");
  return [radius](Session& session) {
    RequireGray(session.image);
    session.image.Segment_NDHM(radius);
  };
}

/// The level that parts a gray picture, if there is one.
std::optional<int> FindThreshold(CRastelo& image, bool graphCut) {
  if (!graphCut) {
    const LevelTables tables = CountLevels(image);
    Histogram counts;
    std::copy_n(tables.planes[0], counts.size(), counts.begin());
    return FindOtsuThreshold(counts, 0, 255, std::int64_t{image.GetWidth()} * image.GetHeight());
  }
  const PixelStore copy = PixelStore::Zeroed(image.GetWidth(), image.GetHeight(), 8);
  image.GetImgBlock(0, 0, copy.width, copy.height, 8, copy.bits.get());
  const auto affinity = std::make_unique<AffinityTable>();
  SumAffinities(copy.Pixels(), *affinity);
  const int level = FindGraphCutThreshold(*affinity);
  return level == 0 ? std::nullopt : std::optional(level);
}

Action ParseThreshold(const std::string& argument) {
  if (argument != "otsu" && argument != "graph-cut")
    throw UsageError("expected threshold=otsu or threshold=graph-cut");
  return [argument](Session& session) {
    RequireGray(session.image);
    const std::optional<int> level = FindThreshold(session.image, argument == "graph-cut");
    std::printf("%s threshold: %s\n", argument.c_str(),
                level ? std::to_string(*level).c_str() : "none parts this picture");
    session.threshold.reset();
    if (level) session.threshold = PlotMark{argument, *level};
  };
}

Action ParseScreen(const std::string& path) {
  RequirePictureName(path);
  return [path](Session& session) {
    if (!session.screen)
      throw OperationError("nothing has been drawn yet; put draw or stretch before it");
    CRastelo picture = PictureOf(*session.screen);
    SavePicture(path, [&](const char* name) { return picture.SaveAs(name); });
  };
}

Action ParseSave(const std::string& path) {
  RequirePictureName(path);
  return [path](Session& session) {
    SavePicture(path, [&](const char* name) { return session.image.SaveAs(name); });
  };
}

Action ParseSaveVisible(const std::string& path) {
  return [path](Session& session) {
    if (!session.hasVisibleArea)
      throw OperationError("nothing has been drawn one to one yet; put draw before it");
    SavePicture(path, [&](const char* name) { return session.image.SaveAs_visible_JPG(name); });
  };
}

constexpr Step kSteps[] = {
    {"info", "", "print size and depth", ParseInfo},
    {"gray", "", "turn a colour picture gray", ParseGray},
    {"rotate", "=ccw|cw", "turn a quarter, counter-clockwise or clockwise", ParseRotate},
    {"crop", "=x,y,w,h", "cut to w x h pixels; x and y count from the top left", ParseCrop},
    {"keep", "=x,y,w,h", "blacken all but w x h pixels; x and y from the top left", ParseKeep},
    {"rows", "", "print the sum of each row of a gray picture, from the top", ParseRows},
    {"histogram", "[=FILE]", "print how many pixels show each level, or plot it", ParseHistogram},
    {"equalize", "[=1|2|3]", "equalise the histogram: whole, or in one of three other ways",
     ParseEqualize},
    {"threshold", "=otsu|graph-cut", "print the level that parts a gray picture", ParseThreshold},
    {"otsu", "", "blacken the dark part of a gray picture, pass by pass", ParseOtsu},
    {"graph-cut", "", "whiten the dark part of a gray picture, complement the rest", ParseGraphCut},
    {"ndhm", "=R", "make dark details white, the rest black; R pixels around count", ParseNdhm},
    {"draw", "=WxH[+DX+DY]", "draw one to one, centred, panned right by DX and up by DY",
     ParseDraw},
    {"stretch", "=WxH", "draw the whole picture, scaled", ParseStretch},
    {"screen", "=FILE", "save what the last draw shows", ParseScreen},
    {"save", "=FILE", "save the picture (.bmp, .jpg)", ParseSave},
    {"save-visible", "=FILE", "save the area that the last draw=WxH showed, as JPEG",
     ParseSaveVisible},
};

}  // namespace

std::span<const Step> Steps() { return kSteps; }

Action ParseStep(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::string name = text.substr(0, equals);
  for (const Step& step : kSteps) {
    if (step.name != name) continue;
    const bool hasArgument = equals != std::string::npos;
    const bool mayHaveArgument = !step.argument.empty();
    const bool mustHaveArgument = step.argument.starts_with("=");
    const std::string argument = hasArgument ? text.substr(equals + 1) : std::string();
    if (hasArgument ? !mayHaveArgument || argument.empty() : mustHaveArgument)
      throw UsageError("step '" + text + "': expected " + name + std::string(step.argument));
    try {
      const Action action = step.parse(argument);
      return [text, action](Session& session) {
        try {
          action(session);
        } catch (const OperationError& error) {
          throw OperationError("step '" + text + "': " + error.what());
        }
      };
    } catch (const UsageError& error) {
      throw UsageError("step '" + text + "': " + error.what());
    }
  }
  throw UsageError("there is no step '" + name + "'; 'rastelo steps' lists them");
}

}  // namespace rastelo::tools
