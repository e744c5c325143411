#pragma once

namespace rastelo::platform {

/// Runs code of the host, whose exceptions end here: what calls it is in the middle of its work.
/// @return what the code returns, 0 where it throws.
template <class Code>
auto CallHost(Code code) noexcept {
  try {
    return code();
  } catch (...) {
    return decltype(code())();
  }
}

}  // namespace rastelo::platform
