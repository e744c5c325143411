#pragma once

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/judge.h"

/// What the peers' variants share.
namespace judge {

/// OpenCV may share its work among threads; here one does it all, as ours does.
inline const bool kOneThread = (cv::setNumThreads(1), true);

/// The picture as OpenCV sees it, rows in the order of memory. It owns nothing.
inline cv::Mat MatOf(const rastelo::PixelStore& picture) {
  return {picture.height, picture.width, picture.bitCount == 24 ? CV_8UC3 : CV_8UC1,
          picture.bits.get(), static_cast<std::size_t>(picture.pitch)};
}

/// Work from the picture to matrices that the work keeps; they own what they hold.
template <class Target = cv::Mat, class Run>
MakeWork PeerWork(int bitCount, Run run) {
  return [=](const Setting& setting) {
    const cv::Mat source = MatOf(setting.Picture(bitCount));
    const auto target = std::make_shared<Target>();
    return Work{[=] { run(source, *target); }};
  };
}

/// Work on a copy of the picture that is brought back before each run.
template <class Run>
MakeWork PeerInPlace(int bitCount, Run run) {
  return [=](const Setting& setting) {
    const cv::Mat source = MatOf(setting.Picture(bitCount));
    const auto copy = std::make_shared<cv::Mat>(source.clone());
    return Work{[=] { run(*copy); }, [=] { source.copyTo(*copy); }};
  };
}

}  // namespace judge
