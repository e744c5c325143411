// rastelo generate: what is installed beside the program, made of the tables that it runs by.
#include "steps/error.h"
#include "steps/help.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/exit_code.h"
#include "tools/generate/generate.h"

namespace rastelo::tools {

int GenerateCommand(const Request& request) {
  const std::string& what = request.topic;
  if (what == "man")
    Print(ManualPage());
  else if (what == "reference")
    Print(steps::ReferenceOfSteps());
  else if (what == "bash" || what == "zsh" || what == "fish")
    Print(CompletionFor(what));
  else
    throw steps::CallError("generate: '" + what + "' is not man, bash, zsh, fish or reference");
  return kDone;
}

}  // namespace rastelo::tools
