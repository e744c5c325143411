#include "bench/plain.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <numeric>

#include "image/truncate.h"
#include "platform/torvex.h"

namespace plain {

using namespace rastelo;

std::optional<ThresholdPair> FindClassPair(LevelCounts counts) {
  const auto total = static_cast<double>(std::accumulate(counts.begin(), counts.end(), 0LL));
  double share[255];
  for (std::size_t i = 0; i < 255; ++i) share[i] = counts[i] / total;
  const auto spread = [&](int first, int end) {
    double weight = 0, mean = 0, variance = 0;
    for (int i = first; i < end; ++i) weight += share[i];
    for (int i = first; i < end; ++i) mean += i * share[i] / weight;
    for (int i = first; i < end; ++i) variance += (i - mean) * (i - mean) * share[i] / weight;
    return variance * weight;
  };
  std::optional<ThresholdPair> best;
  double smallest = DBL_MAX;
  for (int low = 0; low < 254; ++low) {
    for (int high = low + 1; high < 255; ++high) {
      const double sum = spread(low, high) + spread(0, low) + spread(high, 255);
      if (!(smallest > sum)) continue;
      smallest = sum;
      best = {low, high};
    }
  }
  return best;
}

void SumAffinities(ConstImageView gray, AffinityTable& affinity) {
  for (auto& row : affinity) row.fill(0.0);
  for (std::int32_t y = 0; y < gray.height; ++y) {
    for (std::int32_t x = 0; x < gray.width; ++x) {
      const int c = gray.Row(y)[x];
      for (std::int32_t v = y - 1; v <= y + 1; ++v) {
        for (std::int32_t u = x - 1; u <= x + 1; ++u) {
          if ((u == x && v == y) || u < 0 || v < 0 || u >= gray.width || v >= gray.height) continue;
          const int n = gray.Row(v)[u], dx = u - x, dy = v - y;
          affinity[static_cast<std::size_t>(c)][static_cast<std::size_t>(n)] +=
              std::exp(-1.0 * ((dx * dx + dy * dy) * 0.25 + (n - c) * (n - c) / 625.0));
        }
      }
    }
  }
  for (std::size_t i = 0; i < 255; ++i) affinity[i][i] = 0.0;
}

std::array<std::int32_t, 256> SumContrasts(ConstImageView gray, std::int32_t radius) {
  std::array<std::int32_t, 256> totals{};
  for (std::int32_t y = radius; y < gray.height - radius; ++y) {
    for (std::int32_t x = radius; x < gray.width - radius; ++x) {
      const int c = gray.Row(y)[x];
      for (std::int32_t v = y - radius; v < y + radius; ++v)
        for (std::int32_t u = x - radius; u < x + radius; ++u)
          totals[static_cast<std::size_t>(c)] += c - gray.Row(v)[u];
    }
  }
  return totals;
}

void ZoomBilinear(ConstImageView source, ImageView target, int pixelBytes) {
  const float scaleX = static_cast<float>(source.width) / static_cast<float>(target.width);
  const float scaleY = static_cast<float>(source.height) / static_cast<float>(target.height);
  for (std::int32_t y = 0; y < target.height; ++y) {
    for (std::int32_t x = 0; x < target.width; ++x) {
      const float tx = static_cast<float>(x) * scaleX, ty = static_cast<float>(y) * scaleY;
      const int sx = static_cast<int>(tx), sy = static_cast<int>(ty);
      const int nx = sx + 1 < source.width ? sx + 1 : std::max(sx - 1, 0);
      const int ny = sy + 1 < source.height ? sy + 1 : std::max(sy - 1, 0);
      const float fx = tx - static_cast<float>(sx), fy = ty - static_cast<float>(sy);
      const float gx = 1 - fx, gy = 1 - fy;
      for (int c = 0; c < pixelBytes; ++c) {
        const auto at = [&](int u, int v) { return source.Row(v)[u * pixelBytes + c]; };
        float value = at(sx, sy) * (gx * gy) + at(nx, sy) * (gy * fx);
        value = value + at(sx, ny) * (gx * fy);
        value = value + at(nx, ny) * (fy * fx);
        target.Row(y)[x * pixelBytes + c] = static_cast<std::uint8_t>(value);
      }
    }
  }
}

void ApplySobel(ImageView gray) {
  constexpr int kX[3][3] = {{-1, 0, 1}, {-2, 0, 2}, {-1, 0, 1}};
  constexpr int kY[3][3] = {{-1, -2, -1}, {0, 0, 0}, {1, 2, 1}};
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

void RunTransform(const Complex* in, Complex* out, int exponent) {
  const int count = 1 << exponent;
  std::vector<Complex> factors, x(in, in + count), y(x.size());
  for (int i = 0; i < count / 2; ++i) {
    const double angle = i * -6.283185307179586 / count;
    factors.push_back({std::cos(angle), std::sin(angle)});
  }
  for (int stage = 0; stage < exponent; ++stage) {
    const int size = count >> stage;
    for (int base = 0; base < count; base += size) {
      for (int i = 0; i < size / 2; ++i) {
        const auto low = static_cast<std::size_t>(base + i);
        const auto high = low + static_cast<std::size_t>(size / 2);
        y[low] = Torvex::Add(x[low], x[high]);
        y[high] = Torvex::Mul(Torvex::Sub(x[low], x[high]),
                              factors[static_cast<std::size_t>(i << stage)]);
      }
    }
    x.swap(y);
  }
  for (int j = 0; j < count; ++j) {
    int reversed = 0;
    for (int bit = 0; bit < exponent; ++bit) reversed |= (j >> bit & 1) << (exponent - 1 - bit);
    out[j] = x[static_cast<std::size_t>(reversed)];
  }
}

void TransformPlane(Complex* first, Complex* second, int exponent) {
  const std::size_t side = std::size_t{1} << exponent;
  for (std::size_t y = 0; y < side; ++y)
    RunTransform(first + side * y, second + side * y, exponent);
  for (std::size_t y = 0; y < side; ++y)
    for (std::size_t x = 0; x < side; ++x) first[side * x + y] = second[side * y + x];
  for (std::size_t x = 0; x < side; ++x)
    RunTransform(first + side * x, second + side * x, exponent);
}

void CutMagnitudes(Complex* coefficients, int exponent, double limit, std::uint8_t* cells) {
  const std::size_t side = std::size_t{1} << exponent;
  std::fill_n(cells, side * side, std::uint8_t{0});
  for (std::size_t v = 0; v < side; ++v) {
    for (std::size_t u = 0; u < side; ++u) {
      Complex& z = coefficients[side * u + v];
      const double magnitude = std::sqrt(z.re * z.re + z.im * z.im) / 100.0;
      if (limit >= magnitude)
        cells[side * ((u + side / 2) % side) + (v + side / 2) % side] = LowByte(magnitude);
      else
        z = {0.0, 0.0};
    }
  }
}

void InvertPlane(const Complex* coefficients, int exponent, std::uint8_t* cells) {
  const std::size_t side = std::size_t{1} << exponent, count = side * side;
  std::vector<Complex> first(coefficients, coefficients + count), second(count);
  for (Complex& z : first) z.im = -z.im;
  TransformPlane(first.data(), second.data(), exponent);
  for (std::size_t y = 0; y < side; ++y)
    for (std::size_t x = 0; x < side; ++x)
      cells[side * ((y + side / 2) % side) + (x + side / 2) % side] =
          LowByte(second[side * y + x].re / static_cast<double>(count));
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
