#include "trace_pane.h"

#include <string>

namespace {

constexpr DWORD kDebugOutput = 0x40010006;  // DBG_PRINTEXCEPTION_C: its length, its text
constexpr int kMostText = 60'000;
constexpr UINT kCodePage936 = 936;

HWND g_pane;

std::wstring WithLineEnds(const char* text) {
  std::wstring wide(
      static_cast<std::size_t>(MultiByteToWideChar(kCodePage936, 0, text, -1, nullptr, 0)), L'\0');
  MultiByteToWideChar(kCodePage936, 0, text, -1, wide.data(), static_cast<int>(wide.size()));
  std::wstring lines;
  for (const wchar_t c : wide) {
    if (c == L'\0') break;
    if (c == L'\n') lines += L'\r';
    lines += c;
  }
  return lines;
}

void Append(const char* text) {
  if (GetWindowTextLengthW(g_pane) > kMostText) SetWindowTextW(g_pane, L"");
  const auto end = static_cast<WPARAM>(GetWindowTextLengthW(g_pane));
  SendMessageW(g_pane, EM_SETSEL, end, static_cast<LPARAM>(end));
  SendMessageW(g_pane, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(WithLineEnds(text).c_str()));
}

/// Debug output is an exception that the system raises and takes back itself.
LONG CALLBACK Listen(EXCEPTION_POINTERS* raised) {
  const EXCEPTION_RECORD& record = *raised->ExceptionRecord;
  if (record.ExceptionCode == kDebugOutput && record.NumberParameters >= 2)
    Append(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void ShowTraceIn(HWND pane) {
  g_pane = pane;
  AddVectoredExceptionHandler(1, Listen);
}
