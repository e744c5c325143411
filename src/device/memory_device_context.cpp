#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "device/surface_rows.h"
#include "pixels/image_view.h"
#include "rastelo_device.h"

namespace rastelo {
namespace {

/// A bitmap that can be drawn from: 8 or 24 bits a pixel, bottom row first.
struct Source {
  ConstImageView pixels;
  int bitCount;
  const RGBQUAD* colours;

  /// Blue, green, red of one pixel.
  void Load(std::int32_t x, std::int32_t y, unsigned char* bgr) const {
    const std::uint8_t* pixel = pixels.Row(y) + std::ptrdiff_t{bitCount / 8} * x;
    if (bitCount == 24)
      std::memcpy(bgr, pixel, 3);
    else
      LoadGray(*pixel, bgr);
  }
  void LoadGray(std::uint8_t level, unsigned char* bgr) const {
    const RGBQUAD& colour = colours[level];
    bgr[0] = colour.rgbBlue;
    bgr[1] = colour.rgbGreen;
    bgr[2] = colour.rgbRed;
  }
  void LoadGrays(ConstImageView levels, unsigned char* surface, std::ptrdiff_t pitch) const {
    for (std::int32_t y = 0; y < levels.height; ++y)
      for (std::int32_t x = 0; x < levels.width; ++x)
        LoadGray(levels.Row(y)[x], surface + y * pitch + std::ptrdiff_t{4} * x);
  }
};

bool OpenSource(const void* bits, const BITMAPINFO* info, UINT usage, Source& source) {
  if (!bits || !info || usage != DIB_RGB_COLORS) return false;
  const BITMAPINFOHEADER& header = info->bmiHeader;
  if (header.biSize != sizeof header || header.biCompression != 0) return false;
  if (!IsKnownDepth(header.biBitCount) || header.biWidth <= 0 || header.biHeight <= 0) return false;
  if (!FitsBuffer(header.biWidth, header.biHeight, header.biBitCount)) return false;
  source.pixels = {static_cast<const std::uint8_t*>(bits), header.biWidth, header.biHeight,
                   static_cast<std::int32_t>(Pitch(header.biWidth, header.biBitCount))};
  source.bitCount = header.biBitCount;
  source.colours = info->bmiColors;
  return true;
}

struct Span {
  std::int64_t first, end;  // [first, end)
};

Span Intersect(Span a, Span b) { return {std::max(a.first, b.first), std::min(a.end, b.end)}; }

std::int64_t DivideUp(std::int64_t a, std::int64_t b) { return a / b + (a % b > 0 ? 1 : 0); }

/// One axis of a stretch: from target pixels to the source pixels that they stand for, both counted
/// from the left or from the top. Pixels belong together where the middle of one lies in the
/// other; a middle on the border between two belongs to the first.
class StretchAxis {
 public:
  StretchAxis(int target, int targetSide, int sourceSide)
      : targetSide_(std::abs(std::int64_t{targetSide})),
        sourceSide_(std::abs(std::int64_t{sourceSide})),
        targetFirst_(FirstPixel(target, targetSide)),
        mirrored_((targetSide < 0) != (sourceSide < 0)) {}

  /// The lowest pixel of a side, which counts toward lower numbers if it is negative; the pixel
  /// that it starts from is always part of it.
  static std::int64_t FirstPixel(int start, int side) {
    return side < 0 ? std::int64_t{start} + side + 1 : start;
  }

  Span Target() const { return {targetFirst_, targetFirst_ + targetSide_}; }

  /// The part of the source area that falls on target pixel `target`.
  Span Source(std::int64_t target) const {
    const std::int64_t i = target - targetFirst_;
    const std::int64_t index = mirrored_ ? targetSide_ - 1 - i : i;
    if (sourceSide_ > targetSide_) return {FirstOf(index), FirstOf(index + 1)};
    const std::int64_t middle = ((2 * index + 1) * sourceSide_ - 1) / (2 * targetSide_);
    return {middle, middle + 1};
  }

 private:
  /// The first source pixel with its middle in target pixel `index` or behind it, when shrinking.
  std::int64_t FirstOf(std::int64_t index) const {
    return DivideUp(2 * sourceSide_ * index + 1 - targetSide_, 2 * targetSide_);
  }

  std::int64_t targetSide_, sourceSide_, targetFirst_;
  bool mirrored_;
};

/// Combines the source pixels of one target pixel by the stretch mode. Needs at least one.
void Combine(const Source& source, Span columns, Span rows, int mode, unsigned char* target) {
  std::uint64_t sum[3] = {};
  unsigned char all[3] = {255, 255, 255}, any[3] = {}, bgr[3];
  for (std::int64_t y = rows.first; y < rows.end; ++y) {
    for (std::int64_t x = columns.first; x < columns.end; ++x) {
      source.Load(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), bgr);
      for (int c = 0; c < 3; ++c) {
        sum[c] += bgr[c];
        all[c] &= bgr[c];
        any[c] |= bgr[c];
      }
    }
  }
  const auto count =
      static_cast<std::uint64_t>((rows.end - rows.first) * (columns.end - columns.first));
  for (int c = 0; c < 3; ++c) {
    target[c] = mode == BLACKONWHITE   ? all[c]
                : mode == WHITEONBLACK ? any[c]
                                       : static_cast<unsigned char>(sum[c] / count);
  }
}

/// A row of a surface from the levels in row `y` at the places `parts`, of one pixel or none each.
void GatherGrays(const Source& source, std::int64_t y, std::span<const Span> parts,
                 unsigned char* surface) {
  const std::uint8_t* row = source.pixels.Row(static_cast<std::int32_t>(y));
  for (const Span& part : parts) {
    if (part.first < part.end) source.LoadGray(row[part.first], surface);
    surface += 4;
  }
}

/// The same from all pixels of several rows.
void CombineRow(const Source& source, Span rows, std::span<const Span> parts, int mode,
                unsigned char* surface) {
  for (const Span& part : parts) {
    if (part.first < part.end) Combine(source, part, rows, mode, surface);
    surface += 4;
  }
}

struct Surface {
  unsigned char* pixels;
  std::int64_t width;
};

/// Draws pixels of colour one by one: `rowsOf` and `columnsOf` give one or none for each of the
/// target's.
void DrawGathered(const Source& source, Span rows, Span columns, auto rowsOf, auto columnsOf,
                  Surface surface) {
  const auto trim = [](Span& span, auto partOf) {
    const auto hasNone = [&](std::int64_t i) { return partOf(i).first >= partOf(i).end; };
    while (span.first < span.end && hasNone(span.first)) ++span.first;
    while (span.first < span.end && hasNone(span.end - 1)) --span.end;
  };
  trim(rows, rowsOf);
  trim(columns, columnsOf);
  if (rows.first >= rows.end || columns.first >= columns.end) return;
  const auto rowAt = [&](std::int64_t row) {
    return source.pixels.Row(static_cast<std::int32_t>(rowsOf(row).first));
  };
  const bool nonTemporal = DrawsNonTemporally(columns.end - columns.first, rows.end - rows.first);
  ColumnGather gather;
  for (std::int64_t first = columns.first; first < columns.end; first += ColumnGather::kMost) {
    gather.count =
        static_cast<std::int32_t>(std::min<std::int64_t>(ColumnGather::kMost, columns.end - first));
    for (std::int32_t i = 0; i < gather.count; ++i)
      gather.columns[i] = static_cast<std::int32_t>(columnsOf(first + i).first);
    PlanColumns(source.pixels.width, gather);
    for (std::int64_t row = rows.first; row < rows.end; ++row)
      GatherPixels(rowAt(row), rowAt(std::min(row + 1, rows.end - 1)), nonTemporal, gather,
                   surface.pixels + (row * surface.width + first) * 4);
  }
  if (nonTemporal) EndGather();
}

}  // namespace

static std::size_t SurfaceBytes(std::int64_t width, std::int64_t height) {
  if (width * height > PTRDIFF_MAX / 4) throw std::bad_alloc();
  return static_cast<std::size_t>(width * height * 4);
}

MemoryDeviceContext::MemoryDeviceContext(int width, int height)
    : width_(std::max(width, 0)),
      height_(std::max(height, 0)),
      surface_(SurfaceBytes(width_, height_)) {}

const unsigned char* MemoryDeviceContext::Pixel(int x, int y) const {
  if (x < 0 || x >= width_ || y < 0 || y >= height_) return nullptr;
  return surface_.data() + (std::size_t(y) * std::size_t(width_) + std::size_t(x)) * 4;
}

int MemoryDeviceContext::SetDIBitsToDevice(int x, int y, DWORD width, DWORD height, int sourceX,
                                           int sourceY, UINT firstLine, UINT lines,
                                           const void* bits, const BITMAPINFO* info, UINT usage) {
  Source source;
  if (!OpenSource(bits, info, usage, source)) return 0;
  const std::int64_t sourceHeight = source.pixels.height;
  if (firstLine >= sourceHeight) return 0;
  const Span present{firstLine,
                     std::min<std::int64_t>(sourceHeight, std::int64_t{firstLine} + lines)};
  const std::int64_t w = static_cast<std::int32_t>(width), h = static_cast<std::int32_t>(height);

  // Target column X shows source column X - shiftX; target row Y shows source row top - Y.
  const std::int64_t shiftX = std::int64_t{x} - sourceX;
  const std::int64_t top = std::int64_t{y} + sourceY + h - 1;
  const Span columns =
      Intersect(Intersect({x, x + w}, {0, width_}), {shiftX, shiftX + source.pixels.width});
  const Span rows = Intersect(Intersect({y, y + h}, {0, height_}),
                              {top - present.end + 1, top - present.first + 1});
  const auto lineCount = static_cast<int>(present.end - present.first);
  if (columns.first >= columns.end) return lineCount;
  if (rows.first >= rows.end) return lineCount;
  const ConstImageView area = {
      source.pixels.Row(static_cast<std::int32_t>(top - rows.end + 1 - present.first)) +
          source.bitCount / 8 * (columns.first - shiftX),
      static_cast<std::int32_t>(columns.end - columns.first),
      static_cast<std::int32_t>(rows.end - rows.first), source.pixels.pitch};
  unsigned char* to = surface_.data() + ((rows.end - 1) * width_ + columns.first) * 4;
  const std::ptrdiff_t up = std::ptrdiff_t{-4} * width_;
  if (source.bitCount == 24)
    WidenPixels(area, to, up);
  else
    source.LoadGrays(area, to, up);
  return lineCount;
}

int MemoryDeviceContext::StretchDIBits(int x, int y, int width, int height, int sourceX,
                                       int sourceY, int sourceWidth, int sourceHeight,
                                       const void* bits, const BITMAPINFO* info, UINT usage,
                                       DWORD operation) {
  Source source;
  if (operation != SRCCOPY || !OpenSource(bits, info, usage, source)) return 0;
  const StretchAxis across(x, width, sourceWidth);
  const StretchAxis down(y, height, sourceHeight);
  if (sourceWidth == 0 || sourceHeight == 0) return 0;

  const Span rows = Intersect(down.Target(), {0, height_});
  const Span columns = Intersect(across.Target(), {0, width_});
  const std::int64_t firstColumn = StretchAxis::FirstPixel(sourceX, sourceWidth);
  const std::int64_t rowsEnd =
      StretchAxis::FirstPixel(sourceY, sourceHeight) + std::abs(std::int64_t{sourceHeight});
  // Without combining, the last pixel in memory stands for all.
  const auto chosen = [this](Span all) {
    return stretchMode_ == COLORONCOLOR ? Span{all.end - 1, all.end} : all;
  };
  const auto rowsOf = [&](std::int64_t row) {  // from the top; those of a bitmap from the bottom
    const Span lines = down.Source(row);
    return Intersect(chosen({rowsEnd - lines.end, rowsEnd - lines.first}),
                     {0, source.pixels.height});
  };
  const auto columnsOf = [&](std::int64_t column) {
    const Span all = across.Source(column);
    return Intersect(chosen({firstColumn + all.first, firstColumn + all.end}),
                     {0, source.pixels.width});
  };
  if (stretchMode_ == COLORONCOLOR && source.bitCount == 24) {
    DrawGathered(source, rows, columns, rowsOf, columnsOf, {surface_.data(), width_});
    return source.pixels.height;
  }
  // A few columns at a time: where they come from is worked out once for all rows.
  constexpr std::int64_t kStrip = 256;
  Span parts[kStrip];
  for (std::int64_t first = columns.first; first < columns.end; first += kStrip) {
    const std::int64_t count = std::min(kStrip, columns.end - first);
    for (std::int64_t i = 0; i < count; ++i) parts[i] = columnsOf(first + i);
    for (std::int64_t row = rows.first; row < rows.end; ++row) {
      const Span from = rowsOf(row);
      if (from.first >= from.end) continue;
      unsigned char* to = surface_.data() + (row * width_ + first) * 4;
      if (stretchMode_ == COLORONCOLOR)
        GatherGrays(source, from.first, {parts, static_cast<std::size_t>(count)}, to);
      else
        CombineRow(source, from, {parts, static_cast<std::size_t>(count)}, stretchMode_, to);
    }
  }
  return source.pixels.height;
}

int MemoryDeviceContext::SetStretchBltMode(int mode) {
  if (mode < BLACKONWHITE || mode > HALFTONE) return 0;
  return std::exchange(stretchMode_, mode);
}

}  // namespace rastelo
