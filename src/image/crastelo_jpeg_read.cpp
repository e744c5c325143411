// JPEG files in.
#include <cstring>
#include <new>

#include "image/inside.h"
#include "image/missing_file_message.h"
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

/// Reads, and lets go of the record. Throws std::bad_alloc if the codec ran out of memory.
bool Read(JPEG_CORE_PROPERTIES& properties, IJLIOTYPE type) {
  const IJLERR result = ijlRead(&properties, type);
  ijlFree(&properties);
  if (result == IJL_OUT_OF_MEMORY) throw std::bad_alloc();
  return result == IJL_OK;
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
  properties.DIBBytes = m_pImgBits.get();
  properties.DIBWidth = m_lWidth;
  properties.DIBHeight = -m_lHeight;  // bottom row first
  properties.DIBChannels = m_nBitCount / 8;
  properties.DIBPadBytes = m_lLineBytes - m_lWidth * properties.DIBChannels;
  properties.DIBColor = m_nBitCount == 8 ? IJL_G : IJL_BGR;
  properties.JPGFile = path;
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
