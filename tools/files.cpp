#include "tools/files.h"

#include <charconv>
#include <new>
#include <set>

#include "steps/error.h"
#include "steps/platform/terminal.h"
#include "tools/console.h"

namespace rastelo::tools {

namespace platform = steps::platform;
using Kind = platform::FileInfo::Kind;

namespace {

steps::Picture Decode(const PictureName& name, bool keyColour) {
  const platform::Bytes bytes =
      name.path == "-" ? platform::ReadStandardInput() : platform::ReadFile(name.path);
  return steps::ReadPicture(bytes, {keyColour, name.page});
}

}  // namespace

Kind KindOf(const std::string& path) try {
  return platform::Inspect(path).kind;
} catch (const platform::FileError&) {
  return Kind::kNone;
}

std::string FileKey(const std::string& path) try {
  return platform::PathKey(path);
} catch (const platform::FileError&) {
  return path;
}

PictureName::PictureName(const std::string& name) : path(name) {
  const std::size_t bracket = name.rfind('[');
  if (!name.ends_with(']') || bracket == std::string::npos || KindOf(name) != Kind::kNone) return;
  const char* end = name.data() + name.size() - 1;
  const auto [stop, error] = std::from_chars(name.data() + bracket + 1, end, page);
  isPage = error == std::errc() && stop == end && page >= 0;
  if (isPage)
    path = name.substr(0, bracket);
  else
    page = 0;
}

steps::Picture OpenPicture(const std::string& name, bool keyColour) {
  try {
    steps::Picture picture =
        Named("open", name, [&] { return Decode(PictureName(name), keyColour); });
    for (const std::string& note : picture.notes) NoteOnce(note);
    if (picture.pages > 1 && !PictureName(name).isPage)
      NoteOnce("of a file with several pages the first is taken; file.tif[1] names the second");
    return picture;
  } catch (const steps::PictureError& error) {
    throw MoveError("cannot open '" + name + "': " + error.what());
  } catch (const std::bad_alloc&) {
    throw MoveError("cannot open '" + name + "': there is not enough memory");
  }
}

void CheckTargets(const steps::Program& program, const std::string& picture,
                  const WriteRules& rules) {
  std::set<std::string> targets;
  for (const steps::Call& call : program) {
    for (std::size_t i = 0; i < call.values.size(); ++i) {
      const std::string& path = call.values[i].text;
      if ((call.step->arguments[i].forms & steps::kPicture) == 0 || path.empty()) continue;
      const std::string key = path == "-" ? path : FileKey(path);
      if (!targets.insert(key).second) throw steps::CallError("'" + path + "' is written twice");
      if (path == "-" || rules.overwrite) continue;
      if (picture != "-" && key == FileKey(PictureName(picture).path))
        throw MoveError("cannot write '" + path +
                        "': it is the picture itself; --overwrite replaces it");
      if (KindOf(path) == Kind::kFile)
        throw MoveError("cannot write '" + path + "': it exists already; --overwrite replaces it");
    }
  }
}

void WriteTarget(const std::string& path, std::span<const std::uint8_t> file,
                 const platform::WriteMode& mode) {
  Named("write", path, [&] {
    if (path != "-") return platform::WriteFile(path, file, mode);
    if (platform::IsTerminal(platform::Stream::kOutput))
      throw MoveError("a picture is not written to a terminal; redirect the output");
    platform::WriteStandardOutput(file);
  });
}

void RequirePictureName(const std::string& option, const std::string& path) {
  const auto format = steps::FormatOfName(path);
  if (!format || *format == steps::Format::kTiff)
    throw steps::CallError(option + ": '" + path + "' does not end in .jpg, .jpeg, .bmp or .png");
}

}  // namespace rastelo::tools
