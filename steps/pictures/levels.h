#pragma once

#include <array>
#include <cstdint>

namespace rastelo::steps {

/// round(level / 257), which takes 0..65535 to 0..255.
constexpr std::uint8_t To8Bits(std::uint16_t level) {
  return static_cast<std::uint8_t>((level + 128) / 257);
}

/// A level seen through its alpha, with white behind.
constexpr std::uint8_t OnWhite(int level, int alpha) {
  return static_cast<std::uint8_t>((level * alpha + 255 * (255 - alpha) + 127) / 255);
}

/// What the indices of a palette stand for: blue, green, red. Those without an entry are black.
struct Palette {
  std::array<std::array<std::uint8_t, 3>, 256> colours{};

  bool IsGray() const {
    for (const auto& [blue, green, red] : colours)
      if (blue != green || green != red) return false;
    return true;
  }

  /// Gives `count` pixels the colours of their indices: 8 bits where all are gray, 24 otherwise.
  void Apply(const std::uint8_t* indices, std::int32_t count, int bitCount,
             std::uint8_t* pixels) const {
    for (std::int32_t x = 0; x < count; ++x) {
      const auto& colour = colours[indices[x]];
      for (int c = 0; c < bitCount / 8; ++c) *pixels++ = colour[static_cast<std::size_t>(c)];
    }
  }
};

}  // namespace rastelo::steps
