#include "steps/platform/trace.h"

#include <windows.h>

#include <utility>

#include "platform/debug_output.h"
#include "steps/platform/windows/text.h"

namespace rastelo::steps::platform {
namespace {

constexpr UINT kSimplifiedChinese = 936;

std::wstring FromCodePage936(const char* text) {
  std::wstring wide(
      static_cast<std::size_t>(MultiByteToWideChar(kSimplifiedChinese, 0, text, -1, nullptr, 0)),
      L'\0');
  MultiByteToWideChar(kSimplifiedChinese, 0, text, -1, wide.data(), static_cast<int>(wide.size()));
  wide.resize(wide.empty() ? 0 : wide.size() - 1);  // without the zero at its end
  return wide;
}

}  // namespace

void SendTraceTo(std::function<void(std::string_view text)> target) {
  rastelo::platform::SendDebugOutputTo(
      [target = std::move(target)](const char* text) { target(Utf8(FromCodePage936(text))); });
}

}  // namespace rastelo::steps::platform
