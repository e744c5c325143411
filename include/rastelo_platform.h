#ifndef RASTELO_PLATFORM_H
#define RASTELO_PLATFORM_H

/// What the public interface takes from the system it runs on. On Windows that is <windows.h>.
/// Elsewhere this header declares the few types and constants that are needed, under the same
/// names, together with a device to draw on and the hooks through which a host hears the library.

#ifdef __GNUC__
#define RASTELO_PRINTF(text, values) __attribute__((format(printf, text, values)))
#else
#define RASTELO_PRINTF(text, values)
#endif

#ifdef _WIN32
#include <windows.h>
#ifdef RASTELO_BUILDING
#define RASTELO_API __declspec(dllexport)
#else
#define RASTELO_API __declspec(dllimport)
#endif

#else

#define RASTELO_API __attribute__((visibility("default")))

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using UINT = std::uint32_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;

/// A rectangle of pixels: columns left to right - 1, rows top to bottom - 1.
struct RECT {
  LONG left, top, right, bottom;
};

struct RGBQUAD {
  BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
};

struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth, biHeight;
  WORD biPlanes, biBitCount;
  DWORD biCompression, biSizeImage;
  LONG biXPelsPerMeter, biYPelsPerMeter;
  DWORD biClrUsed, biClrImportant;
};

/// The head of a bitmap record. More colour entries follow in memory where the depth asks for them.
struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};

inline constexpr UINT DIB_RGB_COLORS = 0;
inline constexpr DWORD SRCCOPY = 0x00CC0020;

/// What stretching makes of several source pixels that fall on one target pixel: their bitwise
/// and, their bitwise or, the one in the middle, or their average.
inline constexpr int BLACKONWHITE = 1;
inline constexpr int WHITEONBLACK = 2;
inline constexpr int COLORONCOLOR = 3;
inline constexpr int HALFTONE = 4;

namespace rastelo {

/// Something to draw on. A host derives its own, or uses MemoryDeviceContext.
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

/// A text of code page 936 in UTF-8; as it is where the system cannot convert it.
RASTELO_API std::string Utf8FromCodePage936(const char* text);

/// Receives the text and the caption of a message box, both in code page 936.
using MessageBoxHook = std::function<void(const char* text, const char* caption)>;
/// Receives one trace text, its line end included where it has one; in code page 936.
using DebugOutputHook = std::function<void(const char* text)>;

/// Sends message boxes to `hook`; an empty one brings back the default, a line on the standard
/// error stream in UTF-8. Not to be called while another thread uses the library.
RASTELO_API void SetMessageBoxHook(MessageBoxHook hook);
/// Sends trace texts to `hook`; an empty one brings back the default, which drops them. Not to be
/// called while another thread uses the library.
RASTELO_API void SetDebugOutputHook(DebugOutputHook hook);

}  // namespace rastelo

/// The handle of a device context. Null is no device: nothing is drawn on it.
using HDC = rastelo::DeviceContext*;

#endif
#endif  // RASTELO_PLATFORM_H
