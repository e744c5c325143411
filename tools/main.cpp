// rastelo, the command-line host.
#include <map>
#include <new>

#include "steps/error.h"
#include "steps/help.h"
#include "steps/platform/arguments.h"
#include "steps/platform/terminal.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/exit_code.h"

namespace {

using namespace rastelo::tools;
namespace steps = rastelo::steps;

int Call(const std::vector<std::string>& words) {
  static const std::map<std::string, int (*)(const Request&)> kCommands = {
      {"run", RunCommand},          {"batch", BatchCommand}, {"sheet", SheetCommand},
      {"info", InfoCommand},        {"steps", StepsCommand}, {"help", HelpCommand},
      {"generate", GenerateCommand}};
  const Request request = ReadCommandLine(words);
  if (!request.answer.empty()) {
    Print(request.answer);
    return kDone;
  }
  return kCommands.at(request.command)(request);
}

int Fail(ExitCode code, const std::string& message) {
  Complain(message);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  steps::platform::PrepareStreams();
  try {
    std::vector<std::string> words = steps::platform::Arguments(argc, argv);
    if (!words.empty()) words.erase(words.begin());  // the program's own name
    return Call(words);
  } catch (const steps::MissingArgument& error) {
    Complain(error.what());
    PrintToError("\n" + steps::HelpOf(*error.step));
    return kWrongCall;
  } catch (const steps::CallError& error) {
    return Fail(kWrongCall, error.what());
  } catch (const MoveError& error) {
    return Fail(kNothingMoved, error.what());
  } catch (const steps::platform::BrokenPipe&) {
    return kDone;  // whoever reads has seen enough
  } catch (const steps::platform::FileError& error) {
    return Fail(kNothingMoved, error.what());
  } catch (const std::bad_alloc&) {
    return Fail(kSomeFailed, "there is not enough memory");
  } catch (const std::exception& error) {
    return Fail(kSomeFailed, error.what());
  }
}
