#include "bench/judge.h"
#include "image/key_colour.h"
#include "plain/image.h"
#include "rastelo.h"

namespace {

using judge::InPlace;
using judge::Register;

const int kKeyColour =
    Register("key-colour pass", "ours", InPlace(24, rastelo::ReduceToKeyColour)) +
    Register("key-colour pass", "plain", InPlace(24, plain::ReduceToKeyColour));

/// Draws the whole picture on a device of its size, or of three quarters of it.
judge::MakeWork Draw(bool stretches) {
  return [=](const judge::Setting& setting) {
    const rastelo::PixelStore& picture = setting.Picture(24);
    const int side = stretches ? setting.side * 3 / 4 : setting.side;
    const auto device = std::make_shared<rastelo::MemoryDeviceContext>(side, side);
    device->SetStretchBltMode(COLORONCOLOR);
    const auto image = std::make_shared<CRastelo>();
    image->SetExternalImageBits(picture.bits.get(), picture.width, picture.height, 24);
    return judge::Work{[=] {
      RECT area = {0, 0, side, side};
      image->DrawImage(device.get(), &area, stretches);
    }};
  };
}
const judge::Range kOneContent = {.contents = {judge::Content::kPhoto}};

const int kDraws = Register("draw one to one", "ours", Draw(false), kOneContent) +
                   Register("draw stretched", "ours", Draw(true), kOneContent);

const int kRows = Register("reverse rows", "ours", InPlace(24, rastelo::ReverseRows), kOneContent);

}  // namespace
