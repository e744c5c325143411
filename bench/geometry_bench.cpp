#include "bench/judge.h"
#include "geometry/block.h"
#include "geometry/gray.h"
#include "geometry/rotate.h"
#include "geometry/shrink.h"
#include "geometry/zoom.h"
#include "histogram/histogram.h"
#include "plain/geometry.h"

namespace {

using judge::Content;
using judge::Register;
using rastelo::ConstImageView;
using rastelo::ImageView;

std::int32_t SameSide(std::int32_t side) { return side; }

template <class Convert>
judge::MakeWork Gray(Convert convert) {
  return judge::ToTarget(24, 8, SameSide, convert);
}
const judge::Range kGrayRange = {.contents = {Content::kPhoto, Content::kNoise, Content::kNeutral}};
const int kGray = Register("gray", "ours", Gray(rastelo::BgrToGray), kGrayRange) +
                  Register("gray", "plain", Gray(plain::BgrToGray), kGrayRange);

template <class Rotate>
judge::MakeWork Rotated(int bits, Rotate rotate) {
  return judge::ToTarget(bits, bits, SameSide, [=](ConstImageView source, ImageView target) {
    rotate(source, bits / 8, rastelo::QuarterTurn::kClockwise, target);
  });
}
const judge::Range kOneContent = {.contents = {Content::kPhoto}};
const int kTurns =
    Register("quarter turn 8 bits", "ours", Rotated(8, rastelo::RotateQuarter), kOneContent) +
    Register("quarter turn 8 bits", "plain", Rotated(8, plain::RotateQuarter), kOneContent) +
    Register("quarter turn 24 bits", "ours", Rotated(24, rastelo::RotateQuarter), kOneContent) +
    Register("quarter turn 24 bits", "plain", Rotated(24, plain::RotateQuarter), kOneContent);

// Both sides times a factor.
struct Factor {
  const char* name;
  double factor;
};
constexpr Factor kFactors[] = {{"x2", 2.0}, {"x1.37", 1.37}, {"x0.5", 0.5}, {"x0.73", 0.73}};

int RegisterZooms() {
  for (const Factor& f : kFactors) {
    for (const int bits : {8, 24}) {
      const std::string name = std::string("zoom ") + f.name + " " + std::to_string(bits) + " bits";
      const auto side = [f](std::int32_t s) { return rastelo::ZoomSide(s, f.factor).value(); };
      Register(name, "ours",
               judge::ToTarget(bits, bits, side,
                               [=](ConstImageView source, ImageView target) {
                                 rastelo::ZoomBilinear(source, bits / 8, target, bits / 8);
                               }),
               kOneContent);
      Register(name, "plain",
               judge::ToTarget(bits, bits, side,
                               [=](ConstImageView source, ImageView target) {
                                 plain::ZoomBilinear(source, target, bits / 8);
                               }),
               kOneContent);
    }
  }
  return 0;
}
const int kZooms = RegisterZooms();

template <class Shrink>
judge::MakeWork Shrunk(int bits, double factor, Shrink shrink) {
  return judge::ToTarget(
      bits, bits, [=](std::int32_t side) { return rastelo::ZoomSide(side, factor).value(); },
      [=](ConstImageView source, ImageView target) { shrink(source, bits / 8, target); });
}

int RegisterShrinking() {
  constexpr Factor kShrinking[] = {
      {"x0.73", 0.73}, {"x0.5", 0.5}, {"x0.31", 0.31}, {"x0.25", 0.25}, {"x0.05", 0.05}};
  for (const Factor& f : kShrinking) {
    for (const int bits : {8, 24}) {
      const std::string name =
          std::string("shrink ") + f.name + " " + std::to_string(bits) + " bits";
      Register(name, "ours", Shrunk(bits, f.factor, rastelo::ShrinkByArea), kOneContent);
      Register(name, "plain", Shrunk(bits, f.factor, plain::ShrinkByArea), kOneContent);
    }
  }
  return 0;
}
const int kShrinking = RegisterShrinking();

judge::MakeWork CopyMiddle() {
  return judge::ToTarget(
      24, 24, [](std::int32_t side) { return side / 2; },
      [](ConstImageView source, ImageView target) {
        rastelo::CopyBlock(source, source.width / 4, source.height / 4, 3, target);
      });
}
const int kBlocks =
    Register("block copy", "ours", CopyMiddle(), kOneContent) +
    Register("black-out", "ours",
             judge::InPlace(24,
                            [](ImageView image) {
                              rastelo::BlackenOutside(image, 3, image.width / 4 - 1,
                                                      image.height / 4 - 1, image.width / 2 + 1,
                                                      image.height / 2 + 1);
                            }),
             kOneContent);

const int kRowSums = Register(
    "row projection", "ours",
    [](const judge::Setting& setting) {
      const ConstImageView gray = setting.Picture(8).Pixels();
      return judge::Work{[=] {
        std::uint64_t all = 0;
        for (std::int32_t y = 0; y < gray.height; ++y)
          all += rastelo::SumLevels({gray.Row(y), gray.width, 1, gray.pitch});
        judge::Keep(&all);
      }};
    },
    kOneContent);

}  // namespace
