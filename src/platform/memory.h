#pragma once

#include <cstddef>

namespace rastelo::platform {

/// The alignment at which PreferLargePages is of use.
inline constexpr std::size_t kLargePageBytes = std::size_t{2} << 20;

/// Asks for large pages behind memory that is about to be filled: touching a new picture a small
/// page at a time costs as much as decoding a third of it. Changes no content and cannot fail.
void PreferLargePages(void* memory, std::size_t bytes);

}  // namespace rastelo::platform
