#include "steps/platform/terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <initializer_list>

namespace rastelo::steps::platform {
namespace {

constexpr int kUsualWidth = 80;

int Descriptor(Stream stream) {
  if (stream == Stream::kInput) return STDIN_FILENO;
  return stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
}

/// Has a stream that is closed refuse what it is for.
void Occupy(int descriptor) {
  if (::fcntl(descriptor, F_GETFD) != -1) return;
  // The lowest descriptor that is free, which is this one: those below have been seen to.
  ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace

void PrepareStreams() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) Occupy(descriptor);
  for (const int failedWrite : {SIGPIPE, SIGXFSZ}) ::signal(failedWrite, SIG_IGN);
}

bool IsTerminal(Stream stream) { return ::isatty(Descriptor(stream)) == 1; }

int TerminalWidth(Stream stream) {
  winsize size{};
  const bool known = ::ioctl(Descriptor(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : kUsualWidth;
}

bool EnvironmentHas(const char* name) {
  const char* value = std::getenv(name);
  return value && *value != 0;
}

}  // namespace rastelo::steps::platform
