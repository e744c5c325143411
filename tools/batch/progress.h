#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace rastelo::tools {

/// How far a batch has come.
struct Count {
  std::size_t total = 0, done = 0, failed = 0, skipped = 0;
  std::size_t Finished() const { return done + failed + skipped; }
};

/// Tells on standard error how far a batch has come: with a bar that is drawn anew several times a
/// second, with a line of JSON a second, or not at all.
class Progress {
 public:
  enum class Kind { kNone, kBar, kJson };

  explicit Progress(Kind kind) : kind_(kind) {}
  /// Called as often as there is something new.
  void Tell(const Count& count);
  /// The last line of all: what has been done, in which time.
  void Summarize(const Count& count);

 private:
  using Clock = std::chrono::steady_clock;

  double Seconds() const;
  bool IsDue();
  std::string Bar(const Count& count) const;
  std::string Json(const Count& count) const;

  Kind kind_;
  Clock::time_point start_ = Clock::now(), last_ = start_ - std::chrono::hours(1);
};

/// What `text`, one of auto, bar, json, none, asks for: a bar on terminals, unless the user wants
/// something else.
Progress::Kind ProgressKind(const std::string& text);

}  // namespace rastelo::tools
