#include "platform/device_context.h"

#include "platform/portable/call_host.h"

namespace rastelo::platform {

int SetDIBitsToDevice(HDC hdc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                      UINT firstLine, UINT lines, const void* bits, const BITMAPINFO* info,
                      UINT usage) {
  if (!hdc) return 0;
  const auto draw = [&] {
    return hdc->SetDIBitsToDevice(x, y, width, height, sourceX, sourceY, firstLine, lines, bits,
                                  info, usage);
  };
  return CallHost(draw, 0);
}

int StretchDIBits(HDC hdc, int x, int y, int width, int height, int sourceX, int sourceY,
                  int sourceWidth, int sourceHeight, const void* bits, const BITMAPINFO* info,
                  UINT usage, DWORD operation) {
  if (!hdc) return 0;
  const auto draw = [&] {
    return hdc->StretchDIBits(x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight,
                              bits, info, usage, operation);
  };
  return CallHost(draw, 0);
}

int SetStretchBltMode(HDC hdc, int mode) {
  return hdc ? CallHost([=] { return hdc->SetStretchBltMode(mode); }, 0) : 0;
}

}  // namespace rastelo::platform
