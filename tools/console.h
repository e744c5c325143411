#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace rastelo::tools {

/// A text without what drives a terminal or deceives its reader: control, bidirectional and
/// invisible characters and bytes that are no UTF-8 become \xNN or \u{NNNN}.
/// @param kept  characters that stay all the same.
std::string Printable(std::string_view text, std::string_view kept = {});

/// Writes one line to standard error, behind the program's name: what went wrong, or what the user
/// should know. In red on a terminal, unless NO_COLOR says otherwise. May be called by several
/// threads.
void Complain(const std::string& message);
void Note(const std::string& message);
/// The same note again is said once only.
void NoteOnce(const std::string& message);

/// Draws a line on standard error, a terminal, over the one drawn before. What is said meanwhile
/// takes its place, so that it does not stand in the middle of other lines.
void DrawBar(const std::string& bar);
void EraseBar();

/// Writes to standard error, at once.
void PrintToError(const std::string& text);

/// Writes to standard output. Throws a MoveError if that cannot be done, and BrokenPipe.
void Print(std::string_view text);
/// One line of JSON. Text that is no UTF-8 is replaced.
void PrintJson(const nlohmann::ordered_json& json);
std::string JsonLine(const nlohmann::ordered_json& json);

}  // namespace rastelo::tools
