// JPEG files out.
#include <cstdio>

#include "image/inside.h"
#include "image/spread_rows.h"
#include "pixels/interval.h"
#include "platform/jpeg_codec.h"
#include "rastelo.h"

using namespace rastelo::platform;
using rastelo::Inside;

namespace {

void Report(const char* message) {
  std::fprintf(stderr, "%s\n", message);
  std::fflush(stderr);
}

/// Writes bottom-up pixels of 8 or 24 bits, and reports what goes wrong.
/// @return 1, or 0 if the file could not be written.
int WriteJpeg(const char* path, const rastelo::ConstImageView& pixels, int bitCount,
              JPEG_CORE_PROPERTIES& properties) {
  const auto rows = rastelo::PixelStore::ForOverwrite(pixels.width, pixels.height, 24);
  if (ijlInit(&properties) != IJL_OK) Report("Can't initialize Intel(R) JPEG library\n");
  rastelo::SpreadRowsTopFirst(pixels, bitCount, rows.Pixels());
  properties.DIBBytes = rows.bits.get();
  properties.DIBWidth = rows.width;
  properties.DIBHeight = rows.height;
  properties.DIBPadBytes = rows.pitch - 3 * rows.width;
  properties.DIBChannels = 3;
  properties.DIBColor = bitCount == 8 ? IJL_RGB : IJL_BGR;
  properties.DIBSubsampling = IJL_NONE;
  properties.JPGFile = path;
  properties.JPGWidth = rows.width;
  properties.JPGHeight = rows.height;
  properties.JPGChannels = bitCount / 8;
  properties.JPGColor = bitCount == 8 ? IJL_G : IJL_YCBCR;
  properties.JPGSubsampling = bitCount == 8 ? IJL_NONE : IJL_411;
  const bool written = ijlWrite(&properties, IJL_JFILE_WRITEWHOLEIMAGE) == IJL_OK;
  if (!written) Report("Can't write image\n");
  if (ijlFree(&properties) != IJL_OK) Report("Can't free Intel(R) JPEG library\n");
  return written ? 1 : 0;
}

/// Runs a save that may throw; an exception counts as a failure.
template <class Save>
int ReportingExceptions(Save save) {
  JPEG_CORE_PROPERTIES properties{};
  try {
    return save(properties);
  } catch (...) {
    ijlFree(&properties);
    Report("Error storing JPEG file");
    return 0;
  }
}

}  // namespace

int CRastelo::SaveAs_JPG(const char* path) {
  if (!m_pImgBits || !Inside::HasKnownDepth(*this)) return 0;
  return ReportingExceptions([&](JPEG_CORE_PROPERTIES& properties) {
    return WriteJpeg(path, Inside::Pixels(*this), m_nBitCount, properties);
  });
}

int CRastelo::SaveAs_visible_JPG(const char* path) {
  if (!m_pImgBits || !Inside::HasKnownDepth(*this)) return 0;
  return ReportingExceptions([&](JPEG_CORE_PROPERTIES& properties) {
    const RECT& drawn = *m_pDrawRect;
    const auto columns = rastelo::Clip({drawn.left, drawn.right}, {0, m_lWidth});
    const auto rows = rastelo::Clip({drawn.top, drawn.bottom}, {0, m_lHeight});
    const auto block = rastelo::PixelStore::ForOverwrite(
        static_cast<LONG>(columns.Length()), static_cast<LONG>(rows.Length()), m_nBitCount);
    GetImgBlock(static_cast<LONG>(columns.first), static_cast<LONG>(rows.first), block.width,
                block.height, m_nBitCount, block.bits.get());
    return WriteJpeg(path, block.Pixels(), m_nBitCount, properties);
  });
}
