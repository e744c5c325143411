#include "bench/peers.h"

namespace {

const int kKeyColour =
    judge::Register("key-colour pass", "peer", judge::PeerInPlace(24, [](cv::Mat& bgr) {
                      static cv::Mat isKey, others;
                      cv::inRange(bgr, cv::Scalar(255, 0, 255), cv::Scalar(255, 0, 255), isKey);
                      cv::bitwise_not(isKey, others);
                      bgr.setTo(cv::Scalar(70, 51, 41), others);
                    }));

const int kDraws =
    judge::Register("draw one to one", "peer",
                    judge::PeerWork(24,
                                    [](const cv::Mat& bgr, cv::Mat& surface) {
                                      cv::cvtColor(bgr, surface, cv::COLOR_BGR2BGRA);
                                    }),
                    {.contents = {judge::Content::kPhoto}}) +
    judge::Register("draw stretched", "peer",
                    judge::PeerWork(24,
                                    [](const cv::Mat& bgr, cv::Mat& surface) {
                                      static cv::Mat scaled;
                                      cv::resize(bgr, scaled, {}, 0.75, 0.75, cv::INTER_NEAREST);
                                      cv::cvtColor(scaled, surface, cv::COLOR_BGR2BGRA);
                                    }),
                    {.contents = {judge::Content::kPhoto}});

const int kRows = judge::Register(
    "reverse rows", "peer", judge::PeerInPlace(24, [](cv::Mat& bgr) { cv::flip(bgr, bgr, 0); }),
    {.contents = {judge::Content::kPhoto}});

}  // namespace
