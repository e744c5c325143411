#include "steps/run.h"

#include <mutex>
#include <nlohmann/json.hpp>

#include "image/inside.h"
#include "steps/error.h"

namespace rastelo::steps {
namespace {
std::string Of(const Call& call) { return "step '" + call.text + "': "; }
}  // namespace

Run::Run(Picture picture, const RunOptions& options, const Host& host)
    : source(std::move(picture)), options_(options), host_(host) {
  Adopt(source.pixels);
  source.pixels = {};
}

PixelStore Run::Pixels() const { return Inside::Current(image); }

void Run::Adopt(const PixelStore& pixels) {
  Inside::AdoptShared(image, pixels);
  hasVisibleArea = false;
}

void Run::Do(const Program& program) {
  for (const Call& call : program) {
    call_ = &call;
    try {
      if (call.step->needsGray && image.IsCanTrans2Gray())
        throw StepError("it needs a gray picture; put gray before it");
      call.step->apply(*this, call.values);
    } catch (const StepError& error) {
      throw StepError(Of(call) + error.what());
    } catch (const PictureError& error) {
      throw StepError(Of(call) + error.what());
    }
    // A step acts on the picture as it stands: a zoom, too, which samples what has come in.
    if (call.step->effect == Effect::kChange) Inside::AdoptShared(image, Pixels());
  }
}

void Run::Print(const std::string& text, const nlohmann::ordered_json& json) const {
  host_.print({call_->step->name, text, json});
}

void Run::Save(const std::string& path, const PixelStore& pixels, const Metadata& metadata,
               int quality) const {
  const auto format = path == "-" ? options_.standardOutput : FormatOfName(path);
  if (!format) throw CallError("'-' needs to know a format: --to jpg, bmp or png");
  const WriteOptions options = {*format, quality, options_.strip};
  host_.save(path, WritePicture(pixels.Pixels(), pixels.bitCount, metadata, options));
}

void DrawAlone(const std::function<void()>& draw) {
  static std::mutex drawing;
  const std::lock_guard alone(drawing);
  draw();
}

}  // namespace rastelo::steps
