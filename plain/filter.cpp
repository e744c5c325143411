#include "plain/filter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <vector>

#include "numeric/truncate.h"

namespace plain {

using namespace rastelo;

namespace {

constexpr int kX[3][3] = {{-1, 0, 1}, {-2, 0, 2}, {-1, 0, 1}};
constexpr int kY[3][3] = {{-1, -2, -1}, {0, 0, 0}, {1, 2, 1}};

/// A byte of the pixel of an image that is nearest to column x of row y.
std::uint8_t Nearest(ConstImageView image, int pixelBytes, std::int32_t x, std::int32_t y,
                     int plane) {
  const std::int32_t column = std::clamp(x, 0, image.width - 1);
  return image.Row(std::clamp(y, 0, image.height - 1))[column * pixelBytes + plane];
}

}  // namespace

void ApplySobel(ImageView gray) {
  for (std::int32_t i = 0; i + 2 < gray.height; ++i) {
    for (std::int32_t j = 0; j + 2 < gray.width; ++j) {
      int gx = 0, gy = 0;
      for (int a = 0; a < 3; ++a) {
        for (int b = 0; b < 3; ++b) {
          gx += kX[a][b] * gray.Row(i + a)[j + b];
          gy += kY[a][b] * gray.Row(i + a)[j + b];
        }
      }
      const auto length = static_cast<int>(std::sqrt(static_cast<double>(gx * gx + gy * gy)));
      gray.Row(i + 1)[j + 1] = static_cast<std::uint8_t>(std::min(length, 255));
    }
  }
}

void ApplyTemplate(ImageView gray, const double* entries, std::int32_t size) {
  const std::int32_t half = size / 2, first = std::max(1, half);
  for (std::int32_t y = first; y < gray.height - half; ++y) {
    for (std::int32_t x = first; x < gray.width - half; ++x) {
      int sum = 0;
      for (std::int32_t a = 0; a < size; ++a)
        for (std::int32_t b = 0; b < size; ++b)
          sum = LowInt32(gray.Row(y - half + a)[x - half + b] * entries[a * size + b] + sum);
      gray.Row(y)[x] = static_cast<std::uint8_t>(std::min(std::abs(double{1} * sum), 255.0));
    }
  }
}

void DetectEdges(ConstImageView gray, ImageView edges) {
  for (std::int32_t y = 0; y < gray.height; ++y) {
    for (std::int32_t x = 0; x < gray.width; ++x) {
      int gx = 0, gy = 0;
      for (int a = 0; a < 3; ++a) {
        for (int b = 0; b < 3; ++b) {
          gx += kX[a][b] * Nearest(gray, 1, x + b - 1, y + a - 1, 0);
          gy += kY[a][b] * Nearest(gray, 1, x + b - 1, y + a - 1, 0);
        }
      }
      const auto length = std::lround(std::sqrt(static_cast<double>(gx * gx + gy * gy)));
      edges.Row(y)[x] = static_cast<std::uint8_t>(std::min(length, 255L));
    }
  }
}

void Convolve(ConstImageView source, int pixelBytes, std::span<const double> entries, int size,
              ImageView target) {
  const int half = size / 2;
  for (std::int32_t y = 0; y < source.height; ++y) {
    for (std::int32_t i = 0; i < source.width * pixelBytes; ++i) {
      double sum = 0;
      auto entry = entries.begin();
      for (int b = -half; b <= half; ++b)
        for (int a = -half; a <= half; ++a)
          sum += *entry++ * Nearest(source, pixelBytes, i / pixelBytes + a, y + b, i % pixelBytes);
      const double limited = sum > 0 ? std::min(sum, 255.0) : 0, whole = std::floor(limited);
      target.Row(y)[i] = static_cast<std::uint8_t>(limited - whole < 0.5 ? whole : whole + 1);
    }
  }
}

void PushLevels(ImageView gray, int threshold, bool clearLow, bool raiseHigh) {
  for (std::int32_t y = 0; y < gray.height; ++y) {
    for (std::int32_t x = 0; x < gray.width; ++x) {
      if (gray.Row(y)[x] < threshold) {
        if (clearLow) gray.Row(y)[x] = 0;
      } else if (raiseHigh) {
        gray.Row(y)[x] = 255;
      }
    }
  }
}

void InvertBytes(ImageView image) {
  for (std::int32_t y = 0; y < image.height; ++y)
    for (std::int32_t x = 0; x < image.width; ++x)
      image.Row(y)[x] = static_cast<std::uint8_t>(255 - image.Row(y)[x]);
}

void EvenColumns(ImageView gray, int limit) {
  struct Column {
    int mean;
    double deviation;
  };
  std::vector<Column> columns;
  std::vector<int> sorted;
  for (std::int32_t x = 0; x < gray.width; ++x) {
    std::vector<std::uint8_t> values;
    for (std::int32_t y = 0; y < gray.height; ++y)
      if (gray.Row(y)[x] <= limit) values.push_back(gray.Row(y)[x]);
    const auto count = static_cast<int>(values.size());
    const int mean = std::accumulate(values.begin(), values.end(), 0) / std::max(count, 1);
    double squares = 0;
    for (const int value : values) squares += (mean - value) * (mean - value);
    columns.push_back({mean, std::sqrt(squares / std::max(count - 1, 1))});
    sorted.push_back(mean);
  }
  if (sorted.empty()) return;
  std::sort(sorted.begin(), sorted.end());
  const int median = sorted[sorted.size() / 2];
  int means = 0, count = 0;
  double deviations = 0;
  for (const Column& column : columns) {
    if (column.mean <= median) continue;
    means += column.mean;
    deviations += column.deviation;
    ++count;
  }
  if (count == 0) return;
  const int reference = means / count;
  const double spread = deviations / count;
  for (std::int32_t x = 0; x < gray.width; ++x) {
    const Column& column = columns[static_cast<std::size_t>(x)];
    if (column.mean > reference || (column.deviation == 0 && spread > 0)) continue;
    const int gain = spread > column.deviation ? static_cast<int>(spread / column.deviation) : 1;
    for (std::int32_t y = 0; y < gray.height; ++y) {
      std::uint8_t& pixel = gray.Row(y)[x];
      if (pixel <= 240)
        pixel = static_cast<std::uint8_t>(std::min(pixel * gain + reference - column.mean, 255));
    }
  }
}

bool ExceedsShare(ConstImageView gray, int level, double share) {
  double above = 0, total = 0;
  for (std::int32_t y = 0; y < gray.height; ++y) {
    for (std::int32_t x = 0; x < gray.width; ++x) {
      ++total;
      if (gray.Row(y)[x] > level) ++above;
    }
  }
  return above / total > share;
}

}  // namespace plain
