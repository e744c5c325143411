#include <opencv2/imgcodecs.hpp>

#include "bench/file_work.h"
#include "bench/peers.h"

namespace {

using judge::FilePath;
using judge::Setting;
using judge::Work;

Work Write(const Setting& setting) {
  return {[picture = judge::MatOf(setting.Picture(24)), path = FilePath(setting, ".peer.bmp")] {
    cv::imwrite(path, picture);
  }};
}

Work Read(const Setting& setting) {
  Write(setting).run();
  return {[target = std::make_shared<cv::Mat>(), path = FilePath(setting, ".peer.bmp")] {
    *target = cv::imread(path, cv::IMREAD_COLOR);
  }};
}

const int kBmp = judge::Register("BMP read", "peer", Read, judge::kFiles) +
                 judge::Register("BMP write", "peer", Write, judge::kFiles);

}  // namespace
