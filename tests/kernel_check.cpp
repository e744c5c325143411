#include "tests/kernel_check.h"

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <algorithm>

namespace {

constexpr std::uint8_t kPoison = 0xA5;

std::uint8_t MakeByte(Content content, std::int32_t x, std::int32_t y, int plane, unsigned& grain) {
  switch (content) {
    case Content::kNoise:
      grain = grain * 1664525u + 1013904223u;
      return static_cast<std::uint8_t>(grain >> 24);
    case Content::kSoft:
      return static_cast<std::uint8_t>((x * x / 40 + y * y / 30 + 50 * plane) % 256);
    case Content::kFlat:
      return 255;
    default:
      return static_cast<std::uint8_t>(x * 7 + y);
  }
}

}  // namespace

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

TestPicture TestPicture::Blank(std::int32_t newWidth, std::int32_t newHeight,
                               int newPixelBytes) const {
  TestPicture blank{name,
                    newPixelBytes,
                    newWidth,
                    newHeight,
                    static_cast<std::int32_t>(rastelo::Pitch(newWidth, 8 * newPixelBytes)),
                    {}};
  blank.bits.assign(static_cast<std::size_t>(blank.pitch) * static_cast<std::size_t>(newHeight),
                    kPoison);
  return blank;
}

TestPicture MakePicture(std::int32_t width, std::int32_t height, int pixelBytes, Content content) {
  TestPicture picture = TestPicture{}.Blank(width, height, pixelBytes);
  picture.name = std::to_string(width) + " x " + std::to_string(height) + " x " +
                 std::to_string(pixelBytes) + ", content " +
                 std::to_string(static_cast<int>(content));
  unsigned grain = 1;
  for (std::int32_t y = 0; y < height; ++y)
    for (std::int32_t i = 0; i < width * pixelBytes; ++i)
      picture.Pixels().Row(y)[i] = MakeByte(content, i / pixelBytes, y, i % pixelBytes, grain);
  return picture;
}

void ForAwkwardPictures(int pixelBytes, const std::function<void(const TestPicture&)>& check) {
  constexpr Content kContents[] = {Content::kNoise, Content::kSoft, Content::kFlat,
                                   Content::kNeutral};
  for (std::int32_t width = 0; width <= 130; ++width)
    for (const std::int32_t height : {1, 2, 3, 7, 20})
      check(MakePicture(width, height, pixelBytes, kContents[(width + height) % 4]));
  for (const Content content : kContents) {
    check(MakePicture(517, 67, pixelBytes, content));
    check(MakePicture(67, 131, pixelBytes, content));
    check(MakePicture(256, 129, pixelBytes, content));
  }
}

void ExpectSameInPlace(const TestPicture& picture,
                       const std::function<void(rastelo::ImageView)>& ours,
                       const std::function<void(rastelo::ImageView)>& plain) {
  TestPicture expected = picture;
  plain(expected.Pixels());
  OnEveryTarget([&] {
    TestPicture changed = picture;
    ours(changed.Pixels());
    ASSERT_TRUE(changed.bits == expected.bits) << picture.name;
  });
}

void ExpectSameInPlace(int pixelBytes, const std::function<void(rastelo::ImageView)>& ours,
                       const std::function<void(rastelo::ImageView)>& plain) {
  ForAwkwardPictures(pixelBytes,
                     [&](const TestPicture& picture) { ExpectSameInPlace(picture, ours, plain); });
}

void ExpectSameTarget(int pixelBytes,
                      const std::function<TestPicture(const TestPicture&)>& makeTarget,
                      const ToTarget& ours, const ToTarget& plain) {
  ForAwkwardPictures(pixelBytes, [&](const TestPicture& picture) {
    const TestPicture blank = makeTarget(picture);
    TestPicture expected = blank;
    plain(picture.Pixels(), expected.Pixels());
    OnEveryTarget([&] {
      TestPicture target = blank;
      ours(picture.Pixels(), target.Pixels());
      ASSERT_TRUE(target.bits == expected.bits) << picture.name;
    });
  });
}
