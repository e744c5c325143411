// Zoom: the pixels as they came in, in a new size.
#include "geometry/zoom.h"
#include "image/inside.h"
#include "rastelo.h"

using rastelo::Inside;
using rastelo::PixelStore;

namespace {

/// Whether an image can get this size: there is something to sample, or nothing to fill.
bool CanZoom(const CRastelo& image, LONG width, LONG height) {
  if (!rastelo::FitsBuffer(width, height, Inside::BitCount(image))) return false;
  if (!Inside::Current(image).bits) return width == 0 && height == 0;
  if (!Inside::HasKnownDepth(image)) return false;
  const PixelStore loaded = Inside::Loaded(image);
  return width == 0 || height == 0 || (loaded.bits && loaded.width > 0 && loaded.height > 0);
}

void Sample(const PixelStore& loaded, const rastelo::ImageView& target, int bitCount) {
  if (!rastelo::IsKnownDepth(bitCount) || !rastelo::IsKnownDepth(loaded.bitCount)) return;
  if (target.width < 1 || target.height < 1) return;
  rastelo::ZoomBilinear(loaded.Pixels(), loaded.bitCount / 8, target, bitCount / 8);
}

void ZoomTo(CRastelo& image, LONG width, LONG height) {
  if (!CanZoom(image, width, height)) return;
  const PixelStore target = PixelStore::Zeroed(width, height, Inside::BitCount(image));
  Sample(Inside::Loaded(image), target.Pixels(), target.bitCount);
  Inside::Adopt(image, target);
}

}  // namespace

int CRastelo::Zoom_In(double factor) {
  const auto width = rastelo::ZoomSide(m_lWidth, factor);
  const auto height = rastelo::ZoomSide(m_lHeight, factor);
  if (width && height) ZoomTo(*this, *width, *height);
  return 1;
}

int CRastelo::Zoom_Out(double factor) { return Zoom_In(factor + 1.0); }

int CRastelo::Zoom_Size(LONG width, LONG height) {
  const PixelStore loaded = Inside::Loaded(*this);
  const bool asLoaded = loaded.bits && width == loaded.width && height == loaded.height &&
                        m_nBitCount == loaded.bitCount;
  if (asLoaded)
    Inside::Adopt(*this, loaded.Copy());
  else
    ZoomTo(*this, width, height);
  return 1;
}

int CRastelo::Zoom(LONG /*width*/, LONG /*height*/, const unsigned char* /*bits*/, LONG targetWidth,
                   LONG targetHeight, unsigned char* target, int bitCount) {
  const auto pitch = static_cast<LONG>(rastelo::Pitch(targetWidth, bitCount));
  Sample(Inside::Loaded(*this), {target, targetWidth, targetHeight, pitch}, bitCount);
  return 1;
}
