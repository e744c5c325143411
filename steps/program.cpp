#include "steps/program.h"

#include "steps/arguments.h"
#include "steps/error.h"
#include "steps/table.h"

namespace rastelo::steps {
namespace {

void ReadStep(const std::string& word, Program& program);

std::string Replaced(std::string text, std::string_view what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what))
    text.replace(at, what.size(), by);
  return text;
}

/// Puts what a composition stands for in its place.
void Expand(const Step& step, const Values& values, const std::string& word, Program& program) {
  const std::string first = values.empty() ? std::string() : values[0].text;
  for (const std::string& part :
       SplitWords(Replaced(std::string(step.composition), "{0}", first))) {
    ReadStep(part, program);
    program.back().text = word;
  }
}

void ReadStep(const std::string& word, Program& program) {
  const std::size_t equals = word.find('=');
  const Step& step = FindStep(word.substr(0, equals));
  const std::string text = equals == std::string::npos ? std::string() : word.substr(equals + 1);
  Values values = ReadArguments(step, equals == std::string::npos ? nullptr : &text);
  if (!step.composition.empty()) return Expand(step, values, word, program);
  program.push_back({&step, std::move(values), word});
}

}  // namespace

Effect Call::Does() const {
  for (std::size_t i = 0; i < values.size(); ++i)
    if ((step->arguments[i].forms & kPicture) != 0 && values[i].IsSet()) return Effect::kSave;
  return step->effect;
}

Program ReadProgram(const std::vector<std::string>& words) {
  Program program;
  for (const std::string& word : words) ReadStep(word, program);
  return program;
}

Program ReadProgram(std::string_view text) { return ReadProgram(SplitWords(text)); }

std::vector<std::string> SplitWords(std::string_view text) {
  std::vector<std::string> words;
  bool inWord = false;
  char quote = 0;
  for (const char character : text) {
    const bool blank = character == ' ' || character == '\t' || character == '\n';
    if (quote == 0 && blank) {
      inWord = false;
      continue;
    }
    if (!inWord) words.emplace_back();
    inWord = true;
    if (quote == 0 && (character == '"' || character == '\''))
      quote = character;
    else if (character == quote)
      quote = 0;
    else
      words.back() += character;
  }
  if (quote != 0) throw CallError("the quotation in '" + std::string(text) + "' does not end");
  return words;
}

const Call* LastLost(const Program& program) {
  const Call* lost = nullptr;
  for (const Call& call : program) {
    const Effect does = call.Does();
    if (does == Effect::kPrint || does == Effect::kSave)
      lost = nullptr;
    else
      lost = &call;
  }
  return lost;
}

}  // namespace rastelo::steps
