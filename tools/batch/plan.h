#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/command_line.h"

namespace rastelo::tools {

/// A picture of a batch, and the file that comes of it.
struct Task {
  std::string picture;  // as it is opened
  std::string output;   // below the output folder, with "/" between its parts; empty if none
  std::uint64_t id;     // of the output's name, or the picture's, the same on every machine
};

/// What a batch is to do, in the order of the command line, folders by name.
struct Plan {
  std::vector<Task> tasks;  // of this shard
  std::size_t others = 0;   // of other shards
};

/// Finds the pictures that a batch names and where each goes. Throws a CallError if two would meet
/// in one file, or if a name is wrong, a MoveError if a folder or list cannot be read.
/// @param to         the ending of all outputs, or empty.
/// @param overwrite  whether outputs may be among the pictures.
Plan MakePlan(const BatchRequest& batch, const std::string& to, bool overwrite);

/// The path of an output file.
std::string OutputPath(const BatchRequest& batch, const Task& task);

}  // namespace rastelo::tools
