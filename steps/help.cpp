#include "steps/help.h"

#include <algorithm>
#include <utility>

#include "steps/arguments.h"
#include "steps/table.h"

namespace rastelo::steps {
namespace {

constexpr std::size_t kWidth = 80, kNameWidth = 26;

constexpr const char* kReferenceHead =
    R"(# Steps

`rastelo generate reference` prints this page from the table that the tool runs by. A step acts on the
picture as the steps before it have left it.

Some operations of the library are peculiar by design. Beside each stands one that does what its name
says in a textbook; both on one picture:

![sobel and edges, template and convolve on one picture](twins-filters.jpg)

![otsu and threshold, zoom and shrink on one picture](twins-levels.jpg)

)";

std::string Padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size() + 2, width), ' ');
  return text;
}

/// "  LEVEL    the first level that counts as bright; otsu, graph-cut, or a whole number"
std::string LineOf(const Argument& argument) {
  const std::string name = "  " + std::string(argument.name);
  const std::string head = Padded(name, 12);
  return head + Wrapped(Explain(argument), kWidth - head.size(), head.size()) + "\n";
}

std::string Example(const Step& step) {
  return "rastelo run photo.jpg " + std::string(step.example);
}

std::string SectionOf(const Step& step) {
  std::string text = "### " + std::string(step.name) + "\n\n`" + Usage(step) +
                     "`: " + std::string(step.help) + ".\n\n" + std::string(step.details) + "\n\n";
  if (step.needsGray) text += "Needs a gray picture.\n\n";
  for (const Argument& argument : step.arguments)
    text.append("- `").append(argument.name).append("`: ").append(Explain(argument)).append("\n");
  if (!step.arguments.empty()) text += "\n";
  return text + "    " + Example(step) + "\n\n";
}

}  // namespace

std::string Wrapped(std::string_view text, std::size_t width, std::size_t indent) {
  std::string lines;
  while (text.size() > width) {
    std::size_t end = text.rfind(' ', width);
    if (end == std::string_view::npos || end == 0) end = std::min(text.find(' '), text.size());
    lines.append(text.substr(0, end)).append("\n").append(indent, ' ');
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines.append(text);
}

std::string HelpOf(const Step& step) {
  std::string text = Usage(step) + "\n  " + Wrapped(step.help, kWidth - 2, 2) + "\n";
  if (!step.arguments.empty()) text += "\n";
  for (const Argument& argument : step.arguments) text += LineOf(argument);
  text += "\n" + Wrapped(step.details, kWidth, 0) + "\n";
  if (step.needsGray) text += "Needs a gray picture: put gray before it.\n";
  return text + "\nExample: " + Example(step) + "\n";
}

std::string ListOfSteps() {
  std::string text;
  std::string_view family;
  for (const Step& step : Steps()) {
    if (step.family != family)
      text.append(text.empty() ? "" : "\n").append(step.family).append("\n");
    family = step.family;
    std::string head = "  " + Usage(step);
    if (head.size() + 2 > kNameWidth) text += std::exchange(head, "") + "\n";
    text += Padded(head, kNameWidth) + Wrapped(step.help, kWidth - kNameWidth, kNameWidth) + "\n";
  }
  return text;
}

std::string ReferenceOfSteps() {
  std::string text = kReferenceHead;
  std::string_view family;
  for (const Step& step : Steps()) {
    if (step.family != family) text.append("## ").append(step.family).append("\n\n");
    family = step.family;
    text += SectionOf(step);
  }
  return text;
}

}  // namespace rastelo::steps
