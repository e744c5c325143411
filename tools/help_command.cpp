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

bool IsCommand(const std::string& topic) {
  return std::ranges::any_of(Commands(),
                             [&](const CommandHelp& command) { return command.name == topic; });
}

/// Throws a CallError that suggests a step or a command.
[[noreturn]] void FailToFind(const std::string& topic) {
  const std::vector<CommandHelp> commands = Commands();
  std::vector<std::string_view> names;
  for (const steps::Step& step : steps::Steps()) names.push_back(step.name);
  for (const CommandHelp& command : commands)
    if (!command.isHidden) names.push_back(command.name);
  const auto nearest = steps::NearestWord(topic, names);
  throw steps::CallError("there is no step or command '" + topic + "'; " +
                         (nearest ? "did you mean '" + std::string(*nearest) + "'?"
                                  : "'rastelo steps' and 'rastelo --help' list them"));
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
  const auto step = std::ranges::find(steps::Steps(), request.topic, &steps::Step::name);
  if (request.topic.empty())
    Print(ReadCommandLine({"--help"}).answer);
  else if (IsCommand(request.topic))
    Print(ReadCommandLine({request.topic, "--help"}).answer);
  else if (step != steps::Steps().end())
    Print(steps::HelpOf(*step));
  else
    FailToFind(request.topic);
  return kDone;
}

}  // namespace rastelo::tools
