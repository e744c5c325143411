// Draws on a device: which area they show, what lands where, and that they allocate nothing.
#include <gtest/gtest.h>

#include <climits>

#include "device/surface_rows.h"
#include "platform/device_context.h"
#include "rastelo_device.h"
#include "testing/host.h"
#include "testing/object_state.h"
#include "tests/allocations.h"
#include "tests/kernel_check.h"

namespace {

/// The device's picture, bottom row first: 24 bits a pixel, or its blue bytes alone.
LiteralImage Shown(auto& device, int bytes) {
  LiteralImage image(device.Width(), device.Height(), bytes);
  const unsigned char* pixel = device.Surface();
  for (int y = image.height - 1; y >= 0; --y)
    for (int x = 0; x < image.width; ++x, pixel += 4)
      std::copy_n(pixel, bytes, image.Pixels().Row(y) + x * bytes);
  return image;
}

using Numbers = std::vector<int>;
/// The drawn area, then the pan offsets.
Numbers DrawState(const CRastelo& object) {
  const RECT area = rastelo::Inside::DrawnArea(object);
  const int dx = rastelo::Inside::PanX(object), dy = rastelo::Inside::PanY(object);
  return {area.left, area.top, area.right, area.bottom, dx, dy};
}

TEST(DrawImage, PansWithinTheImage) {
  // Sides of the image, of the rectangle from and to; step, offset kept, start of the area.
  const std::tuple<LONG, LONG, LONG, std::vector<Numbers>> cases[] = {
      {1000, 0, 400, {{0, 0, 300}, {50, 50, 350}, {300, 350, 600}, {-400, 50, 250}, {0, 50, 350}}},
      {1000, 0, 401, {{0, 0, 299}, {299, 299, 598}, {1, 300, 598}, {-600, 300, 0}}},
      {1000, 0, 400, {{-10, 10, 290}, {-10, 0, 300}, {-10, 10, 290}, {-310, 300, 0}}},
      {10, 3, 28, {{0, 0, 0}, {5, 5, 0}, {-12, 7, 0}}},
      {1000, 0, 400, {{INT_MIN, INT_MAX, 0}, {INT_MAX, INT_MAX, 600}, {INT_MIN, 1, 299}}},
      {1000, -1, INT_MAX, {{0, 0, 0}, {5, 5, 0}}},
  };
  for (const auto& [imageSide, from, to, steps] : cases) {
    const int side = static_cast<int>(std::int64_t{to} - from);  // wraps
    CRastelo object = ObjectWith({imageSide, imageSide, 1});
    RECT rc{from, from, to, to};
    for (const Numbers& s : steps) {
      EXPECT_EQ(object.DrawImage(nullptr, &rc, s[0], s[0], nullptr), 1);
      const Numbers expected = {s[2], s[2], s[2] + side, s[2] + side, s[1], s[1]};
      EXPECT_EQ(DrawState(object), expected) << "step " << s[0] << ", rectangle to " << to;
    }
  }
}

TEST(DrawImage, RecordsOneToOneDrawsOnly) {
  CRastelo object = ObjectWith(Noise(20, 10, 3));
  TestDevice device(20, 10);
  RECT rc{3, 4, 13, 8}, whole{0, 0, 20, 10};
  EXPECT_EQ(object.DrawImage(device.Handle(), &rc, 2, -1, nullptr), 1);
  EXPECT_EQ(object.DrawImage(device.Handle(), &whole, true), 10);
  EXPECT_EQ(Shown(device, 3), Noise(20, 10, 3));
  EXPECT_EQ(object.DrawImage(nullptr, &whole, true), 0);
  EXPECT_EQ(object.DrawImage(device.Handle(), nullptr, true), 0);
  EXPECT_EQ(object.DrawImage(device.Handle(), nullptr, 1, 1, nullptr), 1);
  EXPECT_EQ(DrawState(object), (Numbers{7, 2, 17, 6, 2, 1}));
  EXPECT_EQ(object.DrawImage(device.Handle(), &rc, false), 1);
  EXPECT_EQ(DrawState(object), (Numbers{7, 4, 17, 8, 2, 1})) << "both offsets as they stand";
}

TEST(DrawImage, SetsTheStretchModeBehindABmpFile) {
  const std::string path = TestFolder() + "gray.bmp";
  CRastelo object = ObjectWith(Noise(5, 4));
  ASSERT_EQ(object.SaveAs(path.c_str()), 1);
  TestDevice device(5, 4);
  EXPECT_EQ(object.DrawImage(device.Handle(), nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(object.OpenImage(path.c_str()), 1);
  const long before = allocations::Count();
  RECT rc{-1, 0, 9, 4};
  for (int i = 0; i < 1000000; ++i) {
    EXPECT_EQ(object.DrawImage(device.Handle(), nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(rastelo::platform::SetStretchBltMode(device.Handle(), i % 4 + 1), COLORONCOLOR);
    object.DrawImage(device.Handle(), &rc, true);
    object.DrawImage(device.Handle(), &rc, 1, -1, nullptr);
  }
  EXPECT_EQ(allocations::Count(), before) << "a draw allocates nothing";

  object.Close();
  LiteralImage shown = Shown(device, 3);
  EXPECT_EQ(object.DrawImage(device.Handle(), nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(object.DrawImage(device.Handle(), &rc, true), 0);
  EXPECT_EQ(object.DrawImage(device.Handle(), &rc, 0, 0, Noise(5, 4).bytes.data()), 1);
  EXPECT_EQ(Shown(device, 3), shown) << "nothing is drawn without an image";
}

TEST(DrawImage, ShowsEachPixelAtItsPlace) {
  TestDevice device(11, 9);
  LiteralImage expected(11, 9, 3);
  for (int i = 0; i < 4 * 9 * 12; ++i) {
    const int bytes = i % 2 * 2 + 1, width = i / 4 % 9 + 1, height = i / 36;
    LiteralImage image = Noise(width, height, bytes);
    CRastelo object = ObjectWith(i / 2 % 2 ? image : LiteralImage(width, height, bytes));
    unsigned char* bits = i / 2 % 2 ? nullptr : image.bytes.data();
    for (int k = 0; k < 11 * 11; ++k) {
      const int left = k % 11 * 2 - 8, top = k / 11 * 2 - 8, w = i % 13 - 1, h = i % 11 - 1;
      RECT rc{left, top, left + w, top + h};
      object.DrawImage(device.Handle(), &rc, 1, -1, bits);
      const RECT area = rastelo::Inside::DrawnArea(object);
      for (int p = 0; p < width * height; ++p) {
        const int x = p % width - area.left, y = area.bottom - 1 - p / width;
        const auto isOn = [](int i, int side) { return i >= 0 && i < side; };
        if (!isOn(x, w) || !isOn(y, h) || !isOn(left + x, 11) || !isOn(top + y, 9)) continue;
        const std::uint8_t* from = image.Pixels().Row(p / width) + p % width * bytes;
        std::uint8_t* to = expected.Pixels().Row(8 - top - y) + (left + x) * 3;
        for (int c = 0; c < 3; ++c) to[c] = from[c % bytes];
      }
      ASSERT_EQ(Shown(device, 3), expected) << image << "at " << left << ", " << top;
    }
  }
}

/// Copies lines in mode 0, stretches in the others. `n` holds the numbers of either call in order.
int Call(rastelo::MemoryDeviceContext& to, int mode, const Numbers& n, const void* bits,
         const BITMAPINFO* info = BuildBitmapInfo(3, 3, 8)) {
  if (mode == 0)
    return to.SetDIBitsToDevice(n[0], n[1], DWORD(n[2]), DWORD(n[3]), n[4], n[5], UINT(n[6]),
                                UINT(n[7]), bits, info, DIB_RGB_COLORS);
  to.SetStretchBltMode(mode);
  return to.StretchDIBits(n[0], n[1], n[2], n[3], n[4], n[5], n[6], n[7], bits, info, 0, SRCCOPY);
}

/// Whether a draw from `start` on, `side` long, reaches a pixel. Only stretches go backwards.
bool Covers(int mode, std::int64_t start, std::int64_t side, int pixel) {
  const bool isBackward = mode != 0 && side < 0;
  const std::int64_t first = isBackward ? start + side + 1 : start;
  return pixel >= first && pixel < (isBackward ? start + 1 : start + side);
}

TEST(MemoryDevice, CopiesAndStretches) {
  LiteralImage bitmap{{17, 18, 19}, {20, 29, 22}, {23, 24, 25}};
  const std::tuple<int, Numbers, int, LiteralImage> cases[] = {
      {0, {0, 0, 3, 3, -1, -1, 0, 1}, 1, {{1, 1, 1}, {1, 17, 18}, {1, 1, 1}}},
      {0, {0, 0, 3, 3, 0, 0, 1, 9}, 2, {{1, 1, 1}, {20, 29, 22}, {23, 24, 25}}},
      {BLACKONWHITE, {0, 0, 1, 1, 0, 0, 3, 3}, 3, {{1, 1, 1}, {1, 1, 1}, {16, 1, 1}}},
      {WHITEONBLACK, {0, 0, 1, 1, 0, 0, 3, 3}, 3, {{1, 1, 1}, {1, 1, 1}, {31, 1, 1}}},
      {COLORONCOLOR, {0, 0, 1, 1, 0, 0, 3, 3}, 3, {{1, 1, 1}, {1, 1, 1}, {25, 1, 1}}},
      {HALFTONE, {0, 0, 1, 3, 0, 0, 3, 3}, 3, {{18, 1, 1}, {23, 1, 1}, {24, 1, 1}}},
      {BLACKONWHITE, {-2, -2, 9, 9, 0, 0, 3, 3}, 3, {{20, 29, 29}, {20, 29, 29}, {23, 24, 24}}},
      {HALFTONE, {0, 0, 3, 3, 1, 1, 3, 3}, 3, {{29, 22, 1}, {24, 25, 1}, {1, 1, 1}}},
      {COLORONCOLOR, {2, 0, -3, 3, 0, 0, 3, 3}, 3, {{19, 18, 17}, {22, 29, 20}, {25, 24, 23}}},
      {HALFTONE, {0, 2, 3, -3, 0, 0, 3, 3}, 3, {{23, 24, 25}, {20, 29, 22}, {17, 18, 19}}},
  };
  for (const auto& [mode, n, lines, shown] : cases) {
    rastelo::MemoryDeviceContext device(3, 3);
    std::fill_n(device.Surface(), 4 * 3 * 3, 1);
    EXPECT_EQ(Call(device, mode, n, bitmap.Pixels().Row(mode == 0 ? n[6] : 0)), lines);
    EXPECT_EQ(Shown(device, 1), shown) << mode << ": " << testing::PrintToString(n);
    EXPECT_EQ(Call(device, mode, n, nullptr), 0);
    EXPECT_EQ(Call(device, mode, n, bitmap.bytes.data(), BuildBitmapInfo(3, 3, 16)), 0);
  }
}

TEST(MemoryDevice, StretchesPixelsOfColourAsItDoesThoseOfAPalette) {
  LiteralImage levels = Noise(300, 7), colours(300, 7, 3);
  for (int i = 0; i < 300 * 7; ++i) {
    const std::uint8_t level = levels.Pixels().Row(i / 300)[i % 300];
    std::uint8_t* colour = colours.Pixels().Row(i / 300) + i % 300 * 3;
    for (int c = 0; c < 3; ++c) colour[c] = static_cast<std::uint8_t>(level ^ c * 85);
  }
  const auto* ramp = reinterpret_cast<const unsigned char*>(BuildBitmapInfo(300, 7, 8));
  std::vector<unsigned char> palette(ramp, ramp + 1064);
  for (std::size_t i = 40; i < palette.size(); ++i)
    palette[i] ^= static_cast<unsigned char>(i % 4 * 85);
  OnEveryTarget([&] {
    for (const int width : {-1100, -401, 9, 75, 151, 225, 299, 512, 1100}) {  // up to 1.09 MiB
      rastelo::MemoryDeviceContext ours(1100, 260), expected(1100, 260);
      const Numbers n = {width < 0 ? 1090 : 5, 0, width, 260, -3, 0, 305, 7};
      Call(ours, COLORONCOLOR, n, colours.bytes.data(), BuildBitmapInfo(300, 7, 24));
      Call(expected, COLORONCOLOR, n, levels.bytes.data(),
           reinterpret_cast<const BITMAPINFO*>(palette.data()));
      ASSERT_TRUE(Shown(ours, 3) == Shown(expected, 3)) << width;
    }
  });
}

TEST(MemoryDevice, SurvivesAnyArguments) {
  const int values[] = {INT_MIN, -1, 2, INT_MAX};
  for (int i = 0; i < 4 << 16; ++i) {
    rastelo::MemoryDeviceContext device(i % 2 * 3, i / 2 % 2 * 3);
    Numbers n;
    for (int shift = 2; shift < 18; shift += 2) n.push_back(values[i >> shift & 3]);
    for (int mode : {0, WHITEONBLACK, COLORONCOLOR}) {
      std::fill_n(device.Surface(), 4 * device.Width() * device.Height(), 1);
      const int lines = Call(device, mode, n, "4 x 3 bytes");
      ASSERT_TRUE(lines >= 0 && lines <= 3) << testing::PrintToString(n);
      for (int at = 0; at < device.Width() * device.Height(); ++at) {
        const bool isTarget =
            Covers(mode, n[0], n[2], at % 3) && Covers(mode, n[1], n[3], at / 3);
        ASSERT_TRUE(isTarget || *device.Pixel(at % 3, at / 3) == 1) << testing::PrintToString(n);
      }
    }
  }
}

TEST(BuildBitmapInfo, HoldsAGrayRamp) {
  const auto* record = reinterpret_cast<const unsigned char*>(BuildBitmapInfo(5, 7, 8));
  const BITMAPINFOHEADER header = {40, 5, 7, 1, 8, 0, 0, 0, 0, 0, 0};
  std::vector<unsigned char> expected(1064);
  std::copy_n(reinterpret_cast<const unsigned char*>(&header), 40, expected.begin());
  for (std::size_t i = 0; i < 4 * 256; ++i)
    if (i % 4 < 3) expected[40 + i] = static_cast<unsigned char>(i / 4);
  EXPECT_EQ(std::vector<unsigned char>(record, record + 1064), expected);
}

TEST(WidenPixels, PutsAZeroBehindEachOnEveryTarget) {
  const auto widen = [](auto bgr, auto surface) {
    for (std::int32_t y = 0; y < bgr.height; ++y)
      for (std::int32_t i = 0; i < 4 * bgr.width; ++i)
        surface.Row(y)[i] =
            i % 4 == 3 ? std::uint8_t{0} : bgr.Row(y)[std::ptrdiff_t{3} * (i / 4) + i % 4];
  };
  ExpectSameTarget(
      3, [](const TestPicture& bgr) { return bgr.Blank(bgr.width, bgr.height, 4); },
      [](auto bgr, auto surface) { rastelo::WidenPixels(bgr, surface.Row(0), surface.pitch); },
      widen);
  // Past the caches, upwards as devices are drawn on, rows at any alignment.
  const TestPicture large = MakePicture(1031, 260, 3, Content::kNoise);
  TestPicture expected = large.Blank(1031, 260, 4);
  rastelo::ImageView upwards{expected.Pixels().Row(259), 1031, 260, -expected.Pixels().pitch};
  widen(large.Pixels(), upwards);
  OnEveryTarget([&] {
    TestPicture surface = large.Blank(1031, 260, 4);
    rastelo::WidenPixels(large.Pixels(), surface.Pixels().Row(259), upwards.pitch);
    EXPECT_TRUE(surface.bits == expected.bits);
  });
}

}  // namespace
