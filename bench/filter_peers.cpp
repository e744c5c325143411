#include <algorithm>
#include <cmath>

#include "bench/peers.h"

namespace {

using judge::PeerInPlace;
using judge::PeerWork;
using judge::Register;

void DetectEdges(const cv::Mat& gray, std::array<cv::Mat, 4>& m) {
  cv::Sobel(gray, m[0], CV_32F, 1, 0);
  cv::Sobel(gray, m[1], CV_32F, 0, 1);
  cv::magnitude(m[0], m[1], m[2]);
  m[2].convertTo(m[3], CV_8U);
}
const int kSobel = Register("Sobel", "peer", PeerWork<std::array<cv::Mat, 4>>(8, DetectEdges)) +
                   Register("edges", "peer", PeerWork<std::array<cv::Mat, 4>>(8, DetectEdges));

const int kTemplates = [] {
  for (const int size : {3, 5, 7}) {
    cv::Mat entries(size, size, CV_32F);
    for (int i = 0; i < size * size; ++i)
      entries.at<float>(i / size, i % size) = float(i % 5) * 0.3F - 0.55F;
    for (const char* kind : {" whole", " mixed", " any"})
      Register("template " + std::to_string(size) + kind, "peer",
               PeerWork(8, [entries](const cv::Mat& gray, cv::Mat& target) {
                 cv::filter2D(gray, target, CV_8U, entries);
               }));
  }
  return 0;
}();

const int kConvolutions = [] {
  for (const int size : {3, 5, 7}) {
    cv::Mat whole(size, size, CV_32F), any(size, size, CV_32F);
    for (int i = 0; i < size * size; ++i) {
      whole.at<float>(i / size, i % size) = float(i % 2) * 2 - 1;
      any.at<float>(i / size, i % size) = float(i % 3) * 0.02F + 0.007F;
    }
    for (const int bits : {8, 24})
      for (const auto& [kind, entries] : {std::pair{" whole ", whole}, {" any ", any}})
        Register("convolve " + std::to_string(size) + kind + std::to_string(bits) + " bits", "peer",
                 PeerWork(bits, [entries = entries](const cv::Mat& source, cv::Mat& target) {
                   cv::filter2D(source, target, CV_8U, entries, {-1, -1}, 0, cv::BORDER_REPLICATE);
                 }));
  }
  return 0;
}();

const int kPush = Register("two-level push", "peer", PeerInPlace(8, [](cv::Mat& gray) {
                             cv::threshold(gray, gray, 89, 255, cv::THRESH_BINARY);
                           }));

const int kComplement = Register(
    "complement", "peer", PeerInPlace(8, [](cv::Mat& gray) { cv::bitwise_not(gray, gray); }));

/// The same steps in matrices: means and deviations of columns, a gain and an offset for each, and
/// the lift of the pixels that are not bright.
void EvenOnce(cv::Mat& gray) {
  static cv::Mat sums, wide, squares, gains, offsets, lifted, mask;
  cv::reduce(gray, sums, 0, cv::REDUCE_SUM, CV_32F);
  gray.convertTo(wide, CV_32F);
  cv::multiply(wide, wide, lifted);
  cv::reduce(lifted, squares, 0, cv::REDUCE_SUM, CV_32F);
  gains.create(1, gray.cols, CV_32F);
  offsets.create(1, gray.cols, CV_32F);
  const auto rows = static_cast<float>(gray.rows);
  float brightest = 0, spread = 0;
  for (int x = 0; x < gray.cols; ++x) {
    const float mean = sums.at<float>(x) / rows;
    gains.at<float>(x) = std::sqrt(std::max(squares.at<float>(x) / rows - mean * mean, 1e-3F));
    offsets.at<float>(x) = mean;
    brightest = std::max(brightest, mean);
    spread = std::max(spread, gains.at<float>(x));
  }
  for (int x = 0; x < gray.cols; ++x) {
    gains.at<float>(x) = std::max(1.0F, std::floor(spread / gains.at<float>(x)));
    offsets.at<float>(x) = brightest - offsets.at<float>(x);
  }
  cv::multiply(wide, cv::repeat(gains, gray.rows, 1), wide);
  cv::add(wide, cv::repeat(offsets, gray.rows, 1), wide);
  wide.convertTo(lifted, CV_8U);
  cv::compare(gray, 240, mask, cv::CMP_LE);
  lifted.copyTo(gray, mask);
}
const int kEvening = Register("evening, one pass", "peer", PeerInPlace(8, EvenOnce));

}  // namespace
