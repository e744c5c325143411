// rastelo, the command-line host: one picture, one object, steps from left to right.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "tools/contact_sheet.h"
#include "tools/error.h"
#include "tools/picture_file.h"
#include "tools/steps.h"

namespace {

using namespace rastelo::tools;

constexpr const char* kAbout =
    "Opens, shows, changes and saves BMP and JPEG pictures.\n"
    "A 24-bit BMP file keeps two colours only when it is opened: the key colour (blue 255, green "
    "0,\n"
    "red 255) and one fill colour for all others. --as-is brings its pixels in as they are.";

struct Request {
  std::string picture;
  std::vector<std::string> steps;
  bool asIs = false, trace = false;
  std::string sheet;
  std::vector<std::string> pictures, trials;
};

void PrintSteps() {
  for (const Step& step : Steps()) {
    const std::string form = std::string(step.name) + std::string(step.argument);
    std::printf("  %-20s  %.*s\n", form.c_str(), static_cast<int>(step.help.size()),
                step.help.data());
  }
}

std::vector<Action> ParseSteps(const std::vector<std::string>& steps) {
  std::vector<Action> actions;
  actions.reserve(steps.size());
  for (const std::string& step : steps) actions.push_back(ParseStep(step));
  return actions;
}

CRastelo RunSteps(const std::string& picture, bool asIs, const std::vector<Action>& actions) {
  RunState state;
  OpenPicture(state.image, picture, asIs);
  for (const Action& action : actions) action(state);
  return state.image;
}

void Run(const Request& request) {
  const std::vector<Action> actions = ParseSteps(request.steps);
  if (request.trace)
    rastelo::SetDebugOutputHook([](const char* text) {
      const std::string line = rastelo::Utf8FromCodePage936(text);
      std::fprintf(stderr, line.ends_with('\n') ? "%s" : "%s\n", line.c_str());
    });
  RunSteps(request.picture, request.asIs, actions);
}

/// A row for each picture: as it is, then after each trial.
void MakeSheet(const Request& request) {
  if (!HasPictureExtension(request.sheet))
    throw UsageError("SHEET: expected a file name that ends in .bmp, .BMP, .jpg or .JPG");
  std::vector<std::vector<Action>> trials;
  for (const std::string& trial : request.trials)
    trials.push_back(ParseSteps(CLI::detail::split(trial, ' ')));
  std::vector<std::vector<Tile>> rows;
  for (const std::string& picture : request.pictures) {
    const std::string name = picture.substr(picture.find_last_of("/\\") + 1);
    std::vector<Tile> row;
    row.push_back({name, RunSteps(picture, request.asIs, {})});
    for (std::size_t i = 0; i < trials.size(); ++i)
      row.push_back({request.trials[i], RunSteps(picture, request.asIs, trials[i])});
    rows.push_back(std::move(row));
  }
  CRastelo sheet = MakeContactSheet(rows);
  SavePicture(request.sheet, [&](const char* path) { return sheet.SaveAs(path); });
}

/// Says in one line what went wrong.
int Fail(int code, const char* message) {
  std::fputs("rastelo: ", stderr);
  for (; *message != 0; ++message) std::fputc(*message == '\n' ? ' ' : *message, stderr);
  std::fputc('\n', stderr);
  return code;
}

/// Reads the command line and does what it says. Throws what is wrong.
int Call(int argc, char** argv) {
  CLI::App app(kAbout, "rastelo");
  app.set_version_flag("--version", "rastelo " RASTELO_VERSION);
  app.require_subcommand(1);
  Request request;
  CLI::App* run = app.add_subcommand("run", "Carry out steps on one picture, from left to right");
  run->footer(
      "Example: rastelo run photo.jpg gray rotate=ccw save=turned.jpg\n"
      "'rastelo steps' lists the steps. Saving over a picture replaces it only once the new\n"
      "one is complete.");
  run->add_option("PICTURE", request.picture, "A .bmp, .BMP, .jpg or .JPG file")->required();
  run->add_option("STEP", request.steps, "NAME or NAME=ARGUMENT")->required();
  run->add_flag("--as-is", request.asIs,
                "Bring a BMP file's pixels in without reducing its colours");
  run->add_flag("--trace", request.trace, "Show the library's trace lines on standard error");
  CLI::App* sheet =
      app.add_subcommand("sheet", "Put small pictures side by side: each as it is and after steps");
  sheet->footer(
      "Example: rastelo sheet tries.jpg photo.jpg page.jpg --try \"gray otsu\" --try gray");
  sheet->add_option("SHEET", request.sheet, "The file to write")->required();
  sheet->add_option("PICTURE", request.pictures, "A row for each")->required();
  sheet->add_option("--try", request.trials, "Steps, with blanks between them; a column for each")
      ->allow_extra_args(false);
  sheet->add_flag("--as-is", request.asIs,
                  "Bring a BMP file's pixels in without reducing its colours");
  CLI::App* steps = app.add_subcommand("steps", "List the steps");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help and version
    throw UsageError(std::string(error.what()) + "; 'rastelo --help' shows how it is called");
  }
  if (*steps) PrintSteps();
  if (*run) Run(request);
  if (*sheet) MakeSheet(request);
  if (std::fflush(stdout) != 0) throw OperationError("standard output cannot be written");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Call(argc, argv);
  } catch (const UsageError& error) {
    return Fail(2, error.what());
  } catch (const std::bad_alloc&) {
    return Fail(1, "there is not enough memory");
  } catch (const std::exception& error) {
    return Fail(1, error.what());
  }
}
