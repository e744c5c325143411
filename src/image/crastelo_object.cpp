// The object's life, its state and what every other member uses.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "image/reverse_rows.h"
#include "pixels/pixel_store.h"
#include "platform/debug_output.h"
#include "platform/path.h"
#include "rastelo.h"

CRastelo::CRastelo() : m_pDrawRect(std::make_shared<RECT>()) {}
CRastelo::CRastelo(const CRastelo& other) = default;
CRastelo& CRastelo::operator=(const CRastelo& other) = default;
CRastelo::~CRastelo() = default;

LONG CRastelo::GetWidth() const { return m_lWidth; }
LONG CRastelo::GetHeight() const { return m_lHeight; }
bool CRastelo::IsOpened() const { return m_bOpened; }
bool CRastelo::IsCanTrans2Gray() const { return m_nBitCount == 24; }

int CRastelo::OpenImage(const char* path) {
  if (!path) return 0;
  const std::string extension = rastelo::platform::PathExtension(path);
  if (extension == ".jpg" || extension == ".JPG") return OpenJpgImg(path);
  if (extension == ".bmp" || extension == ".BMP") return OpenBmpImg(path);
  return 0;
}

int CRastelo::SaveAs(const char* path) {
  if (!path) return 0;
  const std::string extension = rastelo::platform::PathExtension(path);
  if (extension == ".jpg" || extension == ".JPG") return SaveAs_JPG(path);
  if (extension == ".bmp" || extension == ".BMP") return SaveAs_BMP(path);
  return 0;
}

void CRastelo::SetExternalImageBits(const unsigned char* bits, LONG width, LONG height,
                                    int bitCount) {
  if (!bits || !rastelo::FitsBuffer(width, height, bitCount)) return;
  const auto store = rastelo::PixelStore::ForOverwrite(width, height, bitCount);
  std::memcpy(store.bits.get(), bits, store.Bytes());
  AdoptLoaded(store, RoomForCopy(store));
}

int CRastelo::Close() {
  m_pBmpHeader.reset();
  m_pOrgBits.reset();
  Adopt({});
  m_bOpened = false;
  return 1;
}

void CRastelo::ReverseBitsY(LONG width, LONG height, int bitCount, unsigned char* bits) {
  if (!bits || !rastelo::FitsBuffer(width, height, bitCount)) return;
  rastelo::ReverseRows(
      {bits, width, height, static_cast<std::int32_t>(rastelo::Pitch(width, bitCount))});
}

LONG CRastelo::GetImgSize(const char* /*path*/) { return -1; }

rastelo::ImageView CRastelo::Pixels() {
  return {m_pImgBits.get(), m_lWidth, m_lHeight, m_lLineBytes};
}

rastelo::ConstImageView CRastelo::ConstPixels() const {
  return {m_pImgBits.get(), m_lWidth, m_lHeight, m_lLineBytes};
}

/// The first `m_lWidth` bytes of each row, whichever of the known depths it has; without pixels, an
/// image of no sides.
rastelo::ImageView CRastelo::RowBytes() {
  return HasKnownDepth() && HasPixels() ? Pixels() : rastelo::ImageView();
}

bool CRastelo::HasPixels() const { return m_pImgBits && m_lWidth > 0 && m_lHeight > 0; }

bool CRastelo::HasKnownDepth() const { return rastelo::IsKnownDepth(m_nBitCount); }

bool CRastelo::HasImageToSave() const { return m_pImgBits && HasKnownDepth(); }

/// Takes over new pixels: pointer, sizes, pitch and depth together.
void CRastelo::Adopt(const rastelo::PixelStore& store) noexcept {
  m_pImgBits = store.bits;
  m_lWidth = store.width;
  m_lHeight = store.height;
  m_lLineBytes = store.pitch;
  m_nBitCount = store.bitCount;
}

/// Where the copy of pixels that come in can stay: the place of the last copy if that has their
/// size and no other object shares it, since new memory costs as much as a good part of decoding.
rastelo::PixelStore CRastelo::RoomForCopy(const rastelo::PixelStore& store) const {
  if (m_pOrgBits.use_count() != 1 || m_lOrgWidth != store.width || m_lOrgHeight != store.height ||
      m_nOrgBitCount != store.bitCount)
    return rastelo::PixelStore::ForOverwrite(store.width, store.height, store.bitCount);
  rastelo::PixelStore room = store;
  room.bits = m_pOrgBits;
  return room;
}

/// The end of every successful open: the pixels that came in, and the copy that stays as it is,
/// which is made now in the room for it.
void CRastelo::AdoptLoaded(const rastelo::PixelStore& store,
                           const rastelo::PixelStore& copy) noexcept {
  std::memcpy(copy.bits.get(), store.bits.get(), store.Bytes());
  Adopt(store);
  m_pOrgBits = copy.bits;
  m_lOrgWidth = copy.width;
  m_lOrgHeight = copy.height;
  m_nOrgBitCount = copy.bitCount;
  m_bOpened = true;
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
