#pragma once

namespace rastelo::platform {

/// Runs code of the host, whose exceptions end here: what calls it is in the middle of its work.
/// @return what the code returns, or `otherwise`.
template <class Code, class Result>
Result CallHost(Code code, Result otherwise) noexcept {
  try {
    return code();
  } catch (...) {
    return otherwise;
  }
}

}  // namespace rastelo::platform
