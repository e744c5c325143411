#pragma once

#include <string>

#include "steps/program.h"
#include "tools/batch/log.h"
#include "tools/batch/plan.h"

namespace rastelo::tools {

/// What all pictures of a batch have in common.
struct Job {
  const Request& request;
  const steps::Program& program;
  std::string key;         // of steps, options and version
  const History& history;  // of earlier runs, where the batch resumes
  Log* log;                // null where nothing is written
};

/// How a picture came out.
struct Outcome {
  enum class Kind { kDone, kSkipped, kStepFailed, kMoveFailed } kind = Kind::kDone;
  std::string error, printed;
};

/// Works on one picture: opens it, carries the steps out, writes what comes of it and logs that.
/// Failures are told in the outcome; only a log that cannot be written throws.
Outcome Work(const Job& job, const Task& task);

/// A text that differs where the outputs of two batches may: what the files hold that steps name is
/// part of it. Throws a MoveError if one cannot be read.
std::string KeyOf(const Request& request, const steps::Program& program);

}  // namespace rastelo::tools
