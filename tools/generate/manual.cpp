#include <algorithm>

#include "steps/arguments.h"
#include "steps/help.h"
#include "steps/table.h"
#include "tools/command_line.h"
#include "tools/generate/generate.h"

namespace rastelo::tools {
namespace {

/// A text as roff takes it literally.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    if (character == '\\') {
      escaped += "\\e";
    } else if (character == '-') {
      escaped += "\\-";
    } else {
      if ((character == '.' || character == '\'') && (escaped.empty() || escaped.back() == '\n'))
        escaped += "\\&";
      escaped += character;
    }
  }
  return escaped;
}

/// A paragraph, in lines that are not long.
std::string Filled(std::string_view text) {
  std::string line(text);
  std::ranges::replace(line, '\n', ' ');
  return Escaped(steps::Wrapped(line, 68, 0));
}

/// An example in the first line, and a paragraph of the others.
std::string Footer(std::string_view text) {
  const std::size_t end = text.find('\n');
  std::string lines = ".PP\n" + Filled(text.substr(0, end)) + "\n";
  if (end != std::string_view::npos) lines += ".PP\n" + Filled(text.substr(end + 1)) + "\n";
  return lines;
}

std::string Bold(std::string_view text) { return "\\fB" + Escaped(text) + "\\fR"; }

std::string Tagged(const std::string& tag, std::string_view text) {
  return ".TP\n" + tag + "\n" + Filled(text) + "\n";
}

std::string SectionOf(const CommandHelp& command) {
  std::string text = ".SS rastelo " + command.name + "\n" + Filled(command.help + ".") + "\n";
  for (const OptionHelp& option : command.options)
    text +=
        Tagged(Bold(option.names) + (option.value.empty() ? "" : " \\fI" + option.value + "\\fR"),
               option.help + ".");
  if (!command.footer.empty()) text += Footer(command.footer);
  return text;
}

std::string CommandList() {
  std::string text = ".SH COMMANDS\n";
  for (const CommandHelp& command : Commands())
    if (!command.isHidden) text += SectionOf(command);
  return text;
}

std::string EntryOf(const steps::Step& step) {
  std::string text = ".TP\n" + Bold(steps::Usage(step)) + "\n";
  std::string about = std::string(step.help) + ". " + std::string(step.details);
  if (step.needsGray) about += " Needs a gray picture.";
  text += Filled(about) + "\n";
  for (const steps::Argument& argument : step.arguments)
    text += ".br\n" + Bold(argument.name) + Filled(": " + steps::Explain(argument) + ".") + "\n";
  return text;
}

std::string StepList() {
  std::string text = ".SH STEPS\nA step acts on the picture as the steps before it have left it.\n";
  std::string_view family;
  for (const steps::Step& step : steps::Steps()) {
    if (step.family != family) text += ".SS " + std::string(step.family) + "\n";
    family = step.family;
    text += EntryOf(step);
  }
  return text;
}

constexpr const char* kPictures =
    R"(Pictures are read by their content, whatever their name: JPEG, BMP of 8 and 24 bits, PNG,
and TIFF, of which a page is named as in scan.tif[2], counted from 0. The turn that EXIF asks for
is carried out. Palettes are applied, 16 bits become 8 as round(v / 257), what is transparent is
laid on white, gray stays gray. CMYK, floating-point and other pictures are refused by name.)";

constexpr const char* kWriting =
    R"(A file that exists is replaced only with --overwrite, and stands complete or as it was at any
moment. EXIF goes along, with orientation and size made true and its thumbnail dropped, a colour
profile where it fits the picture, and the resolution; --strip leaves them out.)";

constexpr const char* kBatch =
    R"(A batch keeps a log of what it has done in the output folder, a line of JSON a picture, by
which --resume goes on: rastelo-batch-I-of-N.jsonl for part I of N. Outputs are the same bytes
whatever the number of jobs and parts. A picture that fails is told of and the others go on.)";

std::string ExitStatus() {
  return ".SH EXIT STATUS\n" + Tagged("0", "Done.") +
         Tagged("1", "A step failed, or some of several pictures did.") +
         Tagged("2", "The call is wrong; nothing was done.") +
         Tagged("3", "Nothing could be read, or nothing written.") +
         Tagged("130", "Interrupted. Ended by another signal, the program dies by that signal.");
}

}  // namespace

std::string ManualPage() {
  return ".TH RASTELO 1 " RASTELO_DATE " \"rastelo " RASTELO_VERSION
         "\"\n"
         ".SH NAME\nrastelo \\- open, change, measure, show and save pictures\n"
         ".SH SYNOPSIS\n\\fBrastelo\\fR \\fICOMMAND\\fR [\\fIOPTIONS\\fR] [\\fIARGUMENTS\\fR]\n"
         ".SH DESCRIPTION\n" +
         Filled(kPictures) + "\n.PP\n" + Filled(kWriting) + "\n.PP\n" + Filled(kBatch) + "\n" +
         CommandList() + StepList() + ExitStatus() + ".SH ENVIRONMENT\n" +
         Tagged(Bold("NO_COLOR"), "If it is set and not empty, nothing is coloured.");
}

}  // namespace rastelo::tools
