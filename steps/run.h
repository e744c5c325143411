#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "rastelo.h"
#include "steps/pictures/picture.h"
#include "steps/platform/screen.h"
#include "steps/plot/histogram_plot.h"
#include "steps/program.h"

namespace rastelo::steps {

/// What a step tells, in both of its forms.
struct Report {
  std::string_view step;
  std::string text;                    // lines, the last one ended too
  const nlohmann::ordered_json& json;  // an object
};

/// What a run asks of the program that it runs in. Both may throw, which ends the run.
struct Host {
  std::function<void(const Report&)> print;
  /// Takes a file that the run has made. The path is as the step has it, "-" included.
  std::function<void(const std::string& path, std::span<const std::uint8_t> file)> save;
};

/// How pictures are written where a step does not say.
struct RunOptions {
  std::optional<Format> standardOutput;  // of a picture saved to "-"
  bool strip = false;                    // leave all metadata out
};

/// What the steps of one run share: the picture as it stands, and what has been found out about it.
class Run {
 public:
  Run(Picture picture, const RunOptions& options, const Host& host);

  /// Carries out a program. Throws a StepError that names the step, and what the host throws.
  void Do(const Program& program);

  CRastelo image;
  Picture source;  // as it was read, but for its pixels
  std::optional<platform::Screen> screen;
  bool hasVisibleArea = false;    // a one-to-one draw of this picture has been made
  std::optional<PlotMark> level;  // the last one searched

  /// 24 or 8.
  int BitCount() const { return image.IsCanTrans2Gray() ? 24 : 8; }
  PixelStore Pixels() const;
  /// Makes these the picture.
  void Adopt(const PixelStore& pixels);

  void Print(const std::string& text, const nlohmann::ordered_json& json) const;
  /// Writes a picture as the name of the file says.
  void Save(const std::string& path, const PixelStore& pixels, const Metadata& metadata,
            int quality = WriteOptions().quality) const;

 private:
  RunOptions options_;
  const Host& host_;
  const Call* call_ = nullptr;  // the one at work
};

/// Draws of one process happen one at a time, whichever thread they are on.
void DrawAlone(const std::function<void()>& draw);

}  // namespace rastelo::steps
