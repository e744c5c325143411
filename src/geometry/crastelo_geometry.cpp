// Gray conversion, quarter turns, blocks and projections.
#include <new>

#include "geometry/block.h"
#include "geometry/gray.h"
#include "geometry/rotate.h"
#include "histogram/histogram.h"
#include "image/inside.h"
#include "rastelo.h"

using rastelo::Inside;

bool CRastelo::RGBImg2Gray() {
  if (!m_bOpened || m_nBitCount != 24) return false;
  Inside::Adopt(*this, rastelo::ConvertToGray(Inside::Pixels(*this)));
  return true;
}

void CRastelo::RotateImage_Dir(int direction) {
  if (m_pImgBits && !Inside::HasKnownDepth(*this)) return;
  // A row of many pixels becomes many rows, each padded to 4 bytes.
  if (!rastelo::FitsBuffer(m_lHeight, m_lWidth, m_nBitCount)) throw std::bad_alloc();
  const auto turn =
      direction == 1 ? rastelo::QuarterTurn::kCounterClockwise : rastelo::QuarterTurn::kClockwise;
  const auto rotated = rastelo::PixelStore::Zeroed(m_lHeight, m_lWidth, m_nBitCount);
  rastelo::RotateQuarter(Inside::Pixels(*this), m_nBitCount / 8, turn, rotated.Pixels());
  Inside::Adopt(*this, rotated);
}

void CRastelo::RotateImage_Angle(int /*angle*/) {}

int CRastelo::GetImgBlock(int x, int y, int width, int height, int bits, unsigned char* buffer) {
  if (!buffer || !Inside::HasKnownDepth(*this) || !rastelo::IsKnownDepth(bits)) return 1;
  if (bits > m_nBitCount || !rastelo::FitsBuffer(width, height, m_nBitCount)) return 1;
  // Bytes of a colour image are copied as if they were pixels, to rows as far apart as its own.
  rastelo::ConstImageView source = Inside::Pixels(*this);
  if (bits < m_nBitCount) source.width *= 3;
  const auto pitch = static_cast<std::int32_t>(rastelo::Pitch(width, m_nBitCount));
  rastelo::CopyBlock(source, x, y, bits / 8, {buffer, width, height, pitch});
  return 1;
}

int CRastelo::ReserveImgBlock(int x, int y, int width, int height) {
  if (Inside::HasKnownDepth(*this))
    rastelo::BlackenOutside(Inside::Pixels(*this), m_nBitCount / 8, x, y, width, height);
  return 1;
}

int CRastelo::ImgProjectionHorizon(LONG* sums) {
  if (!sums || m_nBitCount != 8) return 1;
  for (LONG fromTop = 0; fromTop < m_lHeight; ++fromTop) {
    const std::uint8_t* row = Inside::Pixels(*this).Row(m_lHeight - 1 - fromTop);
    sums[fromTop] = static_cast<LONG>(rastelo::SumLevels({row, m_lWidth, 1, m_lLineBytes}));
    DebugTrace("%d%s%d\n", static_cast<int>(fromTop), ": ", static_cast<int>(sums[fromTop]));
  }
  return 1;
}

int CRastelo::ImgProjectionVertical(LONG* /*sums*/) { return 1; }

int CRastelo::ImgLocalProjectionHorizon(LONG /*first*/, LONG /*last*/, LONG* /*sums*/) { return 1; }
