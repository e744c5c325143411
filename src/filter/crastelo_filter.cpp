// Pixel filters, light measures and evening.
#include <memory>
#include <span>

#include "filter/even_light.h"
#include "filter/invert.h"
#include "filter/push.h"
#include "filter/sobel.h"
#include "filter/template_operator.h"
#include "histogram/histogram.h"
#include "image/inside.h"
#include "rastelo.h"

using rastelo::Inside;

namespace {

constexpr int kAllPixels = 255;  // a limit that no pixel is above

/// Until more than 0.9 of the pixels are above 180, an image is not bright enough.
constexpr int kBrightLevel = 180;
constexpr double kBrightShare = 0.9;

/// Room for the light of each column.
struct LightTable {
  explicit LightTable(LONG width)
      : size(static_cast<std::size_t>(width)),
        columns(std::make_unique<rastelo::ColumnLight[]>(size)) {}
  std::span<rastelo::ColumnLight> Columns() const { return {columns.get(), size}; }

  std::size_t size;
  std::unique_ptr<rastelo::ColumnLight[]> columns;
};

}  // namespace

void CRastelo::Img_Sobel() {
  RGBImg2Gray();
  rastelo::ApplySobel(Inside::RowBytes(*this));
}

void CRastelo::ImgTemplateOperator(double* const templateValues, int size) {
  RGBImg2Gray();
  if (!templateValues || size < 1 || size % 2 == 0) return;
  rastelo::ApplyTemplate(Inside::RowBytes(*this), templateValues, size);
}

void CRastelo::ImgTrans2_0_1(int threshold, int clearLow, int raiseHigh) {
  RGBImg2Gray();
  rastelo::PushLevels(Inside::RowBytes(*this), threshold, clearLow != 0, raiseHigh != 0);
}

void CRastelo::InverseGray() { rastelo::InvertBytes(Inside::RowBytes(*this)); }

void CRastelo::ImgErosion() {}

bool CRastelo::ImgGray_Exceed_Probability(int gray, double probability) {
  const auto counts = rastelo::CountFirstPlane(Inside::Pixels(*this), m_nBitCount);
  std::int64_t total = 0, above = 0;
  for (int level = 0; level < 256; ++level) {
    total += counts[static_cast<std::size_t>(level)];
    if (level > gray) above += counts[static_cast<std::size_t>(level)];
  }
  return static_cast<double>(above) / static_cast<double>(total) > probability;
}

bool CRastelo::ImgAverageLight(int mode, int /*unused*/) {
  if (mode == 0) return ImgAverageLight_V(kAllPixels);
  if (mode != 2) return true;
  const LightTable table(Inside::RowBytes(*this).width);
  int passes = 0;
  bool changed = true;
  do {
    ++passes;
    rastelo::MeasureColumns(Inside::RowBytes(*this), kAllPixels, table.Columns());
    changed = rastelo::LiftColumns(Inside::RowBytes(*this), table.Columns());
  } while (changed && !ImgGray_Exceed_Probability(kBrightLevel, kBrightShare));
  // "Passes of evening by vertical projection: ", in code page 936.
  DebugTrace("%s%d",
             "\xB4\xB9\xD6\xB1\xCD\xB6\xD3\xB0\xBE\xF9\xB9\xE2\xB5\xC4\xB4\xCE\xCA\xFD\xCE\xAA\x3A"
             "\x20",
             passes);
  return true;
}

bool CRastelo::ImgAverageLight_V(int limit) {
  const LightTable table(Inside::RowBytes(*this).width);
  rastelo::MeasureColumns(Inside::RowBytes(*this), limit, table.Columns());
  rastelo::LiftColumns(Inside::RowBytes(*this), table.Columns());
  return true;
}

bool CRastelo::ImgAverageLight_H(int /*unused*/) { return true; }
