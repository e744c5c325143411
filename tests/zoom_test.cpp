// Zoom: sizes, samples, and what is left alone.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "geometry/zoom.h"
#include "plain/geometry.h"
#include "testing/object_state.h"
#include "tests/kernel_check.h"

using rastelo::Inside;

namespace {

/// What the plain definition gives. Row tails are 0.
LiteralImage PlainZoom(LiteralImage source, int width, int height) {
  LiteralImage target(width, height, source.pixelBytes);
  target.bytes.assign(target.bytes.size(), 0);
  plain::ZoomBilinear(source.Pixels(), target.Pixels(), source.pixelBytes);
  return target;
}

TEST(Zoom, GivesTheSamplesWorkedOutByHand) {
  const LiteralImage threeByTwo = {{10, 20, 40}, {200, 100, 0}}, corner = {{0, 100}, {200, 50}};
  const LiteralImage white = {{255, 255, 255}, {255, 255, 255}, {255, 255, 255}};
  const std::tuple<LiteralImage, int, int, std::vector<int>> cases[] = {
      {threeByTwo, 6, 2, {10, 15, 20, 30, 40, 30, 0, 0, 200, 150, 100, 50, 0, 50, 0, 0}},
      {threeByTwo, 6, 4, {10,  15,  20,  30, 40, 30, 0, 0, 105, 82, 60, 40, 20, 40, 0, 0,
                          200, 150, 100, 50, 0,  50, 0, 0, 105, 82, 60, 40, 20, 40, 0, 0}},
      {corner, 4, 4, {0, 50, 100, 50, 100, 87, 75, 87, 200, 125, 50, 125, 100, 87, 75, 87}},
      {white, 7, 7, {255, 255, 255, 255, 255, 255, 255, 0, 255, 254}},
  };
  for (const auto& [source, width, height, first] : cases) {
    CRastelo object = ObjectWith(source);
    EXPECT_EQ(object.Zoom_Size(width, height), 1);
    const LiteralImage image = ImageOf(object);
    EXPECT_TRUE(std::equal(first.begin(), first.end(), image.bytes.begin())) << image;
  }
}

TEST(ZoomBilinear, IsThePlainOneOnEveryTarget) {
  for (const double factor : {2.0, 1.37, 0.5, 0.73, 0.31}) {
    for (const int bytes : {1, 3}) {
      const auto scaled = [=](const TestPicture& picture) {
        return picture.Blank(static_cast<std::int32_t>(picture.width * factor),
                             static_cast<std::int32_t>(picture.height * factor), bytes);
      };
      ExpectSameTarget(
          bytes, scaled,
          [=](auto source, auto target) { rastelo::ZoomBilinear(source, bytes, target, bytes); },
          [=](auto source, auto target) { plain::ZoomBilinear(source, target, bytes); });
    }
  }
}

TEST(ZoomBilinear, IsThePlainOneBeyondOneStripOfColumns) {
  const TestPicture source = MakePicture(3001, 5, 3, Content::kNoise);
  for (const std::int32_t width : {1500, 3001, 4115, 6002}) {
    TestPicture expected = source.Blank(width, 60, 3);  // up to 1.03 MiB
    plain::ZoomBilinear(source.Pixels(), expected.Pixels(), 3);
    OnEveryTarget([&] {
      TestPicture target = source.Blank(width, 60, 3);
      rastelo::ZoomBilinear(source.Pixels(), 3, target.Pixels(), 3);
      EXPECT_TRUE(target.bits == expected.bits) << width;
    });
  }
}

TEST(Zoom, SamplesThePixelsThatCameIn) {
  const int odd[][4] = {{67, 45, 131, 97}, {67, 45, 20, 31}, {45, 67, 1, 1}, {1, 300, 7, 299}};
  for (int i = 0; i < 3 * (36 * 100 + 4); ++i) {
    const int n = i / 3 - 4, *pair = n < 0 ? odd[n + 4] : nullptr;
    const int w = pair ? pair[0] : n % 6 + 1, h = pair ? pair[1] : n / 6 % 6 + 1;
    const int width = pair ? pair[2] : n / 36 % 10, height = pair ? pair[3] : n / 360;
    const LiteralImage image = Noise(w, h, i % 3 == 0 ? 1 : 3);
    CRastelo object = ObjectWith(image);
    if (i % 3 == 2) object.RGBImg2Gray();  // the loaded colours show as gray, too
    const LiteralImage seen = ImageOf(object);
    const bool asLoaded = width == w && height == h && i % 3 != 2;
    object.RotateImage_Dir(1);
    object.ReserveImgBlock(0, 0, 2, 2);
    CRastelo other = object;
    const auto before = ObjectState(other);
    EXPECT_EQ(object.Zoom_Size(width, height), 1);
    ASSERT_EQ(ImageOf(object), asLoaded ? image : PlainZoom(seen, width, height)) << image;
    object.InverseGray();
    EXPECT_EQ(ObjectState(object).loaded, image.bytes);
    EXPECT_TRUE(object.IsOpened() && IsConsistent(object));
    EXPECT_EQ(ObjectState(other), before) << "a copy keeps its pixels";
  }
}

TEST(Zoom, StaysInsideTheSourceWhereSinglePrecisionDoesNot) {
  CRastelo object = ObjectWith({{10, 200}});
  const LONG width = (1 << 24) + 4;  // its last column comes to lie on column 2
  EXPECT_EQ(object.Zoom_Size(width, 1), 1);
  EXPECT_EQ(Inside::Pixels(object).bits[width - 1], 200);
}

TEST(Zoom, WorksOutSizesFromTheCurrentOne) {
  const std::tuple<double, LONG, LONG> cases[] = {
      // from 5 x 4
      {0.5, 3, 2},   {2, 10, 8},    {1.2, 6, 5},      {1, 5, 4},        {0, 0, 0},
      {0.125, 1, 1}, {-0.29, 0, 0}, {-0.31, 5, 4},    {-1, 5, 4},       {1e300, 5, 4},
      {NAN, 5, 4},   {1e9, 5, 4},   {INFINITY, 5, 4}, {-INFINITY, 5, 4}};
  for (const auto& [factor, width, height] : cases) {
    for (bool out : {false, true}) {
      CRastelo object = ObjectWith(Noise(5, 4, 3));
      EXPECT_EQ(out ? object.Zoom_Out(factor - 1) : object.Zoom_In(factor), 1);
      EXPECT_EQ(object.GetWidth(), width) << factor;
      EXPECT_EQ(object.GetHeight(), height) << factor;
      EXPECT_EQ(object.Zoom_Size(5, 4), 1);
      EXPECT_EQ(ImageOf(object), Noise(5, 4, 3)) << "and back";
    }
  }
  CRastelo object = ObjectWith(Noise(5, 4));
  object.RotateImage_Dir(1);
  object.Zoom_In(2);
  EXPECT_EQ(ImageOf(object), PlainZoom(Noise(5, 4), 8, 10)) << "turned sizes, loaded pixels";
}

TEST(Zoom, ChangesNothingWithoutASizeOrASource) {
  const std::pair<LONG, LONG> sizes[] = {
      {-1, 4}, {4, -1}, {INT_MAX, 1}, {1 << 16, 1 << 15}, {INT_MAX, INT_MAX}, {9, 9}, {5, 4}};
  for (int i = 0; i < 4 * 7; ++i) {
    const auto& [width, height] = sizes[i / 4];
    const int pixelBytes = i % 4 + 1;  // 2 and 4: depths that no operation knows
    CRastelo object = ObjectWith(Noise(5, 4, pixelBytes)), empty;
    if (i / 4 >= 5 && pixelBytes % 2 == 1) object.Close();
    for (CRastelo* image : {&object, &empty}) {
      const auto before = ObjectState(*image);
      EXPECT_EQ(image->Zoom_Size(width, height), 1);
      EXPECT_EQ(ObjectState(*image), before) << width << " x " << height;
      const LONG side = image->GetWidth();
      EXPECT_EQ(image->Zoom_In(pixelBytes % 2 == 0 ? 2.0 : 1.0) + image->Zoom_Out(0), 2);
      EXPECT_EQ(image->GetWidth(), side);
      EXPECT_TRUE(IsConsistent(*image));
    }
  }
}

}  // namespace
