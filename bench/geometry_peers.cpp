#include "bench/peers.h"
#include "geometry/zoom.h"

namespace {

using judge::Content;
using judge::PeerWork;
using judge::Register;

const int kGray = Register(
    "gray", "peer",
    PeerWork(
        24, [](const cv::Mat& bgr, cv::Mat& gray) { cv::cvtColor(bgr, gray, cv::COLOR_BGR2GRAY); }),
    {.contents = {Content::kPhoto, Content::kNoise, Content::kNeutral}});

void Rotate(const cv::Mat& source, cv::Mat& target) {
  cv::rotate(source, target, cv::ROTATE_90_CLOCKWISE);
}
const int kQuarterTurns =
    Register("quarter turn 8 bits", "peer", PeerWork(8, Rotate), {.contents = {Content::kPhoto}}) +
    Register("quarter turn 24 bits", "peer", PeerWork(24, Rotate), {.contents = {Content::kPhoto}});

int RegisterZooms() {
  const std::pair<const char*, double> factors[] = {
      {"x2", 2.0}, {"x1.37", 1.37}, {"x0.5", 0.5}, {"x0.73", 0.73}};
  for (const auto& [name, factor] : factors) {
    for (const int bits : {8, 24}) {
      Register(std::string("zoom ") + name + " " + std::to_string(bits) + " bits", "peer",
               PeerWork(bits,
                        [f = factor](const cv::Mat& source, cv::Mat& target) {
                          cv::resize(source, target, {}, f, f, cv::INTER_LINEAR);
                        }),
               {.contents = {Content::kPhoto}});
    }
  }
  return 0;
}
const int kZooms = RegisterZooms();

int RegisterShrinking() {
  const std::pair<const char*, double> factors[] = {
      {"x0.73", 0.73}, {"x0.5", 0.5}, {"x0.31", 0.31}, {"x0.25", 0.25}, {"x0.05", 0.05}};
  for (const auto& [name, factor] : factors) {
    for (const int bits : {8, 24}) {
      Register(std::string("shrink ") + name + " " + std::to_string(bits) + " bits", "peer",
               PeerWork(bits,
                        [f = factor](const cv::Mat& source, cv::Mat& target) {
                          const int side = rastelo::ZoomSide(source.cols, f).value();
                          cv::resize(source, target, {side, side}, 0, 0, cv::INTER_AREA);
                        }),
               {.contents = {Content::kPhoto}});
    }
  }
  return 0;
}
const int kShrinking = RegisterShrinking();

cv::Rect Middle(const cv::Mat& image) {
  return {image.cols / 4, image.rows / 4, image.cols / 2, image.rows / 2};
}
void BlackenAround(cv::Mat& image, const cv::Rect& middle) {
  image.rowRange(0, middle.y).setTo(0);
  image.rowRange(middle.y + middle.height, image.rows).setTo(0);
  image.rowRange(middle.y, middle.y + middle.height).colRange(0, middle.x).setTo(0);
  image.rowRange(middle.y, middle.y + middle.height)
      .colRange(middle.x + middle.width, image.cols)
      .setTo(0);
}
const int kBlocks =
    Register("block copy", "peer",
             PeerWork(24, [](const cv::Mat& source,
                             cv::Mat& target) { source(Middle(source)).copyTo(target); }),
             {.contents = {Content::kPhoto}}) +
    Register("black-out", "peer",
             judge::PeerInPlace(24, [](cv::Mat& image) { BlackenAround(image, Middle(image)); }),
             {.contents = {Content::kPhoto}}) +
    Register("row projection", "peer",
             PeerWork(8, [](const cv::Mat& gray,
                            cv::Mat& sums) { cv::reduce(gray, sums, 1, cv::REDUCE_SUM, CV_32S); }),
             {.contents = {Content::kPhoto}});

}  // namespace
