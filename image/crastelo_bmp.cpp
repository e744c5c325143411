// BMP files in and out.
#include <algorithm>
#include <cstring>
#include <memory>
#include <span>

#include "image/bmp_format.h"
#include "image/key_colour.h"
#include "image/little_endian.h"
#include "image/missing_file_message.h"
#include "platform/file.h"
#include "rastelo.h"

namespace {

/// As much as the largest store needs, with room for headers, a colour table and some more.
constexpr std::int64_t kMaxFileBytes = std::int64_t{INT32_MAX} + (1 << 20);
constexpr std::size_t kKeptHeaderBytes = rastelo::kBmpInfoHeaderBytes + rastelo::kBmpGrayTableBytes;

/// The first bytes behind the file header, filled up with 0.
std::shared_ptr<unsigned char[]> CopyHeaderBlock(std::span<const std::uint8_t> data) {
  auto block = std::make_shared<unsigned char[]>(kKeptHeaderBytes);
  std::copy_n(data.begin(), std::min(data.size(), kKeptHeaderBytes), block.get());
  return block;
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
  const auto buffer = std::make_unique_for_overwrite<std::uint8_t[]>(dataBytes);
  if (!file.ReadAll(buffer.get(), dataBytes)) return 0;
  const std::span<const std::uint8_t> data(buffer.get(), dataBytes);

  const std::optional<rastelo::PixelStore> store = rastelo::DecodeBmp(data);
  if (!store) return 0;
  auto headerBlock = CopyHeaderBlock(data);
  if (store->bitCount == 24) rastelo::ReduceToKeyColour(store->Pixels());
  AdoptLoaded(*store, store->Clone());
  m_pBmpHeader = std::move(headerBlock);
  return 1;
}

int CRastelo::SaveAs_BMP(const char* path) {
  if (!HasImageToSave()) return 0;
  // A copy of the rows with zeros behind their pixels.
  const auto rows = rastelo::PixelStore::Zeroed(m_lWidth, m_lHeight, m_nBitCount);
  const std::size_t rowBytes = std::size_t(m_lWidth) * (m_nBitCount == 24 ? 3 : 1);
  for (LONG y = 0; y < m_lHeight; ++y)
    std::memcpy(rows.Pixels().Row(y), ConstPixels().Row(y), rowBytes);

  auto file = rastelo::platform::File::Create(path);
  if (!file) {
    rastelo::ShowMissingFileMessage();
    return 0;
  }
  const auto fileHeader = rastelo::MakeBmpFileHeader(rows.Pixels(), m_nBitCount);
  const auto infoHeader = rastelo::MakeBmpInfoHeader(rows.Pixels(), m_nBitCount);
  const auto grayTable = rastelo::MakeBmpGrayTable();
  bool written = file.WriteAll(fileHeader.data(), fileHeader.size()) &&
                 file.WriteAll(infoHeader.data(), infoHeader.size());
  if (m_nBitCount == 8) written = written && file.WriteAll(grayTable.data(), grayTable.size());
  written = written && file.WriteAll(rows.bits.get(), rows.Bytes());
  return written && file.Close() ? 1 : 0;
}
