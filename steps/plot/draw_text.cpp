#include "steps/plot/draw_text.h"

#include <algorithm>

namespace rastelo::steps {
namespace {

constexpr char kBoxName = '\x7F';  // the name under which the box stands in the drawing

/// Glyphs drawn side by side: '#' is ink, '|' stands left and right of each glyph.
struct Band {
  const char* names;
  const char* rows[kGlyphRows];
};

// clang-format off
constexpr Band kBands[] = {
    {"ABCDEFGHIJKLM",
     {"|..#..|####.|.###.|####.|#####|#####|.###.|#...#|###|...#|#...#|#...|#.....#|",
      "|.#.#.|#...#|#...#|#...#|#....|#....|#...#|#...#|.#.|...#|#..#.|#...|##...##|",
      "|#...#|#...#|#....|#...#|#....|#....|#....|#...#|.#.|...#|#.#..|#...|#.#.#.#|",
      "|#...#|####.|#....|#...#|####.|####.|#.###|#####|.#.|...#|##...|#...|#..#..#|",
      "|#####|#...#|#....|#...#|#....|#....|#...#|#...#|.#.|...#|#.#..|#...|#..#..#|",
      "|#...#|#...#|#...#|#...#|#....|#....|#...#|#...#|.#.|#..#|#..#.|#...|#.....#|",
      "|#...#|####.|.###.|####.|#####|#....|.###.|#...#|###|.##.|#...#|####|#.....#|",
      "|.....|.....|.....|.....|.....|.....|.....|.....|...|....|.....|....|.......|",
      "|.....|.....|.....|.....|.....|.....|.....|.....|...|....|.....|....|.......|"}},
    {"NOPQRSTUVWXYZ",
     {"|#...#|.###.|####.|.###.|####.|.###.|#####|#...#|#...#|#.....#|#...#|#...#|#####|",
      "|##..#|#...#|#...#|#...#|#...#|#...#|..#..|#...#|#...#|#.....#|#...#|#...#|....#|",
      "|##..#|#...#|#...#|#...#|#...#|#....|..#..|#...#|#...#|#..#..#|.#.#.|.#.#.|...#.|",
      "|#.#.#|#...#|####.|#...#|####.|.###.|..#..|#...#|#...#|#..#..#|..#..|..#..|..#..|",
      "|#..##|#...#|#....|#.#.#|#.#..|....#|..#..|#...#|.#.#.|#.#.#.#|.#.#.|..#..|.#...|",
      "|#..##|#...#|#....|#..#.|#..#.|#...#|..#..|#...#|.#.#.|.#...#.|#...#|..#..|#....|",
      "|#...#|.###.|#....|.##.#|#...#|.###.|..#..|.###.|..#..|.#...#.|#...#|..#..|#####|",
      "|.....|.....|.....|.....|.....|.....|.....|.....|.....|.......|.....|.....|.....|",
      "|.....|.....|.....|.....|.....|.....|.....|.....|.....|.......|.....|.....|.....|"}},
    {"abcdefghijklm",
     {"|....|#...|....|...#|....|.##|....|#...|#|.#|#...|#.|.......|",
      "|....|#...|....|...#|....|.#.|....|#...|.|..|#...|#.|.......|",
      "|.##.|###.|.##.|.###|.##.|###|.###|###.|#|.#|#..#|#.|###.##.|",
      "|...#|#..#|#..#|#..#|#..#|.#.|#..#|#..#|#|.#|#.#.|#.|#..#..#|",
      "|.###|#..#|#...|#..#|####|.#.|#..#|#..#|#|.#|##..|#.|#..#..#|",
      "|#..#|#..#|#..#|#..#|#...|.#.|#..#|#..#|#|.#|#.#.|#.|#..#..#|",
      "|.###|###.|.##.|.###|.###|.#.|.###|#..#|#|.#|#..#|.#|#..#..#|",
      "|....|....|....|....|....|...|...#|....|.|.#|....|..|.......|",
      "|....|....|....|....|....|...|###.|....|.|#.|....|..|.......|"}},
    {"nopqrstuvwxyz",
     {"|....|....|....|....|...|....|...|....|.....|.......|.....|....|....|",
      "|....|....|....|....|...|....|.#.|....|.....|.......|.....|....|....|",
      "|###.|.##.|###.|.###|#.#|.###|###|#..#|#...#|#..#..#|#...#|#..#|####|",
      "|#..#|#..#|#..#|#..#|##.|#...|.#.|#..#|#...#|#..#..#|.#.#.|#..#|...#|",
      "|#..#|#..#|#..#|#..#|#..|.##.|.#.|#..#|.#.#.|#..#..#|..#..|#..#|.##.|",
      "|#..#|#..#|#..#|#..#|#..|...#|.#.|#..#|.#.#.|#..#..#|.#.#.|#..#|#...|",
      "|#..#|.##.|###.|.###|#..|###.|.##|.###|..#..|.##.##.|#...#|.###|####|",
      "|....|....|#...|...#|...|....|...|....|.....|.......|.....|...#|....|",
      "|....|....|#...|...#|...|....|...|....|.....|.......|.....|###.|....|"}},
    {"0123456789",
     {"|.##.|..#.|.##.|###.|...#|####|.##.|####|.##.|.##.|",
      "|#..#|.##.|#..#|...#|..##|#...|#...|...#|#..#|#..#|",
      "|#..#|..#.|...#|...#|.#.#|###.|#...|...#|#..#|#..#|",
      "|#..#|..#.|..#.|.##.|#..#|...#|###.|..#.|.##.|.###|",
      "|#..#|..#.|.#..|...#|####|...#|#..#|..#.|#..#|...#|",
      "|#..#|..#.|#...|...#|...#|#..#|#..#|.#..|#..#|...#|",
      "|.##.|.###|####|###.|...#|.##.|.##.|.#..|.##.|.##.|",
      "|....|....|....|....|....|....|....|....|....|....|",
      "|....|....|....|....|....|....|....|....|....|....|"}},
    {" .,:;-+=/()%'\"!?#*<>_\x7F",
     {"|...|.|..|.|..|...|.....|....|...#|.#|#.|##..#|#|#.#|#|.##.|.#.#.|.....|...|...|....|....|",
      "|...|.|..|.|..|...|.....|....|...#|#.|.#|##..#|#|#.#|#|#..#|.#.#.|..#..|...|...|....|####|",
      "|...|.|..|.|..|...|..#..|....|..#.|#.|.#|...#.|.|...|#|...#|#####|#.#.#|..#|#..|....|#..#|",
      "|...|.|..|#|.#|...|..#..|####|..#.|#.|.#|..#..|.|...|#|..#.|.#.#.|.###.|.#.|.#.|....|#..#|",
      "|...|.|..|.|..|###|#####|....|.#..|#.|.#|.#...|.|...|#|.#..|#####|#.#.#|#..|..#|....|#..#|",
      "|...|.|..|.|..|...|..#..|####|.#..|#.|.#|#..##|.|...|.|....|.#.#.|..#..|.#.|.#.|....|#..#|",
      "|...|#|.#|#|.#|...|..#..|....|#...|#.|.#|#..##|.|...|#|.#..|.#.#.|.....|..#|#..|....|####|",
      "|...|.|#.|.|#.|...|.....|....|....|.#|#.|.....|.|...|.|....|.....|.....|...|...|####|....|",
      "|...|.|..|.|..|...|.....|....|....|..|..|.....|.|...|.|....|.....|.....|...|...|....|....|"}},
};
// clang-format on

struct Font {
  std::array<Glyph, 128> glyphs{};
};

constexpr Glyph CutGlyph(const Band& band, std::size_t left, std::size_t right) {
  Glyph glyph;
  glyph.width = static_cast<int>(right - left);
  for (std::size_t row = 0; row < kGlyphRows; ++row) {
    for (std::size_t column = left; column < right; ++column) {
      const bool ink = band.rows[row][column] == '#';
      const auto bit = static_cast<std::uint8_t>(1u << (column - left));
      if (ink) glyph.rows[row] = static_cast<std::uint8_t>(glyph.rows[row] | bit);
    }
  }
  return glyph;
}

constexpr void AddBand(Font& font, const Band& band) {
  std::size_t left = 1;
  for (const char* name = band.names; *name != '\0'; ++name) {
    std::size_t right = left;
    while (band.rows[0][right] != '|') ++right;
    font.glyphs[static_cast<unsigned char>(*name)] = CutGlyph(band, left, right);
    left = right + 1;
  }
}

constexpr Font MakeFont() {
  Font font;
  for (const Band& band : kBands) AddBand(font, band);
  for (Glyph& glyph : font.glyphs) {
    if (glyph.width == 0) glyph = font.glyphs[static_cast<std::size_t>(kBoxName)];
  }
  return font;
}

constexpr Font kFont = MakeFont();

/// Part of a row or column, cut to 0..limit.
struct Span {
  std::int32_t first, end;
};

Span CutSpan(std::int64_t first, std::int64_t length, std::int32_t limit) {
  const auto cut = [limit](std::int64_t place) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(place, 0, limit));
  };
  return {cut(first), cut(first + length)};
}

/// Calls `paint(pixel)` for every pixel of the image with ink. A pixel is `pixelBytes` bytes long.
template <class Paint>
void ForInkPixels(ImageView image, int pixelBytes, int x, int yFromTop, std::string_view text,
                  int scale, Paint paint) {
  const auto paintSquare = [&](std::int64_t left, std::int64_t top) {
    const Span columns = CutSpan(left, scale, image.width);
    const Span rows = CutSpan(top, scale, image.height);
    for (std::int32_t y = rows.first; y < rows.end; ++y) {
      std::uint8_t* row = image.Row(image.height - 1 - y);
      for (std::int32_t at = columns.first; at < columns.end; ++at) {
        paint(row + std::ptrdiff_t{at} * pixelBytes);
      }
    }
  };
  std::int64_t left = x;
  for (const char character : text) {
    const Glyph& glyph = FindGlyph(character);
    for (int row = 0; row < kGlyphRows; ++row) {
      for (int column = 0; column < glyph.width; ++column) {
        if (!glyph.HasInk(column, row)) continue;
        paintSquare(left + std::int64_t{column} * scale, yFromTop + std::int64_t{row} * scale);
      }
    }
    left += std::int64_t{glyph.width + 1} * scale;
  }
}

}  // namespace

const Glyph& FindGlyph(char character) {
  const auto code = static_cast<unsigned char>(character);
  return kFont.glyphs[code < kFont.glyphs.size() ? code : static_cast<std::size_t>(kBoxName)];
}

int TextWidth(std::string_view text, int scale) {
  if (text.empty() || scale < 1) return 0;
  int columns = -1;  // no empty column behind the last glyph
  for (const char character : text) columns += FindGlyph(character).width + 1;
  return columns * scale;
}

int TextHeight(int scale) { return scale < 1 ? 0 : kGlyphRows * scale; }

void DrawCaption(ImageView bgr, int x, int yFromTop, std::string_view text, int scale,
                 std::array<std::uint8_t, 3> colour) {
  if (scale < 1) return;
  ForInkPixels(bgr, 3, x, yFromTop, text, scale,
               [&](std::uint8_t* pixel) { std::copy(colour.begin(), colour.end(), pixel); });
}

void DrawGrayCaption(ImageView gray, int x, int yFromTop, std::string_view text, int scale,
                     std::uint8_t level) {
  if (scale < 1) return;
  ForInkPixels(gray, 1, x, yFromTop, text, scale, [level](std::uint8_t* pixel) { *pixel = level; });
}

}  // namespace rastelo::steps
