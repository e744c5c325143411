#pragma once

#include <string>
#include <vector>

#include "pixels/pixel_store.h"

namespace rastelo::tools {

/// A small picture of 24 bits with a caption below it.
struct Tile {
  std::string caption;
  PixelStore picture;
};

/// The place that each tile has, in pixels.
struct TileSize {
  int width = 224, height = 168;
};

/// The tile of a picture of 8 or 24 bits, scaled to fit its place; small ones stay as they are.
Tile MakeTile(const std::string& caption, const PixelStore& picture, TileSize size);

/// The sides in pixels of a sheet with so many rows and columns of tiles.
struct SheetSize {
  SheetSize(std::size_t rows, std::size_t columns, TileSize tile);
  std::int64_t width, height;
};

/// One picture of all tiles, in their rows. Throws std::bad_alloc where it has too many pixels.
PixelStore MakeContactSheet(const std::vector<std::vector<Tile>>& rows, TileSize size);

}  // namespace rastelo::tools
