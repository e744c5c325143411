#ifndef RASTELO_HISTOGRAM_LEVEL_TABLES_H
#define RASTELO_HISTOGRAM_LEVEL_TABLES_H

#include <algorithm>

#include "histogram/histogram.h"
#include "rastelo.h"

namespace rastelo {

/// The three tables of HistogramStatic: blue, green, red, or gray and two of zeros.
struct LevelTables {
  LONG first[256] = {}, second[256] = {}, third[256] = {};
};

/// One such table as the pure functions take it.
inline Histogram ToHistogram(const LONG* table) {
  Histogram counts;
  std::copy_n(table, counts.size(), counts.begin());
  return counts;
}

}  // namespace rastelo

#endif  // RASTELO_HISTOGRAM_LEVEL_TABLES_H
