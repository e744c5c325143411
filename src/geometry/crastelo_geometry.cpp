// Gray conversion, quarter turns, blocks and projections.
#include <new>

#include "geometry/block.h"
#include "geometry/gray.h"
#include "geometry/rotate.h"
#include "histogram/histogram.h"
#include "pixels/pixel_store.h"
#include "rastelo.h"

/// The gray form of a 24-bit image; without one, a store without memory.
rastelo::PixelStore CRastelo::GrayCopy() const {
  if (!m_bOpened || m_nBitCount != 24) return {};
  auto gray = rastelo::PixelStore::Zeroed(m_lWidth, m_lHeight, 8);
  rastelo::BgrToGray(ConstPixels(), gray.Pixels());
  return gray;
}

bool CRastelo::RGBImg2Gray() {
  const auto gray = GrayCopy();
  if (!gray.bits) return false;
  Adopt(gray);
  return true;
}

void CRastelo::RotateImage_Dir(int direction) {
  if (m_pImgBits && !HasKnownDepth()) return;
  // A row of many pixels becomes many rows, each padded to 4 bytes.
  if (!rastelo::FitsBuffer(m_lHeight, m_lWidth, m_nBitCount)) throw std::bad_alloc();
  const auto turn = direction == 1 ? rastelo::Turn::kCounterClockwise : rastelo::Turn::kClockwise;
  const auto turned = rastelo::PixelStore::Zeroed(m_lHeight, m_lWidth, m_nBitCount);
  rastelo::RotateQuarter(ConstPixels(), m_nBitCount / 8, turn, turned.Pixels());
  Adopt(turned);
}

void CRastelo::RotateImage_Angle(int /*angle*/) {}

int CRastelo::GetImgBlock(int x, int y, int width, int height, int bits, unsigned char* buffer) {
  if (!buffer || bits != m_nBitCount || !HasKnownDepth()) return 1;
  if (!rastelo::FitsBuffer(width, height, bits)) return 1;
  const auto pitch = static_cast<std::int32_t>(rastelo::Pitch(width, bits));
  rastelo::CopyBlock(ConstPixels(), x, y, bits / 8, {buffer, width, height, pitch});
  return 1;
}

int CRastelo::ReserveImgBlock(int x, int y, int width, int height) {
  if (HasKnownDepth()) rastelo::BlackenOutside(Pixels(), m_nBitCount / 8, x, y, width, height);
  return 1;
}

int CRastelo::ImgProjectionHorizon(LONG* sums) {
  if (!sums || m_nBitCount != 8) return 1;
  for (LONG fromTop = 0; fromTop < m_lHeight; ++fromTop) {
    const std::uint8_t* row = ConstPixels().Row(m_lHeight - 1 - fromTop);
    sums[fromTop] = static_cast<LONG>(rastelo::SumLevels({row, m_lWidth, 1, m_lLineBytes}));
    DebugTrace("%d%s%d\n", static_cast<int>(fromTop), ": ", static_cast<int>(sums[fromTop]));
  }
  return 1;
}

int CRastelo::ImgProjectionVertical(LONG* /*sums*/) { return 1; }

int CRastelo::ImgLocalProjectionHorizon(LONG /*first*/, LONG /*last*/, LONG* /*sums*/) { return 1; }
