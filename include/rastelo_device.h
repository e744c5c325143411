#ifndef RASTELO_DEVICE_H
#define RASTELO_DEVICE_H

/// Devices to draw on for systems other than Windows, included by rastelo_platform.h there.

#include <vector>

#include "rastelo_platform.h"

namespace rastelo {

/// Something to draw on. A host derives its own, or uses MemoryDeviceContext. What a host's own
/// throws ends at the library, as a draw that gives 0.
///
/// Sources are bitmaps with the bottom row first, 8 bits a pixel through the colours of `info`, or
/// 24 bits as blue, green, red, each row padded to a multiple of 4 bytes. Target coordinates count
/// from the top left corner.
class RASTELO_API DeviceContext {
 public:
  virtual ~DeviceContext() = default;

  /// Copies `width` x `height` pixels one to one to (x, y). `sourceX` counts columns from the left,
  /// `sourceY` rows from the bottom row of the bitmap; the highest row of the area comes to target
  /// row y. Pixels that lie outside the bitmap or outside the device are left out. `bits` holds the
  /// rows `firstLine` to `firstLine` + `lines` - 1.
  /// @return the number of source lines looked at, 0 on failure.
  virtual int SetDIBitsToDevice(int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                                UINT firstLine, UINT lines, const void* bits,
                                const BITMAPINFO* info, UINT usage) = 0;

  /// Scales the source area to the target rectangle by the current stretch mode. A negative width
  /// or height mirrors.
  /// @return the number of source lines looked at, 0 on failure.
  virtual int StretchDIBits(int x, int y, int width, int height, int sourceX, int sourceY,
                            int sourceWidth, int sourceHeight, const void* bits,
                            const BITMAPINFO* info, UINT usage, DWORD operation) = 0;

  /// Chooses the stretch mode. @return the mode before, or 0 for a mode that does not exist.
  virtual int SetStretchBltMode(int mode) = 0;
};

/// A device in memory: `width` x `height` pixels of 4 bytes, blue, green, red, unused, top row
/// first and no gaps between rows. It starts black, in the mode BLACKONWHITE.
class RASTELO_API MemoryDeviceContext : public DeviceContext {
 public:
  /// Sides below 0 count as 0. Throws std::bad_alloc.
  MemoryDeviceContext(int width, int height);

  int Width() const { return width_; }
  int Height() const { return height_; }
  /// The 4 bytes of pixel (x, y), or null outside the device.
  const unsigned char* Pixel(int x, int y) const;
  /// The whole surface, `Width()` * `Height()` * 4 bytes.
  unsigned char* Surface() { return surface_.data(); }

  int SetDIBitsToDevice(int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                        UINT firstLine, UINT lines, const void* bits, const BITMAPINFO* info,
                        UINT usage) override;
  /// Knows the operation SRCCOPY only.
  int StretchDIBits(int x, int y, int width, int height, int sourceX, int sourceY, int sourceWidth,
                    int sourceHeight, const void* bits, const BITMAPINFO* info, UINT usage,
                    DWORD operation) override;
  int SetStretchBltMode(int mode) override;

 private:
  int width_, height_;
  int stretchMode_ = BLACKONWHITE;
  std::vector<unsigned char> surface_;
};

}  // namespace rastelo

#endif  // RASTELO_DEVICE_H
