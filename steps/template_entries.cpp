#include "steps/template_entries.h"

#include <charconv>
#include <cmath>

#include "steps/error.h"
#include "steps/platform/files.h"
#include "steps/table.h"

namespace rastelo::steps {
namespace {

constexpr double kNinth = 1.0 / 9;

std::vector<double> NamedEntries(std::string_view name) {
  if (name == "mean")
    return {kNinth, kNinth, kNinth, kNinth, kNinth, kNinth, kNinth, kNinth, kNinth};
  if (name == "gauss") return {0.0625, 0.125, 0.0625, 0.125, 0.25, 0.125, 0.0625, 0.125, 0.0625};
  if (name == "sharpen") return {0, -1, 0, -1, 5, -1, 0, -1, 0};
  if (name == "laplace") return {0, -1, 0, -1, 4, -1, 0, -1, 0};
  if (name == "emboss") return {-1, -1, 0, -1, 1, 1, 0, 1, 1};
  return {};
}

std::string ReadText(const std::string& path) try {
  const platform::Bytes bytes = platform::ReadFile(path);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
} catch (const platform::FileError& error) {
  const auto nearest = NearestWord(path, kTemplateNames);
  throw StepError("cannot read the template file '" + path + "': " + error.what() +
                  (nearest ? "; did you mean '" + std::string(*nearest) + "'?" : ""));
}

double NumberOf(const std::string& word) {
  double number = 0;
  const char* end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, number);
  if (error != std::errc() || stop != end || !std::isfinite(number))
    throw StepError("'" + word + "' in the template file is no number");
  return number;
}

std::vector<double> ReadEntries(const std::string& path) {
  const std::string text = ReadText(path);
  std::vector<double> entries;
  constexpr const char* kBlanks = " \t\r\n";
  for (std::size_t place = text.find_first_not_of(kBlanks); place != std::string::npos;) {
    const std::size_t end = text.find_first_of(kBlanks, place);
    entries.push_back(NumberOf(text.substr(place, end - place)));
    place = text.find_first_not_of(kBlanks, end);
  }
  return entries;
}

}  // namespace

Template FindTemplate(const std::string& name) {
  Template found = {NamedEntries(name), 3};
  if (!found.values.empty()) return found;
  found.values = ReadEntries(name);
  const std::size_t count = found.values.size();
  found.size = static_cast<int>(std::lround(std::sqrt(static_cast<double>(count))));
  if (found.size % 2 == 0 || std::size_t(found.size) * std::size_t(found.size) != count)
    throw StepError("the template file needs the numbers of a square with odd sides; it has " +
                    std::to_string(count));
  return found;
}

}  // namespace rastelo::steps
