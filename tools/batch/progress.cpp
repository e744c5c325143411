#include "tools/batch/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "steps/platform/terminal.h"
#include "tools/console.h"

namespace rastelo::tools {
namespace {

using steps::platform::Stream;

/// "1:02:03", "4:05"
std::string Duration(double seconds) {
  const long long all = std::llround(std::max(0.0, seconds));
  char text[48];
  if (all >= 3600)
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", all / 3600, all / 60 % 60, all % 60);
  else
    std::snprintf(text, sizeof text, "%lld:%02lld", all / 60, all % 60);
  return text;
}

/// Pictures that took work, a second.
double Rate(const Count& count, double seconds) {
  return static_cast<double>(count.done + count.failed) / std::max(seconds, 1e-3);
}

}  // namespace

double Progress::Seconds() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

bool Progress::IsDue() {
  const auto pause = std::chrono::milliseconds(kind_ == Kind::kBar ? 200 : 1000);
  if (kind_ == Kind::kNone || Clock::now() - last_ < pause) return false;
  last_ = Clock::now();
  return true;
}

void Progress::Tell(const Count& count) {
  if (!IsDue()) return;
  if (kind_ == Kind::kBar) return DrawBar(Bar(count));
  PrintToError(Json(count));
}

std::string Progress::Bar(const Count& count) const {
  const double seconds = Seconds(), rate = Rate(count, seconds);
  char numbers[96];
  const std::size_t left = count.total - count.Finished();
  std::snprintf(numbers, sizeof numbers, " %zu/%zu  %.1f/s  %s left%s", count.Finished(),
                count.total, rate,
                rate > 0 ? Duration(static_cast<double>(left) / rate).c_str() : "?",
                count.failed > 0 ? (", " + std::to_string(count.failed) + " failed").c_str() : "");
  const std::string text = numbers;
  const int columns = steps::platform::TerminalWidth(Stream::kError) - 1;
  const int room = columns - static_cast<int>(text.size()) - 2;
  // A line that the terminal has to break cannot be drawn over.
  if (room < 0) return text.substr(1, static_cast<std::size_t>(std::max(columns, 0)));
  const auto width = static_cast<std::size_t>(std::min(room, 40));
  const std::size_t full = count.total == 0 ? width : width * count.Finished() / count.total;
  return "[" + std::string(full, '#') + std::string(width - full, ' ') + "]" + text;
}

std::string Progress::Json(const Count& count) const {
  return JsonLine({{"total", count.total},
                   {"done", count.done},
                   {"failed", count.failed},
                   {"skipped", count.skipped},
                   {"seconds", Seconds()},
                   {"per second", Rate(count, Seconds())}});
}

void Progress::Summarize(const Count& count) {
  EraseBar();
  if (kind_ == Kind::kJson) {
    PrintToError(Json(count));
    return;
  }
  char text[160];
  std::snprintf(text, sizeof text, "%zu done, %zu failed", count.done, count.failed);
  std::string line = text;
  if (count.skipped > 0) line += ", " + std::to_string(count.skipped) + " up to date";
  if (count.Finished() < count.total)
    line += ", " + std::to_string(count.total - count.Finished()) + " not begun";
  std::snprintf(text, sizeof text, ", in %s (%.1f a second)", Duration(Seconds()).c_str(),
                Rate(count, Seconds()));
  Note(line + text);
}

Progress::Kind ProgressKind(const std::string& text) {
  if (text == "bar") return Progress::Kind::kBar;
  if (text == "json") return Progress::Kind::kJson;
  const bool isBar = text == "auto" && steps::platform::IsTerminal(Stream::kError);
  return isBar ? Progress::Kind::kBar : Progress::Kind::kNone;
}

}  // namespace rastelo::tools
