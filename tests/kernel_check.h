#pragma once

#include <functional>
#include <string>

#include "histogram/histogram.h"
#include "testing/literal_image.h"

/// Runs `check` once with each instruction set that this machine has.
void OnEveryTarget(const std::function<void()>& check);

/// The instruction sets that the kernels are compiled for, in one line: those that OnEveryTarget
/// compares, and those that it leaves out because this machine lacks them.
std::string InstructionSets();

/// What pictures to try: noise, soft shapes, one level, pixels of three equal bytes.
enum class Content { kNoise, kSoft, kFlat, kNeutral };
LiteralImage MakePicture(std::int32_t width, std::int32_t height, int pixelBytes, Content content);

/// Calls `check` with pictures of every width from 0 to 130, of a few heights and contents, and of
/// some larger odd sizes.
void ForAwkwardPictures(int pixelBytes, const std::function<void(const LiteralImage&)>& check);

/// Expects that both leave the same bytes, those behind the rows included, on every instruction
/// set: in one picture, or in every awkward one.
using InPlace = std::function<void(rastelo::ImageView)>;
void ExpectSameInPlace(const LiteralImage& picture, const InPlace& ours, const InPlace& plain);
void ExpectSameInPlace(int pixelBytes, const InPlace& ours, const InPlace& plain);

/// The same for work from a picture to `target`, or from every awkward one to a target that
/// `makeTarget` gives.
using ToTarget = std::function<void(rastelo::ConstImageView, rastelo::ImageView)>;
void ExpectSameTarget(const LiteralImage& picture, const LiteralImage& target, const ToTarget& ours,
                      const ToTarget& plain);
void ExpectSameTarget(int pixelBytes,
                      const std::function<LiteralImage(const LiteralImage&)>& makeTarget,
                      const ToTarget& ours, const ToTarget& plain);

/// Counts that are hard to search, another kind and other numbers for each `n`: few levels or all,
/// small numbers or such as only the largest images have, empty levels, one level far above all
/// others, shares of one percent; often mirrored at `last` / 2, so that thresholds nearly tie.
rastelo::Histogram AwkwardCounts(unsigned n, std::size_t last);
