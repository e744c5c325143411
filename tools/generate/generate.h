#pragma once

#include <string>

namespace rastelo::tools {

/// The manual page rastelo(1), in the macros of man(7).
std::string ManualPage();

/// Completion of commands, options and steps for a shell: "bash", "zsh" or "fish".
std::string CompletionFor(const std::string& shell);

}  // namespace rastelo::tools
