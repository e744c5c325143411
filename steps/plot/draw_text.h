#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "pixels/image_view.h"

namespace rastelo::steps {

/// Rows of a glyph: 7 from the top of a capital letter to the baseline, 2 below it.
inline constexpr int kGlyphRows = 9;

/// The shape of a character on a grid of 1 to 8 columns and kGlyphRows rows.
struct Glyph {
  int width = 0;                                // columns
  std::array<std::uint8_t, kGlyphRows> rows{};  // from the top; bit 0 is the left column

  /// Whether the pixel in column 0..7 and row 0..kGlyphRows - 1, counted from the top, has ink.
  bool HasInk(int column, int row) const {
    return (rows[static_cast<std::size_t>(row)] >> column & 1) != 0;
  }
};

/// The glyph of a letter, a digit, the space or one of . , : ; - + = / ( ) % ' " ! ? # * < > _ and
/// a small box for every other character.
const Glyph& FindGlyph(char character);

/// Columns that a text takes, times `scale`: one empty column stands between two glyphs. 0 for an
/// empty text and for a scale below 1.
int TextWidth(std::string_view text, int scale);

/// Rows that a text takes: kGlyphRows * scale, 0 for a scale below 1.
int TextHeight(int scale);

/// Draws a text in one line; each pixel of a glyph becomes a square of `scale` x `scale` pixels.
/// What lies outside the image is cut off. A scale below 1 draws nothing.
/// @param bgr       W x H pixels of 3 bytes: blue, green, red.
/// @param x         column of the text's left edge.
/// @param yFromTop  row of its upper edge, counted from the top of the picture.
/// @param colour    blue, green, red of the text. The ground stays.
void DrawCaption(ImageView bgr, int x, int yFromTop, std::string_view text, int scale,
                 std::array<std::uint8_t, 3> colour);

/// The same on pixels of 1 byte, in the gray level `level`.
void DrawGrayCaption(ImageView gray, int x, int yFromTop, std::string_view text, int scale,
                     std::uint8_t level);

}  // namespace rastelo::steps
