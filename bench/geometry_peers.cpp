#include "bench/peers.h"

namespace {

using judge::Content;
using judge::PeerWork;
using judge::Register;

const int kGray = Register(
    "gray", "peer",
    PeerWork(
        24, [](const cv::Mat& bgr, cv::Mat& gray) { cv::cvtColor(bgr, gray, cv::COLOR_BGR2GRAY); }),
    {.contents = {Content::kPhoto, Content::kNoise, Content::kNeutral}});

void Turn(const cv::Mat& source, cv::Mat& target) {
  cv::rotate(source, target, cv::ROTATE_90_CLOCKWISE);
}
const int kTurns =
    Register("quarter turn 8 bits", "peer", PeerWork(8, Turn), {.contents = {Content::kPhoto}}) +
    Register("quarter turn 24 bits", "peer", PeerWork(24, Turn), {.contents = {Content::kPhoto}});

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

}  // namespace
