// The device in memory that other systems draw on, beside the real one: the same pixels everywhere.
#include <gtest/gtest.h>

#include <array>

#include "platform/device_context.h"
#include "rastelo.h"
#include "rastelo_device.h"
#include "testing/host.h"
#include "testing/literal_image.h"

namespace {

/// Draws the same on both devices. Pictures of two kinds take turns, so that each draw shows.
class DevicePair {
 public:
  DevicePair(int width, int height, int pixelBytes)
      : images_{Noise(width, height, pixelBytes), Noise(width, height, pixelBytes)} {
    for (std::uint8_t& byte : images_[1].bytes) byte = static_cast<std::uint8_t>(~byte);
  }

  /// What the copies return is left out: nothing reads it, and the real device counts lines that
  /// end up outside in some cases and not in others.
  void Copy(const std::array<int, 4>& target, int sourceX, int sourceY, int first, int lines) {
    const auto [x, y, width, height] = target;
    const auto w = static_cast<DWORD>(width), h = static_cast<DWORD>(height);
    const auto from = static_cast<UINT>(first), count = static_cast<UINT>(lines);
    LiteralImage& image = NextImage();
    const std::uint8_t* bits = image.Pixels().Row(first);
    rastelo::platform::SetDIBitsToDevice(real_.Handle(), x, y, w, h, sourceX, sourceY, from, count,
                                         bits, Info(), DIB_RGB_COLORS);
    portable_.SetDIBitsToDevice(x, y, w, h, sourceX, sourceY, from, count, bits, Info(),
                                DIB_RGB_COLORS);
    ExpectEqual({x, y, width, height, sourceX, sourceY, first, lines});
  }

  /// `source` lies inside the picture: what comes from outside is left to the device's maker.
  void Stretch(int mode, const std::array<int, 4>& target, const std::array<int, 4>& source) {
    rastelo::platform::SetStretchBltMode(real_.Handle(), mode);
    portable_.SetStretchBltMode(mode);
    const auto [x, y, w, h] = target;
    const auto [sourceX, sourceY, sw, sh] = source;
    const std::uint8_t* bits = NextImage().bytes.data();
    EXPECT_EQ(rastelo::platform::StretchDIBits(real_.Handle(), x, y, w, h, sourceX, sourceY, sw, sh,
                                               bits, Info(), DIB_RGB_COLORS, SRCCOPY),
              portable_.StretchDIBits(x, y, w, h, sourceX, sourceY, sw, sh, bits, Info(),
                                      DIB_RGB_COLORS, SRCCOPY));
    ExpectEqual({mode, x, y, w, h, sourceX, sourceY, sw, sh});
  }

 private:
  static constexpr int kWidth = 13, kHeight = 11;

  LiteralImage& NextImage() { return images_[++turn_ % 2]; }
  const BITMAPINFO* Info() const {
    return BuildBitmapInfo(images_[0].width, images_[0].height,
                           static_cast<WORD>(images_[0].BitCount()));
  }
  void ExpectEqual(const std::vector<int>& call) {
    const unsigned char* real = real_.Surface();
    int differing = 0;
    for (int i = 0; i < kWidth * kHeight * 4; ++i)
      if (i % 4 < 3 && real[i] != portable_.Surface()[i]) ++differing;
    ASSERT_EQ(differing, 0) << images_[0] << testing::PrintToString(call);
  }

  std::array<LiteralImage, 2> images_;
  unsigned turn_ = 0;
  TestDevice real_{kWidth, kHeight};
  rastelo::MemoryDeviceContext portable_{kWidth, kHeight};
};

void ForDevicePairs(void (*draw)(DevicePair& pair, int width, int height)) {
  for (const int pixelBytes : {1, 3}) {
    for (const auto& [width, height] : {std::pair{1, 1}, {5, 4}, {7, 9}, {31, 2}, {40, 50}}) {
      DevicePair pair(width, height, pixelBytes);
      draw(pair, width, height);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

/// Rectangles inside, across and outside each border, empty ones, and mirroring ones.
template <class Draw>
void ForTargets(Draw draw) {
  for (const int x : {-20, -3, 0, 2, 9, 40})
    for (const int y : {-20, -2, 0, 3, 8, 40})
      for (const int w : {-7, -1, 0, 1, 6, 12, 30})
        for (const int h : {-7, -1, 0, 1, 5, 11, 30}) draw(std::array{x, y, w, h});
}

TEST(DeviceParity, CopiesShowTheSame) {
  ForDevicePairs([](DevicePair& pair, int /*width*/, int height) {
    ForTargets([&](const std::array<int, 4>& target) {
      for (const int sourceX : {-4, 0, 1, 3, 20})
        for (const int sourceY : {-4, 0, 1, 3, 20}) pair.Copy(target, sourceX, sourceY, 0, height);
    });
    for (int first = 0; first < height; ++first)
      for (const int sourceY : {-2, 0, 1, 3})
        pair.Copy({1, 2, 6, 5}, 0, sourceY, first, (height - first + 1) / 2);
  });
}

TEST(DeviceParity, StretchesShowTheSame) {
  ForDevicePairs([](DevicePair& pair, int width, int height) {
    // The mode that the library sets, the one that a device starts with, and its counterpart.
    for (const int mode : {COLORONCOLOR, BLACKONWHITE, WHITEONBLACK}) {
      ForTargets([&](const std::array<int, 4>& target) {
        pair.Stretch(mode, target, {0, 0, width, height});
        pair.Stretch(mode, target, {width / 3, height / 4, (width + 1) / 2, (height + 1) / 2});
      });
    }
  });
}

}  // namespace
