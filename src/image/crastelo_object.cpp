// The object's life, its state and what every other member uses.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "image/inside.h"
#include "platform/debug_output.h"
#include "rastelo.h"

using rastelo::Inside;

CRastelo::CRastelo() : m_pDrawRect(std::make_shared<RECT>()) {}
CRastelo::CRastelo(const CRastelo& other) = default;
CRastelo& CRastelo::operator=(const CRastelo& other) = default;
CRastelo::~CRastelo() = default;

LONG CRastelo::GetWidth() const { return m_lWidth; }
LONG CRastelo::GetHeight() const { return m_lHeight; }
bool CRastelo::IsOpened() const { return m_bOpened; }
bool CRastelo::IsCanTrans2Gray() const { return m_nBitCount == 24; }

void CRastelo::SetExternalImageBits(const unsigned char* bits, LONG width, LONG height,
                                    int bitCount) {
  if (!bits || !rastelo::FitsBuffer(width, height, bitCount)) return;
  const auto store = rastelo::PixelStore::ForOverwrite(width, height, bitCount);
  std::memcpy(store.bits.get(), bits, store.Bytes());
  Inside::AdoptLoaded(*this, store, Inside::RoomForLoaded(*this, store));
}

int CRastelo::Close() {
  m_pBmpHeader.reset();
  m_pOrgBits.reset();
  Inside::Adopt(*this, {});
  m_bOpened = false;
  return 1;
}

void CRastelo::ReverseBitsY(LONG width, LONG height, int bitCount, unsigned char* bits) {
  if (!bits || !rastelo::FitsBuffer(width, height, bitCount)) return;
  rastelo::ReverseRows(
      {bits, width, height, static_cast<std::int32_t>(rastelo::Pitch(width, bitCount))});
}

LONG CRastelo::GetImgSize(const char* /*path*/) { return -1; }

void Inside::Adopt(CRastelo& image, const rastelo::PixelStore& store) noexcept {
  image.m_pImgBits = store.bits;
  image.m_lWidth = store.width;
  image.m_lHeight = store.height;
  image.m_lLineBytes = store.pitch;
  image.m_nBitCount = store.bitCount;
}

rastelo::PixelStore Inside::RoomForLoaded(const CRastelo& image, const rastelo::PixelStore& store) {
  const bool isShared = image.m_pOrgBits.use_count() != 1;
  rastelo::PixelStore last = Loaded(image);
  if (isShared || last.width != store.width || last.height != store.height ||
      last.bitCount != store.bitCount)
    return rastelo::PixelStore::ForOverwrite(store.width, store.height, store.bitCount);
  return last;
}

void Inside::AdoptLoaded(CRastelo& image, const rastelo::PixelStore& store,
                         const rastelo::PixelStore& room) noexcept {
  std::memcpy(room.bits.get(), store.bits.get(), store.Bytes());
  AdoptShared(image, store);
  image.m_pOrgBits = room.bits;
}

void Inside::AdoptShared(CRastelo& image, const rastelo::PixelStore& store) noexcept {
  Adopt(image, store);
  image.m_pOrgBits = store.bits;
  image.m_lOrgWidth = store.width;
  image.m_lOrgHeight = store.height;
  image.m_nOrgBitCount = store.bitCount;
  image.m_bOpened = true;
}

void DebugTrace(const char* format, ...) {
  char text[512] = {};
  std::va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is right above
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  rastelo::platform::WriteDebugOutput(text);
}
