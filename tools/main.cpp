// rastelo, the command-line host: one picture, one object, steps from left to right.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

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
};

void PrintSteps() {
  for (const Step& step : Steps()) {
    const std::string form = std::string(step.name) + std::string(step.argument);
    std::printf("  %-20s  %.*s\n", form.c_str(), static_cast<int>(step.help.size()),
                step.help.data());
  }
}

void Run(const Request& request) {
  std::vector<Action> actions;
  for (const std::string& step : request.steps) actions.push_back(ParseStep(step));
  if (request.trace)
    rastelo::SetDebugOutputHook([](const char* text) { std::fputs(text, stderr); });
  Session session;
  OpenPicture(session.image, request.picture, request.asIs);
  for (const Action& action : actions) action(session);
}

int Fail(int code, std::string message) {
  for (char& c : message)
    if (c == '\n') c = ' ';
  std::fprintf(stderr, "rastelo: %s\n", message.c_str());
  return code;
}

}  // namespace

int main(int argc, char** argv) {
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
  CLI::App* steps = app.add_subcommand("steps", "List the steps");

  try {
    app.parse(argc, argv);
    if (*steps) PrintSteps();
    if (*run) Run(request);
    if (std::fflush(stdout) != 0) throw OperationError("standard output cannot be written");
    return 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help and version
    return Fail(2, std::string(error.what()) + "; 'rastelo --help' shows how it is called");
  } catch (const UsageError& error) {
    return Fail(2, error.what());
  } catch (const OperationError& error) {
    return Fail(1, error.what());
  } catch (const std::bad_alloc&) {
    return Fail(1, "there is not enough memory");
  } catch (const std::exception& error) {
    return Fail(1, error.what());
  }
}
