// rastelo batch: steps on many pictures, by several workers.
#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>
#include <thread>

#include "steps/error.h"
#include "steps/platform/interrupt.h"
#include "steps/platform/processors.h"
#include "tools/batch/progress.h"
#include "tools/batch/worker.h"
#include "tools/commands.h"
#include "tools/console.h"
#include "tools/exit_code.h"

namespace rastelo::tools {
namespace {

namespace platform = steps::platform;

/// The workers of a batch, and what they have done. What pictures print comes out in their order.
class Pool {
 public:
  Pool(const Job& job, const std::vector<Task>& tasks, Progress::Kind kind)
      : job_(job), tasks_(tasks), progress_(kind) {
    count_.total = tasks.size();
  }

  /// Works until all is done or the user interrupts. Throws what standard output does, and nothing
  /// more is begun then.
  void Run(int jobs) {
    std::vector<std::jthread> workers;
    Start(workers,
          std::min(static_cast<std::size_t>(jobs), std::max<std::size_t>(tasks_.size(), 1)));
    try {
      TellWhileAtWork();
    } catch (...) {
      Stop();
      throw;
    }
    progress_.Summarize(count_);
  }

  int ExitCode() const {
    if (count_.failed == 0) return kDone;
    const bool isAnyMoved = count_.done + count_.skipped > 0 || movesFailed_ < count_.failed;
    return isAnyMoved ? kSomeFailed : kNothingMoved;
  }

 private:
  void Start(std::vector<std::jthread>& workers, std::size_t jobs) try {
    workers.reserve(jobs);
    while (workers.size() < jobs) {
      workers.emplace_back([this] { WorkOn(); });
      const std::lock_guard lock(mutex_);
      ++started_;
    }
  } catch (const std::system_error&) {
    if (workers.empty()) throw;  // fewer than wanted do the work as well
  }

  void TellWhileAtWork() {
    std::unique_lock lock(mutex_);
    for (bool isAtWork = true; isAtWork;) {
      changed_.wait_for(lock, std::chrono::milliseconds(100));
      isAtWork = ended_ < started_;
      const std::vector<Outcome> ready = TakeOutcomes();
      lock.unlock();
      for (const Outcome& outcome : ready) Tell(outcome);
      progress_.Tell(count_);
      lock.lock();
    }
  }

  void WorkOn() {
    for (std::optional<std::size_t> next = Take(); next; next = Take()) {
      Outcome outcome;
      try {
        outcome = Work(job_, tasks_[*next]);
      } catch (const std::exception& error) {  // the log cannot be written
        outcome = {Outcome::Kind::kMoveFailed, error.what(), {}};
        Stop();
      }
      const std::lock_guard lock(mutex_);
      outcomes_.emplace(*next, std::move(outcome));
      changed_.notify_one();
    }
    const std::lock_guard lock(mutex_);
    ++ended_;
    changed_.notify_one();
  }

  /// Has no picture begun any more.
  void Stop() {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
  }

  std::optional<std::size_t> Take() {
    const std::lock_guard lock(mutex_);
    if (next_ == tasks_.size() || isStopped_ || platform::Interrupted() != 0) return std::nullopt;
    return next_++;
  }

  /// All outcomes that are there, up to the first picture still at work.
  std::vector<Outcome> TakeOutcomes() {
    std::vector<Outcome> ready;
    for (auto first = outcomes_.begin(); first != outcomes_.end() && first->first == told_;
         first = outcomes_.erase(first), ++told_)
      ready.push_back(std::move(first->second));
    return ready;
  }

  void Tell(const Outcome& outcome) {
    using Kind = Outcome::Kind;
    if (outcome.kind == Kind::kDone) ++count_.done;
    if (outcome.kind == Kind::kSkipped) ++count_.skipped;
    if (!outcome.printed.empty()) {
      EraseBar();
      Print(outcome.printed);
    }
    if (outcome.error.empty()) return;
    ++count_.failed;
    if (outcome.kind == Kind::kMoveFailed) ++movesFailed_;
    Complain(outcome.error);
  }

  const Job& job_;
  const std::vector<Task>& tasks_;
  Progress progress_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::size_t, Outcome> outcomes_;  // not told yet
  bool isStopped_ = false;
  std::size_t next_ = 0, told_ = 0;
  std::size_t started_ = 0, ended_ = 0;  // workers
  Count count_;                          // this and the next are the telling thread's own
  std::size_t movesFailed_ = 0;
};

void CheckProgram(const steps::Program& program, const BatchRequest& batch) {
  if (batch.steps.empty() && batch.pictures.empty() && batch.list.empty())
    throw steps::CallError(
        "STEPS and PICTURE are missing; 'rastelo batch --help' shows how it is called");
  for (const steps::Call& call : program) {
    if (call.Does() == steps::Effect::kSave)
      throw steps::CallError("'" + call.text +
                             "' would write one file for all pictures; batch "
                             "names what it writes itself, by --output and --name");
  }
  if (batch.folder.empty() && (program.empty() || steps::LastLost(program)))
    throw steps::CallError("--output is missing: the folder to write to");
}

/// Without --resume and --overwrite, what is there already ends the work before it starts.
void CheckOutputs(const Request& request, const Plan& plan) {
  if (request.options.write.overwrite || request.batch.resume || request.batch.folder.empty())
    return;
  std::size_t there = 0;
  const Task* first = nullptr;
  for (const Task& task : plan.tasks) {
    if (KindOf(OutputPath(request.batch, task)) == platform::FileInfo::Kind::kNone) continue;
    if (!first) first = &task;
    ++there;
  }
  if (!first) return;
  throw MoveError("'" + OutputPath(request.batch, *first) + "' exists already" +
                  (there > 1 ? ", and " + std::to_string(there - 1) + " more" : "") +
                  "; --resume does what is missing, --overwrite replaces");
}

std::optional<Log> OpenLog(const BatchRequest& batch) {
  if (batch.folder.empty()) return std::nullopt;
  const std::string path = platform::JoinPath(batch.folder, LogName(batch.shard));
  Named("make the folder", batch.folder, [&] { platform::MakeFolders(batch.folder); });
  return std::optional<Log>(std::in_place, path);
}

int TellStatus(const BatchRequest& batch, bool json) {
  const History history = History::Read(batch.status);
  if (history.Records().empty() && history.Pictures() == 0)
    throw MoveError("there is no log of a batch in '" + batch.status + "'");
  Count count;
  std::map<std::string, std::string> failures;
  for (const auto& [id, record] : history.Records()) {
    ++count.total;
    if (record.state == Record::State::kDone) ++count.done;
    if (record.state == Record::State::kFailed) failures.emplace(record.picture, record.error);
  }
  count.failed = failures.size();
  const std::size_t left = std::max(history.Pictures(), count.total) - count.total;
  if (json) {
    PrintJson({{"done", count.done},
               {"failed", count.failed},
               {"cut off", count.total - count.done - count.failed},
               {"not begun", left},
               {"failures", failures}});
  } else {
    Print(std::to_string(count.done) + " done, " + std::to_string(count.failed) + " failed, " +
          std::to_string(count.total - count.done - count.failed) + " cut off at work, " +
          std::to_string(left) + " not begun\n");
    for (const auto& [picture, error] : failures) Print(Printable(error) + "\n");
  }
  return count.failed == 0 ? kDone : kSomeFailed;
}

}  // namespace

int BatchCommand(const Request& request) {
  const BatchRequest& batch = request.batch;
  if (!batch.status.empty()) return TellStatus(batch, request.options.json);
  const steps::Program program = steps::ReadProgram(batch.steps);
  CheckProgram(program, batch);
  const Plan plan = MakePlan(batch, request.options.to, request.options.write.overwrite);
  if (plan.tasks.empty() && plan.others == 0) throw MoveError("there is no picture to work on");
  CheckOutputs(request, plan);
  const std::string key = KeyOf(request, program);
  if (request.options.trace) ShowTrace();
  std::optional<Log> log = OpenLog(batch);
  const History history = batch.resume ? History::Read(batch.folder) : History();
  if (log) log->Append(BatchStart{plan.tasks.size() + plan.others, Now()});
  const Job job = {request, program, key, history, log ? &*log : nullptr};
  platform::CatchInterrupts();
  Pool pool(job, plan.tasks, ProgressKind(batch.progress));
  pool.Run(batch.jobs > 0 ? batch.jobs : platform::Processors());
  if (platform::Interrupted() != 0) platform::DieBySignal(platform::Interrupted());
  return pool.ExitCode();
}

}  // namespace rastelo::tools
