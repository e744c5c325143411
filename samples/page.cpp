#include <string>
#include <string_view>

#include "samples/canvas.h"
#include "samples/noise.h"
#include "steps/plot/draw_text.h"

namespace rastelo::samples {
namespace {

constexpr int kWidth = 600, kHeight = 450;
constexpr int kFine = 4;  // the page is set on a grid this many times finer than the picture
constexpr int kLeft = 40 * kFine, kRight = 560 * kFine;
constexpr int kBodyScale = 5, kTitleScale = 13;
constexpr int kLineStep = 15 * kFine + 2;

constexpr std::string_view kOpening =
    "A picture is a record of light. Every point of it tells how much reached one small place "
    "behind the lens, and nothing else: neither what the thing was made of, nor how brightly it "
    "was lit. A gray stone in the sun and a white wall at dusk may leave the same trace.";
constexpr std::string_view kMiddle =
    "The eye forgives this. We read a page by the window without noticing that its far edge is "
    "five times darker than the near one, because we compare each letter with the paper around "
    "it. A machine that only asks \"is this point dark?\" loses every word in the shade; it has "
    "to learn first what white means in each column.";
constexpr std::string_view kClosing =
    "To find that white, follow a column from top to bottom and keep its brightest points. "
    "Divide by them, and the whole page lies in even light again: paper at 100%, ink near 25%.";

/// Ink on the fine grid: 0 is bare paper, 255 full ink.
Picture MakeInk() { return {kWidth * kFine, kHeight * kFine, 8}; }

void FillBar(Picture& ink, int left, int top, int width, int height, std::uint8_t level) {
  for (int y = top; y < top + height; ++y) {
    for (int x = left; x < left + width; ++x) ink.At(x, y)[0] = level;
  }
}

std::vector<std::string> SplitWords(std::string_view text) {
  std::vector<std::string> words(1);
  for (const char character : text) {
    if (character == ' ') {
      words.emplace_back();
    } else {
      words.back() += character;
    }
  }
  return words;
}

void SetText(Picture& ink, int x, int y, std::string_view text, int scale) {
  steps::DrawGrayCaption(ink.Pixels(), x, y, text, scale, 255);
}

using Words = std::vector<std::string>;

int MeasureWords(const Words& words) {
  int width = 0;
  for (const std::string& word : words) width += steps::TextWidth(word, kBodyScale);
  return width;
}

/// Sets words in one line; the gaps share what is left of the measure.
void SetFullLine(Picture& ink, const Words& words, int left, int right, int y) {
  const int spare = right - left - MeasureWords(words);
  const int gaps = std::max(1, static_cast<int>(words.size()) - 1);
  int set = 0, gap = 0;
  for (const std::string& word : words) {
    SetText(ink, left + set + spare * gap++ / gaps, y, word, kBodyScale);
    set += steps::TextWidth(word, kBodyScale);
  }
}

void SetLastLine(Picture& ink, const Words& words, int left, int y) {
  for (const std::string& word : words) {
    SetText(ink, left, y, word, kBodyScale);
    left += steps::TextWidth(word, kBodyScale) + 5 * kBodyScale;
  }
}

/// Sets a paragraph flush on both sides, its first line indented. @return where the next one goes.
int SetParagraph(Picture& ink, std::string_view text, int y) {
  int left = kLeft + 14 * kFine;
  Words line;
  for (const std::string& word : SplitWords(text)) {
    line.push_back(word);
    const int smallestGaps = (static_cast<int>(line.size()) - 1) * 4 * kBodyScale;
    if (MeasureWords(line) + smallestGaps <= kRight - left) continue;
    line.pop_back();
    SetFullLine(ink, line, left, kRight, y);
    line = {word};
    left = kLeft;
    y += kLineStep;
  }
  SetLastLine(ink, line, left, y);
  return y + kLineStep + 5 * kFine;
}

void SetCentred(Picture& ink, int left, int right, int y, std::string_view text, int scale) {
  SetText(ink, (left + right - steps::TextWidth(text, scale)) / 2, y, text, scale);
}

/// A drawn distribution of gray levels, ink on the left and paper on the right.
void DrawFigure(Picture& bars, Picture& text, int top) {
  constexpr int kFigureLeft = kLeft + 8 * kFine, kBars = 44, kStep = 5 * kFine;
  const int base = top + 84 * kFine;
  for (int bar = 0; bar < kBars; ++bar) {
    const auto at = static_cast<float>(bar);
    const float dark = 26 * std::exp(-std::pow((at - 9) / 4.5f, 2.0f));
    const float light = 74 * std::exp(-std::pow((at - 33) / 5.5f, 2.0f));
    const float height = dark + light + 2 + 2.5f * SampleNoise(at * 0.9f, 0.5f, 5);
    const int rows = static_cast<int>(std::max(1.0f, height) * kFine);
    FillBar(bars, kFigureLeft + bar * kStep, base - rows, kStep - kFine, rows, 190);
  }
  FillBar(bars, kFigureLeft - 6, base, kBars * kStep + 12, 5, 235);
  FillBar(bars, kFigureLeft - 6, top, 5, base - top, 235);
  const int right = kFigureLeft + kBars * kStep;
  SetText(text, kFigureLeft, base + 5 * kFine, "0", kBodyScale);
  SetText(text, right - steps::TextWidth("255", kBodyScale), base + 5 * kFine, "255", kBodyScale);
  SetCentred(text, kFigureLeft, right, base + 5 * kFine, "Fig. 1: ink < paper", kBodyScale);
}

void DrawTable(Picture& bars, Picture& text, int top) {
  constexpr int kTableLeft = 308 * kFine, kRowStep = 17 * kFine;
  constexpr int kColumns[] = {kTableLeft + 6 * kFine, 408 * kFine, 490 * kFine};
  constexpr const char* kCells[][3] = {{"Light", "Lux", "Shutter"},
                                       {"Full sun", "100000", "1/500 s"},
                                       {"Overcast", "12000", "1/60 s"},
                                       {"Office", "500", "1/4 s"},
                                       {"Candle", "10", "12 s"}};
  int y = top + 5 * kFine;
  for (const auto& row : kCells) {
    for (int column = 0; column < 3; ++column) {
      SetText(text, kColumns[column], y, row[column], kBodyScale);
    }
    y += kRowStep;
  }
  const int bottom = top + 5 * kRowStep + 3 * kFine;
  for (const int rule : {top, top + kRowStep, bottom}) {
    FillBar(bars, kTableLeft, rule, kRight - kTableLeft, rule == top + kRowStep ? 4 : 7, 235);
  }
  for (const int rule : {400 * kFine, 482 * kFine}) FillBar(bars, rule, top, 3, bottom - top, 215);
  SetCentred(text, kTableLeft, kRight, bottom + 6 * kFine, "Table 1: exposure at f/8", kBodyScale);
}

/// Means over 2 * radius + 1 samples, `step` bytes apart.
void BlurLine(std::uint8_t* line, int count, std::ptrdiff_t step, int radius) {
  std::vector<std::uint8_t> before(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) before[std::size_t(i)] = line[i * step];
  const auto look = [&](int i) -> int { return i < 0 || i >= count ? 0 : before[std::size_t(i)]; };
  const int share = 2 * radius + 1;
  int sum = share / 2;
  for (int i = -radius; i < radius; ++i) sum += look(i);
  for (int i = 0; i < count; ++i) {
    sum += look(i + radius);
    line[i * step] = static_cast<std::uint8_t>(sum / share);
    sum -= look(i - radius);
  }
}

/// Rounds the corners of letters, as ink does when it soaks in: blur, then a steep step.
void RoundInk(Picture& ink, int radius) {
  for (int pass = 0; pass < 2; ++pass) {
    for (int y = 0; y < ink.height; ++y) BlurLine(ink.At(0, y), ink.width, 1, radius);
    for (int x = 0; x < ink.width; ++x) {
      BlurLine(ink.Pixels().Row(0) + x, ink.height, ink.pitch, radius);
    }
  }
  for (std::uint8_t& level : ink.bits) {
    level = RoundLevel(255 * SmoothStep(82, 132, static_cast<float>(level)));
  }
}

void PressInk(Picture& onto, const Picture& ink) {
  for (std::size_t i = 0; i < onto.bits.size(); ++i) {
    onto.bits[i] = std::max(onto.bits[i], ink.bits[i]);
  }
}

Picture SetPage() {
  Picture title = MakeInk(), text = MakeInk(), page = MakeInk();
  SetText(title, kLeft, 24 * kFine, "The Measure of Light", kTitleScale);
  RoundInk(title, 4);
  SetText(text, kLeft, 58 * kFine, "Notes on pictures, paper and the eye", kBodyScale);
  const std::string_view number = "No. 7";
  SetText(text, kRight - steps::TextWidth(number, kBodyScale), 58 * kFine, number, kBodyScale);
  FillBar(page, kLeft, 74 * kFine, kRight - kLeft, 6, 235);
  int y = SetParagraph(text, kOpening, 85 * kFine);
  y = SetParagraph(text, kMiddle, y);
  DrawFigure(page, text, y + 2 * kFine);
  DrawTable(page, text, y + 2 * kFine);
  SetParagraph(text, kClosing, y + 112 * kFine);
  SetCentred(text, kLeft, kRight, 431 * kFine, "- 12 -", kBodyScale);
  RoundInk(text, 1);
  PressInk(page, title);
  PressInk(page, text);
  return page;
}

/// The light on a column, 0..1: bright on the left, dark on the right, with bands of shade as the
/// bars of a window throw them.
float LightColumn(float x) {
  const float u = x / kWidth;
  float light = MixLevels(1.0f, 0.2f, SmoothStep(0.02f, 1.02f, u));
  const struct {
    float centre, width, depth;
  } bands[] = {
      {128, 11, 0.34f}, {246, 9, 0.3f}, {262, 5, 0.18f}, {391, 13, 0.36f}, {505, 8, 0.25f}};
  for (const auto& band : bands) {
    light *= 1 - band.depth * std::exp(-std::pow((x - band.centre) / band.width, 4.0f));
  }
  return light * (1 + 0.02f * SampleNoise(x / 7, 0.5f, 31));
}

/// The share of light that bare paper throws back: fibres, and a few specks.
float ReflectPaper(float x, float y) {
  const float cloud = 0.012f * SampleFractal(x / 40, y / 40, 3, 41);
  const float fibre = 0.022f * SampleFractal(x / 1.6f, y / 5, 2, 43);
  const float speck = 0.2f * SmoothStep(0.98f, 1.25f, SampleNoise(x / 1.7f, y / 1.7f, 47));
  return 0.95f + cloud + fibre - speck;
}

}  // namespace

Picture PaintPage() {
  Picture ink = SetPage();
  Canvas<float> canvas(kWidth, kHeight, kFine);
  canvas.Paint(canvas.All(), [&](float x, float y, float& level) {
    const auto column = static_cast<int>(x), row = static_cast<int>(y);
    const std::uint8_t* pixel = ink.At(static_cast<int>(x * kFine), static_cast<int>(y * kFine));
    const float coverage = static_cast<float>(*pixel) / 255;
    const float uneven = 0.04f * SampleNoise(x / 3, y / 3, 51);  // ink is never quite even
    const float middle = static_cast<float>(column) + 0.5f;
    const float paper = ReflectPaper(x, y);
    const float reflected = paper * (1 - coverage * (0.76f + uneven));
    const float grain = static_cast<float>(HashCell(column, row, 61) >> 24) / 255 - 0.5f;
    level = 252 * LightColumn(middle) * reflected + 2.5f * grain;
  });
  return FinishPicture(canvas);
}

}  // namespace rastelo::samples
