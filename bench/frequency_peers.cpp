#include "bench/peers.h"

namespace {

using judge::Content;
using judge::Setting;
using judge::Work;

struct Planes {
  cv::Mat re, im, reBefore, imBefore, magnitudes, isCut;
};

/// The same coefficients as ours, re and im in a plane each, as OpenCV wants them.
Work CutHalf(const Setting& setting) {
  const auto planes = std::make_shared<Planes>();
  planes->reBefore.create(setting.side, setting.side, CV_64F);
  planes->imBefore.create(setting.side, setting.side, CV_64F);
  unsigned grain = 1;
  for (std::size_t i = 0; i < planes->reBefore.total(); ++i) {
    grain = grain * 1664525u + 1013904223u;
    planes->reBefore.ptr<double>()[i] = (grain >> 8) / 592.0;
    planes->imBefore.ptr<double>()[i] = (grain & 0xFF) * 10.0;
  }
  return {[=] {
            cv::magnitude(planes->re, planes->im, planes->magnitudes);
            cv::compare(planes->magnitudes, 15000.0, planes->isCut, cv::CMP_GT);
            planes->re.setTo(0.0, planes->isCut);
            planes->im.setTo(0.0, planes->isCut);
          },
          [=] {
            planes->reBefore.copyTo(planes->re);
            planes->imBefore.copyTo(planes->im);
          }};
}

const int kCut = judge::Register("ILPF", "peer", CutHalf, {{512, 4096}, {Content::kNoise}});

}  // namespace
