#include "bench/peers.h"

namespace {

using judge::Content, judge::PeerInPlace, judge::PeerWork, judge::Register;

const judge::Range kRange = {.contents = {Content::kPhoto, Content::kNoise, Content::kFlat}};

void CountPlane(const cv::Mat& picture, int plane, cv::Mat& counts) {
  const int levels = 256;
  const float bounds[] = {0, 256};
  const float* ranges = bounds;
  cv::calcHist(&picture, 1, &plane, {}, counts, 1, &levels, &ranges);
}

const int kHistogram =
    Register("histogram 8 bits", "peer",
             PeerWork(8, [](const cv::Mat& gray, cv::Mat& counts) { CountPlane(gray, 0, counts); }),
             kRange) +
    Register("histogram 24 bits", "peer",
             PeerWork(24,
                      [](const cv::Mat& bgr, cv::Mat& counts) {
                        for (int plane = 0; plane < 3; ++plane) CountPlane(bgr, plane, counts);
                      }),
             kRange) +
    Register("mean gray", "peer",
             PeerWork<cv::Scalar>(
                 8, [](const cv::Mat& gray, cv::Scalar& mean) { mean = cv::mean(gray); })) +
    Register("equalise 8 bits", "peer",
             PeerInPlace(8, [](cv::Mat& gray) { cv::equalizeHist(gray, gray); }), kRange) +
    Register("equalise 24 bits", "peer",
             PeerInPlace(24,
                         [](cv::Mat& bgr) {
                           static cv::Mat planes[3];
                           cv::split(bgr, planes);
                           for (cv::Mat& plane : planes) cv::equalizeHist(plane, plane);
                           cv::merge(planes, 3, bgr);
                         }),
             kRange);

}  // namespace
