#pragma once

#include <string>
#include <string_view>

namespace rastelo::steps::platform {

/// Throws FileError for what is no UTF-8.
std::wstring Wide(std::string_view text);
/// Halves of characters, which names of files may have, become U+FFFD.
std::string Utf8(std::wstring_view text);

/// A path from the root on, as the system tells it. Throws FileError.
std::wstring FullPath(const std::string& path);
/// The same in the form that takes paths of any length.
std::wstring SystemPath(const std::string& path);
/// The reverse: a path of that form as people write it.
std::wstring PlainPath(std::wstring path);

/// All letters in upper case, by which the system tells names apart.
std::wstring Upper(std::wstring text);

/// Throws the system's words for an error of GetLastError.
[[noreturn]] void ThrowError(unsigned long error);

}  // namespace rastelo::steps::platform
