#include <vector>

#include "bench/judge.h"
#include "filter/convolve.h"
#include "filter/edges.h"
#include "filter/even_light.h"
#include "filter/invert.h"
#include "filter/push.h"
#include "filter/sobel.h"
#include "filter/template_operator.h"
#include "plain/filter.h"

namespace {

using judge::InPlace;
using judge::Register;
using rastelo::ConstImageView;
using rastelo::ImageView;

const int kSobel = Register("Sobel", "ours", InPlace(8, rastelo::ApplySobel)) +
                   Register("Sobel", "plain", InPlace(8, plain::ApplySobel));

/// What `of` gives for each entry of a template.
std::vector<double> Entries(std::int32_t size, double (*of)(int)) {
  std::vector<double> entries;
  for (int i = 0; i < size * size; ++i) entries.push_back(of(i));
  return entries;
}

/// Whole weights, differences in quarters, and entries among whose products some lie just under a
/// whole number.
const struct {
  const char* name;
  double (*entry)(int);
} kKinds[] = {{"whole", [](int i) { return i % 3 + 1.0; }},
              {"mixed", [](int i) { return i % 5 * 0.5 - 0.75; }},
              {"any", [](int i) { return i % 2 * 0.58 - 0.29; }}};

const int kTemplates = [] {
  for (const std::int32_t size : {3, 5, 7}) {
    for (const auto& kind : kKinds) {
      const std::string name = "template " + std::to_string(size) + " " + kind.name;
      const std::vector<double> entries = Entries(size, kind.entry);
      Register(name, "ours", InPlace(8, [=](ImageView gray) {
                 rastelo::ApplyTemplate(gray, entries.data(), size);
               }));
      Register(
          name, "plain",
          InPlace(8, [=](ImageView gray) { plain::ApplyTemplate(gray, entries.data(), size); }),
          {.sides = {512}});  // takes seconds at 4096
    }
  }
  return 0;
}();

std::int32_t SameSide(std::int32_t side) { return side; }

template <class Detect>
judge::MakeWork Edges(Detect detect) {
  return judge::ToTarget(8, 8, SameSide, detect);
}
const int kEdges = Register("edges", "ours", Edges(rastelo::DetectEdges)) +
                   Register("edges", "plain", Edges(plain::DetectEdges));

template <class Convolve>
judge::MakeWork Convolved(int bits, std::int32_t size, double (*entry)(int), Convolve convolve) {
  const std::vector<double> entries = Entries(size, entry);
  return judge::ToTarget(bits, bits, SameSide, [=](ConstImageView source, ImageView target) {
    convolve(source, bits / 8, entries, size, target);
  });
}

/// Differences in whole numbers, and weights whose products fall between whole numbers.
const struct {
  const char* name;
  double (*entry)(int);
} kConvolved[] = {{"whole", [](int i) { return i % 2 * 2.0 - 1; }},
                  {"any", [](int i) { return i % 3 * 0.02 + 0.007; }}};

const int kConvolutions = [] {
  for (const int bits : {8, 24}) {
    for (const std::int32_t size : {3, 5, 7}) {
      for (const auto& kind : kConvolved) {
        const std::string name = "convolve " + std::to_string(size) + " " + kind.name + " " +
                                 std::to_string(bits) + " bits";
        Register(name, "ours", Convolved(bits, size, kind.entry, rastelo::Convolve));
        Register(name, "plain", Convolved(bits, size, kind.entry, plain::Convolve),
                 {.sides = {512}});  // takes seconds at 4096
      }
    }
  }
  return 0;
}();

const int kPush =
    Register("two-level push", "ours",
             InPlace(8, [](ImageView gray) { rastelo::PushLevels(gray, 90, true, true); })) +
    Register("two-level push", "plain",
             InPlace(8, [](ImageView gray) { plain::PushLevels(gray, 90, true, true); }));

const int kComplement = Register("complement", "ours", InPlace(8, rastelo::InvertBytes)) +
                        Register("complement", "plain", InPlace(8, plain::InvertBytes));

void EvenOnce(ImageView gray) {
  std::vector<rastelo::ColumnLight> columns(static_cast<std::size_t>(gray.width));
  rastelo::MeasureColumns(gray, 255, columns);
  rastelo::LiftColumns(gray, columns);
}
const int kEvening = Register("evening, one pass", "ours", InPlace(8, EvenOnce)) +
                     Register("evening, one pass", "plain",
                              InPlace(8, [](ImageView gray) { plain::EvenColumns(gray, 255); }));

}  // namespace
