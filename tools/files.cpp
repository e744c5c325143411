#include "tools/files.h"

#include <charconv>
#include <set>

#include "steps/error.h"
#include "steps/platform/terminal.h"
#include "tools/console.h"

namespace rastelo::tools {

namespace platform = steps::platform;

namespace {

bool Exists(const std::string& path) try {
  return platform::Inspect(path).kind != platform::FileInfo::Kind::kNone;
} catch (const platform::FileError&) {
  return false;  // reading or writing says why
}

steps::Picture Decode(const PictureName& name, bool keyColour) {
  const platform::Bytes bytes =
      name.path == "-" ? platform::ReadStandardInput() : platform::ReadFile(name.path);
  return steps::ReadPicture(bytes, {keyColour, name.page});
}

}  // namespace

PictureName::PictureName(const std::string& name) : path(name) {
  const std::size_t bracket = name.rfind('[');
  if (!name.ends_with(']') || bracket == std::string::npos || Exists(name)) return;
  const char* end = name.data() + name.size() - 1;
  const auto [stop, error] = std::from_chars(name.data() + bracket + 1, end, page);
  if (error == std::errc() && stop == end && page >= 0)
    path = name.substr(0, bracket);
  else
    page = 0;
}

steps::Picture OpenPicture(const std::string& name, bool keyColour) {
  try {
    steps::Picture picture = Decode(PictureName(name), keyColour);
    for (const std::string& note : picture.notes) NoteOnce(note);
    return picture;
  } catch (const platform::FileError& error) {
    throw MoveError("cannot open '" + name + "': " + error.what());
  } catch (const steps::PictureError& error) {
    throw MoveError("cannot open '" + name + "': " + error.what());
  }
}

void CheckTargets(const steps::Program& program, const std::string& picture,
                  const WriteRules& rules) {
  std::set<std::string> targets;
  for (const steps::Call& call : program) {
    for (std::size_t i = 0; i < call.values.size(); ++i) {
      const std::string& path = call.values[i].text;
      if ((call.step->arguments[i].forms & steps::kPicture) == 0 || path.empty()) continue;
      const std::string key = path == "-" ? path : platform::PathKey(path);
      if (!targets.insert(key).second) throw steps::CallError("'" + path + "' is written twice");
      if (path == "-" || rules.overwrite) continue;
      if (picture != "-" && key == platform::PathKey(PictureName(picture).path))
        throw MoveError("cannot write '" + path +
                        "': it is the picture itself; --overwrite replaces it");
      if (platform::Inspect(path).kind == platform::FileInfo::Kind::kFile)
        throw MoveError("cannot write '" + path + "': it exists already; --overwrite replaces it");
    }
  }
}

void WriteTarget(const std::string& path, std::span<const std::uint8_t> file,
                 const platform::WriteMode& mode) {
  try {
    if (path != "-") return platform::WriteFile(path, file, mode);
    if (platform::IsTerminal(platform::Stream::kOutput))
      throw MoveError("a picture is not written to a terminal; redirect the output");
    platform::WriteStandardOutput(file);
  } catch (const platform::BrokenPipe&) {
    throw;
  } catch (const platform::FileError& error) {
    throw MoveError("cannot write '" + path + "': " + error.what());
  }
}

void RequirePictureName(const std::string& option, const std::string& path) {
  const auto format = steps::FormatOfName(path);
  if (!format || *format == steps::Format::kTiff)
    throw steps::CallError(option + ": '" + path + "' does not end in .jpg, .jpeg, .bmp or .png");
}

}  // namespace rastelo::tools
