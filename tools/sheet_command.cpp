// rastelo sheet: small pictures side by side.
#include <algorithm>

#include "steps/error.h"
#include "steps/run.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/contact_sheet.h"
#include "tools/exit_code.h"

namespace rastelo::tools {
namespace {

struct Trial {
  std::string caption;
  steps::Program program;
};

std::vector<Trial> ReadTrials(const std::vector<std::string>& texts) {
  std::vector<Trial> trials;
  for (const std::string& text : texts) {
    trials.push_back({text, steps::ReadProgram(text)});
    for (const steps::Call& call : trials.back().program)
      if (call.Does() == steps::Effect::kSave)
        throw steps::CallError("--try: '" + call.text +
                               "' has no place in a sheet, which it is "
                               "saved in");
  }
  return trials;
}

void CheckTarget(const Request& request) {
  RequirePictureName("--output", request.sheet);
  if (request.options.write.overwrite) return;
  for (const std::string& picture : request.pictures)
    if (FileKey(PictureName(picture).path) == FileKey(request.sheet))
      throw MoveError("cannot write '" + request.sheet +
                      "': it is one of the pictures; --overwrite replaces it");
  if (KindOf(request.sheet) == steps::platform::FileInfo::Kind::kFile)
    throw MoveError("cannot write '" + request.sheet +
                    "': it exists already; --overwrite "
                    "replaces it");
}

/// A sheet that its format cannot hold is refused before all pictures have been read for it.
void CheckSize(const Request& request) {
  constexpr std::int64_t kMostOfJpeg = 65500;
  const SheetSize size(request.pictures.size(), 1 + request.trials.size(), request.tile);
  if (*steps::FormatOfName(request.sheet) == steps::Format::kJpeg &&
      std::max(size.width, size.height) > kMostOfJpeg)
    throw steps::CallError("--output: '" + request.sheet + "' would be " +
                           std::to_string(size.width) + " x " + std::to_string(size.height) +
                           " pixels, and a JPEG has at most 65500 on a side; write .png or .bmp, "
                           "or make the --tile smaller");
}

/// The tiles of a picture, which is opened once: each trial works on a copy, of which only the tile
/// stays.
std::vector<Tile> MakeRow(const Request& request, const std::string& name,
                          const std::vector<Trial>& trials) {
  const steps::Picture picture = OpenPicture(name, request.options.keyColour);
  const steps::Host quiet = {[](const steps::Report&) {}, {}};
  std::vector<Tile> row = {MakeTile(steps::platform::FileName(name), picture.pixels, request.tile)};
  for (const Trial& trial : trials) {
    steps::Picture copy = {picture.pixels.Copy(), {}, picture.format, picture.stored, {}};
    steps::Run run(std::move(copy), {}, quiet);
    run.Do(trial.program);
    row.push_back(MakeTile(trial.caption, run.Pixels(), request.tile));
  }
  return row;
}

struct Rows {
  std::vector<std::vector<Tile>> rows;  // of the pictures that did not fail
  bool isAnyRead = false;
};

/// A picture that fails is told of, and the sheet does without its row.
Rows MakeRows(const Request& request, const std::vector<Trial>& trials) {
  Rows made;
  for (const std::string& picture : request.pictures) {
    try {
      made.rows.push_back(MakeRow(request, picture, trials));
      made.isAnyRead = true;
    } catch (const MoveError& error) {
      Complain(error.what());
    } catch (const steps::StepError& error) {
      Complain("'" + picture + "': " + error.what());
      made.isAnyRead = true;
    }
  }
  return made;
}

}  // namespace

int SheetCommand(const Request& request) {
  const std::vector<Trial> trials = ReadTrials(request.trials);
  CheckTarget(request);
  CheckSize(request);
  const auto [rows, isAnyRead] = MakeRows(request, trials);
  if (rows.empty()) return isAnyRead ? kSomeFailed : kNothingMoved;
  const PixelStore sheet = MakeContactSheet(rows, request.tile);
  const auto file =
      steps::WritePicture(sheet.Pixels(), 24, {}, {*steps::FormatOfName(request.sheet), 90, true});
  WriteTarget(request.sheet, file, {request.options.write.overwrite, {}, {}});
  return rows.size() == request.pictures.size() ? kDone : kSomeFailed;
}

}  // namespace rastelo::tools
