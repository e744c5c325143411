#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/contact_sheet.h"
#include "tools/files.h"

namespace rastelo::tools {

/// What every command that opens or writes pictures may be told.
struct CommonOptions {
  WriteRules write;
  bool keyColour = false, strip = false, json = false, trace = false;
  std::string to;  // a format by its ending
};

/// The part of a batch that this process does, of `count`, from 1 on.
struct Shard {
  int number = 1, count = 1;
};

struct BatchRequest {
  std::string steps, folder, name = "{stem}.{ext}", base, list, status;
  std::vector<std::string> pictures;
  bool recursive = false, nul = false, resume = false;
  int jobs = 0;  // 0: one a processor
  int quality = 75;
  Shard shard;
  std::string progress = "auto";
};

/// The command line, read.
struct Request {
  std::string command;
  CommonOptions options;
  std::vector<std::string> pictures, steps, trials;
  std::string picture, sheet, topic;
  TileSize tile;
  BatchRequest batch;
  std::string answer;  // what to print and be done, as for --help
};

/// An option or argument of a command, as manual and completion show it.
struct OptionHelp {
  std::string names, value, help;  // "--jobs", "N", ...; a positional has no dashes
};
struct CommandHelp {
  std::string name, help, footer;
  std::vector<OptionHelp> options;
  bool isHidden = false;
};

/// Reads the words behind the program's name. Throws a CallError that names the wrong word.
Request ReadCommandLine(const std::vector<std::string>& words);

/// The commands, as the command line knows them.
std::vector<CommandHelp> Commands();

}  // namespace rastelo::tools
