#pragma once

#include <algorithm>
#include <limits>
#include <optional>

namespace rastelo {

/// Where a search looks next: `estimate` is close to what the rating of `place` is worth; a rating
/// that is not `isSure` may not count in the end.
template <class Place>
struct EstimatedPlace {
  Place place;
  double estimate;
  bool isSure = true;
};

/// The first of the places with the least rating below `most`, in the order of the search. Ratings
/// are sums whose order decides their last bits, and cost as much as the image or more; so they are
/// worked out only for the places that cheap estimates leave.
/// @param forEach   calls its argument with each EstimatedPlace<Place>, in order; is called again.
/// @param closeTo   closeTo(least): the highest estimate that a place can have whose rating is not
///                  above that of a place estimated at `least`, by the bounds of both roundings.
/// @param rate      the rating of a place; one that is no number does not count.
template <class Place, class ForEach, class CloseTo, class Rate>
std::optional<Place> FindFirstLeast(ForEach forEach, CloseTo closeTo, double most, Rate rate) {
  double least = std::numeric_limits<double>::infinity(), next = least;
  std::optional<Place> first;
  forEach([&](const EstimatedPlace<Place>& at) {
    if (at.isSure && at.estimate < least) {
      next = std::min(next, least);
      least = at.estimate;
      first = at.place;
    } else {
      next = std::min(next, at.estimate);
    }
  });
  const double limit = closeTo(least);
  if (first && next > limit) return first;

  std::optional<Place> best;
  forEach([&](const EstimatedPlace<Place>& at) {
    if (!(at.estimate <= limit)) return;
    const double rating = rate(at.place);
    if (!(rating < most)) return;
    most = rating;
    best = at.place;
  });
  return best;
}

}  // namespace rastelo
