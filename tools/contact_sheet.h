#pragma once

#include <string>
#include <vector>

#include "rastelo.h"

namespace rastelo::tools {

/// Small pictures in rows, each with a caption below it.
struct Tile {
  std::string caption;
  CRastelo picture;
};

/// One picture of all of them. Each is scaled to fit its place, larger ones down, none up.
CRastelo MakeContactSheet(std::vector<std::vector<Tile>>& rows);

}  // namespace rastelo::tools
