// The image on a device context of the host.
#include <algorithm>
#include <cstdlib>

#include "platform/device_context.h"
#include "rastelo.h"

namespace {

/// The low 32 bits of a sum, as 32-bit arithmetic gives them.
LONG Wrap32(std::int64_t sum) { return static_cast<LONG>(static_cast<std::uint32_t>(sum)); }

LONG Width(const RECT& rc) { return Wrap32(std::int64_t{rc.right} - rc.left); }
LONG Height(const RECT& rc) { return Wrap32(std::int64_t{rc.bottom} - rc.top); }

/// The sum, held where its absolute value is an int as well.
int AddPanStep(int offset, int step) {
  return static_cast<int>(
      std::clamp<std::int64_t>(std::int64_t{offset} + step, -INT32_MAX, INT32_MAX));
}

/// Where a source area of `areaSide` columns or rows starts on an image of `imageSide`. It is
/// centred,
///     base = max(0, (imageSide - areaSide) / 2),
/// moved by the pan offset and held within 0 to 2 * base.
LONG PlaceDrawArea(LONG areaSide, LONG imageSide, int offset) {
  const std::int64_t base = std::max<LONG>(0, Wrap32(std::int64_t{imageSide} - areaSide) / 2);
  return static_cast<LONG>(std::clamp<std::int64_t>(base + offset, 0, 2 * base));
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
  const int offsetX = AddPanStep(m_nDrawOffsetX, dx), offsetY = AddPanStep(m_nDrawOffsetY, dy);
  const LONG left = PlaceDrawArea(width, m_lWidth, offsetX);
  const LONG top = PlaceDrawArea(height, m_lHeight, offsetY);
  m_nDrawOffsetX = std::abs(offsetX);  // a negative one holds once
  m_nDrawOffsetY = std::abs(offsetY);
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
