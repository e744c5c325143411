#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace fuzz {

/// Values read off the front of an input, one after the other; zeros behind its end.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

  bool AtEnd() const { return bytes_.empty(); }

  /// A value of any bits.
  template <class Number>
  Number Take() {
    Number number{};
    const std::size_t count = bytes_.size() < sizeof number ? bytes_.size() : sizeof number;
    std::memcpy(&number, bytes_.data(), count);
    bytes_ = bytes_.subspan(count);
    return number;
  }
  bool Flip() { return (Take<std::uint8_t>() & 1) != 0; }
  /// A whole number from `low` to `high`, at most 65,536 of them.
  int Between(int low, int high) { return low + Take<std::uint16_t>() % (high - low + 1); }
  template <class Value, std::size_t kCount>
  Value Pick(const Value (&values)[kCount]) {
    return values[static_cast<std::size_t>(Between(0, static_cast<int>(kCount) - 1))];
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace fuzz
