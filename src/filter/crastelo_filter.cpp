// Pixel filters, light measures and evening.
#include <memory>
#include <span>

#include "filter/even_light.h"
#include "filter/invert.h"
#include "filter/push.h"
#include "filter/sobel.h"
#include "filter/template_operator.h"
#include "histogram/level_tables.h"
#include "rastelo.h"

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
  rastelo::ApplySobel(RowBytes());
}

void CRastelo::ImgTemplateOperator(double* const templateValues, int size) {
  RGBImg2Gray();
  if (!templateValues || size < 1 || size % 2 == 0) return;
  rastelo::ApplyTemplate(RowBytes(), templateValues, size);
}

void CRastelo::ImgTrans2_0_1(int threshold, int clearLow, int raiseHigh) {
  RGBImg2Gray();
  rastelo::PushLevels(RowBytes(), threshold, clearLow != 0, raiseHigh != 0);
}

void CRastelo::InverseGray() { rastelo::InvertBytes(RowBytes()); }

void CRastelo::ImgErosion() {}

bool CRastelo::ImgGray_Exceed_Probability(int gray, double probability) {
  rastelo::LevelTables t;
  HistogramStatic(t.first, t.second, t.third);
  std::int64_t total = 0, above = 0;
  for (int level = 0; level < 256; ++level) {
    total += t.first[level];
    if (level > gray) above += t.first[level];
  }
  return static_cast<double>(above) / static_cast<double>(total) > probability;
}

bool CRastelo::ImgAverageLight(int mode, int /*unused*/) {
  if (mode == 0) return ImgAverageLight_V(kAllPixels);
  if (mode != 2) return true;
  const LightTable table(RowBytes().width);
  int passes = 0;
  bool changed = true;
  do {
    ++passes;
    rastelo::MeasureColumns(RowBytes(), kAllPixels, table.Columns());
    changed = rastelo::LiftColumns(RowBytes(), table.Columns());
  } while (changed && !ImgGray_Exceed_Probability(kBrightLevel, kBrightShare));
  // "Passes of evening by vertical projection: ", in code page 936.
  DebugTrace("%s%d",
             "\xB4\xB9\xD6\xB1\xCD\xB6\xD3\xB0\xBE\xF9\xB9\xE2\xB5\xC4\xB4\xCE\xCA\xFD\xCE\xAA\x3A"
             "\x20",
             passes);
  return true;
}

bool CRastelo::ImgAverageLight_V(int limit) {
  const LightTable table(RowBytes().width);
  rastelo::MeasureColumns(RowBytes(), limit, table.Columns());
  rastelo::LiftColumns(RowBytes(), table.Columns());
  return true;
}

bool CRastelo::ImgAverageLight_H(int /*unused*/) { return true; }
