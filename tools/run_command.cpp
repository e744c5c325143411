// rastelo run and rastelo info: steps on pictures one after the other.
#include <nlohmann/json.hpp>

#include "steps/error.h"
#include "steps/platform/trace.h"
#include "steps/run.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/exit_code.h"

namespace rastelo::tools {

namespace {

/// Whether a program writes a picture to standard output, where it then prints nothing else.
bool SavesToOutput(const steps::Program& program) {
  for (const steps::Call& call : program)
    if (call.Does() == steps::Effect::kSave && call.values[0].text == "-") return true;
  return false;
}

void RequireKept(const steps::Program& program) {
  if (const steps::Call* lost = steps::LastLost(program))
    throw steps::CallError("what '" + lost->text +
                           "' does is not kept; end with a step that saves or prints, such as "
                           "save=FILE");
}

void RequireFormat(const steps::Program& program, const CommonOptions& options) {
  if (SavesToOutput(program) && options.to.empty())
    throw steps::CallError("'-' does not tell a format; add --to jpg, bmp or png");
}

steps::platform::WriteMode ModeFor(const std::string& picture, const WriteRules& rules) {
  steps::platform::WriteMode mode;
  mode.overwrite = rules.overwrite;
  if (rules.preserveTime && picture != "-")
    mode.time = Named("open", picture, [&] {
                  return steps::platform::Inspect(PictureName(picture).path);
                }).time;
  return mode;
}

void PrintTo(bool error, const std::string& text) {
  if (error)
    PrintToError(text);
  else
    Print(text);
}

}  // namespace

std::optional<steps::Format> FormatTo(const CommonOptions& options) {
  if (options.to.empty()) return std::nullopt;
  return steps::FormatOfName("." + options.to);
}

std::string Shown(const std::string& picture, const steps::Report& report, bool json) {
  if (!json) return Printable(report.text, "\n\t");
  nlohmann::ordered_json line = {{"picture", picture}, {"step", report.step}};
  line.update(report.json);
  return JsonLine(line);
}

void ShowTrace() {
  steps::platform::SendTraceTo([](std::string_view line) {
    PrintToError(std::string(line) + (line.ends_with('\n') ? "" : "\n"));
  });
}

int RunCommand(const Request& request) {
  const CommonOptions& options = request.options;
  const std::string& picture = request.picture;
  const steps::Program program = steps::ReadProgram(request.steps);
  RequireKept(program);
  RequireFormat(program, options);
  CheckTargets(program, picture, options.write);
  if (options.trace) ShowTrace();
  const bool toError = SavesToOutput(program);
  const auto mode = [&] { return ModeFor(picture, options.write); };
  const steps::Host host = {
      [&](const steps::Report& report) { PrintTo(toError, Shown(picture, report, options.json)); },
      [&](const std::string& path, std::span<const std::uint8_t> file) {
        WriteTarget(path, file, mode());
      }};
  steps::Run run(OpenPicture(picture, options.keyColour), {FormatTo(options), options.strip}, host);
  run.Do(program);
  return kDone;
}

int InfoCommand(const Request& request) {
  const steps::Program program = steps::ReadProgram("info");
  const bool several = request.pictures.size() > 1;
  std::size_t failed = 0;
  for (const std::string& picture : request.pictures) {
    const steps::Host host = {[&](const steps::Report& report) {
                                if (several && !request.options.json)
                                  Print(Printable(picture) + ": ");
                                Print(Shown(picture, report, request.options.json));
                              },
                              {}};
    try {
      steps::Run(OpenPicture(picture, request.options.keyColour), {}, host).Do(program);
    } catch (const MoveError& error) {
      Complain(error.what());
      ++failed;
    }
  }
  if (failed == 0) return kDone;
  return failed == request.pictures.size() ? kNothingMoved : kSomeFailed;
}

}  // namespace rastelo::tools
