// JPEG files in and out.
#include <cstdio>
#include <cstring>
#include <new>

#include "image/inside.h"
#include "image/missing_file_message.h"
#include "pixels/interval.h"
#include "platform/file.h"
#include "platform/jpeg_codec.h"
#include "rastelo.h"

using namespace rastelo::platform;
using rastelo::Inside;

namespace {

/// Keeps as much of a path as there is room for, and fills up with zeros.
template <std::size_t kSize>
void KeepPath(const char* path, char (&kept)[kSize]) {
  std::strncpy(kept, path, kSize - 1);
  kept[kSize - 1] = 0;
}

bool IsUsablePath(const char* path) { return path && std::strlen(path) > 4; }

/// Tells the codec of a file and its pixels.
void Describe(const char* path, rastelo::ImageView pixels, int bitCount,
              JPEG_CORE_PROPERTIES& properties) {
  properties.JPGFile = path;
  properties.DIBBytes = pixels.bits;
  properties.DIBWidth = pixels.width;
  properties.DIBHeight = -pixels.height;  // bottom row first
  properties.DIBChannels = bitCount / 8;
  properties.DIBPadBytes = pixels.pitch - pixels.width * properties.DIBChannels;
}

/// Reads, and lets go of the record. Throws std::bad_alloc if the codec ran out of memory.
bool Read(JPEG_CORE_PROPERTIES& properties, IJLIOTYPE type) {
  const IJLERR result = ijlRead(&properties, type);
  ijlFree(&properties);
  if (result == IJL_OUT_OF_MEMORY) throw std::bad_alloc();
  return result == IJL_OK;
}

void Report(const char* message) {
  std::fprintf(stderr, "%s\n", message);
  std::fflush(stderr);
}

/// Writes pixels of 8 or 24 bits, and reports what goes wrong.
/// @return 1, or 0 if the file could not be written.
int Write(const char* path, rastelo::ImageView pixels, int bitCount) {
  JPEG_CORE_PROPERTIES properties{};
  if (ijlInit(&properties) != IJL_OK) Report("Can't initialize Intel(R) JPEG library\n");
  Describe(path, pixels, bitCount, properties);
  const bool written = ijlWrite(&properties, IJL_JFILE_WRITEWHOLEIMAGE) == IJL_OK;
  if (!written) Report("Can't write image\n");
  if (ijlFree(&properties) != IJL_OK) Report("Can't free Intel(R) JPEG library\n");
  return written ? 1 : 0;
}

}  // namespace

int CRastelo::GetSizeJPG(const char* path, LONG* width, LONG* height, int* bitCount) {
  if (!IsUsablePath(path) || !width || !height) return 0;
  JPEG_CORE_PROPERTIES properties;
  ijlInit(&properties);
  properties.JPGFile = path;
  if (!Read(properties, IJL_JFILE_READPARAMS)) return 0;
  *width = properties.JPGWidth;
  *height = properties.JPGHeight;
  if (bitCount) *bitCount = properties.JPGChannels * 8;
  return 1;
}

int CRastelo::ReadJpg(const char* path) {
  if (!IsUsablePath(path) || !m_pImgBits) return 0;
  JPEG_CORE_PROPERTIES properties;
  ijlInit(&properties);
  Describe(path, Inside::Pixels(*this), m_nBitCount, properties);
  return Read(properties, IJL_JFILE_READWHOLEIMAGE) ? 1 : 0;
}

int CRastelo::OpenJpgImg(const char* path) {
  if (!File::OpenExisting(path)) {
    rastelo::ShowMissingFileMessage();
    return 0;
  }
  LONG width = 0, height = 0;
  int bitCount = 0;
  if (!GetSizeJPG(path, &width, &height, &bitCount) || !rastelo::IsKnownDepth(bitCount) ||
      !rastelo::FitsBuffer(width, height, bitCount)) {
    KeepPath(path, m_szFileName);
    return 0;
  }
  const auto store = rastelo::PixelStore::ForOverwrite(width, height, bitCount);
  const auto room = Inside::RoomForLoaded(*this, store);
  const rastelo::PixelStore before = Inside::Current(*this);
  Inside::Adopt(*this, store);
  int decoded = 0;
  try {
    decoded = ReadJpg(path);
  } catch (...) {
    Inside::Adopt(*this, before);
    throw;
  }
  KeepPath(path, m_szFileName);
  if (!decoded) {
    std::memset(store.bits.get(), 0, store.Bytes());
    return 0;
  }
  Inside::AdoptLoaded(*this, store, room);
  return 1;
}

int CRastelo::SaveAs_JPG(const char* path) {
  if (!m_pImgBits || !Inside::HasKnownDepth(*this)) return 0;
  return Write(path, Inside::Pixels(*this), m_nBitCount);
}

int CRastelo::SaveAs_visible_JPG(const char* path) {
  if (!m_pImgBits || !Inside::HasKnownDepth(*this)) return 0;
  const auto columns = rastelo::Clip({m_pDrawRect->left, m_pDrawRect->right}, {0, m_lWidth});
  const auto rows = rastelo::Clip({m_pDrawRect->top, m_pDrawRect->bottom}, {0, m_lHeight});
  try {
    const auto block = rastelo::PixelStore::ForOverwrite(
        static_cast<LONG>(columns.Length()), static_cast<LONG>(rows.Length()), m_nBitCount);
    GetImgBlock(static_cast<LONG>(columns.first), static_cast<LONG>(rows.first), block.width,
                block.height, m_nBitCount, block.bits.get());
    return Write(path, block.Pixels(), m_nBitCount);
  } catch (...) {
    Report("Error storing JPEG file");
    return 0;
  }
}
