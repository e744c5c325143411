// Steps that filter pixels and even the light.
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "tools/error.h"
#include "tools/step_arguments.h"
#include "tools/step_families.h"

namespace rastelo::tools {
namespace {

Action ParseSobel(const std::string&) {
  return [](RunState& state) { state.image.Img_Sobel(); };
}

struct NamedTemplate {
  std::string_view name;
  std::vector<double> entries;
};

const std::vector<NamedTemplate>& NamedTemplates() {
  static const std::vector<NamedTemplate> templates = {
      {"mean", std::vector<double>(9, 1.0 / 9)},
      {"gauss", {0.0625, 0.125, 0.0625, 0.125, 0.25, 0.125, 0.0625, 0.125, 0.0625}},
      {"sharpen", {0, -1, 0, -1, 5, -1, 0, -1, 0}},
      {"laplace", {0, -1, 0, -1, 4, -1, 0, -1, 0}},
      {"emboss", {-1, -1, 0, -1, 1, 1, 0, 1, 1}},
  };
  return templates;
}

/// The numbers of a text file, with white space between them.
std::vector<double> ReadTemplate(const std::string& path) {
  std::ifstream file(path);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  if (!file || !std::filesystem::is_regular_file(path))
    throw OperationError("cannot read the template file '" + path + "'");
  std::vector<double> entries;
  constexpr const char* kBlanks = " \t\r\n";
  for (std::size_t place = text.find_first_not_of(kBlanks); place != std::string::npos;) {
    const std::size_t end = text.find_first_of(kBlanks, place);
    const std::string word = text.substr(place, end - place);
    NumberReader reader(word);
    if (!reader.Read(entries.emplace_back()) || !reader.AtEnd())
      throw UsageError("'" + word + "' in the template file is no number");
    place = text.find_first_not_of(kBlanks, end);
  }
  return entries;
}

Action ParseTemplate(const std::string& argument) {
  std::vector<double> entries;
  for (const NamedTemplate& known : NamedTemplates())
    if (known.name == argument) entries = known.entries;
  if (entries.empty()) entries = ReadTemplate(argument);
  const auto size = static_cast<int>(std::lround(std::sqrt(static_cast<double>(entries.size()))));
  if (size % 2 == 0 ||
      static_cast<std::size_t>(size) * static_cast<std::size_t>(size) != entries.size())
    throw UsageError("expected the numbers of a square with odd sides, found " +
                     std::to_string(entries.size()));
  return [entries, size](RunState& state) mutable {
    state.image.ImgTemplateOperator(entries.data(), size);
  };
}

Action ParsePush(const std::string& argument) {
  int threshold = 0;
  NumberReader reader(argument);
  const bool read = reader.Read(threshold);
  const bool low = reader.Skip(",low"), high = reader.Skip(",high");
  if (!read || !reader.AtEnd() || !(low || high))
    throw UsageError("expected push=LEVEL, then ,low or ,high or both");
  return [=](RunState& state) { state.image.ImgTrans2_0_1(threshold, low, high); };
}

Action ParseInvert(const std::string&) {
  return [](RunState& state) {
    RequireGray(state.image);
    state.image.InverseGray();
  };
}

Action ParseLight(const std::string& argument) {
  if (argument != "0" && argument != "2") throw UsageError("expected light=0 or light=2");
  const int mode = argument == "0" ? 0 : 2;
  return [mode](RunState& state) {
    RequireGray(state.image);
    state.image.ImgAverageLight(mode, 0);
  };
}

Action ParseExceeds(const std::string& argument) {
  int level = 0;
  double share = 0;
  NumberReader reader(argument);
  if (!reader.Read(level) || !reader.Skip(",") || !reader.Read(share) || !reader.AtEnd())
    throw UsageError("expected a level and a share of the pixels, as in exceeds=180,0.9");
  return [=](RunState& state) {
    RequireGray(state.image);
    const bool exceeds = state.image.ImgGray_Exceed_Probability(level, share);
    std::printf("%s than %g of the pixels above level %d\n", exceeds ? "more" : "no more", share,
                level);
  };
}

}  // namespace

std::span<const Step> FilterSteps() {
  static constexpr Step kSteps[] = {
      {"sobel", "", "show edges, in gray", ParseSobel},
      {"template", "=NAME|FILE",
       "filter by mean, gauss, sharpen, laplace, emboss, or a file's numbers", ParseTemplate},
      {"push", "=LEVEL[,low][,high]", "push levels below to black, the others to white", ParsePush},
      {"invert", "", "complement a gray picture", ParseInvert},
      {"light", "=0|2",
       "even the light between the columns of a gray picture, once or until bright", ParseLight},
      {"exceeds", "=LEVEL,SHARE", "print whether more than a share of the pixels is above a level",
       ParseExceeds},
  };
  return kSteps;
}

}  // namespace rastelo::tools
