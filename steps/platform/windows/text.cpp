#include "steps/platform/windows/text.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "steps/platform/files.h"

namespace rastelo::steps::platform {
namespace {

constexpr std::wstring_view kAnyLength = L"\\\\?\\";
constexpr std::wstring_view kAnyLengthShare = L"\\\\?\\UNC\\";
constexpr std::wstring_view kDevice = L"\\\\.\\";
constexpr std::wstring_view kShare = L"\\\\";

int Length(auto text) { return static_cast<int>(text.size()); }

/// One line without a full stop of what may be more.
std::string OneLine(std::string text) {
  text.resize(text.find_last_not_of(" .\r\n") + 1);
  std::erase(text, '\r');
  std::ranges::replace(text, '\n', ' ');
  return text;
}

std::string ReasonOf(DWORD error) {
  wchar_t text[512];
  const DWORD flags =
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
  const DWORD length =
      FormatMessageW(flags, nullptr, error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
  if (length == 0) return "error " + std::to_string(error);
  return OneLine(Utf8({text, length}));
}

}  // namespace

std::wstring Wide(std::string_view text) {
  if (text.empty()) return {};
  const auto convert = [=](wchar_t* to, int room) {
    return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), Length(text), to, room);
  };
  std::wstring wide(static_cast<std::size_t>(convert(nullptr, 0)), L'\0');
  if (wide.empty()) ThrowError(GetLastError());
  convert(wide.data(), Length(wide));
  return wide;
}

std::string Utf8(std::wstring_view text) {
  std::string narrow(text.size() * 3, '\0');  // at most 3 bytes for 16 bits
  const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), Length(text), narrow.data(),
                                         Length(narrow), nullptr, nullptr);
  narrow.resize(static_cast<std::size_t>(length));
  return narrow;
}

std::wstring FullPath(const std::string& path) {
  if (path.empty()) ThrowError(ERROR_PATH_NOT_FOUND);
  if (path.find('\0') != std::string::npos) ThrowError(ERROR_INVALID_NAME);
  const std::wstring wide = Wide(path);
  std::wstring full(GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr), L'\0');
  const DWORD length =
      GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  if (length == 0) ThrowError(GetLastError());
  full.resize(length);
  return full;
}

std::wstring SystemPath(const std::string& path) {
  const std::wstring full = FullPath(path);
  if (full.starts_with(kAnyLength) || full.starts_with(kDevice)) return full;
  if (full.starts_with(kShare)) return std::wstring(kAnyLengthShare) + full.substr(kShare.size());
  return std::wstring(kAnyLength) + full;
}

std::wstring PlainPath(std::wstring path) {
  if (path.starts_with(kAnyLengthShare))
    return std::wstring(kShare) + path.substr(kAnyLengthShare.size());
  return path.starts_with(kAnyLength) ? path.substr(kAnyLength.size()) : path;
}

std::wstring Upper(std::wstring text) {
  CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
  return text;
}

void ThrowError(unsigned long error) {
  const std::string reason = ReasonOf(error);
  if (error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED)
    throw BrokenPipe(reason);
  throw FileError(reason);
}

}  // namespace rastelo::steps::platform
