#include "platform/device_context.h"

#include "platform/portable/call_host.h"

namespace rastelo::platform {

namespace {

/// What the device of the host gives for a call.
template <class... Parameters, class... Arguments>
int Call(HDC hdc, int (DeviceContext::*call)(Parameters...), Arguments... arguments) {
  return hdc ? CallHost([=] { return (hdc->*call)(arguments...); }) : 0;
}

}  // namespace

int SetDIBitsToDevice(HDC hdc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY,
                      UINT firstLine, UINT lines, const void* bits, const BITMAPINFO* info,
                      UINT usage) {
  return Call(hdc, &DeviceContext::SetDIBitsToDevice, x, y, width, height, sourceX, sourceY,
              firstLine, lines, bits, info, usage);
}

int StretchDIBits(HDC hdc, int x, int y, int width, int height, int sourceX, int sourceY,
                  int sourceWidth, int sourceHeight, const void* bits, const BITMAPINFO* info,
                  UINT usage, DWORD operation) {
  return Call(hdc, &DeviceContext::StretchDIBits, x, y, width, height, sourceX, sourceY,
              sourceWidth, sourceHeight, bits, info, usage, operation);
}

int SetStretchBltMode(HDC hdc, int mode) {
  return Call(hdc, &DeviceContext::SetStretchBltMode, mode);
}

}  // namespace rastelo::platform
