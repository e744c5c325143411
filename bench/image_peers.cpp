#include "bench/peers.h"

namespace {

const int kKeyColour =
    judge::Register("key-colour pass", "peer", judge::PeerInPlace(24, [](cv::Mat& bgr) {
                      static cv::Mat isKey, others;
                      cv::inRange(bgr, cv::Scalar(255, 0, 255), cv::Scalar(255, 0, 255), isKey);
                      cv::bitwise_not(isKey, others);
                      bgr.setTo(cv::Scalar(70, 51, 41), others);
                    }));

}  // namespace
