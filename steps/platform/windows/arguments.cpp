#include "steps/platform/arguments.h"

#include <windows.h>

#include "steps/platform/windows/command_line.h"
#include "steps/platform/windows/text.h"

std::vector<std::string> rastelo::steps::platform::Arguments(int /*argc*/, char** /*argv*/) {
  std::vector<std::string> arguments;
  for (const Word& word : WordsOf(GetCommandLineW())) {
    const std::string text = Utf8(word.text);
    const bool mayMatch = !arguments.empty() && !word.isQuoted;
    const bool isPattern = mayMatch && text.find_first_of("*?") != text.npos;
    const std::vector<std::string> paths = isPattern ? Expand(text) : std::vector<std::string>{};
    if (paths.empty())
      arguments.push_back(text);
    else
      arguments.insert(arguments.end(), paths.begin(), paths.end());
  }
  return arguments;
}
