#pragma once

#include <functional>
#include <string_view>

namespace rastelo::steps::platform {

/// Sends the library's trace texts to `target`, in UTF-8. Called before the library is used.
void SendTraceTo(std::function<void(std::string_view text)> target);

}  // namespace rastelo::steps::platform
