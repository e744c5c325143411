#include "steps/platform/terminal.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "steps/platform/windows/console.h"

namespace rastelo::steps::platform {
namespace {

constexpr int kUsualWidth = 80;
constexpr std::size_t kBufferBytes = 65536;

HANDLE HandleOf(Stream stream) {
  if (stream == Stream::kInput) return GetStdHandle(STD_INPUT_HANDLE);
  return GetStdHandle(stream == Stream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

/// What the console had before, 0 and none where there is no console.
struct Console {
  UINT inputPage = 0, outputPage = 0;
  HANDLE screen = nullptr;
  DWORD mode = 0;
};

Console& Before() {
  static constinit Console before;
  return before;
}

/// Has the console understand colours and moves of the cursor, which streams of it share.
void EnableSequences() {
  for (const Stream stream : {Stream::kOutput, Stream::kError}) {
    DWORD mode = 0;
    if (!GetConsoleMode(HandleOf(stream), &mode)) continue;
    Before().screen = HandleOf(stream);
    Before().mode = mode;
    SetConsoleMode(Before().screen,
                   mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    return;
  }
}

}  // namespace

void GiveConsoleBack() {
  if (Before().screen) SetConsoleMode(Before().screen, Before().mode);
  if (Before().outputPage != 0) SetConsoleOutputCP(Before().outputPage);
  if (Before().inputPage != 0) SetConsoleCP(Before().inputPage);
}

void PrepareStreams() {
  for (FILE* stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  Before().inputPage = GetConsoleCP();
  Before().outputPage = GetConsoleOutputCP();
  SetConsoleCP(CP_UTF8);
  SetConsoleOutputCP(CP_UTF8);
  EnableSequences();
  for (FILE* stream : {stdout, stderr})
    if (_isatty(_fileno(stream))) std::setvbuf(stream, nullptr, _IOFBF, kBufferBytes);
  std::atexit([] {
    std::fflush(nullptr);  // which the runtime does later
    GiveConsoleBack();
  });
}

bool IsTerminal(Stream stream) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(stream), &mode) != 0;
}

int TerminalWidth(Stream stream) {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(HandleOf(stream), &info)) return kUsualWidth;
  const int width = info.srWindow.Right - info.srWindow.Left + 1;
  return width > 0 ? width : kUsualWidth;
}

bool EnvironmentHas(const char* name) {
  return GetEnvironmentVariableA(name, nullptr, 0) > 1;  // with the 0 at its end
}

}  // namespace rastelo::steps::platform
