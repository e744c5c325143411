#include "steps/arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "steps/error.h"
#include "steps/pictures/picture.h"

namespace rastelo::steps {
namespace {

/// Reads numbers off the front of a text. Each call says whether it found what it wanted.
class NumberReader {
 public:
  explicit NumberReader(std::string_view text) : text_(text) {}

  template <class Number>
  bool Read(Number& number) {
    const auto [end, error] = std::from_chars(text_.data(), text_.data() + text_.size(), number);
    if (error != std::errc()) return false;
    text_.remove_prefix(static_cast<std::size_t>(end - text_.data()));
    return true;
  }
  bool Skip(char expected) {
    if (!text_.starts_with(expected)) return false;
    text_.remove_prefix(1);
    return true;
  }
  /// A number with its sign, which may be "+".
  bool ReadSigned(int& number) {
    if (text_.starts_with("+") && !text_.starts_with("+-")) return Skip('+') && Read(number);
    return text_.starts_with("-") && Read(number);
  }
  bool AtEnd() const { return text_.empty(); }

 private:
  std::string_view text_;
};

bool IsInRange(const Argument& argument, double number) {
  return (argument.aboveLowest ? number > argument.lowest : number >= argument.lowest) &&
         number <= argument.highest;
}

bool ReadNumber(const Argument& argument, Value& value) {
  NumberReader reader(value.text);
  int whole = 0;
  const bool isWhole = (argument.forms & kNumber) == 0;
  const bool isRead = isWhole ? reader.Read(whole) : reader.Read(value.number);
  if (isWhole) value.number = whole;
  value.isNumber = isRead && reader.AtEnd() && IsInRange(argument, value.number);
  return value.isNumber;
}

bool ReadSize(const Argument& argument, Value& value) {
  NumberReader reader(value.text);
  bool isRead = reader.Read(value.width) && reader.Skip('x') && reader.Read(value.height);
  if (isRead && !reader.AtEnd() && (argument.forms & kPannedSize) != 0)
    isRead = reader.ReadSigned(value.dx) && reader.ReadSigned(value.dy);
  value.isSize = isRead && reader.AtEnd();
  if ((argument.forms & kNumber) != 0) return value.isSize && value.width > 0 && value.height > 0;
  return value.isSize && IsInRange(argument, value.width) && IsInRange(argument, value.height);
}

bool ReadWord(const Argument& argument, const Value& value) {
  return std::ranges::find(argument.words, value.text) != argument.words.end();
}

bool IsPictureToWrite(std::string_view path) {
  const auto format = FormatOfName(path);
  return path == "-" || (format && *format != Format::kTiff);
}

/// Whether the text of a value is one of the forms of its argument, all of which it fills in.
bool Accept(const Argument& argument, Value& value) {
  const auto may = [&](unsigned forms) { return (argument.forms & forms) != 0; };
  return (may(kWord) && ReadWord(argument, value)) ||
         (may(kSize | kPannedSize) && ReadSize(argument, value)) ||
         (may(kWhole | kNumber) && ReadNumber(argument, value)) ||
         (may(kPicture) && IsPictureToWrite(value.text)) ||
         (may(kFile) && (value.isFile = !value.text.empty()));
}

std::string Shown(double number) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed).ptr;
  return {text, end};
}

std::string Range(const Argument& argument) {
  const bool open = argument.highest == HUGE_VAL, bottomless = argument.lowest == -HUGE_VAL;
  if (open && bottomless) return {};
  if (argument.aboveLowest)
    return " above " + Shown(argument.lowest) +
           (open ? "" : " and up to " + Shown(argument.highest));
  if (open) return ", " + Shown(argument.lowest) + " or more";
  return " from " + Shown(argument.lowest) + " to " + Shown(argument.highest);
}

std::string Joined(std::span<const std::string_view> words, std::string_view between) {
  std::string all;
  for (const std::string_view word : words) {
    if (!all.empty()) all += between;
    all += word;
  }
  return all;
}

/// "otsu|graph-cut|LEVEL"
std::string Placeholder(const Argument& argument) {
  std::string form = Joined(argument.words, "|");
  if ((argument.forms & ~unsigned{kWord}) == 0) return form;
  if (!form.empty()) form += '|';
  return form.append(argument.name);
}

/// A step as it was written.
std::string Quoted(const Step& step, const std::string* text) {
  return "step '" + std::string(step.name) + (text ? "=" + *text : "") + "'";
}

/// Reads the arguments of a step, piece by piece.
class ArgumentReader {
 public:
  ArgumentReader(const Step& step, const std::string& text)
      : step_(step), text_(text), values_(step.arguments.size()) {}

  Values Read() {
    std::string_view rest = text_;
    while (rest.data() != nullptr) Place(Cut(rest));
    return std::move(values_);
  }

  [[noreturn]] void Fail(const std::string& reason) const {
    throw CallError(Quoted(step_, &text_) + ": " + reason);
  }

 private:
  /// The next piece. A name of a file may hold commas: it ends where a key of the step follows.
  std::string_view Cut(std::string_view& rest) const {
    std::size_t comma = rest.find(',');
    const bool isName =
        next_ < values_.size() && (step_.arguments[next_].forms & (kFile | kPicture)) != 0;
    while (isName && comma != std::string_view::npos && !FindKey(rest.substr(comma + 1)))
      comma = rest.find(',', comma + 1);
    const std::string_view piece = rest.substr(0, comma);
    rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    return piece;
  }

  const Argument* FindKey(std::string_view piece) const {
    for (const Argument& argument : step_.arguments)
      if (!argument.key.empty() && piece.starts_with(argument.key) &&
          piece.substr(argument.key.size()).starts_with('='))
        return &argument;
    return nullptr;
  }

  void Place(std::string_view piece) {
    if (const Argument* keyed = FindKey(piece))
      return Set(*keyed, piece.substr(keyed->key.size() + 1));
    for (const Argument& argument : step_.arguments)
      if (argument.forms == kFlag && argument.name == piece) return SetFlag(argument);
    while (next_ < values_.size() &&
           (step_.arguments[next_].forms == kFlag || !step_.arguments[next_].key.empty()))
      ++next_;
    if (next_ == values_.size())
      Fail("'" + std::string(piece) + "' is one too many; it is written " + Usage(step_));
    Set(step_.arguments[next_++], piece);
  }

  void SetFlag(const Argument& argument) {
    RequireUnset(argument);
    ValueOf(argument).text = argument.name;
  }

  void RequireUnset(const Argument& argument) {
    if (ValueOf(argument).IsSet()) Fail("'" + std::string(argument.name) + "' is given twice");
  }

  void Set(const Argument& argument, std::string_view piece) {
    RequireUnset(argument);
    Value& value = ValueOf(argument);
    value.text = piece;
    if (!Accept(argument, value))
      Fail("'" + value.text + "' cannot be " + std::string(argument.name) + ", which is " +
           Describe(argument));
  }

  Value& ValueOf(const Argument& argument) {
    return values_[static_cast<std::size_t>(&argument - step_.arguments.data())];
  }

  const Step& step_;
  const std::string& text_;
  Values values_;
  std::size_t next_ = 0;
};

/// What is left out is as its default says; without one it is missing.
void FillIn(const Step& step, const std::string* text, Values& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const Argument& argument = step.arguments[i];
    if (values[i].IsSet() || argument.forms == kFlag) continue;
    if (!argument.otherwise)
      throw MissingArgument(Quoted(step, text) + ": " + std::string(argument.name) +
                                " is missing; it is written " + Usage(step),
                            step);
    values[i].text = *argument.otherwise;
    if (values[i].IsSet()) Accept(argument, values[i]);
  }
}

}  // namespace

std::string Describe(const Argument& argument) {
  std::vector<std::string> forms;
  const auto add = [&](unsigned form, const std::string& text) {
    if ((argument.forms & form) != 0) forms.push_back(text);
  };
  add(kWord, Joined(argument.words, ", "));
  add(kWhole, "a whole number" + Range(argument));
  add(kNumber, "a number" + Range(argument));
  add(kSize, (argument.forms & kNumber) != 0 ? "WxH in pixels" : "WxH, sides" + Range(argument));
  add(kPannedSize, "WxH or WxH+DX+DY, sides" + Range(argument));
  add(kFile, "the name of a file");
  add(kPicture, "the name of a file that ends in .jpg, .jpeg, .bmp or .png, or -");
  add(kFlag, "nothing but its name");
  std::string all;
  for (const std::string& form : forms) all += (all.empty() ? "" : ", or ") + form;
  return all;
}

std::string Explain(const Argument& argument) {
  std::string text(argument.help);
  if (argument.forms != kFlag) text.append("; ").append(Describe(argument));
  if (argument.otherwise && !argument.otherwise->empty())
    text.append(" (default: ").append(*argument.otherwise).append(")");
  return text;
}

std::string Usage(const Step& step) {
  std::string usage(step.name);
  for (const Argument& argument : step.arguments) {
    const bool first = &argument == step.arguments.data();
    std::string form = first ? "=" : ",";
    if (argument.forms == kFlag)
      form += argument.name;
    else
      form += (argument.key.empty() ? "" : std::string(argument.key) + "=") + Placeholder(argument);
    usage += argument.IsOptional() ? "[" + form + "]" : form;
  }
  return usage;
}

Values ReadArguments(const Step& step, const std::string* text) {
  Values values(step.arguments.size());
  if (text && step.arguments.empty())
    throw CallError(Quoted(step, text) + ": it takes no argument");
  if (text && text->empty())
    throw MissingArgument(
        Quoted(step, text) + ": nothing follows the '='; it is written " + Usage(step), step);
  if (text) values = ArgumentReader(step, *text).Read();
  FillIn(step, text, values);
  try {
    if (step.check) step.check(values);
  } catch (const CallError& error) {
    throw CallError(Quoted(step, text) + ": " + error.what());
  }
  return values;
}

}  // namespace rastelo::steps
