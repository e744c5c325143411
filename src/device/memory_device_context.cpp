#include <hwy/cache_control.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include "device/surface_rows.h"
#include "pixels/image_view.h"
#include "pixels/interval.h"
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
  /// Draws an area of the bitmap pixel by pixel, its rows `pitch` bytes apart on the surface.
  void Draw(ConstImageView area, unsigned char* surface, std::ptrdiff_t pitch) const {
    if (bitCount == 24) return WidenPixels(area, surface, pitch);
    for (std::int32_t y = 0; y < area.height; ++y)
      for (std::int32_t x = 0; x < area.width; ++x)
        LoadGray(area.Row(y)[x], surface + y * pitch + std::ptrdiff_t{4} * x);
  }
};

std::optional<Source> OpenSource(const void* bits, const BITMAPINFO* info, UINT usage) {
  if (!bits || !info || usage != DIB_RGB_COLORS) return {};
  const BITMAPINFOHEADER& header = info->bmiHeader;
  if (header.biSize != sizeof header || header.biCompression != 0) return {};
  if (!IsKnownDepth(header.biBitCount) || header.biWidth <= 0 || header.biHeight <= 0) return {};
  if (!FitsBuffer(header.biWidth, header.biHeight, header.biBitCount)) return {};
  const auto pitch = static_cast<std::int32_t>(Pitch(header.biWidth, header.biBitCount));
  return Source{{static_cast<const std::uint8_t*>(bits), header.biWidth, header.biHeight, pitch},
                header.biBitCount,
                info->bmiColors};
}

std::int64_t DivideUp(std::int64_t a, std::int64_t b) { return a / b + (a % b > 0 ? 1 : 0); }

/// The pixels of a side, which counts toward lower numbers if `length` is negative; the pixel that
/// it starts from is always among them.
Interval PixelsOf(int start, int length) {
  const std::int64_t end = std::int64_t{start} + length;
  return length < 0 ? Interval{end + 1, std::int64_t{start} + 1} : Interval{start, end};
}

/// One axis of a stretch: from target pixels to the columns or rows of the bitmap that they show.
/// Pixels belong together where the middle of one lies in the other; a middle on the border between
/// two belongs to the first, from the left or from the top.
struct StretchAxis {
  Interval target, source;
  bool isMirrored;
  Interval bitmap;  // all its columns, or all its rows, which count from the bottom
  bool isVertical;
  bool showsOne;  // of several pixels the last in memory stands for all

  /// The bitmap's columns or rows that target pixel `pixel` shows.
  Interval Shown(std::int64_t pixel) const {
    const Interval all = Covered(isMirrored ? target.end - 1 - pixel : pixel - target.first);
    const Interval shown = isVertical ? Interval{source.end - all.end, source.end - all.first}
                                      : Interval{source.first + all.first, source.first + all.end};
    return Clip({showsOne ? shown.end - 1 : shown.first, shown.end}, bitmap);
  }

  /// `targets` without those at the ends that show nothing.
  Interval Trim(Interval targets) const {
    while (!targets.IsEmpty() && Shown(targets.first).IsEmpty()) ++targets.first;
    while (!targets.IsEmpty() && Shown(targets.end - 1).IsEmpty()) --targets.end;
    return targets;
  }

  /// What of the source area falls on its target pixel `index`, both from the left or the top.
  Interval Covered(std::int64_t index) const {
    if (source.Length() > target.Length()) return {FirstOf(index), FirstOf(index + 1)};
    const std::int64_t middle = ((2 * index + 1) * source.Length() - 1) / (2 * target.Length());
    return {middle, middle + 1};
  }

  /// The first source pixel with its middle in target pixel `index` or behind it, when shrinking.
  std::int64_t FirstOf(std::int64_t index) const {
    return DivideUp(2 * source.Length() * index + 1 - target.Length(), 2 * target.Length());
  }
};

struct Surface {
  unsigned char* pixels;
  std::int64_t width, height;
  unsigned char* Pixel(std::int64_t column, std::int64_t row) const {
    return pixels + (row * width + column) * 4;
  }
};

/// A stretch of an area of a bitmap to an area of a surface.
struct Stretch {
  const Source& source;
  StretchAxis across, down;
  int mode;
  Surface surface;

  void Draw() const {
    const Interval rows = Clip(down.target, {0, surface.height});
    const Interval columns = Clip(across.target, {0, surface.width});
    if (mode == COLORONCOLOR && source.bitCount == 24)
      DrawGathered(down.Trim(rows), across.Trim(columns));
    else
      DrawCombined(rows, columns);
  }

  // A few columns at a time: where they come from is worked out once for all rows.
  static constexpr std::int64_t kStrip = 256;

  /// Draws pixels of colour one by one: each row and column shows one of the bitmap.
  void DrawGathered(Interval rows, Interval columns) const {
    if (rows.IsEmpty() || columns.IsEmpty()) return;
    const bool nonTemporal = DrawsNonTemporally(columns.Length(), rows.Length());
    ColumnGather gather;
    for (std::int64_t first = columns.first; first < columns.end; first += ColumnGather::kMost) {
      PlanColumns({first, std::min(columns.end, first + ColumnGather::kMost)}, gather);
      for (std::int64_t row = rows.first; row < rows.end; ++row)
        GatherPixels(RowAt(row), RowAt(std::min(row + 1, rows.end - 1)), nonTemporal, gather,
                     surface.Pixel(first, row));
    }
    if (nonTemporal) hwy::FlushStream();
  }

  void PlanColumns(Interval columns, ColumnGather& gather) const {
    gather.count = static_cast<std::int32_t>(columns.Length());
    for (std::int32_t i = 0; i < gather.count; ++i)
      gather.columns[i] = static_cast<std::int32_t>(across.Shown(columns.first + i).first);
    rastelo::PlanColumns(source.pixels.width, gather);
  }

  const std::uint8_t* RowAt(std::int64_t row) const {
    return source.pixels.Row(static_cast<std::int32_t>(down.Shown(row).first));
  }

  void DrawCombined(Interval rows, Interval columns) const {
    Interval strip[kStrip];
    for (std::int64_t first = columns.first; first < columns.end; first += kStrip) {
      const std::int64_t count = std::min(kStrip, columns.end - first);
      for (std::int64_t i = 0; i < count; ++i) strip[i] = across.Shown(first + i);
      for (std::int64_t row = rows.first; row < rows.end; ++row)
        DrawStrip(down.Shown(row), {strip, static_cast<std::size_t>(count)},
                  surface.Pixel(first, row));
    }
  }

  /// Draws a pixel from each of `strip` and all `rows`, where there are any.
  void DrawStrip(Interval rows, std::span<const Interval> strip, unsigned char* target) const {
    if (rows.IsEmpty()) return;
    const std::uint8_t* levels = source.pixels.Row(static_cast<std::int32_t>(rows.first));
    for (const Interval& columns : strip) {
      if (!columns.IsEmpty() && mode == COLORONCOLOR)
        source.LoadGray(levels[columns.first], target);
      else if (!columns.IsEmpty())
        Combine(columns, rows, target);
      target += 4;
    }
  }

  /// Stores what the pixels are combined to by the stretch mode.
  void Combine(Interval columns, Interval rows, unsigned char* target) const {
    std::uint64_t sum[3] = {};
    unsigned char all[3] = {255, 255, 255}, any[3] = {};
    for (std::int64_t y = rows.first; y < rows.end; ++y) {
      for (std::int64_t x = columns.first; x < columns.end; ++x) {
        unsigned char bgr[3];
        source.Load(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), bgr);
        for (int c = 0; c < 3; ++c) {
          sum[c] += bgr[c];
          all[c] &= bgr[c];
          any[c] |= bgr[c];
        }
      }
    }
    const auto count = static_cast<std::uint64_t>(rows.Length() * columns.Length());
    for (int c = 0; c < 3; ++c) {
      const auto mean = static_cast<unsigned char>(sum[c] / count);
      target[c] = mode == BLACKONWHITE ? all[c] : mode == WHITEONBLACK ? any[c] : mean;
    }
  }
};

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
  const auto source = OpenSource(bits, info, usage);
  if (!source) return 0;
  if (firstLine >= static_cast<std::int64_t>(source->pixels.height)) return 0;
  const Interval present =
      Clip({firstLine, std::int64_t{firstLine} + lines}, {0, source->pixels.height});
  const std::int64_t w = static_cast<std::int32_t>(width), h = static_cast<std::int32_t>(height);

  // Target column X shows source column X - shiftX; target row Y shows source row top - Y.
  const std::int64_t shiftX = std::int64_t{x} - sourceX;
  const std::int64_t top = std::int64_t{y} + sourceY + h - 1;
  const Interval columns =
      Clip(Clip({x, x + w}, {0, width_}), {shiftX, shiftX + source->pixels.width});
  const Interval rows =
      Clip(Clip({y, y + h}, {0, height_}), {top - present.end + 1, top - present.first + 1});
  const auto lineCount = static_cast<int>(present.Length());
  if (columns.IsEmpty() || rows.IsEmpty()) return lineCount;
  // The lowest row of the area, which is the first in `bits`, is drawn first.
  const auto firstRow = static_cast<std::int32_t>(top - rows.end + 1 - present.first);
  const ConstImageView area = {
      source->pixels.Row(firstRow) + source->bitCount / 8 * (columns.first - shiftX),
      static_cast<std::int32_t>(columns.Length()), static_cast<std::int32_t>(rows.Length()),
      source->pixels.pitch};
  source->Draw(area, surface_.data() + ((rows.end - 1) * width_ + columns.first) * 4,
               std::ptrdiff_t{-4} * width_);
  return lineCount;
}

int MemoryDeviceContext::StretchDIBits(int x, int y, int width, int height, int sourceX,
                                       int sourceY, int sourceWidth, int sourceHeight,
                                       const void* bits, const BITMAPINFO* info, UINT usage,
                                       DWORD operation) {
  const auto source = OpenSource(bits, info, usage);
  if (!source || operation != SRCCOPY || sourceWidth == 0 || sourceHeight == 0) return 0;
  const auto axis = [this](int start, int side, int sourceStart, int sourceSide, Interval bitmap,
                           bool isVertical) {
    return StretchAxis{PixelsOf(start, side),
                       PixelsOf(sourceStart, sourceSide),
                       (side < 0) != (sourceSide < 0),
                       bitmap,
                       isVertical,
                       stretchMode_ == COLORONCOLOR};
  };
  const Stretch stretch{*source,
                        axis(x, width, sourceX, sourceWidth, {0, source->pixels.width}, false),
                        axis(y, height, sourceY, sourceHeight, {0, source->pixels.height}, true),
                        stretchMode_,
                        {surface_.data(), width_, height_}};
  stretch.Draw();
  return source->pixels.height;
}

int MemoryDeviceContext::SetStretchBltMode(int mode) {
  if (mode < BLACKONWHITE || mode > HALFTONE) return 0;
  return std::exchange(stretchMode_, mode);
}

}  // namespace rastelo
