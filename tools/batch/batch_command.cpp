// rastelo batch: steps on many pictures, by several workers.
#include <condition_variable>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
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

  /// Works until all is done or the user interrupts.
  void Run(int jobs) {
    std::vector<std::jthread> workers;
    active_ = jobs;
    for (int i = 0; i < jobs; ++i) workers.emplace_back([this] { WorkOn(); });
    std::unique_lock lock(mutex_);
    for (bool isAtWork = true; isAtWork;) {
      changed_.wait_for(lock, std::chrono::milliseconds(100));
      isAtWork = active_ > 0;
      const std::vector<Outcome> ready = TakeOutcomes();
      lock.unlock();
      for (const Outcome& outcome : ready) Tell(outcome);
      progress_.Tell(count_);
      lock.lock();
    }
    progress_.Summarize(count_);
    if (failure_) std::rethrow_exception(failure_);
  }

  int ExitCode() const {
    if (count_.failed == 0) return kDone;
    return movesFailed_ == count_.total ? kNothingMoved : kSomeFailed;
  }

 private:
  void WorkOn() {
    for (std::optional<std::size_t> next = Take(); next; next = Take()) {
      try {
        Outcome outcome = Work(job_, tasks_[*next]);
        const std::lock_guard lock(mutex_);
        outcomes_.emplace(*next, std::move(outcome));
      } catch (...) {  // the log cannot be written, so nothing more is begun
        const std::lock_guard lock(mutex_);
        failure_ = std::current_exception();
      }
      changed_.notify_one();
    }
    const std::lock_guard lock(mutex_);
    --active_;
    changed_.notify_one();
  }

  std::optional<std::size_t> Take() {
    const std::lock_guard lock(mutex_);
    if (next_ == tasks_.size() || failure_ || platform::Interrupted() != 0) return std::nullopt;
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
  std::exception_ptr failure_;
  std::size_t next_ = 0, told_ = 0;
  int active_ = 0;
  Count count_;  // this and the next are the telling thread's own
  std::size_t movesFailed_ = 0;
};

void CheckProgram(const steps::Program& program, const BatchRequest& batch) {
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
    if (platform::Inspect(OutputPath(request.batch, task)).kind == platform::FileInfo::Kind::kNone)
      continue;
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
  const std::string path = batch.folder + "/" + LogName(batch.shard);
  try {
    platform::MakeFolders(batch.folder);
    return std::optional<Log>(std::in_place, path);
  } catch (const platform::FileError& error) {
    throw MoveError("cannot write '" + path + "': " + error.what());
  }
}

int TellStatus(const BatchRequest& batch, bool json) {
  const History history = History::Read(batch.status);
  if (history.Records().empty())
    throw MoveError("there is no log of a batch in '" + batch.status + "'");
  Count count;
  std::map<std::string, std::string> failures;
  for (const auto& [id, record] : history.Records()) {
    ++count.total;
    if (record.state == Record::State::kDone) ++count.done;
    if (record.state == Record::State::kFailed) failures.emplace(record.picture, record.error);
  }
  count.failed = failures.size();
  if (json) {
    PrintJson({{"done", count.done},
               {"failed", count.failed},
               {"unfinished", count.total - count.done - count.failed},
               {"failures", failures}});
  } else {
    Print(std::to_string(count.done) + " done, " + std::to_string(count.failed) + " failed, " +
          std::to_string(count.total - count.done - count.failed) + " unfinished\n");
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
  if (request.options.trace) ShowTrace();
  std::optional<Log> log = OpenLog(batch);
  const History history = batch.resume ? History::Read(batch.folder) : History();
  const Job job = {request, program, KeyOf(request, program), history, log ? &*log : nullptr};
  platform::CatchInterrupts();
  Pool pool(job, plan.tasks, ProgressKind(batch.progress));
  pool.Run(batch.jobs > 0 ? batch.jobs : platform::Processors());
  if (platform::Interrupted() != 0) platform::DieBySignal(platform::Interrupted());
  return pool.ExitCode();
}

}  // namespace rastelo::tools
