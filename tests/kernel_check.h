#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pixels/image_view.h"

/// Runs `check` once with each instruction set that this machine has.
void OnEveryTarget(const std::function<void()>& check);

/// Pixels with a name, in a buffer of exactly their size, the bytes behind each row poisoned.
struct TestPicture {
  std::string name;
  int pixelBytes;
  std::int32_t width, height, pitch;
  std::vector<std::uint8_t> bits;

  rastelo::ImageView Pixels() { return {bits.data(), width, height, pitch}; }
  rastelo::ConstImageView Pixels() const { return {bits.data(), width, height, pitch}; }
  /// The same size, every byte poisoned.
  TestPicture Blank(std::int32_t newWidth, std::int32_t newHeight, int newPixelBytes) const;
};

/// What pictures to try: noise, soft shapes, one level, pixels of three equal bytes.
enum class Content { kNoise, kSoft, kFlat, kNeutral };
TestPicture MakePicture(std::int32_t width, std::int32_t height, int pixelBytes, Content content);

/// Calls `check` with pictures of every width from 0 to 130, of a few heights and contents, and of
/// some larger odd sizes.
void ForAwkwardPictures(int pixelBytes, const std::function<void(const TestPicture&)>& check);

/// Expects that both leave the same bytes, those behind the rows included, on every instruction
/// set: in one picture, or in every awkward one.
void ExpectSameInPlace(const TestPicture& picture,
                       const std::function<void(rastelo::ImageView)>& ours,
                       const std::function<void(rastelo::ImageView)>& plain);
void ExpectSameInPlace(int pixelBytes, const std::function<void(rastelo::ImageView)>& ours,
                       const std::function<void(rastelo::ImageView)>& plain);

/// The same for work from a picture to another one, which `make` gives the size and depth of.
using ToTarget = std::function<void(rastelo::ConstImageView, rastelo::ImageView)>;
void ExpectSameTarget(int pixelBytes,
                      const std::function<TestPicture(const TestPicture&)>& makeTarget,
                      const ToTarget& ours, const ToTarget& plain);
