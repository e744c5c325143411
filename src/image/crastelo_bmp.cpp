// BMP files in and out.
#include <algorithm>
#include <cstring>
#include <memory>
#include <span>

#include "image/bmp_format.h"
#include "image/inside.h"
#include "image/key_colour.h"
#include "image/missing_file_message.h"
#include "platform/file.h"
#include "rastelo.h"

using rastelo::Inside;

namespace {

/// As much as the largest store needs, with room for headers, a colour table and some more.
constexpr std::int64_t kMaxFileBytes = std::int64_t{INT32_MAX} + (1 << 20);
constexpr std::size_t kKeptHeaderBytes = rastelo::kBmpInfoHeaderBytes + rastelo::kBmpGrayTableBytes;

/// How many rows are read or written at once, so that they are still in L1 or L2 when they are gone
/// over.
std::int32_t RowsAtOnce(std::int32_t pitch) { return std::max((1 << 18) / std::max(pitch, 1), 1); }

/// Reads on and forgets what is read.
bool Skip(rastelo::platform::File& file, std::size_t count) {
  std::uint8_t forgotten[4096];
  for (; count > sizeof forgotten; count -= sizeof forgotten)
    if (!file.ReadAll(forgotten, sizeof forgotten)) return false;
  return file.ReadAll(forgotten, count);
}

/// Fills a store from a file, of which the first bytes behind its file header are in `start`.
bool ReadRows(rastelo::platform::File& file, std::span<const std::uint8_t> start,
              std::size_t offset, const rastelo::PixelStore& store) {
  const auto there = start.subspan(std::min(offset, start.size()));
  if (there.empty() && !Skip(file, offset - start.size())) return false;
  const auto pitch = static_cast<std::size_t>(store.pitch);
  const std::int32_t rowsAtOnce = RowsAtOnce(store.pitch);
  std::size_t filled = std::min(there.size(), store.Bytes());
  std::copy_n(there.begin(), filled, store.bits.get());
  for (std::int32_t y = 0; y < store.height; y += rowsAtOnce) {
    const std::int32_t count = std::min(rowsAtOnce, store.height - y);
    const std::size_t end = pitch * static_cast<std::size_t>(y + count);
    if (filled < end && !file.ReadAll(store.bits.get() + filled, end - filled)) return false;
    filled = std::max(filled, end);
    if (store.bitCount == 24)
      rastelo::ReduceToKeyColour({store.Pixels().Row(y), store.width, count, store.pitch});
  }
  return true;
}

}  // namespace

DWORD GetPaletteSize(const unsigned char* header) {
  using namespace rastelo;
  if (!header) return 0;
  if (Load32(header) != kBmpInfoHeaderBytes) return BmpTableEntries(Load16(header + 10), 0);
  return BmpTableEntries(Load16(header + 14), Load32(header + 32));
}

int CRastelo::OpenBmpImg(const char* path) {
  auto file = rastelo::platform::File::OpenExisting(path);
  if (!file) {
    rastelo::ShowMissingFileMessage();
    return 0;
  }
  const std::int64_t size = file.Size();
  std::uint8_t fileHeader[rastelo::kBmpFileHeaderBytes];
  if (!file.ReadAll(fileHeader, sizeof fileHeader)) return 0;
  if (!rastelo::HasBmpMagic(fileHeader)) return 0;
  if (size < std::int64_t{sizeof fileHeader} || size > kMaxFileBytes) return 0;
  const std::size_t dataBytes = static_cast<std::size_t>(size) - sizeof fileHeader;
  auto headerBlock = std::make_shared<unsigned char[]>(kKeptHeaderBytes);  // filled up with 0
  const std::span start(headerBlock.get(), std::min(dataBytes, kKeptHeaderBytes));
  if (!file.ReadAll(start.data(), start.size())) return 0;
  const auto layout = rastelo::ReadBmpLayout(start, dataBytes);
  if (!layout) return 0;
  const auto store =
      rastelo::PixelStore::ForOverwrite(layout->width, layout->height, layout->bitCount);
  if (!ReadRows(file, start, layout->pixelOffset, store)) return 0;
  if (layout->topDown) rastelo::ReverseRows(store.Pixels());
  Inside::AdoptLoaded(*this, store, Inside::RoomForLoaded(*this, store));
  m_pBmpHeader = std::move(headerBlock);
  return 1;
}

int CRastelo::SaveAs_BMP(const char* path) {
  if (!m_pImgBits || !Inside::HasKnownDepth(*this)) return 0;
  const rastelo::ConstImageView pixels = Inside::Pixels(*this);
  // A few rows at a time, with zeros behind their pixels.
  const auto rows = rastelo::PixelStore::Zeroed(
      m_lWidth, std::min<LONG>(m_lHeight, RowsAtOnce(m_lLineBytes)), m_nBitCount);
  const std::size_t rowBytes = std::size_t(m_lWidth) * (m_nBitCount == 24 ? 3 : 1);

  auto file = rastelo::platform::File::Create(path);
  if (!file) {
    rastelo::ShowMissingFileMessage();
    return 0;
  }
  const auto fileHeader = rastelo::MakeBmpFileHeader(pixels, m_nBitCount);
  const auto infoHeader = rastelo::MakeBmpInfoHeader(pixels, m_nBitCount);
  const auto grayTable = rastelo::MakeBmpGrayTable();
  bool written = file.WriteAll(fileHeader.data(), fileHeader.size()) &&
                 file.WriteAll(infoHeader.data(), infoHeader.size());
  if (m_nBitCount == 8) written = written && file.WriteAll(grayTable.data(), grayTable.size());
  for (LONG y = 0, count = 0; written && y < m_lHeight; y += count) {
    count = std::min<LONG>(rows.height, m_lHeight - y);
    for (LONG i = 0; i < count; ++i) std::memcpy(rows.Pixels().Row(i), pixels.Row(y + i), rowBytes);
    written = file.WriteAll(rows.bits.get(), std::size_t(rows.pitch) * std::size_t(count));
  }
  return written && file.Close() ? 1 : 0;
}
