#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace rastelo::steps {

class Run;

/// The ways in which an argument may be written; one argument may allow several.
enum Form : unsigned {
  kWord = 1,         // one of its words
  kWhole = 2,        // a whole number in its range
  kNumber = 4,       // a number in its range
  kSize = 8,         // WxH, sides in its range
  kPannedSize = 16,  // WxH or WxH+DX+DY
  kFile = 32,        // the name of a file to read
  kPicture = 64,     // the name of a picture to write
  kFlag = 128,       // its own name, or nothing
};

/// What a step takes behind its "=". Arguments stand in their order with commas between them; one
/// that has a key is written KEY=VALUE, anywhere behind the first.
struct Argument {
  std::string_view name;                           // in capitals; of a flag, the word itself
  unsigned forms;                                  // of Form
  std::string_view help;                           // what it says, with its unit
  double lowest = 0, highest = 0;                  // of numbers and sides
  bool aboveLowest = false;                        // whether `lowest` itself is out of range
  std::span<const std::string_view> words = {};    // of kWord
  std::optional<std::string_view> otherwise = {};  // as written, where it is left out
  std::string_view key = {};

  bool IsOptional() const { return otherwise.has_value() || (forms & kFlag) != 0; }
};

/// An argument as it was written, or as it is where it was left out.
struct Value {
  std::string text;  // empty for a flag that is not set
  double number = 0;
  int width = 0, height = 0, dx = 0, dy = 0;
  bool isNumber = false, isSize = false, isFile = false;  // which of the forms it has

  int Whole() const { return static_cast<int>(number); }
  bool IsSet() const { return !text.empty(); }
};
using Values = std::vector<Value>;  // in the order of the step's arguments

/// What a step is there for.
enum class Effect {
  kChange,  // it makes another picture
  kPrint,   // it tells something
  kShow,    // it draws the picture on a screen in memory
  kSave,    // it writes a file
};

/// One operation as a user writes it: NAME or NAME=ARGUMENTS. Help, manual, completion and
/// reference are made from these fields, and all hosts run by them.
struct Step {
  std::string_view name, family;
  std::span<const Argument> arguments;
  Effect effect;
  bool needsGray;
  std::string_view help;     // one line
  std::string_view details;  // what a user needs to know beyond it, in sentences
  std::string_view example;  // steps that can be run
  /// Carries the step out. Throws a StepError that says what failed. Null for a composition.
  void (*apply)(Run& run, const Values& values);
  /// The steps that it stands for, "{0}" being the text of its first argument; or empty.
  std::string_view composition = {};
  /// Throws a CallError for values that cannot be carried out on any picture; null if none can.
  void (*check)(const Values& values) = nullptr;
};

}  // namespace rastelo::steps
