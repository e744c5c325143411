#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "pixels/pixel_store.h"

/// Measures one operation in several ways, so that they can be compared: ours, the plain
/// definition, a peer. Google Benchmark runs what is registered here; bench/table.py sets the least
/// times side by side.
namespace judge {

enum class Content { kPhoto, kNoise, kFlat, kNeutral };

/// What an operation is measured on.
struct Setting {
  std::int32_t side;
  Content content;

  /// A square picture of this content, made once: soft shapes under fine grain, noise, level 200,
  /// or pixels of three equal bytes.
  const rastelo::PixelStore& Picture(int bitCount) const;
};

/// One way to do an operation: `run` is measured, `restore` goes before each run and is not.
/// Both own what they work on, destinations included, and keep it from run to run.
struct Work {
  std::function<void()> run;
  std::function<void()> restore = [] {};
};
using MakeWork = std::function<Work(const Setting&)>;

struct Range {
  std::vector<std::int32_t> sides = {512, 4096, 4093};
  std::vector<Content> contents = {Content::kPhoto, Content::kNoise};
};

/// Registers the benchmarks "`operation`/side/content/`variant`" for all of a range; ours also
/// at the sides 256, 1024 and 4096 of the range's first content. `operation` is the name under
/// which bench/goals.tsv lists it; `variant` is "ours", "plain" or "peer".
/// @return 0, to initialise a constant of a source file.
int Register(const std::string& operation, const std::string& variant, const MakeWork& make,
             const Range& range = {});

/// Work on a copy of the picture that is brought back before each run.
MakeWork InPlace(int bitCount, std::function<void(rastelo::ImageView)> work);

/// Work from the picture to another one of the size that `targetSide` gives.
MakeWork ToTarget(int bitCount, int targetBitCount,
                  std::function<std::int32_t(std::int32_t)> targetSide,
                  std::function<void(rastelo::ConstImageView, rastelo::ImageView)> work);

/// Keeps a value, and all memory, from being optimised away.
void Keep(const void* value);

}  // namespace judge
