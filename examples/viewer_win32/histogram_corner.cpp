#include "histogram_corner.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int kLevels = 256, kTall = 100, kMargin = 12;

void DrawCurve(HDC hdc, int left, int bottom, const LONG* counts, LONG most, COLORREF colour) {
  const HPEN pen = CreatePen(PS_SOLID, 1, colour);
  const HGDIOBJ before = SelectObject(hdc, pen);
  for (int i = 0; i < kLevels; ++i) {
    const int y = bottom - MulDiv(std::min(counts[i], most), kTall, most);
    i == 0 ? static_cast<void>(MoveToEx(hdc, left, y, nullptr))
           : static_cast<void>(LineTo(hdc, left + i, y));
  }
  SelectObject(hdc, before);
  DeleteObject(pen);
}

/// A scale that a few spikes do not flatten: twice the level that one in sixteen exceeds.
LONG Scale(const LONG* counts) {
  LONG sorted[kLevels];
  std::copy_n(counts, kLevels, sorted);
  std::nth_element(sorted, sorted + 240, std::end(sorted));
  return std::max<LONG>(2 * sorted[240], 1);
}

}  // namespace

void DrawHistogramCorner(HDC hdc, const RECT& area, CRastelo& image) {
  const RECT box = {area.right - kLevels - 3 * kMargin, area.bottom - kTall - 3 * kMargin,
                    area.right - kMargin, area.bottom - kMargin};
  FillRect(hdc, &box, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  LONG planes[3][kLevels];
  image.HistogramStatic(planes[0], planes[1], planes[2]);
  constexpr COLORREF kColours[] = {RGB(80, 130, 255), RGB(60, 220, 60), RGB(255, 80, 80)};
  const int left = box.left + kMargin, bottom = box.bottom - kMargin;
  if (!image.IsCanTrans2Gray())
    return DrawCurve(hdc, left, bottom, planes[0], Scale(planes[0]), RGB(255, 255, 255));
  for (int plane = 0; plane < 3; ++plane)
    DrawCurve(hdc, left, bottom, planes[plane], Scale(planes[plane]), kColours[plane]);
}
