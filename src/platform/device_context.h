#pragma once

#include "rastelo_platform.h"

namespace rastelo::platform {

// The three calls that a draw makes, with the arguments and results of the system's calls of these
// names. A null device draws nothing and gives 0, as does one
// of the host that throws. None allocates.

int SetDIBitsToDevice(HDC hdc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                      UINT firstLine, UINT lines, const void* bits, const BITMAPINFO* info,
                      UINT usage);

int StretchDIBits(HDC hdc, int x, int y, int width, int height, int sourceX, int sourceY,
                  int sourceWidth, int sourceHeight, const void* bits, const BITMAPINFO* info,
                  UINT usage, DWORD operation);

int SetStretchBltMode(HDC hdc, int mode);

}  // namespace rastelo::platform
