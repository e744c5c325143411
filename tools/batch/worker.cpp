#include "tools/batch/worker.h"

#include <new>

#include "steps/error.h"
#include "steps/run.h"
#include "tools/commands.h"

namespace rastelo::tools {
namespace {

namespace platform = steps::platform;
using Kind = platform::FileInfo::Kind;

platform::Bytes ReadNamed(const std::string& path) {
  return Named("read", path, [&] { return platform::ReadFile(path); });
}

/// One picture at work.
class PictureWork {
 public:
  PictureWork(const Job& job, const Task& task) : job_(job), task_(task) {
    record_.id = task.id;
    record_.picture = task.picture;
    record_.output = task.output;
    record_.key = job.key;
  }

  Outcome Do() {
    Outcome outcome;
    try {
      outcome.kind = Write(outcome.printed) ? Outcome::Kind::kDone : Outcome::Kind::kSkipped;
      return outcome;
    } catch (const MoveError& error) {
      outcome = {Outcome::Kind::kMoveFailed, error.what(), {}};
    } catch (const std::bad_alloc&) {
      outcome = {
          Outcome::Kind::kStepFailed, "'" + task_.picture + "': there is not enough memory", {}};
    } catch (const std::exception& error) {
      outcome = {Outcome::Kind::kStepFailed, "'" + task_.picture + "': " + error.what(), {}};
    }
    record_.error = outcome.error;
    Log(Record::State::kFailed);
    return outcome;
  }

 private:
  bool Writes() const { return !task_.output.empty(); }
  std::string Output() const { return OutputPath(job_.request.batch, task_); }
  platform::FileInfo InspectOutput() const {
    return Named("write", Output(), [&] { return platform::Inspect(Output()); });
  }

  /// @return whether there was something to do.
  bool Write(std::string& printed) {
    const auto source = Named("open", task_.picture,
                              [&] { return platform::Inspect(PictureName(task_.picture).path); });
    record_.sourceTime = source.time;
    record_.sourceBytes = source.size;
    platform::WriteMode mode = ModeOfWriting(source);
    if (isUpToDate_) return false;
    const std::vector<std::uint8_t> file = Make(printed);
    if (!Writes()) return true;
    record_.digest = DigestOf(file);
    record_.outputBytes = file.size();
    Log(Record::State::kWriting);
    const std::string folder = platform::FolderOf(Output());
    Named("make the folder", folder, [&] { platform::MakeFolders(folder); });
    WriteTarget(Output(), file, mode);
    record_.outputTime = InspectOutput().time;
    Log(Record::State::kDone);
    return true;
  }

  /// Finds out whether the output is there, and whose it is: one that a batch has made may be made
  /// anew, any other only if the user wants that.
  platform::WriteMode ModeOfWriting(const platform::FileInfo& source) {
    platform::WriteMode mode;
    const CommonOptions& options = job_.request.options;
    mode.overwrite = options.write.overwrite;
    if (options.write.preserveTime) mode.time = source.time;
    const Shard& shard = job_.request.batch.shard;  // another one may run, whose parts overlap
    mode.temporaryName = ".rastelo-" + std::to_string(shard.number) + "-of-" +
                         std::to_string(shard.count) + "-" + std::to_string(task_.id);
    if (!Writes() || !job_.request.batch.resume) return mode;
    const platform::FileInfo there = InspectOutput();
    if (there.kind != Kind::kFile) return mode;
    const Record* last = job_.history.Find(task_.id);
    const bool isOurs = last && IsOurs(*last, there);
    isUpToDate_ = isOurs && last->key == job_.key &&
                  (IsSame(source, there) ? IsAsLeft(*last, there) : IsMadeOf(*last, source));
    mode.overwrite = mode.overwrite || isOurs;
    return mode;
  }

  bool IsOurs(const Record& last, const platform::FileInfo& there) const {
    return HasTimeOf(last, there) || job_.history.HasMade(task_.id, DigestOf(ReadNamed(Output())));
  }

  /// Whether a picture has been written over itself: then its own time and size are gone, and the
  /// steps must not be done to it once more.
  static bool IsSame(const platform::FileInfo& source, const platform::FileInfo& there) {
    return source.device == there.device && source.identity == there.identity;
  }

  bool IsAsLeft(const Record& last, const platform::FileInfo& there) const {
    return HasTimeOf(last, there) || last.digest == DigestOf(ReadNamed(Output()));
  }

  static bool HasTimeOf(const Record& last, const platform::FileInfo& there) {
    return last.state == Record::State::kDone && last.outputTime == there.time &&
           last.outputBytes == there.size;
  }

  static bool IsMadeOf(const Record& last, const platform::FileInfo& source) {
    return last.state == Record::State::kDone && last.sourceTime == source.time &&
           last.sourceBytes == source.size;
  }

  std::vector<std::uint8_t> Make(std::string& printed) const {
    const CommonOptions& options = job_.request.options;
    const steps::Host host = {
        [&](const steps::Report& report) { printed += Shown(task_.picture, report, options.json); },
        {}};
    steps::Run run(OpenPicture(task_.picture, options.keyColour), {}, host);
    run.Do(job_.program);
    if (!Writes()) return {};
    const PixelStore pixels = run.Pixels();
    const steps::WriteOptions write = {*steps::FormatOfName(task_.output),
                                       job_.request.batch.quality, options.strip};
    return steps::WritePicture(pixels.Pixels(), pixels.bitCount, run.source.metadata, write);
  }

  void Log(Record::State state) {
    if (!job_.log) return;
    record_.state = state;
    record_.at = Now();
    record_.seconds = static_cast<double>(record_.at - start_) / 1e9;
    job_.log->Append(record_);
  }

  const Job& job_;
  const Task& task_;
  Record record_;
  const std::int64_t start_ = Now();
  bool isUpToDate_ = false;
};

}  // namespace

Outcome Work(const Job& job, const Task& task) { return PictureWork(job, task).Do(); }

std::string KeyOf(const Request& request, const steps::Program& program) {
  std::string key =
      std::string(RASTELO_VERSION) + "|quality " + std::to_string(request.batch.quality);
  if (request.options.keyColour) key += "|key colour";
  if (request.options.strip) key += "|strip";
  if (request.options.write.preserveTime) key += "|preserve time";
  for (const steps::Call& call : program) {
    key += "|" + call.text;
    for (const steps::Value& value : call.values)
      if (value.isFile) key += " " + DigestOf(ReadNamed(value.text));
  }
  return key;
}

}  // namespace rastelo::tools
