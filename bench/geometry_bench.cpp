#include "bench/judge.h"
#include "bench/plain/geometry.h"
#include "geometry/gray.h"
#include "geometry/rotate.h"

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
judge::MakeWork Turn(int bits, Rotate rotate) {
  return judge::ToTarget(bits, bits, SameSide, [=](ConstImageView source, ImageView target) {
    rotate(source, bits / 8, rastelo::Turn::kClockwise, target);
  });
}
const judge::Range kOneContent = {.contents = {Content::kPhoto}};
const int kTurns =
    Register("quarter turn 8 bits", "ours", Turn(8, rastelo::RotateQuarter), kOneContent) +
    Register("quarter turn 8 bits", "plain", Turn(8, plain::RotateQuarter), kOneContent) +
    Register("quarter turn 24 bits", "ours", Turn(24, rastelo::RotateQuarter), kOneContent) +
    Register("quarter turn 24 bits", "plain", Turn(24, plain::RotateQuarter), kOneContent);

}  // namespace
