// The image on a device context of the host.
#include <algorithm>

#include "image/draw_area.h"
#include "platform/device_context.h"
#include "rastelo.h"

using rastelo::Wrap32;

namespace {

LONG Width(const RECT& rc) { return Wrap32(std::int64_t{rc.right} - rc.left); }
LONG Height(const RECT& rc) { return Wrap32(std::int64_t{rc.bottom} - rc.top); }

/// The sum, held where its absolute value is an int as well.
int AddPanStep(int offset, int step) {
  return static_cast<int>(
      std::clamp<std::int64_t>(std::int64_t{offset} + step, -INT32_MAX, INT32_MAX));
}

/// Whether a device can be asked to draw pixels of this size and depth.
bool CanDraw(LONG width, LONG height, int bitCount) {
  return width > 0 && height > 0 && bitCount > 0 && bitCount <= 32;
}

}  // namespace

BITMAPINFO* BuildBitmapInfo(LONG width, LONG height, unsigned short bitCount) {
  static struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } record;
  static_assert(sizeof record == 1064);
  record.header.biPlanes = 1;
  record.header.biBitCount = bitCount;
  record.header.biWidth = width;
  record.header.biSize = sizeof record.header;
  record.header.biHeight = height;
  for (int i = 0; i < 256; ++i) {
    const auto level = static_cast<BYTE>(i);
    record.colours[i].rgbBlue = record.colours[i].rgbGreen = record.colours[i].rgbRed = level;
  }
  return reinterpret_cast<BITMAPINFO*>(&record);
}

int CRastelo::DrawImage(HDC hdc, RECT* rc, int dx, int dy, unsigned char* bits) {
  if (!rc) return 1;
  const unsigned char* pixels = bits ? bits : m_pImgBits.get();
  const LONG width = Width(*rc), height = Height(*rc);
  const auto [left, offsetX] =
      rastelo::PlaceDrawArea(width, m_lWidth, AddPanStep(m_nDrawOffsetX, dx));
  const auto [top, offsetY] =
      rastelo::PlaceDrawArea(height, m_lHeight, AddPanStep(m_nDrawOffsetY, dy));
  m_nDrawOffsetX = offsetX;
  m_nDrawOffsetY = offsetY;
  *m_pDrawRect = {left, top, Wrap32(std::int64_t{left} + width),
                  Wrap32(std::int64_t{top} + height)};
  BITMAPINFO* info = BuildBitmapInfo(m_lWidth, m_lHeight, static_cast<WORD>(m_nBitCount));
  if (!pixels || !CanDraw(m_lWidth, m_lHeight, m_nBitCount)) return 1;
  rastelo::platform::SetDIBitsToDevice(hdc, rc->left, rc->top, static_cast<DWORD>(width),
                                       static_cast<DWORD>(height), left, top, 0,
                                       static_cast<UINT>(m_lHeight), pixels, info, DIB_RGB_COLORS);
  return 1;
}

int CRastelo::DrawImage(HDC hdc, RECT* rc, bool stretch) {
  if (!stretch) return DrawImage(hdc, rc, 0, 0, nullptr);
  if (!rc || !m_pImgBits || !CanDraw(m_lWidth, m_lHeight, m_nBitCount)) return 0;
  BITMAPINFO* info = BuildBitmapInfo(m_lWidth, m_lHeight, static_cast<WORD>(m_nBitCount));
  return rastelo::platform::StretchDIBits(hdc, rc->left, rc->top, Width(*rc), Height(*rc), 0, 0,
                                          m_lWidth, m_lHeight, m_pImgBits.get(), info,
                                          DIB_RGB_COLORS, SRCCOPY);
}

int CRastelo::DrawImage(HDC hdc, RECT* /*rc*/, RECT* /*rc2*/, unsigned char* /*bits*/) {
  if (!m_pBmpHeader) return 0;
  rastelo::platform::SetStretchBltMode(hdc, COLORONCOLOR);
  return 1;
}
