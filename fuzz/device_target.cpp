#include <vector>

#include "fuzz/input.h"
#include "fuzz/targets.h"
#include "pixels/image_view.h"
#include "rastelo.h"
#include "rastelo_device.h"

namespace {

constexpr int kDepths[] = {8, 24, 1, 32};

/// Any value, or one that is close to the device.
int Number(fuzz::Input& input) { return input.Flip() ? input.Take<int>() : input.Between(-20, 40); }

}  // namespace

void fuzz::DrawOnDevice(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  rastelo::MemoryDeviceContext device(input.Between(-1, 33), input.Between(-1, 33));
  for (int draws = 0; draws < 20 && !input.AtEnd(); ++draws) {
    const int width = input.Between(0, 9), height = input.Between(0, 9);
    const int bitCount = input.Pick(kDepths);
    std::vector<unsigned char> bits(
        static_cast<std::size_t>(rastelo::Pitch(width, bitCount) * height));
    BITMAPINFO* info = BuildBitmapInfo(width, height, static_cast<WORD>(bitCount));
    if (input.Between(0, 9) == 0) info->bmiHeader.biHeight = Number(input);
    // Heights beyond the rows that there are would be the host's own fault.
    if (info->bmiHeader.biHeight > height) info->bmiHeader.biHeight = height;
    int n[8];
    for (int& number : n) number = Number(input);
    device.SetStretchBltMode(Number(input));
    // A stretch of a side of 2^31 pixels to few is read in full by the averaging modes.
    if (input.Flip()) {
      device.StretchDIBits(n[0], n[1], n[2], n[3], n[4], n[5], n[6], n[7], bits.data(), info,
                           DIB_RGB_COLORS, SRCCOPY);
    } else {
      const auto first = static_cast<UINT>(input.Between(0, height));
      device.SetDIBitsToDevice(n[0], n[1], static_cast<DWORD>(n[2]), static_cast<DWORD>(n[3]), n[4],
                               n[5], first, static_cast<UINT>(height) - first,
                               bits.data() + rastelo::Pitch(width, bitCount) * first, info,
                               DIB_RGB_COLORS);
    }
  }
}
