#include <cmath>
#include <initializer_list>

#include "samples/pictures.h"

namespace rastelo::samples {
namespace {

using Bgr = std::array<std::uint8_t, 3>;

constexpr int kWidth = 160, kHeight = 120;
constexpr Bgr kKeyColour{255, 0, 255};
constexpr Bgr kOutline{38, 30, 40}, kWood{42, 82, 140}, kDarkWood{30, 58, 104};
constexpr Bgr kRed{48, 44, 204}, kDarkRed{38, 32, 158}, kWhite{246, 250, 252};
constexpr Bgr kShade{206, 214, 222}, kGold{60, 190, 242};
constexpr Bgr kSea{168, 104, 32}, kDeepSea{134, 74, 22}, kFoam{246, 232, 206};

struct Spot {
  double x, y;
};
using Outline = std::initializer_list<Spot>;

/// Calls `paint(x, y)` for each pixel whose centre `contains(x, y)` accepts.
template <class Contains>
void FillWhere(Picture& picture, Contains contains, const Bgr& colour) {
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      if (contains(x + 0.5, y + 0.5)) picture.SetColour(x, y, colour);
    }
  }
}

bool Encloses(Outline outline, double x, double y) {
  bool inside = false;
  const Spot* before = outline.end() - 1;
  for (const Spot& spot : outline) {
    if ((spot.y > y) != (before->y > y) &&
        x < spot.x + (before->x - spot.x) * (y - spot.y) / (before->y - spot.y)) {
      inside = !inside;
    }
    before = &spot;
  }
  return inside;
}

void FillOutline(Picture& picture, Outline outline, const Bgr& colour) {
  FillWhere(
      picture, [&](double x, double y) { return Encloses(outline, x, y); }, colour);
}

void FillDisc(Picture& picture, Spot centre, double radius, const Bgr& colour) {
  FillWhere(
      picture, [&](double x, double y) { return std::hypot(x - centre.x, y - centre.y) < radius; },
      colour);
}

void DrawStroke(Picture& picture, Spot from, Spot to, double width, const Bgr& colour) {
  const double dx = to.x - from.x, dy = to.y - from.y, length = std::hypot(dx, dy);
  const auto isNear = [&](double x, double y) {
    const double along = ((x - from.x) * dx + (y - from.y) * dy) / length;
    const double across = ((x - from.x) * dy - (y - from.y) * dx) / length;
    return along >= 0 && along <= length && std::abs(across) < width / 2;
  };
  FillWhere(picture, isNear, colour);
}

/// The left or right edge of a sail bulges: a point on an arc from top to foot.
double BendEdge(double top, double foot, double bulge, double share) {
  return top + (foot - top) * share + bulge * 4 * share * (1 - share);
}

/// Fills between two bent edges from row `top` down to row `foot`.
template <class Left, class Right>
void FillSail(Picture& picture, double top, double foot, Left left, Right right,
              const Bgr& colour) {
  FillWhere(
      picture,
      [&](double x, double y) {
        const double share = (y - top) / (foot - top);
        return share >= 0 && share <= 1 && x >= left(share) && x <= right(share);
      },
      colour);
}

void DrawSails(Picture& picture) {
  const auto mainLeft = [](double share) { return BendEdge(77, 30, -9, share); };
  const auto mainRight = [](double) { return 77.0; };
  FillSail(
      picture, 12, 84, [&](double s) { return mainLeft(s) - 1.5; }, mainRight, kOutline);
  FillSail(picture, 14, 83, mainLeft, mainRight, kWhite);
  const auto shadeLeft = [](double share) { return BendEdge(77, 62, -3, share); };
  FillSail(picture, 14, 83, shadeLeft, mainRight, kShade);
  for (const double row : {32.0, 50.0, 67.0}) {  // seams between the cloths
    const double share = (row - 14) / 69;
    DrawStroke(picture, {mainLeft(share), row}, {76, row - 3}, 1.1, kShade);
  }
  const auto jibLeft = [](double share) { return 84 + 1.0 * share; };
  const auto jibRight = [](double share) { return BendEdge(85, 130, 5, share); };
  FillSail(
      picture, 20, 86, jibLeft, [&](double s) { return jibRight(s) + 1.5; }, kOutline);
  FillSail(picture, 22, 85, jibLeft, jibRight, kRed);
  const auto jibShade = [](double share) { return BendEdge(84, 98, 3, share); };
  FillSail(picture, 22, 85, jibLeft, jibShade, kDarkRed);
  FillDisc(picture, {104, 70}, 7, kGold);
}

void DrawMast(Picture& picture) {
  DrawStroke(picture, {80.5, 6}, {80.5, 92}, 4.2, kOutline);
  DrawStroke(picture, {80.5, 7}, {80.5, 92}, 2.2, kGold);
  DrawStroke(picture, {28, 86.5}, {82, 86.5}, 3.4, kOutline);
  DrawStroke(picture, {29, 86.5}, {82, 86.5}, 1.6, kGold);
  FillOutline(picture, {{79, 3}, {60, 6}, {65, 9}, {60, 13}, {79, 12}}, kGold);
}

void DrawHull(Picture& picture) {
  FillOutline(picture, {{15, 90}, {144, 90}, {136, 100}, {126, 113}, {32, 113}, {22, 104}},
              kOutline);
  FillOutline(picture, {{18, 92}, {140, 92}, {134, 99}, {124, 112}, {33, 112}, {24, 103}}, kWood);
  FillOutline(picture, {{18, 92}, {140, 92}, {137, 95.5}, {20, 95.5}}, kWhite);
  FillOutline(picture, {{25, 104}, {130, 104}, {124, 112}, {33, 112}}, kDarkWood);
  for (const double x : {50.0, 70.0, 90.0, 110.0}) {
    FillDisc(picture, {x, 100.5}, 3.3, kOutline);
    FillDisc(picture, {x, 100.5}, 2.1, kGold);
  }
}

void DrawSea(Picture& picture) {
  const auto crest = [](double x) { return 108 + 2.6 * std::sin(x / 7.3) + std::sin(x / 3.1); };
  const auto isSea = [&](double x, double y) {
    return y > crest(x) && x > 3 + (y - 106) && x < 157 - (y - 106) && y < 118;
  };
  FillWhere(picture, isSea, kSea);
  FillWhere(
      picture, [&](double x, double y) { return isSea(x, y) && y < crest(x) + 1.8; }, kFoam);
  FillWhere(
      picture, [&](double x, double y) { return isSea(x, y) && y > crest(x + 9) + 5; }, kDeepSea);
}

void DrawGull(Picture& picture, Spot body, double span) {
  for (const double side : {-1.0, 1.0}) {
    const Spot bend{body.x + side * span * 0.45, body.y - span * 0.4};
    DrawStroke(picture, body, bend, 2.4, kOutline);
    DrawStroke(picture, bend, {body.x + side * span, body.y - span * 0.2}, 2.2, kOutline);
  }
}

}  // namespace

Picture PaintSprite() {
  Picture picture(kWidth, kHeight, 24);
  FillWhere(
      picture, [](double, double) { return true; }, kKeyColour);
  DrawSails(picture);
  DrawMast(picture);
  DrawHull(picture);
  DrawSea(picture);
  DrawGull(picture, {132, 22}, 11);
  DrawGull(picture, {145, 40}, 7);
  return picture;
}

}  // namespace rastelo::samples
