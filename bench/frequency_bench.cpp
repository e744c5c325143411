#include <algorithm>

#include "bench/judge.h"
#include "frequency/magnitudes.h"
#include "plain/frequency.h"
#include "rastelo.h"

namespace {

using judge::Content;
using judge::Register;
using judge::Setting;
using judge::Work;
using rastelo::PixelStore;

/// What a transform works in and leaves.
struct Arrays {
  explicit Arrays(std::int32_t newSide)
      : side(newSide),
        rows(static_cast<std::size_t>(side) * static_cast<std::size_t>(side)),
        coefficients(rows.size()),
        cells(rows.size()) {}
  std::int32_t side;
  std::vector<Complex> rows, coefficients;
  std::vector<std::uint8_t> cells;
};

std::shared_ptr<CRastelo> ObjectOf(const Setting& setting) {
  const PixelStore& picture = setting.Picture(8);
  const auto object = std::make_shared<CRastelo>();
  object->SetExternalImageBits(picture.bits.get(), picture.width, picture.height, 8);
  return object;
}

Work OurTransform(const Setting& setting) {
  const auto object = ObjectOf(setting);
  return {[=] { object->FFT(); }};
}

Work PlainTransform(const Setting& setting) {
  const auto arrays = std::make_shared<Arrays>(setting.side);
  const PixelStore& picture = setting.Picture(8);
  return {[=, &picture] {
    for (std::size_t i = 0; i < arrays->rows.size(); ++i)
      arrays->rows[i] = {double{1} * picture.bits[static_cast<std::ptrdiff_t>(i)], 0.0};
    Complex* coefficients = arrays->coefficients.data();
    plain::TransformPlane(arrays->rows.data(), coefficients, arrays->side, arrays->side);
    plain::DrawMagnitudes(coefficients, arrays->side, arrays->side, arrays->cells.data());
  }};
}

const judge::Range kTransformed{{512, 1024, 2048}, {Content::kPhoto, Content::kNoise}};
const int kTransform = Register("FFT", "ours", OurTransform, kTransformed) +
                       Register("FFT", "plain", PlainTransform, kTransformed);

using Cut = void (*)(Complex*, std::int32_t, std::int32_t, double, std::uint8_t*);

/// Cuts the larger half of coefficients that lie between 0 and 400 hundreds.
judge::MakeWork CutHalf(Cut cut) {
  return [=](const Setting& setting) {
    const auto arrays = std::make_shared<Arrays>(setting.side);
    unsigned grain = 1;
    for (Complex& z : arrays->rows) {
      grain = grain * 1664525u + 1013904223u;
      z = {(grain >> 8) / 592.0, (grain & 0xFF) * 10.0};
    }
    return Work{[=] {
                  cut(arrays->coefficients.data(), arrays->side, arrays->side, 150.0,
                      arrays->cells.data());
                },
                [=] { arrays->coefficients = arrays->rows; }};
  };
}

const judge::Range kCut{{512, 4096}, {Content::kNoise}};
const int kCutMagnitudes = Register("ILPF", "ours", CutHalf(rastelo::CutMagnitudes), kCut) +
                           Register("ILPF", "plain", CutHalf(plain::CutMagnitudes), kCut);

}  // namespace
