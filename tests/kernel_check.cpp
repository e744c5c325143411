#include "tests/kernel_check.h"

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <algorithm>
#include <iostream>
#include <random>

void OnEveryTarget(const std::function<void()>& check) {
  std::vector<std::int64_t> targets = hwy::SupportedAndGeneratedTargets();
  if (std::find(targets.begin(), targets.end(), HWY_STATIC_TARGET) == targets.end())
    targets.push_back(HWY_STATIC_TARGET);
  for (const std::int64_t target : targets) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().DeInit();
    check();
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().DeInit();
}

std::string InstructionSets() {
  std::string said = "compared on";
  OnEveryTarget([&] { said += std::string(" ") + hwy::TargetName(hwy::SupportedTargets()); });
  std::int64_t left = HWY_TARGETS & ~hwy::SupportedTargets();
  said += left == 0 ? "; this machine lacks none" : "; this machine lacks";
  for (; left != 0; left &= left - 1) said += std::string(" ") + hwy::TargetName(left & -left);
  return said;
}

TEST(InstructionSets, AreSaid) {
  std::cout << InstructionSets() << '\n';
  EXPECT_NE(InstructionSets().find(hwy::TargetName(HWY_STATIC_TARGET)), std::string::npos);
}

LiteralImage MakePicture(std::int32_t width, std::int32_t height, int pixelBytes, Content content) {
  LiteralImage picture = Noise(width, height, pixelBytes);
  for (int i = 0; content != Content::kNoise && i < picture.Count() * pixelBytes; ++i) {
    const int plane = i % pixelBytes, x = i / pixelBytes % width, y = i / pixelBytes / width;
    const int soft = (x * x / 40 + y * y / 30 + 50 * plane) % 256, neutral = x * 7 + y;
    picture.At(x * pixelBytes + plane, y) = std::uint8_t(content == Content::kSoft   ? soft
                                                         : content == Content::kFlat ? 255
                                                                                     : neutral);
  }
  return picture;
}

void ForAwkwardPictures(int pixelBytes, const std::function<void(const LiteralImage&)>& check) {
  constexpr Content kContents[] = {Content::kNoise, Content::kSoft, Content::kFlat,
                                   Content::kNeutral};
  for (std::int32_t width = 0; width <= 130; ++width)
    for (const std::int32_t height : {1, 2, 3, 7, 20})
      check(MakePicture(width, height, pixelBytes, kContents[(width + height) % 4]));
  for (const Content content : kContents)
    for (const auto& [width, height] : {std::pair(517, 67), {67, 131}, {256, 129}})
      check(MakePicture(width, height, pixelBytes, content));
}

void ExpectSameInPlace(const LiteralImage& picture, const InPlace& ours, const InPlace& plain) {
  LiteralImage expected = picture;
  plain(expected.Pixels());
  OnEveryTarget([&] {
    LiteralImage changed = picture;
    ours(changed.Pixels());
    ASSERT_EQ(changed, expected);
  });
}

void ExpectSameInPlace(int pixelBytes, const InPlace& ours, const InPlace& plain) {
  ForAwkwardPictures(pixelBytes,
                     [&](const LiteralImage& picture) { ExpectSameInPlace(picture, ours, plain); });
}

void ExpectSameTarget(const LiteralImage& picture, const LiteralImage& target, const ToTarget& ours,
                      const ToTarget& plain) {
  ExpectSameInPlace(
      target, [&](auto pixels) { ours(picture.Pixels(), pixels); },
      [&](auto pixels) { plain(picture.Pixels(), pixels); });
}

void ExpectSameTarget(int pixelBytes,
                      const std::function<LiteralImage(const LiteralImage&)>& makeTarget,
                      const ToTarget& ours, const ToTarget& plain) {
  ForAwkwardPictures(pixelBytes, [&](const LiteralImage& picture) {
    ExpectSameTarget(picture, makeTarget(picture), ours, plain);
  });
}

rastelo::Histogram AwkwardCounts(unsigned n, std::size_t last) {
  std::mt19937 generator(n);
  const auto random = [&] { return static_cast<unsigned>(generator()); };
  rastelo::Histogram counts{};
  const unsigned kind = n % 10;
  const unsigned levels = kind == 0 ? n / 10 % 3 : kind < 5 ? 3 + random() % 6 : 400;
  const unsigned most = std::array{2u, 5u, 100u, 1u << 20, 0x7FFFFFFFu}[n / 2 % 5];
  for (unsigned i = 0; i < levels; ++i)
    counts[random() % (kind % 2 == 0 ? 256 : 100)] = static_cast<int>(random() % most) + 1;
  if (kind == 5) counts[random() % 256] = INT32_MAX;
  if (kind == 6) counts = {99}, counts[random() % 255 + 1] = 1;
  if (kind == 7) counts.fill(INT32_MAX);
  if (kind % 3 == 0)
    for (std::size_t i = 0; 2 * i < last; ++i) counts[last - i] = counts[i];
  return counts;
}
