#include "steps/table.h"

#include <algorithm>
#include <numeric>

#include "steps/error.h"
#include "steps/families.h"

namespace rastelo::steps {
namespace {

/// How many letters must be added, dropped, replaced or exchanged with their neighbour to make one
/// word of the other (Damerau 1964, Levenshtein 1966).
std::size_t Distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> before(to.size() + 1), last(to.size() + 1), row(to.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    row[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      row[j + 1] = std::min({row[j] + 1, last[j + 1] + 1, last[j] + (from[i] != to[j] ? 1 : 0)});
      if (i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j])
        row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
    }
    std::swap(before, last);
    std::swap(last, row);
  }
  return last.back();
}

}  // namespace

std::span<const Step> Steps() {
  static const std::vector<Step> steps = [] {
    std::vector<Step> all;
    for (const auto family : {PictureSteps(), GeometrySteps(), HistogramSteps(), SegmentSteps(),
                              FilterSteps(), FrequencySteps()})
      all.insert(all.end(), family.begin(), family.end());
    return all;
  }();
  return steps;
}

std::optional<std::string_view> NearestWord(std::string_view word,
                                            std::span<const std::string_view> known) {
  std::optional<std::string_view> nearest;
  std::size_t fewest = std::max<std::size_t>(2, word.size() / 3);
  for (const std::string_view name : known) {
    const std::size_t distance = Distance(word, name);
    if (distance >= std::max(word.size(), name.size()) || distance > fewest) continue;
    if (nearest && distance == fewest) continue;
    nearest = name;
    fewest = distance;
  }
  return nearest;
}

const Step& FindStep(std::string_view name) {
  std::vector<std::string_view> names;
  for (const Step& step : Steps()) {
    if (step.name == name) return step;
    names.push_back(step.name);
  }
  const auto nearest = NearestWord(name, names);
  throw CallError(
      "there is no step '" + std::string(name) + "'; " +
      (nearest ? "did you mean '" + std::string(*nearest) + "'?" : "'rastelo steps' lists them"));
}

}  // namespace rastelo::steps
