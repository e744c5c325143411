#include <numbers>
#include <optional>

#include "samples/canvas.h"
#include "samples/noise.h"

namespace rastelo::samples {
namespace {

constexpr int kWidth = 512, kHeight = 400;

struct Cell {
  Point centre;
  float radius;
  float level;    // added to the ground inside: above 0 for bright cells, below for dark ones
  float stretch;  // long axis by short axis
  float angle;    // direction of the long axis
  bool hasNucleus;
  std::uint32_t seed;
};

/// Uneven ground: light that falls off to one corner, and faint clouds of stain.
float ShadeGround(float x, float y) {
  const float u = x / kWidth - 0.42f, v = y / kHeight - 0.4f;
  const float falloff = 1 - 0.75f * (u * u + v * v);
  const float clouds = 9 * SampleFractal(x / 150, y / 150, 3, 11);
  const float grain = 2.5f * SampleFractal(x / 9, y / 9, 3, 23);
  return 128 * falloff + 22 * u + clouds + grain;
}

bool HasRoom(const std::vector<Cell>& cells, const Cell& cell) {
  const float share = (cell.seed & 3) == 0 ? 0.86f : 1.12f;  // one in four may touch another
  return std::none_of(cells.begin(), cells.end(), [&](const Cell& other) {
    const float distance =
        std::hypot(cell.centre.x - other.centre.x, cell.centre.y - other.centre.y);
    return distance < share * (cell.radius + other.radius);
  });
}

Cell ThrowCell(Dice& dice, std::uint32_t seed, float radius) {
  Cell cell{};
  cell.centre = {dice.Roll(-10, kWidth + 10.0f), dice.Roll(-10, kHeight + 10.0f)};
  cell.radius = radius * dice.Roll(0.85f, 1.15f);
  const bool bright = dice.Roll() < 0.55f;
  cell.level = bright ? dice.Roll(48, 82) : dice.Roll(-72, -44);
  cell.stretch = dice.Roll(1.0f, 1.35f);
  cell.angle = dice.Roll(0, std::numbers::pi_v<float>);
  cell.hasNucleus = cell.radius > 11 && dice.Roll() < 0.75f;
  cell.seed = seed;
  return cell;
}

/// Large cells first, so that the small ones fill the gaps.
std::vector<Cell> ScatterCells() {
  std::vector<Cell> cells;
  Dice dice(71);
  std::uint32_t seed = 100;
  const struct {
    float radius;
    int throws;
  } sizes[] = {{25, 26}, {18, 70}, {13, 110}, {8, 120}, {4.5f, 110}};
  for (const auto& size : sizes) {
    for (int i = 0; i < size.throws; ++i) {
      const Cell cell = ThrowCell(dice, ++seed, size.radius);
      if (HasRoom(cells, cell)) cells.push_back(cell);
    }
  }
  return cells;
}

/// Distance from the centre of a cell as a share of its outline, 1 on the outline.
float MeasureReach(const Cell& cell, float x, float y) {
  const float dx = x - cell.centre.x, dy = y - cell.centre.y;
  const float along = dx * std::cos(cell.angle) + dy * std::sin(cell.angle);
  const float across = dy * std::cos(cell.angle) - dx * std::sin(cell.angle);
  const float root = std::sqrt(cell.stretch);
  const float distance = std::hypot(along / root, across * root);
  const float angle = std::atan2(across, along);
  const float bulge = SampleNoise(1.3f * std::cos(angle), 1.3f * std::sin(angle), cell.seed);
  return distance / (cell.radius * (1 + 0.11f * bulge));
}

/// A membrane, plasma with grains, and a nucleus off the centre.
void PaintCell(Canvas<float>& canvas, const Cell& cell) {
  const float reach = 1.8f * cell.radius + 4;
  const Point c = cell.centre;
  const float soft = 1.6f / cell.radius;  // the edge is about three pixels wide
  const float sign = cell.level > 0 ? 1.0f : -1.0f;
  canvas.Paint({c.x - reach, c.y - reach, c.x + reach, c.y + reach},
               [&](float x, float y, float& level) {
                 const float r = MeasureReach(cell, x, y);
                 const float inside = SmoothStep(1 + soft, 1 - soft, r);
                 const float halo = std::exp(-std::pow((r - 1 - 2.2f * soft) / (2 * soft), 2.0f));
                 const float rim = std::exp(-std::pow((r - 1 + 2.5f * soft) / (1.7f * soft), 2.0f));
                 const float grain = 7 * SampleFractal(x / 4, y / 4, 2, cell.seed + 9);
                 const float dome = 0.8f + 0.2f * std::sqrt(std::max(0.0f, 1 - r * r));
                 level += inside * (cell.level * dome + sign * 14 * rim + grain) - sign * 9 * halo;
                 if (!cell.hasNucleus) return;
                 Cell nucleus = cell;
                 nucleus.centre = {c.x + 0.16f * cell.radius * std::cos(3 * cell.angle),
                                   c.y + 0.16f * cell.radius * std::sin(3 * cell.angle)};
                 nucleus.radius = 0.42f * cell.radius;
                 nucleus.seed += 5;
                 const float core = SmoothStep(1.28f, 0.72f, MeasureReach(nucleus, x, y));
                 level -= core * (0.62f * cell.level + 0.5f * grain);
               });
}

float AddSensorNoise(float x, float y) {
  const auto column = static_cast<int>(x), row = static_cast<int>(y);
  float sum = 0;  // four even numbers make a bell
  for (std::uint32_t i = 0; i < 4; ++i) {
    sum += static_cast<float>(HashCell(column, row, 900 + i) >> 8) / 16777216.0f - 0.5f;
  }
  return 4.5f * sum;
}

}  // namespace

Picture PaintCells() {
  Canvas<float> canvas(kWidth, kHeight, 2);
  canvas.Paint(canvas.All(), [](float x, float y, float& level) { level = ShadeGround(x, y); });
  for (const Cell& cell : ScatterCells()) PaintCell(canvas, cell);
  canvas.Paint(canvas.All(), [](float x, float y, float& level) { level += AddSensorNoise(x, y); });
  return FinishPicture(canvas);
}

}  // namespace rastelo::samples
