// Steps that tell about the picture, show it and save it.
#include <nlohmann/json.hpp>

#include "image/inside.h"
#include "pixels/interval.h"
#include "steps/error.h"
#include "steps/families.h"
#include "steps/run.h"

namespace rastelo::steps {
namespace {

constexpr int kMostPixelsOfSide = 32767;

void ApplyInfo(Run& run, const Values&) {
  const int width = run.image.GetWidth(), height = run.image.GetHeight(), bits = run.BitCount();
  const bool isColour = bits == 24;
  const Metadata& metadata = run.source.metadata;
  nlohmann::ordered_json json = {{"width", width},
                                 {"height", height},
                                 {"bits", bits},
                                 {"colour", isColour},
                                 {"format", NameOf(run.source.format)},
                                 {"stored", run.source.stored}};
  std::string text = std::to_string(width) + " x " + std::to_string(height) + " pixels, " +
                     std::to_string(bits) + " bits a pixel (" + (isColour ? "colour" : "gray") +
                     "), from " + std::string(NameOf(run.source.format)) + ", " +
                     run.source.stored + "\n";
  if (run.source.pages > 1) {
    json["pages"] = run.source.pages;
    text += "  one of " + std::to_string(run.source.pages) + " pages\n";
  }
  if (const auto& resolution = metadata.resolution) {
    json["pixels a metre"] = {resolution->x, resolution->y};
    char line[64];
    std::snprintf(line, sizeof line, "  resolution: %.5g x %.5g dots an inch\n",
                  resolution->x * 0.0254, resolution->y * 0.0254);
    text += line;
  }
  if (!metadata.icc.empty()) {
    json["colour profile bytes"] = metadata.icc.size();
    text += "  colour profile: " + std::to_string(metadata.icc.size()) + " bytes\n";
  }
  for (const auto& [name, value] : DescribeExif(metadata.exif)) {
    json["exif"][name] = value;
    text.append("  ").append(name).append(": ").append(value).append("\n");
  }
  run.Print(text, json);
}

constexpr Argument kDrawSize[] = {
    {.name = "WxH[+DX+DY]",
     .forms = kPannedSize,
     .help = "the screen's size in pixels, and how far to pan right and up",
     .lowest = 1,
     .highest = kMostPixelsOfSide}};

void ApplyDraw(Run& run, const Values& values) {
  const Value& size = values[0];
  run.screen.emplace(size.width, size.height);
  RECT all{0, 0, size.width, size.height};
  DrawAlone([&] { run.image.DrawImage(run.screen->Handle(), &all, size.dx, size.dy, nullptr); });
  run.hasVisibleArea = true;
}

constexpr Argument kStretchSize[] = {{.name = "WxH",
                                      .forms = kSize,
                                      .help = "the screen's size in pixels",
                                      .lowest = 1,
                                      .highest = kMostPixelsOfSide}};

void ApplyStretch(Run& run, const Values& values) {
  const Value& size = values[0];
  run.screen.emplace(size.width, size.height);
  run.screen->SetStretchMode(HALFTONE);
  RECT all{0, 0, size.width, size.height};
  int drawn = 0;
  DrawAlone([&] { drawn = run.image.DrawImage(run.screen->Handle(), &all, true); });
  if (drawn == 0) throw StepError("the picture could not be drawn");
}

constexpr Argument kPictureName = {
    .name = "FILE", .forms = kPicture, .help = "the picture to write; - is standard output"};
constexpr Argument kScreenArguments[] = {kPictureName};

void ApplyScreen(Run& run, const Values& values) {
  if (!run.screen) throw StepError("nothing has been drawn yet; put draw or stretch before it");
  run.Save(values[0].text, run.screen->CopyPixels(), {});
}

constexpr Argument kSaveArguments[] = {
    kPictureName,
    {.name = "Q",
     .forms = kWhole,
     .help = "quality of a JPEG picture; colours are stored at half the resolution",
     .lowest = 1,
     .highest = 100,
     .otherwise = "75",
     .key = "quality"}};

void ApplySave(Run& run, const Values& values) {
  run.Save(values[0].text, run.Pixels(), run.source.metadata, values[1].Whole());
}

/// The part of the picture that the last one-to-one draw showed.
PixelStore VisiblePart(Run& run) {
  const RECT drawn = Inside::DrawnArea(run.image);
  const auto columns = Clip({drawn.left, drawn.right}, {0, run.image.GetWidth()});
  const auto rows = Clip({drawn.top, drawn.bottom}, {0, run.image.GetHeight()});
  const auto width = static_cast<int>(columns.Length()), height = static_cast<int>(rows.Length());
  PixelStore part = PixelStore::Zeroed(width, height, run.BitCount());
  run.image.GetImgBlock(static_cast<int>(columns.first), static_cast<int>(rows.first), width,
                        height, part.bitCount, part.bits.get());
  return part;
}

void ApplySaveVisible(Run& run, const Values& values) {
  if (!run.hasVisibleArea)
    throw StepError("nothing has been drawn one to one yet; put draw before it");
  run.Save(values[0].text, VisiblePart(run), run.source.metadata, values[1].Whole());
}

constexpr std::string_view kFamily = "Tell, show and save";

}  // namespace

std::span<const Step> PictureSteps() {
  static constexpr Step kSteps[] = {
      {.name = "info",
       .family = kFamily,
       .arguments = {},
       .effect = Effect::kPrint,
       .needsGray = false,
       .help = "tell size, depth, format, resolution and EXIF",
       .details = "Size and depth are those of the picture as it stands, the rest is what its file "
                  "holds.",
       .example = "info",
       .apply = ApplyInfo},
      {.name = "save",
       .family = kFamily,
       .arguments = kSaveArguments,
       .effect = Effect::kSave,
       .needsGray = false,
       .help = "write the picture to a file: .jpg, .jpeg, .bmp or .png",
       .details = "EXIF goes along with orientation and size made true and without its thumbnail, "
                  "the colour profile if it fits the picture, and the resolution; --strip leaves "
                  "them out. A file that exists is replaced only with --overwrite, and only once "
                  "the new one is complete. Without a quality, a JPEG file is what the library "
                  "itself writes.",
       .example = "gray save=gray.jpg,quality=90",
       .apply = ApplySave},
      {.name = "draw",
       .family = kFamily,
       .arguments = kDrawSize,
       .effect = Effect::kShow,
       .needsGray = false,
       .help = "draw one to one on a screen in memory, centred, panned right by DX and up by DY",
       .details = "What does not fit on the screen is cut off at its edges. screen=FILE saves what "
                  "the screen shows, save-visible=FILE the part of the picture that it shows.",
       .example = "draw=320x240+40-20 screen=shown.png",
       .apply = ApplyDraw},
      {.name = "stretch",
       .family = kFamily,
       .arguments = kStretchSize,
       .effect = Effect::kShow,
       .needsGray = false,
       .help = "draw the whole picture on a screen in memory, scaled to its size",
       .details = "The screen averages the pixels that fall on one of its own.",
       .example = "stretch=64x48 screen=small.png",
       .apply = ApplyStretch},
      {.name = "screen",
       .family = kFamily,
       .arguments = kScreenArguments,
       .effect = Effect::kSave,
       .needsGray = false,
       .help = "save what the last draw or stretch shows",
       .details = "Pixels that the picture leaves free are black.",
       .example = "draw=320x240 screen=shown.png",
       .apply = ApplyScreen},
      {.name = "save-visible",
       .family = kFamily,
       .arguments = kSaveArguments,
       .effect = Effect::kSave,
       .needsGray = false,
       .help = "save the part of the picture that the last draw showed",
       .details = "Where the screen is larger than the picture, that is all of it.",
       .example = "draw=320x240 save-visible=part.jpg",
       .apply = ApplySaveVisible},
  };
  return kSteps;
}

}  // namespace rastelo::steps
