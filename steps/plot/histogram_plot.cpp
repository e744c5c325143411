#include "steps/plot/histogram_plot.h"

#include <algorithm>
#include <cmath>

#include "geometry/shrink.h"
#include "pixels/pixel_store.h"
#include "steps/plot/draw_text.h"

namespace rastelo::steps {
namespace {

// Everything is drawn this many times as large and scaled down, so that edges come out soft.
constexpr int kFine = 4;
constexpr int kWidth = 760, kHeight = 430;
constexpr int kText = 5;  // a fifth larger than the font's grid, once scaled down

constexpr Colour kPaper = {253, 252, 252}, kInk = {70, 62, 58}, kGrid = {228, 224, 222},
                 kMark = {40, 40, 200};

/// Pixels of the fine picture, from its upper left corner.
struct Box {
  int left, top, right, bottom;
};
constexpr Box kArea = {84 * kFine, 44 * kFine, (kWidth - 24) * kFine, (kHeight - 58) * kFine};

void Blend(ImageView bgr, Box box, const Colour& colour, double share) {
  for (int y = std::max(box.top, 0); y < std::min(box.bottom, bgr.height); ++y) {
    for (int x = std::max(box.left, 0); x < std::min(box.right, bgr.width); ++x) {
      std::uint8_t* pixel = bgr.Row(bgr.height - 1 - y) + std::ptrdiff_t{3} * x;
      for (std::size_t c = 0; c < 3; ++c)
        pixel[c] =
            static_cast<std::uint8_t>(std::lround(pixel[c] + share * (colour[c] - pixel[c])));
    }
  }
}

int ColumnOf(double level) {
  return static_cast<int>(std::lround(kArea.left + level / 255 * (kArea.right - kArea.left)));
}

/// The lowest of 1, 2 or 5 times a power of ten that divides `largest` into at most five steps.
double ChooseStep(double largest) {
  const double power = std::pow(10.0, std::floor(std::log10(std::max(largest, 1.0) / 5)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (largest <= 5 * factor * power) return std::max(1.0, factor * power);
  return std::max(1.0, 10 * power);
}

/// The vertical axis: 0 at the bottom of the area, `top` at its upper edge.
struct Scale {
  double step, top;
  int RowOf(double count) const {
    return static_cast<int>(std::lround(kArea.bottom - count / top * (kArea.bottom - kArea.top)));
  }
};

Scale ChooseScale(const HistogramPlot& plot) {
  std::int32_t largest = 1;
  for (const PlotCurve& curve : plot.curves)
    largest = std::max(largest, *std::ranges::max_element(curve.counts));
  const double step = ChooseStep(largest);
  return {step, step * std::ceil(largest / step)};
}

void DrawAxes(ImageView bgr, const Scale& scale) {
  const int halfText = TextHeight(kText) / 2 - kText;  // of a capital letter
  for (int step = 0; step * scale.step <= scale.top; ++step) {
    const double count = step * scale.step;
    const int row = scale.RowOf(count);
    Blend(bgr, {kArea.left, row - 2, kArea.right, row + 2}, kGrid, 1);
    const std::string label = std::to_string(static_cast<long>(count));
    DrawCaption(bgr, kArea.left - TextWidth(label, kText) - 8 * kFine, row - halfText, label, kText,
                kInk);
  }
  for (const int level : {0, 32, 64, 96, 128, 160, 192, 224, 255}) {
    const int column = ColumnOf(level);
    Blend(bgr, {column - 2, kArea.bottom, column + 2, kArea.bottom + 5 * kFine}, kInk, 1);
    const std::string label = std::to_string(level);
    DrawCaption(bgr, column - TextWidth(label, kText) / 2, kArea.bottom + 9 * kFine, label, kText,
                kInk);
  }
  Blend(bgr, {kArea.left, kArea.bottom - 2, kArea.right, kArea.bottom + 2}, kInk, 1);
  const std::string name = "level";
  DrawCaption(bgr, (kArea.left + kArea.right - TextWidth(name, kText)) / 2,
              kArea.bottom + 29 * kFine, name, kText, kInk);
}

/// The count at a fine column, on straight lines from level to level.
double CountAt(const Histogram& counts, int column) {
  const double place =
      std::clamp(255.0 * (column - kArea.left) / (kArea.right - kArea.left), 0.0, 255.0);
  const auto level = std::min(static_cast<std::size_t>(place), std::size_t{254});
  const double share = place - static_cast<double>(level);
  return counts[level] * (1 - share) + counts[level + 1] * share;
}

void DrawCurve(ImageView bgr, const PlotCurve& curve, const Scale& scale) {
  constexpr int kPen = 3;  // half the thickness of the line
  for (int x = kArea.left; x <= kArea.right; ++x) {
    int highest = kArea.bottom, lowest = kArea.top;
    for (const int side : {x - kPen, x, x + kPen}) {
      const int row = scale.RowOf(CountAt(curve.counts, side));
      highest = std::min(highest, row);
      lowest = std::max(lowest, row);
    }
    Blend(bgr, {x, lowest + kPen, x + 1, kArea.bottom - 2}, curve.colour, 0.18);
    Blend(bgr, {x, highest - kPen, x + 1, std::min(lowest + kPen, kArea.bottom)}, curve.colour,
          0.9);
  }
}

void DrawMark(ImageView bgr, const PlotMark& mark) {
  const int column = ColumnOf(mark.level);
  for (int y = kArea.top; y < kArea.bottom; y += 10 * kFine)
    Blend(bgr, {column - 3, y, column + 3, std::min(y + 6 * kFine, kArea.bottom)}, kMark, 1);
  const std::string label = "threshold " + std::to_string(mark.level) + " (" + mark.name + ")";
  const int width = TextWidth(label, kText), gap = 6 * kFine;
  const bool toTheLeft = column + gap + width > kArea.right;
  DrawCaption(bgr, toTheLeft ? column - gap - width : column + gap, kArea.top + 4 * kFine, label,
              kText, kMark);
}

void DrawHeading(ImageView bgr, const HistogramPlot& plot) {
  const int row = 16 * kFine;
  DrawCaption(bgr, kArea.left, row, "Pixels at each level of " + plot.title, kText, kInk);
  int right = kArea.right;
  for (auto curve = plot.curves.rbegin(); curve != plot.curves.rend(); ++curve) {
    right -= TextWidth(curve->name, kText);
    DrawCaption(bgr, right, row, curve->name, kText, kInk);
    right -= 16 * kFine;
    Blend(bgr, {right, row + 2 * kFine, right + 11 * kFine, row + 8 * kFine}, curve->colour, 0.9);
    right -= 14 * kFine;
  }
}

}  // namespace

PixelStore DrawHistogram(const HistogramPlot& plot) {
  const PixelStore fine = PixelStore::Zeroed(kWidth * kFine, kHeight * kFine, 24);
  const ImageView bgr = fine.Pixels();
  Blend(bgr, {0, 0, bgr.width, bgr.height}, kPaper, 1);
  const Scale scale = ChooseScale(plot);
  DrawAxes(bgr, scale);
  for (const PlotCurve& curve : plot.curves) DrawCurve(bgr, curve, scale);
  if (plot.mark) DrawMark(bgr, *plot.mark);
  DrawHeading(bgr, plot);
  PixelStore plotted = PixelStore::Zeroed(kWidth, kHeight, 24);
  ShrinkByArea(bgr, 3, plotted.Pixels());
  return plotted;
}

}  // namespace rastelo::steps
