// Zoom: the pixels as they came in, in a new size.
#include <cstring>

#include "geometry/zoom.h"
#include "pixels/pixel_store.h"
#include "rastelo.h"

int CRastelo::Zoom_In(double factor) {
  const auto width = rastelo::ZoomSide(m_lWidth, factor);
  const auto height = rastelo::ZoomSide(m_lHeight, factor);
  return width && height ? ZoomTo(*width, *height) : 1;
}

int CRastelo::Zoom_Out(double factor) { return Zoom_In(factor + 1.0); }

int CRastelo::Zoom_Size(LONG width, LONG height) {
  const bool asLoaded = width == m_lOrgWidth && height == m_lOrgHeight;
  if (!asLoaded || !m_pOrgBits || m_nBitCount != m_nOrgBitCount) return ZoomTo(width, height);
  auto store = rastelo::PixelStore::ForOverwrite(width, height, m_nBitCount);
  std::memcpy(store.bits.get(), m_pOrgBits.get(), store.Bytes());
  Adopt(store);
  return 1;
}

/// Samples the pixels as they came in to a new image.
int CRastelo::ZoomTo(LONG width, LONG height) {
  if (!rastelo::FitsBuffer(width, height, m_nBitCount)) return 1;
  const bool hasTarget = width > 0 && height > 0;
  const bool hasSource = m_pOrgBits && m_lOrgWidth > 0 && m_lOrgHeight > 0;
  if (hasTarget && !hasSource) return 1;
  if (m_pImgBits ? !HasKnownDepth() : width > 0 || height > 0) return 1;
  const auto target = rastelo::PixelStore::Zeroed(width, height, m_nBitCount);
  Zoom(m_lWidth, m_lHeight, m_pImgBits.get(), width, height, target.bits.get(), m_nBitCount);
  Adopt(target);
  return 1;
}

int CRastelo::Zoom(LONG /*width*/, LONG /*height*/, const unsigned char* /*bits*/, LONG targetWidth,
                   LONG targetHeight, unsigned char* target, int bitCount) {
  if (!rastelo::IsKnownDepth(bitCount) || !rastelo::IsKnownDepth(m_nOrgBitCount)) return 1;
  if (targetWidth < 1 || targetHeight < 1) return 1;
  const auto sourcePitch = static_cast<LONG>(rastelo::Pitch(m_lOrgWidth, m_nOrgBitCount));
  const auto targetPitch = static_cast<LONG>(rastelo::Pitch(targetWidth, bitCount));
  rastelo::ZoomBilinear({m_pOrgBits.get(), m_lOrgWidth, m_lOrgHeight, sourcePitch},
                        m_nOrgBitCount / 8, {target, targetWidth, targetHeight, targetPitch},
                        bitCount / 8);
  return 1;
}
