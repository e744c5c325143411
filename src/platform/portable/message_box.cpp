#include "platform/message_box.h"

#include <iconv.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

#include "platform/portable/call_host.h"
#include "rastelo_platform.h"

namespace rastelo {
namespace {

MessageBoxHook& CurrentHook() {
  static MessageBoxHook hook;
  return hook;
}

}  // namespace

std::string Utf8FromCodePage936(const char* text) {
  std::string source = text;
  const iconv_t converter = iconv_open("UTF-8", "CP936");
  // NOLINTNEXTLINE(performance-no-int-to-ptr): how iconv_open tells of a failure
  if (converter == reinterpret_cast<iconv_t>(-1)) return source;
  std::string result(source.size() * 3, '\0');  // at most 3 bytes for one of code page 936
  char* in = source.data();
  char* out = result.data();
  std::size_t inLeft = source.size();
  std::size_t outLeft = result.size();
  const std::size_t outcome = iconv(converter, &in, &inLeft, &out, &outLeft);
  iconv_close(converter);
  if (outcome == static_cast<std::size_t>(-1)) return source;
  result.resize(result.size() - outLeft);
  return result;
}

void SetMessageBoxHook(MessageBoxHook hook) { CurrentHook() = std::move(hook); }

void platform::ShowMessageBox(const char* text, const char* caption) {
  const auto show = [=] {
    if (CurrentHook())
      CurrentHook()(text, caption);
    else
      std::fprintf(stderr, "%s %s\n", Utf8FromCodePage936(caption).c_str(),
                   Utf8FromCodePage936(text).c_str());
  };
  const int reason = errno;  // why a file could not be opened, for the host
  CallHost(show);
  errno = reason;
}

}  // namespace rastelo
