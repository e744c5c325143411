#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace rastelo::steps::platform {

/// A word of a command line.
struct Word {
  std::wstring text;
  bool isQuoted = false;  // a part of it stood in quotes
};

/// The words of a command line by the rules of the C runtime: blanks separate words outside quotes;
/// of backslashes before a quote every two are one, and an odd one makes the quote a character; two
/// quotes within quotes are one. The first word, the program, knows no such backslashes.
std::vector<Word> WordsOf(std::wstring_view line);

/// Whether "*" and "?" in a pattern stand for what a name has there, in letters of either case. A
/// dot at a name's start has to stand in the pattern.
bool Matches(std::wstring_view pattern, std::wstring_view name);

/// The existing paths that a pattern matches, sorted; an element of the pattern stands for names of
/// one folder.
std::vector<std::string> Expand(const std::string& pattern);

}  // namespace rastelo::steps::platform
