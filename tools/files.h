#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "steps/pictures/picture.h"
#include "steps/platform/files.h"
#include "steps/program.h"

namespace rastelo::tools {

/// A file cannot be read or written. The message names it.
struct MoveError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What `move()` gives, a FileError told as "cannot VERB 'PATH': ..."
template <class Move>
auto Named(const char* verb, const std::string& path, Move move) try {
  return move();
} catch (const steps::platform::BrokenPipe&) {
  throw;
} catch (const steps::platform::FileError& error) {
  throw MoveError(std::string("cannot ") + verb + " '" + path + "': " + error.what());
}

/// What stands at a path; kNone also where that cannot be told: reading or writing says why.
steps::platform::FileInfo::Kind KindOf(const std::string& path);

/// Equal for two paths that lead to one file; the path itself where it leads nowhere.
std::string FileKey(const std::string& path);

/// A picture that the user has named: a file, a page of one as in "scan.tif[2]", or "-", standard
/// input.
struct PictureName {
  explicit PictureName(const std::string& name);
  std::string path;
  int page = 0;
  bool isPage = false;  // whether the name tells a page
};

/// Opens a picture. Throws a MoveError that says why it cannot. What was changed on the way in is
/// noted, each change once.
steps::Picture OpenPicture(const std::string& name, bool keyColour);

/// How files are written.
struct WriteRules {
  bool overwrite = false;     // files that exist are replaced
  bool preserveTime = false;  // files get the time of the picture's own
};

/// Throws a MoveError if a program would write over a file that exists, or over its own picture,
/// and the rules forbid it; a CallError if one of its files is written twice.
void CheckTargets(const steps::Program& program, const std::string& picture,
                  const WriteRules& rules);

/// Writes a file, or a picture to standard output unless that is a terminal. Throws a MoveError.
void WriteTarget(const std::string& path, std::span<const std::uint8_t> file,
                 const steps::platform::WriteMode& mode);

/// Throws a CallError for a name that no picture can be written to.
void RequirePictureName(const std::string& option, const std::string& path);

}  // namespace rastelo::tools
