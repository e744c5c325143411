#include "tools/contact_sheet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "geometry/block.h"
#include "geometry/shrink.h"
#include "steps/plot/draw_text.h"

namespace rastelo::tools {
namespace {

constexpr int kGap = 10, kCaption = 18;
constexpr std::uint8_t kPaper = 250;
constexpr std::array<std::uint8_t, 3> kInk = {60, 52, 48};

int Scaled(int side, double scale) {
  return std::max(1, static_cast<int>(std::lround(side * scale)));
}

/// The same picture with three bytes a pixel.
PixelStore InColour(const PixelStore& picture) {
  if (picture.bitCount == 24) return picture;
  PixelStore colour = PixelStore::Zeroed(picture.width, picture.height, 24);
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* from = picture.Pixels().Row(y);
    std::uint8_t* to = colour.Pixels().Row(y);
    for (int x = 0; x < picture.width; ++x, to += 3) std::fill_n(to, 3, from[x]);
  }
  return colour;
}

/// Puts a tile with its upper left corner at column `left`, row `top` from the top of the sheet.
void DrawTile(ImageView sheet, int left, int top, TileSize size, const Tile& tile) {
  const PixelStore& small = tile.picture;
  const int x = left + (size.width - small.width) / 2;
  const int bottom = sheet.height - (top + (size.height + small.height) / 2);
  CopyBlock(small.Pixels(), 0, 0, 3,
            {sheet.Row(bottom) + std::ptrdiff_t{3} * x, small.width, small.height, sheet.pitch});
  steps::DrawCaption(sheet, left + (size.width - steps::TextWidth(tile.caption, 1)) / 2,
                     top + size.height + 5, tile.caption, 1, kInk);
}

}  // namespace

Tile MakeTile(const std::string& caption, const PixelStore& picture, TileSize size) {
  if (picture.width < 1 || picture.height < 1) return {caption, PixelStore::Zeroed(0, 0, 24)};
  const double scale =
      std::min({1.0, 1.0 * size.width / picture.width, 1.0 * size.height / picture.height});
  const PixelStore small = PixelStore::Zeroed(Scaled(picture.width, scale),
                                              Scaled(picture.height, scale), picture.bitCount);
  ShrinkByArea(picture.Pixels(), picture.bitCount / 8, small.Pixels());
  return {caption, InColour(small)};
}

SheetSize::SheetSize(std::size_t rows, std::size_t columns, TileSize tile)
    : width(kGap + static_cast<std::int64_t>(columns) * (tile.width + kGap)),
      height(kGap + static_cast<std::int64_t>(rows) * (tile.height + kCaption + kGap)) {}

PixelStore MakeContactSheet(const std::vector<std::vector<Tile>>& rows, TileSize size) {
  std::size_t columns = 0;
  for (const auto& row : rows) columns = std::max(columns, row.size());
  const SheetSize sides(rows.size(), columns, size);
  if (std::max(sides.width, sides.height) > INT32_MAX) throw std::bad_alloc();
  PixelStore sheet =
      PixelStore::Zeroed(static_cast<int>(sides.width), static_cast<int>(sides.height), 24);
  std::fill_n(sheet.bits.get(), sheet.Bytes(), kPaper);
  int top = kGap;
  for (const auto& row : rows) {
    int left = kGap;
    for (const Tile& tile : row) {
      DrawTile(sheet.Pixels(), left, top, size, tile);
      left += size.width + kGap;
    }
    top += size.height + kCaption + kGap;
  }
  return sheet;
}

}  // namespace rastelo::tools
