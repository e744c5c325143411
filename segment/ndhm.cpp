#include "segment/ndhm.h"

#include <algorithm>

namespace rastelo {

std::array<std::int32_t, 256> SumContrasts(ConstImageView gray, std::int32_t radius,
                                           std::span<std::uint32_t> columnSums) {
  // Sums are kept modulo 2^32, in which order and grouping do not matter: a neighbourhood's sum is
  // carried from pixel to pixel, columns from row to row.
  std::array<std::uint32_t, 256> totals{};
  const std::int64_t side = 2 * std::int64_t{radius};
  if (radius > 0 && side < gray.width && side < gray.height) {
    const auto area = static_cast<std::uint32_t>(side * side);
    std::fill(columnSums.begin(), columnSums.end(), 0u);
    const auto addRow = [&](std::int32_t y, std::uint32_t sign) {
      const std::uint8_t* row = gray.Row(y);
      for (std::size_t x = 0; x < columnSums.size(); ++x) columnSums[x] += sign * row[x];
    };
    for (std::int32_t y = 0; y < side; ++y) addRow(y, 1);
    for (std::int32_t y = radius; y < gray.height - radius; ++y) {
      const std::uint8_t* row = gray.Row(y);
      const std::uint32_t* leaving = columnSums.data();
      const std::uint32_t* entering = leaving + side;
      std::uint32_t sum = 0;
      for (const std::uint32_t* column = leaving; column < entering; ++column) sum += *column;
      for (std::int32_t x = radius; x < gray.width - radius; ++x) {
        totals[row[x]] += area * row[x] - sum;
        sum += *entering++ - *leaving++;
      }
      addRow(y - radius, ~0u);
      addRow(y + radius, 1);
    }
  }
  std::array<std::int32_t, 256> result;
  std::transform(totals.begin(), totals.end(), result.begin(),
                 [](std::uint32_t total) { return static_cast<std::int32_t>(total); });
  return result;
}

int FindContrastThreshold(const std::array<std::int32_t, 256>& totals) {
  const auto largest = std::max_element(totals.begin(), totals.end());
  return *largest > 0 ? static_cast<int>(largest - totals.begin()) : 0;
}

}  // namespace rastelo
