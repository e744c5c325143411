// Steps that show and save.
#include <cstdio>

#include "tools/error.h"
#include "tools/picture_file.h"
#include "tools/screen.h"
#include "tools/step_arguments.h"
#include "tools/step_families.h"

namespace rastelo::tools {
namespace {

constexpr int kMaxSide = 32767;

Action ParseInfo(const std::string&) {
  return [](RunState& state) {
    const CRastelo& image = state.image;
    std::printf("%d x %d pixels, %d bits a pixel (%s)\n", static_cast<int>(image.GetWidth()),
                static_cast<int>(image.GetHeight()), BitCount(image),
                image.IsCanTrans2Gray() ? "colour" : "gray");
  };
}

struct ScreenSize : Size {
  int dx = 0, dy = 0;
};

ScreenSize ParseScreenSize(const std::string& argument, bool withOffsets) {
  ScreenSize size;
  NumberReader reader(argument);
  bool read = ReadSize(reader, kMaxSide, size);
  if (read && withOffsets && !reader.AtEnd())
    read = reader.ReadSigned(size.dx) && reader.ReadSigned(size.dy);
  if (!read || !reader.AtEnd())
    throw UsageError(std::string("expected WxH") + (withOffsets ? " or WxH+DX+DY" : "") +
                     ", sides from 1 to " + std::to_string(kMaxSide));
  return size;
}

Action ParseDraw(const std::string& argument) {
  return [size = ParseScreenSize(argument, true)](RunState& state) {
    state.screen.emplace(size.width, size.height);
    RECT all{0, 0, size.width, size.height};
    state.image.DrawImage(&*state.screen, &all, size.dx, size.dy, nullptr);
    state.hasVisibleArea = true;
  };
}

Action ParseStretch(const std::string& argument) {
  return [size = ParseScreenSize(argument, false)](RunState& state) {
    state.screen.emplace(size.width, size.height);
    state.screen->SetStretchBltMode(HALFTONE);
    RECT all{0, 0, size.width, size.height};
    if (state.image.DrawImage(&*state.screen, &all, true) == 0)
      throw OperationError("the picture could not be drawn");
  };
}

Action ParseScreen(const std::string& path) {
  RequirePictureName(path);
  return [path](RunState& state) {
    if (!state.screen)
      throw OperationError("nothing has been drawn yet; put draw or stretch before it");
    CRastelo picture = PictureOf(*state.screen);
    SavePicture(path, [&](const char* name) { return picture.SaveAs(name); });
  };
}

Action ParseSave(const std::string& path) {
  RequirePictureName(path);
  return [path](RunState& state) {
    SavePicture(path, [&](const char* name) { return state.image.SaveAs(name); });
  };
}

Action ParseSaveVisible(const std::string& path) {
  return [path](RunState& state) {
    if (!state.hasVisibleArea)
      throw OperationError("nothing has been drawn one to one yet; put draw before it");
    SavePicture(path, [&](const char* name) { return state.image.SaveAs_visible_JPG(name); });
  };
}

}  // namespace

std::span<const Step> ScreenSteps() {
  static constexpr Step kSteps[] = {
      {"info", "", "print size and depth", ParseInfo},
      {"draw", "=WxH[+DX+DY]", "draw one to one, centred, panned right by DX and up by DY",
       ParseDraw},
      {"stretch", "=WxH", "draw the whole picture, scaled", ParseStretch},
      {"screen", "=FILE", "save what the last draw shows", ParseScreen},
      {"save", "=FILE", "save the picture (.bmp, .jpg)", ParseSave},
      {"save-visible", "=FILE", "save the area that the last draw=WxH showed, as JPEG",
       ParseSaveVisible},
  };
  return kSteps;
}

}  // namespace rastelo::tools
