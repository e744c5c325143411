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
#elif defined RASTELO_STATIC  // linked in
#define RASTELO_API
#else
#define RASTELO_API __declspec(dllimport)
#endif

#else

#define RASTELO_API __attribute__((visibility("default")))

#include <cstdint>
#include <functional>
#include <string>

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
/// and, their bitwise or, the topmost of the rightmost, or their average.
inline constexpr int BLACKONWHITE = 1;
inline constexpr int WHITEONBLACK = 2;
inline constexpr int COLORONCOLOR = 3;
inline constexpr int HALFTONE = 4;

namespace rastelo {

class RASTELO_API DeviceContext;

/// A text of code page 936 in UTF-8; as it is where the system cannot convert it.
RASTELO_API std::string Utf8FromCodePage936(const char* text);

// A hook is called in the middle of an operation. What it throws ends at the library: the operation
// goes on as if it had returned. It must not call the object that is at work.

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

#include "rastelo_device.h"

#endif
#endif  // RASTELO_PLATFORM_H
