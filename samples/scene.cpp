#include "samples/canvas.h"
#include "samples/noise.h"
#include "samples/pictures.h"

namespace rastelo::samples {
namespace {

constexpr int kWidth = 641, kHeight = 427, kSamples = 3;
constexpr float kShore = 214;  // where the far shore meets the water
constexpr Point kSun = {452, 148};

using Painting = Canvas<Colour>;

Colour MixSky(float x, float y) {
  const float height = std::clamp(y / kShore, 0.0f, 1.0f);
  Colour sky = MixColours({66, 112, 178}, {246, 206, 158}, SmoothStep(0, 1.05f, height));
  const float distance = std::hypot(x - kSun.x, 1.25f * (y - kSun.y));
  sky = MixColours(sky, {255, 236, 190}, 0.85f * std::exp(-distance / 58));
  const float billow = SampleFractal(x / 150, y / 34 + 3, 5, 11);
  const Colour cloud = MixColours({255, 244, 232}, {226, 182, 176}, SmoothStep(30, 190, y));
  sky = MixColours(sky, cloud, 0.75f * SmoothStep(0.02f, 0.55f, billow) * (1 - 0.5f * height));
  return MixColours(sky, {255, 250, 228}, SmoothStep(15, 12.5f, distance));
}

void PaintSky(Painting& canvas) {
  canvas.Paint({0, 0, kWidth, kShore}, [](float x, float y, Colour& c) { c = MixSky(x, y); });
}

/// A chain of hills: the farther, the more of it is haze.
struct Ridge {
  float crest, rise, width;
  float haze;
  Colour rock;
  std::uint32_t seed;
};

void PaintRidge(Painting& canvas, const Ridge& ridge) {
  canvas.Paint({0, 40, kWidth, kShore}, [&](float x, float y, Colour& c) {
    const float top =
        ridge.crest - ridge.rise * SampleFractal(x / ridge.width, 0.5f, 6, ridge.seed);
    if (y < top) return;
    const float relief = SampleFractal(x / 22 + y / 30, y / 13 - x / 60, 5, ridge.seed + 50);
    const float lit = 0.86f + 0.42f * relief;
    const Colour slope = ridge.rock * lit;
    const float mist = ridge.haze + (1 - ridge.haze) * 0.55f * SmoothStep(kShore - 45, kShore, y);
    c = MixColours(slope, MixColours({186, 190, 208}, {248, 214, 172}, SmoothStep(90, 214, y)),
                   mist);
  });
}

/// A wood of firs along the far shore.
void PaintFirs(Painting& canvas) {
  Dice dice(5);
  for (int i = 0; i < 260; ++i) {
    const float x = dice.Roll(-5, kWidth + 5);
    const float wood = SampleNoise(x / 90, 4, 21);
    if (wood < -0.25f) continue;
    const float height = dice.Roll(11, 20) * (1 + 0.7f * wood),
                half = height * dice.Roll(0.17f, 0.25f);
    const float foot = kShore - dice.Roll(0, 4);
    const Colour green = MixColours({38, 58, 50}, {86, 92, 58}, dice.Roll());
    canvas.Paint({x - half, foot - height, x + half, foot}, [&](float px, float py, Colour& c) {
      const float down = (py - (foot - height)) / height;
      const float bough = 0.72f + 0.28f * std::sin(down * 30 + std::floor(x));
      if (std::abs(px - x) > half * down * bough) return;
      const float side = 0.8f + 0.45f * (px - x) / half + 0.3f * SampleNoise(px, py, 33);
      c = MixColours(green * side, {232, 196, 160}, 0.16f);
    });
  }
}

void PaintLake(Painting& canvas) {
  canvas.Paint({0, kShore, kWidth, 392}, [&](float x, float y, Colour& c) {
    const float near = (y - kShore) / (392 - kShore);
    const float wave = SampleFractal(x / (16 + 60 * near), (y - kShore) / (1.2f + 5 * near), 3, 61);
    const float swell = SampleFractal(x / 110, y / 18, 3, 67);
    const Point mirrored = {
        x + wave * (1.5f + 9 * near),
        kShore - 1 - (y - kShore) * 1.12f + (wave + 0.6f * swell) * (2 + 17 * near)};
    const Colour sky = canvas.Look({mirrored.x, std::clamp(mirrored.y, 0.0f, kShore - 1)});
    c = MixColours(sky * (0.93f - 0.1f * near), {38, 70, 92}, 0.16f + 0.3f * near);
    const float glitter = std::exp(-std::abs(x - kSun.x) / (14 + 46 * near));
    c = MixColours(c, {255, 240, 204}, glitter * SmoothStep(0.1f, 0.75f, wave + 0.25f));
  });
  canvas.Paint({0, kShore - 1, kWidth, kShore + 2}, [](float x, float y, Colour& c) {
    c = MixColours(c, {236, 224, 196}, 0.35f * (SampleNoise(x / 12, y, 71) > 0 ? 1.0f : 0.3f));
  });
}

float FindBank(float x) {
  return 352 - 30 * SmoothStep(330, -60, x) - 34 * SmoothStep(520, 700, x) +
         9 * SampleFractal(x / 70, 2, 4, 81);
}

void PaintStone(Painting& canvas, float x, float y, float radius, std::uint32_t seed) {
  const Box box = {x - 1.3f * radius, y - radius, x + 1.3f * radius, y + radius};
  canvas.Paint(box, [&](float px, float py, Colour& c) {
    const float u = (px - x) / (1.25f * radius), v = (py - y) / (0.72f * radius);
    const float rim = u * u + v * v + 0.22f * SampleFractal(px / radius, py / radius, 3, seed);
    if (rim > 1) return;
    const float light = 0.62f + 0.42f * (0.5f * u - v) * (1 - 0.3f * rim) +
                        0.22f * SampleFractal(px / 4, py / 3, 4, seed + 9);
    c = Colour{168, 156, 146} * std::max(light, 0.18f);
  });
}

void PaintBank(Painting& canvas) {
  canvas.Paint({0, 290, kWidth, kHeight}, [](float x, float y, Colour& c) {
    const float depth = y - FindBank(x);
    if (depth < 0) return;
    const float patch = SampleFractal(x / 40, y / 16, 5, 91);
    const Colour grass = MixColours({74, 92, 40}, {146, 142, 62}, SmoothStep(-0.4f, 0.5f, patch));
    const Colour soil = {96, 80, 58};
    c = MixColours(soil, grass, SmoothStep(0, 9 + 6 * patch, depth)) *
        (0.82f + 0.3f * SampleFractal(x / 5, y / 3, 3, 95));
  });
  Dice dice(17);
  for (int i = 0; i < 34; ++i) {
    const float x = dice.Roll(90, 600);
    PaintStone(canvas, x, FindBank(x) + dice.Roll(-3, 7), dice.Roll(2, 8.5f),
               300 + std::uint32_t(i));
  }
}

void PaintBlade(Painting& canvas, Point root, float length, float lean, const Colour& colour) {
  const float thickness = 0.4f + length / 34;
  const Box box = {root.x - std::abs(lean) - 2, root.y - length, root.x + std::abs(lean) + 2,
                   root.y};
  canvas.Paint(box, [&](float x, float y, Colour& c) {
    const float up = (root.y - y) / length;
    if (std::abs(x - root.x - lean * up * up) > thickness * (1 - up)) return;
    c = MixColours(colour * 0.62f, colour * 1.12f, up);
  });
}

void PaintMeadow(Painting& canvas) {
  Dice dice(29);
  for (int row = 0; row < 240; ++row) {
    const float y = 318 + 0.5f * static_cast<float>(row);
    for (int i = 0; i < 44; ++i) {
      const float x = dice.Roll(-4, kWidth + 4), tone = dice.Roll(), bend = dice.Roll(-1, 1);
      const float depth = y - FindBank(x);
      if (depth < 5) continue;
      const float length = (3.5f + 0.2f * depth) * dice.Roll(0.7f, 1.4f);
      const Colour green = MixColours({86, 110, 38}, {196, 186, 88}, tone * tone);
      PaintBlade(canvas, {x, y + 2}, length, length * (0.25f + 0.4f * bend), green);
    }
    if (dice.Roll() > 0.5f) continue;
    const float x = dice.Roll(0, kWidth), depth = y - FindBank(x), kind = dice.Roll();
    if (depth < 8) continue;
    const float radius = 0.9f + 0.022f * depth;
    const Colour petal = kind < 0.4f    ? Colour{240, 236, 226}
                         : kind < 0.75f ? Colour{214, 62, 52}
                                        : Colour{240, 196, 58};
    const Point flower = {x, y - 6};
    canvas.Paint({x - radius, flower.y - radius, x + radius, flower.y + radius},
                 [&](float px, float py, Colour& c) {
                   const float d = std::hypot(px - x, 1.3f * (py - flower.y)) / radius;
                   if (d < 1) c = MixColours({120, 84, 30}, petal, SmoothStep(0.15f, 0.35f, d));
                 });
  }
}

/// Leaves of a crown: darker below and away from the sun.
void PaintCrown(Painting& canvas, Dice& dice, Point centre, float radius) {
  const int leaves = static_cast<int>(radius * radius * 0.85f);
  for (int i = 0; i < leaves; ++i) {
    const float angle = dice.Roll(0, 6.2832f), reach = std::sqrt(dice.Roll());
    const float u = reach * std::cos(angle), v = reach * std::sin(angle);
    const float frayed = 1 + 0.25f * SampleNoise(3 * u, 3 * v, 401);
    const Point leaf = {centre.x + 1.25f * radius * u * frayed, centre.y + radius * v * frayed};
    const float size = dice.Roll(0.9f, 2.3f), slant = dice.Roll(-1, 1);
    const float light = 0.55f + 0.32f * u - 0.38f * v + dice.Roll(-0.22f, 0.22f);
    const Colour green = MixColours({30, 48, 24}, {176, 176, 66}, std::clamp(light, 0.0f, 1.0f));
    canvas.Paint({leaf.x - size, leaf.y - size, leaf.x + size, leaf.y + size},
                 [&](float x, float y, Colour& c) {
                   const float across = (x - leaf.x) + slant * (y - leaf.y);
                   if (across * across * 1.6f + (y - leaf.y) * (y - leaf.y) < size * size)
                     c = green;
                 });
  }
}

void PaintTree(Painting& canvas) {
  canvas.Paint({70, 120, 150, 372}, [](float x, float y, Colour& c) {
    const float up = (372 - y) / 252;
    const float middle = 108 + 7 * std::sin(up * 4) - 12 * up;
    const float half = 11 - 7 * up + 9 * SmoothStep(0.12f, 0, up) + SampleNoise(x / 3, y / 9, 411);
    const float u = (x - middle) / half;
    if (std::abs(u) > 1) return;
    const float bark = 0.62f + 0.34f * u + 0.4f * SampleFractal(x / 2.4f, y / 15, 4, 415);
    c = Colour{112, 92, 72} * std::clamp(bark, 0.2f, 1.3f);
  });
  Dice dice(43);
  constexpr Point kCrowns[] = {{58, 168}, {150, 176}, {30, 128}, {108, 150}, {178, 140},
                               {70, 96},  {140, 96},  {20, 74},  {104, 54},  {170, 72}};
  for (const Point& crown : kCrowns) PaintCrown(canvas, dice, crown, dice.Roll(30, 43));
}

}  // namespace

Picture PaintScene() {
  Painting canvas(kWidth, kHeight, kSamples);
  PaintSky(canvas);
  PaintRidge(canvas, {150, 58, 210, 0.74f, {120, 124, 140}, 101});
  PaintRidge(canvas, {172, 46, 150, 0.52f, {104, 112, 108}, 131});
  PaintRidge(canvas, {196, 34, 110, 0.28f, {92, 100, 74}, 161});
  PaintFirs(canvas);
  PaintLake(canvas);
  PaintBank(canvas);
  PaintTree(canvas);
  PaintMeadow(canvas);
  return FinishPicture(canvas);
}

}  // namespace rastelo::samples
