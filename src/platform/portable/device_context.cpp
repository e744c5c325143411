#include "platform/device_context.h"

namespace rastelo::platform {

int SetDIBitsToDevice(HDC hdc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                      UINT firstLine, UINT lines, const void* bits, const BITMAPINFO* info,
                      UINT usage) {
  if (!hdc) return 0;
  return hdc->SetDIBitsToDevice(x, y, width, height, sourceX, sourceY, firstLine, lines, bits, info,
                                usage);
}

int StretchDIBits(HDC hdc, int x, int y, int width, int height, int sourceX, int sourceY,
                  int sourceWidth, int sourceHeight, const void* bits, const BITMAPINFO* info,
                  UINT usage, DWORD operation) {
  if (!hdc) return 0;
  return hdc->StretchDIBits(x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight, bits,
                            info, usage, operation);
}

int SetStretchBltMode(HDC hdc, int mode) { return hdc ? hdc->SetStretchBltMode(mode) : 0; }

}  // namespace rastelo::platform
