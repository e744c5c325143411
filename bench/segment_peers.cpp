#include "bench/peers.h"

namespace {

using judge::Content, judge::PeerInPlace, judge::PeerWork, judge::Register;

const judge::Range kRange = {.contents = {Content::kPhoto, Content::kNoise, Content::kFlat}};
constexpr int kRadius = 8;

/// Counts how often each pair of levels lies a step apart.
void CountPairs(const cv::Mat& gray, cv::Point step, cv::Mat& counts) {
  const cv::Rect all(0, 0, gray.cols, gray.rows);
  const cv::Mat pair[] = {gray(all & (all - step)), gray(all & (all + step))};
  const int channels[] = {0, 1}, levels[] = {256, 256};
  const float bounds[] = {0, 256};
  const float* ranges[] = {bounds, bounds};
  cv::calcHist(pair, 2, channels, {}, counts, 2, levels, ranges);
}

void SegmentContrasts(cv::Mat& gray) {
  static cv::Mat wide, sums, contrasts;
  cv::bitwise_not(gray, gray);
  cv::boxFilter(gray, sums, CV_32S, {2 * kRadius, 2 * kRadius}, {-1, -1}, false);
  gray.convertTo(wide, CV_32S, 4.0 * kRadius * kRadius);
  cv::subtract(wide, sums, contrasts);
  int totals[256] = {};
  for (int y = 0; y < gray.rows; ++y) {
    const std::uint8_t* levels = gray.ptr(y);
    const int* contrast = contrasts.ptr<int>(y);
    for (int x = 0; x < gray.cols; ++x) totals[levels[x]] += contrast[x];
  }
  judge::Keep(totals);
  cv::threshold(gray, gray, 127, 255, cv::THRESH_BINARY);
}

const int kSegment =
    Register("two levels by Otsu", "peer",
             PeerInPlace(8,
                         [](cv::Mat& gray) {
                           cv::threshold(gray, gray, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
                         })) +
    Register("Segment_Otsu", "peer",
             PeerInPlace(8,
                         [](cv::Mat& gray) {
                           cv::threshold(gray, gray, 0, 255, cv::THRESH_TOZERO | cv::THRESH_OTSU);
                         }),
             kRange) +
    Register("graph-cut search", "peer",
             PeerWork(8,
                      [](const cv::Mat& gray, cv::Mat& counts) {
                        for (const cv::Point step : {cv::Point{1, 0}, {-1, 1}, {0, 1}, {1, 1}})
                          CountPairs(gray, step, counts);
                      }),
             kRange) +
    Register("NDHM", "peer", PeerInPlace(8, SegmentContrasts), kRange);

}  // namespace
