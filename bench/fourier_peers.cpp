#include <fftw3.h>

#include <memory>

#include "bench/judge.h"

namespace {

using judge::Content;
using judge::Setting;
using judge::Work;

/// A plan with its arrays. Its transform leaves the input as it is.
struct Plan {
  explicit Plan(const rastelo::PixelStore& picture)
      : elements(fftw_alloc_complex(picture.Bytes())),
        coefficients(fftw_alloc_complex(picture.Bytes())),
        plan(fftw_plan_dft_2d(picture.height, picture.width, elements, coefficients, FFTW_FORWARD,
                              FFTW_MEASURE)) {
    for (std::size_t i = 0; i < picture.Bytes(); ++i) {
      elements[i][0] = picture.bits[static_cast<std::ptrdiff_t>(i)];
      elements[i][1] = 0.0;
    }
  }
  ~Plan() {
    fftw_destroy_plan(plan);
    fftw_free(coefficients);
    fftw_free(elements);
  }
  Plan(const Plan&) = delete;
  Plan& operator=(const Plan&) = delete;

  fftw_complex *elements, *coefficients;
  fftw_plan plan;
};

Work Transform(const Setting& setting) {
  const auto plan = std::make_shared<Plan>(setting.Picture(8));
  return {[=] { fftw_execute(plan->plan); }};
}

const int kTransform = judge::Register("FFT", "peer", Transform,
                                       {{512, 1024, 2048}, {Content::kPhoto, Content::kNoise}});

}  // namespace
