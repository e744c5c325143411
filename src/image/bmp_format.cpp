#include "image/bmp_format.h"

namespace rastelo {

std::uint32_t BmpTableEntries(int bitCount, std::uint32_t coloursUsed) {
  if (coloursUsed != 0) return coloursUsed;
  return bitCount == 1 || bitCount == 4 || bitCount == 8 ? 1u << bitCount : 0;
}

std::optional<BmpLayout> ReadBmpLayout(std::span<const std::uint8_t> data,
                                       std::uint64_t dataBytes) {
  if (data.size() < kBmpInfoHeaderBytes) return std::nullopt;
  const std::uint32_t headerBytes = Load32(&data[0]);
  const auto width = static_cast<std::int32_t>(Load32(&data[4]));
  const auto signedHeight = static_cast<std::int32_t>(Load32(&data[8]));
  const int bitCount = Load16(&data[14]);
  const std::uint32_t compression = Load32(&data[16]);
  if (headerBytes < kBmpInfoHeaderBytes || compression != 0) return std::nullopt;
  if (!IsKnownDepth(bitCount)) return std::nullopt;
  if (width <= 0 || signedHeight == 0 || signedHeight == INT32_MIN) return std::nullopt;
  const std::int32_t height = signedHeight < 0 ? -signedHeight : signedHeight;
  if (!FitsBuffer(width, height, bitCount)) return std::nullopt;

  const std::uint32_t entries = BmpTableEntries(bitCount, Load32(&data[32]));
  const auto tableBytes = static_cast<std::uint16_t>(4 * entries);  // the size is kept in 16 bits
  const std::uint64_t offset = std::uint64_t{headerBytes} + tableBytes;
  const auto pixelBytes = static_cast<std::uint64_t>(Pitch(width, bitCount) * height);
  if (offset + pixelBytes > dataBytes) return std::nullopt;
  return BmpLayout{width, height, signedHeight < 0, bitCount, static_cast<std::size_t>(offset)};
}

bool HasBmpMagic(std::span<const std::uint8_t, kBmpFileHeaderBytes> fileHeader) {
  return fileHeader[0] == 'B' && fileHeader[1] == 'M';
}

std::array<std::uint8_t, kBmpFileHeaderBytes> MakeBmpFileHeader(const ConstImageView& image,
                                                                int bitCount) {
  const std::uint32_t tableBytes = bitCount == 8 ? kBmpGrayTableBytes : 0;
  const std::uint32_t offset = kBmpFileHeaderBytes + kBmpInfoHeaderBytes + tableBytes;
  const auto pixelBytes = static_cast<std::uint32_t>(std::int64_t{image.pitch} * image.height);
  std::array<std::uint8_t, kBmpFileHeaderBytes> header{'B', 'M'};
  Store32(&header[2], offset + pixelBytes);
  Store32(&header[10], offset);
  return header;
}

std::array<std::uint8_t, kBmpInfoHeaderBytes> MakeBmpInfoHeader(const ConstImageView& image,
                                                                int bitCount) {
  std::array<std::uint8_t, kBmpInfoHeaderBytes> header{};
  Store32(&header[0], kBmpInfoHeaderBytes);
  Store32(&header[4], static_cast<std::uint32_t>(image.width));
  Store32(&header[8], static_cast<std::uint32_t>(image.height));
  Store16(&header[12], 1);  // planes
  Store16(&header[14], static_cast<std::uint32_t>(bitCount));
  Store32(&header[20], static_cast<std::uint32_t>(std::int64_t{image.pitch} * image.height));
  return header;
}

std::array<std::uint8_t, kBmpGrayTableBytes> MakeBmpGrayTable() {
  std::array<std::uint8_t, kBmpGrayTableBytes> table{};
  for (std::size_t i = 0; i < table.size(); ++i)
    if (i % 4 != 3) table[i] = static_cast<std::uint8_t>(i / 4);
  return table;
}

}  // namespace rastelo
