#include "tools/contact_sheet.h"

#include <algorithm>
#include <cmath>

#include "geometry/block.h"
#include "pixels/pixel_store.h"
#include "tools/draw_text.h"
#include "tools/screen.h"

namespace rastelo::tools {
namespace {

constexpr int kTileWidth = 224, kTileHeight = 168, kGap = 10, kCaption = 18;
constexpr std::uint8_t kPaper = 250;
constexpr std::array<std::uint8_t, 3> kInk = {60, 52, 48};

/// Puts a tile with its upper left corner at column `left`, row `top` from the top of the sheet.
void DrawTile(ImageView sheet, int left, int top, Tile& tile) {
  const double width = tile.picture.GetWidth(), height = tile.picture.GetHeight();
  if (width > 0 && height > 0) {
    const double scale = std::min({1.0, kTileWidth / width, kTileHeight / height});
    const int smallWidth = std::max(1, static_cast<int>(std::lround(width * scale)));
    const int smallHeight = std::max(1, static_cast<int>(std::lround(height * scale)));
    CRastelo scaled = ScalePicture(tile.picture, smallWidth, smallHeight);
    const PixelStore small = PixelStore::Zeroed(smallWidth, smallHeight, 24);
    scaled.GetImgBlock(0, 0, smallWidth, smallHeight, 24, small.bits.get());
    const int x = left + (kTileWidth - smallWidth) / 2;
    const int bottom = sheet.height - (top + (kTileHeight + smallHeight) / 2);
    const ImageView place = {sheet.Row(bottom) + std::ptrdiff_t{3} * x, smallWidth, smallHeight,
                             sheet.pitch};
    CopyBlock(small.Pixels(), 0, 0, 3, place);
  }
  DrawCaption(sheet, left + (kTileWidth - TextWidth(tile.caption, 1)) / 2, top + kTileHeight + 5,
              tile.caption, 1, kInk);
}

}  // namespace

CRastelo MakeContactSheet(std::vector<std::vector<Tile>>& rows) {
  std::size_t columns = 0;
  for (const auto& row : rows) columns = std::max(columns, row.size());
  const int width = kGap + static_cast<int>(columns) * (kTileWidth + kGap);
  const int rowHeight = kTileHeight + kCaption + kGap;
  const PixelStore sheet =
      PixelStore::Zeroed(width, kGap + static_cast<int>(rows.size()) * rowHeight, 24);
  std::fill_n(sheet.bits.get(), sheet.Bytes(), kPaper);
  int top = kGap;
  for (auto& row : rows) {
    int left = kGap;
    for (Tile& tile : row) {
      DrawTile(sheet.Pixels(), left, top, tile);
      left += kTileWidth + kGap;
    }
    top += rowHeight;
  }
  CRastelo picture;
  picture.SetExternalImageBits(sheet.bits.get(), sheet.width, sheet.height, 24);
  return picture;
}

}  // namespace rastelo::tools
