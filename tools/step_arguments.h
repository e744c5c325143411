#pragma once

#include <charconv>
#include <string>
#include <string_view>

#include "rastelo.h"

namespace rastelo::tools {

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
  bool Skip(std::string_view expected) {
    if (!text_.starts_with(expected)) return false;
    text_.remove_prefix(expected.size());
    return true;
  }
  /// A number with its sign, which may be "+".
  bool ReadSigned(int& number) {
    if (text_.starts_with("+") && !text_.starts_with("+-")) return Skip("+") && Read(number);
    return text_.starts_with("-") && Read(number);
  }
  bool AtEnd() const { return text_.empty(); }

 private:
  std::string_view text_;
};

struct Size {
  int width = 0, height = 0;
};

/// WxH, sides from 1 to `maxSide`.
bool ReadSize(NumberReader& reader, int maxSide, Size& size);

/// 24 or 8.
int BitCount(const CRastelo& image);

/// Throws an OperationError for a colour picture.
void RequireGray(const CRastelo& image);

/// Throws a UsageError for a name that the library does not save to.
void RequirePictureName(const std::string& path);

}  // namespace rastelo::tools
