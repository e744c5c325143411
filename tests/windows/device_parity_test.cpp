// The device in memory that other systems draw on, beside the real one: the same pixels everywhere.
#include <gtest/gtest.h>

#include <array>

#include "platform/device_context.h"
#include "rastelo.h"
#include "rastelo_device.h"
#include "testing/host.h"
#include "testing/literal_image.h"

namespace {

/// Draws the same on both devices. Pictures of two kinds alternate, so that each draw shows.
class DevicePair {
 public:
  DevicePair(int width, int height, int pixelBytes)
      : images_{Noise(width, height, pixelBytes), Noise(width, height, pixelBytes)} {
    for (std::uint8_t& byte : images_[1].bytes) byte ^= 255;
  }

  /// Copies lines in mode 0, stretches in the others; `n` holds the numbers of either call in
  /// order. What copies return is left out: nothing reads it, and the real device counts lines that
  /// end up outside in some cases and not in others. A stretch takes what lies inside the picture:
  /// what comes from outside is left to the device's maker.
  void Draw(int mode, const std::array<int, 8>& n) {
    LiteralImage& image = images_[++draws_ % 2];
    const BITMAPINFO* info = BuildBitmapInfo(image.width, image.height, WORD(image.BitCount()));
    const std::uint8_t* bits = image.Pixels().Row(mode == 0 ? n[6] : 0);
    if (mode == 0) {
      const auto w = DWORD(n[2]), h = DWORD(n[3]);
      const auto first = UINT(n[6]), lines = UINT(n[7]);
      rastelo::platform::SetDIBitsToDevice(real_.Handle(), n[0], n[1], w, h, n[4], n[5], first,
                                           lines, bits, info, DIB_RGB_COLORS);
      portable_.SetDIBitsToDevice(n[0], n[1], w, h, n[4], n[5], first, lines, bits, info,
                                  DIB_RGB_COLORS);
    } else {
      rastelo::platform::SetStretchBltMode(real_.Handle(), mode);
      portable_.SetStretchBltMode(mode);
      EXPECT_EQ(rastelo::platform::StretchDIBits(real_.Handle(), n[0], n[1], n[2], n[3], n[4], n[5],
                                                 n[6], n[7], bits, info, DIB_RGB_COLORS, SRCCOPY),
                portable_.StretchDIBits(n[0], n[1], n[2], n[3], n[4], n[5], n[6], n[7], bits, info,
                                        DIB_RGB_COLORS, SRCCOPY));
    }
    const unsigned char* shown = real_.Surface();
    for (int i = 0; i < 13 * 11 * 4; ++i)
      ASSERT_TRUE(i % 4 == 3 || shown[i] == portable_.Surface()[i])
          << image << mode << testing::PrintToString(n);
  }

 private:
  LiteralImage images_[2];
  unsigned draws_ = 0;
  TestDevice real_{13, 11};
  rastelo::MemoryDeviceContext portable_{13, 11};
};

void ForDevicePairs(void (*draw)(DevicePair& pair, int width, int height)) {
  for (const int pixelBytes : {1, 3})
    for (const auto& [width, height] : {std::pair{1, 1}, {5, 4}, {7, 9}, {31, 2}, {40, 50}}) {
      DevicePair pair(width, height, pixelBytes);
      draw(pair, width, height);
      if (testing::Test::HasFatalFailure()) return;
    }
}

/// Rectangles inside, across and outside each border, empty ones, and mirroring ones.
void ForTargets(auto draw) {
  for (const int x : {-20, -3, 0, 2, 9, 40})
    for (const int y : {-20, -2, 0, 3, 8, 40})
      for (const int w : {-7, -1, 0, 1, 6, 12, 30})
        for (const int h : {-7, -1, 0, 1, 5, 11, 30}) draw(x, y, w, h);
}

TEST(DeviceParity, CopiesShowTheSame) {
  ForDevicePairs([](DevicePair& pair, int /*width*/, int height) {
    ForTargets([&](int x, int y, int w, int h) {
      for (const int sourceX : {-4, 0, 1, 3, 20})
        for (const int sourceY : {-4, 0, 1, 3, 20})
          pair.Draw(0, {x, y, w, h, sourceX, sourceY, 0, height});
    });
    for (int first = 0; first < height; ++first)
      for (const int sourceY : {-2, 0, 1, 3})
        pair.Draw(0, {1, 2, 6, 5, 0, sourceY, first, (height - first + 1) / 2});
  });
}

TEST(DeviceParity, StretchesShowTheSame) {
  ForDevicePairs([](DevicePair& pair, int width, int height) {
    // The mode that the library sets, the one that a device starts with, and its counterpart.
    for (const int mode : {COLORONCOLOR, BLACKONWHITE, WHITEONBLACK})
      ForTargets([&](int x, int y, int w, int h) {
        pair.Draw(mode, {x, y, w, h, 0, 0, width, height});
        pair.Draw(mode, {x, y, w, h, width / 3, height / 4, (width + 1) / 2, (height + 1) / 2});
      });
  });
}

}  // namespace
