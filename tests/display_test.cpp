// Draws on a device: which area they show, what lands where, and that they allocate nothing.
#include <gtest/gtest.h>

#include "device/surface_rows.h"
#include "platform/device_context.h"
#include "rastelo_device.h"
#include "testing/object_state.h"
#include "tests/faults.h"
#include "tests/kernel_check.h"

namespace {

/// The device's picture, bottom row first: 24 bits a pixel, or its blue bytes alone.
LiteralImage Shown(auto& device, int bytes) {
  LiteralImage image(device.Width(), device.Height(), bytes);
  const unsigned char* pixel = device.Surface();
  for (int i = 0; i < image.Count(); ++i)
    std::copy_n(pixel + 4 * i, bytes,
                &image.At(i % image.width * bytes, image.height - 1 - i / image.width));
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
      {1000, 0, 400, {{INT32_MIN, INT32_MAX, 0}, {INT32_MAX, INT32_MAX, 600}, {INT32_MIN, 1, 299}}},
      {1000, -1, INT32_MAX, {{0, 0, 0}, {5, 5, 0}}},
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
  const std::string path = PictureFile("gray.bmp", Noise(5, 4));
  CRastelo object = ObjectWith(Noise(5, 4));
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
        for (int c = 0; c < 3; ++c)
          expected.At((left + x) * 3 + c, 8 - top - y) =
              image.At(p % width * bytes + c % bytes, p / width);
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
  for (int i = 0; i < 3 * 300 * 7; ++i)
    colours.At(i % 900, i / 900) = std::uint8_t(levels.At(i / 3) ^ i % 3 * 85);
  const auto* ramp = reinterpret_cast<const unsigned char*>(BuildBitmapInfo(300, 7, 8));
  std::vector<unsigned char> palette(ramp, ramp + 1064);
  for (std::size_t i = 40; i < palette.size(); ++i) palette[i] ^= std::uint8_t(i % 4 * 85);
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
  const int values[] = {INT32_MIN, -1, 2, INT32_MAX};
  for (int i = 0; i < 4 << 16; ++i) {
    rastelo::MemoryDeviceContext device(i % 2 * 3, i / 2 % 2 * 3);
    Numbers n;
    for (int shift = 2; shift < 18; shift += 2) n.push_back(values[i >> shift & 3]);
    for (int mode : {0, WHITEONBLACK, COLORONCOLOR}) {
      std::fill_n(device.Surface(), 4 * device.Width() * device.Height(), 1);
      const int lines = Call(device, mode, n, "4 x 3 bytes");
      ASSERT_TRUE(lines >= 0 && lines <= 3) << testing::PrintToString(n);
      for (int at = 0; at < device.Width() * device.Height(); ++at)
        ASSERT_TRUE(*device.Pixel(at % 3, at / 3) == 1 ||
                    (Covers(mode, n[0], n[2], at % 3) && Covers(mode, n[1], n[3], at / 3)))
            << mode << testing::PrintToString(n);
    }
  }
}

TEST(BuildBitmapInfo, HoldsAGrayRamp) {
  const auto* record = reinterpret_cast<const unsigned char*>(BuildBitmapInfo(5, 7, 8));
  Bytes expected = {40, 0, 0, 0, 5, 0, 0, 0, 7, 0, 0, 0, 1, 0, 8};
  expected.resize(40);
  for (int i = 0; i < 4 * 256; ++i) expected.push_back(std::uint8_t(i % 4 == 3 ? 0 : i / 4));
  EXPECT_EQ(Bytes(record, record + 1064), expected);
}

TEST(WidenPixels, PutsAZeroBehindEachOnEveryTarget) {
  const auto widen = [](auto bgr, auto surface) {
    for (int y = 0; y < bgr.height; ++y)
      for (int i = 0; i < 4 * bgr.width; ++i)
        surface.Row(y)[i] = i % 4 == 3 ? std::uint8_t{0} : bgr.Row(y)[3 * (i / 4) + i % 4];
  };
  const auto ours = [](auto bgr, auto surface) {
    rastelo::WidenPixels(bgr, surface.Row(0), surface.pitch);
  };
  ExpectSameTarget(
      3, [](const LiteralImage& bgr) { return Noise(bgr.width, bgr.height, 4); }, ours, widen);
  // Past the caches, upwards as devices are drawn on, rows at any alignment.
  const auto upwards = [](auto write) {
    return [=](auto bgr, auto surface) {
      write(bgr, rastelo::ImageView{surface.Row(259), 1031, 260, -surface.pitch});
    };
  };
  ExpectSameTarget(Noise(1031, 260, 3), Noise(1031, 260, 4), upwards(ours), upwards(widen));
}

}  // namespace
