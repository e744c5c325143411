// rastelo steps and rastelo help.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "steps/arguments.h"
#include "steps/error.h"
#include "steps/help.h"
#include "steps/table.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/exit_code.h"

namespace rastelo::tools {
namespace {

nlohmann::ordered_json Described(const steps::Step& step) {
  nlohmann::ordered_json arguments = nlohmann::ordered_json::array();
  for (const steps::Argument& argument : step.arguments)
    arguments.push_back({{"name", argument.name},
                         {"help", argument.help},
                         {"is", steps::Describe(argument)},
                         {"optional", argument.IsOptional()},
                         {"default", argument.otherwise.value_or("")}});
  return {{"name", step.name},
          {"family", step.family},
          {"usage", steps::Usage(step)},
          {"help", step.help},
          {"details", step.details},
          {"example", step.example},
          {"needs gray", step.needsGray},
          {"arguments", arguments}};
}

}  // namespace

int StepsCommand(const Request& request) {
  if (!request.options.json) {
    Print(steps::ListOfSteps());
    return kDone;
  }
  for (const steps::Step& step : steps::Steps()) PrintJson(Described(step));
  return kDone;
}

int HelpCommand(const Request& request) {
  const auto commands = Commands();
  const bool isCommand = std::ranges::any_of(
      commands, [&](const CommandHelp& command) { return command.name == request.topic; });
  if (request.topic.empty())
    Print(ReadCommandLine({"--help"}).answer);
  else if (isCommand)
    Print(ReadCommandLine({request.topic, "--help"}).answer);
  else
    Print(steps::HelpOf(steps::FindStep(request.topic)));
  return kDone;
}

}  // namespace rastelo::tools
