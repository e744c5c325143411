#pragma once

#include "steps/run.h"
#include "tools/command_line.h"

namespace rastelo::tools {

// One function a command. Each does what the request says and gives the exit code; mistakes in the
// call leave it as a CallError before anything has been done.
int RunCommand(const Request& request);
int BatchCommand(const Request& request);
int SheetCommand(const Request& request);
int InfoCommand(const Request& request);
int StepsCommand(const Request& request);
int HelpCommand(const Request& request);
int GenerateCommand(const Request& request);

/// The format that --to names, if any.
std::optional<steps::Format> FormatTo(const CommonOptions& options);

/// Sends the library's trace lines to standard error. Throws a CallError where they go elsewhere.
void ShowTrace();

/// What a run prints, as JSON or text. A line of JSON starts with the picture and the step.
std::string Shown(const std::string& picture, const steps::Report& report, bool json);

}  // namespace rastelo::tools
