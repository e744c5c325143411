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

}  // namespace
