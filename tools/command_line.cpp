#include "tools/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>

#include "steps/error.h"
#include "steps/table.h"

namespace rastelo::tools {
namespace {

constexpr const char* kAbout =
    "Opens, changes, measures, shows and saves pictures: JPEG, BMP, PNG and TIFF.";
constexpr const char* kExitCodes =
    "Exit codes: 0 done; 1 some pictures or steps failed; 2 wrong call, nothing was done;\n"
    "3 nothing could be read or written; 130 interrupted.";

/// Reads two whole numbers with a character between them, and nothing else.
bool ReadPair(const std::string& text, char between, int& first, int& second) {
  const char* end = text.data() + text.size();
  const auto [middle, error] = std::from_chars(text.data(), end, first);
  if (error != std::errc() || middle == end || *middle != between) return false;
  const auto [stop, lastError] = std::from_chars(middle + 1, end, second);
  return lastError == std::errc() && stop == end;
}

/// Defines the commands over one request.
class Definition {
 public:
  Definition() : app_(kAbout, "rastelo") {
    app_.set_version_flag("--version", "rastelo " RASTELO_VERSION);
    app_.require_subcommand(1);
    app_.footer(kExitCodes);
    app_.get_formatter()->column_width(32);
    DefineRun();
    DefineBatch();
    DefineSheet();
    DefineInfo();
    DefineHelp();
  }

  CLI::App& app() { return app_; }
  Request& request() { return request_; }

 private:
  CLI::App* Command(const std::string& name, const std::string& help, const std::string& footer) {
    CLI::App* command = app_.add_subcommand(name, help);
    command->footer(footer);
    command->callback([this, name] { request_.command = name; });
    return command;
  }

  /// What an option takes, in help and where it is missing.
  static CLI::Option* Takes(const std::string& what, CLI::Option* option) {
    return option->type_name(what)->option_text(what);
  }

  void AddReading(CLI::App* command) {
    command->add_flag("--key-colour", request_.options.keyColour,
                      "Read BMP files as the library's class does: of 24 bits, only the key colour "
                      "and one fill colour; of 8 bits, without the palette");
  }

  void AddOverwriting(CLI::App* command) {
    command->add_flag("-y,--overwrite", request_.options.write.overwrite,
                      "Replace files that exist");
  }

  void AddWriting(CLI::App* command) {
    AddOverwriting(command);
    command->add_flag("--strip", request_.options.strip,
                      "Leave EXIF, colour profile and resolution out of what is written");
  }

  void AddKeeping(CLI::App* command) {
    command->add_flag("--preserve-time", request_.options.write.preserveTime,
                      "Give files that are written the time of the picture they are made of");
    command->add_flag("--trace", request_.options.trace,
                      "Show the library's trace lines on standard error");
  }

  void AddJson(CLI::App* command) {
    command->add_flag("--json", request_.options.json,
                      "Print JSON, one object a line, instead of text");
  }

  void DefineRun() {
    CLI::App* run = Command("run", "Carry out steps on one picture, from left to right",
                            "Example: rastelo run photo.jpg gray rotate=ccw save=turned.jpg\n"
                            "'rastelo steps' lists the steps, 'rastelo help STEP' explains one.");
    run->add_option("PICTURE", request_.picture,
                    "A JPEG, BMP, PNG or TIFF file; scan.tif[2] is its third page; - is standard "
                    "input")
        ->required()
        ->type_name("");
    run->add_option("STEP", request_.steps, "NAME or NAME=ARGUMENTS")->required()->type_name("");
    Takes("FORMAT", run->add_option("--to", request_.options.to,
                                    "Format of a picture saved to -: jpg, bmp or png"));
    AddWriting(run);
    AddReading(run);
    AddKeeping(run);
    AddJson(run);
  }

  void DefineBatch() {
    CLI::App* command = Command(
        "batch", "Carry out steps on many pictures",
        "Example: rastelo batch \"gray clean-page\" -o clean scans/*.jpg\n"
        "One picture at a time is in memory for each job: its file and, at 12 megapixels in\n"
        "colour, about 80 MB. Of the list of pictures, about 300 bytes each.\n"
        "A first interrupt ends the work after the pictures at hand, a second one at once;\n"
        "--resume goes on from there. No file stands half-written under its name.");
    AddBatchPictures(command);
    AddBatchOutput(command);
    AddBatchWork(command);
    AddWriting(command);
    AddReading(command);
    AddKeeping(command);
    AddJson(command);
  }

  void AddBatchPictures(CLI::App* command) {
    BatchRequest& batch = request_.batch;
    command
        ->add_option("STEPS", batch.steps,
                     "Steps with blanks between them, as one word; \"\" only converts")
        ->type_name("");
    command->add_option("PICTURE", batch.pictures, "Pictures, or folders with --recursive")
        ->type_name("");
    command->add_flag("-r,--recursive", batch.recursive,
                      "Take the pictures of folders and of all folders in them, which keep their "
                      "places below the output folder");
    Takes("FILE", command->add_option("--list", batch.list,
                                      "Take the pictures that a file names, a line each; - is "
                                      "standard input"));
    Takes("FILE", command->add_option_function<std::string>(
                      "--files0-from",
                      [&batch](const std::string& file) {
                        batch.list = file;
                        batch.nul = true;
                      },
                      "The same with a zero byte behind each name"));
    Takes("FOLDER",
          command->add_option("--base", batch.base,
                              "Keep the places that named pictures have below this folder"));
  }

  void AddBatchOutput(CLI::App* command) {
    BatchRequest& batch = request_.batch;
    Takes("FOLDER", command->add_option("-o,--output", batch.folder,
                                        "The folder to write to, made if missing"));
    Takes("PATTERN",
          command->add_option("--name", batch.name,
                              "Name of what is written, from {stem} and {ext} of the picture's own "
                              "(default: {stem}.{ext}; what cannot be written becomes png)"));
    Takes("FORMAT",
          command->add_option("--to", request_.options.to, "Write this format: jpg, bmp or png"));
    Takes("Q", command
                   ->add_option("--quality", batch.quality,
                                "Quality of JPEG files, 1 to 100 (default: 75)")
                   ->check(CLI::Range(1, 100)));
  }

  void AddBatchWork(CLI::App* command) {
    BatchRequest& batch = request_.batch;
    Takes("N", command
                   ->add_option("-j,--jobs", batch.jobs,
                                "Pictures to work on at once (default: one a processor)")
                   ->check(CLI::Range(1, 1024)));
    command->add_flag("--resume", batch.resume,
                      "Do only what is missing, failed, or older than its picture or these steps");
    Takes("I/N",
          command->add_option_function<std::string>(
              "--shard", [&batch](const std::string& text) { batch.shard = ReadShard(text); },
              "Do part I of N, the same for everybody, so that N machines share the work"));
    Takes("KIND", command
                      ->add_option("--progress", batch.progress,
                                   "bar, json or none (default: a bar on terminals)")
                      ->check(CLI::IsMember({"auto", "bar", "json", "none"})));
    Takes("FOLDER",
          command->add_option(
              "--status", batch.status,
              "Tell what the logs in an output folder say has been begun, and do nothing"));
  }

  static Shard ReadShard(const std::string& text) {
    Shard shard;
    if (!ReadPair(text, '/', shard.number, shard.count) || shard.number < 1 ||
        shard.number > shard.count)
      throw steps::CallError("--shard: '" + text + "' is not I/N with I from 1 to N");
    return shard;
  }

  void DefineSheet() {
    CLI::App* sheet = Command(
        "sheet", "Put small pictures side by side: each as it is, and after steps",
        "Example: rastelo sheet -o tries.jpg photo.jpg page.jpg --try \"gray otsu\" --try edges");
    sheet
        ->add_option("PICTURE", request_.pictures,
                     "A row for each; one that cannot be opened is told of and left out")
        ->required()
        ->type_name("");
    Takes("SHEET",
          sheet->add_option("-o,--output", request_.sheet, "The picture to write")->required());
    Takes("STEPS", sheet
                       ->add_option("--try", request_.trials,
                                    "Steps with blanks between them; a column for each")
                       ->allow_extra_args(false));
    Takes("WxH", sheet->add_option_function<std::string>(
                     "--tile", [this](const std::string& text) { request_.tile = ReadTile(text); },
                     "The most that each small picture has in pixels (default: 224x168)"));
    AddOverwriting(sheet);
    AddReading(sheet);
  }

  static TileSize ReadTile(const std::string& text) {
    TileSize tile;
    const auto isSide = [](int side) { return side >= 1 && side <= 4096; };
    if (!ReadPair(text, 'x', tile.width, tile.height) || !isSide(tile.width) ||
        !isSide(tile.height))
      throw steps::CallError("--tile: '" + text + "' is not WxH with sides from 1 to 4096");
    return tile;
  }

  void DefineInfo() {
    CLI::App* info = Command("info", "Tell size, depth, format, resolution and EXIF of pictures",
                             "Example: rastelo info --json photos/*.jpg");
    info->add_option("PICTURE", request_.pictures, "Files as for run")->required()->type_name("");
    AddReading(info);
    AddJson(info);
  }

  void DefineHelp() {
    CLI::App* steps = Command("steps", "List the steps", "");
    AddJson(steps);
    CLI::App* help = Command("help", "Explain a step or a command", "Example: rastelo help zoom");
    help->add_option("TOPIC", request_.topic, "A step or a command")->type_name("");
    CLI::App* generate = Command("generate", "Print what is installed beside the program", "");
    generate->add_option("WHAT", request_.topic, "man, bash, zsh, fish or reference")->required();
    generate->group("");
  }

  CLI::App app_;
  Request request_;
};

/// The word that a mistaken one may have been meant as, or else where the right ones stand.
std::string Suggestion(const std::string& word, const std::vector<std::string>& names,
                       const std::string& otherwise) {
  const std::vector<std::string_view> known(names.begin(), names.end());
  const auto nearest = steps::NearestWord(word, known);
  return nearest ? "did you mean '" + std::string(*nearest) + "'?" : otherwise;
}

std::vector<std::string> CommandNames(CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({}))
    if (!command->get_group().empty()) names.push_back(command->get_name());
  return names;
}

std::vector<std::string> OptionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

void RequireCommand(CLI::App& app, const std::vector<std::string>& words) {
  if (words.empty())
    throw steps::CallError("a command is missing; 'rastelo --help' lists the commands");
  const auto commands = app.get_subcommands({});
  const auto isNamed = [&](const CLI::App* command) { return command->get_name() == words[0]; };
  if (words[0].starts_with("-") && words[0] != "-h" && words[0] != "--help" &&
      words[0] != "--version")
    throw steps::CallError("there is no option '" + words[0] +
                           "' before a command; "
                           "'rastelo --help' lists the commands");
  if (words[0].starts_with("-") || std::ranges::any_of(commands, isNamed)) return;
  throw steps::CallError(
      "there is no command '" + words[0] + "'; " +
      Suggestion(words[0], CommandNames(app), "'rastelo --help' lists the commands"));
}

/// What a mistake in the call is told as: one line, with the way to the command's own help.
[[noreturn]] void FailToParse(const CLI::App& app, const CLI::ParseError& error,
                              const std::vector<std::string>& words) {
  const bool hasCommand = !words.empty() && !words[0].starts_with("-");
  const auto commands = app.get_subcommands();
  const auto unknown = app.remaining(true);
  if (!commands.empty() && !unknown.empty() && unknown[0].starts_with("-"))
    throw steps::CallError(
        words[0] + ": there is no option '" + unknown[0] + "'; " +
        Suggestion(unknown[0], OptionNames(*commands[0]),
                   "'rastelo " + words[0] + " --help' lists them, and -- stands before names"));
  throw steps::CallError(std::string(error.what()) + "; 'rastelo " +
                         (hasCommand ? words[0] + " " : "") + "--help' shows how it is called");
}

std::string Lower(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

/// Makes a path of a word that the parser would take apart as a list, such as "[scan].tif[2]".
void KeepWhole(std::string& word) {
  if (word.starts_with('[') && word.ends_with(']')) word.insert(0, "./");
}

void CheckFormat(std::string& to) {
  to = Lower(to);
  if (to.empty() || to == "jpg" || to == "jpeg" || to == "bmp" || to == "png") return;
  throw steps::CallError("--to: '" + to + "' is not jpg, bmp or png");
}

OptionHelp Described(const CLI::Option& option) {
  const bool isFlag = option.get_expected_max() == 0;
  std::string value = isFlag || option.get_positional() ? "" : option.get_option_text();
  if (!isFlag && value.empty()) value = option.get_positional() ? "" : "VALUE";
  return {option.get_positional() ? option.get_name(true) : option.get_name(false, true), value,
          option.get_description()};
}

}  // namespace

Request ReadCommandLine(const std::vector<std::string>& words) {
  Definition definition;
  CLI::App& app = definition.app();
  RequireCommand(app, words);
  try {
    std::vector<std::string> backwards(words.rbegin(), words.rend());
    std::ranges::for_each(backwards, KeepWhole);
    app.parse(backwards);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) FailToParse(app, error, words);
    std::ostringstream answer;
    app.exit(error, answer, answer);  // help and version
    definition.request().answer = answer.str();
  }
  CheckFormat(definition.request().options.to);
  return definition.request();
}

std::vector<CommandHelp> Commands() {
  Definition definition;
  std::vector<CommandHelp> commands;
  for (const CLI::App* command : definition.app().get_subcommands({})) {
    CommandHelp help = {command->get_name(),
                        command->get_description(),
                        command->get_footer(),
                        {},
                        command->get_group().empty()};
    for (const CLI::Option* option : command->get_options())
      help.options.push_back(Described(*option));
    commands.push_back(help);
  }
  return commands;
}

}  // namespace rastelo::tools
